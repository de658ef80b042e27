#include "foundation/compression/bzip2_stream.h"

#include <bzlib.h>

#include <algorithm>

#include "foundation/core/exception.h"

namespace kx {

struct MBZIP2Stream::Codec {
  bz_stream bz{};
};

namespace {
constexpr int kWorkFactor = 30;
constexpr int64_t kMaxPiece = 1 << 30;  // the library counts in unsigned int

[[noreturn]] void ThrowNotCompressed() {
  throw MException(MString("Data could not be compressed."), kErrorIO);
}
}  // namespace

MBZIP2Stream::MBZIP2Stream() = default;

MBZIP2Stream::~MBZIP2Stream() noexcept(false) { EndOnDestroy("BZIP2 stream has not been terminated."); }

void MBZIP2Stream::StartCodec() {
  const char* failure = compress_ ? "Could not initialize deflating." : "Could not initialize inflating.";
  if (!target_) throw MException(MString(failure), kErrorOpen);
  if (!codec_) codec_ = std::make_unique<Codec>();
  codec_->bz = bz_stream{};
  int result = compress_ ? BZ2_bzCompressInit(&codec_->bz, std::max(level_, 1), 0, kWorkFactor)
                         : BZ2_bzDecompressInit(&codec_->bz, 0, 0);
  if (result != BZ_OK) {
    codec_.reset();
    throw MException(MString(failure), kErrorOpen);
  }
}

void MBZIP2Stream::EndCodec() noexcept {
  if (!codec_) return;
  if (compress_) {
    BZ2_bzCompressEnd(&codec_->bz);
  } else {
    BZ2_bzDecompressEnd(&codec_->bz);
  }
  codec_.reset();
}

void MBZIP2Stream::Compress(int action) {
  bz_stream& bz = codec_->bz;
  for (;;) {
    bz.next_out = writeBuffer_;
    bz.avail_out = kWriteBlockSize;
    int result = BZ2_bzCompress(&bz, action);
    bool done;
    if (action == BZ_RUN) {
      if (result != BZ_RUN_OK) ThrowNotCompressed();
      done = bz.avail_in == 0;
    } else {
      if (result != BZ_FINISH_OK && result != BZ_STREAM_END) ThrowNotCompressed();
      done = result == BZ_STREAM_END;
    }
    int64_t produced = kWriteBlockSize - bz.avail_out;
    if (produced > 0) {
      Filter(reinterpret_cast<unsigned char*>(writeBuffer_), produced);
      target_->Write(writeBuffer_, produced);
    }
    if (done) return;
  }
}

void MBZIP2Stream::Write(const void* data, int64_t size) {
  if (!active_ || !compress_) MStream::Write(data, size);
  if (size <= 0) return;
  const char* bytes = static_cast<const char*>(data);
  bz_stream& bz = codec_->bz;
  while (size > 0) {
    int64_t piece = std::min(size, kMaxPiece);
    bz.next_in = const_cast<char*>(bytes);
    bz.avail_in = static_cast<unsigned int>(piece);
    Compress(BZ_RUN);
    bytes += piece;
    size -= piece;
    position_ += piece;
  }
}

void MBZIP2Stream::FinishCodec() {
  codec_->bz.next_in = nullptr;
  codec_->bz.avail_in = 0;
  Compress(BZ_FINISH);
}

int64_t MBZIP2Stream::Read(void* data, int64_t size) {
  if (!active_ || compress_) return MStream::Read(data, size);
  if (finished_ || size <= 0) return 0;
  bz_stream& bz = codec_->bz;
  char* out = static_cast<char*>(data);
  int64_t delivered = 0;
  while (delivered < size && !finished_) {
    if (bz.avail_in == 0) {
      int64_t got = target_->Read(readBuffer_, kReadBlockSize);
      if (got <= 0) ThrowInvalidContent();  // the data stop before their end
      Filter(reinterpret_cast<unsigned char*>(readBuffer_), got);
      bz.next_in = readBuffer_;
      bz.avail_in = static_cast<unsigned int>(got);
    }
    int64_t piece = std::min(size - delivered, kMaxPiece);
    bz.next_out = out + delivered;
    bz.avail_out = static_cast<unsigned int>(piece);
    int result = BZ2_bzDecompress(&bz);
    delivered += piece - bz.avail_out;
    if (result == BZ_STREAM_END) {
      finished_ = true;
    } else if (result != BZ_OK) {
      ThrowInvalidContent();
    }
  }
  position_ += delivered;
  return delivered;
}

}  // namespace kx
