// MFont: a face at one pixel size, drawn by FreeType into coverage masks for
// the software drawer.
//
//   MFont font;
//   font.SetFamily(MString("DejaVu Sans bold"), 14);   // a system font
//   font.LoadFromResource(style, MString("fontRobotoRegular"), 14);  // built in
//   MAlphaMask glyph; int32_t advance;
//   font.RenderGlyph(U'A', glyph, advance);  // glyph.x, glyph.y: from the pen
//
// Load failures: the face's ("Invalid file contents. Unknown font file
// format.", "Invalid file contents. Invalid font file format."), "Unable to
// accept required font size." for a size the face refuses, and the font
// cache's for an unknown family. A failed load leaves the font empty.
//
// The cache of the system's fonts (font_cache.h) is process-wide:
// ReScanSystemFonts scans the font folders again, Clear forgets the tables (at
// module end, or for a fresh start); each stands in a guard of its own name.
#pragma once

#include <cstdint>
#include <memory>

#include "foundation/text/text_string.h"
#include "media/fonts/font_file.h"

namespace kx {

class MAlphaMask;
class MResourceLibrary;
class MFontFace;

class MFont {
 public:
  MFont();
  ~MFont();
  MFont(const MFont&) = delete;
  MFont& operator=(const MFont&) = delete;

  static void ReScanSystemFonts();
  static void Clear();

  // A face file.
  void Load(const MString& path, int32_t pixelSize);
  // A face in memory that the caller keeps while the font lives.
  void Load(const void* data, int64_t size, int32_t pixelSize);
  // A font of a resource library: read in place when stored plainly (the
  // library must outlive the font), inflated into a block of the font's own
  // when stored compressed.
  void LoadFromResource(MResourceLibrary& library, const MString& id, int32_t pixelSize);
  // A family name text ("DejaVu Sans bold italic"), found among the system's
  // fonts. Throws "Invalid font family name." for a text without a family.
  void SetFamily(const MString& text, int32_t pixelSize);

  bool IsLoaded() const { return face_ != nullptr; }
  int32_t PixelSize() const { return pixelSize_; }
  // Which face and size the font holds: new with every load, never repeated, so
  // glyph caches elsewhere can key on it.
  uint64_t Serial() const { return serial_; }
  // Pixels above and below the baseline, and from one baseline to the next.
  int32_t Ascent() const;
  int32_t Descent() const;
  int32_t LineHeight() const;

  // The glyph of a code point as anti-aliased coverage, placed relative to the
  // pen on the baseline (mask.x to the right, mask.y downwards: negative above
  // the baseline), and the pen's advance. A code point the face lacks gives
  // its missing-glyph box. Throws "Could not render glyph {0}." on a failure.
  void RenderGlyph(uint32_t codePoint, MAlphaMask& mask, int32_t& advance);
  // The advance of a whole text, without kerning.
  int32_t MeasureText(const MString& text);

 private:
  void Take(std::unique_ptr<MFontFace> face, int32_t pixelSize);

  std::unique_ptr<uint8_t[]> ownData_;  // inflated resource bytes, when any
  std::unique_ptr<MFontFace> face_;
  int32_t pixelSize_ = 0;
  uint64_t serial_ = 0;
};

}  // namespace kx
