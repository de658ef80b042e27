#include "gui/drawing/drawer.h"

#include <cmath>
#include <vector>

#include "foundation/core/exception.h"
#include "media/bitmap/alpha_mask.h"
#include "media/bitmap/bitmap.h"
#include "gui/styles/styles.h"
#include "media/fonts/font.h"

namespace kx {

MStyles& MDrawer::Style() const {
  if (!style_) throw MException(MString("Style resources have not been loaded."));
  return *style_;
}

MFont& MDrawer::GetFont(int32_t index) { return Style().GetFont(index); }
MColor MDrawer::GetColor(MStyleColor index) { return Style().GetColor(index); }
MColor MDrawer::TransformColor(MColor color) { return style_ ? style_->TransformColor(color) : color; }
int32_t MDrawer::GetMetric(int32_t index) { return Style().GetMetric(index); }
int32_t MDrawer::ScaleX(double v) { return Style().ScaleX(v); }
int32_t MDrawer::ScaleY(double v) { return Style().ScaleY(v); }

void MDrawer::StretchBltF(double left, double top, double right, double bottom,
                          const MBitmap& source, const MRect& sourceRect, uint8_t alpha,
                          MDrawingMode mode) {
  MRect dest{static_cast<int32_t>(std::lround(left)), static_cast<int32_t>(std::lround(top)),
             static_cast<int32_t>(std::lround(right)), static_cast<int32_t>(std::lround(bottom))};
  StretchBlt(dest, source, sourceRect, alpha, mode);
}

void MDrawer::BitBlt(const MBitmap& source, MPoint dest, uint8_t alpha, MDrawingMode mode) {
  BitBlt(dest, source, MRect{0, 0, source.Width() - 1, source.Height() - 1}, alpha, mode);
}

void MDrawer::AlignedTextOut(const MRect& rect, const MString& text, MFont& font,
                             const MBrush& brush, uint32_t flags) {
  Guarded("MDrawerToMBitmap::AlignedTextOut", [&] {
    if (!font.IsLoaded() || rect.IsEmpty()) return;
    // Lines split at line feeds; one line only when asked.
    std::vector<std::u32string> lines(1);
    for (int32_t i = 0; i < text.Length(); ++i) {
      char32_t c = text[i];
      if (c >= 0xD800 && c < 0xDC00 && i + 1 < text.Length() && text[i + 1] >= 0xDC00 &&
          text[i + 1] < 0xE000) {
        c = 0x10000 + ((c - 0xD800) << 10) + (text[++i] - 0xDC00);
      }
      if (c == U'\n' && !(flags & kTextSingleLine)) {
        lines.emplace_back();
      } else if (c != U'\r' && c != U'\n') {
        lines.back().push_back(c);
      }
    }
    const int32_t lineHeight = font.LineHeight();
    const int32_t total = lineHeight * static_cast<int32_t>(lines.size());
    int32_t y = rect.top;
    if (flags & kTextVCenter) y = rect.top + (rect.Height() - total) / 2;
    else if (flags & kTextBottom) y = rect.bottom + 1 - total;
    MAlphaMask glyph;
    for (const auto& line : lines) {
      int32_t width = 0;
      for (char32_t c : line) {
        int32_t advance = 0;
        font.RenderGlyph(c, glyph, advance);
        width += advance;
      }
      int32_t x = rect.left;
      if ((flags & 3) == kTextCenter) x = rect.left + (rect.Width() - width) / 2;
      else if ((flags & 3) == kTextRight) x = rect.right + 1 - width;
      const int32_t baseline = y + font.Ascent();
      for (char32_t c : line) {
        int32_t advance = 0;
        font.RenderGlyph(c, glyph, advance);
        if (!glyph.IsEmpty()) AlphaMask(MPoint{x + glyph.x, baseline + glyph.y}, glyph, brush.color, 255, brush.mode);
        x += advance;
      }
      y += lineHeight;
    }
  });
}

}  // namespace kx
