// MAlphaMask: 8-bit coverage placed at (x, y); all text and the style's shaped
// parts are drawn through masks.
//
// MASK stream, little-endian: "MASK", width, height, x, y (32 bits each), then
// width * height coverage bytes, rows top to bottom. A stream written on a
// machine of the other byte order starts with "KSAM", and its four numbers are
// read byte-swapped. Any other magic, a short header, or a negative size throws
// "Alphamask stream content is invalid."; missing coverage bytes throw "Could not
// read the required data from stream."; a size beyond MBitmap::kMaxPixels throws
// the bitmap's size message. In a resource library the whole stream is one zlib
// stream, which GetResource already inflates.
#pragma once

#include <cstdint>
#include <memory>

#include "media/bitmap/cleared_block.h"

namespace kx {

class MStream;

enum class MMaskByteOrder { kLittleEndian, kBigEndian };

class MAlphaMask {
 public:
  static constexpr int64_t kHeaderSize = 20;

  MAlphaMask() = default;
  MAlphaMask(const MAlphaMask&) = delete;
  MAlphaMask& operator=(const MAlphaMask&) = delete;

  // A cleared mask of that size at (0, 0); 0 in either side gives an empty one.
  void Create(int32_t width, int32_t height);

  // Replaces this mask with the one in the stream.
  void Load(MStream& stream);
  // Writes the MASK stream; kBigEndian writes "KSAM" and swapped numbers, as a
  // machine of that order would.
  void Save(MStream& stream, MMaskByteOrder order = MMaskByteOrder::kLittleEndian) const;

  int32_t Width() const { return width_; }
  int32_t Height() const { return height_; }
  bool IsEmpty() const { return width_ == 0 || height_ == 0; }
  uint8_t* Coverage() { return coverage_.get(); }
  const uint8_t* Coverage() const { return coverage_.get(); }
  uint8_t* Row(int32_t y) { return coverage_.get() + static_cast<int64_t>(y) * width_; }
  const uint8_t* Row(int32_t y) const { return coverage_.get() + static_cast<int64_t>(y) * width_; }

  int32_t x = 0;
  int32_t y = 0;

 private:
  int32_t width_ = 0;
  int32_t height_ = 0;
  MClearedBlock coverage_;
};

}  // namespace kx
