// JPEG through libjpeg(-turbo), on MStream source and destination managers.
//
// The library reports failures through a callback that must not return. Its
// published way out is longjmp back to the setjmp of the decoding call; the
// functions that call setjmp hold only plain data, and every C++ object lives
// in their callers. Stream failures are caught inside the callbacks (an
// exception must not cross the library's C frames) and turned into the
// library's failure path with the text kept.
#include <algorithm>
#include <csetjmp>
#include <cstddef>
#include <cstdio>
#include <cstring>

// jpeglib.h uses size_t and FILE without including their headers.
#include <jpeglib.h>
#include <jerror.h>
#include <string>
#include <vector>

#include "foundation/core/exception.h"
#include "foundation/streams/stream.h"
#include "foundation/text/format.h"
#include "media/bitmap/bitmap.h"
#include "media/formats/image_formats.h"

namespace kx {
namespace {

constexpr size_t kBlockSize = 65536;

struct ErrorManager {
  jpeg_error_mgr library;
  std::jmp_buf jump;
  char text[JMSG_LENGTH_MAX];
};

[[noreturn]] void ErrorExit(j_common_ptr info) {
  ErrorManager* errors = reinterpret_cast<ErrorManager*>(info->err);
  (*info->err->format_message)(info, errors->text);
  std::longjmp(errors->jump, 1);
}

// Warnings are not printed. Those that say image data is missing (a scan cut
// short by a marker, a file that ends early) are failures: the library would
// fill the rest with grey, and a small file with a large header would cost the
// whole image's memory for nothing.
void OutputMessage(j_common_ptr) {}

void EmitMessage(j_common_ptr info, int level) {
  int code = info->err->msg_code;
  if (level < 0 && (code == JWRN_HIT_MARKER || code == JWRN_JPEG_EOF)) (*info->err->error_exit)(info);
  if (level < 0) info->err->num_warnings++;
}

[[noreturn]] void FailWith(j_common_ptr info, const char* text) {
  ErrorManager* errors = reinterpret_cast<ErrorManager*>(info->err);
  std::snprintf(errors->text, sizeof(errors->text), "%s", text);
  std::longjmp(errors->jump, 1);
}

void InstallErrors(ErrorManager& errors) {
  jpeg_std_error(&errors.library);
  errors.library.error_exit = ErrorExit;
  errors.library.output_message = OutputMessage;
  errors.library.emit_message = EmitMessage;
  errors.text[0] = 0;
}

// --- reading

struct StreamSource {
  jpeg_source_mgr library;
  MStream* stream;
  std::vector<JOCTET>* block;
  char failure[JMSG_LENGTH_MAX];
};

void InitSource(j_decompress_ptr) {}

boolean FillInputBuffer(j_decompress_ptr info) {
  StreamSource* source = reinterpret_cast<StreamSource*>(info->src);
  int64_t got = 0;
  bool failed = false;
  try {
    got = source->stream->Read(source->block->data(), static_cast<int64_t>(source->block->size()));
  } catch (const MException& failure) {
    std::snprintf(source->failure, sizeof(source->failure), "%s", ToStd(failure.message).c_str());
    failed = true;
  } catch (...) {
    std::snprintf(source->failure, sizeof(source->failure), "read error");
    failed = true;
  }
  // A file that ends inside the image is an error here, not a grey remainder.
  if (failed) FailWith(reinterpret_cast<j_common_ptr>(info), source->failure);
  if (got <= 0) FailWith(reinterpret_cast<j_common_ptr>(info), "read error");
  source->library.next_input_byte = source->block->data();
  source->library.bytes_in_buffer = static_cast<size_t>(got);
  return TRUE;
}

void SkipInputData(j_decompress_ptr info, long count) {
  StreamSource* source = reinterpret_cast<StreamSource*>(info->src);
  while (count > 0) {
    if (source->library.bytes_in_buffer == 0) FillInputBuffer(info);
    size_t piece = std::min(static_cast<size_t>(count), source->library.bytes_in_buffer);
    source->library.next_input_byte += piece;
    source->library.bytes_in_buffer -= piece;
    count -= static_cast<long>(piece);
  }
}

void TermSource(j_decompress_ptr) {}

// Owns the decompressor for the C++ side; Decode holds the setjmp.
class JpegDecoder {
 public:
  JpegDecoder(MStream& stream) : block_(kBlockSize) {
    InstallErrors(errors_);
    info_.err = &errors_.library;
    jpeg_create_decompress(&info_);
    source_.library.init_source = InitSource;
    source_.library.fill_input_buffer = FillInputBuffer;
    source_.library.skip_input_data = SkipInputData;
    source_.library.resync_to_restart = jpeg_resync_to_restart;
    source_.library.term_source = TermSource;
    source_.library.next_input_byte = nullptr;
    source_.library.bytes_in_buffer = 0;
    source_.stream = &stream;
    source_.block = &block_;
    source_.failure[0] = 0;
    info_.src = &source_.library;
    // The library's own blocks (the coefficients of a progressive image) stay
    // within what the largest bitmap may take.
    info_.mem->max_memory_to_use = static_cast<long>(MBitmap::kMaxPixels * 4);
  }
  ~JpegDecoder() { jpeg_destroy_decompress(&info_); }
  JpegDecoder(const JpegDecoder&) = delete;
  JpegDecoder& operator=(const JpegDecoder&) = delete;

  // False when the library failed; its text is then in Text().
  bool Decode(MBitmap& bitmap);
  const char* Text() const { return errors_.text; }

 private:
  ErrorManager errors_;
  jpeg_decompress_struct info_;
  StreamSource source_;
  std::vector<JOCTET> block_;
};

// Adobe's CMYK, stored inverted, to B, G, R, A in place (4 bytes a pixel).
void ConvertInvertedCMYK(uint8_t* row, JDIMENSION width) {
  for (JDIMENSION x = 0; x < width; ++x, row += 4) {
    unsigned c = row[0], m = row[1], y = row[2], k = row[3];
    row[0] = static_cast<uint8_t>(y * k / 255);
    row[1] = static_cast<uint8_t>(m * k / 255);
    row[2] = static_cast<uint8_t>(c * k / 255);
    row[3] = 255;
  }
}

bool JpegDecoder::Decode(MBitmap& bitmap) {
  if (setjmp(errors_.jump)) return false;
  jpeg_read_header(&info_, TRUE);
  MBitmap::CheckSize(info_.image_width, info_.image_height);
  bool cmyk = info_.jpeg_color_space == JCS_CMYK || info_.jpeg_color_space == JCS_YCCK;
  info_.out_color_space = cmyk ? JCS_CMYK : JCS_EXT_BGRA;
  jpeg_start_decompress(&info_);
  bitmap.Create(static_cast<int32_t>(info_.output_width), static_cast<int32_t>(info_.output_height));
  JSAMPROW rows[8];
  while (info_.output_scanline < info_.output_height) {
    JDIMENSION first = info_.output_scanline;
    JDIMENSION count = 0;
    for (; count < 8 && first + count < info_.output_height; ++count)
      rows[count] = bitmap.Row(static_cast<int32_t>(first + count));
    JDIMENSION read = jpeg_read_scanlines(&info_, rows, count);
    if (cmyk)
      for (JDIMENSION i = 0; i < read; ++i) ConvertInvertedCMYK(rows[i], info_.output_width);
  }
  jpeg_finish_decompress(&info_);
  return true;
}

// --- writing

struct StreamDestination {
  jpeg_destination_mgr library;
  MStream* stream;
  std::vector<JOCTET>* block;
  char failure[JMSG_LENGTH_MAX];
};

void InitDestination(j_compress_ptr info) {
  StreamDestination* target = reinterpret_cast<StreamDestination*>(info->dest);
  target->library.next_output_byte = target->block->data();
  target->library.free_in_buffer = target->block->size();
}

// Writes `size` bytes of the block; on a failure the stream's text is kept and
// false returned, so that the caller leaves through the library's error path.
bool WriteBlock(StreamDestination* target, size_t size) {
  try {
    target->stream->Write(target->block->data(), static_cast<int64_t>(size));
    return true;
  } catch (const MException& failure) {
    std::snprintf(target->failure, sizeof(target->failure), "%s", ToStd(failure.message).c_str());
  } catch (...) {
    std::snprintf(target->failure, sizeof(target->failure), "write error");
  }
  return false;
}

boolean EmptyOutputBuffer(j_compress_ptr info) {
  StreamDestination* target = reinterpret_cast<StreamDestination*>(info->dest);
  if (!WriteBlock(target, target->block->size())) FailWith(reinterpret_cast<j_common_ptr>(info), target->failure);
  InitDestination(info);
  return TRUE;
}

void TermDestination(j_compress_ptr info) {
  StreamDestination* target = reinterpret_cast<StreamDestination*>(info->dest);
  if (!WriteBlock(target, target->block->size() - target->library.free_in_buffer))
    FailWith(reinterpret_cast<j_common_ptr>(info), target->failure);
}

class JpegEncoder {
 public:
  explicit JpegEncoder(MStream& stream) : block_(kBlockSize) {
    InstallErrors(errors_);
    info_.err = &errors_.library;
    jpeg_create_compress(&info_);
    target_.library.init_destination = InitDestination;
    target_.library.empty_output_buffer = EmptyOutputBuffer;
    target_.library.term_destination = TermDestination;
    target_.stream = &stream;
    target_.block = &block_;
    target_.failure[0] = 0;
    info_.dest = &target_.library;
  }
  ~JpegEncoder() { jpeg_destroy_compress(&info_); }
  JpegEncoder(const JpegEncoder&) = delete;
  JpegEncoder& operator=(const JpegEncoder&) = delete;

  bool Encode(const MBitmap& bitmap, int quality);
  const char* Text() const { return errors_.text; }

 private:
  ErrorManager errors_;
  jpeg_compress_struct info_;
  StreamDestination target_;
  std::vector<JOCTET> block_;
};

bool JpegEncoder::Encode(const MBitmap& bitmap, int quality) {
  if (setjmp(errors_.jump)) return false;
  info_.image_width = static_cast<JDIMENSION>(bitmap.Width());
  info_.image_height = static_cast<JDIMENSION>(bitmap.Height());
  info_.input_components = 4;
  info_.in_color_space = JCS_EXT_BGRA;
  jpeg_set_defaults(&info_);
  jpeg_set_quality(&info_, quality < 1 ? 1 : quality > 100 ? 100 : quality, TRUE);
  jpeg_start_compress(&info_, TRUE);
  while (info_.next_scanline < info_.image_height) {
    JSAMPROW row = const_cast<JSAMPROW>(bitmap.Row(static_cast<int32_t>(info_.next_scanline)));
    jpeg_write_scanlines(&info_, &row, 1);
  }
  jpeg_finish_compress(&info_);
  return true;
}

}  // namespace

void LoadJPEG(MBitmap& bitmap, MStream& stream) {
  bitmap.Clear();
  JpegDecoder decoder(stream);
  if (!decoder.Decode(bitmap))
    throw MException(MFormat(MString("Error loading JPEG file - {0}")).Add(decoder.Text()), kErrorIO);
}

void SaveJPEG(const MBitmap& source, MStream& stream, int quality) {
  if (source.IsEmpty()) throw MException(MString("Empty image cannot be saved to JPEG."));
  if (source.Width() > JPEG_MAX_DIMENSION || source.Height() > JPEG_MAX_DIMENSION)
    throw MException(MString("Image is too large for the JPEG format."));
  MBitmap scratch;
  const MBitmap& bitmap = TrueColour(source, scratch);
  JpegEncoder encoder(stream);
  if (!encoder.Encode(bitmap, quality))
    throw MException(MFormat(MString("Error saving JPEG file - {0}")).Add(encoder.Text()), kErrorIO);
}

}  // namespace kx
