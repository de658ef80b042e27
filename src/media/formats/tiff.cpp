// TIFF through libtiff on MStream procedures, first directory only.
//
// 8-bit contiguous grey, grey with alpha, RGB(A) and palette images are read
// strip by strip or tile by tile into the bitmap, with the alpha kept straight
// (associated alpha is divided out). Other photometric forms (CMYK, Lab, YCbCr
// without JPEG) go through the library's RGBA reader. The library's messages and
// warnings go to handlers of this open only, never to standard error; its
// single allocations are capped, and the strip and tile blocks are cleared by
// the system, so a lying strip or tile size costs no memory.
#include <tiffio.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <vector>

#include "foundation/core/exception.h"
#include "foundation/streams/stream.h"
#include "media/bitmap/bitmap.h"
#include "media/formats/image_formats.h"

namespace kx {
namespace {

[[noreturn]] void Fail(const char* message) { throw MException(MString(message), kErrorIO); }

MStream& StreamOf(thandle_t handle) { return *static_cast<MStream*>(handle); }

tmsize_t ReadProc(thandle_t handle, void* data, tmsize_t size) {
  try {
    return static_cast<tmsize_t>(StreamOf(handle).Read(data, size));
  } catch (...) {
    return -1;
  }
}

tmsize_t WriteProc(thandle_t, void*, tmsize_t) { return -1; }

toff_t SeekProc(thandle_t handle, toff_t offset, int origin) {
  try {
    // The library's whence values are the C library's, which our origins follow.
    auto from = static_cast<MSeekOrigin>(origin);
    return static_cast<toff_t>(StreamOf(handle).Seek(static_cast<int64_t>(offset), from));
  } catch (...) {
    return static_cast<toff_t>(-1);
  }
}

int CloseProc(thandle_t) { return 0; }

toff_t SizeProc(thandle_t handle) {
  try {
    return static_cast<toff_t>(StreamOf(handle).GetSize());
  } catch (...) {
    return 0;
  }
}

int MapProc(thandle_t, void**, toff_t*) { return 0; }
void UnmapProc(thandle_t, void*, toff_t) {}

int QuietHandler(TIFF*, void*, const char*, const char*, va_list) { return 1; }

class TiffFile {
 public:
  explicit TiffFile(MStream& stream) {
    TIFFOpenOptions* options = TIFFOpenOptionsAlloc();
    if (!options) Fail("Error opening TIFF file.");
    TIFFOpenOptionsSetErrorHandlerExtR(options, QuietHandler, nullptr);
    TIFFOpenOptionsSetWarningHandlerExtR(options, QuietHandler, nullptr);
    TIFFOpenOptionsSetMaxSingleMemAlloc(options, static_cast<tmsize_t>(MBitmap::kMaxPixels) * 4);
    // "m": no memory mapping, every byte comes through the stream.
    tiff_ = TIFFClientOpenExt("image", "rm", &stream, ReadProc, WriteProc, SeekProc, CloseProc, SizeProc,
                              MapProc, UnmapProc, options);
    TIFFOpenOptionsFree(options);
    if (!tiff_) Fail("Error opening TIFF file.");
  }
  ~TiffFile() { TIFFClose(tiff_); }
  TiffFile(const TiffFile&) = delete;
  TiffFile& operator=(const TiffFile&) = delete;
  TIFF* Get() const { return tiff_; }

 private:
  TIFF* tiff_ = nullptr;
};

struct Layout {
  uint32_t width;
  uint32_t height;
  uint16_t samples;
  uint16_t photometric;
  uint16_t orientation;
  bool associatedAlpha;
  // Palette mode: B, G, R of each index.
  std::vector<uint8_t> palette;
};

// One row of stored samples to B, G, R, A.
void ConvertRow(const Layout& layout, const uint8_t* samples, uint32_t count, uint8_t* target) {
  for (uint32_t x = 0; x < count; ++x, samples += layout.samples, target += 4) {
    uint8_t alpha = 255;
    switch (layout.photometric) {
      case PHOTOMETRIC_MINISBLACK:
      case PHOTOMETRIC_MINISWHITE: {
        uint8_t grey = layout.photometric == PHOTOMETRIC_MINISWHITE ? 255 - samples[0] : samples[0];
        target[0] = target[1] = target[2] = grey;
        if (layout.samples > 1) alpha = samples[1];
        break;
      }
      case PHOTOMETRIC_PALETTE: {
        size_t index = samples[0];
        if (index * 3 + 2 >= layout.palette.size()) Fail("Error loading TIFF image.");
        std::memcpy(target, &layout.palette[index * 3], 3);
        break;
      }
      default:  // RGB
        target[0] = samples[2];
        target[1] = samples[1];
        target[2] = samples[0];
        if (layout.samples > 3) alpha = samples[3];
        break;
    }
    if (layout.associatedAlpha && alpha != 0 && alpha != 255)
      for (int c = 0; c < 3; ++c) target[c] = static_cast<uint8_t>(std::min(255, (target[c] * 255 + alpha / 2) / alpha));
    target[3] = alpha;
  }
}

void ReadStrips(TIFF* tiff, const Layout& layout, MBitmap& bitmap) {
  uint32_t rowsPerStrip = layout.height;
  TIFFGetFieldDefaulted(tiff, TIFFTAG_ROWSPERSTRIP, &rowsPerStrip);
  rowsPerStrip = std::clamp<uint32_t>(rowsPerStrip, 1, layout.height);
  tmsize_t rowBytes = TIFFScanlineSize(tiff);
  if (rowBytes < static_cast<tmsize_t>(layout.width) * layout.samples) Fail("Error loading TIFF image.");
  MClearedBlock strip = AllocateCleared(static_cast<int64_t>(rowBytes) * rowsPerStrip);
  for (uint32_t y = 0; y < layout.height; y += rowsPerStrip) {
    uint32_t rows = std::min(rowsPerStrip, layout.height - y);
    tmsize_t wanted = rowBytes * rows;
    if (TIFFReadEncodedStrip(tiff, TIFFComputeStrip(tiff, y, 0), strip.get(), wanted) < wanted)
      Fail("Error loading TIFF image.");
    for (uint32_t r = 0; r < rows; ++r)
      ConvertRow(layout, strip.get() + r * rowBytes, layout.width, bitmap.Row(static_cast<int32_t>(y + r)));
  }
}

void ReadTiles(TIFF* tiff, const Layout& layout, MBitmap& bitmap) {
  uint32_t tileWidth = 0, tileHeight = 0;
  TIFFGetField(tiff, TIFFTAG_TILEWIDTH, &tileWidth);
  TIFFGetField(tiff, TIFFTAG_TILELENGTH, &tileHeight);
  tmsize_t tileBytes = TIFFTileSize(tiff);
  if (tileWidth == 0 || tileHeight == 0 || tileBytes <= 0 ||
      tileBytes < static_cast<tmsize_t>(tileWidth) * tileHeight * layout.samples)
    Fail("Error loading TIFF image.");
  MClearedBlock tile = AllocateCleared(tileBytes);
  tmsize_t rowBytes = static_cast<tmsize_t>(tileWidth) * layout.samples;
  for (uint32_t y = 0; y < layout.height; y += tileHeight) {
    for (uint32_t x = 0; x < layout.width; x += tileWidth) {
      if (TIFFReadTile(tiff, tile.get(), x, y, 0, 0) < 0) Fail("Error loading TIFF image.");
      uint32_t columns = std::min(tileWidth, layout.width - x);
      uint32_t rows = std::min(tileHeight, layout.height - y);
      for (uint32_t r = 0; r < rows; ++r)
        ConvertRow(layout, tile.get() + r * rowBytes, columns, bitmap.Row(static_cast<int32_t>(y + r)) + x * 4);
    }
  }
}

// The library's RGBA reader gives A, B, G, R in a 32-bit word (R lowest).
void ReadThroughRGBA(TIFF* tiff, const Layout& layout, MBitmap& bitmap) {
  uint32_t* raster = bitmap.Pixels();
  if (!TIFFReadRGBAImageOriented(tiff, layout.width, layout.height, raster, ORIENTATION_TOPLEFT, 1))
    Fail("Error loading TIFF image.");
  int64_t count = static_cast<int64_t>(layout.width) * layout.height;
  uint8_t* bytes = bitmap.Bytes();
  for (int64_t i = 0; i < count; ++i) std::swap(bytes[i * 4], bytes[i * 4 + 2]);
}

void ApplyOrientation(const Layout& layout, MBitmap& bitmap) {
  if (layout.orientation == ORIENTATION_TOPRIGHT || layout.orientation == ORIENTATION_BOTRIGHT)
    for (int32_t y = 0; y < bitmap.Height(); ++y) {
      uint32_t* row = reinterpret_cast<uint32_t*>(bitmap.Row(y));
      std::reverse(row, row + bitmap.Width());
    }
  if (layout.orientation == ORIENTATION_BOTLEFT || layout.orientation == ORIENTATION_BOTRIGHT)
    for (int32_t top = 0, bottom = bitmap.Height() - 1; top < bottom; ++top, --bottom)
      std::swap_ranges(bitmap.Row(top), bitmap.Row(top) + bitmap.Width() * 4, bitmap.Row(bottom));
}

}  // namespace

void LoadTIFF(MBitmap& bitmap, MStream& stream) {
  bitmap.Clear();
  TiffFile file(stream);
  TIFF* tiff = file.Get();
  Layout layout{};
  uint16_t bits = 1, planar = PLANARCONFIG_CONTIG;
  if (!TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &layout.width) || !TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &layout.height))
    Fail("Error loading TIFF image.");
  TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &bits);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &layout.samples);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_PLANARCONFIG, &planar);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_ORIENTATION, &layout.orientation);
  if (!TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &layout.photometric)) layout.photometric = PHOTOMETRIC_MINISWHITE;
  if (planar != PLANARCONFIG_CONTIG) Fail("Only planar TIFF files are supported.");
  if (bits != 8) Fail("The image does not have 8 bit-per-sample resolution.");
  if (layout.orientation < ORIENTATION_TOPLEFT || layout.orientation > ORIENTATION_BOTLEFT)
    Fail("Invalid image orientation.");
  if (layout.width == 0 || layout.height == 0 || layout.samples == 0) Fail("Error loading TIFF image.");
  MBitmap::CheckSize(layout.width, layout.height);

  uint16_t extraCount = 0;
  uint16_t* extra = nullptr;
  if (TIFFGetField(tiff, TIFFTAG_EXTRASAMPLES, &extraCount, &extra) && extraCount > 0)
    layout.associatedAlpha = extra[0] == EXTRASAMPLE_ASSOCALPHA;

  uint16_t compression = COMPRESSION_NONE;
  TIFFGetFieldDefaulted(tiff, TIFFTAG_COMPRESSION, &compression);
  if (layout.photometric == PHOTOMETRIC_YCBCR && compression == COMPRESSION_JPEG) {
    // The JPEG codec converts to RGB itself.
    TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
    layout.photometric = PHOTOMETRIC_RGB;
  }
  bool direct = false;
  switch (layout.photometric) {
    case PHOTOMETRIC_MINISBLACK:
    case PHOTOMETRIC_MINISWHITE:
      direct = layout.samples <= 2;
      break;
    case PHOTOMETRIC_RGB:
      direct = layout.samples >= 3 && layout.samples <= 4;
      break;
    case PHOTOMETRIC_PALETTE: {
      uint16_t *red = nullptr, *green = nullptr, *blue = nullptr;
      if (layout.samples != 1 || !TIFFGetField(tiff, TIFFTAG_COLORMAP, &red, &green, &blue))
        Fail("Error loading TIFF image.");
      layout.palette.resize(256 * 3);
      // 16-bit map entries, rounded to 8 bits.
      auto eight = [](uint16_t value) { return static_cast<uint8_t>((value * 255u + 32767u) / 65535u); };
      for (size_t i = 0; i < 256; ++i) {
        layout.palette[i * 3] = eight(blue[i]);
        layout.palette[i * 3 + 1] = eight(green[i]);
        layout.palette[i * 3 + 2] = eight(red[i]);
      }
      direct = true;
      break;
    }
    default:
      break;
  }

  bitmap.Create(static_cast<int32_t>(layout.width), static_cast<int32_t>(layout.height));
  if (!direct) {
    ReadThroughRGBA(tiff, layout, bitmap);
    return;
  }
  if (TIFFIsTiled(tiff))
    ReadTiles(tiff, layout, bitmap);
  else
    ReadStrips(tiff, layout, bitmap);
  ApplyOrientation(layout, bitmap);
}

}  // namespace kx
