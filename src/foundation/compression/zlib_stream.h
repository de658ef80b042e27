// MZLIBStream: deflate while writing, inflate while reading, on a target stream,
// in the zlib format (header and Adler-32 trailer). The 4096-byte work block lives
// in the object, so streaming allocates only the codec state.
//
//   MZLIBStream zip;                  // writing
//   zip.Init(&file, true, 100);       // quality 100 = level 9
//   zip.Write(data, size);
//   zip.Terminate();                  // before destruction, always
//
// Init failures: "Could not initialize deflating.", "Could not initialize
// inflating." (code 257). Destroyed compressing and unterminated: "ZLIB stream has
// not been terminated." (code 256). See compressed_stream.h for the common rules.
#pragma once

#include <memory>

#include "foundation/compression/compressed_stream.h"

namespace kx {

class MZLIBStream : public MCompressedStream {
 public:
  static constexpr int kBlockSize = 4096;

  MZLIBStream();
  ~MZLIBStream() noexcept(false) override;

  void Write(const void* data, int64_t size) override;
  int64_t Read(void* data, int64_t size) override;

 protected:
  void StartCodec() override;
  void FinishCodec() override;
  void EndCodec() noexcept override;

 private:
  struct Codec;
  void Deflate(int flush);

  std::unique_ptr<Codec> codec_;
  unsigned char buffer_[kBlockSize];
};

}  // namespace kx
