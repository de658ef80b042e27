#include "foundation/text/text_searcher.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace kx {
namespace {

TEST(MTextSearcherTest, FoldedPatternBytes) {
  EXPECT_EQ(MTextSearcher(u"CAFÉ", true).PatternBytes(), "cafe");
  EXPECT_EQ(MTextSearcher(u"café").PatternBytes(), "caf\xC3\xA9");
}

TEST(MTextSearcherTest, SearchesUTF8Bytes) {
  const std::string text = "GET /download/ConnectionTest.pkgm HTTP/1.0\r\nContent-Length: 12\r\n";
  MTextSearcher exact("Content-Length:");
  MTextSearcher anyCase("content-length:", true);
  EXPECT_EQ(exact.FindInBytes(text.data(), static_cast<int64_t>(text.size())), 44);
  EXPECT_EQ(anyCase.FindInBytes(text.data(), static_cast<int64_t>(text.size())), 44);
  EXPECT_EQ(exact.FindInBytes(text.data(), static_cast<int64_t>(text.size()), 45), -1);
  EXPECT_EQ(MTextSearcher("").FindInBytes(text.data(), 10, 3), 3);
  EXPECT_EQ(exact.FindInBytes(text.data(), 5), -1);  // text shorter than the pattern
}

// Random texts over a small alphabet, so that matches are frequent: ASCII in both
// cases, accented letters that fold, a letter that does not, a surrogate pair
// and its halves alone.
TEST(MTextSearcherTest, EqualsFindOverRandomTexts) {
  const MChar alphabet[] = {'a', 'A', 'b', 'B', 'e', 0xE9, 0xC9, 0x1EB9, 0xC6, ' ', 0xD83D, 0xDE00};
  std::mt19937 random(20240501);
  auto pick = [&](int length) {
    MString text;
    for (int i = 0; i < length; ++i) text.Append(alphabet[random() % std::size(alphabet)]);
    return text;
  };
  int matches = 0;
  for (int round = 0; round < 400; ++round) {
    // Every fourth text is long enough for the scan to run ahead between windows.
    MString text = pick(static_cast<int>(random() % (round % 4 ? 80 : 700)));
    // Half of the patterns are cut from the text itself, to be sure to match.
    MString pattern = pick(1 + static_cast<int>(random() % 4));
    if (round % 2 && text.Length() > 4) pattern = text.Mid(static_cast<int32_t>(random() % (text.Length() - 3)), 1 + round % 4);
    MTextSearcher exact(pattern), anyCase(pattern, true);
    for (int32_t from = -1; from <= text.Length() + 1; from += text.Length() > 80 ? 37 : 1) {
      SCOPED_TRACE(testing::Message() << "round " << round << " from " << from);
      int32_t expected = text.Find(pattern, from);
      ASSERT_EQ(exact.Find(text, from), expected);
      ASSERT_EQ(anyCase.Find(text, from), text.FindNoCase(pattern, from));
      matches += expected >= 0;
    }
  }
  EXPECT_GT(matches, 1000);
}

}  // namespace
}  // namespace kx
