// The kestrix binary's entry, run as a real process in a sandboxed HOME: exit
// codes, the log byte for byte, and what reaches standard error.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "app/main_routine.h"
#include "foundation/platform/single_instance.h"
#include "support/sandbox.h"

extern char** environ;

namespace kx {
namespace {

const char* const kBinary = KESTRIX_BINARY_DIR "/src/app/kestrix";
const char* const kUsageOnConsole =
    "Usage: {kestrix} [/silent {list_of_plugins}] [/uninstall]\n"
    "If list_of_plugins is empty, all will be (un)installed \n";
const char* const kAnotherInstance = "Another instance of Kestrix is already running!\n";
const char* const kCreating = "\nCreating Kestrix instance ...\r\n";

struct RunResult {
  int exitCode = -1;
  std::string errorOutput;
};

class EntryTest : public ::testing::Test {
 protected:
  // Runs the binary with standard input from /dev/null (no terminal to answer a
  // question) and standard error into a file of the sandbox.
  RunResult Run(const std::vector<std::string>& arguments) {
    std::filesystem::path errorFile = sandbox.Root() / "stderr.txt";
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, errorFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                     0644);
    std::vector<char*> argv{const_cast<char*>(kBinary)};
    for (const std::string& argument : arguments)
      argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    pid_t pid = 0;
    int failed = posix_spawn(&pid, kBinary, &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    RunResult result;
    if (failed != 0) {
      ADD_FAILURE() << "cannot start " << kBinary;
      return result;
    }
    int status = 0;
    waitpid(pid, &status, 0);
    EXPECT_TRUE(WIFEXITED(status)) << "kestrix did not exit normally, status " << status;
    if (WIFEXITED(status)) result.exitCode = WEXITSTATUS(status);
    result.errorOutput = ReadFileBytes(errorFile);
    return result;
  }

  std::string Log() const { return ReadFileBytes(sandbox.KestrixDataFolder() / "log.txt"); }

  MTestSandbox sandbox;
};

struct EntryCase {
  const char* name;
  std::vector<std::string> arguments;
  bool secondInstance;  // the test holds the single-instance lock during the run
  int exitCode;
  const char* log;
  const char* errorOutput;
};

void PrintTo(const EntryCase& c, std::ostream* out) {
  *out << c.name;
}

class EntryRunTest : public EntryTest, public ::testing::WithParamInterface<EntryCase> {};

TEST_P(EntryRunTest, ExitCodeLogAndConsole) {
  const EntryCase& c = GetParam();
  // Taken in every case, so that a Kestrix running elsewhere on the machine is
  // reported as such instead of as a wrong exit code.
  MSingleInstance first(kSingleInstanceName);
  ASSERT_TRUE(first.IsHeld()) << "another Kestrix is running on this machine";
  if (!c.secondInstance) first.Release();

  RunResult result = Run(c.arguments);
  EXPECT_EQ(result.exitCode, c.exitCode);
  EXPECT_EQ(Log(), c.log);
  EXPECT_EQ(result.errorOutput, c.errorOutput);
}

const EntryCase kEntryCases[] = {
    {"NoArguments",
     {},
     false,
     kExitNormal,
     "Argument count 0\r\n\nCreating Kestrix instance ...\r\n",
     ""},
    {"SilentUninstall",
     {"/silent", "/uninstall"},
     false,
     kExitNormal,
     "Argument count 2\r\nArgument 0: /silent\r\nArgument 1: /uninstall\r\n"
     "\nCreating Kestrix instance ...\r\n",
     ""},
    // Arguments after /help are logged but never acted upon; the usage box shows
    // even though /uninstall came first.
    {"UninstallHelp",
     {"/uninstall", "/help", "x"},
     false,
     kExitHelp,
     "Argument count 3\r\nArgument 0: /uninstall\r\nArgument 1: /help\r\nArgument 2: x\r\n",
     kUsageOnConsole},
    {"SecondInstance",
     {"/uninstall"},
     true,
     kExitAnotherInstance,
     "Argument count 1\r\nArgument 0: /uninstall\r\n",
     kAnotherInstance},
    // The /silent of the argument pass already silences the answer.
    {"SecondInstanceSilent",
     {"/uninstall", "/SILENT", "a;b"},
     true,
     kExitAnotherInstance,
     "Argument count 3\r\nArgument 0: /uninstall\r\nArgument 1: /SILENT\r\nArgument 2: a;b\r\n",
     ""},
    // Another instance is answered before the option loop sees /help.
    {"SecondInstanceHelp",
     {"/help"},
     true,
     kExitAnotherInstance,
     "Argument count 1\r\nArgument 0: /help\r\n",
     kAnotherInstance},
    {"ArgumentsAsUTF8",
     {"Grüße {0}", ""},
     false,
     kExitNormal,
     "Argument count 2\r\nArgument 0: Grüße {0}\r\nArgument 1: \r\n"
     "\nCreating Kestrix instance ...\r\n",
     ""},
};

INSTANTIATE_TEST_SUITE_P(CommandLines, EntryRunTest, ::testing::ValuesIn(kEntryCases),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(EntryTest, LogIsReplacedAtEachStart) {
  ASSERT_EQ(Run({"/glustol", "first-run-with-a-longer-line"}).exitCode, kExitNormal);
  ASSERT_EQ(Run({"/help"}).exitCode, kExitHelp);
  EXPECT_EQ(Log(), "Argument count 1\r\nArgument 0: /help\r\n");
  ASSERT_EQ(Run({}).exitCode, kExitNormal);
  std::string log = Log();
  EXPECT_EQ(log, std::string("Argument count 0\r\n") + kCreating);
  EXPECT_TRUE(log.ends_with(kCreating));
}

// The data folder cannot be created: the start fails with a message, shown only
// when not silent, and no lock is ever taken.
TEST_F(EntryTest, DataFolderThatCannotBeCreated) {
  std::filesystem::path blocker = sandbox.ConfigHome() / "Vorlund";
  std::ofstream(blocker) << "a file where a folder belongs";
  std::string expected = "Error: Could not create path \"" + (blocker / "Downloader").string() +
                         "\". Not a directory\n";

  RunResult loud = Run({"/uninstall"});
  EXPECT_EQ(loud.exitCode, kExitStartFailed);
  EXPECT_EQ(loud.errorOutput, expected);

  RunResult silent = Run({"/silent"});
  EXPECT_EQ(silent.exitCode, kExitStartFailed);
  EXPECT_EQ(silent.errorOutput, "");
  EXPECT_FALSE(std::filesystem::exists(blocker / "Downloader"));
}

// A log that cannot be created (a folder stands in its place) ends the start too.
TEST_F(EntryTest, LogThatCannotBeCreated) {
  std::filesystem::path log = sandbox.KestrixDataFolder() / "log.txt";
  std::filesystem::create_directories(log);
  RunResult result = Run({});
  EXPECT_EQ(result.exitCode, kExitStartFailed);
  EXPECT_TRUE(result.errorOutput.starts_with("Error: File \"" + log.string() +
                                             "\" could not be created."))
      << result.errorOutput;
}

}  // namespace
}  // namespace kx
