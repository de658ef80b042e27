// The one-axis stretches, the turned blit and the arc: exact pixels where the
// mapping is exact (every mode through each at identity size against BitBlt,
// quarter turns, the quadrants of an arc), and against cairo where a shape is
// involved: pixel-centre sampling on both sides, so only pixels whose centre
// lies on an edge to within rounding may differ.
#include <cairo.h>
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <numbers>

#include "gui/drawing/drawer_to_bitmap.h"
#include "media/bitmap/bitmap.h"

namespace kx {
namespace {

constexpr double kPi = std::numbers::pi;

MBitmap Pattern(int w, int h, uint32_t seed) {
  MBitmap b(w, h);
  for (int i = 0; i < w * h; ++i) {
    const uint32_t v = (i + 1) * 2654435761u ^ seed;
    b.Pixels()[i] = v | (seed ? 0 : 0xFF000000u);
  }
  return b;
}

TEST(TransformBlits, EveryModeAtIdentitySizeEqualsBitBlt) {
  const MBitmap source = Pattern(7, 5, 0x5A3C0000u);
  using Op = std::function<void(MDrawerToMBitmap&, uint8_t, MDrawingMode)>;
  const std::pair<const char*, Op> ops[] = {
      {"StretchBltH", [&](auto& d, uint8_t a, MDrawingMode m) { d.StretchBltH({3, 2, 9, 20}, source, {0, 0, 6, 4}, a, m); }},
      {"StretchBltV", [&](auto& d, uint8_t a, MDrawingMode m) { d.StretchBltV({3, 2, 30, 6}, source, {0, 0, 6, 4}, a, m); }},
      {"StretchBlt", [&](auto& d, uint8_t a, MDrawingMode m) { d.StretchBlt({3, 2, 9, 6}, source, {0, 0, 6, 4}, a, m); }},
      {"RotatedBlt", [&](auto& d, uint8_t a, MDrawingMode m) { d.RotatedBlt({6.5, 4.5}, source, {0, 0, 6, 4}, 0, a, m); }},
  };
  for (int mode = 1; mode < kDrawingModeCount; ++mode) {
    for (uint8_t alpha : {uint8_t{255}, uint8_t{100}}) {
      MBitmap want = Pattern(12, 9, 0);
      MDrawerToMBitmap reference(want);
      reference.BitBlt({3, 2}, source, {0, 0, 6, 4}, alpha, static_cast<MDrawingMode>(mode));
      for (const auto& [name, op] : ops) {
        MBitmap got = Pattern(12, 9, 0);
        MDrawerToMBitmap drawer(got);
        op(drawer, alpha, static_cast<MDrawingMode>(mode));
        EXPECT_EQ(std::memcmp(got.Bytes(), want.Bytes(), 12 * 9 * 4), 0)
            << name << " mode " << mode << " alpha " << int(alpha);
      }
    }
  }
}

TEST(TransformBlits, OneAxisStretchesAndQuarterTurnsPlaceExactPixels) {
  MBitmap source(2, 2);
  const uint32_t quad[4] = {0xFFFF0000u, 0xFF00FF00u, 0xFF0000FFu, 0xFFFFFFFFu};
  std::memcpy(source.Pixels(), quad, 16);
  const uint32_t k = 0xFF000000u, a = quad[0], b = quad[1], c = quad[2], w = quad[3];
  struct Case {
    const char* name;
    std::function<void(MDrawerToMBitmap&)> draw;
    uint32_t want[4][4];
  };
  const Case cases[] = {
      {"H: wider, rows as many as the source has",
       [&](auto& d) { d.StretchBltH({0, 0, 3, 3}, source, {0, 0, 1, 1}, 255, MDrawingMode::kCopy); },
       {{a, a, b, b}, {c, c, w, w}, {k, k, k, k}, {k, k, k, k}}},
      {"V: taller, columns as many as the source has",
       [&](auto& d) { d.StretchBltV({1, 0, 3, 3}, source, {0, 0, 1, 1}, 255, MDrawingMode::kCopy); },
       {{k, a, b, k}, {k, a, b, k}, {k, c, w, k}, {k, c, w, k}}},
      {"a quarter turn clockwise",
       [&](auto& d) { d.RotatedBlt({2, 2}, source, {0, 0, 1, 1}, kPi / 2, 255, MDrawingMode::kCopy); },
       {{k, k, k, k}, {k, c, a, k}, {k, w, b, k}, {k, k, k, k}}},
      {"a half turn, clipped to the left column",
       [&](auto& d) {
         d.SetClip({0, 0, 1, 3});
         d.RotatedBlt({2, 2}, source, {0, 0, 1, 1}, kPi, 255, MDrawingMode::kCopy);
       },
       {{k, k, k, k}, {k, w, k, k}, {k, b, k, k}, {k, k, k, k}}},
  };
  for (const Case& test : cases) {
    MBitmap target(4, 4);
    std::fill_n(target.Pixels(), 16, k);
    MDrawerToMBitmap drawer(target);
    test.draw(drawer);
    for (int i = 0; i < 16; ++i)
      EXPECT_EQ(target.Pixels()[i], test.want[i / 4][i % 4])
          << test.name << " at " << i % 4 << "," << i / 4;
  }
}

TEST(TransformBlits, ArcPutsColumnsAlongTheAngleAndRowsAcrossTheRadius) {
  MBitmap source(2, 2);
  const uint32_t quad[4] = {0xFFFF0000u, 0xFF00FF00u, 0xFF0000FFu, 0xFFFFFFFFu};
  std::memcpy(source.Pixels(), quad, 16);
  MBitmap target(64, 64);
  std::fill_n(target.Pixels(), 64 * 64, 0xFF000000u);
  MDrawerToMBitmap drawer(target);
  // Nine o'clock over twelve to three: the left column on the upper left.
  drawer.StretchBltArc({32, 32}, 10, 30, -kPi / 2, kPi / 2, source, {0, 0, 1, 1}, 255,
                       MDrawingMode::kAlphaBlend);
  auto at = [&](int x, int y) { return target.Pixels()[y * 64 + x]; };
  EXPECT_EQ(at(32 - 19, 32 - 19), quad[0]);  // radius ~27: outer row
  EXPECT_EQ(at(32 + 19, 32 - 19), quad[1]);
  EXPECT_EQ(at(32 - 9, 32 - 9), quad[2]);    // radius ~12: inner row
  EXPECT_EQ(at(32 + 9, 32 - 9), quad[3]);
  EXPECT_EQ(at(32, 32 + 20), 0xFF000000u);   // below: outside the arc
  EXPECT_EQ(at(32, 32), 0xFF000000u);        // the hole
}

// Pixels of ours and cairo's that differ, on black 96x96 targets.
int DifferingPixels(const std::function<void(MDrawerToMBitmap&)>& ours,
                    const std::function<void(cairo_t*)>& theirs, int* lit) {
  constexpr int kSize = 96;
  MBitmap target(kSize, kSize);
  std::fill_n(target.Pixels(), kSize * kSize, 0xFF000000u);
  MDrawerToMBitmap drawer(target);
  ours(drawer);
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, kSize, kSize);
  cairo_t* cr = cairo_create(surface);
  cairo_set_antialias(cr, CAIRO_ANTIALIAS_NONE);
  cairo_set_source_rgb(cr, 0, 0, 0);
  cairo_paint(cr);
  theirs(cr);
  cairo_surface_flush(surface);
  const uint8_t* data = cairo_image_surface_get_data(surface);
  const int stride = cairo_image_surface_get_stride(surface);
  int differing = 0;
  *lit = 0;
  for (int y = 0; y < kSize; ++y)
    for (int x = 0; x < kSize; ++x) {
      uint32_t theirsPixel;
      std::memcpy(&theirsPixel, data + y * stride + x * 4, 4);
      differing += (target.Pixels()[y * kSize + x] & 0xFFFFFFu) != (theirsPixel & 0xFFFFFFu);
      *lit += (theirsPixel & 0xFFFFFFu) != 0;
    }
  cairo_destroy(cr);
  cairo_surface_destroy(surface);
  return differing;
}

TEST(TransformBlits, TurnedImageAndArcAgreeWithCairo) {
  // A 40x24 opaque image of distinct pixels, turned by 30 degrees.
  MBitmap image = Pattern(40, 24, 0);
  cairo_surface_t* peerImage = cairo_image_surface_create_for_data(
      image.Bytes(), CAIRO_FORMAT_ARGB32, 40, 24, 40 * 4);
  int lit = 0;
  const int turned = DifferingPixels(
      [&](MDrawerToMBitmap& d) { d.RotatedBlt({47.3, 50.1}, image, {0, 0, 39, 23}, kPi / 6, 255, MDrawingMode::kAlphaBlend); },
      [&](cairo_t* cr) {
        cairo_translate(cr, 47.3, 50.1);
        cairo_rotate(cr, kPi / 6);
        cairo_translate(cr, -20, -12);
        cairo_set_source_surface(cr, peerImage, 0, 0);
        cairo_pattern_set_filter(cairo_get_source(cr), CAIRO_FILTER_NEAREST);
        cairo_rectangle(cr, 0, 0, 40, 24);
        cairo_fill(cr);
      },
      &lit);
  EXPECT_GT(lit, 900);
  EXPECT_LE(turned, 8) << "turned image";  // 0 when written
  // A white strip bent from eight o'clock to four o'clock.
  MBitmap white(8, 4);
  std::fill_n(white.Pixels(), 32, 0xFFFFFFFFu);
  const double start = -2 * kPi / 3, end = 2 * kPi / 3;
  const int arc = DifferingPixels(
      [&](MDrawerToMBitmap& d) { d.StretchBltArc({48, 48}, 22.5, 40.25, start, end, white, {0, 0, 7, 3}, 255, MDrawingMode::kAlphaBlend); },
      [&](cairo_t* cr) {
        cairo_set_source_rgb(cr, 1, 1, 1);
        cairo_arc(cr, 48, 48, 40.25, start - kPi / 2, end - kPi / 2);
        cairo_arc_negative(cr, 48, 48, 22.5, end - kPi / 2, start - kPi / 2);
        cairo_close_path(cr);
        cairo_fill(cr);
      },
      &lit);
  EXPECT_GT(lit, 2000);
  EXPECT_LE(arc, 12) << "arc";  // 2 when written
  cairo_surface_destroy(peerImage);
  cairo_debug_reset_static_data();
}

}  // namespace
}  // namespace kx
