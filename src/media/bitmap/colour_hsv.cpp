#include "media/bitmap/colour_hsv.h"

#include <algorithm>

namespace kx {

MHSV RGBToHSV(uint8_t r, uint8_t g, uint8_t b) {
  int v = std::max({r, g, b});
  int m = std::min({r, g, b});
  if (v == m) return {0, 0, static_cast<uint8_t>(v)};
  int s = (v - m) * 255 / v;
  int k = 6 * (v - m);
  int h;
  // C++ division truncates towards zero, as the ring arithmetic expects.
  if (r == v)
    h = (g - b) * 255 / k;
  else if (g == v)
    h = ((b - r) * 255 / k + 85) & 255;
  else
    h = ((r - g) * 255 / k - 86) & 255;
  return {static_cast<uint8_t>(h), static_cast<uint8_t>(s), static_cast<uint8_t>(v)};
}

MRGB HSVToRGB(uint8_t h, uint8_t s, uint8_t v) {
  if (s == 0) return {v, v, v};
  int t = h * 6;
  int sector = t >> 8;
  int f = t & 255;
  int p = (~s & 255) * (v + 1) >> 8;
  int q = (((s + 1) * f >> 8) ^ 255) * (v + 1) >> 8;
  int u = ((((f ^ 255) * (s + 1)) >> 8) ^ 255) * (v + 1) >> 8;
  auto rgb = [](int r, int g, int b) {
    return MRGB{static_cast<uint8_t>(r), static_cast<uint8_t>(g), static_cast<uint8_t>(b)};
  };
  switch (sector) {
    case 0: return rgb(v, u, p);
    case 1: return rgb(q, v, p);
    case 2: return rgb(p, v, u);
    case 3: return rgb(p, q, v);
    case 4: return rgb(u, p, v);
    default: return rgb(v, p, q);
  }
}

}  // namespace kx
