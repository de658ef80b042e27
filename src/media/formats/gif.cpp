// GIF through giflib, record by record, so that only the first image of the
// file is decoded and held (a file of many frames costs no more than one).
// giflib answers failures by return codes; the input callback catches stream
// failures and reports them as a short read.
#include <gif_lib.h>

#include <algorithm>
#include <vector>

#include "foundation/core/exception.h"
#include "foundation/streams/stream.h"
#include "media/bitmap/bitmap.h"
#include "media/formats/image_formats.h"

namespace kx {
namespace {

int ReadInput(GifFileType* gif, GifByteType* data, int size) {
  MStream* stream = static_cast<MStream*>(gif->UserData);
  try {
    return static_cast<int>(stream->Read(data, size));
  } catch (...) {
    return 0;
  }
}

[[noreturn]] void Fail(const char* message) { throw MException(MString(message), kErrorIO); }

class GifFile {
 public:
  explicit GifFile(MStream& stream) {
    int error = 0;
    gif_ = DGifOpen(&stream, ReadInput, &error);
    if (!gif_) Fail("Error initiating GIF input.");
  }
  ~GifFile() {
    int error = 0;
    DGifCloseFile(gif_, &error);
  }
  GifFile(const GifFile&) = delete;
  GifFile& operator=(const GifFile&) = delete;
  GifFileType* operator->() const { return gif_; }
  GifFileType* Get() const { return gif_; }

 private:
  GifFileType* gif_ = nullptr;
};

// The transparent index of a graphic control block, or -1.
int TransparentIndex(GifFileType* gif, int code, GifByteType* block) {
  int transparent = -1;
  if (code == GRAPHICS_EXT_FUNC_CODE && block) {
    GraphicsControlBlock control;
    if (DGifExtensionToGCB(block[0], block + 1, &control) == GIF_OK) transparent = control.TransparentColor;
  }
  // The rest of the extension is not needed, but must be read past.
  while (block) {
    if (DGifGetExtensionNext(gif, &block) != GIF_OK) Fail("Error loading GIF image.");
  }
  return transparent;
}

void ReadImage(MBitmap& bitmap, GifFileType* gif, int transparent) {
  if (DGifGetImageDesc(gif) != GIF_OK) Fail("Error loading GIF image.");
  const GifImageDesc& image = gif->Image;
  if (image.Width <= 0 || image.Height <= 0) Fail("Error loading GIF image.");
  MBitmap::CheckSize(image.Width, image.Height);
  const ColorMapObject* map = image.ColorMap ? image.ColorMap : gif->SColorMap;
  if (!map || !map->Colors || map->ColorCount <= 0) Fail("Could not retrieve image palette.");

  // B, G, R, A of every index; indices beyond the map are refused.
  uint8_t palette[256][4];
  for (int i = 0; i < map->ColorCount && i < 256; ++i) {
    palette[i][0] = map->Colors[i].Blue;
    palette[i][1] = map->Colors[i].Green;
    palette[i][2] = map->Colors[i].Red;
    palette[i][3] = i == transparent ? 0 : 255;
  }
  bitmap.Create(image.Width, image.Height);
  std::vector<GifPixelType> line(static_cast<size_t>(image.Width));
  // Interlaced rows come in four passes: every 8th from 0, every 8th from 4,
  // every 4th from 2, every 2nd from 1.
  static const int kStart[4] = {0, 4, 2, 1};
  static const int kStep[4] = {8, 8, 4, 2};
  int passes = image.Interlace ? 4 : 1;
  for (int pass = 0; pass < passes; ++pass) {
    int step = image.Interlace ? kStep[pass] : 1;
    for (int y = image.Interlace ? kStart[pass] : 0; y < image.Height; y += step) {
      if (DGifGetLine(gif, line.data(), image.Width) != GIF_OK) Fail("Error loading GIF image data.");
      uint8_t* row = bitmap.Row(y);
      for (int x = 0; x < image.Width; ++x) {
        int index = line[static_cast<size_t>(x)];
        if (index >= map->ColorCount) Fail("Error loading GIF image data.");
        std::copy(palette[index], palette[index] + 4, row + x * 4);
      }
    }
  }
}

}  // namespace

void LoadGIF(MBitmap& bitmap, MStream& stream) {
  bitmap.Clear();
  GifFile gif(stream);
  int transparent = -1;
  for (;;) {
    GifRecordType record;
    if (DGifGetRecordType(gif.Get(), &record) != GIF_OK) Fail("Error loading GIF image.");
    if (record == IMAGE_DESC_RECORD_TYPE) {
      ReadImage(bitmap, gif.Get(), transparent);
      return;
    }
    if (record == EXTENSION_RECORD_TYPE) {
      int code = 0;
      GifByteType* block = nullptr;
      if (DGifGetExtension(gif.Get(), &code, &block) != GIF_OK) Fail("Error loading GIF image.");
      int index = TransparentIndex(gif.Get(), code, block);
      if (code == GRAPHICS_EXT_FUNC_CODE) transparent = index;
    } else if (record == TERMINATE_RECORD_TYPE) {
      Fail("No images found in the GIF file.");
    }
  }
}

}  // namespace kx
