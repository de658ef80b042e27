// The TGA reader (the loader of every unknown extension) on any bytes: a clear
// refusal or a bitmap, never a crash. What loads is written as a style image
// and must load to the same pixels.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "foundation/core/exception.h"
#include "foundation/streams/memory_stream.h"
#include "media/bitmap/bitmap.h"
#include "media/formats/image_formats.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  kx::MConstMemoryStream input(data, static_cast<int64_t>(size));
  kx::MBitmap bitmap;
  try {
    kx::LoadTGA(bitmap, input);
  } catch (const kx::MException&) {
    return 0;
  }
  kx::MMemoryStream again;
  kx::SaveTGA(bitmap, again);
  again.Seek(0, kx::kSeekBegin);
  kx::MBitmap reloaded;
  kx::LoadTGA(reloaded, again);
  if (reloaded.ByteSize() != bitmap.ByteSize() ||
      std::memcmp(reloaded.Bytes(), bitmap.Bytes(), static_cast<size_t>(bitmap.ByteSize())))
    std::abort();
  return 0;
}
