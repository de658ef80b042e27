// MBZIP2Stream: bzip2 compression while writing, decompression while reading, on a
// target stream; the same contract as MZLIBStream (compressed_stream.h), with
// work factor 30, small mode off, 16384-byte output blocks when writing and
// 4096-byte input blocks when reading, both inside the object.
//
// bzip2 has no level 0: the block size is the level of LevelFromQuality, raised
// to 1 for the lowest qualities.
//
// Messages: "Could not initialize deflating.", "Could not initialize inflating."
// (code 257); "Data could not be compressed.", "Source compressed stream has invalid
// content.", "BZIP2 stream has not been terminated." (code 256).
#pragma once

#include <memory>

#include "foundation/compression/compressed_stream.h"

namespace kx {

class MBZIP2Stream : public MCompressedStream {
 public:
  static constexpr int kWriteBlockSize = 16384;
  static constexpr int kReadBlockSize = 4096;

  MBZIP2Stream();
  ~MBZIP2Stream() noexcept(false) override;

  void Write(const void* data, int64_t size) override;
  int64_t Read(void* data, int64_t size) override;

 protected:
  void StartCodec() override;
  void FinishCodec() override;
  void EndCodec() noexcept override;

 private:
  struct Codec;
  void Compress(int action);

  std::unique_ptr<Codec> codec_;
  char writeBuffer_[kWriteBlockSize];
  char readBuffer_[kReadBlockSize];
};

}  // namespace kx
