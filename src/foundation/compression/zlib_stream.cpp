#include "foundation/compression/zlib_stream.h"

#include <zlib.h>

#include <algorithm>

#include "foundation/core/exception.h"

namespace kx {

// The zlib state, kept out of the header so that includers do not see zlib.h.
struct MZLIBStream::Codec {
  z_stream z{};
};

namespace {
// zlib counts in unsigned int: larger blocks go through in pieces of this size.
constexpr int64_t kMaxPiece = 1 << 30;
}  // namespace

MZLIBStream::MZLIBStream() = default;

MZLIBStream::~MZLIBStream() noexcept(false) { EndOnDestroy("ZLIB stream has not been terminated."); }

void MZLIBStream::StartCodec() {
  const char* failure = compress_ ? "Could not initialize deflating." : "Could not initialize inflating.";
  if (!target_) throw MException(MString(failure), kErrorOpen);
  if (!codec_) codec_ = std::make_unique<Codec>();
  codec_->z = z_stream{};
  int result = compress_ ? deflateInit(&codec_->z, level_) : inflateInit(&codec_->z);
  if (result != Z_OK) {
    codec_.reset();
    throw MException(MString(failure), kErrorOpen);
  }
}

void MZLIBStream::EndCodec() noexcept {
  if (!codec_) return;
  if (compress_) {
    deflateEnd(&codec_->z);
  } else {
    inflateEnd(&codec_->z);
  }
  codec_.reset();
}

void MZLIBStream::Deflate(int flush) {
  z_stream& z = codec_->z;
  // Run until zlib leaves room in the block: then it has taken all input and, for
  // Z_FINISH, reported the end.
  for (;;) {
    z.next_out = buffer_;
    z.avail_out = kBlockSize;
    int result = deflate(&z, flush);
    if (result == Z_STREAM_ERROR) throw MException(MString("Data could not be compressed."), kErrorIO);
    int64_t produced = kBlockSize - z.avail_out;
    if (produced > 0) {
      Filter(buffer_, produced);
      target_->Write(buffer_, produced);
    }
    if (flush == Z_FINISH ? result == Z_STREAM_END : z.avail_out != 0) return;
  }
}

void MZLIBStream::Write(const void* data, int64_t size) {
  if (!active_ || !compress_) MStream::Write(data, size);
  if (size <= 0) return;
  const auto* bytes = static_cast<const unsigned char*>(data);
  z_stream& z = codec_->z;
  while (size > 0) {
    int64_t piece = std::min(size, kMaxPiece);
    z.next_in = const_cast<Bytef*>(bytes);
    z.avail_in = static_cast<uInt>(piece);
    Deflate(Z_NO_FLUSH);
    bytes += piece;
    size -= piece;
    position_ += piece;
  }
}

void MZLIBStream::FinishCodec() {
  codec_->z.next_in = nullptr;
  codec_->z.avail_in = 0;
  Deflate(Z_FINISH);
}

int64_t MZLIBStream::Read(void* data, int64_t size) {
  if (!active_ || compress_) return MStream::Read(data, size);
  if (finished_ || size <= 0) return 0;
  z_stream& z = codec_->z;
  auto* out = static_cast<unsigned char*>(data);
  int64_t delivered = 0;
  while (delivered < size && !finished_) {
    if (z.avail_in == 0) {
      int64_t got = target_->Read(buffer_, kBlockSize);
      // The compressed data stop before their end: never hand out a short result.
      if (got <= 0) ThrowInvalidContent();
      Filter(buffer_, got);
      z.next_in = buffer_;
      z.avail_in = static_cast<uInt>(got);
    }
    int64_t piece = std::min(size - delivered, kMaxPiece);
    z.next_out = out + delivered;
    z.avail_out = static_cast<uInt>(piece);
    uInt inBefore = z.avail_in;
    int result = inflate(&z, Z_SYNC_FLUSH);
    delivered += piece - z.avail_out;
    if (result == Z_STREAM_END) {
      finished_ = true;
    } else if (result == Z_BUF_ERROR) {
      // No progress although input and room were there: nothing more can come.
      if (z.avail_in != 0 && z.avail_in == inBefore) ThrowInvalidContent();
    } else if (result != Z_OK) {
      ThrowInvalidContent();  // Z_NEED_DICT, Z_DATA_ERROR, Z_MEM_ERROR, Z_STREAM_ERROR
    }
  }
  position_ += delivered;
  return delivered;
}

}  // namespace kx
