// MHTTPStream against a scripted server (request bytes, bad replies, sockets) and a
// real nginx; the URL and header texts it works with.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <functional>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "support/failure_capture.h"
#include "support/nginx_server.h"
#include "support/scripted_server.h"
#include "transfer/http_headers.h"
#include "transfer/http_stream.h"
#include "transfer_test_support.h"

namespace kx {
namespace {

using testing::ReadBody;
using testing::Text;

const char* const kPlainOK = "HTTP/1.0 200 OK\n\n";

TEST(HTTPRequestBytes, AreExactlyAsSent) {
  const struct {
    const char* name;
    std::function<void(MHTTPStream&, uint16_t)> open;
    std::string request;  // "{port}" stands for the server's port
  } cases[] = {
      {"url without a path",
       [](MHTTPStream& s, uint16_t port) {
         s.Open(Text("http://127.0.0.1:" + std::to_string(port)));
       },
       "GET / HTTP/1.0\nHost: 127.0.0.1:{port}\nConnection: Close\n\n"},
      {"encoded path, query as given, headers in order",
       [](MHTTPStream& s, uint16_t port) {
         s.Open(Text("http://127.0.0.1:" + std::to_string(port) + "/dir/a b.bin?x=1%202&y"));
         s.AddHeader("Range", "bytes=5-");
         s.AddHeader("X-Second", "two");
       },
       "GET /dir/a%20b.bin?x=1%202&y HTTP/1.0\nHost: 127.0.0.1:{port}\nConnection: Close\n"
       "Range: bytes=5-\nX-Second: two\n\n"},
      {"GET with parameters",
       [](MHTTPStream& s, uint16_t port) {
         MArray<MHTTPParameter> parameters{{"q", MVariant("a b&c")},
                                           {"n", MVariant(int32_t{42})},
                                           {"u", MVariant(Text("\xC3\xBC"))}};
         s.OpenGet("http://127.0.0.1", "/api/get", &parameters, port);
       },
       "GET /api/get?q=a%20b%26c&n=42&u=%FC HTTP/1.0\nHost: 127.0.0.1:{port}\nConnection: "
       "Close\n\n"},
      {"POST with parameters",
       [](MHTTPStream& s, uint16_t port) {
         MArray<MHTTPParameter> parameters{{"name", MVariant("x y")}, {"id", MVariant(int32_t{7})}};
         s.OpenPost("127.0.0.1", "/api/post", &parameters, port);
       },
       "POST /api/post HTTP/1.0\nContent-Type: application/x-www-form-urlencoded\n"
       "Content-Length: 15\nHost: 127.0.0.1:{port}\nConnection: Close\n\nname=x%20y&id=7"},
      {"POST without parameters",
       [](MHTTPStream& s, uint16_t port) { s.OpenPost("127.0.0.1", "/api/post", nullptr, port); },
       "POST /api/post HTTP/1.0\nContent-Type: application/x-www-form-urlencoded\n"
       "Content-Length: 0\nHost: 127.0.0.1:{port}\nConnection: Close\n\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    MScriptedServer server({kPlainOK});
    MHTTPStream stream;
    c.open(stream, server.Port());
    EXPECT_TRUE(stream.Send(5));
    std::string expected = c.request;
    expected.replace(expected.find("{port}"), 6, std::to_string(server.Port()));
    ASSERT_EQ(server.Requests().size(), 1u);
    EXPECT_EQ(server.Requests()[0], expected);
  }
}

// What a hostile server can send: the reply header is bounded (a line, the whole),
// the length a plain number, an absolute Location starts at the server's root.
TEST(HTTPReply, MalformedAndHostileRepliesAreRefused) {
  // One line at the line cap, a header at the total cap, then one byte more.
  const size_t lineCap = MHTTPStream::kMaxReplyHeaderLine, totalCap = MHTTPStream::kMaxReplyHeader;
  const std::string line(lineCap, 'a');
  std::string atCaps = "HTTP/1.0 200 OK\n";
  while (atCaps.size() + lineCap + 2 <= totalCap) atCaps += "X-Fill: " + line.substr(8) + "\n";
  atCaps += "X-Last: " + std::string(totalCap - atCaps.size() - 10, 'b') + "\n\n";
  std::string overTotal = atCaps;
  overTotal.insert(overTotal.size() - 2, "b");
  const char* const kReading = "MHTTPStream reading HTTP reply header.";
  const char* const kBadLine = "MHTTPStream invalid HTTP reply header line.";
  const char* const kAbsolute = "HTTP/1.0 302 Found\nLocation: /abs/x?y=1\n\n";
  const struct {
    const char* name;
    std::vector<std::string> replies;
    const char *message, *request;  // message null: Send answers true
  } cases[] = {
      // clang-format off
      {"nothing", {""}, "Invalid HTTP reply header.", nullptr},
      {"status line without blanks", {"HTTP/1.0200OK\n\n"}, "Invalid HTTP reply header line.",
       nullptr},
      {"header line without a colon",
       {"HTTP/1.0 200 OK\nServer: scripted\nContent-Length 5\n\nhello"}, kBadLine, nullptr},
      {"header without its end", {"HTTP/1.0 200 OK\nServer: scripted\n"}, kReading, nullptr},
      {"header with an empty name", {"HTTP/1.0 200 OK\n: nameless\n\n"}, nullptr, nullptr},
      {"redirect without Location", {"HTTP/1.0 302 Found\nServer: scripted\nContent-Length: 0\n\n"},
       "Requested HTTP header not found.", nullptr},
      {"status line over the cap", {"HTTP/1.0 200 " + line + "\n\n"}, "Invalid HTTP reply header.",
       nullptr},
      {"header line over the cap", {"HTTP/1.0 200 OK\nX-Big: " + line + "\n\n"}, kReading, nullptr},
      {"lines up to the caps", {atCaps}, nullptr, "GET /dir/file HTTP/1.0"},
      {"header over the total cap", {overTotal}, kReading, nullptr},
      {"negative length", {"HTTP/1.0 200 OK\nContent-Length: -5\n\n"}, kBadLine, nullptr},
      {"length not a number", {"HTTP/1.0 200 OK\nContent-Length: 12ab\n\n"}, kBadLine, nullptr},
      {"empty length", {"HTTP/1.0 200 OK\nContent-Length:\n\n"}, kBadLine, nullptr},
      {"length past 64 bits",
       {"HTTP/1.0 200 OK\nContent-Length: 9223372036854775808\n\n"}, kBadLine, nullptr},
      {"absolute Location from the root", {kAbsolute, kAbsolute, kPlainOK}, nullptr,
       "GET /abs/x?y=1 HTTP/1.0"},
      // clang-format on
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    MScriptedServer server(c.replies);
    MHTTPStream stream;
    stream.Open(Text(server.Url("/dir/file")));
    MException failure = Failure([&] { EXPECT_TRUE(stream.Send(5)); });
    EXPECT_EQ(ToStd(failure.message), c.message ? c.message : "(no exception)");
    EXPECT_EQ(failure.code, c.message ? 513u : 9999u);
    if (c.request) {
      std::vector<std::string> requests = server.Requests();
      ASSERT_EQ(requests.size(), c.replies.size());
      EXPECT_EQ(requests.back().substr(0, requests.back().find('\n')), c.request);
    }
  }
}

// Refused before anything goes out: a line break would smuggle in header lines,
// a port outside 1..65535 would wrap onto another one (here the server's own).
TEST(HTTPRequest, BrokenHeadersAndPortsAreRefused) {
  struct Case {
    const char* name;
    int64_t (*port)(uint16_t serverPort);            // the port written in the URL
    const char *headerName, *headerValue, *message;  // "{url}" in message stands for the URL
    uint32_t code;
  };
  auto same = [](uint16_t p) -> int64_t { return p; };
  const Case cases[] = {
      {"line feed in a name", same, "X-A\nInjected", "1",
       "Line break in HTTP request header \"X-A\nInjected\".", 2},
      {"carriage return in a value", same, "Range", "bytes=0-\rX: 1",
       "Line break in HTTP request header \"Range\".", 2},
      {"both in a value", same, "Range", "bytes=0-\r\nInjected: 1",
       "Line break in HTTP request header \"Range\".", 2},
      {"port wrapping onto the server's", [](uint16_t p) -> int64_t { return p + 65536; }, nullptr,
       nullptr, "Invalid port in URL \"{url}\".", 513},
      {"negative port", [](uint16_t) -> int64_t { return -1; }, nullptr, nullptr,
       "Invalid port in URL \"{url}\".", 513},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    MScriptedServer server({kPlainOK});
    std::string url = "http://127.0.0.1:" + std::to_string(c.port(server.Port())) + "/x";
    MHTTPStream stream;
    MException failure = Failure([&] {
      stream.Open(Text(url));
      if (c.headerName) stream.AddHeader(Text(c.headerName), Text(c.headerValue));
      stream.Send(5);
    });
    std::string expected = c.message;
    if (size_t at = expected.find("{url}"); at != std::string::npos) expected.replace(at, 5, url);
    EXPECT_EQ(ToStd(failure.message), expected);
    EXPECT_EQ(failure.code, c.code);
  }
}

// Header and body in one piece: the header reader takes no body byte.
TEST(HTTPReply, BodyCutShortReturnsWhatCame) {
  const std::string body = RandomBytes(300, 5);
  MScriptedServer server(
      {"HTTP/1.1 206 Partial Content \r\nX-Note: a: b \r\nContent-length:  1000\r\n\r\n" + body});
  MHTTPStream stream;
  stream.Open(Text(server.Url("/cut")));
  ASSERT_TRUE(stream.Send(5));
  EXPECT_EQ(stream.GetStatusCode(), 206);
  EXPECT_EQ(ToStd(stream.GetStatusLine()), "HTTP/1.1 206 Partial Content");
  EXPECT_EQ(stream.GetSize(), 1000);
  MString note;
  stream.GetHeader("x-note", note);
  EXPECT_EQ(ToStd(note), "a: b");
  std::string received(1000, '\0');
  EXPECT_EQ(stream.Read(received.data(), 1000), 300);
  EXPECT_TRUE(stream.IsDisconnected());
  EXPECT_EQ(received.substr(0, 300), body);
  EXPECT_EQ(stream.Read(received.data(), 1000), -1);
}

// A relative Location is joined to the current folder and the query goes.
TEST(HTTPReply, RedirectOpensANewConnection) {
  MScriptedServer server(
      {"HTTP/1.0 301 Moved\nDate: today\nLocation: ../other/next.bin?v=2\n"
       "Server: scripted\nContent-Length: 0\n\n",
       "HTTP/1.0 200 OK\nContent-Length: 4\n\nbody"});
  MHTTPStream stream;
  stream.Open(Text(server.Url("/dir/sub/first.bin?old=1")));
  stream.AddHeader("Range", "bytes=0-");
  ASSERT_TRUE(stream.Send(1));
  EXPECT_EQ(ReadBody(stream), "body");
  std::string host = "Host: 127.0.0.1:" + std::to_string(server.Port()) + "\n";
  std::vector<std::string> requests = server.Requests();
  ASSERT_EQ(requests.size(), 2u);
  EXPECT_EQ(requests[0], "GET /dir/sub/first.bin?old=1 HTTP/1.0\n" + host +
                             "Connection: Close\nRange: bytes=0-\n\n");
  EXPECT_EQ(requests[1], "GET /dir/other/next.bin?v=2 HTTP/1.0\n" + host +
                             "Connection: Close\nRange: bytes=0-\n\n");
}

TEST(SocketStream, RefusedConnectionNamesTheDottedHost) {
  uint16_t port = FreeLoopbackPort();
  MHTTPStream stream;
  MException failure =
      Failure([&] { stream.Open(Text("http://localhost:" + std::to_string(port) + "/")); });
  EXPECT_EQ(ToStd(failure.message), "Could not connect to a TCP server (host 127.0.0.1, port " +
                                        std::to_string(port) + ", code -1).");
  EXPECT_EQ(failure.code, 512u);
}

void ConnectTo(MSocketStream& stream, uint16_t port) {
  stream.Create();
  ASSERT_TRUE(stream.GetRemoteAddress().SetDottedText("127.0.0.1"));
  stream.Connect(port);
}

// A listener that never accepts fills the buffers: a write that would block has
// sent nothing, the disconnect rule, whether mid-write or at once.
TEST(SocketStream, WouldBlockOnWriteCountsAsNothingSent) {
  MScriptedServer server({});
  MSocketStream stream;
  ConnectTo(stream, server.Port());
  stream.SetBlocking(false);
  const std::string piece(1 << 20, 'x');
  uint32_t first = 9999;
  for (int i = 0; i < 256 && first == 9999; ++i)
    first = Failure([&] { stream.Write(piece.data(), static_cast<int64_t>(piece.size())); }).code;
  EXPECT_EQ(first, 512u);
  EXPECT_TRUE(stream.IsDisconnected());
  MException next = Failure([&] { stream.Write("x", 1); });
  EXPECT_EQ(ToStd(next.message), "All data were not sent before target disconnected.");
  EXPECT_EQ(next.code, 512u);
}

// The listener never accepts, so the read waits until interrupted.
TEST(SocketStream, InterruptEndsAWaitingRead) {
  MScriptedServer server({});
  MSocketStream stream;
  ConnectTo(stream, server.Port());
  std::thread other([&] { stream.Interrupt(); });
  char byte;
  EXPECT_LE(stream.Read(&byte, 1), 0);
  other.join();
  EXPECT_TRUE(stream.IsDisconnected());
}

TEST(SocketStream, ClosedStreamFailsReadAndWrite) {
  MScriptedServer server({"HTTP/1.0 200 OK\n\nabc"});
  MHTTPStream stream;
  stream.Open(Text(server.Url("/")));
  ASSERT_TRUE(stream.Send(5));
  EXPECT_EQ(ReadBody(stream), "abc");
  stream.Close();
  char byte;
  MException read = Failure([&] { stream.Read(&byte, 1); });
  EXPECT_EQ(ToStd(read.message), "The network socket stream has not been initialized.");
  EXPECT_EQ(read.code, 512u);
  MException write = Failure([&] { stream.Write("x", 1); });
  EXPECT_EQ(ToStd(write.message), "Could not write to socket stream.");
  EXPECT_EQ(write.code, 512u);
}

// URL splitting and encoding, and the reply header list's order and lookup.
TEST(URLText, SplitURL) {
  const struct {
    const char *url, *host, *path;
    uint16_t port;
  } cases[] = {
      {"http://example.org/download/a.xml", "example.org", "/download/a.xml", 80},
      {"example.org", "example.org", "/", 80},  // no scheme, no path
      {"http://127.0.0.1:8080", "127.0.0.1", "/", 8080},
      {"http://127.0.0.1:0/x", "127.0.0.1", "/x", 80},            // port 0 is 80
      {"https://host:443/a/b?c=1&d", "host", "/a/b?c=1&d", 443},  // scheme ignored, query kept
      {"ftp://host:abc/", "host", "/", 80},                       // no digits: 80
  };
  for (const auto& c : cases) {
    MString host, path;
    uint16_t port = 1;
    MHTTPStream::SplitURL(c.url, host, path, port);
    EXPECT_EQ(ToStd(host), c.host) << c.url;
    EXPECT_EQ(ToStd(path), c.path) << c.url;
    EXPECT_EQ(port, c.port) << c.url;
  }
}

TEST(URLText, EncodePathAndEncodeValue) {
  const struct {
    std::string text;  // UTF-8
    const char *path, *value;
  } cases[] = {
      {"/a b/c?d=%41", "/a%20b/c?d=%41", "%2Fa%20b%2Fc%3Fd%3D%2541"},
      {"Az09-_.~", "Az09-_.~", "Az09%2D%5F%2E%7E"},
      {"tab\tnl\n\x7f", "tab%09nl%0A\x7f", "tab%09nl%0A%7F"},
      // Units of 128 to 255 are encoded by their byte in both ...
      {"caf\xC3\xA9", "caf%E9", "caf%E9"},
      // ... above 255 by their low byte alone (U+0142: 0x42; U+0120: 0x20, a blank).
      {"\xC5\x82\xC4\xA0", "\xC5\x82%20", "%42%20"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(ToStd(MHTTPStream::URLEncodePath(Text(c.text))), c.path) << c.text;
    EXPECT_EQ(ToStd(MHTTPStream::URLEncode(Text(c.text))), c.value) << c.text;
  }
}

std::string Folded(std::string name) {
  for (char& unit : name) unit = static_cast<char>(std::tolower(static_cast<unsigned char>(unit)));
  return name;
}
std::vector<std::string> Folded(const MHTTPHeaderList& list) {
  std::vector<std::string> names;
  for (int32_t i = 0; i < list.Count(); ++i) names.push_back(Folded(ToStd(list[i].name.text)));
  return names;
}

TEST(HTTPHeaderList, SortIsStableOnHashThenTextAndFindIgnoresCase) {
  MHTTPHeaderList list;
  const char* reply[][2] = {{"Server", "s"},         {"X-Dup", "1"},
                            {"Date", "d"},           {"x-dup", "2"},
                            {"Content-Type", "t"},   {"Content-Length", "5"},
                            {"X-DUP", "3"},          {"Location", "/l"},
                            {"Connection", "close"}, {"Accept-Ranges", "bytes"}};
  for (const auto& header : reply) list.Add(header[0], header[1]);
  list.Sort();
  ASSERT_EQ(list.Count(), 10);
  // Names equal without case keep the order they came in.
  std::string duplicates;
  for (int32_t i = 0; i < list.Count(); ++i)
    if (Folded(ToStd(list[i].name.text)) == "x-dup") duplicates += ToStd(list[i].value.AsString());
  EXPECT_EQ(duplicates, "123");
  // Every header stays, once, and the order does not hang on the arrival order.
  MHTTPHeaderList reversed;
  for (int i = 9; i >= 0; --i) reversed.Add(reply[i][0], reply[i][1]);
  reversed.Sort();
  std::vector<std::string> forward = Folded(list), backward = Folded(reversed), names;
  EXPECT_EQ(forward, backward);
  for (const auto& header : reply) names.push_back(Folded(header[0]));
  std::sort(names.begin(), names.end());
  std::sort(forward.begin(), forward.end());
  EXPECT_EQ(forward, names);

  EXPECT_EQ(list.Find("nothing-like-it"), nullptr);
  MHTTPHeaderList single;
  single.Add("Location", "/there");
  single.Sort();
  ASSERT_NE(single.Find("LOCATION"), nullptr);
  EXPECT_EQ(ToStd(single.Find("location")->value.AsString()), "/there");
}

// A binary search on the text over a list in hash order can miss a present
// header, kept on purpose: of a 302's headers, Content-Length is missed.
TEST(HTTPHeaderList, LookupSearchesTheTextOverTheHashOrder) {
  MHTTPHeaderList list;
  for (const char* name :
       {"Server", "Date", "Content-Type", "Content-Length", "Connection", "Location"})
    list.Add(name, "v");
  list.Sort();
  EXPECT_NE(list.Find("Location"), nullptr);
  EXPECT_NE(list.Find("content-type"), nullptr);
  EXPECT_EQ(list.Find("Content-Length"), nullptr);
  EXPECT_EQ(list.Find("Server"), nullptr);
}

// Against a real nginx on 127.0.0.1.
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
