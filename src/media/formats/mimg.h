// MIMG: the program's own image file, little-endian.
//
// Header, 36 bytes: "MIMG", width and height (signed, 0 to 262144), alphaRows,
// type, size of the first part (the body), size of the second part (type 2
// only, else 0), 8 reserved bytes of 0xFF. Bodies by type:
//   0  one zlib stream of the raw pixel block: width * height * 4 bytes, or for
//      a palette bitmap width * height + 1032 (told apart by where it ends)
//   1  a JPEG stream to the end of the file
//   2  a JPEG stream of the first size with the colours, then a zlib stream of
//      the second size with the alpha plane (width * height bytes), stored as
//      differences: after the first alphaRows rows, alpha[i] = alpha[i -
//      alphaRows * width] + stored[i] + 128 in 8-bit arithmetic
//
// A short header, a wrong magic, a side out of range, negative part sizes, or
// a JPEG whose size is not the header's throw "MIMG file is corrupt."; another
// type "Unknown MIMG file type. Please update the software."; a body that ends
// early "Could not read the required data from stream." (or the JPEG message).
#pragma once

#include <cstdint>

namespace kx {

class MBitmap;
class MStream;

enum class MMIMGType : int32_t {
  kRaw = 0,            // lossless, zlib
  kJPEG = 1,           // colours only
  kJPEGWithAlpha = 2,  // colours as JPEG, alpha lossless
};

struct MMIMGHeader {
  static constexpr int32_t kSize = 36;
  static constexpr int32_t kMaxSide = 262144;

  int32_t width = 0;
  int32_t height = 0;
  int32_t alphaRows = 0;
  int32_t type = 0;  // as stored: a reader may meet types it does not know
  int32_t firstSize = 0;
  int32_t secondSize = 0;
};

// Reads and checks the header (not the type) at the stream's position.
MMIMGHeader ReadMIMGHeader(MStream& stream);

// Writes a MIMG of that type. Quality 1..100 is the JPEG quality of types 1
// and 2, and the zlib level (quality - 1) / 10 of type 0 and of the alpha
// plane. Type 2 stores the alpha plane as differences to the row above.
void SaveMIMG(const MBitmap& bitmap, MStream& stream, MMIMGType type, int quality);

}  // namespace kx
