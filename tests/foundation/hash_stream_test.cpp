#include "foundation/streams/hash_stream.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

#include "foundation/core/exception.h"
#include "foundation/streams/memory_stream.h"
#include "support/failure_capture.h"
#include "support/sandbox.h"

namespace kx {
namespace {

std::string Hex(const uint8_t* bytes, int size) {
  std::string text;
  for (int i = 0; i < size; ++i)
    text += {"0123456789abcdef"[bytes[i] >> 4], "0123456789abcdef"[bytes[i] & 15]};
  return text;
}

std::string Md5(const std::string& data, size_t piece = SIZE_MAX) {
  MHashStream hash;
  hash.Reset();
  for (size_t at = 0; at < data.size(); at += piece)
    hash.Write(data.data() + at, static_cast<int64_t>(std::min(piece, data.size() - at)));
  hash.Finish();
  return Hex(hash.Digest(), MHashStream::kDigestSize);
}

TEST(HashStream, TestSuiteOfTheMd5Definition) {
  struct Case {
    std::string input, digest;
  } cases[] = {
      {"", "d41d8cd98f00b204e9800998ecf8427e"},
      {"abc", "900150983cd24fb0d6963f7d28e17f72"},
      {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
      {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
      {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789",
       "d174ab98d277d9f5a5611c2c9f419d9f"},
      {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
       "57edf4a22be3c955ac49da2e2107b67a"},
  };
  for (const auto& c : cases)
    for (size_t piece : {size_t{1}, size_t{3}, size_t{64}, SIZE_MAX})
      EXPECT_EQ(Md5(c.input, piece), c.digest) << '"' << c.input << "\" in pieces of " << piece;
}

class HashAgainstCommand : public ::testing::Test {
 protected:
  MTestSandbox sandbox;
  std::string CommandDigest(const std::string& data) {
    std::filesystem::path file = sandbox.Root() / "random.bin";
    std::ofstream(file, std::ios::binary) << data;
    std::string command = "md5sum '" + file.string() + "'";
    FILE* pipe = ::popen(command.c_str(), "r");
    if (!pipe) return "(no md5sum)";
    char line[128] = {};
    std::fgets(line, sizeof line, pipe);
    ::pclose(pipe);
    return std::string(line).substr(0, 32);
  }
};

TEST_F(HashAgainstCommand, RandomFilesAroundBlockEdges) {
  std::mt19937 random(1321);
  const size_t kMiB = 1 << 20;
  for (size_t size : {size_t{55}, size_t{56}, size_t{63}, size_t{64}, size_t{65}, size_t{120},
                      size_t{129}, kMiB - 1, kMiB, kMiB + 56}) {
    std::string data(size, '\0');
    for (auto& c : data) c = static_cast<char>(random());
    std::string expected = CommandDigest(data);
    EXPECT_EQ(Md5(data), expected) << size;
    EXPECT_EQ(Md5(data, 1000), expected) << size << " in pieces";
  }
}

TEST(HashStream, SeededResetAndDigestOutput) {
  MHashStream hash;
  hash.Reset(1);  // a seeded start is not the standard one
  hash.Write("abc", 3);
  hash.Finish();
  EXPECT_NE(Hex(hash.Digest(), 16), "900150983cd24fb0d6963f7d28e17f72");
  hash.Reset();
  hash.Write("abc", 3);
  hash.Finish();
  MMemoryStream out;
  hash.WriteDigest(out);
  EXPECT_EQ(Hex(reinterpret_cast<const uint8_t*>(out.Data()), static_cast<int>(out.Size())),
            "900150983cd24fb0d6963f7d28e17f72");
}

TEST(HashStream, UseBeforeResetOrAfterFinishFails) {
  MHashStream hash;
  for (int round = 0; round < 2; ++round) {
    ExpectFailure([&] { hash.Write("x", 1); },
                  "Cryptographic hash stream has not been initialized.", 258);
    hash.Reset();
    hash.Finish();
  }
  char byte;
  EXPECT_THROW(hash.Read(&byte, 1), MException);  // write-only
}

}  // namespace
}  // namespace kx
