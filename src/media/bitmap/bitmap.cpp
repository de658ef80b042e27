#include "media/bitmap/bitmap.h"

#include <cstring>

#include "foundation/core/exception.h"
#include "foundation/text/format.h"

namespace kx {

MClearedBlock AllocateCleared(int64_t bytes) {
  void* block = std::calloc(static_cast<size_t>(bytes), 1);
  if (!block)
    throw MException(MFormat(MString("Not enough memory for an image of {0} bytes.")).Add(bytes), kErrorIO);
  return MClearedBlock(static_cast<uint8_t*>(block));
}

void MBitmap::CheckSize(int64_t width, int64_t height) {
  if (width < 0 || height < 0)
    throw MException(MFormat(MString("Invalid image size {0} x {1}.")).Add(width).Add(height), kErrorIO);
  // Each side alone is checked first, so that the product cannot overflow.
  if (width > kMaxPixels || height > kMaxPixels || width * height > kMaxPixels)
    throw MException(MFormat(MString("Image of {0} x {1} pixels is too large.")).Add(width).Add(height),
                     kErrorIO);
}

void MBitmap::Allocate(int32_t newWidth, int32_t newHeight, int64_t bytes, bool palette) {
  CheckSize(newWidth, newHeight);
  Clear();
  if (newWidth == 0 || newHeight == 0) return;
  pixels_ = AllocateCleared(bytes);
  width_ = newWidth;
  height_ = newHeight;
  paletteMode_ = palette;
}

void MBitmap::Create(int32_t width, int32_t height) {
  Allocate(width, height, static_cast<int64_t>(width) * height * 4, false);
}

void MBitmap::CreatePalette(int32_t width, int32_t height) {
  Allocate(width, height, static_cast<int64_t>(width) * height + kPaletteDataSize, true);
}

void MBitmap::Clear() {
  pixels_.reset();
  alphaMask_.reset();
  width_ = height_ = 0;
  paletteMode_ = false;
}

int64_t MBitmap::ByteSize() const {
  if (IsEmpty()) return 0;
  int64_t count = static_cast<int64_t>(width_) * height_;
  return paletteMode_ ? count + kPaletteDataSize : count * 4;
}

void MBitmap::ConvertToTrueColour() {
  if (!paletteMode_ || IsEmpty()) return;
  MBitmap colour(width_, height_);
  const uint8_t* indices = pixels_.get();
  const uint8_t* entries = PaletteEntries();
  uint8_t* target = colour.Bytes();
  int64_t count = static_cast<int64_t>(width_) * height_;
  for (int64_t i = 0; i < count; ++i) std::memcpy(target + i * 4, entries + indices[i] * 4, 4);
  colour.alphaMask_ = std::move(alphaMask_);
  *this = std::move(colour);
}

void MBitmap::CopyFrom(const MBitmap& other) {
  if (other.paletteMode_)
    CreatePalette(other.width_, other.height_);
  else
    Create(other.width_, other.height_);
  if (!IsEmpty()) std::memcpy(pixels_.get(), other.pixels_.get(), static_cast<size_t>(ByteSize()));
}

const MBitmap& TrueColour(const MBitmap& source, MBitmap& scratch) {
  if (!source.IsPaletteMode()) return source;
  scratch.CopyFrom(source);
  scratch.ConvertToTrueColour();
  return scratch;
}

bool MBitmap::HasTransparency() const {
  if (IsEmpty()) return false;
  int64_t count = static_cast<int64_t>(width_) * height_;
  if (paletteMode_) {
    const uint8_t* entries = PaletteEntries();
    for (int64_t i = 0; i < count; ++i)
      if (entries[pixels_[i] * 4 + 3] != 255) return true;
    return false;
  }
  for (int64_t i = 0; i < count; ++i)
    if (pixels_[i * 4 + 3] != 255) return true;
  return false;
}

}  // namespace kx
