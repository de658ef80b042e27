// MModule: the object that stands for the running program. One per process,
// created first by the entry and destroyed last; the application object may
// derive from it. Its construction starts what the rest of the foundation needs
// (the global lock, the compiled-in resources, three task groups) and its
// destruction stops it again, in reverse order.
//
//   MModule module;                 // the runtime is up
//   module.moduleName = "Kestrix";  // the name data folders are found by
//   module.Initialize();            // where the executable lies, its mrf
//
// Beside it stand the processor's instruction-set facts and their report text
// for the About view. The folder table and the data paths are in data_paths.h;
// the module's GetDataPath_File_User uses its moduleName.
#pragma once

#include <cstdint>
#include <vector>

#include "foundation/containers/containers.h"
#include "foundation/text/date_time.h"
#include "foundation/resources/resource_library.h"
#include "foundation/threads/task_group.h"
#include "foundation/text/text_string.h"

namespace kx {

class MModule {
 public:
  // Clears the fields, takes the start time, sets the global pointer, starts the
  // runtime (compiled-in resources attached, task groups made without workers,
  // the global lock switched on), notes the calling thread as the main thread
  // and sets its floating-point mode. A damaged compiled-in block throws the
  // resource library's message.
  MModule();
  // Stops the task groups and switches the global lock off (inside the guard
  // "MModule::MModule"), then clears the global pointer.
  virtual ~MModule();
  MModule(const MModule&) = delete;
  MModule& operator=(const MModule&) = delete;

  // The module of the process, or null before one exists and after it is gone.
  static MModule* Instance();

  // Finds the executable: modulePath, moduleDirectory, moduleName when it is
  // still empty (the file name without extension), and, unless resources are
  // compiled in, the library "<name>.mrf" beside it when that file exists.
  // Failures stay inside the guard "MModule::Initialize".
  void Initialize();

  // The program's arguments, without the program's own name.
  void SetCommandLine(const std::vector<MString>& arguments);

  bool IsMainThread() const;

  // GetDataPath_File_User (data_paths.h) in the folder of moduleName.
  MString GetDataPath_File_User(const MString& fileName, bool copyFromGlobal) const;

  MString modulePath;       // full path of the executable, "/" form
  MString moduleDirectory;  // the folder that holds it
  MString moduleName;       // set by the entry; empty by default
  MArray<MString> commandLine;
  int32_t argumentCount = 0;
  int64_t mainThreadId = 0;
  MString documentationFolder;  // "Doc"
  MResourceLibrary resources;   // what is compiled in, or the mrf beside the program
  // Started with the priorities above normal, highest, above normal; no
  // workers until someone calls Start.
  MTaskGroup taskGroups[3];
  MDateTime startTime;  // local time at construction

 private:
  // The module that was current when this one was made (tests make one inside
  // another's life); it is current again when this one goes.
  MModule* previous_ = nullptr;
};

// The instruction sets of the processor, as CPUID and the system's saved state
// tell them: a set counts only when the system also saves its registers.
struct MInstructionSets {
  bool sse2 = false;
  bool sse3 = false;
  bool ssse3 = false;
  bool sse41 = false;
  bool sse42 = false;
  bool avx = false;
  bool avx2 = false;
  bool avx512 = false;
};

// The sets from the raw answers: CPUID 1 (ECX, EDX), CPUID 7 subleaf 0 (EBX,
// zero when the leaf is missing) and XCR0 (zero when the system does not tell).
MInstructionSets DecodeInstructionSets(uint32_t leaf1Ecx, uint32_t leaf1Edx, uint32_t leaf7Ebx,
                                       uint64_t xcr0);

// This machine's sets, found once.
const MInstructionSets& InstructionSets();

// "Instruction set support:\n<p>" and then one line a set, "SSE2: " followed by
// "<cgreen>yes (not fully used)</cgreen>" or "<cred>no</cred>", each ended by
// "\n<p>"; the sets in the order SSE2, SSE3, SSSE3, SSE41, SSE42, AVX, AVX2,
// AVX512.
MString InstructionSetReport(const MInstructionSets& sets);
MString InstructionSetReport();

}  // namespace kx
