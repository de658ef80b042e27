#include "foundation/compression/compressed_stream.h"

#include <algorithm>
#include <exception>

#include "foundation/core/exception.h"

namespace kx {

int MCompressedStream::LevelFromQuality(int quality) {
  return std::clamp((quality - 1) / 10, 0, 9);
}

void MCompressedStream::Init(MStream* target, bool compress, int quality, bool scramble) {
  EndCodec();
  active_ = false;
  target_ = target;
  compress_ = compress;
  scramble_ = scramble;
  scrambleState_ = 0;
  level_ = LevelFromQuality(quality);
  position_ = 0;
  finished_ = false;
  StartCodec();
  active_ = true;
}

void MCompressedStream::Terminate() {
  if (!active_) return;
  // Whatever happens while finishing, the codec state goes and the stream counts
  // as terminated: a failed finish is reported once, by the exception.
  active_ = false;
  if (compress_) {
    try {
      FinishCodec();
    } catch (...) {
      EndCodec();
      throw;
    }
  }
  EndCodec();
}

int64_t MCompressedStream::Seek(int64_t offset, MSeekOrigin origin) {
  CheckSeekOrigin(origin);
  if (offset == 0 && origin == kSeekBegin && active_ && !compress_) {
    target_->Seek(0, kSeekBegin);
    EndCodec();
    active_ = false;
    scrambleState_ = 0;
    position_ = 0;
    finished_ = false;
    StartCodec();
    active_ = true;
    return 0;
  }
  return MStream::Seek(offset, origin);
}

void MCompressedStream::Flush() {
  if (target_) target_->Flush();
}

void MCompressedStream::EndOnDestroy(const char* message) {
  bool unterminated = active_ && compress_ && target_ != nullptr;
  EndCodec();
  active_ = false;
  // Throwing while another exception unwinds would end the process; the owner's
  // failure is the one worth reporting then.
  if (unterminated && std::uncaught_exceptions() == 0) {
    throw MException(MString(message), kErrorIO);
  }
}

void MCompressedStream::Filter(unsigned char* data, int64_t size) {
  if (!scramble_) return;
  uint8_t state = scrambleState_;
  for (int64_t i = 0; i < size; ++i) {
    data[i] ^= state;
    state = static_cast<uint8_t>((state + 0x43) ^ 0x59);
  }
  scrambleState_ = state;
}

void MCompressedStream::ThrowInvalidContent() {
  throw MException(MString("Source compressed stream has invalid content."), kErrorIO);
}

}  // namespace kx
