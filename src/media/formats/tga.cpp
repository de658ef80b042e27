// TGA: the style's own images (type 2, 32 bits, rows top to bottom) and the
// fallback for every extension the loader table does not name.
//
// Header, 18 bytes: 0 identifier length, 1 colour map type, 2 image type, 3
// first map entry, 5 map length, 7 map entry bits, 12 width, 14 height, 16 bits
// per pixel, 17 descriptor (bit 5: rows top to bottom, bit 4: right to left).
// Pixels are stored B, G, R (, A): the bitmap's own order.
#include <algorithm>
#include <cstring>
#include <vector>

#include "foundation/core/exception.h"
#include "foundation/streams/stream.h"
#include "media/bitmap/bitmap.h"
#include "media/formats/image_formats.h"

namespace kx {
namespace {

constexpr int kHeaderSize = 18;

[[noreturn]] void ThrowInvalidHeader() { throw MException(MString("Invalid TGA header."), kErrorIO); }
[[noreturn]] void ThrowCorrupt() { throw MException(MString("TGA image file is corrupt."), kErrorIO); }

uint16_t Word(const uint8_t* bytes) { return static_cast<uint16_t>(bytes[0] | bytes[1] << 8); }

// Reads the pixel data in blocks; the end of input is a corrupt file.
class TgaReader {
 public:
  explicit TgaReader(MStream& stream) : stream_(stream) {}

  void Read(uint8_t* target, int64_t size) {
    while (size > 0) {
      if (position_ == filled_) Fill();
      int64_t piece = std::min(size, filled_ - position_);
      std::memcpy(target, buffer_.data() + position_, static_cast<size_t>(piece));
      position_ += piece;
      target += piece;
      size -= piece;
    }
  }
  uint8_t Byte() {
    if (position_ == filled_) Fill();
    return buffer_[static_cast<size_t>(position_++)];
  }

 private:
  void Fill() {
    filled_ = stream_.Read(buffer_.data(), static_cast<int64_t>(buffer_.size()));
    position_ = 0;
    if (filled_ <= 0) ThrowCorrupt();
  }

  MStream& stream_;
  std::vector<uint8_t> buffer_ = std::vector<uint8_t>(65536);
  int64_t position_ = 0;
  int64_t filled_ = 0;
};

struct TgaHeader {
  int identifierLength;
  int mapType;
  int imageType;
  int mapFirst;
  int mapLength;
  int mapBits;
  int width;
  int height;
  int bits;
  int descriptor;

  bool ColourMapped() const { return imageType == 1 || imageType == 9; }
  bool RunLength() const { return imageType == 9 || imageType == 10; }
};

TgaHeader ReadHeader(MStream& stream) {
  uint8_t bytes[kHeaderSize];
  if (stream.Read(bytes, kHeaderSize) != kHeaderSize)
    throw MException(MString("Invalid file contents. No TGA header present."), kErrorIO);
  TgaHeader header{bytes[0],       bytes[1],        bytes[2],        Word(bytes + 3), Word(bytes + 5),
                   bytes[7],       Word(bytes + 12), Word(bytes + 14), bytes[16],       bytes[17]};
  if (header.mapType > 1 || header.width == 0 || header.height == 0) ThrowInvalidHeader();
  if (header.ColourMapped()) {
    if (header.mapType != 1 || header.bits != 8 || header.mapLength == 0 ||
        (header.mapBits != 24 && header.mapBits != 32))
      ThrowInvalidHeader();
  } else if (header.imageType == 2 || header.imageType == 10) {
    if (header.bits != 24 && header.bits != 32) ThrowInvalidHeader();
    if (header.mapType == 1 && header.mapBits != 15 && header.mapBits != 16 && header.mapBits != 24 &&
        header.mapBits != 32)
      ThrowInvalidHeader();
  } else {
    ThrowInvalidHeader();
  }
  return header;
}

// Expands `count` stored pixels of `size` bytes into B, G, R, A.
void Expand(const uint8_t* stored, int size, int64_t count, uint8_t* target) {
  for (int64_t i = 0; i < count; ++i, stored += size, target += 4) {
    std::memcpy(target, stored, 3);
    target[3] = size == 4 ? stored[3] : 255;
  }
}

}  // namespace

void LoadTGA(MBitmap& bitmap, MStream& stream) {
  bitmap.Clear();
  TgaHeader header = ReadHeader(stream);
  MBitmap::CheckSize(header.width, header.height);
  TgaReader reader(stream);
  std::vector<uint8_t> skipped(static_cast<size_t>(header.identifierLength));
  reader.Read(skipped.data(), header.identifierLength);

  // The colour map, as B, G, R, A entries; a true-colour file may carry one too.
  std::vector<uint8_t> map;
  if (header.mapType == 1) {
    int entrySize = (header.mapBits + 7) / 8;
    std::vector<uint8_t> stored(static_cast<size_t>(header.mapLength) * entrySize);
    reader.Read(stored.data(), static_cast<int64_t>(stored.size()));
    if (header.ColourMapped()) {
      map.resize(static_cast<size_t>(header.mapLength) * 4);
      Expand(stored.data(), entrySize, header.mapLength, map.data());
    }
  }

  int stored = header.ColourMapped() ? 1 : header.bits / 8;
  int64_t count = static_cast<int64_t>(header.width) * header.height;
  // The stored values, as they come, into the tail of the bitmap's own block:
  // indices and 24-bit pixels are then expanded in place from the front, the
  // written pixels staying behind the values still to be read.
  bitmap.Create(header.width, header.height);
  uint8_t* pixels = bitmap.Bytes();
  uint8_t* values = pixels + count * (4 - stored);
  if (!header.RunLength()) {
    reader.Read(values, count * stored);
  } else {
    int64_t done = 0;
    while (done < count) {
      uint8_t packet = reader.Byte();
      int64_t run = std::min<int64_t>((packet & 0x7f) + 1, count - done);
      uint8_t* target = values + done * stored;
      if (packet & 0x80) {
        reader.Read(target, stored);
        for (int64_t i = 1; i < run; ++i) std::memcpy(target + i * stored, target, static_cast<size_t>(stored));
      } else {
        reader.Read(target, run * stored);
      }
      done += run;
    }
  }

  if (header.ColourMapped()) {
    for (int64_t i = 0; i < count; ++i) {
      int index = values[i] - header.mapFirst;
      if (index < 0 || index >= header.mapLength) ThrowCorrupt();
      std::memcpy(pixels + i * 4, map.data() + index * 4, 4);
    }
  } else if (stored == 3) {
    for (int64_t i = 0; i < count; ++i) {
      uint8_t* target = pixels + i * 4;
      const uint8_t* source = values + i * 3;
      uint8_t b = source[0], g = source[1], r = source[2];
      target[0] = b;
      target[1] = g;
      target[2] = r;
      target[3] = 255;
    }
  }

  int64_t rowBytes = static_cast<int64_t>(header.width) * 4;
  if (!(header.descriptor & 0x20)) {
    std::vector<uint8_t> row(static_cast<size_t>(rowBytes));
    for (int32_t top = 0, bottom = header.height - 1; top < bottom; ++top, --bottom) {
      std::memcpy(row.data(), bitmap.Row(top), row.size());
      std::memcpy(bitmap.Row(top), bitmap.Row(bottom), row.size());
      std::memcpy(bitmap.Row(bottom), row.data(), row.size());
    }
  }
  if (header.descriptor & 0x10) {
    for (int32_t y = 0; y < header.height; ++y) {
      uint32_t* row = reinterpret_cast<uint32_t*>(bitmap.Row(y));
      std::reverse(row, row + header.width);
    }
  }
}

void SaveTGA(const MBitmap& source, MStream& stream) {
  if (source.IsEmpty()) throw MException(MString("Empty image cannot be saved to TGA."));
  if (source.Width() > 65535 || source.Height() > 65535)
    throw MException(MString("Image is too large for the TGA format."));
  MBitmap converted;
  const MBitmap* bitmap = &TrueColour(source, converted);
  uint8_t header[kHeaderSize] = {};
  header[2] = 2;
  header[12] = static_cast<uint8_t>(bitmap->Width());
  header[13] = static_cast<uint8_t>(bitmap->Width() >> 8);
  header[14] = static_cast<uint8_t>(bitmap->Height());
  header[15] = static_cast<uint8_t>(bitmap->Height() >> 8);
  header[16] = 32;
  header[17] = 0x28;  // 8 alpha bits, rows top to bottom
  stream.Write(header, kHeaderSize);
  stream.Write(bitmap->Bytes(), static_cast<int64_t>(bitmap->Width()) * bitmap->Height() * 4);
}

}  // namespace kx
