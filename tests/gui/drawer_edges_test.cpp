// The exact edges of the software drawer: the skipped main pixel of a line,
// refused sources, clipping, None, and the blended rows of a blit (the blend of
// every mode on a grid is composition_modes_test.cpp's).
#include <gtest/gtest.h>

#include <cstring>

#include "gui/drawing/drawer_to_bitmap.h"
#include "media/bitmap/bitmap.h"

namespace kx {
namespace {

MColor At(const MBitmap& b, int x, int y) {
  MColor c;
  std::memcpy(static_cast<void*>(&c), b.Pixels() + y * b.Stride() + x, 4);
  return c;
}

MBitmap Black(int w, int h) {
  MBitmap b(w, h);
  for (int i = 0; i < w * h; ++i) b.Pixels()[i] = 0xFF000000u;
  return b;
}

TEST(DrawerEdges, LineSkipsMainPixelWhenItsCoverageIsAbove254) {
  // At x = 1 the ideal line is 255/256 of a pixel below row 0: coverage 255
  // goes wholly to row 1.
  MBitmap target = Black(260, 260);
  MDrawerToMBitmap drawer(target);
  drawer.Line(0, 0, 256, 255, MBrush{MColor::RGBA(255, 255, 255)});
  EXPECT_EQ(At(target, 1, 0), MColor::RGBA(0, 0, 0, 255));
  EXPECT_EQ(At(target, 1, 1), MColor::RGBA(255, 255, 255, 255));
  EXPECT_EQ(At(target, 0, 0), MColor::RGBA(255, 255, 255, 255));
  // Coverage of main and neighbour adds up to the full colour, but for the rounding of two blends.
  for (int x = 2; x < 256; x += 17) {
    int sum = 0;
    for (int y = 0; y < 260; ++y) sum += At(target, x, y).r;
    EXPECT_NEAR(sum, 255, 2) << x;
  }
}

TEST(DrawerEdges, NothingIsDrawnForRefusedSourcesEmptyClipsOrNoneMode) {
  MBitmap target = Black(8, 8);
  MBitmap before = Black(8, 8);
  MBitmap emptySource;
  MBitmap white(4, 4);
  for (int i = 0; i < 16; ++i) white.Pixels()[i] = 0xFFFFFFFFu;
  MDrawerToMBitmap drawer(target);
  drawer.StretchBlt({0, 0, 7, 7}, emptySource, {0, 0, 3, 3}, 255, MDrawingMode::kAlphaBlend);
  drawer.PatBlt({0, 0, 7, 7}, emptySource, {0, 0, 3, 3}, 255, MDrawingMode::kAlphaBlend);
  drawer.StretchBltH({0, 0, 7, 7}, emptySource, {0, 0, 3, 3}, 255, MDrawingMode::kAlphaBlend);
  drawer.StretchBltV({0, 0, 7, 7}, emptySource, {0, 0, 3, 3}, 255, MDrawingMode::kAlphaBlend);
  drawer.RotatedBlt({4, 4}, emptySource, {0, 0, 3, 3}, 1.0, 255, MDrawingMode::kAlphaBlend);
  drawer.StretchBltArc({4, 4}, 1, 4, 0, 3, emptySource, {0, 0, 3, 3}, 255, MDrawingMode::kAlphaBlend);
  drawer.StretchBltArc({4, 4}, 1, 4, 0, 3, white, {0, 0, 3, 3}, 255, MDrawingMode::kNone);
  drawer.StretchBlt({0, 0, 7, 7}, white, {0, 0, 3, 3}, 255, MDrawingMode::kNone);
  drawer.BitBlt({0, 0}, white, {0, 0, 3, 3}, 255, static_cast<MDrawingMode>(99));
  drawer.FillCircle(4, 4, 3, MBrush{MColor::RGBA(255, 0, 0), 1, MDrawingMode::kNone});
  drawer.SetClip({5, 5, 4, 4});
  drawer.FillRectangle({0, 0, 7, 7}, MBrush{MColor::RGBA(255, 0, 0)});
  drawer.Line(0, 0, 7, 5, MBrush{MColor::RGBA(255, 0, 0)});
  EXPECT_EQ(std::memcmp(target.Bytes(), before.Bytes(), 8 * 8 * 4), 0);
}

TEST(DrawerEdges, BlitsLandClippedAndStretchSamplesEveryPixel) {
  MBitmap source(2, 2);
  const uint32_t quad[4] = {0xFFFF0000u, 0xFF00FF00u, 0xFF0000FFu, 0xFFFFFFFFu};
  std::memcpy(source.Pixels(), quad, 16);
  MBitmap target = Black(6, 6);
  MDrawerToMBitmap drawer(target);
  drawer.SetClip({0, 0, 4, 4});
  drawer.StretchBlt({0, 0, 3, 3}, source, {0, 0, 1, 1}, 255, MDrawingMode::kAlphaBlend);
  drawer.BitBlt({4, 4}, source, {0, 0, 1, 1}, 255, MDrawingMode::kAlphaBlend);
  // Pixels at y * 6 + x; the last two lie outside the clip.
  const std::pair<int, uint32_t> pixels[] = {{0, quad[0]},
                                             {1 * 6 + 1, quad[0]},
                                             {0 * 6 + 3, quad[1]},
                                             {3 * 6 + 0, quad[2]},
                                             {3 * 6 + 3, quad[3]},
                                             {4 * 6 + 4, quad[0]},
                                             {4 * 6 + 5, 0xFF000000u},
                                             {5 * 6 + 4, 0xFF000000u}};
  for (auto [at, colour] : pixels) EXPECT_EQ(target.Pixels()[at], colour) << at;
}

TEST(DrawerEdges, BlendedRowsFollowTheFormulaKeepTheDestinationAlphaAndStopAtTheEdges) {
  // 37 pixels: whole registers, then a partial one; the pixels either side stay.
  MBitmap target(41, 2), source(37, 1);
  for (int i = 0; i < 41 * 2; ++i)
    target.Pixels()[i] = uint32_t(i * 3) << 24 | uint32_t(200 - 2 * i) << 16 | 0x3456u;
  for (int i = 0; i < 37; ++i)
    source.Pixels()[i] = uint32_t(i == 36 ? 255 : i * 7) << 24 | uint32_t(7 * i) << 16 | 0x80FFu;
  MBitmap before(41, 2);
  before.CopyFrom(target);
  MDrawerToMBitmap drawer(target);
  drawer.FillRectangle({2, 0, 38, 0}, MBrush{MColor::RGBA(9, 8, 7)});
  drawer.BitBlt({2, 1}, source, {0, 0, 36, 0}, 255, MDrawingMode::kAlphaBlend);
  for (int x = 0; x < 41; ++x) {
    const bool inside = x >= 2 && x <= 38;
    const uint32_t was = before.Pixels()[x];
    EXPECT_EQ(target.Pixels()[x], inside ? (was & 0xFF000000u) | 0x090807u : was) << x;
    const MColor d = At(before, x, 1), got = At(target, x, 1);
    if (!inside) {
      EXPECT_EQ(got, d) << x;
      continue;
    }
    const MColor s = At(source, x - 2, 0);
    const int a = s.a;
    auto blend = [a](int sc, int dc) {
      return a == 255 ? sc : a == 0 ? dc : (sc * a + dc * (255 - a)) >> 8;
    };
    EXPECT_EQ(got, MColor::RGBA(blend(s.r, d.r), blend(s.g, d.g), blend(s.b, d.b), d.a)) << x;
  }
}

}  // namespace
}  // namespace kx
