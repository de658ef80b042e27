#include "gui/drawing/coverage_raster.h"

#include <algorithm>
#include <cmath>

namespace kx {

bool MCoverageRaster::Begin(double left, double top, double right, double bottom,
                            const MRect& clip) {
  if (clip.IsEmpty() || !(right > left) || !(bottom > top)) return false;
  x0_ = static_cast<int32_t>(std::floor(std::max(left, static_cast<double>(clip.left))));
  int32_t x1 = static_cast<int32_t>(std::ceil(std::min(right, static_cast<double>(clip.right) + 1)));
  y0_ = static_cast<int32_t>(std::floor(std::max(top, static_cast<double>(clip.top))));
  y1_ = static_cast<int32_t>(std::ceil(std::min(bottom, static_cast<double>(clip.bottom) + 1))) - 1;
  if (x1 <= x0_ || y1_ < y0_) return false;
  width_ = x1 - x0_;
  // Two spare columns take the spill of the rightmost cells.
  accumulation_.assign(static_cast<size_t>(width_ + 2) * (y1_ - y0_ + 1), 0.0f);
  row_.resize(width_);
  return true;
}

void MCoverageRaster::AddContour(const MPointF* points, int count) {
  for (int i = 0; i < count; ++i) AddEdge(points[i], points[(i + 1) % count]);
}

void MCoverageRaster::AddEdge(MPointF a, MPointF b) {
  double ax = a.x - x0_, ay = a.y - y0_, bx = b.x - x0_, by = b.y - y0_;
  if (ay == by) return;
  double dir = 1.0;
  if (ay > by) {
    std::swap(ax, bx), std::swap(ay, by);
    dir = -1.0;
  }
  const int32_t rows = y1_ - y0_ + 1;
  if (by <= 0 || ay >= rows) return;
  const double dxdy = (bx - ax) / (by - ay);
  // Left of the kept columns everything counts as the left edge; right of them
  // nothing is seen, so x is held inside [0, width].
  const double maxX = width_;
  double x = ax;
  if (ay < 0) {
    x -= ay * dxdy;
    ay = 0;
  }
  by = std::min(by, double(rows));
  const size_t stride = width_ + 2;
  for (int32_t y = static_cast<int32_t>(ay); y < static_cast<int32_t>(std::ceil(by)); ++y) {
    float* row = &accumulation_[stride * y];
    double dy = std::min(double(y + 1), by) - std::max(double(y), ay);
    double xnext = x + dxdy * dy;
    double d = dy * dir;
    double xa = std::clamp(std::min(x, xnext), 0.0, maxX);
    double xb = std::clamp(std::max(x, xnext), 0.0, maxX);
    double fa = std::floor(xa);
    int32_t ia = static_cast<int32_t>(fa);
    int32_t ib = static_cast<int32_t>(std::ceil(xb));
    if (ib <= ia + 1) {
      double mid = 0.5 * (xa + xb) - fa;
      row[ia] += static_cast<float>(d - d * mid);
      row[ia + 1] += static_cast<float>(d * mid);
    } else {
      double s = 1.0 / (xb - xa);
      double fracA = xa - fa;
      double a0 = 0.5 * s * (1 - fracA) * (1 - fracA);
      double fracB = xb - ib + 1;
      double am = 0.5 * s * fracB * fracB;
      row[ia] += static_cast<float>(d * a0);
      if (ib == ia + 2) {
        row[ia + 1] += static_cast<float>(d * (1 - a0 - am));
      } else {
        double a1 = s * (1.5 - fracA);
        row[ia + 1] += static_cast<float>(d * (a1 - a0));
        for (int32_t i = ia + 2; i < ib - 1; ++i) row[i] += static_cast<float>(d * s);
        double a2 = a1 + (ib - ia - 3) * s;
        row[ib - 1] += static_cast<float>(d * (1 - a2 - am));
      }
      row[ib] += static_cast<float>(d * am);
    }
    x = xnext;
  }
}

const uint8_t* MCoverageRaster::Row(int32_t y) {
  const float* acc = &accumulation_[static_cast<size_t>(width_ + 2) * (y - y0_)];
  float sum = 0;
  for (int32_t i = 0; i < width_; ++i) {
    sum += acc[i];
    float c = std::min(1.0f, std::fabs(sum));
    row_[i] = static_cast<uint8_t>(c * 255.0f + 0.5f);
  }
  return row_.data();
}

}  // namespace kx
