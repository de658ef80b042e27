// DownloadFile against nginx and the override folder; the server texts; the
// offline self-update check.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "foundation/core/run_state.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/xml/xml_item.h"
#include "support/file_test_support.h"
#include "support/log_capture.h"
#include "support/nginx_server.h"
#include "transfer/download_file.h"
#include "transfer/self_update.h"
#include "transfer/server_host.h"

namespace kx {
namespace {

TEST(DownloadFileTest, FetchesRangesFromServerOrOverrideFolder) {
  testing::MLogCapture log;
  MNginxServer server("location = /download/moved { return 302 a.txt; }");
  server.AddFile("download/a.txt", "0123456789");
  const std::filesystem::path folder = log.Sandbox().Root() / "override";
  std::filesystem::create_directories(folder / "PKG");
  std::ofstream(folder / "PKG" / "x.md5") << "local";
  const std::string url = "http://127.0.0.1:" + std::to_string(server.Port());
  const struct {
    const char* path;
    bool main, useOverride;
    int64_t from, to;
    std::string body, error;
  } cases[] = {
      {"/download/a.txt", true, false, -1, -1, "0123456789", ""},
      {"/download/moved", true, false, 4, -1, "456789", ""},
      {"/download/a.txt", true, false, 2, 4, "234", ""},
      {"/download/a.txt", true, false, 9, 9, "9", ""},  // a body of one byte
      {"/download/none.txt", true, false, -1, -1, "", "HTTP/1.1 404 Not Found"},
      {"/download/a.txt", false, false, -1, -1, "",
       "Could not connect to a TCP server (host 127.0.0.1, port 1, code -1)."},
      {"/DOWNLOAD/PKG/x.md5", true, true, -1, -1, "local", ""},
      {"/other/a.txt", true, true, -1, -1, "", "HTTP/1.1 404 Not Found"},  // not below /download/
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.path);
    TransferEndpoints endpoints;
    endpoints.MainServer = MString::FromUTF8(url.substr(7));
    endpoints.AddonServer = MString("127.0.0.1:1");
    if (c.useOverride) endpoints.DownloadOverrideFolder = MString::FromUTF8(folder.string());
    MMemoryStream target, progress;
    MString error("from an earlier call");
    DownloadFile(endpoints, error, MString(c.path), target, c.main, &progress, c.from, c.to);
    EXPECT_EQ(ToStd(error), c.error);
    EXPECT_EQ(std::string(target.Data(), static_cast<size_t>(target.Size())), c.body);
    EXPECT_EQ(progress.Size(), target.Size());
  }
  EXPECT_TRUE(testing::HasLinesInOrder(
      log.Text(), {"\nDownloading file " + url + "/download/a.txt", "  success",
                   "\nDownloading file " + url + "/download/moved", "  range 4 to -1", "  success",
                   "  error HTTP/1.1 404 Not Found"}));
}

TEST(ServerHostTest, TextsAreHostAndOptionalPort) {
  struct Case {
    const char *text, *host;  // host null: invalid
    uint16_t port;
  };
  // clang-format off
  const Case cases[] = {
      {"www.example.org", "www.example.org", 80}, {"127.0.0.1:8080", "127.0.0.1", 8080},
      {"h:65535", "h", 65535}, {"h:1", "h", 1}, {"", nullptr, 0}, {":80", nullptr, 0}, {"h:", nullptr, 0},
      {"h:0", nullptr, 0}, {"h:65536", nullptr, 0}, {"h:8x", nullptr, 0},
      {"http://h", nullptr, 0}, {"a b", nullptr, 0}, {"h/path", nullptr, 0}};
  // clang-format on
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    MString host;
    uint16_t port = 0;
    ASSERT_EQ(ParseServerHost(MString(c.text), host, port), c.host != nullptr);
    if (!c.host) continue;
    EXPECT_EQ(ToStd(host), c.host);
    EXPECT_EQ(port, c.port);
  }
}

// The start-up value is read once per process: each case runs in a child.
TEST(ServerHostTest, EnvironmentReplacesTheBuiltInHost) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const std::pair<const char*, const char*> cases[] = {{nullptr, kBuiltInServerHost},
                                                       {"127.0.0.1:8080", "127.0.0.1:8080"},
                                                       {"bad host", kBuiltInServerHost}};
  for (const auto& [value, server] : cases) {
    SCOPED_TRACE(value ? value : "(unset)");
    EXPECT_EXIT(
        {
          value ? ::setenv(kServerHostVariable, value, 1) : ::unsetenv(kServerHostVariable);
          TransferEndpoints endpoints;
          const bool same = endpoints.AddonServer == endpoints.MainServer;
          std::_Exit(ToStd(endpoints.MainServer) == server && same ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
  }
}

// Offline the list is the one given and a setup already downloaded is taken
// without any fetch (no server answers here).
class SelfUpdateCheckTest : public FileTestBase {
 protected:
  void SetUp() override { OfflineMode = SilentMode = true; }
  void TearDown() override { OfflineMode = SilentMode = false; }
};

TEST_F(SelfUpdateCheckTest, OfflineTakesTheListAsGiven) {
  TransferEndpoints endpoints;
  endpoints.MainServer = MString("127.0.0.1:9");
  SelfUpdateRequest request;
  request.installedVersion = MString("1.0");
  request.downloadFolder = Path("setups");
  MXMLItem list;
  EXPECT_TRUE(CheckSelfUpdate(endpoints, list, request).upToDate);

  const char text[] =
      "<SelfUpdateList><kestrix_installers><item name=\"AVAILABLE_VERSIONS_LINUX\">"
      "<kestrix version=\"2.0\" setupname=\"s.run\"/></item></kestrix_installers></SelfUpdateList>";
  MConstMemoryStream bytes(text, sizeof text - 1);
  list.LoadXML(bytes);
  WriteFile("setups/s.run", "#!/bin/sh\n");
  SelfUpdateResult result = CheckSelfUpdate(endpoints, list, request);
  EXPECT_FALSE(result.upToDate);
  EXPECT_EQ(ToStd(result.availableVersion), "2.0");
  EXPECT_EQ(ToStd(result.setupPath), ToStd(Path("setups/s.run")));
}

}  // namespace
}  // namespace kx
