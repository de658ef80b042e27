#include "foundation/streams/memory_stream.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "foundation/core/exception.h"
#include "support/file_test_support.h"

namespace kx {
namespace {

TEST(MemoryStream, WriteReadAndOverwriteInTheMiddle) {
  MMemoryStream stream;
  stream.Write("hello world", 11);
  EXPECT_EQ(stream.GetSize(), 11);
  EXPECT_EQ(stream.Seek(6, kSeekBegin), 6);
  stream.Write("there!", 6);  // passes the end: size grows by one
  EXPECT_EQ(stream.View(), "hello there!");
  stream.Seek(-6, kSeekCurrent);
  char buffer[32] = {};
  EXPECT_EQ(stream.Read(buffer, sizeof(buffer)), 6);
  EXPECT_EQ(std::string(buffer), "there!");
  EXPECT_TRUE(stream.IsEnd());
  EXPECT_EQ(stream.Read(buffer, 4), 0);
  stream.Seek(5, kSeekBegin);
  stream.Truncate();
  EXPECT_EQ(stream.View(), "hello");
}

TEST(MemoryStream, SizesZeroAndNegative) {
  MMemoryStream stream;
  stream.Write("x", 0);
  EXPECT_EQ(stream.GetSize(), 0);
  char buffer[4];
  EXPECT_EQ(MessageOf([&] { stream.Write("x", -1); }), "Trying to write a block of negative size.");
  EXPECT_EQ(MessageOf([&] { stream.Read(buffer, -1); }),
            "Trying to read a block of negative size.");
  EXPECT_EQ(MessageOf([&] { stream.ReadLine(buffer, -1); }),
            "Trying to read a string of negative size.");
  MConstMemoryStream constant("abc", 3);
  EXPECT_EQ(MessageOf([&] { constant.Write("x", 1); }),
            "Service \"write to stream\" is not implemented.");
}

TEST(MemoryStream, SeekClampsToTheBlockAndReturnsThePosition) {
  MMemoryStream stream;
  stream.Write("0123456789", 10);
  MConstMemoryStream constant("0123456789", 10);
  struct Case {
    int64_t offset;
    MSeekOrigin origin;
    int64_t expected;
  } cases[] = {
      {1000, kSeekBegin, 10},        {-5, kSeekBegin, 0},      {3, kSeekCurrent, 3},
      {-100, kSeekCurrent, 0},       {-3, kSeekEnd, 7},        {5, kSeekEnd, 10},
      {INT64_MAX, kSeekCurrent, 10}, {INT64_MIN, kSeekEnd, 0},
  };
  for (MStream* s : {static_cast<MStream*>(&stream), static_cast<MStream*>(&constant)}) {
    for (const auto& c : cases) {
      EXPECT_EQ(s->Seek(c.offset, c.origin), c.expected)
          << c.offset << " from " << static_cast<int>(c.origin);
      EXPECT_EQ(s->GetPosition(), c.expected);
    }
    EXPECT_EQ(MessageOf([&] { s->Seek(0, static_cast<MSeekOrigin>(3)); }), "Invalid seek origin.");
  }
}

TEST(MemoryStream, ExternalBlockIsWrittenInPlaceUntilItMustGrow) {
  char block[8] = {'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h'};
  MMemoryStream stream;
  stream.AttachExternal(block, sizeof(block));
  EXPECT_TRUE(stream.IsExternal());
  stream.Write("XY", 2);
  EXPECT_EQ(std::string(block, 8), "XYcdefgh");
  stream.Seek(0, kSeekEnd);
  stream.Write("++", 2);  // needs more room: the content moves into an own block
  EXPECT_FALSE(stream.IsExternal());
  EXPECT_EQ(stream.View(), "XYcdefgh++");
  EXPECT_EQ(std::string(block, 8), "XYcdefgh");
}

TEST(MemoryStream, SetSizeZeroFillsAndClampsThePosition) {
  MMemoryStream stream;
  stream.Write("abcdef", 6);
  stream.SetSize(3);
  EXPECT_EQ(stream.GetPosition(), 3);
  stream.SetSize(5);
  EXPECT_EQ(stream.View(), std::string("abc\0\0", 5));
}

}  // namespace
}  // namespace kx
