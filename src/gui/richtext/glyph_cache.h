// Rendered glyphs kept per font, so that laying out and painting text does not
// ask FreeType again for every character. The cache belongs to the calling
// thread (the GUI thread in practice) and is keyed by MFont::Serial, so a font
// that is loaded anew never meets its old glyphs.
//
// A reference returned by GlyphsOf or Get stays valid only until the next call
// of either on the same thread: callers use it at once.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <unordered_map>

#include "media/bitmap/alpha_mask.h"

namespace kx {

class MFont;

struct MCachedGlyph {
  MAlphaMask mask;
  int32_t advance = 0;
};

class MGlyphTable {
 public:
  explicit MGlyphTable(MFont& font);

  // The glyph of a code point; a code point the font cannot render gives an
  // empty glyph without advance, a tab the advance of a blank.
  const MCachedGlyph& Get(uint32_t code) {
    if (code < low_.size() && low_[code]) return *low_[code];
    return Load(code);
  }
  int32_t Ascent() const { return ascent_; }
  int32_t Descent() const { return descent_; }
  int32_t LineHeight() const { return lineHeight_; }

 private:
  const MCachedGlyph& Load(uint32_t code);
  std::unique_ptr<MCachedGlyph> Render(uint32_t code);

  MFont& font_;
  int32_t ascent_, descent_, lineHeight_;
  std::array<std::unique_ptr<MCachedGlyph>, 384> low_;
  std::unordered_map<uint32_t, std::unique_ptr<MCachedGlyph>> high_;
};

// The glyph table of `font` for this thread.
MGlyphTable& GlyphsOf(MFont& font);
// Glyphs rendered by FreeType through the cache since the process started.
int64_t GlyphRenderCount();

}  // namespace kx
