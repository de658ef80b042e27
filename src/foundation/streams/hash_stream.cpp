#include "foundation/streams/hash_stream.h"

#include <algorithm>
#include <cstring>

#include "foundation/core/exception.h"

namespace kx {

// --- MBlockHashStream

void MBlockHashStream::CheckInitialized() const {
  if (!initialized_) {
    throw MException(MString("Cryptographic hash stream has not been initialized."), kErrorNotInitialized);
  }
}

void MBlockHashStream::Start() {
  blockFill_ = 0;
  byteCount_ = 0;
  initialized_ = true;
}

void MBlockHashStream::Write(const void* data, int64_t size) {
  CheckInitialized();
  if (size <= 0) return;
  const auto* bytes = static_cast<const uint8_t*>(data);
  byteCount_ += static_cast<uint64_t>(size);
  if (blockFill_ > 0) {
    int64_t take = std::min<int64_t>(size, kBlockSize - blockFill_);
    std::memcpy(block_ + blockFill_, bytes, static_cast<size_t>(take));
    blockFill_ += static_cast<int>(take);
    bytes += take;
    size -= take;
    if (blockFill_ < kBlockSize) return;
    ProcessBlocks(block_, 1);
    blockFill_ = 0;
  }
  // Whole blocks straight from the caller's memory.
  int64_t whole = size / kBlockSize;
  if (whole > 0) {
    ProcessBlocks(bytes, whole);
    bytes += whole * kBlockSize;
    size -= whole * kBlockSize;
  }
  if (size > 0) {
    std::memcpy(block_, bytes, static_cast<size_t>(size));
    blockFill_ = static_cast<int>(size);
  }
}

void MBlockHashStream::WriteDigest(MStream& target) { target.Write(Digest(), DigestSize()); }

// --- MHashStream: MD5

void MHashStream::Reset() {
  state_[0] = 0x67452301u;
  state_[1] = 0xefcdab89u;
  state_[2] = 0x98badcfeu;
  state_[3] = 0x10325476u;
  Start();
}

void MHashStream::Reset(uint32_t seed) {
  state_[0] = seed * 11u;
  state_[1] = seed * 71u;
  state_[2] = seed * 37u;
  state_[3] = seed * 97u;
  Start();
}

void MHashStream::Finish() {
  CheckInitialized();
  uint64_t bits = byteCount_ * 8;
  // 0x80, zeros up to 56 mod 64, then the bit count little-endian.
  block_[blockFill_++] = 0x80;
  if (blockFill_ > 56) {
    std::memset(block_ + blockFill_, 0, static_cast<size_t>(kBlockSize - blockFill_));
    ProcessBlocks(block_, 1);
    blockFill_ = 0;
  }
  std::memset(block_ + blockFill_, 0, static_cast<size_t>(56 - blockFill_));
  for (int i = 0; i < 8; ++i) block_[56 + i] = static_cast<uint8_t>(bits >> (8 * i));
  ProcessBlocks(block_, 1);
  blockFill_ = 0;
  for (int i = 0; i < 4; ++i) {
    for (int j = 0; j < 4; ++j) digest_[4 * i + j] = static_cast<uint8_t>(state_[i] >> (8 * j));
  }
  initialized_ = false;
}

namespace {

inline uint32_t RotateLeft(uint32_t x, int n) { return (x << n) | (x >> (32 - n)); }

// The four rounds are written out step by step so that shifts and constants are
// immediate; F takes the form with one operation less than the textbook one.
inline void StepF(uint32_t& a, uint32_t b, uint32_t c, uint32_t d, uint32_t x, int s, uint32_t t) {
  a = RotateLeft(a + (d ^ (b & (c ^ d))) + x + t, s) + b;
}
// G = (b & d) | (c & ~d), the two halves having no bit in common, is added in two
// parts: c & ~d does not wait for b, the newest word, so one operation leaves the
// chain of dependent steps.
inline void StepG(uint32_t& a, uint32_t b, uint32_t c, uint32_t d, uint32_t x, int s, uint32_t t) {
  a = RotateLeft(a + x + t + (c & ~d) + (b & d), s) + b;
}
inline void StepH(uint32_t& a, uint32_t b, uint32_t c, uint32_t d, uint32_t x, int s, uint32_t t) {
  a = RotateLeft(a + (b ^ c ^ d) + x + t, s) + b;
}
inline void StepI(uint32_t& a, uint32_t b, uint32_t c, uint32_t d, uint32_t x, int s, uint32_t t) {
  a = RotateLeft(a + (c ^ (b | ~d)) + x + t, s) + b;
}

}  // namespace

void MHashStream::ProcessBlocks(const uint8_t* data, int64_t count) {
  uint32_t a0 = state_[0], b0 = state_[1], c0 = state_[2], d0 = state_[3];
  for (int64_t block = 0; block < count; ++block, data += kBlockSize) {
    uint32_t x[16];
    // The words are little-endian, as the machine's.
    std::memcpy(x, data, sizeof(x));
    uint32_t a = a0, b = b0, c = c0, d = d0;

    StepF(a, b, c, d, x[0], 7, 0xd76aa478);
    StepF(d, a, b, c, x[1], 12, 0xe8c7b756);
    StepF(c, d, a, b, x[2], 17, 0x242070db);
    StepF(b, c, d, a, x[3], 22, 0xc1bdceee);
    StepF(a, b, c, d, x[4], 7, 0xf57c0faf);
    StepF(d, a, b, c, x[5], 12, 0x4787c62a);
    StepF(c, d, a, b, x[6], 17, 0xa8304613);
    StepF(b, c, d, a, x[7], 22, 0xfd469501);
    StepF(a, b, c, d, x[8], 7, 0x698098d8);
    StepF(d, a, b, c, x[9], 12, 0x8b44f7af);
    StepF(c, d, a, b, x[10], 17, 0xffff5bb1);
    StepF(b, c, d, a, x[11], 22, 0x895cd7be);
    StepF(a, b, c, d, x[12], 7, 0x6b901122);
    StepF(d, a, b, c, x[13], 12, 0xfd987193);
    StepF(c, d, a, b, x[14], 17, 0xa679438e);
    StepF(b, c, d, a, x[15], 22, 0x49b40821);

    StepG(a, b, c, d, x[1], 5, 0xf61e2562);
    StepG(d, a, b, c, x[6], 9, 0xc040b340);
    StepG(c, d, a, b, x[11], 14, 0x265e5a51);
    StepG(b, c, d, a, x[0], 20, 0xe9b6c7aa);
    StepG(a, b, c, d, x[5], 5, 0xd62f105d);
    StepG(d, a, b, c, x[10], 9, 0x02441453);
    StepG(c, d, a, b, x[15], 14, 0xd8a1e681);
    StepG(b, c, d, a, x[4], 20, 0xe7d3fbc8);
    StepG(a, b, c, d, x[9], 5, 0x21e1cde6);
    StepG(d, a, b, c, x[14], 9, 0xc33707d6);
    StepG(c, d, a, b, x[3], 14, 0xf4d50d87);
    StepG(b, c, d, a, x[8], 20, 0x455a14ed);
    StepG(a, b, c, d, x[13], 5, 0xa9e3e905);
    StepG(d, a, b, c, x[2], 9, 0xfcefa3f8);
    StepG(c, d, a, b, x[7], 14, 0x676f02d9);
    StepG(b, c, d, a, x[12], 20, 0x8d2a4c8a);

    StepH(a, b, c, d, x[5], 4, 0xfffa3942);
    StepH(d, a, b, c, x[8], 11, 0x8771f681);
    StepH(c, d, a, b, x[11], 16, 0x6d9d6122);
    StepH(b, c, d, a, x[14], 23, 0xfde5380c);
    StepH(a, b, c, d, x[1], 4, 0xa4beea44);
    StepH(d, a, b, c, x[4], 11, 0x4bdecfa9);
    StepH(c, d, a, b, x[7], 16, 0xf6bb4b60);
    StepH(b, c, d, a, x[10], 23, 0xbebfbc70);
    StepH(a, b, c, d, x[13], 4, 0x289b7ec6);
    StepH(d, a, b, c, x[0], 11, 0xeaa127fa);
    StepH(c, d, a, b, x[3], 16, 0xd4ef3085);
    StepH(b, c, d, a, x[6], 23, 0x04881d05);
    StepH(a, b, c, d, x[9], 4, 0xd9d4d039);
    StepH(d, a, b, c, x[12], 11, 0xe6db99e5);
    StepH(c, d, a, b, x[15], 16, 0x1fa27cf8);
    StepH(b, c, d, a, x[2], 23, 0xc4ac5665);

    StepI(a, b, c, d, x[0], 6, 0xf4292244);
    StepI(d, a, b, c, x[7], 10, 0x432aff97);
    StepI(c, d, a, b, x[14], 15, 0xab9423a7);
    StepI(b, c, d, a, x[5], 21, 0xfc93a039);
    StepI(a, b, c, d, x[12], 6, 0x655b59c3);
    StepI(d, a, b, c, x[3], 10, 0x8f0ccc92);
    StepI(c, d, a, b, x[10], 15, 0xffeff47d);
    StepI(b, c, d, a, x[1], 21, 0x85845dd1);
    StepI(a, b, c, d, x[8], 6, 0x6fa87e4f);
    StepI(d, a, b, c, x[15], 10, 0xfe2ce6e0);
    StepI(c, d, a, b, x[6], 15, 0xa3014314);
    StepI(b, c, d, a, x[13], 21, 0x4e0811a1);
    StepI(a, b, c, d, x[4], 6, 0xf7537e82);
    StepI(d, a, b, c, x[11], 10, 0xbd3af235);
    StepI(c, d, a, b, x[2], 15, 0x2ad7d2bb);
    StepI(b, c, d, a, x[9], 21, 0xeb86d391);

    a0 += a;
    b0 += b;
    c0 += c;
    d0 += d;
  }
  state_[0] = a0;
  state_[1] = b0;
  state_[2] = c0;
  state_[3] = d0;
}

}  // namespace kx
