// The security info file (digests fixed from an independent MD5 tool).
#include "foundation/streams/security_info.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "download_fixture.h"
#include "foundation/streams/memory_stream.h"
#include "support/file_test_support.h"

namespace kx {
namespace {

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
  MSecurityInfo info = ReadText("5471E7A74F947585BED289960FD13B22\n1048579\n\n"
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
  std::filesystem::path folder = std::filesystem::path(KESTRIX_SOURCE_DIR) / "fuzz/corpus/security_info_fuzz";
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
