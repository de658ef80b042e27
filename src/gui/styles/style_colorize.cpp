#include "gui/styles/style_colorize.h"

#include <algorithm>
#include <cstdlib>

#include "gui/styles/style_image.h"
#include "media/bitmap/bitmap.h"
#include "media/bitmap/colour_hsv.h"

namespace kx {

namespace {

// Hues within this many steps (of 256) of the style's main hue count as accent.
constexpr int kAccentHueRange = 24;
// Below this saturation a pixel is grey and keeps its colour.
constexpr int kGreySaturation = 40;

struct Rule {
  MHSV from, to;
  MColorization how;

  void Apply(uint8_t& r, uint8_t& g, uint8_t& b) const {
    const MHSV c = RGBToHSV(r, g, b);
    if (c.s < kGreySaturation) return;
    if (how.algorithm == 0) {
      const int distance = std::abs(int(c.h) - int(from.h));
      if (std::min(distance, 256 - distance) > kAccentHueRange) return;
    }
    // Saturation and value move by the ratio of the two main colours, as far
    // as the style asks.
    int s = c.s, v = c.v;
    if (from.s > 0) s += (std::min(255, c.s * to.s / from.s) - s) * how.withSaturation / 255;
    if (from.v > 0) v += (std::min(255, c.v * to.v / from.v) - v) * how.withBrightness / 255;
    const MRGB out = HSVToRGB(to.h, static_cast<uint8_t>(s), static_cast<uint8_t>(v));
    r = out.r, g = out.g, b = out.b;
  }
};

}  // namespace

void MColorization::Read(const MXMLItem& colors) {
  changeColorToMain = StyleInt(colors, "changecolortomain", changeColorToMain) != 0;
  changeRectColorToMain = StyleInt(colors, "changerectcolortomain", changeRectColorToMain) != 0;
  algorithm = std::clamp(StyleInt(colors, "colorizationalgorithm", algorithm), 0, 1);
  withSaturation = std::clamp(StyleInt(colors, "colorizewithsaturation", withSaturation), 0, 255);
  withBrightness = std::clamp(StyleInt(colors, "colorizewithbrightness", withBrightness), 0, 255);
}

void ColorizeBitmap(const MBitmap& source, MColor from, MColor to, const MColorization& how,
                    MBitmap& out) {
  out.CopyFrom(source);
  if (from == to || out.IsEmpty()) return;
  const Rule rule{RGBToHSV(from.r, from.g, from.b), RGBToHSV(to.r, to.g, to.b), how};
  uint8_t* p = out.Bytes();
  for (int64_t i = 0, n = int64_t{out.Width()} * out.Height(); i < n; ++i, p += 4) {
    if (p[3] != 0) rule.Apply(p[2], p[1], p[0]);
  }
}

MColor ColorizeColor(MColor color, MColor from, MColor to, const MColorization& how) {
  if (from == to) return color;
  const Rule rule{RGBToHSV(from.r, from.g, from.b), RGBToHSV(to.r, to.g, to.b), how};
  rule.Apply(color.r, color.g, color.b);
  return color;
}

}  // namespace kx
