// The software drawer against pixman (fills and blits) and cairo (antialiased
// lines), on 1920x1080 32-bit targets.
#include <benchmark/benchmark.h>
#include <cairo.h>
#include <pixman.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "gui/drawing/drawer_to_bitmap.h"
#include "media/bitmap/bitmap.h"

namespace {

using namespace kx;
constexpr int kW = 1920, kH = 1080, kTile = 256;

// A 256x256 source with a gradient of alpha; straight for us, premultiplied
// for the peer.
void MakeSource(MBitmap& ours, std::vector<uint32_t>& premultiplied) {
  ours.Create(kTile, kTile);
  premultiplied.resize(kTile * kTile);
  for (int y = 0; y < kTile; ++y) {
    for (int x = 0; x < kTile; ++x) {
      const uint32_t a = (x + y) / 2, r = x, g = y, b = 128;
      ours.Pixels()[y * kTile + x] = a << 24 | r << 16 | g << 8 | b;
      premultiplied[y * kTile + x] = a << 24 | (r * a / 255) << 16 | (g * a / 255) << 8 | (b * a / 255);
    }
  }
}

void Ours_FillRect1080p(benchmark::State& state) {
  MBitmap target(kW, kH);
  MDrawerToMBitmap drawer(target);
  for (auto _ : state) {
    drawer.FillRectangle({0, 0, kW - 1, kH - 1}, MBrush{MColor::RGBA(30, 40, 50)});
    benchmark::DoNotOptimize(target.Pixels());
  }
}

void Peer_FillRect1080p(benchmark::State& state) {
  std::vector<uint32_t> pixels(kW * kH);
  pixman_image_t* dst = pixman_image_create_bits(PIXMAN_a8r8g8b8, kW, kH, pixels.data(), kW * 4);
  pixman_color_t colour{50 * 257, 40 * 257, 30 * 257, 0xFFFF};
  pixman_rectangle16_t rect{0, 0, kW, kH};
  for (auto _ : state) {
    pixman_image_fill_rectangles(PIXMAN_OP_OVER, dst, &colour, 1, &rect);
    benchmark::DoNotOptimize(pixels.data());
  }
  pixman_image_unref(dst);
}

void Ours_BlendBlit256(benchmark::State& state) {
  MBitmap target(kW, kH), source;
  std::vector<uint32_t> unused;
  MakeSource(source, unused);
  MDrawerToMBitmap drawer(target);
  for (auto _ : state) {
    drawer.BitBlt({100, 100}, source, {0, 0, kTile - 1, kTile - 1}, 255, MDrawingMode::kAlphaBlend);
    benchmark::DoNotOptimize(target.Pixels());
  }
}

void Peer_BlendBlit256(benchmark::State& state) {
  MBitmap unused;
  std::vector<uint32_t> source, pixels(kW * kH);
  MakeSource(unused, source);
  pixman_image_t* src = pixman_image_create_bits(PIXMAN_a8r8g8b8, kTile, kTile, source.data(), kTile * 4);
  pixman_image_t* dst = pixman_image_create_bits(PIXMAN_a8r8g8b8, kW, kH, pixels.data(), kW * 4);
  for (auto _ : state) {
    pixman_image_composite32(PIXMAN_OP_OVER, src, nullptr, dst, 0, 0, 0, 0, 100, 100, kTile, kTile);
    benchmark::DoNotOptimize(pixels.data());
  }
  pixman_image_unref(src);
  pixman_image_unref(dst);
}

void Ours_StretchBlit1080p(benchmark::State& state) {
  MBitmap target(kW, kH), source;
  std::vector<uint32_t> unused;
  MakeSource(source, unused);
  MDrawerToMBitmap drawer(target);
  for (auto _ : state) {
    drawer.StretchBlt({0, 0, kW - 1, kH - 1}, source, {0, 0, kTile - 1, kTile - 1}, 255,
                      MDrawingMode::kAlphaBlend);
    benchmark::DoNotOptimize(target.Pixels());
  }
}

void Peer_StretchBlit1080p(benchmark::State& state) {
  MBitmap unused;
  std::vector<uint32_t> source, pixels(kW * kH);
  MakeSource(unused, source);
  pixman_image_t* src = pixman_image_create_bits(PIXMAN_a8r8g8b8, kTile, kTile, source.data(), kTile * 4);
  pixman_image_t* dst = pixman_image_create_bits(PIXMAN_a8r8g8b8, kW, kH, pixels.data(), kW * 4);
  pixman_transform_t scale;
  pixman_transform_init_scale(&scale, pixman_double_to_fixed(double(kTile) / kW),
                              pixman_double_to_fixed(double(kTile) / kH));
  pixman_image_set_transform(src, &scale);
  pixman_image_set_filter(src, PIXMAN_FILTER_NEAREST, nullptr, 0);
  for (auto _ : state) {
    pixman_image_composite32(PIXMAN_OP_OVER, src, nullptr, dst, 0, 0, 0, 0, 0, 0, kW, kH);
    benchmark::DoNotOptimize(pixels.data());
  }
  pixman_image_unref(src);
  pixman_image_unref(dst);
}

// A 256x256 image turned by 30 degrees about its middle, nearest sampling.
void Ours_RotatedBlit256(benchmark::State& state) {
  MBitmap target(kW, kH), source;
  std::vector<uint32_t> unused;
  MakeSource(source, unused);
  MDrawerToMBitmap drawer(target);
  for (auto _ : state) {
    drawer.RotatedBlt({400, 300}, source, {0, 0, kTile - 1, kTile - 1}, 0.5235987755982988, 255,
                      MDrawingMode::kAlphaBlend);
    benchmark::DoNotOptimize(target.Pixels());
  }
}

void Peer_RotatedBlit256(benchmark::State& state) {
  MBitmap unused;
  std::vector<uint32_t> source, pixels(kW * kH);
  MakeSource(unused, source);
  pixman_image_t* src = pixman_image_create_bits(PIXMAN_a8r8g8b8, kTile, kTile, source.data(), kTile * 4);
  pixman_image_t* dst = pixman_image_create_bits(PIXMAN_a8r8g8b8, kW, kH, pixels.data(), kW * 4);
  // Destination to source: move the middle to the origin, turn back, move to the image's middle.
  pixman_f_transform_t f;
  pixman_f_transform_init_translate(&f, -400, -300);
  pixman_f_transform_rotate(nullptr, &f, std::cos(-0.5235987755982988), std::sin(-0.5235987755982988));
  pixman_f_transform_translate(nullptr, &f, kTile / 2.0, kTile / 2.0);
  pixman_transform_t t;
  pixman_transform_from_pixman_f_transform(&t, &f);
  pixman_image_set_transform(src, &t);
  pixman_image_set_filter(src, PIXMAN_FILTER_NEAREST, nullptr, 0);
  const int extent = 182;  // half the diagonal of the turned image, rounded up
  for (auto _ : state) {
    pixman_image_composite32(PIXMAN_OP_OVER, src, nullptr, dst, 400 - extent, 300 - extent, 0, 0,
                             400 - extent, 300 - extent, 2 * extent, 2 * extent);
    benchmark::DoNotOptimize(pixels.data());
  }
  pixman_image_unref(src);
  pixman_image_unref(dst);
}

struct Segment {
  int x0, y0, x1, y1;
};
std::vector<Segment> Segments() {
  std::mt19937 random(7);
  std::uniform_int_distribution<int> x(0, kW - 1), y(0, kH - 1), len(-60, 60);
  std::vector<Segment> out(10000);
  for (auto& s : out) {
    s.x0 = x(random), s.y0 = y(random);
    s.x1 = std::clamp(s.x0 + len(random), 0, kW - 1), s.y1 = std::clamp(s.y0 + len(random), 0, kH - 1);
  }
  return out;
}

void Ours_Lines10k(benchmark::State& state) {
  MBitmap target(kW, kH);
  MDrawerToMBitmap drawer(target);
  const auto segments = Segments();
  const MBrush brush{MColor::RGBA(220, 230, 240)};
  for (auto _ : state) {
    for (const auto& s : segments) drawer.Line(s.x0, s.y0, s.x1, s.y1, brush);
    benchmark::DoNotOptimize(target.Pixels());
  }
}

void Peer_Lines10k(benchmark::State& state) {
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, kW, kH);
  cairo_t* cr = cairo_create(surface);
  cairo_set_line_width(cr, 1);
  cairo_set_source_rgb(cr, 220 / 255.0, 230 / 255.0, 240 / 255.0);
  const auto segments = Segments();
  for (auto _ : state) {
    for (const auto& s : segments) {
      cairo_move_to(cr, s.x0 + 0.5, s.y0 + 0.5);
      cairo_line_to(cr, s.x1 + 0.5, s.y1 + 0.5);
      cairo_stroke(cr);
    }
    cairo_surface_flush(surface);
  }
  cairo_destroy(cr);
  cairo_surface_destroy(surface);
}

}  // namespace

BENCHMARK(Ours_FillRect1080p)->Unit(benchmark::kMicrosecond);
BENCHMARK(Peer_FillRect1080p)->Unit(benchmark::kMicrosecond);
BENCHMARK(Ours_BlendBlit256)->Unit(benchmark::kMicrosecond);
BENCHMARK(Peer_BlendBlit256)->Unit(benchmark::kMicrosecond);
BENCHMARK(Ours_StretchBlit1080p)->Unit(benchmark::kMicrosecond);
BENCHMARK(Peer_StretchBlit1080p)->Unit(benchmark::kMicrosecond);
BENCHMARK(Ours_RotatedBlit256)->Unit(benchmark::kMicrosecond);
BENCHMARK(Peer_RotatedBlit256)->Unit(benchmark::kMicrosecond);
BENCHMARK(Ours_Lines10k)->Unit(benchmark::kMicrosecond);
BENCHMARK(Peer_Lines10k)->Unit(benchmark::kMicrosecond);
