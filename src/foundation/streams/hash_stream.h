// Hashing streams: write-only streams that digest what goes through them.
//
// MBlockHashStream is the generic base of block hashes: Write gathers 64-byte
// blocks and hands whole ones to the hash, without copying where it can. Writing
// before Reset, or after Finish, throws "Cryptographic hash stream has not been
// initialized." (code 258).
//
// MHashStream is MD5 (RFC 1321):
//   MHashStream md5;
//   md5.Reset();                 // or Reset(seed): the words seed*11, *71, *37, *97
//   md5.Write(data, size);
//   md5.Finish();                // pads and appends the bit count
//   md5.WriteDigest(target);     // the 16 digest bytes
#pragma once

#include <cstdint>

#include "foundation/streams/stream.h"

namespace kx {

class MBlockHashStream : public MStream {
 public:
  static constexpr int kBlockSize = 64;

  void Write(const void* data, int64_t size) override;
  // Bytes hashed since Reset.
  int64_t GetPosition() override { return static_cast<int64_t>(byteCount_); }
  void Flush() override {}

  // Completes the digest; the stream takes no more bytes until the next Reset.
  virtual void Finish() = 0;
  virtual int DigestSize() const = 0;
  // The digest, valid after Finish.
  virtual const uint8_t* Digest() const = 0;
  // Writes the digest bytes to `target`.
  void WriteDigest(MStream& target);

 protected:
  // Hashes `count` whole blocks.
  virtual void ProcessBlocks(const uint8_t* data, int64_t count) = 0;
  void Start();  // empties the block, zero count, accepts input
  void CheckInitialized() const;

  uint8_t block_[kBlockSize];
  int blockFill_ = 0;
  uint64_t byteCount_ = 0;
  bool initialized_ = false;
};

class MHashStream : public MBlockHashStream {
 public:
  static constexpr int kDigestSize = 16;

  MHashStream() = default;

  // The standard initial words.
  void Reset();
  // Seeded start: the four words are seed * 11, 71, 37 and 97, in order.
  void Reset(uint32_t seed);

  void Finish() override;
  int DigestSize() const override { return kDigestSize; }
  const uint8_t* Digest() const override { return digest_; }

 protected:
  void ProcessBlocks(const uint8_t* data, int64_t count) override;

 private:
  uint32_t state_[4] = {};
  uint8_t digest_[kDigestSize] = {};
};

}  // namespace kx
