// Exact-area coverage of closed outlines, for the filled and antialiased shapes.
// Edges are accumulated as signed area per cell; a running sum per row gives
// each pixel's covered fraction (non-zero winding, so an outer contour and a
// reversed inner one make a ring). Only the rows inside the clip are kept.
#pragma once

#include <cstdint>
#include <vector>

#include "gui/drawing/drawing_types.h"

namespace kx {

class MCoverageRaster {
 public:
  // Prepares for outlines inside `bounds` (device x, y of the shape), keeping the
  // rows of `clip`. Returns false when nothing can be visible.
  bool Begin(double left, double top, double right, double bottom, const MRect& clip);
  // Adds the closed polygon of `count` points (device coordinates, pixel
  // centres at +0.5).
  void AddContour(const MPointF* points, int count);
  void AddEdge(MPointF a, MPointF b);

  // Converts row `y` (device) to coverage bytes for columns OriginX() .. +
  // Width() - 1; the returned pointer stays valid until the next call.
  const uint8_t* Row(int32_t y);
  int32_t OriginX() const { return x0_; }
  int32_t Width() const { return width_; }
  int32_t Top() const { return y0_; }
  int32_t Bottom() const { return y1_; }  // inclusive

 private:
  int32_t x0_ = 0, y0_ = 0, y1_ = -1, width_ = 0;
  std::vector<float> accumulation_;
  std::vector<uint8_t> row_;
};

}  // namespace kx
