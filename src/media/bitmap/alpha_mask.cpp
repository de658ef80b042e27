#include "media/bitmap/alpha_mask.h"

#include <cstring>

#include "foundation/core/exception.h"
#include "foundation/streams/stream.h"
#include "media/bitmap/bitmap.h"

namespace kx {
namespace {

uint32_t Swap(uint32_t value) { return __builtin_bswap32(value); }

[[noreturn]] void ThrowInvalid() { throw MException(MString("Alphamask stream content is invalid."), kErrorIO); }

}  // namespace

void MAlphaMask::Create(int32_t width, int32_t height) {
  MBitmap::CheckSize(width, height);
  coverage_.reset();
  width_ = height_ = 0;
  x = y = 0;
  if (width == 0 || height == 0) return;
  coverage_ = AllocateCleared(static_cast<int64_t>(width) * height);
  width_ = width;
  height_ = height;
}

void MAlphaMask::Load(MStream& stream) {
  uint8_t header[kHeaderSize];
  if (stream.Read(header, kHeaderSize) != kHeaderSize) ThrowInvalid();
  bool swapped;
  if (std::memcmp(header, "MASK", 4) == 0) {
    swapped = false;
  } else if (std::memcmp(header, "KSAM", 4) == 0) {
    swapped = true;
  } else {
    ThrowInvalid();
  }
  uint32_t fields[4];
  std::memcpy(fields, header + 4, sizeof(fields));
  if (swapped)
    for (uint32_t& field : fields) field = Swap(field);
  int32_t width = static_cast<int32_t>(fields[0]);
  int32_t height = static_cast<int32_t>(fields[1]);
  if (width < 0 || height < 0) ThrowInvalid();
  Create(width, height);
  x = static_cast<int32_t>(fields[2]);
  y = static_cast<int32_t>(fields[3]);
  if (!IsEmpty()) stream.ReadExact(coverage_.get(), static_cast<int64_t>(width_) * height_);
}

void MAlphaMask::Save(MStream& stream, MMaskByteOrder order) const {
  bool swap = order == MMaskByteOrder::kBigEndian;
  uint8_t header[kHeaderSize];
  std::memcpy(header, swap ? "KSAM" : "MASK", 4);
  uint32_t fields[4] = {static_cast<uint32_t>(width_), static_cast<uint32_t>(height_),
                        static_cast<uint32_t>(x), static_cast<uint32_t>(y)};
  if (swap)
    for (uint32_t& field : fields) field = Swap(field);
  std::memcpy(header + 4, fields, sizeof(fields));
  stream.Write(header, kHeaderSize);
  if (!IsEmpty()) stream.Write(coverage_.get(), static_cast<int64_t>(width_) * height_);
}

}  // namespace kx
