#include "foundation/streams/stream.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "foundation/core/exception.h"
#include "foundation/streams/memory_stream.h"
#include "stream_test_support.h"
#include "support/failure_capture.h"

namespace kx {
namespace {

TEST(StreamBase, ServicesNotOfferedThrowCodeOneWithTheirName) {
  MStream plain;
  char byte = 0;
  struct Case {
    std::function<void()> call;
    const char* message;
  } cases[] = {
      {[&] { plain.GetSubstream(); }, "Service \"return substream\" is not implemented."},
      {[&] { plain.Write(&byte, 1); }, "Service \"write to stream\" is not implemented."},
      {[&] { plain.Read(&byte, 1); }, "Service \"read from stream\" is not implemented."},
      {[&] { plain.GetPosition(); }, "Service \"get stream position\" is not implemented."},
      {[&] { plain.Flush(); }, "Service \"flush stream\" is not implemented."},
      {[&] { plain.IsEnd(); }, "Service \"end of stream test\" is not implemented."},
      {[&] { plain.Truncate(); }, "Service \"truncate stream\" is not implemented."},
      {[&] { plain.GetSize(); }, "Service \"stream size detection\" is not implemented."},
  };
  for (const auto& c : cases) ExpectFailure(c.call, c.message, 1);
  EXPECT_TRUE(plain.IsOpen());
}

TEST(StreamBase, WriteFillWritesZeros) {
  PieceStream recorder;
  recorder.WriteFill(3000);
  EXPECT_EQ(recorder.Written(), std::string(3000, '\0'));
}

struct LineCase {
  const char* name;
  std::string input;
  int64_t bufferSize;
  std::vector<std::pair<int, std::string>> expected;  // results until the first 2
};

class ReadLineTest : public ::testing::TestWithParam<LineCase> {};

// The byte-wise base form and the quick form of the memory streams must agree.
TEST_P(ReadLineTest, BaseAndMemoryFormsGiveTheSameLines) {
  const LineCase& c = GetParam();
  PieceStream base(c.input);
  MMemoryStream memory;
  FillStream(memory, c.input);
  MConstMemoryStream constant(c.input.data(), static_cast<int64_t>(c.input.size()));
  for (MStream* stream : std::initializer_list<MStream*>{&base, &memory, &constant}) {
    std::vector<std::pair<int, std::string>> got;
    std::vector<char> buffer(static_cast<size_t>(std::max<int64_t>(c.bufferSize, 1)), 'X');
    for (int guard = 0; guard < 20; ++guard) {
      int result = stream->ReadLine(buffer.data(), c.bufferSize);
      got.emplace_back(result, c.bufferSize > 0 ? std::string(buffer.data()) : std::string());
      if (result == kLineEnd || c.bufferSize < 2) break;
    }
    EXPECT_EQ(got, c.expected) << c.name;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Lines, ReadLineTest,
    ::testing::Values(
        LineCase{"crlf", "a\r\nb", 16, {{0, "a"}, {0, "b"}, {2, ""}}},
        LineCase{
            "zero_byte_ends_line", std::string("ab\0cd", 5), 16, {{0, "ab"}, {0, "cd"}, {2, ""}}},
        LineCase{"empty_lines", "\n\r\n", 16, {{0, ""}, {0, ""}, {2, ""}}},
        LineCase{"lone_cr_at_end", "x\n\r", 16, {{0, "x"}, {0, ""}, {2, ""}}},
        LineCase{"buffer_fills", "abcdef\n", 4, {{1, "abc"}, {1, "def"}, {0, ""}, {2, ""}}},
        LineCase{"empty_input", "", 16, {{2, ""}}}, LineCase{"size_zero", "abc", 0, {{1, ""}}}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(StreamBase, SeekGoesForwardByReadingAndRefusesBackward) {
  PieceStream source("0123456789");
  EXPECT_EQ(source.Seek(3, kSeekBegin), 3);
  EXPECT_EQ(source.Seek(2, kSeekCurrent), 5);
  EXPECT_EQ(source.Seek(-2, kSeekEnd), 8);
  EXPECT_EQ(source.Seek(100, kSeekCurrent), 10);  // stops at the end
  ExpectFailure([&] { source.Seek(1, kSeekBegin); },
                "Service \"backward seek in a stream\" is not implemented.", 1);
  ExpectFailure([&] { source.Seek(0, static_cast<MSeekOrigin>(3)); }, "Invalid seek origin.", 2);
}

TEST(StreamBase, LinesAreOneWriteInUtf8OrRawExternalBytes) {
  PieceStream recorder;
  recorder.WriteLine(MString("abc"), false);
  recorder.WriteLine(MString(u"\u00e9\u20ac"), true);
  recorder.WriteString(MString("\xe9"));  // an external 8-bit string goes out as it is
  ASSERT_EQ(recorder.writes.size(), 3u);
  EXPECT_EQ(recorder.writes[0], "abc\r\n");
  EXPECT_EQ(recorder.writes[1], "\xc3\xa9\xe2\x82\xac\n");
  EXPECT_EQ(recorder.writes[2], "\xe9");
}

TEST(StreamBase, LineHelpers) {
  std::string longLine(3000, 'q');
  PieceStream source("first\r\n" + longLine + "\n\xc3\xa9t\xc3\xa9\nlast");
  MString line;
  source.ReadLineString(line);
  EXPECT_EQ(ToStd(line), "first");
  source.ReadLineString(line);  // longer than one buffer
  EXPECT_EQ(ToStd(line), longLine);
  MString text;
  EXPECT_EQ(source.ReadLines(text, 5), 2);  // stops quietly at the end
  EXPECT_EQ(ToStd(text), "\xc3\xa9t\xc3\xa9\nlast");
  ExpectFailure([&] { source.ReadLineString(line); }, "Could not load a line from stream.", 0);
  EXPECT_EQ(source.ReadLines(text, 3), 0);
  EXPECT_TRUE(text.IsEmpty());
}

TEST(StreamBase, HexRoundTripInUpperCaseAcrossBlocks) {
  std::string bytes;
  for (int i = 0; i < 300; ++i) bytes += static_cast<char>(i * 7);
  PieceStream recorder;
  recorder.WriteHex(bytes.data(), static_cast<int64_t>(bytes.size()));
  std::string text = recorder.Written();
  EXPECT_EQ(text.substr(0, 8), "00070E15");
  EXPECT_EQ(text.find_first_of("abcdef"), std::string::npos);
  for (int64_t piece : {INT64_MAX, int64_t{3}}) {  // reads may end between two digits of a byte
    PieceStream source(text, piece);
    std::string back(300, '\0');
    EXPECT_EQ(source.ReadHex(back.data(), 400), 300);  // the text ends first
    EXPECT_EQ(back, bytes);
  }
  PieceStream lower("ff");
  unsigned char one[1];
  EXPECT_EQ(lower.ReadHex(one, 1), 1);
  EXPECT_EQ(one[0], 0xff);
  PieceStream bad("0g");
  ExpectFailure([&] { bad.ReadHex(one, 1); }, "Invalid character to be converted to a number.", 0);
}

}  // namespace
}  // namespace kx
