// Antialiased shapes of the software drawer against cairo, drawn white on black
// into targets of the same size. Per case: the largest allowed difference of a
// pixel, and how many pixels may exceed a small tolerance of 8 levels. Filled
// shapes are both area coverage and stay within 24 levels (the peer samples on
// a grid); one-pixel lines split each step between two pixels by the error
// term, where a stroke of width one spreads over its area, so they differ more.
#include <cairo.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <numbers>

#include "gui/drawing/drawer_to_bitmap.h"
#include "media/bitmap/bitmap.h"

namespace kx {
namespace {

constexpr int kSize = 96;
const MBrush kWhite{MColor::RGBA(255, 255, 255), 1, MDrawingMode::kAlphaBlend};

struct ShapeCase {
  const char* name;
  std::function<void(MDrawerToMBitmap&)> ours;
  std::function<void(cairo_t*)> theirs;
  int maxDifference, maxAboveEight;  // no pixel differs by more; pixels differing by more than 8
};

void RoundedPath(cairo_t* cr, double l, double t, double r, double b, double radius) {
  const double pi = std::numbers::pi;
  cairo_new_sub_path(cr);
  cairo_arc(cr, r - radius, t + radius, radius, -pi / 2, 0);
  cairo_arc(cr, r - radius, b - radius, radius, 0, pi / 2);
  cairo_arc(cr, l + radius, b - radius, radius, pi / 2, pi);
  cairo_arc(cr, l + radius, t + radius, radius, pi, 3 * pi / 2);
  cairo_close_path(cr);
}

const MPointF kStar[5] = {{48, 6}, {74, 88}, {6, 36}, {90, 36}, {22, 88}};

std::vector<ShapeCase> Cases() {
  std::vector<ShapeCase> cases;
  // Lines of many slopes: one-pixel lines walked by error term against the area
  // coverage of a one-pixel-wide stroke with square caps.
  cases.push_back({"lines",
                   [](MDrawerToMBitmap& d) {
                     for (int i = 0; i < 12; ++i) {
                       double angle = i * std::numbers::pi / 12;
                       d.Line(48, 48, 48 + static_cast<int>(std::lround(44 * std::cos(angle))),
                              48 + static_cast<int>(std::lround(44 * std::sin(angle))), kWhite);
                     }
                   },
                   [](cairo_t* cr) {
                     cairo_set_line_width(cr, 1);
                     cairo_set_line_cap(cr, CAIRO_LINE_CAP_SQUARE);
                     for (int i = 0; i < 12; ++i) {
                       double angle = i * std::numbers::pi / 12;
                       cairo_move_to(cr, 48.5, 48.5);
                       cairo_line_to(cr, 48.5 + std::lround(44 * std::cos(angle)),
                                     48.5 + std::lround(44 * std::sin(angle)));
                     }
                     cairo_stroke(cr);
                   },
                   96, 600});
  cases.push_back({"filled circle", [](MDrawerToMBitmap& d) { d.FillCircle(47.3, 45.8, 37.6, kWhite); },
                   [](cairo_t* cr) {
                     cairo_arc(cr, 47.3, 45.8, 37.6, 0, 2 * std::numbers::pi);
                     cairo_fill(cr);
                   },
                   24, 60});
  cases.push_back({"circle outline", [](MDrawerToMBitmap& d) { d.Circle(48, 48, 30.5, MBrush{kWhite.color, 3}); },
                   [](cairo_t* cr) {
                     cairo_set_line_width(cr, 3);
                     cairo_arc(cr, 48, 48, 30.5, 0, 2 * std::numbers::pi);
                     cairo_stroke(cr);
                   },
                   24, 40});
  cases.push_back({"filled rounded rectangle",
                   [](MDrawerToMBitmap& d) { d.FillRoundRectangle({8, 12, 87, 79}, 14, kWhite); },
                   [](cairo_t* cr) {
                     RoundedPath(cr, 8, 12, 88, 80, 14);
                     cairo_fill(cr);
                   },
                   24, 60});
  cases.push_back({"rounded rectangle outline",
                   [](MDrawerToMBitmap& d) { d.RoundRectangle({8, 12, 87, 79}, 14, MBrush{kWhite.color, 2}); },
                   [](cairo_t* cr) {
                     cairo_set_line_width(cr, 2);
                     RoundedPath(cr, 9, 13, 87, 79, 13);
                     cairo_stroke(cr);
                   },
                   32, 90});
  cases.push_back({"star polygon", [](MDrawerToMBitmap& d) { d.FillPolygon(kStar, 5, kWhite); },
                   [](cairo_t* cr) {
                     cairo_move_to(cr, kStar[0].x, kStar[0].y);
                     for (int i = 1; i < 5; ++i) cairo_line_to(cr, kStar[i].x, kStar[i].y);
                     cairo_close_path(cr);
                     cairo_fill(cr);
                   },
                   16, 16});
  return cases;
}

TEST(ShapesVsCairo, CoverageAgreesWithinTheStatedBounds) {
  for (const ShapeCase& c : Cases()) {
    MBitmap ours(kSize, kSize);
    for (int i = 0; i < kSize * kSize; ++i) ours.Pixels()[i] = 0xFF000000u;
    MDrawerToMBitmap drawer(ours);
    c.ours(drawer);

    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, kSize, kSize);
    cairo_t* cr = cairo_create(surface);
    cairo_set_source_rgb(cr, 0, 0, 0);
    cairo_paint(cr);
    cairo_set_source_rgb(cr, 1, 1, 1);
    c.theirs(cr);
    cairo_surface_flush(surface);
    const uint8_t* theirs = cairo_image_surface_get_data(surface);
    const int stride = cairo_image_surface_get_stride(surface);

    int worst = 0, aboveEight = 0, lit = 0;
    for (int y = 0; y < kSize; ++y)
      for (int x = 0; x < kSize; ++x) {
        const int a = ours.Row(y)[x * 4 + 2], b = theirs[y * stride + x * 4 + 2];
        const int diff = std::abs(a - b);
        worst = std::max(worst, diff);
        aboveEight += diff > 8;
        lit += b > 0;
      }
    cairo_destroy(cr);
    cairo_surface_destroy(surface);
    EXPECT_GT(lit, 100) << c.name;
    EXPECT_LE(worst, c.maxDifference) << c.name;
    EXPECT_LE(aboveEight, c.maxAboveEight) << c.name;
    std::printf("%s: worst %d, above 8: %d of %d lit\n", c.name, worst, aboveEight, lit);
  }
  cairo_debug_reset_static_data();  // its caches would read as leaks
}

}  // namespace
}  // namespace kx
