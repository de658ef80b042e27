// The machine's instruction-set level and the names by which the installer
// definition refers to levels.
//
// Names (case folded) and their ArchitectureIndex: SSE2 1, SSE3 2, SSSE3 3,
// SSE41 4, SSE42 5, AVX 6, AVX2 7, AVX512 8; any other text 0.
//
// Processor level 0 to 9, by CPUID and XGETBV. The level rises through these
// tests in order and the first failure ends them:
//   1  leaf 1 exists and its EDX has all of 0x3808001 (FPU, CMOV, MMX, FXSR, SSE)
//   2  EDX bit 26 (SSE2)          6  ECX bits 20 and 23 (SSE4.2, POPCNT)
//   3  ECX bit 0 (SSE3)           7  ECX bit 27 (OSXSAVE), XCR0 bits 1 and 2, ECX bit 28 (AVX)
//   4  ECX bit 9 (SSSE3)          8  leaf 7 EBX bit 5 (AVX2)
//   5  ECX bit 19 (SSE4.1)        9  leaf 13 EAX bits 5 and 6 (AVX-512 state)
// A machine's ArchitectureIndex is the level minus 1, held within 0 to 8, so
// an AVX2 machine (level 8) has index 7, the index of the name "AVX2".
//
// The level is found once and cached process-wide; any thread may ask.
// The instruction-set report that goes with it is InstructionSetReport() of
// foundation/core/module.h.
#pragma once

#include <cstdint>

#include "foundation/text/text_string.h"

namespace kx {

inline constexpr int32_t kMaxArchitectureIndex = 8;

// The raw processor answers the level is computed from. A missing leaf reads
// as zero registers; XCR0 is zero when the system does not let it be read.
struct ProcessorAnswers {
  bool hasLeaf1 = false;
  uint32_t leaf1Ecx = 0;
  uint32_t leaf1Edx = 0;
  uint64_t xcr0 = 0;
  uint32_t leaf7Ebx = 0;
  uint32_t leaf13Eax = 0;
};

// The level of a set of answers, 0 to 9.
int32_t ProcessorLevelOf(const ProcessorAnswers& answers);

// This machine's answers, asked anew.
ProcessorAnswers ReadProcessorAnswers();

// This machine's level, found on the first call and cached.
int32_t ProcessorLevel();

// Level minus 1, within 0 to 8.
int32_t ArchitectureIndexOfLevel(int32_t level);

// The index of this machine (or the one a test put in its place).
int32_t DetectArchitectureIndex();

// The index of an instruction-set name, 0 for an unknown one.
int32_t ArchitectureIndexOfName(const MString& name);

// Test seam: while it lives, DetectArchitectureIndex answers `index` in place
// of the processor's, so that selections for every level can be tested on any
// machine. Not a user option; nothing outside tests makes one.
class ScopedArchitectureIndex {
 public:
  explicit ScopedArchitectureIndex(int32_t index);
  ~ScopedArchitectureIndex();
  ScopedArchitectureIndex(const ScopedArchitectureIndex&) = delete;
  ScopedArchitectureIndex& operator=(const ScopedArchitectureIndex&) = delete;

 private:
  int32_t previous_;
};

}  // namespace kx
