// The turning blits of the software drawer: RotatedBlt and StretchBltArc. Both
// map each destination pixel's centre back into the source and take the pixel
// there; the row ranges that land inside the source are found before each
// row's loop, so the loops hold neither bounds tests nor mode dispatch.
#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

#include "foundation/core/exception.h"
#include "gui/drawing/blend_rows.h"
#include "gui/drawing/drawer_to_bitmap.h"
#include "media/bitmap/bitmap.h"

namespace kx {

namespace {

constexpr int kFixedShift = 16;
constexpr double kFixedOne = 1 << kFixedShift;

int64_t FloorDiv(int64_t a, int64_t b) {
  const int64_t q = a / b;
  return (a % b != 0 && ((a < 0) != (b < 0))) ? q - 1 : q;
}
int64_t CeilDiv(int64_t a, int64_t b) { return -FloorDiv(-a, b); }

// Narrows [first, last] to the steps i for which start + i * step lies in
// [0, limit).
void KeepInside(int64_t start, int64_t step, int64_t limit, int64_t& first, int64_t& last) {
  if (step == 0) {
    if (start < 0 || start >= limit) last = first - 1;
    return;
  }
  int64_t low = step > 0 ? CeilDiv(-start, step) : CeilDiv(limit - 1 - start, step);
  int64_t high = step > 0 ? FloorDiv(limit - 1 - start, step) : FloorDiv(-start, step);
  first = std::max(first, low);
  last = std::min(last, high);
}

MRect SourceBounds(const MBitmap& source, const MRect& sourceRect) {
  return sourceRect.Intersect(MRect{0, 0, source.Width() - 1, source.Height() - 1});
}

}  // namespace

void MDrawerToMBitmap::RotatedBlt(MPointF centre, const MBitmap& source, const MRect& sourceRect,
                                  double angle, uint8_t alpha, MDrawingMode mode) {
  Guarded("MDrawerToMBitmap::RotatedBlt", [&] {
    if (!PrepareBitmap(source) || target_.IsEmpty() || !std::isfinite(angle) ||
        !std::isfinite(centre.x) || !std::isfinite(centre.y)) {
      return;
    }
    const MRect src = SourceBounds(source, sourceRect);
    if (src.IsEmpty()) return;
    const double c = std::cos(angle), s = std::sin(angle);
    const double hw = src.Width() / 2.0, hh = src.Height() / 2.0;
    // The turned rectangle's bounds, cut by the clip.
    const double ex = std::abs(hw * c) + std::abs(hh * s), ey = std::abs(hw * s) + std::abs(hh * c);
    const double bounds[4] = {std::floor(centre.x - ex), std::floor(centre.y - ey),
                              std::ceil(centre.x + ex), std::ceil(centre.y + ey)};
    for (double b : bounds) {
      if (std::abs(b) > 1e8) return;
    }
    const MRect d = MRect{static_cast<int32_t>(bounds[0]), static_cast<int32_t>(bounds[1]),
                          static_cast<int32_t>(bounds[2]), static_cast<int32_t>(bounds[3])}
                        .Intersect(clip_);
    if (d.IsEmpty()) return;
    // Source position of a destination pixel, 16.16 fixed point, relative to
    // the source rectangle: the centre turned back by the angle.
    const auto stepU = static_cast<int64_t>(std::llround(c * kFixedOne));
    const auto stepV = static_cast<int64_t>(std::llround(-s * kFixedOne));
    const int64_t limitU = int64_t{src.Width()} << kFixedShift, limitV = int64_t{src.Height()} << kFixedShift;
    struct Span {
      int32_t first, last;
      int64_t u, v;  // at `first`
    };
    std::vector<Span> spans(d.Height());
    for (int32_t y = d.top; y <= d.bottom; ++y) {
      const double px = d.left + 0.5 - centre.x, py = y + 0.5 - centre.y;
      const auto u0 = static_cast<int64_t>(std::llround((px * c + py * s + hw) * kFixedOne));
      const auto v0 = static_cast<int64_t>(std::llround((-px * s + py * c + hh) * kFixedOne));
      int64_t first = 0, last = d.right - d.left;
      KeepInside(u0, stepU, limitU, first, last);
      KeepInside(v0, stepV, limitV, first, last);
      spans[y - d.top] = Span{static_cast<int32_t>(d.left + first), static_cast<int32_t>(d.left + last),
                              u0 + first * stepU, v0 + first * stepV};
    }
    pixel::WithModeAndAlpha(mode, alpha, [&](auto tag, auto constantAlpha) {
      constexpr MDrawingMode M = decltype(tag)::value;
      constexpr bool kConstant = decltype(constantAlpha)::value;
      const uint8_t* base = source.Row(src.top) + static_cast<int64_t>(src.left) * 4;
      const int64_t stride = int64_t{source.Stride()} * 4;
      if constexpr (M == MDrawingMode::kAlphaBlend && !kConstant) {
        // Gathered into a scratch row, then blended by the wide row routine.
        std::vector<uint32_t> gathered(d.Width());
        const auto* pixels = reinterpret_cast<const uint32_t*>(base);
        const int64_t rowPixels = source.Stride();
        for (int32_t y = d.top; y <= d.bottom; ++y) {
          const Span& span = spans[y - d.top];
          int64_t u = span.u, v = span.v;
          const int32_t n = span.last - span.first + 1;
          for (int32_t i = 0; i < n; ++i, u += stepU, v += stepV) {
            gathered[i] = pixels[(v >> kFixedShift) * rowPixels + (u >> kFixedShift)];
          }
          if (n > 0) pixel::AlphaBlendRow(reinterpret_cast<uint32_t*>(PixelAt(span.first, y)), gathered.data(), n);
        }
        return;
      }
      for (int32_t y = d.top; y <= d.bottom; ++y) {
        const Span& span = spans[y - d.top];
        int64_t u = span.u, v = span.v;
        uint8_t* p = PixelAt(span.first, y);
        for (int32_t x = span.first; x <= span.last; ++x, p += 4, u += stepU, v += stepV) {
          const uint8_t* sp = base + (v >> kFixedShift) * stride + (u >> kFixedShift) * 4;
          pixel::BlitPixel<M, kConstant>(p, sp, alpha);
        }
      }
    });
  });
}

void MDrawerToMBitmap::StretchBltArc(MPointF centre, double innerRadius, double outerRadius,
                                     double startAngle, double endAngle, const MBitmap& source,
                                     const MRect& sourceRect, uint8_t alpha, MDrawingMode mode) {
  Guarded("MDrawerToMBitmap::StretchBltArc", [&] {
    if (!PrepareBitmap(source) || target_.IsEmpty()) return;
    const MRect src = SourceBounds(source, sourceRect);
    const double values[6] = {centre.x, centre.y, innerRadius, outerRadius, startAngle, endAngle};
    for (double v : values) {
      if (!std::isfinite(v) || std::abs(v) > 1e7) return;
    }
    innerRadius = std::max(0.0, innerRadius);
    const double span = std::clamp(endAngle - startAngle, -2 * std::numbers::pi, 2 * std::numbers::pi);
    if (src.IsEmpty() || !(outerRadius > innerRadius) || span == 0) return;
    const MRect d = MRect{static_cast<int32_t>(std::floor(centre.x - outerRadius)),
                          static_cast<int32_t>(std::floor(centre.y - outerRadius)),
                          static_cast<int32_t>(std::ceil(centre.x + outerRadius)),
                          static_cast<int32_t>(std::ceil(centre.y + outerRadius))}
                        .Intersect(clip_);
    if (d.IsEmpty()) return;
    const int32_t sw = src.Width(), sh = src.Height();
    const double direction = span > 0 ? 1 : -1, length = std::abs(span);
    const double rowsPerPixel = sh / (outerRadius - innerRadius);
    const double outer2 = outerRadius * outerRadius, inner2 = innerRadius * innerRadius;
    // Per row, the pixels of the ring (pixel centres inside the outer circle
    // and not inside the inner one): up to two runs, cut by the clip.
    struct Run {
      int32_t y, first, last;
    };
    std::vector<Run> runs;
    for (int32_t y = d.top; y <= d.bottom; ++y) {
      const double py = y + 0.5 - centre.y;
      if (py * py >= outer2) continue;
      const double wo = std::sqrt(outer2 - py * py);
      const auto left = static_cast<int32_t>(std::ceil(centre.x - wo - 0.5));
      const auto right = static_cast<int32_t>(std::ceil(centre.x + wo - 0.5)) - 1;
      int32_t holeLeft = right + 1, holeRight = right;
      if (py * py < inner2) {
        const double wi = std::sqrt(inner2 - py * py);
        holeLeft = static_cast<int32_t>(std::floor(centre.x - wi - 0.5)) + 1;
        holeRight = static_cast<int32_t>(std::ceil(centre.x + wi - 0.5)) - 1;
      }
      const int32_t pieces[2][2] = {{left, std::min(right, holeLeft - 1)},
                                    {std::max(left, holeRight + 1), right}};
      for (int k = 0; k < (holeLeft <= right ? 2 : 1); ++k) {
        const int32_t first = std::max(pieces[k][0], d.left);
        const int32_t last = std::min(pieces[k][1], d.right);
        if (first <= last) runs.push_back({y, first, last});
      }
    }
    pixel::WithModeAndAlpha(mode, alpha, [&](auto tag, auto constantAlpha) {
      constexpr MDrawingMode M = decltype(tag)::value;
      constexpr bool kConstant = decltype(constantAlpha)::value;
      for (const Run& run : runs) {
        const double py = run.y + 0.5 - centre.y;
        uint8_t* p = PixelAt(run.first, run.y);
        for (int32_t x = run.first; x <= run.last; ++x, p += 4) {
          const double px = x + 0.5 - centre.x;
          // Angle clockwise from twelve o'clock, counted from the start in the
          // arc's direction.
          double along = direction * (std::atan2(px, -py) - startAngle);
          along -= 2 * std::numbers::pi * std::floor(along / (2 * std::numbers::pi));
          if (along >= length) continue;
          const auto column = std::min(sw - 1, static_cast<int32_t>(along / length * sw));
          const auto row = std::clamp(
              static_cast<int32_t>((outerRadius - std::sqrt(px * px + py * py)) * rowsPerPixel), 0, sh - 1);
          pixel::BlitPixel<M, kConstant>(p, source.Row(src.top + row) + int64_t{src.left + column} * 4, alpha);
        }
      }
    });
  });
}

}  // namespace kx
