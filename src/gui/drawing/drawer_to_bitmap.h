// MDrawerToMBitmap: the software drawer on a 32-bit MBitmap. Every primitive
// chooses its composition mode once (pixel::WithMode) and runs an inner loop
// specialised for it; clipping happens before the loops.
#pragma once

#include "gui/drawing/drawer.h"

namespace kx {

class MCoverageRaster;

class MDrawerToMBitmap : public MDrawer {
 public:
  // Draws on `target`, which must outlive the drawer; the clip starts as the
  // whole target.
  explicit MDrawerToMBitmap(MBitmap& target);

  int32_t GetWidth() const override;
  int32_t GetHeight() const override;
  MRect GetClip() const override { return clip_; }
  // Held inside the target.
  void SetClip(const MRect& clip) override;

  void PatBlt(const MRect& destRect, const MBitmap& source, const MRect& sourceRect, uint8_t alpha,
              MDrawingMode mode) override;
  void BitBlt(MPoint dest, const MBitmap& source, const MRect& sourceRect, uint8_t alpha,
              MDrawingMode mode) override;
  using MDrawer::BitBlt;
  void AlphaMask(MPoint dest, const MAlphaMask& mask, MColor color, uint8_t alpha,
                 MDrawingMode mode) override;
  void StretchBlt(const MRect& destRect, const MBitmap& source, const MRect& sourceRect,
                  uint8_t alpha, MDrawingMode mode) override;
  void StretchBltH(const MRect& destRect, const MBitmap& source, const MRect& sourceRect,
                   uint8_t alpha, MDrawingMode mode) override;
  void StretchBltV(const MRect& destRect, const MBitmap& source, const MRect& sourceRect,
                   uint8_t alpha, MDrawingMode mode) override;
  void RotatedBlt(MPointF centre, const MBitmap& source, const MRect& sourceRect, double angle,
                  uint8_t alpha, MDrawingMode mode) override;
  void StretchBltArc(MPointF centre, double innerRadius, double outerRadius, double startAngle,
                     double endAngle, const MBitmap& source, const MRect& sourceRect,
                     uint8_t alpha, MDrawingMode mode) override;

  void LineTo(int32_t x, int32_t y, const MBrush& brush) override;
  void Line(int32_t x0, int32_t y0, int32_t x1, int32_t y1, const MBrush& brush) override;
  void LineF(double x0, double y0, double x1, double y1, const MBrush& brush) override;
  void ResetPen() override { penValid_ = false; }
  void Rectangle(const MRect& rect, const MBrush& brush) override;
  void FillRectangle(const MRect& rect, const MBrush& brush) override;
  void FillRectangleGradient(const MRect& rect, MColor c1, MColor c2, bool vertical,
                             MDrawingMode mode) override;
  void RoundRectangle(const MRect& rect, double radius, const MBrush& brush) override;
  void FillRoundRectangle(const MRect& rect, double radius, const MBrush& brush) override;
  void Circle(double cx, double cy, double radius, const MBrush& brush) override;
  void FillCircle(double cx, double cy, double radius, const MBrush& brush) override;
  void FillTriangle(MPointF a, MPointF b, MPointF c, const MBrush& brush) override;
  void PolyLine(const MPoint* points, int32_t count, const MBrush& brush) override;
  void FillPolygon(const MPointF* points, int32_t count, const MBrush& brush) override;
  void PaintHorizontalGraph(const MRect& rect, const int32_t* values, int32_t count,
                            const MBrush& brush) override;
  void PaintHorizontalIntervalGraph(const MRect& rect, const int32_t* minimums,
                                    const int32_t* maximums, int32_t count,
                                    const MBrush& brush) override;
  void SetPixel(int32_t x, int32_t y, MColor color) override;

  // False when `source` cannot serve a blit (empty or palette-less nothing to
  // read): the blit then draws nothing.
  static bool PrepareBitmap(const MBitmap& source);

 private:
  void LineUnguarded(int32_t x0, int32_t y0, int32_t x1, int32_t y1, const MBrush& brush);
  // Paints the coverage of `raster` through the brush.
  void PaintCoverage(MCoverageRaster& raster, const MBrush& brush);
  // The outline of a closed polygon as a ring of the brush's pen width.
  void StrokeClosed(const MPointF* points, int32_t count, const MBrush& brush);
  uint8_t* PixelAt(int32_t x, int32_t y);

  MBitmap& target_;
  MRect clip_;
  MPoint pen_;
  bool penValid_ = false;
};

}  // namespace kx
