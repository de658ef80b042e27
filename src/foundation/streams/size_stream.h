// MSizeStream: a window of `size` bytes of another stream, starting at `start`.
//
// The window begins where the source stands when it is made (the owner positions
// the source at `start`). Read hands out at most what is left of the window;
// Write writes what fits and then throws "The stream cannot be written, because its
// size is out of range." (code 256). So one class serves both uses: reading a
// piece cut out of a larger stream, and a writer that must not pass a limit.
//
// A seekable window clamps Seek to 0..size and seeks the source to start + position.
// Over a source that cannot seek (`seekable` false) a seek to the current position
// is accepted quietly and any other throws "Seeking operation is forbidden for the
// size-stream." (code 256). IsEnd is position == size; Flush passes to the source.
#pragma once

#include <cstdint>

#include "foundation/streams/stream.h"

namespace kx {

class MSizeStream : public MStream {
 public:
  MSizeStream() = default;
  MSizeStream(MStream* source, int64_t start, int64_t size, bool seekable = true) {
    Init(source, start, size, seekable);
  }

  // `source` is not owned and must outlive the window.
  void Init(MStream* source, int64_t start, int64_t size, bool seekable = true);

  MStream* GetSubstream() override { return source_; }
  void Write(const void* data, int64_t size) override;
  int64_t Read(void* data, int64_t size) override;
  int64_t Seek(int64_t offset, MSeekOrigin origin) override;
  int64_t GetPosition() override { return position_; }
  void Flush() override;
  bool IsEnd() override { return position_ == size_; }
  int64_t GetSize() override { return size_; }

 private:
  MStream* source_ = nullptr;
  int64_t start_ = 0;
  int64_t size_ = 0;
  int64_t position_ = 0;
  bool seekable_ = true;
};

}  // namespace kx
