// The image formats, each read from a stream at its position into an MBitmap.
//
// Every loader replaces the bitmap's content with a true-colour bitmap (B, G, R,
// A, straight alpha; 255 where the format has none) and throws MException on bad
// input, leaving the bitmap empty or partly filled. Sizes beyond
// MBitmap::kMaxPixels are refused before anything of that size is allocated, so
// a lying header costs no memory. The words of each format's failures:
//
//   PNG   "Could not initialize libpng.", "Could not initialize libpng info
//         structure.", "Error loading a PNG file.",
//         "Error loading PNG palette."; saving "Empty image cannot be saved to PNG."
//   JPEG  "Error loading JPEG file - {0}" with the library's text; input that
//         ends early gives "Error loading JPEG file - read error", and the
//         library's warnings of missing image data count as failures
//   GIF   "Error initiating GIF input.", "Error loading GIF image.", "No images
//         found in the GIF file.", "Error loading GIF image data.", "Could not
//         retrieve image palette."; the first image of the file is taken
//   TIFF  "Error opening TIFF file.", "Only planar TIFF files are supported.",
//         "The image does not have 8 bit-per-sample resolution.", "Invalid image
//         orientation.", "Error loading TIFF image."
//   TGA   "Invalid file contents. No TGA header present.", "Invalid TGA header.",
//         "TGA image file is corrupt."
//   MIMG  see mimg.h
#pragma once

#include <cstdint>

namespace kx {

class MBitmap;
class MStream;

void LoadPNG(MBitmap& bitmap, MStream& stream);
void LoadJPEG(MBitmap& bitmap, MStream& stream);
void LoadGIF(MBitmap& bitmap, MStream& stream);
void LoadTIFF(MBitmap& bitmap, MStream& stream);
void LoadTGA(MBitmap& bitmap, MStream& stream);
void LoadMIMG(MBitmap& bitmap, MStream& stream);

// 8-bit RGBA PNG (alpha kept); a palette bitmap is written as true colour.
void SavePNG(const MBitmap& bitmap, MStream& stream);
// Baseline JPEG of the colours at quality 1..100; alpha is dropped.
void SaveJPEG(const MBitmap& bitmap, MStream& stream, int quality);
// Uncompressed TGA (type 2), 32 bits, rows top to bottom (descriptor 0x28): the
// form of the style's images.
void SaveTGA(const MBitmap& bitmap, MStream& stream);

}  // namespace kx
