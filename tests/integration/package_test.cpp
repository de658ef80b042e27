// The packages of the target kx_packages as a user meets them: the .deb's files and
// fields, and the per-user setup file in a sandboxed HOME (usage, a damaged file, a
// first install, a higher version, packed here, installed while the first runs).
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "kestrix_version.h"
#include "support/scripted_server.h"
#include "tool_process.h"

namespace kx {
namespace {

namespace fs = std::filesystem;

const fs::path kPackages = KESTRIX_BINARY_DIR "/packages";
const std::string kVersion = kKestrixVersion;

std::string Missing(const fs::path& file) {
  return file.string() + " is missing: build the target kx_packages first";
}

std::string Line(const std::string& text, const std::string& start) {
  size_t at = text.find(start);
  return at == std::string::npos ? std::string() : text.substr(at, text.find('\n', at) - at);
}

TEST(PackageTest, DebHoldsProgramToolsMenuEntryAndManPages) {
  const fs::path deb = kPackages / ("kestrix_" + kVersion + "_amd64.deb");
  if (!fs::is_regular_file(deb)) GTEST_SKIP() << Missing(deb);
  MTestSandbox sandbox;
  const fs::path root = sandbox.Root() / "root";
  testing::ToolResult unpacked =
      testing::RunTool("/usr/bin/dpkg-deb", {"-x", deb.string(), root.string()}, sandbox.Root());
  ASSERT_EQ(unpacked.exitCode, 0) << unpacked.errorOutput;
  for (const char* file :
       {"usr/bin/kestrix", "usr/bin/kestrix-pack", "usr/bin/kestrix-tree", "usr/bin/kestrix-image",
        "usr/share/applications/kestrix.desktop", "usr/share/icons/hicolor/scalable/apps/kestrix.svg",
        "usr/share/kestrix/styles/Neon.mstyle", "usr/share/man/man1/kestrix.1",
        "usr/share/man/man1/kestrix-pack.1", "usr/share/man/man1/kestrix-tree.1",
        "usr/share/man/man1/kestrix-image.1"})
    EXPECT_TRUE(fs::is_regular_file(root / file)) << file;
  // Stripped for packing, the program still runs.
  testing::ToolResult version =
      testing::RunTool((root / "usr/bin/kestrix").c_str(), {"--version"}, sandbox.Root());
  EXPECT_EQ(version.output, "kestrix " + kVersion + "\n");

  testing::ToolResult info = testing::RunTool("/usr/bin/dpkg-deb", {"-I", deb.string()}, sandbox.Root());
  EXPECT_EQ(Line(info.output, " Package:"), " Package: kestrix");
  EXPECT_EQ(Line(info.output, " Architecture:"), " Architecture: amd64");
  EXPECT_EQ(Line(info.output, " Version:"), " Version: " + kVersion);
  const std::string depends = Line(info.output, " Depends:");
  // From the libraries the binaries link (the image tool's loaders among them).
  for (const char* library : {"zlib1g", "libbz2-", "libpng16-", "libjpeg62-turbo", "libtiff", "libgif"})
    EXPECT_NE(depends.find(library), std::string::npos) << library << " in" << depends;
}

// Usage and a damaged file: nothing is installed, and the code says why.
TEST(SetupTest, UsageAndDamagedFile) {
  const fs::path setup = kPackages / ("Kestrix_" + kVersion + "_setup.run");
  if (!fs::is_regular_file(setup)) GTEST_SKIP() << Missing(setup);
  MTestSandbox sandbox;
  const fs::path cut = sandbox.Root() / setup.filename();
  const std::string bytes = ReadFileBytes(setup);
  WriteFileBytes(cut, bytes.substr(0, bytes.size() / 2));
  fs::permissions(cut, fs::perms::owner_all);
  const std::string name = setup.filename().string();
  const struct {
    fs::path file;
    std::vector<std::string> arguments;
    int exitCode;
    std::string outputStart, errorEnd;
  } cases[] = {
      {setup, {"--help"}, 0, "Usage: " + name + " [/silent] [/run]\n", ""},
      {setup, {"/silent", "/frobnicate"}, 2, "", "\nExit codes: 0 done, 1 failure, 2 wrong usage\n"},
      {cut, {"/silent"}, 1, "",
       "Kestrix setup: The setup file is damaged: its content could not be unpacked.\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.file.string() + " " + c.arguments.back());
    testing::ToolResult result = testing::RunTool(c.file.c_str(), c.arguments, sandbox.Root());
    EXPECT_EQ(result.exitCode, c.exitCode);
    EXPECT_TRUE(result.output.starts_with(c.outputStart)) << result.output;
    EXPECT_EQ(result.output.empty(), c.outputStart.empty()) << result.output;
    EXPECT_TRUE(result.errorOutput.ends_with(c.errorEnd)) << result.errorOutput;
    EXPECT_EQ(result.errorOutput.empty(), c.errorEnd.empty()) << result.errorOutput;
  }
  EXPECT_FALSE(fs::exists(sandbox.DataHome() / "kestrix" / kVersion));
  EXPECT_FALSE(fs::exists(sandbox.Home() / ".local/bin/kestrix"));
}

// A program started without waiting; killed and reaped at the end of the test.
class RunningProgram {
 public:
  RunningProgram(const fs::path& binary, const std::string& argument) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (int fd : {0, 1, 2}) posix_spawn_file_actions_addopen(&actions, fd, "/dev/null", O_RDWR, 0);
    char* argv[] = {const_cast<char*>(binary.c_str()), const_cast<char*>(argument.c_str()), nullptr};
    if (posix_spawn(&pid_, binary.c_str(), &actions, nullptr, argv, environ) != 0) pid_ = -1;
    posix_spawn_file_actions_destroy(&actions);
  }
  ~RunningProgram() {
    if (pid_ <= 0) return;
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  pid_t Pid() const { return pid_; }

 private:
  pid_t pid_ = -1;
};

// The log once it satisfies `done`, or as it is after a minute.
template <typename Done>
std::string WaitForLog(const fs::path& log, Done done) {
  std::string text;
  for (int round = 0; round < 1200; ++round) {
    text = ReadFileBytes(log);
    if (done(text)) break;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  return text;
}

TEST(SetupTest, InstallsPerUserAndReplacesARunningOlderVersion) {
  const fs::path setup = kPackages / ("Kestrix_" + kVersion + "_setup.run");
  if (!fs::is_regular_file(setup)) GTEST_SKIP() << Missing(setup);
  MTestSandbox sandbox;
  const fs::path root = sandbox.DataHome() / "kestrix";
  const fs::path link = sandbox.Home() / ".local/bin/kestrix";
  const fs::path log = sandbox.KestrixDataFolder() / "log.txt";

  // Without a terminal it installs without asking.
  testing::ToolResult first = testing::RunTool(setup.c_str(), {}, sandbox.Root());
  ASSERT_EQ(first.exitCode, 0) << first.errorOutput;
  EXPECT_EQ(first.errorOutput, "");
  EXPECT_EQ(fs::read_symlink(root / "current"), kVersion);
  EXPECT_EQ(testing::RunTool(link.c_str(), {"--version"}, sandbox.Root()).output,
            "kestrix " + kVersion + "\n");
  // The menu entry starts the installed program.
  std::string exec = Line(ReadFileBytes(sandbox.DataHome() / "applications/kestrix.desktop"), "Exec=");
  EXPECT_EQ(exec, "Exec=\"" + (root / "current/bin/kestrix").string() + "\"");

  // A listener that never accepts: the program's connection test waits on it for
  // good, so the program keeps running.
  MScriptedServer mute({});
  setenv("KESTRIX_SERVER", ("127.0.0.1:" + std::to_string(mute.Port())).c_str(), 1);
  RunningProgram running(link, "/silent");
  ASSERT_GT(running.Pid(), 0);
  std::string runningLog = WaitForLog(
      log, [](const std::string& text) { return text.find("Creating Kestrix instance") != std::string::npos; });
  ASSERT_NE(runningLog.find("Creating Kestrix instance"), std::string::npos) << runningLog;

  // A higher version packed from the same build, and an older leftover.
  const std::string higher = "99.0.0";
  fs::create_directories(root / "0.9.0" / "bin");
  testing::ToolResult packed = testing::RunTool(
      KESTRIX_CPACK_COMMAND,
      {"--config", KESTRIX_BINARY_DIR "/CPackConfig.cmake", "-G", "TGZ", "-D",
       "CPACK_PACKAGE_VERSION=" + higher, "-B", (sandbox.Root() / "packed").string()},
      sandbox.Root());
  ASSERT_EQ(packed.exitCode, 0) << packed.output << packed.errorOutput;
  const fs::path higherSetup = sandbox.Root() / "packed" / ("Kestrix_" + higher + "_setup.run");

  testing::ToolResult second = testing::RunTool(higherSetup.c_str(), {"/silent", "/run"}, sandbox.Root());
  EXPECT_EQ(second.exitCode, 0) << second.errorOutput;
  EXPECT_EQ(second.output + second.errorOutput, "");
  EXPECT_EQ(fs::read_symlink(root / "current"), higher);
  EXPECT_TRUE(fs::is_regular_file(root / higher / "bin/kestrix"));
  EXPECT_FALSE(fs::exists(root / "0.9.0"));
  // The running program's files stay where they were, untouched.
  EXPECT_EQ(fs::read_symlink("/proc/" + std::to_string(running.Pid()) + "/exe"),
            root / kVersion / "bin/kestrix");
  EXPECT_TRUE(fs::is_regular_file(root / kVersion / "share/kestrix/styles/Neon.mstyle"));

  // /run started the new program, which met the running one: a second instance
  // leaves only its argument lines in the log.
  std::string started = WaitForLog(log, [](const std::string& text) { return text == "Argument count 0\r\n"; });
  EXPECT_EQ(started, "Argument count 0\r\n");
}

}  // namespace
}  // namespace kx
