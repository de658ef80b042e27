// kestrix-pack fetch as a real process against a real nginx: a fresh fetch, a
// resume, a forced fresh fetch over a stale file, and the failures that end with
// the last status.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "support/nginx_server.h"
#include "tool_process.h"

namespace kx {
namespace {

namespace fs = std::filesystem;

const char* const kTool = KESTRIX_BINARY_DIR "/tools/kestrix-pack";

std::string Bytes(size_t size, unsigned seed) {
  std::mt19937 generator(seed);
  std::string bytes(size, '\0');
  for (char& byte : bytes) byte = static_cast<char>(generator());
  return bytes;
}

class FetchToolTest : public ::testing::Test {
 protected:
  FetchToolTest() : content(Bytes(2 * 1048576 + 4321, 5)) {
    server.AddFile("download/pkg/a.pkgm", content);
    WriteFile(server.DocumentRoot() / "download/pkg/a.pkgm.md5", "");
    testing::RunTool(kTool, {"md5", (server.DocumentRoot() / "download/pkg/a.pkgm").string()},
                     sandbox.Root());
  }
  static void WriteFile(const fs::path& path, const std::string& bytes) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
  }
  testing::ToolResult Fetch(const std::string& path, std::vector<std::string> more = {}) {
    std::vector<std::string> arguments{
        "fetch", "--server", "127.0.0.1:" + std::to_string(server.Port()),
        path,    "--dest",   Dest().string()};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return testing::RunTool(kTool, arguments, sandbox.Root());
  }
  fs::path Dest() const { return sandbox.Root() / "dest"; }

  MTestSandbox sandbox;
  MNginxServer server;
  std::string content;
};

TEST_F(FetchToolTest, FetchesResumesAndReplaces) {
  const std::string done = "Downloading package a.pkgm ... downloading finished sucessfully.\n";
  struct Case {
    const char* name;
    std::string local;  // on disk before; empty: nothing
    bool fresh;
    std::string firstLine;
  };
  const Case cases[] = {
      {"empty folder", "", false, "Downloading security info for a.pkgm...\n"},
      {"resumed", content.substr(0, 1500000), false, "Downloading package a.pkgm...\n"},
      {"stale, fresh", Bytes(1000, 6), true, "Downloading security info for a.pkgm...\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    fs::remove_all(Dest());
    if (!c.local.empty()) {
      WriteFile(Dest() / "a.pkgm", c.local);
      // Resumed: the server's own .md5; stale: one that calls the stale file complete.
      if (c.fresh)
        testing::RunTool(kTool, {"md5", (Dest() / "a.pkgm").string()}, sandbox.Root());
      else
        WriteFile(Dest() / "a.pkgm.md5",
                  ReadFileBytes(server.DocumentRoot() / "download/pkg/a.pkgm.md5"));
    }
    testing::ToolResult result =
        Fetch("/download/pkg/a.pkgm",
              c.fresh ? std::vector<std::string>{"--fresh"} : std::vector<std::string>{});
    EXPECT_EQ(result.exitCode, 0) << result.errorOutput;
    EXPECT_EQ(result.output.rfind(c.firstLine, 0), 0u) << result.output;
    EXPECT_EQ(result.output.substr(result.output.size() - done.size()), done);
    EXPECT_TRUE(ReadFileBytes(Dest() / "a.pkgm") == content);
  }
}

TEST_F(FetchToolTest, FailuresEndWithTheLastStatus) {
  struct Case {
    std::string path;
    std::vector<std::string> more;
    std::string error;  // the start of standard error
  };
  const Case cases[] = {
      {"/download/pkg/none.pkgm",
       {"--tries", "2"},
       "Cannot download security info for none.pkgm (HTTP/1.1 404 Not Found)\n"},
      {"/download/..", {}, "Invalid file name \"/download/..\" for ...\n"},
      {"/download/pkg/", {}, "Invalid file name \"/download/pkg/\" for .\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.path);
    testing::ToolResult result = Fetch(c.path, c.more);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.errorOutput, c.error);
    EXPECT_FALSE(fs::exists(Dest() / "pkg") || fs::exists(sandbox.Root() / "none.pkgm"));
  }
}

}  // namespace
}  // namespace kx
