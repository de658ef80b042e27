// kestrix-pack as a real process: packages built under several flag sets and
// extracted again, the verification that names a bad block, fetches, failures and
// misuse.
#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "foundation/platform/process.h"
#include "kestrix_pack/pack_usage.h"
#include "support/nginx_server.h"
#include "support/resource_test_support.h"
#include "tool_process.h"
#include "transfer/download_fixture.h"

namespace kx {
namespace {

namespace fs = std::filesystem;

const std::string kUsage = ToolSynopsis(kPackTool);

using testing::SecurityInfoOf;
using testing::ToolResult;

class PackToolTest : public testing::ToolTest {
 protected:
  PackToolTest() : ToolTest(testing::kPackPath) {}

  // A source folder of nested, empty, text and binary files, one over 2 MiB.
  std::vector<std::pair<std::string, std::string>> MakeSources() const {
    std::vector<std::pair<std::string, std::string>> files = {
        {"Vorlund Synth.so", TextBytes(2500000, 1)},
        {"Presets/Factory.presets", "<S><preset name=\"Init\"/></S>"},
        {"Presets/empty.txt", ""},
        {"Docs/a/b/manual.txt", TextBytes(30000, 2)},
    };
    for (const auto& [name, bytes] : files) WriteFile("src/" + name, bytes);
    return files;
  }

  ToolResult Ok(const std::vector<std::string>& arguments) const {
    ToolResult result = Run(arguments);
    EXPECT_EQ(result.exitCode, 0) << ::testing::PrintToString(arguments) << ": "
                                  << result.errorOutput;
    EXPECT_EQ(result.errorOutput, "");
    return result;
  }

  static uint32_t TrailerFlags(const std::string& package) {
    uint32_t flags = 0;
    std::memcpy(&flags, package.data() + package.size() - 4, 4);
    return flags;
  }
};

TEST_F(PackToolTest, BuildAndExtractGiveBackTheSources) {
  auto files = MakeSources();
  // Plain, zlib, bzip2, serial, filtered, plain definition with packed contents.
  for (uint32_t flags : {0u, 3u, 5u, 11u, 19u, 23u}) {
    std::string package = "p" + std::to_string(flags) + ".pkgm";
    std::string out = "out" + std::to_string(flags);
    Ok({"build", Arg("src"), Arg(package), "--flags", std::to_string(flags)});
    EXPECT_EQ(TrailerFlags(ReadFileBytes(File(package))), flags);
    EXPECT_EQ(Ok({"extract", Arg(package), Arg(out)}).output,
              "Extracted 4 files into \"" + Arg(out) + "\".\n");
    for (const auto& [name, bytes] : files) {
      EXPECT_EQ(ReadFileBytes(File(out + "/" + name)), bytes) << name << " flags " << flags;
      // The time travels in whole seconds.
      auto source = fs::last_write_time(File("src/" + name));
      auto copy = fs::last_write_time(File(out + "/" + name));
      EXPECT_EQ(std::chrono::floor<std::chrono::seconds>(source), copy) << name;
    }
  }
}

TEST_F(PackToolTest, ListShowsTheTreeWithRootAttributes) {
  MakeSources();
  Ok({"build", Arg("src"), Arg("p.pkgm"), "--name", "Vorlund Synth", "--attr", "mergepresets=0",
      "--attr", "detectitems=1"});
  EXPECT_EQ(TrailerFlags(ReadFileBytes(File("p.pkgm"))), 3u) << "default flags";
  std::string listing = Ok({"list", Arg("p.pkgm")}).output;
  EXPECT_EQ(listing.rfind("<?xml", 0), 0u) << listing;
  for (const char* part : {"<package name=\"Vorlund Synth\" mergepresets=\"0\" detectitems=\"1\">",
                           "<dir name=\"Presets\" op=\"create\">", "filesize=\"2500000\"",
                           "<file name=\"Factory.presets\" op=\"update\" time=\""})
    EXPECT_NE(listing.find(part), std::string::npos) << part << "\n" << listing;
  EXPECT_EQ(listing.find("srcpath"), std::string::npos) << listing;
}

TEST_F(PackToolTest, VerifyNamesTheFirstBadBlock) {
  MakeSources();
  Ok({"build", Arg("src"), Arg("p.pkgm"), "--flags", "0"});
  EXPECT_EQ(Ok({"verify", Arg("p.pkgm")}).output,
            "Definition digest: correct.\nNo security info \"" + Arg("p.pkgm.md5") +
                "\": contents not checked.\n");
  EXPECT_EQ(Ok({"md5", Arg("p.pkgm")}).output, "Wrote \"" + Arg("p.pkgm.md5") + "\" (3 blocks).\n");
  EXPECT_EQ(Ok({"verify", Arg("p.pkgm")}).output,
            "Definition digest: correct.\nSize, 3 blocks and the file's MD5 match \"" +
                Arg("p.pkgm.md5") + "\".\n");

  // One content byte in the second mebibyte: the package still opens, the
  // security info finds it.
  std::string bytes = ReadFileBytes(File("p.pkgm"));
  bytes[1048576 + 100] ^= 0x20;
  WriteFile("p.pkgm", bytes);
  Ok({"list", Arg("p.pkgm")});
  auto refused = [&](const std::string& message) {
    ToolResult bad = Run({"verify", Arg("p.pkgm")});
    EXPECT_EQ(bad.exitCode, 1);
    EXPECT_EQ(bad.errorOutput, message);
    return bad.output;
  };
  EXPECT_EQ(refused("Block 1 of \"" + Arg("p.pkgm") +
                    "\" (bytes 1048576 to 2097151) does not match its digest.\n"),
            "Definition digest: correct.\n");

  // One byte of the definition: refused before the security info is read.
  bytes[1048576 + 100] ^= 0x20;
  bytes[bytes.size() - 40] ^= 0x01;
  WriteFile("p.pkgm", bytes);
  refused("Resource library file is corrupt.\n");

  // A security info that expects another size.
  bytes[bytes.size() - 40] ^= 0x01;
  WriteFile("p.pkgm", bytes);
  std::string info = ReadFileBytes(File("p.pkgm.md5"));
  size_t line2 = info.find('\n') + 1;
  info.replace(line2, info.find('\n', line2) - line2, "12");
  WriteFile("p.pkgm.md5", info);
  refused("\"" + Arg("p.pkgm") + "\" has " + std::to_string(bytes.size()) +
          " bytes, its security info says 12.\n");
}

TEST_F(PackToolTest, FailuresExitWithTheMessage) {
  WriteFile("tiny.pkgm", "0123456789");
  WriteFile("bad.xml",
            "<package><file name=\"x\" op=\"update\" srcpath=\"nowhere.bin\"/></package>");
  const std::pair<std::vector<std::string>, std::string> cases[] = {
      {{"list", Arg("tiny.pkgm")}, "Could not read the required data from stream.\n"},
      {{"build", Arg("bad.xml"), Arg("bad.pkgm")},
       "Source file \"" + Arg("nowhere.bin") + "\" does not exist.\n"},
      {{"uninstall", Arg("missing.state")},
       "File \"" + Arg("missing.state") +
           "\" could not be opened. Make sure that it exists.\nError: \"No such file or "
           "directory\".\n"},
  };
  for (const auto& [arguments, message] : cases) {
    EXPECT_EQ(testing::Outcome(Run(arguments)), std::tuple(1, "", message)) << arguments[0];
  }
  EXPECT_FALSE(fs::exists(File("bad.pkgm"))) << "no half package is left";
}

TEST_F(PackToolTest, WrongUsageShowsTheUsage) {
  const std::vector<std::vector<std::string>> cases = {
      {},
      {"pack", "a"},
      {"build", "a"},
      {"build", "a", "b", "c"},
      {"build", "a", "b", "--flags", "32"},
      {"build", "a", "b", "--flags", "x"},
      {"build", "a", "b", "--flags"},
      {"build", "a", "b", "--attr", "novalue"},
      {"build", "a", "b", "--attr", "=1"},
      {"list", "a", "--name", "n"},
      {"md5"},
      {"verify", "a", "b"},
      {"extract", "a"},
      {"install", "a"},
      {"install", "a", "--dest", "d", "--on-error", "maybe"},
      {"fetch"},
      {"fetch", "/a", "--dest", "d"},
      {"fetch", "--server", "h:0", "/a", "--dest", "d"},
      {"fetch", "--server", "h", "a", "--dest", "d"},
      {"fetch", "--server", "h", "/a"},
      {"fetch", "--server", "h", "/a", "--dest", "d", "--tries", "0"},
      {"fetch", "--server", "h", "/a", "--dest", "d", "--fresh", "--fresh"},
  };
  for (const auto& arguments : cases) {
    EXPECT_EQ(testing::Outcome(Run(arguments)), std::tuple(2, "", kUsage))
        << ::testing::PrintToString(arguments);
  }
}

// fetch against a real nginx: a fresh fetch, a resume, a forced fresh fetch over a
// stale file, and a failure that ends with the last status (the names refused are
// item_download_test.cpp's).
class FetchToolTest : public testing::ToolTest {
 protected:
  FetchToolTest() : ToolTest(testing::kPackPath) {
    server.AddFile("download/pkg/a.pkgm", content);
    server.AddFile("download/pkg/a.pkgm.md5", SecurityInfoOf(content));
  }
  testing::ToolResult Fetch(const std::string& path, std::vector<std::string> more) const {
    std::vector<std::string> arguments{
        "fetch", "--server", "127.0.0.1:" + std::to_string(server.Port()),
        path,    "--dest",   Dest().string()};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return Run(arguments);
  }
  fs::path Dest() const { return File("dest"); }

  MNginxServer server;
  const std::string content = RandomBytes(2 * testing::kBlock + 4321, 5);
};

TEST_F(FetchToolTest, FetchesResumesAndReplaces) {
  const std::string done = "Downloading package a.pkgm ... downloading finished sucessfully.\n";
  const std::string stale = RandomBytes(1000, 6);
  const struct {
    std::string local, localInfo;  // on disk before; empty: nothing
    std::vector<std::string> more;
    std::string firstLine;
  } cases[] = {
      {"", "", {}, "Downloading security info for a.pkgm...\n"},
      {content.substr(0, 1500000), SecurityInfoOf(content), {}, "Downloading package a.pkgm...\n"},
      {stale, SecurityInfoOf(stale), {"--fresh"}, "Downloading security info for a.pkgm...\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.firstLine + std::to_string(c.local.size()));
    fs::remove_all(Dest());
    if (!c.local.empty()) WriteFileBytes(Dest() / "a.pkgm", c.local);
    if (!c.localInfo.empty()) WriteFileBytes(Dest() / "a.pkgm.md5", c.localInfo);
    testing::ToolResult result = Fetch("/download/pkg/a.pkgm", c.more);
    EXPECT_EQ(result.exitCode, 0) << result.errorOutput;
    EXPECT_EQ(result.output.rfind(c.firstLine, 0), 0u) << result.output;
    EXPECT_EQ(result.output.substr(result.output.size() - done.size()), done);
    EXPECT_TRUE(ReadFileBytes(Dest() / "a.pkgm") == content);
  }
}

TEST_F(FetchToolTest, FailureEndsWithTheLastStatus) {
  testing::ToolResult result = Fetch("/download/pkg/none.pkgm", {"--tries", "2"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.errorOutput,
            "Cannot download security info for none.pkgm (HTTP/1.1 404 Not Found)\n");
  EXPECT_FALSE(fs::exists(Dest() / "pkg") || fs::exists(File("none.pkgm")));
}

// install killed at many points of a large install, then run again to the end,
// leaves exactly the tree of a clean install, bytes and times.
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

int Spawn(const std::vector<std::string>& arguments) {
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
    ASSERT_EQ(Spawn({testing::kPackPath, "build", Source().string(), Package(), "--flags", "0",
                     "--name", "Big"}),
              0);
  }
  fs::path Source() const { return sandbox.Root() / "source"; }
  std::string Package() const { return (sandbox.Root() / "big.pkgm").string(); }
  int Install(const fs::path& dest, const char* killAfter = nullptr) {
    std::vector<std::string> arguments{testing::kPackPath, "install", Package(), "--dest",
                                       dest.string()};
    if (killAfter) arguments.insert(arguments.begin(), {"timeout", "-s", "KILL", killAfter});
    return Spawn(arguments);
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
