// HSV in 8 bits: the primaries land on the ring's thirds, and any colour comes
// back from its hue, saturation and value within the ring's rounding (256 hue
// steps, truncating divisions), which a wrong sector or sign would far exceed.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "media/bitmap/colour_hsv.h"

namespace kx {
namespace {

TEST(ColourHSVTest, PrimariesSitOnTheThirdsAndColoursRoundTrip) {
  EXPECT_EQ(RGBToHSV(255, 0, 0).h, 0);
  EXPECT_EQ(RGBToHSV(0, 255, 0).h, 85);
  EXPECT_EQ(RGBToHSV(0, 0, 255).h, 170);
  EXPECT_EQ(RGBToHSV(90, 90, 90).s, 0);
  int worst = 0;
  for (int r = 0; r < 256; r += 5)
    for (int g = 0; g < 256; g += 5)
      for (int b = 0; b < 256; b += 5) {
        MHSV hsv = RGBToHSV(static_cast<uint8_t>(r), static_cast<uint8_t>(g), static_cast<uint8_t>(b));
        MRGB back = HSVToRGB(hsv.h, hsv.s, hsv.v);
        worst = std::max({worst, std::abs(back.r - r), std::abs(back.g - g), std::abs(back.b - b)});
      }
  EXPECT_LE(worst, 10);
}

}  // namespace
}  // namespace kx
