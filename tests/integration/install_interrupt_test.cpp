// Interrupted installs: kestrix-pack install killed at many points of a large
// install, then run again to the end, leaves exactly the tree of a clean
// install, bytes and times. (The state file that the uninstall walks is
// driven through the tool in demo_server_test.cpp.)
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "foundation/platform/process.h"
#include "support/sandbox.h"

namespace kx {
namespace {

namespace fs = std::filesystem;

const char* const kTool = KESTRIX_BINARY_DIR "/tools/kestrix-pack";

struct Entry {
  std::string bytes;
  fs::file_time_type time;
};

// Every file below `root` by relative path, with its bytes and last-write time.
std::map<std::string, Entry> Snapshot(const fs::path& root) {
  std::map<std::string, Entry> files;
  for (const auto& entry : fs::recursive_directory_iterator(root)) {
    if (!entry.is_regular_file()) continue;
    std::string bytes(static_cast<size_t>(entry.file_size()), '\0');
    std::ifstream(entry.path(), std::ios::binary)
        .read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    files[fs::relative(entry.path(), root).string()] = Entry{bytes, entry.last_write_time()};
  }
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
      fs::create_directories(path.parent_path());
      std::string bytes(static_cast<size_t>(200000 + (i % 5) * 700000), '\0');
      for (size_t at = 0; at + 4 <= bytes.size(); at += 4) {
        state = state * 1103515245u + 12345u;
        std::memcpy(&bytes[at], &state, 4);
      }
      std::ofstream(path, std::ios::binary) << bytes;
    }
    ASSERT_EQ(
        RunTool({kTool, "build", Source().string(), Package(), "--flags", "0", "--name", "Big"}),
        0);
  }
  fs::path Source() const { return sandbox.Root() / "source"; }
  std::string Package() const { return (sandbox.Root() / "big.pkgm").string(); }
  int Install(const fs::path& dest, const char* killAfter = nullptr) {
    std::vector<std::string> arguments;
    if (killAfter) arguments = {"timeout", "-s", "KILL", killAfter};
    for (const std::string& part : {std::string(kTool), std::string("install"), Package(),
                                    std::string("--dest"), dest.string()})
      arguments.push_back(part);
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
    for (const auto& [name, entry] : expected) {
      EXPECT_TRUE(got[name].bytes == entry.bytes) << delay << " " << name;
      EXPECT_TRUE(got[name].time == entry.time) << delay << " " << name;
    }
  }
  EXPECT_GT(interrupted, 0);  // some kill must have landed inside the walk
}

}  // namespace
}  // namespace kx
