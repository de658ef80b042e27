// DownloadFile against nginx and the override folder; the server texts; the
// offline self-update check; the security info file.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "download_fixture.h"
#include "foundation/core/run_state.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/streams/security_info.h"
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

// The security info file (digests fixed from an independent MD5 tool).
const std::string kMebibyteOfZeros(1048576, '\0');

MSecurityInfo ReadText(const std::string& text) {
  MConstMemoryStream stream(text.data(), static_cast<int64_t>(text.size()));
  MSecurityInfo info;
  info.Read(stream);
  return info;
}

TEST(SecurityInfoTest, WritesDigestsOfWholeFileAndOfEachMebibyte) {
  const struct {
    std::string content;
    std::string text;
  } cases[] = {
      {"", "d41d8cd98f00b204e9800998ecf8427e\n0\n1048576\n"},
      {"abc", "900150983cd24fb0d6963f7d28e17f72\n3\n1048576\n900150983cd24fb0d6963f7d28e17f72\n"},
      {kMebibyteOfZeros,
       "b6d81b360a5672d80c27430f39153e2c\n1048576\n1048576\nb6d81b360a5672d80c27430f39153e2c\n"},
      {kMebibyteOfZeros + "abc",
       "5471e7a74f947585bed289960fd13b22\n1048579\n1048576\nb6d81b360a5672d80c27430f39153e2c\n"
       "900150983cd24fb0d6963f7d28e17f72\n"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(testing::SecurityInfoOf(c.content), c.text) << c.content.size();
}

TEST(SecurityInfoTest, ReaderLineRules) {
  const std::string digest = "900150983cd24fb0d6963f7d28e17f72";
  const struct {
    const char* what;
    std::string text;
    int64_t total;
    std::vector<std::string> blocks;
  } cases[] = {
      {"plain", "F\n3\nx\na\nb\n", 3, {"a", "b"}},
      {"carriage returns and blanks trimmed", "F\r\n 3 \r\n\r\n  a \t\r\nb\r\n", 3, {"a", "b"}},
      {"no final line break", "F\n3\n\na\nb", 3, {"a", "b"}},
      {"the list ends at an empty line", "F\n3\n\na\n\nb\n", 3, {"a"}},
      {"a line of blanks is empty", "F\n3\n\na\n   \nb\n", 3, {"a"}},
      {"line 3 is skipped whatever it holds", "F\n3\nnot a digest\n", 3, {}},
      {"a total that is no number reads 0", "F\nlots\n\n", 0, {}},
      {"the number is read as far as it goes", "F\n12 bytes\n\n", 12, {}},
  };
  for (const auto& c : cases) {
    MSecurityInfo info = ReadText(c.text);
    EXPECT_EQ(ToStd(info.fileDigest), "F") << c.what;
    EXPECT_EQ(info.totalSize, c.total) << c.what;
    std::vector<std::string> blocks;
    for (const MString& block : info.blockDigests) blocks.push_back(ToStd(block));
    EXPECT_EQ(blocks, c.blocks) << c.what;
  }
  for (const std::string text : {"", "F\n", "F\n3\n", "F\n-5\n\n"})
    EXPECT_EQ(MessageOf([&] { ReadText(text); }), "Security info is damaged.") << text;
}

TEST(SecurityInfoTest, BlocksCompareWithoutCaseAndOnlyByIndex) {
  MSecurityInfo info = ReadText(
      "5471E7A74F947585BED289960FD13B22\n1048579\n\n"
      " B6D81B360A5672D80C27430F39153E2C \n900150983cd24fb0d6963f7d28e17f72\n");
  EXPECT_EQ(info.ExpectedBlockCount(), 2);
  EXPECT_TRUE(info.MatchesBlock(0, kMebibyteOfZeros.data(), 1048576));
  EXPECT_TRUE(info.MatchesBlock(1, "abc", 3));
  EXPECT_FALSE(info.MatchesBlock(0, "abc", 3));
  EXPECT_FALSE(info.MatchesBlock(1, "abd", 3));
  EXPECT_FALSE(info.MatchesBlock(2, "abc", 3));
  EXPECT_FALSE(info.MatchesBlock(-1, "abc", 3));
  EXPECT_TRUE(info.MatchesFile(MString("5471e7a74f947585bed289960fd13b22")));
  EXPECT_FALSE(info.MatchesFile(MString("5471e7a74f947585bed289960fd13b2")));

  // A digest line that differs after a zero unit is still a different digest.
  std::string withZero = "F\n3\n\n900150983cd24fb0" + std::string(1, '\0') + "xxxxxxxxxxxxxxx\n";
  EXPECT_FALSE(ReadText(withZero).MatchesBlock(0, "abc", 3));
}

// A refusal is fine, a crash is not.
TEST(SecurityInfoFuzzInputsTest, KnownInputsReadWithoutCrashing) {
  std::filesystem::path folder =
      std::filesystem::path(KESTRIX_SOURCE_DIR) / "fuzz/corpus/security_info_fuzz";
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    std::string bytes = ReadFileBytes(entry.path());
    const int64_t size = static_cast<int64_t>(bytes.size());
    Failure([&] { ReadText(bytes).MatchesBlock(0, bytes.data(), size); });
    ++count;
  }
  EXPECT_GT(count, 0);
}

}  // namespace
}  // namespace kx
