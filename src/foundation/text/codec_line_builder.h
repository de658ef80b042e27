// Internal to the codecs: gathers the units of a line 64 at a time before they
// are appended to the string, so that a long line grows its string in a few
// steps instead of one unit at a time.
#pragma once

#include <cstdint>

#include "foundation/text/text_string.h"

namespace kx {

class MLineBuilder {
 public:
  explicit MLineBuilder(MString& line) : line_(line) { line_.Clear(); }
  MLineBuilder(const MLineBuilder&) = delete;
  MLineBuilder& operator=(const MLineBuilder&) = delete;

  void Put(MChar unit) {
    if (count_ == kBlock) Flush();
    block_[count_++] = unit;
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

}  // namespace kx
