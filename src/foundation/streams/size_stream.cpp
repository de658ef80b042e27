#include "foundation/streams/size_stream.h"

#include <algorithm>

#include "foundation/core/exception.h"

namespace kx {

void MSizeStream::Init(MStream* source, int64_t start, int64_t size, bool seekable) {
  source_ = source;
  start_ = start;
  // Without a source the window is empty, so nothing ever reaches it.
  size_ = source ? std::max<int64_t>(size, 0) : 0;
  position_ = 0;
  seekable_ = seekable;
}

void MSizeStream::Write(const void* data, int64_t size) {
  if (size <= 0) return;
  int64_t fits = std::min(size, size_ - position_);
  if (fits > 0) {
    source_->Write(data, fits);
    position_ += fits;
  }
  if (fits < size) {
    throw MException(MString("The stream cannot be written, because its size is out of range."), kErrorIO);
  }
}

int64_t MSizeStream::Read(void* data, int64_t size) {
  int64_t want = std::min(size, size_ - position_);
  if (want <= 0) return 0;
  int64_t got = source_->Read(data, want);
  if (got > 0) position_ += got;
  return got;
}

int64_t MSizeStream::Seek(int64_t offset, MSeekOrigin origin) {
  CheckSeekOrigin(origin);
  int64_t base = origin == kSeekBegin ? 0 : origin == kSeekCurrent ? position_ : size_;
  // Clamp before adding, so that no offset can overflow.
  int64_t target = offset < -base ? 0 : offset > size_ - base ? size_ : base + offset;
  if (!seekable_) {
    // Only "stay where you are" can be honoured without moving the source.
    if (offset == position_ - base) return position_;
    throw MException(MString("Seeking operation is forbidden for the size-stream."), kErrorIO);
  }
  if (source_) source_->Seek(start_ + target, kSeekBegin);
  position_ = target;
  return position_;
}

void MSizeStream::Flush() {
  if (source_) source_->Flush();
}

}  // namespace kx
