#include "catalogue/architecture.h"

#include <atomic>

#include "foundation/platform/cpu_features.h"

namespace kx {
namespace {

// Negative until the processor was asked; a repeat of the test gives the same
// value, so two threads racing on the first call store the same number.
std::atomic<int32_t> gProcessorLevel{-1};
// Negative: no test has put an index in place of the processor's.
std::atomic<int32_t> gIndexOverride{-1};

constexpr uint32_t kBaseFeatures = 0x3808001;  // FPU, CMOV, MMX, FXSR, SSE

bool Bit(uint64_t value, int bit) {
  return (value >> bit) & 1;
}

struct NamedIndex {
  const char* name;
  int32_t index;
};

constexpr NamedIndex kNames[] = {{"SSE2", 1},  {"SSE3", 2}, {"SSSE3", 3}, {"SSE41", 4},
                                 {"SSE42", 5}, {"AVX", 6},  {"AVX2", 7},  {"AVX512", 8}};

}  // namespace

int32_t ProcessorLevelOf(const ProcessorAnswers& a) {
  // Each test stands on the one before: a processor that reports AVX2 without
  // SSE4.2 (as some emulators do) is still placed below SSE4.2.
  const bool tests[] = {
      a.hasLeaf1 && (a.leaf1Edx & kBaseFeatures) == kBaseFeatures,
      Bit(a.leaf1Edx, 26),
      Bit(a.leaf1Ecx, 0),
      Bit(a.leaf1Ecx, 9),
      Bit(a.leaf1Ecx, 19),
      Bit(a.leaf1Ecx, 20) && Bit(a.leaf1Ecx, 23),
      Bit(a.leaf1Ecx, 27) && Bit(a.xcr0, 1) && Bit(a.xcr0, 2) && Bit(a.leaf1Ecx, 28),
      Bit(a.leaf7Ebx, 5),
      Bit(a.leaf13Eax, 5) && Bit(a.leaf13Eax, 6),
  };
  int32_t level = 0;
  for (bool passed : tests) {
    if (!passed) break;
    ++level;
  }
  return level;
}

ProcessorAnswers ReadProcessorAnswers() {
  ProcessorAnswers answers;
  MCpuidRegisters leaf1, leaf7, leaf13;
  answers.hasLeaf1 = QueryCpuid(1, 0, leaf1);
  answers.leaf1Ecx = leaf1.ecx;
  answers.leaf1Edx = leaf1.edx;
  ReadExtendedControlRegister(answers.xcr0);
  QueryCpuid(7, 0, leaf7);
  answers.leaf7Ebx = leaf7.ebx;
  QueryCpuid(13, 0, leaf13);
  answers.leaf13Eax = leaf13.eax;
  return answers;
}

int32_t ProcessorLevel() {
  int32_t level = gProcessorLevel.load(std::memory_order_acquire);
  if (level < 0) {
    level = ProcessorLevelOf(ReadProcessorAnswers());
    gProcessorLevel.store(level, std::memory_order_release);
  }
  return level;
}

int32_t ArchitectureIndexOfLevel(int32_t level) {
  int32_t index = level - 1;
  if (index < 0) return 0;
  return index > kMaxArchitectureIndex ? kMaxArchitectureIndex : index;
}

int32_t DetectArchitectureIndex() {
  int32_t injected = gIndexOverride.load(std::memory_order_acquire);
  if (injected >= 0) return injected;
  return ArchitectureIndexOfLevel(ProcessorLevel());
}

int32_t ArchitectureIndexOfName(const MString& name) {
  for (const NamedIndex& entry : kNames)
    if (name.EqualsNoCase(entry.name)) return entry.index;
  return 0;
}

ScopedArchitectureIndex::ScopedArchitectureIndex(int32_t index)
    : previous_(gIndexOverride.exchange(index < 0 ? 0 : index)) {}

ScopedArchitectureIndex::~ScopedArchitectureIndex() {
  gIndexOverride.store(previous_);
}

}  // namespace kx
