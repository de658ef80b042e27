// Processor level from the raw CPUID answers, and names to indices.
#include "catalogue/architecture.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "foundation/core/module.h"

namespace kx {
namespace {

constexpr uint32_t kBase = 0x3808001;  // FPU, CMOV, MMX, FXSR, SSE
constexpr uint32_t kSse2 = 1u << 26;
constexpr uint32_t kSse3 = 1u << 0;
constexpr uint32_t kSsse3 = 1u << 9;
constexpr uint32_t kSse41 = 1u << 19;
constexpr uint32_t kSse42Popcnt = (1u << 20) | (1u << 23);
constexpr uint32_t kOsxsaveAvx = (1u << 27) | (1u << 28);
constexpr uint64_t kXcr0Avx = 0x7;       // x87, SSE, AVX state
constexpr uint32_t kAvx2 = 1u << 5;      // leaf 7 EBX
constexpr uint32_t kAvx512State = 0x60;  // leaf 13 EAX bits 5 and 6

// A machine that has everything up to and including `level`.
ProcessorAnswers MachineOfLevel(int level) {
  ProcessorAnswers a;
  a.hasLeaf1 = level >= 1;
  if (level >= 1) a.leaf1Edx |= kBase;
  if (level >= 2) a.leaf1Edx |= kSse2;
  if (level >= 3) a.leaf1Ecx |= kSse3;
  if (level >= 4) a.leaf1Ecx |= kSsse3;
  if (level >= 5) a.leaf1Ecx |= kSse41;
  if (level >= 6) a.leaf1Ecx |= kSse42Popcnt;
  if (level >= 7) {
    a.leaf1Ecx |= kOsxsaveAvx;
    a.xcr0 = kXcr0Avx;
  }
  if (level >= 8) a.leaf7Ebx |= kAvx2;
  if (level >= 9) a.leaf13Eax |= kAvx512State;
  return a;
}

TEST(ProcessorLevelTest, EachLevelAndIndex) {
  const int32_t indices[] = {0, 0, 1, 2, 3, 4, 5, 6, 7, 8};
  for (int level = 0; level <= 9; ++level) {
    EXPECT_EQ(ProcessorLevelOf(MachineOfLevel(level)), level);
    EXPECT_EQ(ArchitectureIndexOfLevel(level), indices[level]) << level;
  }
  EXPECT_EQ(ArchitectureIndexOfLevel(-1), 0);
  EXPECT_EQ(ArchitectureIndexOfLevel(12), 8);
}

struct GapCase {
  const char* label;
  int from;  // a machine of this level ...
  void (*change)(ProcessorAnswers&);
  int level;  // ... changed so, reaches this one
};

const GapCase kGaps[] = {
    // The first failure ends the tests: later bits do not lift the level.
    {"no leaf 1, bits anyway", 9, [](ProcessorAnswers& a) { a.hasLeaf1 = false; }, 0},
    {"no CMOV", 9, [](ProcessorAnswers& a) { a.leaf1Edx &= ~(1u << 15); }, 0},
    {"no FPU", 9, [](ProcessorAnswers& a) { a.leaf1Edx &= ~1u; }, 0},
    {"no SSE2", 9, [](ProcessorAnswers& a) { a.leaf1Edx &= ~kSse2; }, 1},
    {"no SSSE3", 9, [](ProcessorAnswers& a) { a.leaf1Ecx &= ~kSsse3; }, 3},
    {"SSE4.2 without POPCNT", 9, [](ProcessorAnswers& a) { a.leaf1Ecx &= ~(1u << 23); }, 5},
    {"AVX bit, system saves no AVX state", 9, [](ProcessorAnswers& a) { a.xcr0 = 0x3; }, 6},
    {"AVX without OSXSAVE", 9, [](ProcessorAnswers& a) { a.leaf1Ecx &= ~(1u << 27); }, 6},
    {"OSXSAVE without AVX", 9, [](ProcessorAnswers& a) { a.leaf1Ecx &= ~(1u << 28); }, 6},
    {"AVX-512 state without AVX2", 9, [](ProcessorAnswers& a) { a.leaf7Ebx = 0; }, 7},
    {"AVX-512 state bit 5 only", 9, [](ProcessorAnswers& a) { a.leaf13Eax = 0x20; }, 8},
    {"AVX-512 state bit 6 only", 9, [](ProcessorAnswers& a) { a.leaf13Eax = 0x40; }, 8},
    {"AVX2 on a machine without SSE4.1", 4, [](ProcessorAnswers& a) { a.leaf7Ebx = kAvx2; }, 4},
};

TEST(ProcessorLevelTest, FirstFailureEndsTheTests) {
  for (const GapCase& c : kGaps) {
    ProcessorAnswers answers = MachineOfLevel(c.from);
    c.change(answers);
    EXPECT_EQ(ProcessorLevelOf(answers), c.level) << c.label;
  }
}

TEST(ArchitectureNameTest, NamesFoldCaseAndUnknownIsZero) {
  const struct {
    const char* name;
    int32_t index;
  } names[] = {{"sse2", 1},  {"SSE3", 2},    {"ssse3", 3},  {"Sse41", 4}, {"sse42", 5},
               {"avx", 6},   {"avx2", 7},    {"AVX512", 8}, {"", 0},      {"sse4.1", 0},
               {"avx2 ", 0}, {"avx-512", 0}, {"neon", 0},   {"SSE", 0}};
  for (const auto& n : names) EXPECT_EQ(ArchitectureIndexOfName(n.name), n.index) << n.name;
}

TEST(ArchitectureMachineTest, CachedLevelAgreesWithTheInstructionSets) {
  int32_t level = ProcessorLevel();
  EXPECT_EQ(ProcessorLevelOf(ReadProcessorAnswers()), level);
  EXPECT_EQ(DetectArchitectureIndex(), ArchitectureIndexOfLevel(level));
  {
    // A test's machine index holds for its scope and nests; below 0 is 0.
    ScopedArchitectureIndex outer(-4);
    {
      ScopedArchitectureIndex inner(5);
      EXPECT_EQ(DetectArchitectureIndex(), 5);
    }
    EXPECT_EQ(DetectArchitectureIndex(), 0);
  }
  EXPECT_EQ(DetectArchitectureIndex(), ArchitectureIndexOfLevel(level));
  // The level implies each set below it; the sets of the About view are read separately.
  const MInstructionSets& sets = InstructionSets();
  const bool byLevel[] = {sets.sse2, sets.sse3, sets.sse41, sets.avx, sets.avx2};
  const int32_t levelOf[] = {2, 3, 5, 7, 8};
  for (int i = 0; i < 5; ++i) EXPECT_TRUE(byLevel[i] || level < levelOf[i]) << level << " " << i;
}

}  // namespace
}  // namespace kx
