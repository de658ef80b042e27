// kestrix-pack install killed at many points of a large install, then run again to
// the end, leaves exactly the tree of a clean install, bytes and times.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "foundation/platform/process.h"
#include "tool_process.h"

namespace kx {
namespace {

namespace fs = std::filesystem;

using Entry = std::pair<std::string, fs::file_time_type>;

// Every file below `root` by relative path, with its bytes and last-write time.
std::map<std::string, Entry> Snapshot(const fs::path& root) {
  std::map<std::string, Entry> files;
  for (const auto& entry : fs::recursive_directory_iterator(root))
    if (entry.is_regular_file())
      files[fs::relative(entry.path(), root).string()] =
          Entry{ReadFileBytes(entry.path()), entry.last_write_time()};
  return files;
}

int RunTool(const std::vector<std::string>& arguments) {
  int exitCode = -1;
  EXPECT_EQ(platform::SpawnProcess(arguments, std::string(), true, exitCode), 0) << arguments[0];
  return exitCode;
}

class InstallInterruptTest : public ::testing::Test {
 protected:
  void SetUp() override {
    // Files of several pieces each, so that a kill lands inside a file too.
    uint32_t state = 7;
    for (int i = 0; i < 24; ++i) {
      fs::path path =
          Source() / ("Group" + std::to_string(i % 4)) / ("file" + std::to_string(i) + ".bin");
      std::string bytes(static_cast<size_t>(200000 + (i % 5) * 700000), '\0');
      for (size_t at = 0; at + 4 <= bytes.size(); at += 4) {
        state = state * 1103515245u + 12345u;
        std::memcpy(&bytes[at], &state, 4);
      }
      WriteFileBytes(path, bytes);
    }
    ASSERT_EQ(RunTool({testing::kPackPath, "build", Source().string(), Package(), "--flags", "0",
                       "--name", "Big"}),
              0);
  }
  fs::path Source() const { return sandbox.Root() / "source"; }
  std::string Package() const { return (sandbox.Root() / "big.pkgm").string(); }
  int Install(const fs::path& dest, const char* killAfter = nullptr) {
    std::vector<std::string> arguments{testing::kPackPath, "install", Package(), "--dest",
                                       dest.string()};
    if (killAfter) arguments.insert(arguments.begin(), {"timeout", "-s", "KILL", killAfter});
    return RunTool(arguments);
  }

  MTestSandbox sandbox;
};

TEST_F(InstallInterruptTest, KilledAnywhereThenRunAgainEqualsACleanInstall) {
  fs::path clean = sandbox.Root() / "clean";
  ASSERT_EQ(Install(clean), 0);
  std::map<std::string, Entry> expected = Snapshot(clean);
  ASSERT_EQ(expected.size(), 24u);
  int interrupted = 0;
  for (const char* delay : {"0.01", "0.03", "0.05", "0.07", "0.09", "0.12", "0.15", "0.2", "0.3"}) {
    fs::path dest = sandbox.Root() / (std::string("run") + delay);
    if (Install(dest, delay) == 128 + 9) ++interrupted;
    ASSERT_EQ(Install(dest), 0) << delay;
    std::map<std::string, Entry> got = Snapshot(dest);
    ASSERT_EQ(got.size(), expected.size()) << delay;
    for (const auto& [name, entry] : expected)
      EXPECT_TRUE(got[name] == entry) << delay << " " << name;
  }
  EXPECT_GT(interrupted, 0);  // some kill must have landed inside the walk
}

}  // namespace
}  // namespace kx
