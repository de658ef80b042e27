// MFontFace: one FreeType face, opened from a file (read through MFileStream)
// or from a block of memory, with what the font cache wants to know of it.
//
// All faces share one FreeType library, made on first use; a face keeps it
// alive, so faces may outlive MFont::Clear. Opening and closing faces take the
// library's lock; a face itself belongs to one thread at a time.
//
// Failures: "Invalid file contents. Unknown font file format." for data that
// no FreeType driver takes, "Invalid file contents. Invalid font file format."
// for a damaged face, and the file stream's messages.
#pragma once

#include <cstdint>
#include <memory>

#include "foundation/text/text_string.h"
#include "media/fonts/font_file.h"

struct FT_FaceRec_;

namespace kx {

class MFontFace {
 public:
  // The file at `path`, face 0.
  static std::unique_ptr<MFontFace> OpenFile(const MString& path);
  // `size` bytes at `data`, which must stay while the face lives.
  static std::unique_ptr<MFontFace> OpenMemory(const void* data, int64_t size);

  ~MFontFace();
  MFontFace(const MFontFace&) = delete;
  MFontFace& operator=(const MFontFace&) = delete;

  FT_FaceRec_* Get() const { return face_; }
  // The family name as the face gives it; empty if it has none.
  MString Family() const;
  // From the face's bold and italic flags.
  MFontStyle Style() const;
  // The weight class of the face's OS/2 table (400 regular, 700 bold), or the
  // nominal weight of its style when it has no such table.
  int32_t Weight() const;

  // Faces opened since the process started: the font cache's tests and
  // benchmarks count with it.
  static int64_t OpenCount();

 private:
  struct Source;
  MFontFace();

  std::unique_ptr<Source> source_;
  FT_FaceRec_* face_ = nullptr;
};

}  // namespace kx
