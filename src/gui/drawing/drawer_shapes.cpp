// Lines, rectangles and the antialiased shapes of the software drawer.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <numbers>
#include <vector>

#include "foundation/core/exception.h"
#include "gui/drawing/blend_rows.h"
#include "gui/drawing/coverage_raster.h"
#include "gui/drawing/drawer_to_bitmap.h"
#include "gui/drawing/pixel_modes.h"
#include "media/bitmap/bitmap.h"

namespace kx {

using pixel::Fold;
using pixel::Mix;

namespace {

const uint8_t* Bytes(const MColor& c) { return &c.b; }

// Points of a rounded rectangle's outline, clockwise on screen.
void RoundRectContour(double l, double t, double r, double b, double radius,
                      std::vector<MPointF>& out) {
  out.clear();
  radius = std::clamp(radius, 0.0, std::min(r - l, b - t) / 2);
  if (radius <= 0) {
    out = {{l, t}, {r, t}, {r, b}, {l, b}};
    return;
  }
  const int steps = std::clamp(static_cast<int>(radius * 1.5), 2, 64);
  const double cx[4] = {r - radius, r - radius, l + radius, l + radius};
  const double cy[4] = {t + radius, b - radius, b - radius, t + radius};
  for (int corner = 0; corner < 4; ++corner) {
    double start = -std::numbers::pi / 2 + corner * std::numbers::pi / 2;
    for (int i = 0; i <= steps; ++i) {
      double angle = start + (std::numbers::pi / 2) * i / steps;
      out.push_back({cx[corner] + radius * std::cos(angle), cy[corner] + radius * std::sin(angle)});
    }
  }
}

void CircleContour(double cx, double cy, double radius, std::vector<MPointF>& out) {
  out.clear();
  const int steps = std::clamp(static_cast<int>(radius * 6), 8, 720);
  for (int i = 0; i < steps; ++i) {
    double angle = 2 * std::numbers::pi * i / steps;
    out.push_back({cx + radius * std::cos(angle), cy + radius * std::sin(angle)});
  }
}

// A contour added backwards, as the hole of a ring.
void AddReversed(MCoverageRaster& raster, std::vector<MPointF>& points) {
  std::reverse(points.begin(), points.end());
  raster.AddContour(points.data(), static_cast<int>(points.size()));
}

}  // namespace

uint8_t* MDrawerToMBitmap::PixelAt(int32_t x, int32_t y) {
  return target_.Row(y) + static_cast<int64_t>(x) * 4;
}

void MDrawerToMBitmap::SetPixel(int32_t x, int32_t y, MColor color) {
  if (target_.IsEmpty() || !clip_.Contains(x, y)) return;
  uint8_t* p = PixelAt(x, y);
  p[0] = color.b, p[1] = color.g, p[2] = color.r, p[3] = color.a;
}

void MDrawerToMBitmap::PaintCoverage(MCoverageRaster& raster, const MBrush& brush) {
  const int colourAlpha = brush.color.a;
  pixel::WithMode(brush.mode, [&](auto tag) {
    constexpr MDrawingMode M = decltype(tag)::value;
    for (int32_t y = raster.Top(); y <= raster.Bottom(); ++y) {
      const uint8_t* coverage = raster.Row(y);
      uint8_t* p = PixelAt(raster.OriginX(), y);
      for (int32_t i = 0; i < raster.Width(); ++i, p += 4) {
        if (coverage[i] != 0) Mix<M>(p, Bytes(brush.color), Fold(colourAlpha, coverage[i]));
      }
    }
  });
}

void MDrawerToMBitmap::Line(int32_t x0, int32_t y0, int32_t x1, int32_t y1, const MBrush& brush) {
  Guarded("MDrawerToMBitmap::Line", [&] { LineUnguarded(x0, y0, x1, y1, brush); });
}

void MDrawerToMBitmap::LineTo(int32_t x, int32_t y, const MBrush& brush) {
  Guarded("MDrawerToMBitmap::LineTo", [&] {
    if (penValid_) LineUnguarded(pen_.x, pen_.y, x, y, brush);
    pen_ = {x, y};
    penValid_ = true;
  });
}

void MDrawerToMBitmap::LineUnguarded(int32_t x0, int32_t y0, int32_t x1, int32_t y1,
                                     const MBrush& brush) {
  if (clip_.IsEmpty()) return;
  if (brush.scalar > 1) {
    LineF(x0 + 0.5, y0 + 0.5, x1 + 0.5, y1 + 0.5, brush);
    return;
  }
  if (x0 == x1 || y0 == y1) {
    FillRectangle(MRect{std::min(x0, x1), std::min(y0, y1), std::max(x0, x1), std::max(y0, y1)},
                  brush);
    return;
  }
  const int32_t dx = x1 - x0, dy = y1 - y0;
  const bool xMajor = std::abs(dx) >= std::abs(dy);
  const int32_t major = xMajor ? std::abs(dx) : std::abs(dy);
  const int32_t minor = xMajor ? std::abs(dy) : std::abs(dx);
  const int32_t stepMajor = (xMajor ? dx : dy) > 0 ? 1 : -1;
  const int32_t stepMinor = (xMajor ? dy : dx) > 0 ? 1 : -1;
  const int colourAlpha = brush.color.a;
  const MRect clip = clip_;
  pixel::WithMode(brush.mode, [&](auto tag) {
    constexpr MDrawingMode M = decltype(tag)::value;
    auto plot = [&](int32_t u, int32_t v, int coverage) {
      int32_t x = xMajor ? u : v, y = xMajor ? v : u;
      if (clip.Contains(x, y)) Mix<M>(PixelAt(x, y), Bytes(brush.color), Fold(colourAlpha, coverage));
    };
    // e is the doubled error: the distance from the pixel on the line to the
    // ideal line, in units of 1 / (2 * major), towards the minor step.
    int64_t e = 0;
    int32_t u = xMajor ? x0 : y0, v = xMajor ? y0 : x0;
    for (int32_t i = 0; i <= major; ++i, u += stepMajor) {
      const int c = static_cast<int>(e * 256 / (2 * int64_t{major}));
      if (c <= 254) plot(u, v, ~c & 255);
      if (c != 0) plot(u, v + stepMinor, c);
      e += 2 * int64_t{minor};
      if (e >= 2 * int64_t{major}) {
        e -= 2 * int64_t{major};
        v += stepMinor;
      }
    }
  });
}

void MDrawerToMBitmap::LineF(double x0, double y0, double x1, double y1, const MBrush& brush) {
  Guarded("MDrawerToMBitmap::LineF", [&] {
    const double length = std::hypot(x1 - x0, y1 - y0);
    if (!(length > 0) || !std::isfinite(length)) return;
    // A quad of the pen's width around the segment, with square caps of half a pixel.
    const double half = std::max(1, brush.scalar) / 2.0;
    const double ux = (x1 - x0) / length * half, uy = (y1 - y0) / length * half;
    MPointF quad[4] = {{x0 - uy - ux, y0 + ux - uy}, {x1 - uy + ux, y1 + ux + uy},
                       {x1 + uy + ux, y1 - ux + uy}, {x0 + uy - ux, y0 - ux - uy}};
    FillPolygon(quad, 4, brush);
  });
}

void MDrawerToMBitmap::PolyLine(const MPoint* points, int32_t count, const MBrush& brush) {
  Guarded("MDrawerToMBitmap::PolyLine", [&] {
    for (int32_t i = 1; i < count; ++i) {
      LineUnguarded(points[i - 1].x, points[i - 1].y, points[i].x, points[i].y, brush);
    }
  });
}

void MDrawerToMBitmap::FillRectangle(const MRect& rect, const MBrush& brush) {
  Guarded("MDrawerToMBitmap::FillRectangle", [&] {
    const MRect r = rect.Intersect(clip_);
    if (r.IsEmpty() || target_.IsEmpty()) return;
    const int a = brush.color.a;
    const uint8_t* s = Bytes(brush.color);
    pixel::WithMode(brush.mode, [&](auto tag) {
      constexpr MDrawingMode M = decltype(tag)::value;
      if constexpr (M == MDrawingMode::kAlphaBlend || M == MDrawingMode::kCopy) {
        if (a == 255 || M == MDrawingMode::kCopy) {
          uint32_t value;
          std::memcpy(&value, s, 4);
          for (int32_t y = r.top; y <= r.bottom; ++y) {
            uint32_t* p = reinterpret_cast<uint32_t*>(PixelAt(r.left, y));
            if constexpr (M == MDrawingMode::kCopy) {
              pixel::FillRow(p, value, r.Width());
            } else {
              pixel::OpaqueColourRow(p, value, r.Width());  // the destination keeps its alpha
            }
          }
          return;
        }
      }
      for (int32_t y = r.top; y <= r.bottom; ++y) {
        uint8_t* p = PixelAt(r.left, y);
        for (int32_t x = r.left; x <= r.right; ++x, p += 4) Mix<M>(p, s, a);
      }
    });
  });
}

void MDrawerToMBitmap::Rectangle(const MRect& rect, const MBrush& brush) {
  Guarded("MDrawerToMBitmap::Rectangle", [&] {
    if (rect.IsEmpty()) return;
    const int32_t w = std::max(1, brush.scalar);
    if (rect.Width() <= 2 * w || rect.Height() <= 2 * w) {
      FillRectangle(rect, brush);
      return;
    }
    FillRectangle({rect.left, rect.top, rect.right, rect.top + w - 1}, brush);
    FillRectangle({rect.left, rect.bottom - w + 1, rect.right, rect.bottom}, brush);
    FillRectangle({rect.left, rect.top + w, rect.left + w - 1, rect.bottom - w}, brush);
    FillRectangle({rect.right - w + 1, rect.top + w, rect.right, rect.bottom - w}, brush);
  });
}

void MDrawerToMBitmap::FillRectangleGradient(const MRect& rect, MColor c1, MColor c2,
                                             bool vertical, MDrawingMode mode) {
  Guarded("MDrawerToMBitmap::FillRectangleGradient", [&] {
    const MRect r = rect.Intersect(clip_);
    if (r.IsEmpty() || target_.IsEmpty()) return;
    const int32_t span = std::max(1, (vertical ? rect.Height() : rect.Width()) - 1);
    auto colourAt = [&](int32_t i) {
      const uint8_t* a = Bytes(c1);
      const uint8_t* b = Bytes(c2);
      MColor out;
      uint8_t* o = &out.b;
      for (int c = 0; c < 4; ++c) o[c] = static_cast<uint8_t>(a[c] + (b[c] - a[c]) * i / span);
      return out;
    };
    pixel::WithMode(mode, [&](auto tag) {
      constexpr MDrawingMode M = decltype(tag)::value;
      for (int32_t y = r.top; y <= r.bottom; ++y) {
        uint8_t* p = PixelAt(r.left, y);
        MColor rowColour = colourAt(y - rect.top);
        for (int32_t x = r.left; x <= r.right; ++x, p += 4) {
          const MColor c = vertical ? rowColour : colourAt(x - rect.left);
          Mix<M>(p, Bytes(c), c.a);
        }
      }
    });
  });
}

void MDrawerToMBitmap::FillPolygon(const MPointF* points, int32_t count, const MBrush& brush) {
  Guarded("MDrawerToMBitmap::FillPolygon", [&] {
    if (count < 3 || target_.IsEmpty()) return;
    double l = points[0].x, r = l, t = points[0].y, b = t;
    for (int32_t i = 1; i < count; ++i) {
      l = std::min(l, points[i].x), r = std::max(r, points[i].x);
      t = std::min(t, points[i].y), b = std::max(b, points[i].y);
    }
    MCoverageRaster raster;
    if (!raster.Begin(l, t, r, b, clip_)) return;
    raster.AddContour(points, count);
    PaintCoverage(raster, brush);
  });
}

void MDrawerToMBitmap::FillTriangle(MPointF a, MPointF b, MPointF c, const MBrush& brush) {
  Guarded("MDrawerToMBitmap::FillTriangle", [&] {
    const MPointF points[3] = {a, b, c};
    FillPolygon(points, 3, brush);
  });
}

void MDrawerToMBitmap::FillCircle(double cx, double cy, double radius, const MBrush& brush) {
  Guarded("MDrawerToMBitmap::FillCircle", [&] {
    if (!(radius > 0)) return;
    std::vector<MPointF> contour;
    CircleContour(cx, cy, radius, contour);
    FillPolygon(contour.data(), static_cast<int32_t>(contour.size()), brush);
  });
}

void MDrawerToMBitmap::Circle(double cx, double cy, double radius, const MBrush& brush) {
  Guarded("MDrawerToMBitmap::Circle", [&] {
    const double half = std::max(1, brush.scalar) / 2.0;
    if (!(radius > 0) || target_.IsEmpty()) return;
    MCoverageRaster raster;
    const double outer = radius + half;
    if (!raster.Begin(cx - outer, cy - outer, cx + outer, cy + outer, clip_)) return;
    std::vector<MPointF> contour;
    CircleContour(cx, cy, outer, contour);
    raster.AddContour(contour.data(), static_cast<int>(contour.size()));
    if (radius > half) {
      CircleContour(cx, cy, radius - half, contour);
      AddReversed(raster, contour);
    }
    PaintCoverage(raster, brush);
  });
}

void MDrawerToMBitmap::FillRoundRectangle(const MRect& rect, double radius, const MBrush& brush) {
  Guarded("MDrawerToMBitmap::FillRoundRectangle", [&] {
    if (rect.IsEmpty()) return;
    std::vector<MPointF> contour;
    RoundRectContour(rect.left, rect.top, rect.right + 1.0, rect.bottom + 1.0, radius, contour);
    FillPolygon(contour.data(), static_cast<int32_t>(contour.size()), brush);
  });
}

void MDrawerToMBitmap::RoundRectangle(const MRect& rect, double radius, const MBrush& brush) {
  Guarded("MDrawerToMBitmap::RoundRectangle", [&] {
    if (rect.IsEmpty() || target_.IsEmpty()) return;
    const double w = std::max(1, brush.scalar);
    const double l = rect.left, t = rect.top, r = rect.right + 1.0, b = rect.bottom + 1.0;
    MCoverageRaster raster;
    if (!raster.Begin(l, t, r, b, clip_)) return;
    std::vector<MPointF> contour;
    RoundRectContour(l, t, r, b, radius, contour);
    raster.AddContour(contour.data(), static_cast<int>(contour.size()));
    if (r - l > 2 * w && b - t > 2 * w) {
      RoundRectContour(l + w, t + w, r - w, b - w, std::max(0.0, radius - w), contour);
      AddReversed(raster, contour);
    }
    PaintCoverage(raster, brush);
  });
}

void MDrawerToMBitmap::PaintHorizontalGraph(const MRect& rect, const int32_t* values,
                                            int32_t count, const MBrush& brush) {
  Guarded("MDrawerToMBitmap::PaintHorizontalGraph", [&] {
    for (int32_t i = 1; i < count && rect.left + i <= rect.right; ++i) {
      LineUnguarded(rect.left + i - 1, values[i - 1], rect.left + i, values[i], brush);
    }
  });
}

void MDrawerToMBitmap::PaintHorizontalIntervalGraph(const MRect& rect, const int32_t* minimums,
                                                    const int32_t* maximums, int32_t count,
                                                    const MBrush& brush) {
  Guarded("MDrawerToMBitmap::PaintHorizontalIntervalGraph", [&] {
    for (int32_t i = 0; i < count && rect.left + i <= rect.right; ++i) {
      const int32_t low = std::min(minimums[i], maximums[i]);
      const int32_t high = std::max(minimums[i], maximums[i]);
      FillRectangle({rect.left + i, std::max(low, rect.top), rect.left + i,
                     std::min(high, rect.bottom)},
                    brush);
    }
  });
}

}  // namespace kx
