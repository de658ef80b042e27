#include "foundation/compression/bzip2_stream.h"
#include "foundation/compression/zlib_stream.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "foundation/core/exception.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/streams/stream_helpers.h"
#include "stream_test_support.h"
#include "support/failure_capture.h"
#include "support/resource_test_support.h"

namespace kx {
namespace {

namespace fs = std::filesystem;

template <typename T>
std::string Compress(const std::string& data, int quality = 100, bool scramble = false,
                     size_t piece = 1000) {
  MMemoryStream target;
  T stream;
  stream.Init(&target, true, quality, scramble);
  for (size_t at = 0; at < data.size(); at += piece) {
    size_t n = std::min(piece, data.size() - at);
    stream.Write(data.data() + at, static_cast<int64_t>(n));
  }
  EXPECT_EQ(stream.GetPosition(), static_cast<int64_t>(data.size()));
  stream.Terminate();
  return std::string(target.View());
}

template <typename T>
std::string Decompress(const std::string& compressed, bool scramble = false, size_t piece = 777) {
  MConstMemoryStream source(compressed.data(), static_cast<int64_t>(compressed.size()));
  T stream;
  stream.Init(&source, false, 100, scramble);
  std::string out, buffer(piece, '\0');
  while (int64_t got = stream.Read(buffer.data(), static_cast<int64_t>(piece)))
    out.append(buffer.data(), static_cast<size_t>(got));
  EXPECT_TRUE(stream.IsEnd());
  stream.Terminate();
  return out;
}

TEST(ZlibStream, OutputInflatesWithTheLibraryAndLibraryOutputReadsBack) {
  for (size_t size : {size_t{0}, size_t{4097}, size_t{300000}}) {
    std::string data = TextBytes(size, 7);
    for (int quality : {1, 50})
      EXPECT_EQ(ZlibInflate(Compress<MZLIBStream>(data, quality), data.size() + 1), data)
          << size << " q" << quality;
    for (int level : {0, 9})
      EXPECT_EQ(Decompress<MZLIBStream>(ZlibDeflate(data, level)), data) << size << " l" << level;
  }
  // Byte for byte what the library makes at the level a quality stands for; level 0
  // stores, in blocks that follow the writes, so it shows only in the size.
  std::string data = TextBytes(100000, 7);
  for (auto [quality, level] : {std::pair{11, 1}, {50, 4}, {91, 9}, {1000, 9}})
    EXPECT_EQ(Compress<MZLIBStream>(data, quality), ZlibDeflate(data, level)) << quality;
  for (int quality : {-5, 10}) EXPECT_GT(Compress<MZLIBStream>(data, quality).size(), data.size());
}

TEST(ZlibStream, LargeSingleWriteAndReadGoThroughTheSmallBlocks) {
  std::string data = RandomBytes(1 << 20, 3) + TextBytes(1 << 20, 7);
  std::string compressed = Compress<MZLIBStream>(data, 100, false, data.size());
  EXPECT_EQ(Decompress<MZLIBStream>(compressed, false, data.size() + 10), data);
}

template <typename T>
class BothCompressors : public ::testing::Test {};
using CompressorTypes = ::testing::Types<MZLIBStream, MBZIP2Stream>;
TYPED_TEST_SUITE(BothCompressors, CompressorTypes);

TYPED_TEST(BothCompressors, ScrambledRoundTripDiffersFromPlain) {
  std::string data = TextBytes(200000, 7);
  std::string plain = Compress<TypeParam>(data);
  std::string scrambled = Compress<TypeParam>(data, 100, true);
  ASSERT_EQ(plain.size(), scrambled.size());
  EXPECT_NE(plain, scrambled);
  // The filter runs on over the whole stream: XOR of both is the key stream.
  uint8_t state = 0;
  for (size_t i = 0; i < plain.size(); ++i) {
    ASSERT_EQ(static_cast<uint8_t>(plain[i] ^ scrambled[i]), state) << "byte " << i;
    state = static_cast<uint8_t>((state + 0x43) ^ 0x59);
  }
  EXPECT_EQ(Decompress<TypeParam>(scrambled, true), data);
  // Read without the filter, the scrambled stream is not valid data.
  EXPECT_EQ(ToStd(Failure([&] { Decompress<TypeParam>(scrambled, false); }).message),
            "Source compressed stream has invalid content.");
}

TYPED_TEST(BothCompressors, DamagedOrTruncatedInputFailsWithTheMessageNeverShort) {
  std::string data = RandomBytes(4097, 11);  // barely compressible: over one 4096 block
  std::string good = Compress<TypeParam>(data);
  ASSERT_EQ(Decompress<TypeParam>(good), data);
  std::vector<std::string> bad;
  for (size_t cut :
       {size_t{0}, size_t{1}, size_t{10}, good.size() / 2, size_t{4096}, good.size() - 1})
    if (cut < good.size()) bad.push_back(good.substr(0, cut));
  std::string flipped = good;
  flipped[flipped.size() / 2] ^= 0x55;
  bad.push_back(flipped);
  bad.push_back(RandomBytes(5000, 5));
  for (size_t i = 0; i < bad.size(); ++i) {
    SCOPED_TRACE(i);
    ExpectFailure([&] { Decompress<TypeParam>(bad[i]); },
                  "Source compressed stream has invalid content.", 256);
  }
}

TYPED_TEST(BothCompressors, SeekToTheStartRewindsTheDecompressor) {
  std::string data = TextBytes(50000, 7);
  std::string compressed = Compress<TypeParam>(data);
  MConstMemoryStream source(compressed.data(), static_cast<int64_t>(compressed.size()));
  TypeParam stream;
  stream.Init(&source, false);
  std::string first(30000, '\0');
  stream.ReadExact(first.data(), 30000);
  EXPECT_EQ(stream.Seek(0, kSeekBegin), 0);
  EXPECT_FALSE(stream.IsEnd());
  EXPECT_EQ(stream.Seek(100, kSeekBegin), 100);  // forward: by reading
  std::string rest(49900, '\0');
  stream.ReadExact(rest.data(), 49900);
  EXPECT_EQ(rest, data.substr(100));
  EXPECT_EQ(ToStd(Failure([&] { stream.Seek(5, kSeekBegin); }).message),
            "Service \"backward seek in a stream\" is not implemented.");
  stream.Terminate();
}

TYPED_TEST(BothCompressors, WrongDirectionAndUseBeforeInit) {
  MMemoryStream target;
  TypeParam idle;
  char byte = 0;
  EXPECT_EQ(Failure([&] { idle.Read(&byte, 1); }).code, 1u);
  TypeParam writer;
  writer.Init(&target, true);
  EXPECT_EQ(ToStd(Failure([&] { writer.Read(&byte, 1); }).message),
            "Service \"read from stream\" is not implemented.");
  writer.Terminate();
  writer.Terminate();  // twice does nothing
  EXPECT_EQ(Failure([&] { writer.Write(&byte, 1); }).code, 1u);
  MException e = Failure([] {
    TypeParam nowhere;
    nowhere.Init(nullptr, false);
  });
  EXPECT_EQ(ToStd(e.message), "Could not initialize inflating.");
}

TYPED_TEST(BothCompressors, DestroyedUnterminatedWhileCompressingThrows) {
  const char* expected = std::is_same_v<TypeParam, MZLIBStream>
                             ? "ZLIB stream has not been terminated."
                             : "BZIP2 stream has not been terminated.";
  MMemoryStream target;
  MException e = Failure([&] {
    TypeParam stream;
    stream.Init(&target, true);
    stream.Write("abc", 3);
  });
  EXPECT_EQ(ToStd(e.message), expected);
  EXPECT_NO_THROW({ TypeParam idle; });  // never initialised: nothing to report
  // Destroyed while another failure unwinds: that failure is the one that arrives.
  MException first = Failure([&] {
    TypeParam stream;
    stream.Init(&target, true);
    throw MException(MString("first"));
  });
  EXPECT_EQ(ToStd(first.message), "first");
  // A heap object: the memory is returned although the destructor throws.
  auto* heap = new TypeParam;
  heap->Init(&target, true);
  EXPECT_THROW(delete heap, MException);
}

class Bzip2Command : public FileTestBase {
 protected:
  static int Run(const std::string& command) { return std::system(command.c_str()); }
};

TEST_F(Bzip2Command, FilesOfTheCommandReadBackAndOursDecompressWithIt) {
  {
    std::string data = TextBytes(1500000, 21);
    WriteFile("data.bin", data);
    // Level 1 blocks are 100 kB: the file holds many blocks.
    ASSERT_EQ(Run("bzip2 -k -f -1 '" + Native("data.bin").string() + "'"), 0);
    EXPECT_EQ(Decompress<MBZIP2Stream>(ReadFileBytes(Native("data.bin.bz2"))), data);
  }
  for (int quality : {1, 100}) {
    std::string data = TextBytes(400000, quality) + RandomBytes(3000, quality);
    WriteFile("ours.bz2", Compress<MBZIP2Stream>(data, quality, false, 5000));
    fs::remove(Native("ours"));
    ASSERT_EQ(Run("bzip2 -d -k -f '" + Native("ours.bz2").string() + "'"), 0) << quality;
    EXPECT_EQ(ReadFileBytes(Native("ours")), data) << quality;
  }
}

}  // namespace
}  // namespace kx
