#include "media/formats/mimg.h"

#include <cstring>
#include <vector>

#include "foundation/compression/zlib_stream.h"
#include "foundation/core/exception.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/streams/size_stream.h"
#include "media/bitmap/bitmap.h"
#include "media/formats/image_formats.h"

namespace kx {
namespace {

constexpr char kMagic[4] = {'M', 'I', 'M', 'G'};
// The period of the stored alpha differences that SaveMIMG uses: the row above.
constexpr int32_t kAlphaRowsWritten = 1;

[[noreturn]] void ThrowCorrupt() { throw MException(MString("MIMG file is corrupt."), kErrorIO); }

// A compressed part must end where its data ends: reading on proves the
// checksum (a damaged or cut stream throws) and finds data beyond the image.
void CheckEnd(MZLIBStream& inflate) {
  uint8_t extra;
  if (inflate.Read(&extra, 1) != 0) ThrowCorrupt();
}

void ReadRaw(MBitmap& bitmap, MStream& stream, const MMIMGHeader& header) {
  bitmap.Create(header.width, header.height);
  if (bitmap.IsEmpty()) return;
  MZLIBStream inflate;
  inflate.Init(&stream, false);
  int64_t count = static_cast<int64_t>(header.width) * header.height;
  int64_t trueColour = count * 4;
  int64_t palette = count + MBitmap::kPaletteDataSize;
  if (palette <= trueColour) {
    int64_t got = inflate.Read(bitmap.Bytes(), trueColour);
    if (got == trueColour) {
      CheckEnd(inflate);
      return;
    }
    // A palette bitmap's body is shorter; any other length is a short read.
    if (got != palette || inflate.Read(bitmap.Bytes(), 1) != 0)
      throw MException(MString("Could not read the required data from stream."), kErrorIO);
    MBitmap indexed;
    indexed.CreatePalette(header.width, header.height);
    std::memcpy(indexed.Bytes(), bitmap.Bytes(), static_cast<size_t>(palette));
    bitmap = std::move(indexed);
    return;
  }
  // Fewer than 344 pixels: the palette form is the longer one.
  std::vector<uint8_t> body(static_cast<size_t>(palette));
  int64_t got = inflate.Read(body.data(), palette);
  if (got == palette) {
    CheckEnd(inflate);
    bitmap.CreatePalette(header.width, header.height);
    std::memcpy(bitmap.Bytes(), body.data(), body.size());
  } else if (got == trueColour) {
    std::memcpy(bitmap.Bytes(), body.data(), static_cast<size_t>(trueColour));  // ended already
  } else {
    throw MException(MString("Could not read the required data from stream."), kErrorIO);
  }
}

void CheckJPEGSize(const MBitmap& bitmap, const MMIMGHeader& header) {
  if (bitmap.Width() != header.width || bitmap.Height() != header.height) ThrowCorrupt();
}

void ReadJPEGWithAlpha(MBitmap& bitmap, MStream& stream, const MMIMGHeader& header) {
  int64_t start = stream.GetPosition();
  {
    MSizeStream colours(&stream, start, header.firstSize);
    LoadJPEG(bitmap, colours);
  }
  CheckJPEGSize(bitmap, header);
  stream.Seek(start + header.firstSize, kSeekBegin);
  MSizeStream alphaPart(&stream, start + header.firstSize, header.secondSize);
  MZLIBStream inflate;
  inflate.Init(&alphaPart, false);
  int64_t count = static_cast<int64_t>(header.width) * header.height;
  MClearedBlock alpha = AllocateCleared(count);
  inflate.ReadExact(alpha.get(), count);
  CheckEnd(inflate);
  int64_t period = header.alphaRows == 0 ? count : static_cast<int64_t>(header.alphaRows) * header.width;
  for (int64_t i = period; i < count; ++i) alpha[i] = static_cast<uint8_t>(alpha[i - period] + alpha[i] + 128);
  uint8_t* pixels = bitmap.Bytes();
  for (int64_t i = 0; i < count; ++i) pixels[i * 4 + 3] = alpha[i];
}

// The header's eight 32-bit fields and the reserved bytes.
void WriteHeader(MStream& stream, const MMIMGHeader& header) {
  uint8_t bytes[MMIMGHeader::kSize];
  std::memcpy(bytes, kMagic, 4);
  int32_t fields[6] = {header.width,     header.height,    header.alphaRows,
                       header.type,      header.firstSize, header.secondSize};
  std::memcpy(bytes + 4, fields, sizeof(fields));
  std::memset(bytes + 28, 0xff, 8);
  stream.Write(bytes, sizeof(bytes));
}

void Deflate(MStream& target, const void* data, int64_t size, int quality) {
  MZLIBStream deflate;
  deflate.Init(&target, true, quality);
  deflate.Write(data, size);
  deflate.Terminate();
}

int32_t PartSize(const MMemoryStream& part) {
  if (part.Size() > INT32_MAX) throw MException(MString("Image is too large for the MIMG format."));
  return static_cast<int32_t>(part.Size());
}

}  // namespace

MMIMGHeader ReadMIMGHeader(MStream& stream) {
  uint8_t bytes[MMIMGHeader::kSize];
  if (stream.Read(bytes, sizeof(bytes)) != MMIMGHeader::kSize || std::memcmp(bytes, kMagic, 4) != 0)
    ThrowCorrupt();
  MMIMGHeader header;
  int32_t fields[6];
  std::memcpy(fields, bytes + 4, sizeof(fields));
  header.width = fields[0];
  header.height = fields[1];
  header.alphaRows = fields[2];
  header.type = fields[3];
  header.firstSize = fields[4];
  header.secondSize = fields[5];
  auto inRange = [](int32_t side) { return side >= 0 && side <= MMIMGHeader::kMaxSide; };
  if (!inRange(header.width) || !inRange(header.height)) ThrowCorrupt();
  return header;
}

void LoadMIMG(MBitmap& bitmap, MStream& stream) {
  bitmap.Clear();
  MMIMGHeader header = ReadMIMGHeader(stream);
  switch (header.type) {
    case static_cast<int32_t>(MMIMGType::kRaw):
      ReadRaw(bitmap, stream, header);
      return;
    case static_cast<int32_t>(MMIMGType::kJPEG):
      LoadJPEG(bitmap, stream);
      CheckJPEGSize(bitmap, header);
      return;
    case static_cast<int32_t>(MMIMGType::kJPEGWithAlpha):
      if (header.firstSize < 0 || header.secondSize < 0 || header.alphaRows < 0) ThrowCorrupt();
      ReadJPEGWithAlpha(bitmap, stream, header);
      return;
    default:
      throw MException(MString("Unknown MIMG file type. Please update the software."), kErrorIO);
  }
}

void SaveMIMG(const MBitmap& bitmap, MStream& stream, MMIMGType type, int quality) {
  MMIMGHeader header;
  header.width = bitmap.Width();
  header.height = bitmap.Height();
  header.type = static_cast<int32_t>(type);
  if (header.width > MMIMGHeader::kMaxSide || header.height > MMIMGHeader::kMaxSide)
    throw MException(MString("Image is too large for the MIMG format."));
  MMemoryStream first;
  MMemoryStream second;
  MBitmap scratch;
  const MBitmap& colours = TrueColour(bitmap, scratch);
  int64_t count = static_cast<int64_t>(header.width) * header.height;
  switch (type) {
    case MMIMGType::kRaw:
      if (!bitmap.IsEmpty()) Deflate(first, bitmap.Bytes(), bitmap.ByteSize(), quality);
      break;
    case MMIMGType::kJPEG:
      SaveJPEG(colours, first, quality);
      break;
    case MMIMGType::kJPEGWithAlpha: {
      SaveJPEG(colours, first, quality);
      header.alphaRows = kAlphaRowsWritten;
      int64_t period = static_cast<int64_t>(kAlphaRowsWritten) * header.width;
      std::vector<uint8_t> stored(static_cast<size_t>(count));
      const uint8_t* pixels = colours.Bytes();
      for (int64_t i = 0; i < count; ++i) {
        uint8_t alpha = pixels[i * 4 + 3];
        stored[static_cast<size_t>(i)] =
            i < period ? alpha : static_cast<uint8_t>(alpha - pixels[(i - period) * 4 + 3] - 128);
      }
      Deflate(second, stored.data(), count, quality);
      header.secondSize = PartSize(second);
      break;
    }
  }
  header.firstSize = PartSize(first);
  WriteHeader(stream, header);
  stream.Write(first.Data(), first.Size());
  stream.Write(second.Data(), second.Size());
}

}  // namespace kx
