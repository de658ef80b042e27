// Help, version and wrong usage of the program and every tool, as a user meets
// them in a terminal; and the tools' progress line, which only a terminal sees.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/pseudo_terminal.h"
#include "tool_process.h"

namespace kx {
namespace {

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
