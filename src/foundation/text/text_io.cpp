#include "foundation/text/text_io.h"

#include <cstdlib>
#include <cstring>
#include <new>

#include "foundation/streams/stream.h"

namespace kx {
namespace {

uint8_t* AllocateBuffer(int32_t size) {
  auto* buffer = static_cast<uint8_t*>(std::malloc(static_cast<size_t>(size)));
  if (!buffer) throw std::bad_alloc();
  return buffer;
}

}  // namespace

// ---------------------------------------------------------------- MTextReader

MTextReader::MTextReader(MStream& stream, MCodec& codec, int32_t bufferSize)
    : stream_(&stream), codec_(&codec), size_(bufferSize < 1 ? 1 : bufferSize) {
  buffer_ = AllocateBuffer(size_);
}

MTextReader::~MTextReader() {
  std::free(buffer_);
}

int32_t MTextReader::Refill(int32_t count) {
  if (count > size_) count = size_;
  int32_t available = end_ - position_;
  if (position_ > 0) {
    std::memmove(buffer_, buffer_ + position_, static_cast<size_t>(available));
    position_ = 0;
    end_ = available;
  }
  // Only until the codec's need is met: a stream such as a socket answers with
  // what it has, and waiting for a full buffer could wait for bytes that never come.
  while (end_ < count) {
    int64_t got = stream_->Read(buffer_ + end_, size_ - end_);
    if (got <= 0) break;
    end_ += static_cast<int32_t>(got);
  }
  return end_;
}

// ---------------------------------------------------------------- MTextWriter

MTextWriter::MTextWriter(MStream& stream, MCodec& codec, int32_t bufferSize)
    : stream_(&stream), codec_(&codec), size_(bufferSize < 16 ? 16 : bufferSize) {
  buffer_ = AllocateBuffer(size_);
}

MTextWriter::~MTextWriter() {
  // Best effort: a failure here has no one to tell; callers that care call Flush.
  try {
    Flush();
  } catch (...) {
  }
  std::free(buffer_);
}

void MTextWriter::Flush() {
  if (used_ == 0) return;
  int32_t used = used_;
  used_ = 0;  // a failing stream keeps what it took; the rest is not offered twice
  stream_->Write(buffer_, used);
}

void MTextWriter::MakeSpace(int32_t count) {
  Flush();
  if (count > size_) {
    uint8_t* larger = AllocateBuffer(count);
    std::free(buffer_);
    buffer_ = larger;
    size_ = count;
  }
}

}  // namespace kx
