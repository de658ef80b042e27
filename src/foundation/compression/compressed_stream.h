// MCompressedStream: common base of the compressors on a target stream (MZLIBStream,
// MBZIP2Stream), so that they agree on Seek, IsEnd, position and the byte filter.
//
// Init(target, compress, quality, scramble) starts a compressing (write-only) or a
// decompressing (read-only) codec on `target`, which the stream does not own.
// Quality 1..100 maps to a level by LevelFromQuality. A compressing stream must be
// finished by Terminate() after the last Write; a subclass destroyed compressing
// and unterminated throws "... stream has not been terminated." (code 256) from its
// destructor, unless another exception is already unwinding. Holders that keep the
// stream in a container or a smart pointer (which must not see a destructor throw)
// call Terminate() first.
//
// Reading: Read returns 0 once the end of the compressed data was met (IsEnd true);
// damaged or short input throws "Source compressed stream has invalid content."
// (code 256), never a short read. Seek(0, kSeekBegin) on a decompressing stream rewinds the
// target to 0 and restarts the codec; other seeks go forward by reading.
//
// The byte filter (scramble): compressed bytes are XORed with a one-byte state that
// starts at 0 and after each byte becomes (state + 0x43) ^ 0x59; it runs over the
// whole stream, after compressing and before decompressing.
#pragma once

#include <cstdint>

#include "foundation/streams/stream.h"

namespace kx {

class MCompressedStream : public MStream {
 public:
  // Quality 1..100 to a codec level: (quality - 1) / 10, clipped to 0..9.
  static int LevelFromQuality(int quality);

  // (Re)starts the codec; a codec that was running is dropped without finishing.
  void Init(MStream* target, bool compress, int quality = 100, bool scramble = false);
  // Compressing: writes the rest of the output and ends the codec. Decompressing:
  // ends the codec. Afterwards the stream offers no reading or writing until the
  // next Init. Doing it twice does nothing.
  virtual void Terminate();

  bool IsCompressing() const { return compress_; }
  bool IsActive() const { return active_; }

  MStream* GetSubstream() override { return target_; }
  int64_t Seek(int64_t offset, MSeekOrigin origin) override;
  int64_t GetPosition() override { return position_; }
  void Flush() override;
  bool IsEnd() override { return finished_; }

 protected:
  MCompressedStream() = default;

  // Codec hooks of the subclass. StartCodec throws the init messages; FinishCodec
  // writes the final output of a compressor; EndCodec frees the state and may be
  // called on a codec that is not running.
  virtual void StartCodec() = 0;
  virtual void FinishCodec() = 0;
  virtual void EndCodec() noexcept = 0;

  // For the subclass destructor: ends the codec, then throws `message` if the
  // stream was compressing into a target and never terminated.
  void EndOnDestroy(const char* message);

  // The byte filter, in place, when scramble is on.
  void Filter(unsigned char* data, int64_t size);

  [[noreturn]] static void ThrowInvalidContent();

  MStream* target_ = nullptr;
  bool compress_ = false;
  bool scramble_ = false;
  bool active_ = false;
  bool finished_ = false;
  uint8_t scrambleState_ = 0;
  int level_ = 9;
  int64_t position_ = 0;
};

}  // namespace kx
