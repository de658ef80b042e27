// URL splitting and encoding, and the reply header list's order and lookup.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <string>
#include <vector>

#include "transfer/http_headers.h"
#include "transfer/http_stream.h"
#include "transfer_test_support.h"

namespace kx {
namespace {

using testing::Text;

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
  const char* reply[][2] = {{"Server", "s"},       {"X-Dup", "1"},        {"Date", "d"},
                            {"x-dup", "2"},        {"Content-Type", "t"}, {"Content-Length", "5"},
                            {"X-DUP", "3"},        {"Location", "/l"},    {"Connection", "close"},
                            {"Accept-Ranges", "bytes"}};
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
  for (const char* name : {"Server", "Date", "Content-Type", "Content-Length", "Connection", "Location"})
    list.Add(name, "v");
  list.Sort();
  EXPECT_NE(list.Find("Location"), nullptr);
  EXPECT_NE(list.Find("content-type"), nullptr);
  EXPECT_EQ(list.Find("Content-Length"), nullptr);
  EXPECT_EQ(list.Find("Server"), nullptr);
}

}  // namespace
}  // namespace kx
