// MMemoryStream: a growable block of bytes with a position. MConstMemoryStream: its
// read-only twin over a block that stays where it is (data compiled into the program,
// a resource library's block).
//
// Write at the position grows the block (capacity doubles, or to the need if more)
// and moves size along; Read copies what remains; Seek clamps the target to
// 0..size and returns it; ReadLine scans the block directly and leaves the position
// one past the line feed. A negative size throws "Trying to write a block of
// negative size.", "Trying to read a block of negative size." or "Trying to read a
// string of negative size.".
//
// An external stream refers to a block it does not own: writes land in that block
// while they fit, and a write that needs more room first moves the content into a
// block of the stream's own.
#pragma once

#include <cstdint>
#include <string_view>

#include "foundation/streams/stream.h"

namespace kx {

class MMemoryStream : public MStream {
 public:
  MMemoryStream() = default;
  ~MMemoryStream() override;

  // Refers to `size` writable bytes at `data` (content and capacity); position 0.
  void AttachExternal(void* data, int64_t size);
  // Makes room for at least `capacity` bytes without changing size or position.
  void Reserve(int64_t capacity);
  // Sets the size; new bytes are zero. The position is clamped to the new size.
  void SetSize(int64_t size);
  // Frees an owned block and empties the stream.
  void Clear();

  char* Data() { return data_; }
  const char* Data() const { return data_; }
  int64_t Size() const { return size_; }
  int64_t Capacity() const { return capacity_; }
  bool IsExternal() const { return external_; }
  std::string_view View() const { return {data_ ? data_ : "", static_cast<size_t>(size_)}; }

  void Write(const void* data, int64_t size) override;
  int64_t Read(void* data, int64_t size) override;
  int ReadLine(char* buffer, int64_t size) override;
  int64_t Seek(int64_t offset, MSeekOrigin origin) override;
  int64_t GetPosition() override { return position_; }
  void Flush() override {}
  bool IsEnd() override { return position_ >= size_; }
  void Truncate() override { size_ = position_; }
  int64_t GetSize() override { return size_; }

 private:
  void Grow(int64_t need);

  char* data_ = nullptr;
  int64_t capacity_ = 0;
  bool external_ = false;
  int64_t size_ = 0;
  int64_t position_ = 0;
};

class MConstMemoryStream : public MStream {
 public:
  MConstMemoryStream() = default;
  MConstMemoryStream(const void* data, int64_t size) { Attach(data, size); }

  // Refers to the block, which must outlive the stream; position 0.
  void Attach(const void* data, int64_t size);

  const char* Data() const { return data_; }
  int64_t Size() const { return size_; }

  int64_t Read(void* data, int64_t size) override;
  int ReadLine(char* buffer, int64_t size) override;
  int64_t Seek(int64_t offset, MSeekOrigin origin) override;
  int64_t GetPosition() override { return position_; }
  bool IsEnd() override { return position_ >= size_; }
  int64_t GetSize() override { return size_; }

 private:
  const char* data_ = nullptr;
  int64_t size_ = 0;
  int64_t position_ = 0;
};

}  // namespace kx
