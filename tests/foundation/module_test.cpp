#include "foundation/core/module.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <thread>

#include "foundation/files/path_text.h"
#include "foundation/resources/resource_compiled_in.h"
#include "foundation/threads/global_lock.h"
#include "foundation/threads/task.h"
#include "support/resource_test_support.h"

namespace kx {
namespace {

namespace fs = std::filesystem;

// A module's teardown switches the global lock off, as at the end of a run;
// the tests after it in this process need it on.
class ModuleTest : public ::testing::Test {
 protected:
  void TearDown() override { SetGlobalLockActive(true); }
};

TEST_F(ModuleTest, InitializeFindsTheExecutableAndTheLibraryBesideIt) {
  fs::path executable = fs::canonical("/proc/self/exe");
  fs::path library = executable;
  library.replace_extension(".mrf");
  { std::ofstream(library, std::ios::binary) << SmallLibraryOf("mstyle", "beside the program"); }
  MModule module;
  module.Initialize();
  fs::remove(library);

  EXPECT_EQ(ToStd(module.modulePath), executable.string());
  EXPECT_EQ(ToStd(module.moduleName), executable.stem().string());
  ASSERT_TRUE(module.resources.IsAttached());
  EXPECT_TRUE(module.resources.HasResource(MString("MSTYLE")));

  MModule named;
  named.moduleName = "Kestrix";
  named.Initialize();
  EXPECT_EQ(ToStd(named.moduleName), "Kestrix");
}

TEST_F(ModuleTest, ConstructionAndTeardown) {
  EXPECT_EQ(MModule::Instance(), nullptr);
  std::atomic<int> runs{0};
  {
    MModule module;
    EXPECT_EQ(MModule::Instance(), &module);
    EXPECT_TRUE(module.IsMainThread());
    bool onOther = true;
    std::thread([&] { onOther = module.IsMainThread(); }).join();
    EXPECT_FALSE(onOther);

    {
      MModule inner;
      EXPECT_EQ(MModule::Instance(), &inner);
    }
    EXPECT_EQ(MModule::Instance(), &module);
    EXPECT_TRUE(IsGlobalLockActive()) << "an inner module must leave the runtime on";

    module.taskGroups[1].Start(false, 2);
    MFunctionTask task([&] { ++runs; });
    module.taskGroups[1].Add(&task);
    module.taskGroups[1].WaitFor(&task);
  }
  EXPECT_EQ(runs.load(), 1);
  EXPECT_EQ(MModule::Instance(), nullptr);
  EXPECT_FALSE(IsGlobalLockActive());
}

// Each case: raw answers, and how many sets of the order SSE2 .. AVX512 are present.
TEST(InstructionSetsTest, SetsCountOnlyWhenTheSystemSavesTheirState) {
  const uint32_t sse = (1u << 0) | (1u << 9) | (1u << 19) | (1u << 20);  // SSE3 .. SSE4.2
  const uint32_t avx = sse | (1u << 27) | (1u << 28);                    // OSXSAVE, AVX
  const uint32_t sse2 = 1u << 26, avx2 = 1u << 5, avx512 = (1u << 5) | (1u << 16);
  // clang-format off
  const struct { uint32_t ecx, edx, leaf7Ebx; uint64_t xcr0; int present; } cases[] = {
      {sse, sse2, 0, 0, 5},
      {avx, sse2, avx2, 0x3, 5},     // the system does not save the AVX state
      {avx, sse2, avx2, 0x7, 7},
      {avx, sse2, avx512, 0x7, 7},   // nor here the AVX-512 state
      {avx, sse2, avx512, 0xe7, 8},
  };
  // clang-format on
  for (const auto& c : cases) {
    MInstructionSets s = DecodeInstructionSets(c.ecx, c.edx, c.leaf7Ebx, c.xcr0);
    const bool present[] = {s.sse2, s.sse3, s.ssse3, s.sse41, s.sse42, s.avx, s.avx2, s.avx512};
    for (int i = 0; i < 8; ++i)
      EXPECT_EQ(present[i], i < c.present) << "set " << i << " of case " << c.present;
  }
}

TEST(InstructionSetReportTest, ExactMarkUp) {
  MInstructionSets sets;
  sets.sse2 = sets.avx2 = true;
  EXPECT_EQ(ToStd(InstructionSetReport(sets)),
            "Instruction set support:\n<p>"
            "SSE2: <cgreen>yes (not fully used)</cgreen>\n<p>"
            "SSE3: <cred>no</cred>\n<p>"
            "SSSE3: <cred>no</cred>\n<p>"
            "SSE41: <cred>no</cred>\n<p>"
            "SSE42: <cred>no</cred>\n<p>"
            "AVX: <cred>no</cred>\n<p>"
            "AVX2: <cgreen>yes (not fully used)</cgreen>\n<p>"
            "AVX512: <cred>no</cred>\n<p>");
}

}  // namespace
}  // namespace kx
