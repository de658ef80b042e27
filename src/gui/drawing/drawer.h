// MDrawer: the drawing interface of the toolkit. Controls and styles draw only
// through it. Coordinates are device pixels, rectangles inclusive; the F forms
// take floating point with pixel centres at +0.5. Drawers never fail towards the
// caller: a failure ends at the guard of the operation and draws nothing.
#pragma once

#include <cstdint>

#include "foundation/text/text_string.h"
#include "gui/drawing/drawing_types.h"

namespace kx {

class MBitmap;
class MAlphaMask;
class MFont;
class MStyles;

// Text alignment flags: bits 0-1 horizontal, bits 2-3 vertical, bit 4 one line.
enum MTextFlags : uint32_t {
  kTextLeft = 0,
  kTextCenter = 1,
  kTextRight = 2,
  kTextTop = 0,
  kTextVCenter = 4,
  kTextBottom = 8,
  kTextSingleLine = 16,
};

class MDrawer {
 public:
  virtual ~MDrawer() = default;

  virtual int32_t GetWidth() const = 0;
  virtual int32_t GetHeight() const = 0;

  virtual MRect GetClip() const = 0;
  virtual void SetClip(const MRect& clip) = 0;

  // Tiles sourceRect of `source` over destRect.
  virtual void PatBlt(const MRect& destRect, const MBitmap& source, const MRect& sourceRect,
                      uint8_t alpha, MDrawingMode mode) = 0;
  virtual void BitBlt(MPoint dest, const MBitmap& source, const MRect& sourceRect, uint8_t alpha,
                      MDrawingMode mode) = 0;
  // 8-bit coverage through `color`; text runs on this.
  virtual void AlphaMask(MPoint dest, const MAlphaMask& mask, MColor color, uint8_t alpha,
                         MDrawingMode mode) = 0;
  virtual void StretchBlt(const MRect& destRect, const MBitmap& source, const MRect& sourceRect,
                          uint8_t alpha, MDrawingMode mode) = 0;
  // Rounds to the nearest pixel and calls the integer form.
  void StretchBltF(double left, double top, double right, double bottom, const MBitmap& source,
                   const MRect& sourceRect, uint8_t alpha, MDrawingMode mode);
  void BitBlt(const MBitmap& source, MPoint dest, uint8_t alpha = 255,
              MDrawingMode mode = MDrawingMode::kAlphaBlend);

  // Lays `text` out in `rect` line by line with the glyphs of `font`, each
  // glyph through AlphaMask.
  virtual void AlignedTextOut(const MRect& rect, const MString& text, MFont& font,
                              const MBrush& brush, uint32_t flags);

  virtual void LineTo(int32_t x, int32_t y, const MBrush& brush) = 0;
  virtual void Line(int32_t x0, int32_t y0, int32_t x1, int32_t y1, const MBrush& brush) = 0;
  virtual void LineF(double x0, double y0, double x1, double y1, const MBrush& brush) = 0;
  virtual void ResetPen() = 0;
  virtual void Rectangle(const MRect& rect, const MBrush& brush) = 0;
  virtual void FillRectangle(const MRect& rect, const MBrush& brush) = 0;
  // Colours interpolated from c1 to c2 across the rectangle, top to bottom when
  // `vertical`, else left to right.
  virtual void FillRectangleGradient(const MRect& rect, MColor c1, MColor c2, bool vertical,
                                     MDrawingMode mode) = 0;
  virtual void RoundRectangle(const MRect& rect, double radius, const MBrush& brush) = 0;
  virtual void FillRoundRectangle(const MRect& rect, double radius, const MBrush& brush) = 0;
  virtual void Circle(double cx, double cy, double radius, const MBrush& brush) = 0;
  virtual void FillCircle(double cx, double cy, double radius, const MBrush& brush) = 0;
  virtual void FillTriangle(MPointF a, MPointF b, MPointF c, const MBrush& brush) = 0;
  virtual void PolyLine(const MPoint* points, int32_t count, const MBrush& brush) = 0;
  virtual void FillPolygon(const MPointF* points, int32_t count, const MBrush& brush) = 0;
  // One value per column from rect.left: a line through them; the interval form
  // fills each column from its minimum to its maximum.
  virtual void PaintHorizontalGraph(const MRect& rect, const int32_t* values, int32_t count,
                                    const MBrush& brush) = 0;
  virtual void PaintHorizontalIntervalGraph(const MRect& rect, const int32_t* minimums,
                                            const int32_t* maximums, int32_t count,
                                            const MBrush& brush) = 0;
  virtual void SetPixel(int32_t x, int32_t y, MColor color) = 0;

  // The style whose fonts, colours, metrics and scaling the drawer answers for
  // (rich text asks through it); not owned, null until a window ties one.
  void SetStyle(MStyles* style) { style_ = style; }
  MStyles* GetStyle() const { return style_; }

 private:
  MStyles* style_ = nullptr;
};

}  // namespace kx
