// MBitmap: the system's in-memory image, the surface the software drawer paints.
//
// A true-colour bitmap holds width * height pixels of 4 bytes in the order blue,
// green, red, alpha, rows top to bottom without padding (the stride is the
// width). Alpha is straight, not multiplied into the colours. An empty bitmap
// has width 0 and null pixels.
//
// A palette bitmap (palette mode) holds width * height 8-bit indices followed by
// the 1032 bytes of its palette data: a 32-bit count of the colours in use, 32
// reserved bits, and 256 entries of B, G, R, A.
//
// Every bitmap is bounded by kMaxPixels, so that a lying header in a file asks
// for at most that much memory: a larger request throws "Image of {0} x {1}
// pixels is too large." and a negative side "Invalid image size {0} x {1}.".
// The block is allocated cleared by the system, so pages that a loader never
// reaches (a truncated file) are never touched.
//
// Load and the other loading and saving members are defined in
// formats/image_load.cpp: the loader is chosen by the extension (image_load.h),
// and a failure names what was loaded with the loader's own message behind it.
#pragma once

#include <cstdint>
#include <memory>
#include <utility>

#include "foundation/text/text_string.h"
#include "media/bitmap/alpha_mask.h"
#include "media/bitmap/cleared_block.h"

namespace kx {

class MStream;
class MResourceLibrary;
enum class MMIMGType : int32_t;

class MBitmap {
 public:
  // 2^28 pixels: a 16384 x 16384 image, 1 GiB of true colour.
  static constexpr int64_t kMaxPixels = int64_t{1} << 28;
  static constexpr int64_t kPaletteDataSize = 1032;
  static constexpr int32_t kPaletteEntries = 256;

  MBitmap() = default;
  MBitmap(int32_t width, int32_t height) { Create(width, height); }
  MBitmap(const MBitmap&) = delete;
  MBitmap& operator=(const MBitmap&) = delete;
  MBitmap(MBitmap&& other) noexcept = default;
  MBitmap& operator=(MBitmap&& other) noexcept = default;

  // Allocates a cleared true-colour bitmap (all bytes 0); 0 x n or n x 0 gives
  // an empty bitmap. The mask goes.
  void Create(int32_t width, int32_t height);
  // Allocates a cleared palette bitmap: indices and palette data.
  void CreatePalette(int32_t width, int32_t height);
  // Back to empty.
  void Clear();
  // Throws the size messages above for a request beyond the limits.
  static void CheckSize(int64_t width, int64_t height);

  bool IsEmpty() const { return width_ == 0 || !pixels_; }
  bool IsPaletteMode() const { return paletteMode_; }
  int32_t Width() const { return width_; }
  int32_t Height() const { return height_; }
  int32_t Stride() const { return width_; }  // in pixels
  // Bytes of the pixel block: width * height * 4, or indices plus palette data.
  int64_t ByteSize() const;

  uint8_t* Bytes() { return pixels_.get(); }
  const uint8_t* Bytes() const { return pixels_.get(); }
  uint32_t* Pixels() { return reinterpret_cast<uint32_t*>(pixels_.get()); }
  const uint32_t* Pixels() const { return reinterpret_cast<const uint32_t*>(pixels_.get()); }
  uint8_t* Row(int32_t y) { return pixels_.get() + static_cast<int64_t>(y) * width_ * 4; }
  const uint8_t* Row(int32_t y) const { return pixels_.get() + static_cast<int64_t>(y) * width_ * 4; }

  // Palette mode: the colour count, then the 256 entries (B, G, R, A each),
  // behind the indices.
  uint8_t* PaletteData() { return pixels_.get() + static_cast<int64_t>(width_) * height_; }
  const uint8_t* PaletteData() const { return pixels_.get() + static_cast<int64_t>(width_) * height_; }
  uint8_t* PaletteEntries() { return PaletteData() + 8; }
  const uint8_t* PaletteEntries() const { return PaletteData() + 8; }
  // A palette bitmap becomes a true-colour one; a true-colour one stays.
  void ConvertToTrueColour();
  // This bitmap becomes a copy of `other`'s pixels (the mask is not copied).
  void CopyFrom(const MBitmap& other);

  // True when some pixel is not fully opaque (true colour) or some palette entry
  // in use is not (palette mode).
  bool HasTransparency() const;

  // --- loading and saving (formats/image_load.cpp)
  // The file at `path`: "Could not load image \"{0}\"." and the loader's message.
  void Load(const MString& path);
  // A resource of the library, by the extension of its id (none: TGA): "Error
  // loading image {0}." and the loader's message.
  void LoadFromResource(MResourceLibrary& library, const MString& id);
  // The stream at its position, by the extension of `name`: "Error loading
  // image from a data storage." and the loader's message.
  void LoadFromStorage(MStream& stream, const MString& name);
  // A block of memory that the caller keeps, read as a copy: "Error loading
  // image from a copy." and the loader's message.
  void LoadFromCopy(const void* data, int64_t size, const MString& name);
  void SavePNG(MStream& stream) const;
  void SaveMIMG(MStream& stream, MMIMGType type, int quality) const;
  void SaveTGA(MStream& stream) const;

  // The mask placed over this bitmap, or null; the bitmap owns it.
  MAlphaMask* GetAlphaMask() const { return alphaMask_.get(); }
  void SetAlphaMask(std::unique_ptr<MAlphaMask> mask) { alphaMask_ = std::move(mask); }

 private:
  void Allocate(int32_t newWidth, int32_t newHeight, int64_t bytes, bool palette);

  int32_t width_ = 0;
  int32_t height_ = 0;
  MClearedBlock pixels_;
  bool paletteMode_ = false;
  std::unique_ptr<MAlphaMask> alphaMask_;
};

// `source` itself when it is true colour, else its true-colour copy in `scratch`.
const MBitmap& TrueColour(const MBitmap& source, MBitmap& scratch);

}  // namespace kx
