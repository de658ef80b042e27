#include "foundation/core/module.h"

#include <atomic>

#include "foundation/files/data_paths.h"
#include "foundation/core/exception.h"
#include "foundation/threads/global_lock.h"
#include "foundation/files/path_text.h"
#include "foundation/platform/cpu_features.h"
#include "foundation/platform/module_facts.h"
#include "foundation/resources/resource_compiled_in.h"
#include "foundation/threads/thread.h"

namespace kx {
namespace {

std::atomic<MModule*> g_module{nullptr};

}  // namespace

// Sockets need no start-up on this system, and there is no COM: the Windows
// steps around them have nothing to do here (docs/platform-linux.md).
MModule::MModule()
    : documentationFolder("Doc"),
      taskGroups{MTaskGroup(kPriorityAboveNormal), MTaskGroup(kPriorityHighest),
                 MTaskGroup(kPriorityAboveNormal)},
      startTime(LocalTimeNow()) {
  previous_ = g_module.exchange(this);
  // The global lock and the node pools need no set-up here; the resources that
  // are linked in are attached before anything may ask for them.
  try {
    AttachCompiledInResources(resources);
  } catch (...) {
    // A module that failed to come up must not stay reachable.
    MModule* self = this;
    g_module.compare_exchange_strong(self, previous_);
    throw;
  }
  SetGlobalLockActive(true);
  mainThreadId = CurrentThreadId();
  SetFlushDenormalsToZero();
}

MModule::~MModule() {
  Guarded("MModule::MModule", [&] {
    // Workers stop before the global lock is switched off: a worker still
    // posting an event would otherwise touch the pending lists unlocked.
    for (MTaskGroup& group : taskGroups) group.Stop();
    if (!previous_) SetGlobalLockActive(false);
  });
  MModule* self = this;
  g_module.compare_exchange_strong(self, previous_);
}

MModule* MModule::Instance() {
  return g_module.load();
}

void MModule::Initialize() {
  Guarded("MModule::Initialize", [&] {
    modulePath = ExecutablePath();
    moduleDirectory = GetDirectory(modulePath);
    if (moduleName.IsEmpty()) moduleName = ChangeExtension(GetFileName(modulePath), MString());
    if (!resources.IsAttached()) AttachResourcesBesideProgram(resources, modulePath);
  });
}

void MModule::SetCommandLine(const std::vector<MString>& arguments) {
  commandLine.Clear();
  for (const MString& argument : arguments) commandLine.Add(argument);
  argumentCount = commandLine.Count();
}

bool MModule::IsMainThread() const {
  return CurrentThreadId() == mainThreadId;
}

MString MModule::GetDataPath_File_User(const MString& fileName, bool copyFromGlobal) const {
  return kx::GetDataPath_File_User(moduleName, fileName, copyFromGlobal);
}

MInstructionSets DecodeInstructionSets(uint32_t leaf1Ecx, uint32_t leaf1Edx, uint32_t leaf7Ebx,
                                       uint64_t xcr0) {
  auto bit = [](uint64_t value, int index) { return ((value >> index) & 1u) != 0; };
  MInstructionSets sets;
  sets.sse2 = bit(leaf1Edx, 26);
  sets.sse3 = bit(leaf1Ecx, 0);
  sets.ssse3 = bit(leaf1Ecx, 9);
  sets.sse41 = bit(leaf1Ecx, 19);
  sets.sse42 = bit(leaf1Ecx, 20);
  // The wide registers are usable only when the system saves them on a switch:
  // XCR0 bits 1 and 2 (SSE and AVX state), and for AVX-512 also bits 5 to 7
  // (mask registers and the upper halves of the 512-bit registers).
  bool avxState = bit(leaf1Ecx, 27) && bit(xcr0, 1) && bit(xcr0, 2);
  sets.avx = avxState && bit(leaf1Ecx, 28);
  sets.avx2 = sets.avx && bit(leaf7Ebx, 5);
  sets.avx512 = sets.avx && bit(leaf7Ebx, 16) && bit(xcr0, 5) && bit(xcr0, 6) && bit(xcr0, 7);
  return sets;
}

const MInstructionSets& InstructionSets() {
  static const MInstructionSets sets = [] {
    MCpuidRegisters leaf1, leaf7;
    QueryCpuid(1, 0, leaf1);
    QueryCpuid(7, 0, leaf7);
    uint64_t xcr0 = 0;
    ReadExtendedControlRegister(xcr0);
    return DecodeInstructionSets(leaf1.ecx, leaf1.edx, leaf7.ebx, xcr0);
  }();
  return sets;
}

MString InstructionSetReport(const MInstructionSets& sets) {
  const struct {
    const char* name;
    bool present;
  } lines[] = {{"SSE2", sets.sse2},   {"SSE3", sets.sse3},    {"SSSE3", sets.ssse3},
               {"SSE41", sets.sse41}, {"SSE42", sets.sse42},  {"AVX", sets.avx},
               {"AVX2", sets.avx2},   {"AVX512", sets.avx512}};
  MString report("Instruction set support:\n<p>");
  for (const auto& line : lines) {
    report += MString(line.name);
    report += ": ";
    report += line.present ? "<cgreen>yes (not fully used)</cgreen>" : "<cred>no</cred>";
    report += "\n<p>";
  }
  return report;
}

MString InstructionSetReport() {
  return InstructionSetReport(InstructionSets());
}

}  // namespace kx
