// Internal to the codecs. MLineBuilder gathers the units of a line 64 at a time
// before they are appended to the string, so that a long line grows its string in
// a few steps instead of one unit at a time. A line string that holds a buffer of
// its own keeps it for the next line: readers call ReadLine on the same string
// line after line, and most lines of a data file are too long to lie inline. ReserveUnitPerByte readies the
// decoders that make at most one unit of each byte.
#pragma once

#include <cstdint>
#include <string_view>

#include "foundation/text/text_string.h"

namespace kx {

class MLineBuilder {
 public:
  explicit MLineBuilder(MString& line) : line_(line) {
    if (line_.Kind() == kShared && line_.References() == 1)
      line_.SetLength(0);
    else
      line_.Clear();
  }
  MLineBuilder(const MLineBuilder&) = delete;
  MLineBuilder& operator=(const MLineBuilder&) = delete;

  void Put(MChar unit) {
    if (count_ == kBlock) Flush();
    block_[count_++] = unit;
  }
  // Bytes below 0x80, one unit each.
  void PutASCII(const uint8_t* bytes, int32_t count) {
    if (count_ + count > kBlock) {
      Flush();
      if (count > kBlock) {
        line_.Append(reinterpret_cast<const char*>(bytes), count);
        return;
      }
    }
    for (int32_t i = 0; i < count; ++i) block_[count_ + i] = bytes[i];
    count_ += count;
  }
  void Flush() {
    if (count_ > 0) line_.Append(block_, count_);
    count_ = 0;
  }

 private:
  static constexpr int32_t kBlock = 64;
  MString& line_;
  MChar block_[kBlock];
  int32_t count_ = 0;
};

// Empties `result` and gives room for one unit per byte, or null for no bytes.
// More bytes than a string holds throw the string's own message.
inline MChar* ReserveUnitPerByte(std::string_view bytes, MString& result) {
  result.Clear();
  if (bytes.size() > static_cast<size_t>(MStringBuffer::kMaxUnits))
    result.Reserve(MStringBuffer::kMaxUnits + 1);  // throws
  return bytes.empty() ? nullptr : result.Reserve(static_cast<int32_t>(bytes.size()));
}

}  // namespace kx
