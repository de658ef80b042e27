#include "foundation/text/text_io.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/core/exception.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/text/codecs.h"
#include "stream_test_support.h"
#include "support/failure_capture.h"

namespace kx {
namespace {

// Lines around the buffer sizes, with multi-byte characters that straddle refills.
std::vector<MString> SampleLines() {
  std::vector<MString> lines;
  for (int32_t length : {0, 1, 63, 64, 65, 1023, 1024, 1025, 5000}) {
    MString line;
    for (int32_t i = 0; i < length; ++i) {
      static const char16_t kCycle[] = u"ab\u00E9\u20AC\xD83D\xDE00z";
      line.Append(static_cast<MChar>(kCycle[i % 7]));
    }
    if (length % 7 == 5) line.Append(MChar(0xDE00));  // do not end inside a pair
    lines.push_back(line);
  }
  return lines;
}

std::string WriteLines(MCodec& codec, const std::vector<MString>& lines, int32_t bufferSize) {
  MMemoryStream stream;
  MTextWriter writer(stream, codec, bufferSize);
  writer.WriteHeader();
  for (const MString& line : lines) writer.WriteLine(line);
  writer.Flush();
  return std::string(stream.View());
}

struct Layout {
  int32_t writerBuffer, readerBuffer;
  int64_t piece;  // bytes a Read of the source hands out at most
};

class TextRoundTripTest : public ::testing::TestWithParam<Layout> {};

TEST_P(TextRoundTripTest, LinesLongerThanTheBuffersComeBackWhole) {
  const Layout layout = GetParam();
  const std::vector<MString> lines = SampleLines();
  for (MCodec* codec : {&GetUTF8Codec(), &GetUTF16Codec()}) {
    SCOPED_TRACE(codec->GetName());
    std::string bytes = WriteLines(*codec, lines, layout.writerBuffer);
    PieceStream source(bytes, layout.piece);
    MTextReader reader(source, *codec, layout.readerBuffer);
    reader.ReadHeader();
    MString line;
    for (const MString& expected : lines) {
      ASSERT_TRUE(reader.ReadLine(line));
      ASSERT_EQ(line.Length(), expected.Length());
      EXPECT_TRUE(line == expected);
    }
    EXPECT_FALSE(reader.ReadLine(line));
    EXPECT_FALSE(reader.ReadLine(line));
  }
}

INSTANTIATE_TEST_SUITE_P(Sizes, TextRoundTripTest,
                         ::testing::Values(Layout{4096, 1024, 1 << 20}, Layout{16, 1024, 5},
                                           Layout{100, 1, 1 << 20}, Layout{16, 7, 3}));

TEST(MTextReaderTest, OneByteBufferNeverReadsAheadOfTheLine) {
  // A reply head read line by line, and the body straight from the stream after it.
  std::string reply = "HTTP/1.0 200 OK\r\nContent-Length: 4\r\n\r\nbody";
  MConstMemoryStream stream(reply.data(), static_cast<int64_t>(reply.size()));
  MTextReader reader(stream, GetCodec("utf-8"), 1);
  MString line;
  std::vector<std::string> head;
  while (reader.ReadLine(line) && !line.IsEmpty()) head.push_back(ToStd(line));
  EXPECT_EQ(head, (std::vector<std::string>{"HTTP/1.0 200 OK", "Content-Length: 4"}));
  char body[8] = {};
  EXPECT_EQ(stream.Read(body, sizeof(body)), 4);
  EXPECT_STREQ(body, "body");
}

TEST(MTextWriterTest, BuffersAndHandsOverTheRestAtTheEnd) {
  PieceStream target;
  MString longLine;
  for (int i = 0; i < 500; ++i) longLine.Append(static_cast<MChar>(i % 3 == 0 ? 0x20AC : 'a' + i % 26));
  {
    MTextWriter writer(target, GetUTF8Codec(), 64);
    writer.WriteLine("short");
    EXPECT_TRUE(target.writes.empty());  // still buffered
    writer.WriteLine(longLine);
    writer.Write(MString("\xC3" "D"));  // 8-bit literal text: bytes are units
  }                                     // the destructor hands over the rest
  MByteBuffer expected;
  GetUTF8Codec().Encode(longLine, false, expected);
  EXPECT_EQ(target.Written(), "short\n" + std::string(expected.View()) +
                                  "\n\xC3\x83"
                                  "D");
}

TEST(MTextWriterTest, WriteFailureSurfacesOnFlushOnly) {
  MConstMemoryStream readOnly("", 0);
  auto writer = std::make_unique<MTextWriter>(readOnly, GetUTF8Codec());
  writer->WriteLine("lost");
  EXPECT_EQ(ToStd(Failure([&] { writer->Flush(); }).message),
            "Service \"write to stream\" is not implemented.");
  writer->WriteLine("again");
  EXPECT_NO_THROW(writer.reset());  // the destructor swallows the same failure
}

}  // namespace
}  // namespace kx
