// Hue, saturation and value of 8-bit colours, for the colour modes of the
// drawer. All values are bytes; hue runs round the ring in 256 steps, its
// thirds at 85 and 171. Alpha takes no part.
#pragma once

#include <cstdint>

namespace kx {

struct MHSV {
  uint8_t h = 0;
  uint8_t s = 0;
  uint8_t v = 0;
};

struct MRGB {
  uint8_t r = 0;
  uint8_t g = 0;
  uint8_t b = 0;
};

MHSV RGBToHSV(uint8_t r, uint8_t g, uint8_t b);
MRGB HSVToRGB(uint8_t h, uint8_t s, uint8_t v);

}  // namespace kx
