#include "media/formats/image_load.h"

#include "foundation/core/exception.h"
#include "foundation/files/path_text.h"
#include "foundation/resources/resource_library.h"
#include "foundation/streams/file_stream.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/text/format.h"
#include "media/bitmap/bitmap.h"
#include "media/formats/image_formats.h"
#include "media/formats/mimg.h"

namespace kx {
namespace {

// Runs `load`; a failure comes out as `context` with the loader's message
// behind it, and leaves the bitmap empty.
template <typename Load>
void WithContext(MBitmap& bitmap, const MString& context, Load&& load) {
  try {
    load();
  } catch (const MException& failure) {
    bitmap.Clear();
    throw MException(context + MString(" ") + failure.message, failure.code);
  }
}

}  // namespace

MImageFormat ImageFormatForName(const MString& name) {
  MString extension = GetExtension(name);
  struct Entry {
    const char* extension;
    MImageFormat format;
  };
  static const Entry kTable[] = {{"png", MImageFormat::kPNG},   {"mimg", MImageFormat::kMIMG},
                                 {"jpg", MImageFormat::kJPEG},  {"jpeg", MImageFormat::kJPEG},
                                 {"gif", MImageFormat::kGIF},   {"tif", MImageFormat::kTIFF},
                                 {"tiff", MImageFormat::kTIFF}};
  for (const Entry& entry : kTable)
    if (extension.EqualsNoCase(MString(entry.extension))) return entry.format;
  return MImageFormat::kTGA;
}

const char* ImageFormatName(MImageFormat format) {
  switch (format) {
    case MImageFormat::kPNG: return "PNG";
    case MImageFormat::kMIMG: return "MIMG";
    case MImageFormat::kJPEG: return "JPEG";
    case MImageFormat::kGIF: return "GIF";
    case MImageFormat::kTIFF: return "TIFF";
    case MImageFormat::kTGA: return "TGA";
  }
  return "TGA";
}

void LoadImageStream(MBitmap& bitmap, MStream& stream, MImageFormat format) {
  switch (format) {
    case MImageFormat::kPNG: return LoadPNG(bitmap, stream);
    case MImageFormat::kMIMG: return LoadMIMG(bitmap, stream);
    case MImageFormat::kJPEG: return LoadJPEG(bitmap, stream);
    case MImageFormat::kGIF: return LoadGIF(bitmap, stream);
    case MImageFormat::kTIFF: return LoadTIFF(bitmap, stream);
    case MImageFormat::kTGA: return LoadTGA(bitmap, stream);
  }
}

void MBitmap::Load(const MString& path) {
  WithContext(*this, MFormat(MString("Could not load image \"{0}\".")).Add(path), [&] {
    MFileStream file(path, MFileStream::kModeRead);
    LoadImageStream(*this, file, ImageFormatForName(path));
  });
}

void MBitmap::LoadFromResource(MResourceLibrary& library, const MString& id) {
  WithContext(*this, MFormat(MString("Error loading image {0}.")).Add(id),
              [&] { LoadImageStream(*this, library.GetResource(id), ImageFormatForName(id)); });
}

void MBitmap::LoadFromStorage(MStream& stream, const MString& name) {
  WithContext(*this, MString("Error loading image from a data storage."),
              [&] { LoadImageStream(*this, stream, ImageFormatForName(name)); });
}

void MBitmap::LoadFromCopy(const void* data, int64_t size, const MString& name) {
  WithContext(*this, MString("Error loading image from a copy."), [&] {
    MConstMemoryStream memory(data, size);
    LoadImageStream(*this, memory, ImageFormatForName(name));
  });
}

void MBitmap::SavePNG(MStream& stream) const { kx::SavePNG(*this, stream); }
void MBitmap::SaveMIMG(MStream& stream, MMIMGType type, int quality) const {
  kx::SaveMIMG(*this, stream, type, quality);
}
void MBitmap::SaveTGA(MStream& stream) const { kx::SaveTGA(*this, stream); }

}  // namespace kx
