// kestrix-pack fetch as a real process against a real nginx: a fresh fetch, a
// resume, a forced fresh fetch over a stale file, and a failure that ends with
// the last status (the names refused are item_download_test.cpp's).
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/nginx_server.h"
#include "tool_process.h"
#include "transfer/download_fixture.h"

namespace kx {
namespace {

namespace fs = std::filesystem;
using testing::SecurityInfoOf;

class FetchToolTest : public ::testing::Test {
 protected:
  FetchToolTest() {
    server.AddFile("download/pkg/a.pkgm", content);
    server.AddFile("download/pkg/a.pkgm.md5", SecurityInfoOf(content));
  }
  testing::ToolResult Fetch(const std::string& path, std::vector<std::string> more) const {
    std::vector<std::string> arguments{
        "fetch", "--server", "127.0.0.1:" + std::to_string(server.Port()),
        path,    "--dest",   Dest().string()};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return testing::RunTool(testing::kPackPath, arguments, sandbox.Root());
  }
  fs::path Dest() const { return sandbox.Root() / "dest"; }

  MTestSandbox sandbox;
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
  EXPECT_FALSE(fs::exists(Dest() / "pkg") || fs::exists(sandbox.Root() / "none.pkgm"));
}

}  // namespace
}  // namespace kx
