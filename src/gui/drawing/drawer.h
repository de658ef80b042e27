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
enum class MStyleColor : uint8_t;

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

  // The style of the drawer's window; the queries below forward to it and
  // throw "Style resources have not been loaded." without one.
  void SetStyle(MStyles* style) { style_ = style; }
  MStyles* GetStyle() const { return style_; }
  virtual MFont& GetFont(int32_t index);
  virtual MColor GetColor(MStyleColor index);
  virtual MColor TransformColor(MColor color);
  virtual int32_t GetMetric(int32_t index);
  virtual int32_t ScaleX(double v);
  virtual int32_t ScaleY(double v);

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
  // Stretch along one axis: StretchBltH fits the source's width to destRect's
  // and takes its rows one to one from the top (as many as both have);
  // StretchBltV the same turned.
  virtual void StretchBltH(const MRect& destRect, const MBitmap& source, const MRect& sourceRect,
                           uint8_t alpha, MDrawingMode mode) = 0;
  virtual void StretchBltV(const MRect& destRect, const MBitmap& source, const MRect& sourceRect,
                           uint8_t alpha, MDrawingMode mode) = 0;
  // sourceRect turned by `angle` (radians, clockwise on screen) about its
  // middle, which lands on `centre`.
  virtual void RotatedBlt(MPointF centre, const MBitmap& source, const MRect& sourceRect,
                          double angle, uint8_t alpha, MDrawingMode mode) = 0;
  // sourceRect bent into a ring around `centre`: its columns run along the
  // arc from startAngle to endAngle (radians, clockwise from twelve o'clock),
  // its top row on the outer radius and its bottom row on the inner one.
  // Knobs draw their value arcs with it.
  virtual void StretchBltArc(MPointF centre, double innerRadius, double outerRadius,
                             double startAngle, double endAngle, const MBitmap& source,
                             const MRect& sourceRect, uint8_t alpha, MDrawingMode mode) = 0;

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

 private:
  MStyles& Style() const;

  MStyles* style_ = nullptr;
};

}  // namespace kx
