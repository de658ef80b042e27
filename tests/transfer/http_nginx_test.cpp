// MHTTPStream against a real nginx on 127.0.0.1.
#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "support/failure_capture.h"
#include "support/nginx_server.h"
#include "transfer/http_stream.h"
#include "transfer_test_support.h"

namespace kx {
namespace {

using testing::ReadBody;
using testing::Text;

const char* const kLocations =
    "location = /files/moved-absolute { return 302 http://127.0.0.1:$server_port/files/target.bin; "
    "}\n"
    "location = /files/moved-relative { return 302 target.bin; }\n"
    "location = /files/deeper/moved-up { return 302 ../other/up.bin; }\n"
    "location = /files/loop { return 302 http://127.0.0.1:$server_port/files/loop; }\n"
    "location /echo/ { return 200 \"$request_uri\"; }\n";

class NginxTest : public ::testing::Test {
 protected:
  NginxTest() : server(kLocations) {
    large = RandomBytes(3 * 1024 * 1024 + 17, 7);
    server.AddFile("files/large.bin", large);
    server.AddFile("files/small.txt", "hello\n");
    server.AddFile("files/empty.bin", "");
    server.AddFile("files/target.bin", "the target file");
    server.AddFile("files/other/up.bin", "one folder up");
  }

  bool Get(MHTTPStream& stream, const std::string& path, int32_t redirects = 5,
           const char* range = nullptr) {
    stream.Open(Text(server.Url(path)));
    if (range) stream.AddHeader("Range", range);
    return stream.Send(redirects);
  }

  MNginxServer server;
  std::string large;
};

TEST_F(NginxTest, WholeFilesAreReadUntilTheServerCloses) {
  ASSERT_TRUE(server.IsRunning());
  const struct {
    const char* path;
    std::string content;
    int64_t piece;
  } cases[] = {{"/files/large.bin", large, 65536},
               {"/files/small.txt", "hello\n", 1},
               {"/files/empty.bin", "", 4096}};
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.path) + " in pieces of " + std::to_string(c.piece));
    MHTTPStream stream;
    ASSERT_TRUE(Get(stream, c.path));
    EXPECT_EQ(stream.GetStatusCode(), 200);
    EXPECT_EQ(ToStd(stream.GetStatusLine()), "HTTP/1.1 200 OK");
    EXPECT_EQ(stream.GetSize(), static_cast<int64_t>(c.content.size()));
    EXPECT_FALSE(stream.IsDisconnected());
    std::string body = ReadBody(stream, c.piece);
    EXPECT_TRUE(body == c.content) << "body of " << body.size() << " bytes differs";
    EXPECT_TRUE(stream.IsDisconnected());
  }
}

TEST_F(NginxTest, RangesGivePartialContent) {
  const struct {
    const char* range;
    size_t from, count;
  } cases[] = {{"bytes=1000000-", 1000000, large.size() - 1000000},
               {"bytes=100-199", 100, 100},
               {"bytes=0-0", 0, 1}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.range);
    MHTTPStream stream;
    ASSERT_TRUE(Get(stream, "/files/large.bin", 5, c.range));
    EXPECT_EQ(stream.GetStatusCode(), 206);
    EXPECT_EQ(stream.GetSize(), static_cast<int64_t>(c.count));
    EXPECT_TRUE(ReadBody(stream) == large.substr(c.from, c.count));
  }
}

// Outside 2xx: a missing file, or a redirect when none are left (0: a 3xx stands).
TEST_F(NginxTest, SendAnswersFalseOutside2xx) {
  const std::tuple<const char*, int32_t, int32_t, const char*> cases[] = {
      {"/files/not-there.bin", 5, 404, "HTTP/1.1 404 Not Found"},
      {"/files/loop", 5, 302, "HTTP/1.1 302 Moved Temporarily"},
      {"/files/moved-absolute", 0, 302, "HTTP/1.1 302 Moved Temporarily"}};
  for (const auto& [path, redirects, code, line] : cases) {
    SCOPED_TRACE(path);
    MHTTPStream stream;
    EXPECT_FALSE(Get(stream, path, redirects));
    EXPECT_EQ(stream.GetStatusCode(), code);
    EXPECT_EQ(ToStd(stream.GetStatusLine()), line);
    EXPECT_EQ(ToStd(stream.GetPath()), path);
  }
}

// The request headers go along to the new location: the range applies there.
TEST_F(NginxTest, RedirectsAreFollowedWithTheirHeaders) {
  const struct {
    const char *path, *finalPath;
    std::string content;
  } cases[] = {{"/files/moved-absolute", "/files/target.bin", "the target file"},
               {"/files/moved-relative", "/files/target.bin", "the target file"},
               {"/files/deeper/moved-up", "/files/other/up.bin", "one folder up"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.path);
    MHTTPStream stream;
    ASSERT_TRUE(Get(stream, c.path, 5, "bytes=4-"));
    EXPECT_EQ(stream.GetStatusCode(), 206);
    EXPECT_EQ(ToStd(stream.GetPath()), c.finalPath);
    EXPECT_EQ(ReadBody(stream), c.content.substr(4));
  }
}

TEST_F(NginxTest, PathIsEncodedAndQueryGoesOutAsGiven) {
  const struct {
    std::string path, received;  // as given to Open (UTF-8); as the server saw it
  } cases[] = {
      {"/echo/q?name=a%2Fb&empty=&x=%20&y=a/b", "/echo/q?name=a%2Fb&empty=&x=%20&y=a/b"},
      {"/echo/caf\xC3\xA9", "/echo/caf%E9"},
      {"/echo/\xC5\x82", "/echo/\xC5\x82"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.path);
    MHTTPStream stream;
    ASSERT_TRUE(Get(stream, c.path));
    EXPECT_EQ(ReadBody(stream), c.received);
  }
}

}  // namespace
}  // namespace kx
