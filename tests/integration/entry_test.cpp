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
#include "support/pseudo_terminal.h"
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

// Help, version and wrong usage of the program and every tool, as a user meets
// them in a terminal; and the tools' progress line, which only a terminal sees.
enum class Stream { kOut, kError };

struct UsageCase {
  std::string binary;
  std::vector<std::string> arguments;
  int exitCode;
  Stream stream;       // where the text goes; the other stream stays empty
  const char* starts;  // the text's beginning
  const char* holds;   // a part it must hold
};

TEST(UsageTest, HelpVersionAndWrongUsageOfEveryProgram) {
  const std::string pack = testing::kPackPath, tree = testing::kTreePath,
                    image = KESTRIX_BINARY_DIR "/tools/kestrix-image";
  const UsageCase cases[] = {
      // The program's --help and -h are with its other options (entry_test.cpp), the
      // wrong usage of kestrix-pack and kestrix-tree with their whole synopsis in their tests.
      {testing::kProgramPath, {"--version"}, 0, Stream::kOut, "kestrix 1.", "\n"},
      {pack, {"--help"}, 0, Stream::kOut, "kestrix-pack: ", "kestrix-pack uninstall STATE"},
      {pack, {"-h"}, 0, Stream::kOut, "kestrix-pack: ", "Exit codes: 0 done"},
      {pack, {"--version"}, 0, Stream::kOut, "kestrix-pack 1.", "\n"},
      // clang-format off
      {pack, {"install", "--help"}, 0, Stream::kOut, "Usage: kestrix-pack install PKG --dest DIR",
       "--on-error ignore|cancel"},
      {tree, {"--help"}, 0, Stream::kOut, "kestrix-tree: ", "kestrix-tree dump IN"},
      {tree, {"--version"}, 0, Stream::kOut, "kestrix-tree 1.", "\n"},
      {tree, {"convert", "-h"}, 0, Stream::kOut,
       "Usage: kestrix-tree convert IN OUT", "--compress"},
      {image, {"-h"}, 0, Stream::kOut, "kestrix-image: ", "kestrix-image info FILE"},
      {image, {"--version"}, 0, Stream::kOut, "kestrix-image 1.", "\n"},
      {image, {"info", "--help"}, 0, Stream::kOut, "Usage: kestrix-image info FILE", "format"},
      {image, {"info"}, 2, Stream::kError, "Usage: kestrix-image convert", "info FILE"},
      // clang-format on
  };
  MTestSandbox sandbox;
  for (const UsageCase& c : cases) {
    SCOPED_TRACE(c.binary + " " + ::testing::PrintToString(c.arguments));
    testing::ToolResult result = testing::RunTool(c.binary.c_str(), c.arguments, sandbox.Root());
    EXPECT_EQ(result.exitCode, c.exitCode);
    const std::string& text = c.stream == Stream::kOut ? result.output : result.errorOutput;
    const std::string& other = c.stream == Stream::kOut ? result.errorOutput : result.output;
    EXPECT_TRUE(text.starts_with(c.starts)) << text;
    EXPECT_NE(text.find(c.holds), std::string::npos) << text;
    EXPECT_EQ(other, "");
  }
}

TEST(UsageTest, ManPagesAreMadeFromTheUsage) {
  const std::string text = ReadFileBytes(KESTRIX_BINARY_DIR "/man/kestrix-pack.1");
  EXPECT_TRUE(text.starts_with(".TH KESTRIX-PACK 1")) << text.substr(0, 80);
  EXPECT_NE(text.find("kestrix\\-pack uninstall STATE"),
            std::string::npos);  // the others: PackageTest
}

// The line is redrawn with "\r" on a terminal, says what is done of the total,
// and is cleared at the end; through a pipe, or with --quiet, nothing of it appears.
TEST(UsageTest, ProgressLineOnlyOnTerminal) {
  MTestSandbox sandbox;
  std::filesystem::path source = sandbox.Root() / "source";
  for (int i = 0; i < 5; ++i)
    WriteFileBytes(source / "sub" / ("f" + std::to_string(i)), std::to_string(i));
  const std::string pack = testing::kPackPath;
  const std::string package = (sandbox.Root() / "p.pkgm").string();
  const std::string out = (sandbox.Root() / "out").string();

  testing::TerminalResult build =
      testing::RunOnTerminal(pack.c_str(), {"build", source.string(), package});
  EXPECT_EQ(build.exitCode, 0);
  EXPECT_NE(build.terminal.find("\r\033[KPacking: 5 of 5 files"), std::string::npos)
      << build.terminal;
  EXPECT_TRUE(build.terminal.ends_with("\r\033[K")) << build.terminal;
  testing::TerminalResult extract = testing::RunOnTerminal(pack.c_str(), {"extract", package, out});
  EXPECT_NE(extract.terminal.find("Extracting: 5 of 5 files"), std::string::npos)
      << extract.terminal;
  testing::TerminalResult quiet =
      testing::RunOnTerminal(pack.c_str(), {"extract", "--quiet", package, out});
  EXPECT_EQ(quiet.exitCode, 0);
  EXPECT_EQ(quiet.terminal, "");

  testing::ToolResult piped =
      testing::RunTool(pack.c_str(), {"extract", package, out}, sandbox.Root());
  EXPECT_EQ(piped.exitCode, 0);
  EXPECT_EQ(piped.errorOutput, "");
}

}  // namespace
}  // namespace kx
