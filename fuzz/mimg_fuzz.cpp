// The MIMG loader on any bytes (its JPEG parts reach libjpeg): a clear refusal
// or a bitmap of the header's size, never a crash. What loads is written again
// and must load to the same pixels (type 0 is lossless).
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "foundation/core/exception.h"
#include "foundation/streams/memory_stream.h"
#include "media/bitmap/bitmap.h"
#include "media/formats/image_formats.h"
#include "media/formats/mimg.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  kx::MConstMemoryStream input(data, static_cast<int64_t>(size));
  kx::MBitmap bitmap;
  try {
    kx::LoadMIMG(bitmap, input);
  } catch (const kx::MException&) {
    return 0;
  }
  kx::MMemoryStream again;
  bitmap.SaveMIMG(again, kx::MMIMGType::kRaw, 10);
  again.Seek(0, kx::kSeekBegin);
  kx::MBitmap reloaded;
  kx::LoadMIMG(reloaded, again);
  if (reloaded.ByteSize() != bitmap.ByteSize() || reloaded.IsPaletteMode() != bitmap.IsPaletteMode() ||
      (bitmap.ByteSize() && std::memcmp(reloaded.Bytes(), bitmap.Bytes(), static_cast<size_t>(bitmap.ByteSize()))))
    std::abort();
  return 0;
}
