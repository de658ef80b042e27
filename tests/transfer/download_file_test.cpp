// DownloadFile against nginx and the override folder, with its log lines, and the
// server texts with the start-up value from KESTRIX_SERVER.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "foundation/streams/memory_stream.h"
#include "support/log_capture.h"
#include "support/nginx_server.h"
#include "transfer/download_file.h"
#include "transfer/server_host.h"

namespace kx {
namespace {

using testing::HasLinesInOrder;

TEST(DownloadFileTest, FetchesRangesAndReportsFailures) {
  testing::MLogCapture log;
  MNginxServer server("location = /download/moved { return 302 a.txt; }");
  server.AddFile("download/a.txt", "0123456789");
  TransferEndpoints endpoints;
  endpoints.MainServer = MString::FromUTF8("127.0.0.1:" + std::to_string(server.Port()));
  endpoints.AddonServer = MString("127.0.0.1:1");
  struct Case {
    const char* path;
    bool main;
    int64_t from, to;
    std::string body, error;
  };
  const Case cases[] = {
      {"/download/a.txt", true, -1, -1, "0123456789", ""},
      {"/download/moved", true, 4, -1, "456789", ""},
      {"/download/a.txt", true, 2, 4, "234", ""},
      {"/download/none.txt", true, -1, -1, "", "HTTP/1.1 404 Not Found"},
      {"/download/a.txt", false, -1, -1, "",
       "Could not connect to a TCP server (host 127.0.0.1, "
       "port 1, code -1)."},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.path);
    MMemoryStream target, progress;
    MString error;
    DownloadFile(endpoints, error, MString(c.path), target, c.main, &progress, c.from, c.to);
    EXPECT_EQ(ToStd(error), c.error);
    EXPECT_EQ(std::string(target.Data(), static_cast<size_t>(target.Size())), c.body);
    EXPECT_EQ(progress.Size(), target.Size());
  }
  const std::string url = "http://127.0.0.1:" + std::to_string(server.Port());
  EXPECT_TRUE(HasLinesInOrder(
      log.Text(), {"\nDownloading file " + url + "/download/a.txt", "  success",
                   "\nDownloading file " + url + "/download/moved", "  range 4 to -1", "  success",
                   "  error HTTP/1.1 404 Not Found"}));
}

TEST(DownloadFileTest, OverrideFolderServesDownloadPathsWithoutNetwork) {
  MTestSandbox sandbox;
  std::filesystem::create_directories(sandbox.Root() / "PKG");
  std::ofstream(sandbox.Root() / "PKG" / "x.md5") << "local";
  TransferEndpoints endpoints;
  endpoints.MainServer = MString("127.0.0.1:1");
  endpoints.DownloadOverrideFolder = MString::FromUTF8(sandbox.Root().string());
  struct Case {
    const char* path;
    std::string body;
    bool failed;
  };
  const Case cases[] = {{"/DOWNLOAD/PKG/x.md5", "local", false},
                        {"/download/PKG/none", "", true},
                        {"/other/PKG/x.md5", "", true}};  // not below /download/: the server
  for (const Case& c : cases) {
    SCOPED_TRACE(c.path);
    MMemoryStream target;
    MString error;
    DownloadFile(endpoints, error, MString(c.path), target, true);
    EXPECT_EQ(std::string(target.Data(), static_cast<size_t>(target.Size())), c.body);
    EXPECT_EQ(error.IsEmpty(), !c.failed) << ToStd(error);
  }
}

TEST(ServerHostTest, TextsAreHostAndOptionalPort) {
  struct Case {
    const char* text;
    bool valid;
    const char* host;
    uint16_t port;
  };
  const Case cases[] = {{"www.example.org", true, "www.example.org", 80},
                        {"127.0.0.1:8080", true, "127.0.0.1", 8080},
                        {"h:65535", true, "h", 65535},
                        {"", false, "", 0},
                        {":80", false, "", 0},
                        {"h:", false, "", 0},
                        {"h:0", false, "", 0},
                        {"h:65536", false, "", 0},
                        {"h:8x", false, "", 0},
                        {"http://h", false, "", 0},
                        {"a b", false, "", 0},
                        {"h/path", false, "", 0}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    MString host;
    uint16_t port = 0;
    ASSERT_EQ(ParseServerHost(MString(c.text), host, port), c.valid);
    if (!c.valid) continue;
    EXPECT_EQ(ToStd(host), c.host);
    EXPECT_EQ(port, c.port);
  }
}

// The start-up value is read once per process: each case runs in a child.
TEST(ServerHostTest, EnvironmentReplacesTheBuiltInHost) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  struct Case {
    const char* value;  // null: not set
    const char* server;
  };
  const Case cases[] = {{nullptr, kBuiltInServerHost},
                        {"127.0.0.1:8080", "127.0.0.1:8080"},
                        {"bad host", kBuiltInServerHost}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.value ? c.value : "(unset)");
    EXPECT_EXIT(
        {
          if (c.value)
            ::setenv(kServerHostVariable, c.value, 1);
          else
            ::unsetenv(kServerHostVariable);
          TransferEndpoints endpoints;
          bool same = ToStd(endpoints.MainServer) == c.server &&
                      endpoints.AddonServer == endpoints.MainServer;
          std::_Exit(same ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
  }
}

}  // namespace
}  // namespace kx
