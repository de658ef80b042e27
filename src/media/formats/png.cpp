// PNG through libpng, read and written on MStream.
//
// libpng leaves a failure by longjmp to the setjmp of its png_jmpbuf; as with
// JPEG, the functions holding the setjmp keep only plain data, and stream
// failures are caught in the callbacks and handed to png_error after the catch.
// Every form is read as 8-bit B, G, R, A: palettes and transparency chunks
// expanded, grey widened, 16-bit samples scaled with rounding, interlaced
// passes combined by the library.
#include <png.h>

#include <csetjmp>
#include <cstring>
#include <vector>

#include "foundation/core/exception.h"
#include "foundation/streams/stream.h"
#include "media/bitmap/bitmap.h"
#include "media/formats/image_formats.h"

namespace kx {
namespace {

[[noreturn]] void ErrorFunction(png_structp png, png_const_charp) { png_longjmp(png, 1); }
void WarningFunction(png_structp, png_const_charp) {}

void ReadFunction(png_structp png, png_bytep data, png_size_t size) {
  MStream* stream = static_cast<MStream*>(png_get_io_ptr(png));
  bool complete = false;
  try {
    complete = stream->Read(data, static_cast<int64_t>(size)) == static_cast<int64_t>(size);
  } catch (...) {
    complete = false;
  }
  if (!complete) png_error(png, "read error");
}

struct WriteTarget {
  MStream* stream = nullptr;
  bool failed = false;
  MString failure;  // the stream's message
};

void WriteFunction(png_structp png, png_bytep data, png_size_t size) {
  WriteTarget* target = static_cast<WriteTarget*>(png_get_io_ptr(png));
  try {
    target->stream->Write(data, static_cast<int64_t>(size));
  } catch (const MException& failure) {
    target->failed = true;
    target->failure = failure.message;
  } catch (...) {
    target->failed = true;
  }
  if (target->failed) png_error(png, "write error");
}

void FlushFunction(png_structp) {}

enum class ReadOutcome { kDone, kLibraryFailed, kNoPalette };

class PngReader {
 public:
  PngReader() {
    png_ = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, ErrorFunction, WarningFunction);
    if (!png_) throw MException(MString("Could not initialize libpng."), kErrorOpen);
    info_ = png_create_info_struct(png_);
    if (!info_) {
      png_destroy_read_struct(&png_, nullptr, nullptr);
      throw MException(MString("Could not initialize libpng info structure."), kErrorOpen);
    }
  }
  ~PngReader() { png_destroy_read_struct(&png_, &info_, nullptr); }
  PngReader(const PngReader&) = delete;
  PngReader& operator=(const PngReader&) = delete;

  ReadOutcome Read(MBitmap& bitmap, MStream& stream, std::vector<png_bytep>& rows);

 private:
  png_structp png_ = nullptr;
  png_infop info_ = nullptr;
};

ReadOutcome PngReader::Read(MBitmap& bitmap, MStream& stream, std::vector<png_bytep>& rows) {
  if (setjmp(png_jmpbuf(png_))) return ReadOutcome::kLibraryFailed;
  png_set_read_fn(png_, &stream, ReadFunction);
  // The library's own limits stay above ours; CheckSize decides.
  png_set_user_limits(png_, 0x7fffffff, 0x7fffffff);
  png_read_info(png_, info_);
  png_uint_32 width = png_get_image_width(png_, info_);
  png_uint_32 height = png_get_image_height(png_, info_);
  MBitmap::CheckSize(width, height);
  int colourType = png_get_color_type(png_, info_);
  if (colourType == PNG_COLOR_TYPE_PALETTE) {
    png_colorp palette = nullptr;
    int entries = 0;
    if (!png_get_PLTE(png_, info_, &palette, &entries) || entries <= 0) return ReadOutcome::kNoPalette;
  }
  png_set_expand(png_);
  png_set_scale_16(png_);
  if (colourType == PNG_COLOR_TYPE_GRAY || colourType == PNG_COLOR_TYPE_GRAY_ALPHA) png_set_gray_to_rgb(png_);
  png_set_bgr(png_);
  png_set_add_alpha(png_, 0xff, PNG_FILLER_AFTER);
  png_set_interlace_handling(png_);
  png_read_update_info(png_, info_);
  bitmap.Create(static_cast<int32_t>(width), static_cast<int32_t>(height));
  rows.resize(height);
  for (png_uint_32 y = 0; y < height; ++y) rows[y] = bitmap.Row(static_cast<int32_t>(y));
  png_read_image(png_, rows.data());
  png_read_end(png_, nullptr);
  return ReadOutcome::kDone;
}

class PngWriter {
 public:
  PngWriter() {
    png_ = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, ErrorFunction, WarningFunction);
    if (!png_) throw MException(MString("Could not initialize libpng."), kErrorOpen);
    info_ = png_create_info_struct(png_);
    if (!info_) {
      png_destroy_write_struct(&png_, nullptr);
      throw MException(MString("Could not initialize libpng info structure."), kErrorOpen);
    }
  }
  ~PngWriter() { png_destroy_write_struct(&png_, &info_); }
  PngWriter(const PngWriter&) = delete;
  PngWriter& operator=(const PngWriter&) = delete;

  bool Write(const MBitmap& bitmap, WriteTarget& target, std::vector<png_bytep>& rows);

 private:
  png_structp png_ = nullptr;
  png_infop info_ = nullptr;
};

bool PngWriter::Write(const MBitmap& bitmap, WriteTarget& target, std::vector<png_bytep>& rows) {
  if (setjmp(png_jmpbuf(png_))) return false;
  png_set_write_fn(png_, &target, WriteFunction, FlushFunction);
  png_set_IHDR(png_, info_, static_cast<png_uint_32>(bitmap.Width()), static_cast<png_uint_32>(bitmap.Height()),
               8, PNG_COLOR_TYPE_RGB_ALPHA, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
               PNG_FILTER_TYPE_DEFAULT);
  png_write_info(png_, info_);
  png_set_bgr(png_);
  png_write_image(png_, rows.data());
  png_write_end(png_, nullptr);
  return true;
}

}  // namespace

void LoadPNG(MBitmap& bitmap, MStream& stream) {
  bitmap.Clear();
  PngReader reader;
  std::vector<png_bytep> rows;
  switch (reader.Read(bitmap, stream, rows)) {
    case ReadOutcome::kDone:
      return;
    case ReadOutcome::kNoPalette:
      throw MException(MString("Error loading PNG palette."), kErrorIO);
    case ReadOutcome::kLibraryFailed:
      break;
  }
  throw MException(MString("Error loading a PNG file."), kErrorIO);
}

void SavePNG(const MBitmap& source, MStream& stream) {
  if (source.IsEmpty()) throw MException(MString("Empty image cannot be saved to PNG."));
  MBitmap scratch;
  const MBitmap& bitmap = TrueColour(source, scratch);
  std::vector<png_bytep> rows(static_cast<size_t>(bitmap.Height()));
  for (int32_t y = 0; y < bitmap.Height(); ++y) rows[static_cast<size_t>(y)] = const_cast<png_bytep>(bitmap.Row(y));
  WriteTarget target;
  target.stream = &stream;
  PngWriter writer;
  if (!writer.Write(bitmap, target, rows))
    throw MException(target.failure.IsEmpty() ? MString("Error saving a PNG file.") : target.failure, kErrorIO);
}

}  // namespace kx
