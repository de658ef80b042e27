#include "foundation/streams/stream_helpers.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/core/exception.h"
#include "foundation/streams/buffering_stream.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/streams/size_stream.h"
#include "foundation/text/base64.h"
#include "stream_test_support.h"
#include "support/failure_capture.h"

namespace kx {
namespace {

TEST(CopyStream, CopiesTheSizeOrUntilAShortBlock) {
  std::string data = RandomBytes(200000, 1);
  struct Case {
    int64_t size, piece, copied;
  } cases[] = {
      {kStreamAll, INT64_MAX, 200000},
      {100000, INT64_MAX, 100000},
      {0, INT64_MAX, 0},
      // A block that comes back short ends the copy, as the end of a socket would.
      {kStreamAll, 1000, 1000},
  };
  for (const auto& c : cases) {
    PieceStream source(data, c.piece);
    MMemoryStream target;
    EXPECT_EQ(CopyStream(source, target, c.size), c.copied);
    EXPECT_EQ(target.View(), data.substr(0, static_cast<size_t>(c.copied)));
  }
}

TEST(CopyStream, ProgressAdvancesPerBlock) {
  std::string data = RandomBytes(65536 * 3, 2);
  MConstMemoryStream source(data.data(), static_cast<int64_t>(data.size()));
  MMemoryStream target;
  MStreamProgress progress;
  std::vector<double> seen;
  progress.onAdvance = [&](const MStreamProgress& p) { seen.push_back(p.value); };
  EXPECT_EQ(CopyStreamProgress(source, target, progress, static_cast<int64_t>(data.size())),
            196608);
  ASSERT_EQ(seen.size(), 3u);
  EXPECT_NEAR(seen[0], 1.0 / 3, 1e-9);
  EXPECT_NEAR(progress.value, 1.0, 1e-9);
}

TEST(CompareStreams, DifferencesAndRewindOnEquality) {
  std::string data = RandomBytes(10000, 3);
  std::string changed = data;
  changed[9000] = static_cast<char>(changed[9000] + 1);
  struct Case {
    std::string a, b;
    int sign;
  } cases[] = {
      {data, data, 0},
      {data, changed, -1},
      {changed, data, 1},
      {data.substr(0, 4096), data, -1},
  };
  for (const auto& c : cases) {
    MConstMemoryStream a(c.a.data(), static_cast<int64_t>(c.a.size()));
    MConstMemoryStream b(c.b.data(), static_cast<int64_t>(c.b.size()));
    int64_t result = CompareStreams(a, b);
    EXPECT_EQ((result > 0) - (result < 0), c.sign) << c.a.size() << " vs " << c.b.size();
    if (c.sign == 0) {
      EXPECT_EQ(a.GetPosition(), 0);
      EXPECT_EQ(b.GetPosition(), 0);
    }
  }
}

TEST(Base64, KnownTextsAndRoundTripsOfEveryTailLength) {
  struct Case {
    std::string bytes, text;
  } cases[] = {{"", ""},        {"f", "Zg=="},          {"fo", "Zm8="},
               {"foo", "Zm9v"}, {"foobar", "Zm9vYmFy"}, {std::string("\xff\xfe\x00", 3), "//4A"}};
  for (const auto& c : cases) {
    EXPECT_EQ(ToStd(EncodeBase64(c.bytes.data(), static_cast<int64_t>(c.bytes.size()))), c.text);
    MMemoryStream out;
    EXPECT_EQ(DecodeBase64(c.text.data(), static_cast<int64_t>(c.text.size()), out),
              static_cast<int64_t>(c.bytes.size()));
    EXPECT_EQ(out.View(), c.bytes);
  }
  for (size_t size : {size_t{3071}, size_t{3072}, size_t{3073}}) {
    std::string data = RandomBytes(size, static_cast<unsigned>(size));
    MMemoryStream text;
    WriteBase64(text, data.data(), static_cast<int64_t>(size));
    MString asString = EncodeBase64(data.data(), static_cast<int64_t>(size));
    EXPECT_EQ(ToStd(asString), std::string(text.View()));
    MString wide = asString;
    wide.Append(u'\u00e9');             // forces the 16-bit form ...
    wide.Delete(wide.Length() - 1, 1);  // ... and back to the same text
    MMemoryStream back;
    DecodeBase64(wide, back);
    EXPECT_EQ(back.View(), data);
  }
}

TEST(Base64, DecoderMarksSkipEndAndInvalid) {
  MMemoryStream out;
  std::string lines = "Zm9v\r\nYmFy \t\n";
  EXPECT_EQ(DecodeBase64(lines.data(), static_cast<int64_t>(lines.size()), out), 6);
  EXPECT_EQ(out.View(), "foobar");
  MMemoryStream stops;
  std::string ended = std::string("Zm9v\0YmFy", 9);
  EXPECT_EQ(DecodeBase64(ended.data(), 9, stops), 3);
  MMemoryStream lone;
  EXPECT_EQ(DecodeBase64("Zm9vY", 5, lone), 3);  // one leftover symbol gives nothing
  for (std::u16string bad : {std::u16string(u"Zm9v!"), std::u16string(u"Zm\u0141v")}) {
    MMemoryStream sink;
    MException e =
        Failure([&] { DecodeBase64(bad.data(), static_cast<int64_t>(bad.size()), sink); });
    EXPECT_EQ(ToStd(e.message), "Invalid character in base64 text.");
  }
}

TEST(SizeStream, ReadWindowOfALargerStream) {
  std::string data = "0123456789abcdefghij";
  MMemoryStream source;
  FillStream(source, data);
  source.Seek(5, kSeekBegin);
  MSizeStream window(&source, 5, 10);
  char buffer[32] = {};
  EXPECT_EQ(window.Read(buffer, 4), 4);
  EXPECT_EQ(std::string(buffer, 4), "5678");
  EXPECT_EQ(window.Read(buffer, 32), 6);  // limited to the window
  EXPECT_EQ(std::string(buffer, 6), "9abcde");
  EXPECT_TRUE(window.IsEnd());
  EXPECT_EQ(window.Seek(2, kSeekBegin), 2);
  EXPECT_EQ(source.GetPosition(), 7);
  EXPECT_EQ(window.Seek(100, kSeekCurrent), 10);  // clamped to the window
  EXPECT_EQ(window.Seek(-3, kSeekEnd), 7);
  EXPECT_EQ(window.Read(buffer, 32), 3);
  EXPECT_EQ(std::string(buffer, 3), "cde");
  EXPECT_EQ(window.GetSize(), 10);
}

TEST(SizeStream, WriteLimitWritesWhatFitsThenFails) {
  MMemoryStream target;
  MSizeStream limit(&target, 0, 5);
  limit.Write("abc", 3);
  ExpectFailure([&] { limit.Write("defg", 4); },
                "The stream cannot be written, because its size is out of range.", 256);
  EXPECT_EQ(target.View(), "abcde");
  EXPECT_TRUE(limit.IsEnd());
}

TEST(SizeStream, UnseekableSourceAcceptsOnlyStayingPut) {
  PieceStream source("0123456789");
  MSizeStream window(&source, 0, 8, false);
  char buffer[4];
  window.Read(buffer, 3);
  EXPECT_EQ(window.Seek(3, kSeekBegin), 3);
  EXPECT_EQ(window.Seek(-5, kSeekEnd), 3);
  for (auto [offset, origin] : {std::pair{0, kSeekBegin}, {1, kSeekCurrent}, {0, kSeekEnd}}) {
    MException e = Failure([&, offset = offset, origin = origin] { window.Seek(offset, origin); });
    EXPECT_EQ(ToStd(e.message), "Seeking operation is forbidden for the size-stream.");
  }
}

// Encodes blocks of 4 into 6: the bytes reversed, framed by '<' and '>'.
class FramingStream : public MBufferingStream {
 public:
  using MBufferingStream::MBufferingStream;
  void EncodeBlock(const uint8_t* input, uint8_t* output) override {
    output[0] = '<';
    for (int i = 0; i < 4; ++i) output[1 + i] = input[3 - i];
    output[5] = '>';
  }
  void DecodeBlock(const uint8_t* output, uint8_t* input) override {
    for (int i = 0; i < 4; ++i) input[i] = output[4 - i];
  }
};

class EvenBlocks : public MBlockPolicy {
 public:
  bool MustTransform(int64_t index) override { return index % 2 == 0; }
  void SetBlockSizes(int64_t input, int64_t output) override { told = input * 100 + output; }
  int64_t told = 0;
};

TEST(BufferingStream, BlocksTransformedByPolicyAndPartialTailAsItIs) {
  struct Case {
    bool even;
    std::string encoded;
  } cases[] = {{false, "<dcba><hgfe>ij"}, {true, "<dcba>efgh<lkji>m"}};
  for (const auto& c : cases) {
    std::string data = c.even ? "abcdefghijklm" : "abcdefghij";
    MMemoryStream target;
    FramingStream stream(&target);
    EvenBlocks policy;
    if (c.even) stream.SetPolicy(&policy);
    stream.SetBlockSizes(4, 6);
    if (c.even) {
      EXPECT_EQ(policy.told, 406);
    }
    stream.Write(data.data(), 3);
    stream.Write(data.data() + 3, static_cast<int64_t>(data.size()) - 3);
    stream.Terminate();
    EXPECT_EQ(target.View(), c.encoded);
    target.Seek(0, kSeekBegin);
    FramingStream reader(&target);
    if (c.even) reader.SetPolicy(&policy);
    reader.SetBlockSizes(4, 6);
    std::string back;
    char piece[3];
    while (int64_t got = reader.Read(piece, 3)) back.append(piece, static_cast<size_t>(got));
    EXPECT_EQ(back, data);
    EXPECT_TRUE(reader.IsEnd());
  }
  MMemoryStream target;
  FramingStream unready(&target);
  ExpectFailure([&] { unready.Write("x", 1); }, "Buffering stream has not been initialized.", 258);
}

}  // namespace
}  // namespace kx
