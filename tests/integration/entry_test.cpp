// The kestrix binary's entry, run as a real process in a sandboxed HOME: exit
// codes, the log byte for byte, and what reaches standard error.
#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "app/main_routine.h"
#include "foundation/platform/single_instance.h"
#include "tool_process.h"

namespace kx {
namespace {

using testing::kProgramPath;
const char* const kUsageOnConsole =
    "Usage: {kestrix} [/silent {list_of_plugins}] [/uninstall]\n"
    "If list_of_plugins is empty, all will be (un)installed \n";
const char* const kAnotherInstance = "Another instance of Kestrix is already running!\n";
const char* const kCreating = "\nCreating Kestrix instance ...\r\n";

class EntryTest : public testing::ToolTest {
 protected:
  // A run that gets as far as the application finds no server here and goes
  // offline at once, never reaching out to the built-in host.
  EntryTest() : ToolTest(kProgramPath) { setenv("KESTRIX_SERVER", "127.0.0.1:9", 1); }
};

struct EntryCase {
  const char* name;
  std::vector<std::string> arguments;
  bool secondInstance;  // the test holds the single-instance lock during the run
  int exitCode;
  const char* log;
  const char* errorOutput;
};

class EntryRunTest : public EntryTest, public ::testing::WithParamInterface<EntryCase> {};

TEST_P(EntryRunTest, ExitCodeLogAndConsole) {
  const EntryCase& c = GetParam();
  // Taken in every case, so that a Kestrix running elsewhere on the machine is
  // reported as such instead of as a wrong exit code.
  MSingleInstance first(kSingleInstanceName);
  ASSERT_TRUE(first.IsHeld()) << "another Kestrix is running on this machine";
  if (!c.secondInstance) first.Release();

  testing::ToolResult result = Run(c.arguments);
  EXPECT_EQ(result.exitCode, c.exitCode);
  // Once the application is created, its start-up follows (silent_run_test.cpp).
  if (std::string(c.log).ends_with(kCreating)) {
    EXPECT_TRUE(Log().starts_with(c.log)) << Log();
    EXPECT_TRUE(result.errorOutput.starts_with(c.errorOutput)) << result.errorOutput;
  } else {
    EXPECT_EQ(Log(), c.log);
    EXPECT_EQ(result.errorOutput, c.errorOutput);
  }
}

// clang-format off
const EntryCase kEntryCases[] = {
    {"NoArguments", {}, false, kExitNormal, "Argument count 0\r\n\nCreating Kestrix instance ...\r\n", ""},
    {"SilentUninstall", {"/silent", "/uninstall"}, false, kExitNormal,
     "Argument count 2\r\nArgument 0: /silent\r\nArgument 1: /uninstall\r\n\nCreating Kestrix instance ...\r\n", ""},
    // Arguments after /help are logged but never acted upon.
    {"UninstallHelp", {"/uninstall", "/help", "x"}, false, kExitHelp,
     "Argument count 3\r\nArgument 0: /uninstall\r\nArgument 1: /help\r\nArgument 2: x\r\n", kUsageOnConsole},
    // The Linux words for help mean /help, wherever they stand.
    {"DashDashHelp", {"/silent", "--help"}, false, kExitHelp,
     "Argument count 2\r\nArgument 0: /silent\r\nArgument 1: --help\r\n", kUsageOnConsole},
    {"DashH", {"-h"}, false, kExitHelp, "Argument count 1\r\nArgument 0: -h\r\n", kUsageOnConsole},
    {"SecondInstance", {"/uninstall"}, true, kExitAnotherInstance,
     "Argument count 1\r\nArgument 0: /uninstall\r\n", kAnotherInstance},
    // The /silent of the argument pass already silences the answer.
    {"SecondInstanceSilent", {"/uninstall", "/SILENT", "a;b"}, true, kExitAnotherInstance,
     "Argument count 3\r\nArgument 0: /uninstall\r\nArgument 1: /SILENT\r\nArgument 2: a;b\r\n", ""},
    // Another instance is answered before the option loop sees /help.
    {"SecondInstanceHelp", {"/help"}, true, kExitAnotherInstance,
     "Argument count 1\r\nArgument 0: /help\r\n", kAnotherInstance},
    {"ArgumentsAsUTF8", {"Grüße {0}", ""}, false, kExitNormal,
     "Argument count 2\r\nArgument 0: Grüße {0}\r\nArgument 1: \r\n\nCreating Kestrix instance ...\r\n", ""},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(CommandLines, EntryRunTest, ::testing::ValuesIn(kEntryCases),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(EntryTest, LogIsReplacedAtEachStart) {
  ASSERT_EQ(Run({"/glustol", "first-run-with-a-longer-line"}).exitCode, kExitNormal);
  ASSERT_EQ(Run({"/help"}).exitCode, kExitHelp);
  EXPECT_EQ(Log(), "Argument count 1\r\nArgument 0: /help\r\n");
  ASSERT_EQ(Run({}).exitCode, kExitNormal);
  EXPECT_TRUE(Log().starts_with(std::string("Argument count 0\r\n") + kCreating)) << Log();
  EXPECT_EQ(Log().find("first-run"), std::string::npos);
}

// The data folder cannot be created: the start fails with a message, shown only
// when not silent, and no lock is ever taken.
TEST_F(EntryTest, DataFolderThatCannotBeCreated) {
  std::filesystem::path blocker = sandbox.ConfigHome() / "Vorlund";
  std::ofstream(blocker) << "a file where a folder belongs";
  std::string expected = "Error: Could not create path \"" + (blocker / "Downloader").string() +
                         "\". Not a directory\n";

  EXPECT_EQ(testing::Outcome(Run({"/uninstall"})), std::tuple(kExitStartFailed, "", expected));
  EXPECT_EQ(testing::Outcome(Run({"/silent"})), std::tuple(kExitStartFailed, "", ""));
  EXPECT_FALSE(std::filesystem::exists(blocker / "Downloader"));
}

// A log that cannot be created (a folder stands in its place) ends the start too.
TEST_F(EntryTest, LogThatCannotBeCreated) {
  std::filesystem::path log = sandbox.KestrixDataFolder() / "log.txt";
  std::filesystem::create_directories(log);
  testing::ToolResult result = Run({});
  EXPECT_EQ(result.exitCode, kExitStartFailed);
  EXPECT_TRUE(
      result.errorOutput.starts_with("Error: File \"" + log.string() + "\" could not be created."))
      << result.errorOutput;
}

// The real program brings its module up and initialises it: the module finds
// the program and opens the library named like it beside it. A damaged library
// is passed over; the run goes on.
TEST_F(EntryTest, ModuleOpensTheLibraryBesideTheProgram) {
  std::filesystem::path program = sandbox.Root() / "bin" / "kestrix";
  std::filesystem::create_directories(program.parent_path());
  std::error_code linked;
  std::filesystem::create_hard_link(kProgramPath, program, linked);
  if (linked) std::filesystem::copy_file(kProgramPath, program);
  std::filesystem::path library = program;
  library.replace_extension(".mrf");
  std::ofstream(library) << "no library";
  int watch = inotify_init1(IN_NONBLOCK);
  ASSERT_GE(watch, 0);
  ASSERT_GE(inotify_add_watch(watch, library.c_str(), IN_OPEN), 0);

  testing::ToolResult result = testing::RunTool(program.c_str(), {}, sandbox.Root());
  EXPECT_EQ(result.exitCode, kExitNormal);
  EXPECT_TRUE(Log().starts_with(std::string("Argument count 0\r\n") + kCreating)) << Log();
  alignas(inotify_event) char events[4096];
  EXPECT_GT(read(watch, events, sizeof events), 0) << "the program never opened " << library;
  close(watch);
}

}  // namespace
}  // namespace kx
