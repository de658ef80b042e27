#include "foundation/streams/memory_stream.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#include "foundation/core/exception.h"

namespace kx {
namespace {

void CheckReadSize(int64_t size) {
  if (size < 0) throw MException(MString("Trying to read a block of negative size."));
}

int64_t ReadFromBlock(const char* block, int64_t blockSize, int64_t& position, void* data,
                      int64_t size) {
  CheckReadSize(size);
  int64_t count = std::min(size, blockSize - position);
  if (count <= 0) return 0;
  std::memcpy(data, block + position, static_cast<size_t>(count));
  position += count;
  return count;
}

// The quick form of ReadLine shared by both memory streams: same results as the
// byte-wise base form, but scanning the block in place.
int ReadLineFromBlock(const char* block, int64_t blockSize, int64_t& position, char* buffer,
                      int64_t size) {
  if (size < 0) throw MException(MString("Trying to read a string of negative size."));
  if (size < 2) {
    if (size == 1) buffer[0] = 0;
    return kLineFull;
  }
  if (position >= blockSize) {
    buffer[0] = 0;
    return kLineEnd;
  }
  int64_t stored = 0;
  while (stored < size - 1) {
    if (position >= blockSize) break;
    char byte = block[position++];
    if (byte == '\r') continue;
    if (byte == '\n' || byte == 0) {
      buffer[stored] = 0;
      return kLineRead;
    }
    buffer[stored++] = byte;
  }
  buffer[stored] = 0;
  return stored == size - 1 ? kLineFull : kLineRead;
}

int64_t SeekInBlock(int64_t blockSize, int64_t& position, int64_t offset, MSeekOrigin origin) {
  int64_t base = origin == kSeekBegin ? 0 : origin == kSeekCurrent ? position : blockSize;
  // Clamp before adding, so that huge offsets cannot overflow.
  int64_t target;
  if (offset < -base) {
    target = 0;
  } else if (offset > blockSize - base) {
    target = blockSize;
  } else {
    target = base + offset;
  }
  position = target;
  return position;
}

}  // namespace

// --- MMemoryStream

MMemoryStream::~MMemoryStream() {
  if (!external_) std::free(data_);
}

void MMemoryStream::AttachExternal(void* data, int64_t size) {
  Clear();
  data_ = static_cast<char*>(data);
  capacity_ = size_ = size;
  external_ = true;
}

void MMemoryStream::Clear() {
  if (!external_) std::free(data_);
  data_ = nullptr;
  capacity_ = size_ = position_ = 0;
  external_ = false;
}

void MMemoryStream::Grow(int64_t need) {
  int64_t capacity = std::max(capacity_ > kStreamAll / 2 ? kStreamAll : 2 * capacity_, need);
  if (static_cast<uint64_t>(capacity) > SIZE_MAX) throw std::bad_alloc();
  char* block;
  if (external_) {
    // The block is someone else's: take the content into one of our own.
    block = static_cast<char*>(std::malloc(static_cast<size_t>(capacity)));
    if (block && size_ > 0) std::memcpy(block, data_, static_cast<size_t>(size_));
  } else {
    block = static_cast<char*>(std::realloc(data_, static_cast<size_t>(capacity)));
  }
  if (!block) throw std::bad_alloc();
  data_ = block;
  capacity_ = capacity;
  external_ = false;
}

void MMemoryStream::Reserve(int64_t capacity) {
  if (capacity > capacity_) Grow(capacity);
}

void MMemoryStream::SetSize(int64_t size) {
  if (size < 0) size = 0;
  if (size > capacity_) Grow(size);
  if (size > size_) std::memset(data_ + size_, 0, static_cast<size_t>(size - size_));
  size_ = size;
  position_ = std::min(position_, size_);
}

void MMemoryStream::Write(const void* data, int64_t size) {
  if (size < 0) throw MException(MString("Trying to write a block of negative size."));
  if (size == 0) return;
  if (size > kStreamAll - position_) throw std::bad_alloc();
  int64_t end = position_ + size;
  if (end > capacity_) Grow(end);
  std::memmove(data_ + position_, data, static_cast<size_t>(size));
  position_ = end;
  if (position_ > size_) size_ = position_;
}

int64_t MMemoryStream::Read(void* data, int64_t size) {
  return ReadFromBlock(data_, size_, position_, data, size);
}

int MMemoryStream::ReadLine(char* buffer, int64_t size) {
  return ReadLineFromBlock(data_, size_, position_, buffer, size);
}

int64_t MMemoryStream::Seek(int64_t offset, MSeekOrigin origin) {
  CheckSeekOrigin(origin);
  return SeekInBlock(size_, position_, offset, origin);
}

// --- MConstMemoryStream

void MConstMemoryStream::Attach(const void* data, int64_t size) {
  data_ = static_cast<const char*>(data);
  size_ = size;
  position_ = 0;
}

int64_t MConstMemoryStream::Read(void* data, int64_t size) {
  return ReadFromBlock(data_, size_, position_, data, size);
}

int MConstMemoryStream::ReadLine(char* buffer, int64_t size) {
  return ReadLineFromBlock(data_, size_, position_, buffer, size);
}

int64_t MConstMemoryStream::Seek(int64_t offset, MSeekOrigin origin) {
  CheckSeekOrigin(origin);
  return SeekInBlock(size_, position_, offset, origin);
}

}  // namespace kx
