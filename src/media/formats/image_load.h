// The loader table: which format reads a file, by its extension compared
// without case ("png", "mimg", "jpg"/"jpeg", "gif", "tif"/"tiff"; anything
// else, no extension included, is tried as TGA).
#pragma once

#include "foundation/text/text_string.h"

namespace kx {

class MBitmap;
class MStream;

enum class MImageFormat { kPNG, kMIMG, kJPEG, kGIF, kTIFF, kTGA };

// The format for the extension of a path or name (GetExtension).
MImageFormat ImageFormatForName(const MString& name);
// "PNG", "MIMG", "JPEG", "GIF", "TIFF", "TGA".
const char* ImageFormatName(MImageFormat format);
// Runs that format's loader on the stream at its position.
void LoadImageStream(MBitmap& bitmap, MStream& stream, MImageFormat format);

}  // namespace kx
