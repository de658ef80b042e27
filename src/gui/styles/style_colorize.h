// Colorisation: an image of the style recoloured for the user's MainColor. The
// `colors` section of a style says how:
//   changecolortomain        1: state sets and parts follow MainColor
//   changerectcolortomain    1: generated rectangles follow it too
//   colorizationalgorithm    0 accent: only pixels near the style's own main hue
//                              turn (greys and other hues stay), so an accent
//                              colour moves and the surfaces do not;
//                            1 tint: every coloured pixel takes the new hue
//   colorizewithsaturation   0-255, how far the saturation moves to MainColor's
//   colorizewithbrightness   0-255, how far the value moves by MainColor's
//                            value against the style's main colour
// An element opts out with `colorize` 0.
#pragma once

#include <cstdint>

#include "gui/drawing/drawing_types.h"

namespace kx {

class MBitmap;
class MXMLItem;

struct MColorization {
  bool changeColorToMain = false;
  bool changeRectColorToMain = false;
  int32_t algorithm = 0;
  int32_t withSaturation = 255;
  int32_t withBrightness = 0;

  void Read(const MXMLItem& colors);
};

// `source` recoloured from the style's main colour `from` to `to` into `out`
// (same size, alpha kept). With `from` equal to `to` a plain copy.
void ColorizeBitmap(const MBitmap& source, MColor from, MColor to, const MColorization& how,
                    MBitmap& out);
// One colour through the same rule.
MColor ColorizeColor(MColor color, MColor from, MColor to, const MColorization& how);

}  // namespace kx
