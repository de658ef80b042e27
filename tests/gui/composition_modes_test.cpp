// Every composition mode against a per-channel reference written from the
// formulas, on a grid of source, destination and alpha values, drawn through a
// real primitive (FillRectangle of one pixel).
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "gui/drawing/drawer_to_bitmap.h"
#include "media/bitmap/bitmap.h"
#include "media/bitmap/colour_hsv.h"

namespace kx {
namespace {

int Blend(int r, int d, int a) { return a == 255 ? r : (r * a + d * (255 - a)) >> 8; }
int Mod(int s, int d) { return (d + 1) * s >> 8; }
int Scr(int s, int d) { return 255 - ((255 - s) * (256 - d) >> 8); }

using Channel = std::function<int(int s, int d, int a)>;
struct ModeCase {
  MDrawingMode mode;
  Channel channel;  // null: checked by the pixel-wide reference below
};

const ModeCase kCases[] = {
    {MDrawingMode::kAlphaBlend, [](int s, int d, int a) { return Blend(s, d, a); }},
    {MDrawingMode::kCombine,
     [](int s, int d, int a) {
       int r = d < 128 ? (s * (d + 1) / 128) & 254 : 255 - ((255 - s) * (512 - 2 * d) >> 8);
       return Blend(r, d, a);
     }},
    {MDrawingMode::kModulate, [](int s, int d, int a) { return Blend(Mod(s, d), d, a); }},
    {MDrawingMode::kScreen, [](int s, int d, int a) { return Blend(Scr(s, d), d, a); }},
    {MDrawingMode::kModulateScreen,
     [](int s, int d, int a) { return Blend(Scr(s, Mod(s, d)), d, a); }},
    {MDrawingMode::kScreenModulate,
     [](int s, int d, int a) { return Blend(Mod(s, Scr(s, d)), d, a); }},
    {MDrawingMode::kColor, nullptr},
    {MDrawingMode::kColorWithSaturation, nullptr},
    {MDrawingMode::kColorMulSaturation, nullptr},
    {MDrawingMode::kCopyS, nullptr},
    {MDrawingMode::kCopyV, nullptr},
    {MDrawingMode::kCopy, [](int s, int, int) { return s; }},
    {MDrawingMode::kOverlay, [](int s, int d, int a) { return Blend(s, d, a); }},
    {MDrawingMode::kInvert, [](int, int d, int a) { return Blend(255 - d, d, a); }},
    {MDrawingMode::kAdd, [](int s, int d, int a) { return std::min(255, d + ((s + 1) * a >> 8)); }},
    {MDrawingMode::kSubtract,
     [](int s, int d, int a) { return std::max(0, d - ((s + 1) * a >> 8)); }},
    {MDrawingMode::kAverage, [](int s, int d, int a) { return Blend((s + d) / 2, d, a); }},
    {MDrawingMode::kMin, [](int s, int d, int a) { return Blend(std::min(s, d), d, a); }},
    {MDrawingMode::kMax, [](int s, int d, int a) { return Blend(std::max(s, d), d, a); }},
    {MDrawingMode::kLighten, nullptr},
    {MDrawingMode::kDarken, nullptr},
    {MDrawingMode::kDifference,
     [](int s, int d, int a) { return Blend(std::max(0, s - d), d, a); }},
    {MDrawingMode::kIncContrast,
     [](int s, int d, int a) {
       int c = std::clamp((4335 - 16 * s) * (d - 127) / 255, -127, 128);
       return Blend(c + 127, d, a);
     }},
    {MDrawingMode::kDecContrast,
     [](int s, int d, int a) { return Blend((d - 127) * s / 255 + 127, d, a); }},
    {MDrawingMode::kLightenByContrast,
     [](int s, int d, int a) {
       int w = (s + 1) * a >> 8;
       return w == 255 ? 255 : std::min(255, d * 255 / (255 - w));
     }},
    {MDrawingMode::kDarkenByContrast,
     [](int s, int d, int a) {
       int w = (256 - s) * a >> 8;
       return w == 255 ? 0 : std::clamp((d - w) * 255 / (255 - w), 0, 255);
     }},
};

// The modes that work on the whole pixel: hue/saturation/value and the
// proportional lighten and darken.
MColor WholePixel(MDrawingMode mode, MColor s, MColor d, int a) {
  MColor out = d;
  if (mode == MDrawingMode::kLighten || mode == MDrawingMode::kDarken) {
    int m = std::max({d.r, d.g, d.b}), top = std::max({s.r, s.g, s.b});
    int t = mode == MDrawingMode::kLighten ? std::min(255, m + ((top + 1) * a >> 8))
                                           : std::max(0, m - ((256 - top) * a >> 8));
    auto scale = [&](int c) { return static_cast<uint8_t>(m == 0 ? t : c * t / m); };
    out.r = scale(d.r), out.g = scale(d.g), out.b = scale(d.b);
    return out;
  }
  MHSV hs = RGBToHSV(s.r, s.g, s.b), hd = RGBToHSV(d.r, d.g, d.b);
  MHSV h = hd;
  switch (mode) {
    case MDrawingMode::kColor: h = {hs.h, hs.s, hd.v}; break;
    case MDrawingMode::kColorWithSaturation: h = {hs.h, std::max(hs.s, hd.s), hd.v}; break;
    case MDrawingMode::kColorMulSaturation:
      h = {hs.h, static_cast<uint8_t>(hs.s * (hd.s + 1) >> 8), hd.v};
      break;
    case MDrawingMode::kCopyS: h = {hd.h, hs.s, hd.v}; break;
    default: h = {hd.h, hd.s, hs.v}; break;
  }
  MRGB r = HSVToRGB(h.h, h.s, h.v);
  out.r = static_cast<uint8_t>(Blend(r.r, d.r, a));
  out.g = static_cast<uint8_t>(Blend(r.g, d.g, a));
  out.b = static_cast<uint8_t>(Blend(r.b, d.b, a));
  return out;
}

TEST(CompositionModes, EveryModeMatchesItsReferenceOnAGrid) {
  const int levels[] = {0, 1, 64, 127, 128, 200, 254, 255};
  const int alphas[] = {1, 100, 254, 255};
  MBitmap target(1, 1);
  MDrawerToMBitmap drawer(target);
  for (const ModeCase& c : kCases)
    for (int sv : levels)
      for (int dv : levels)
        for (int a : alphas) {
          // Channels differ so that per-channel mix-ups show.
          const MColor s = MColor::RGBA(sv, 255 - sv, sv / 2, a);
          const MColor d = MColor::RGBA(dv, dv / 3, 255 - dv, 200);
          std::memcpy(target.Pixels(), &d, 4);
          drawer.FillRectangle({0, 0, 0, 0}, MBrush{s, 1, c.mode});
          MColor got;
          std::memcpy(static_cast<void*>(&got), target.Pixels(), 4);
          MColor want = d;
          if (c.channel) {
            want.r = static_cast<uint8_t>(c.channel(s.r, d.r, a));
            want.g = static_cast<uint8_t>(c.channel(s.g, d.g, a));
            want.b = static_cast<uint8_t>(c.channel(s.b, d.b, a));
            if (c.mode == MDrawingMode::kCopy) want.a = s.a;
            if (c.mode == MDrawingMode::kOverlay) want.a = std::min(255, d.a + a);
          } else {
            want = WholePixel(c.mode, s, d, a);
          }
          ASSERT_EQ(got, want) << DrawingModeName(c.mode) << " s=" << sv << " d=" << dv
                               << " a=" << a;
        }
}

TEST(CompositionModes, NamesRoundTripAndUnknownIsAlphaBlend) {
  for (int i = 1; i < kDrawingModeCount; ++i)
    EXPECT_EQ(DrawingModeFromName(DrawingModeName(MDrawingMode(i))), MDrawingMode(i));
  EXPECT_EQ(DrawingModeFromName("Sparkle"), MDrawingMode::kAlphaBlend);
  EXPECT_EQ(std::size(kCases), size_t{kDrawingModeCount - 1});
}

}  // namespace
}  // namespace kx
