// Blits and masks of the software drawer: row ranges first, then one inner loop
// per mode, with and without a constant alpha.
#include <algorithm>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "foundation/core/exception.h"
#include "gui/drawing/drawer_to_bitmap.h"
#include "gui/drawing/pixel_modes.h"
#include "media/bitmap/alpha_mask.h"
#include "media/bitmap/bitmap.h"

namespace kx {

using pixel::Fold;
using pixel::Mix;

namespace {

// AlphaBlend of a row by its source alpha, written without branches so that
// the compiler can work on several pixels at once; equal to Mix<kAlphaBlend>.
void AlphaBlendRow(uint32_t* d, const uint32_t* s, int32_t n) {
  int32_t i = 0;
#if defined(__SSE2__)
  // Four pixels at a time in 16-bit lanes: s * a + d * (a ^ 255) stays below 2^16.
  const __m128i zero = _mm_setzero_si128(), all = _mm_set1_epi16(255);
  const __m128i full = _mm_set1_epi32(255), alphaBits = _mm_set1_epi32(static_cast<int>(0xFF000000u));
  for (; i + 4 <= n; i += 4) {
    const __m128i sv = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + i));
    const __m128i dv = _mm_loadu_si128(reinterpret_cast<const __m128i*>(d + i));
    const __m128i a32 = _mm_srli_epi32(sv, 24);
    const __m128i a16 = _mm_or_si128(a32, _mm_slli_epi32(a32, 16));
    const __m128i aLo = _mm_unpacklo_epi32(a16, a16), aHi = _mm_unpackhi_epi32(a16, a16);
    const __m128i lo = _mm_srli_epi16(
        _mm_add_epi16(_mm_mullo_epi16(_mm_unpacklo_epi8(sv, zero), aLo),
                      _mm_mullo_epi16(_mm_unpacklo_epi8(dv, zero), _mm_xor_si128(aLo, all))), 8);
    const __m128i hi = _mm_srli_epi16(
        _mm_add_epi16(_mm_mullo_epi16(_mm_unpackhi_epi8(sv, zero), aHi),
                      _mm_mullo_epi16(_mm_unpackhi_epi8(dv, zero), _mm_xor_si128(aHi, all))), 8);
    __m128i out = _mm_packus_epi16(lo, hi);
    const __m128i opaque = _mm_cmpeq_epi32(a32, full), clear = _mm_cmpeq_epi32(a32, zero);
    out = _mm_or_si128(_mm_andnot_si128(opaque, out), _mm_and_si128(opaque, sv));
    out = _mm_or_si128(_mm_andnot_si128(clear, out), _mm_and_si128(clear, dv));
    out = _mm_or_si128(_mm_andnot_si128(alphaBits, out), _mm_and_si128(alphaBits, dv));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(d + i), out);
  }
#endif
  for (; i < n; ++i) {
    const uint32_t sv = s[i], dv = d[i];
    const uint32_t a = sv >> 24, ia = a ^ 255;
    const uint32_t rb = (((sv & 0x00FF00FFu) * a + (dv & 0x00FF00FFu) * ia) >> 8) & 0x00FF00FFu;
    const uint32_t g = (((sv & 0x0000FF00u) * a + (dv & 0x0000FF00u) * ia) >> 8) & 0x0000FF00u;
    const uint32_t colour = a == 255 ? (sv & 0x00FFFFFFu) : a == 0 ? (dv & 0x00FFFFFFu) : (rb | g);
    d[i] = (dv & 0xFF000000u) | colour;
  }
}

// Calls body(tag, constantAlpha) with both chosen at compile time.
template <typename Body>
void WithModeAndAlpha(MDrawingMode mode, uint8_t alpha, Body&& body) {
  pixel::WithMode(mode, [&](auto tag) {
    if (alpha == 255) body(tag, std::false_type{});
    else body(tag, std::true_type{});
  });
}

MRect SourceBounds(const MBitmap& source, const MRect& sourceRect) {
  return sourceRect.Intersect(MRect{0, 0, source.Width() - 1, source.Height() - 1});
}

}  // namespace

MDrawerToMBitmap::MDrawerToMBitmap(MBitmap& target)
    : target_(target), clip_{0, 0, target.Width() - 1, target.Height() - 1} {
  if (target.IsPaletteMode()) target.ConvertToTrueColour();
}

int32_t MDrawerToMBitmap::GetWidth() const { return target_.Width(); }
int32_t MDrawerToMBitmap::GetHeight() const { return target_.Height(); }

void MDrawerToMBitmap::SetClip(const MRect& clip) {
  clip_ = clip.Intersect(MRect{0, 0, target_.Width() - 1, target_.Height() - 1});
}

bool MDrawerToMBitmap::PrepareBitmap(const MBitmap& source) {
  bool usable = false;
  Guarded("MDrawerToMBitmap::PrepareBitmap", [&] {
    usable = source.Width() >= 1 && source.Height() >= 1 && !source.IsEmpty() &&
             !source.IsPaletteMode();
  });
  return usable;
}

void MDrawerToMBitmap::BitBlt(MPoint dest, const MBitmap& source, const MRect& sourceRect,
                              uint8_t alpha, MDrawingMode mode) {
  Guarded("MDrawerToMBitmap::BitBlt", [&] {
    if (!PrepareBitmap(source) || target_.IsEmpty()) return;
    const MRect src = SourceBounds(source, sourceRect);
    if (src.IsEmpty()) return;
    // Where the source lands, cut by the clip, and the source offset that goes with it.
    const int32_t shiftX = dest.x + (src.left - sourceRect.left) - src.left;
    const int32_t shiftY = dest.y + (src.top - sourceRect.top) - src.top;
    const MRect d = MRect{src.left + shiftX, src.top + shiftY, src.right + shiftX,
                          src.bottom + shiftY}
                        .Intersect(clip_);
    if (d.IsEmpty()) return;
    WithModeAndAlpha(mode, alpha, [&](auto tag, auto constantAlpha) {
      constexpr MDrawingMode M = decltype(tag)::value;
      if constexpr (M == MDrawingMode::kAlphaBlend && !decltype(constantAlpha)::value) {
        for (int32_t y = d.top; y <= d.bottom; ++y) {
          AlphaBlendRow(reinterpret_cast<uint32_t*>(PixelAt(d.left, y)),
                        source.Pixels() + static_cast<int64_t>(y - shiftY) * source.Stride() + (d.left - shiftX),
                        d.Width());
        }
        return;
      }
      for (int32_t y = d.top; y <= d.bottom; ++y) {
        const uint8_t* s = source.Row(y - shiftY) + static_cast<int64_t>(d.left - shiftX) * 4;
        uint8_t* p = PixelAt(d.left, y);
        for (int32_t x = d.left; x <= d.right; ++x, p += 4, s += 4) {
          int a = s[3];
          if constexpr (decltype(constantAlpha)::value) a = Fold(a, alpha);
          Mix<M>(p, s, a);
        }
      }
    });
  });
}

void MDrawerToMBitmap::PatBlt(const MRect& destRect, const MBitmap& source,
                              const MRect& sourceRect, uint8_t alpha, MDrawingMode mode) {
  Guarded("MDrawerToMBitmap::PatBlt", [&] {
    if (!PrepareBitmap(source) || target_.IsEmpty()) return;
    const MRect src = SourceBounds(source, sourceRect);
    const MRect d = destRect.Intersect(clip_);
    if (src.IsEmpty() || d.IsEmpty()) return;
    const int32_t sw = src.Width(), sh = src.Height();
    WithModeAndAlpha(mode, alpha, [&](auto tag, auto constantAlpha) {
      constexpr MDrawingMode M = decltype(tag)::value;
      for (int32_t y = d.top; y <= d.bottom; ++y) {
        const uint8_t* row = source.Row(src.top + (y - destRect.top) % sh) + src.left * 4;
        int32_t sx = (d.left - destRect.left) % sw;
        uint8_t* p = PixelAt(d.left, y);
        for (int32_t x = d.left; x <= d.right; ++x, p += 4) {
          const uint8_t* s = row + sx * 4;
          if (++sx == sw) sx = 0;
          int a = s[3];
          if constexpr (decltype(constantAlpha)::value) a = Fold(a, alpha);
          Mix<M>(p, s, a);
        }
      }
    });
  });
}

void MDrawerToMBitmap::StretchBlt(const MRect& destRect, const MBitmap& source,
                                  const MRect& sourceRect, uint8_t alpha, MDrawingMode mode) {
  Guarded("MDrawerToMBitmap::StretchBlt", [&] {
    if (!PrepareBitmap(source) || target_.IsEmpty() || destRect.IsEmpty()) return;
    const MRect src = SourceBounds(source, sourceRect);
    const MRect d = destRect.Intersect(clip_);
    if (src.IsEmpty() || d.IsEmpty()) return;
    // The source pixel under each destination pixel's centre, per column and row.
    const int64_t sw = src.Width(), sh = src.Height();
    const int64_t dw = destRect.Width(), dh = destRect.Height();
    std::vector<int32_t> columns(d.Width());
    for (int32_t x = d.left; x <= d.right; ++x) {
      columns[x - d.left] = static_cast<int32_t>(src.left + (2 * (x - destRect.left) + 1) * sw / (2 * dw)) * 4;
    }
    WithModeAndAlpha(mode, alpha, [&](auto tag, auto constantAlpha) {
      constexpr MDrawingMode M = decltype(tag)::value;
      if constexpr (M == MDrawingMode::kAlphaBlend && !decltype(constantAlpha)::value) {
        // Each source row is sampled once into a scratch row, which every
        // destination row it lands on blends with the wide row routine.
        std::vector<uint32_t> sampled(d.Width());
        int32_t sampledRow = -1;
        for (int32_t y = d.top; y <= d.bottom; ++y) {
          const auto sy = static_cast<int32_t>(src.top + (2 * (y - destRect.top) + 1) * sh / (2 * dh));
          if (sy != sampledRow) {
            const uint32_t* row = source.Pixels() + static_cast<int64_t>(sy) * source.Stride();
            for (int32_t i = 0; i < d.Width(); ++i) sampled[i] = row[columns[i] / 4];
            sampledRow = sy;
          }
          AlphaBlendRow(reinterpret_cast<uint32_t*>(PixelAt(d.left, y)), sampled.data(), d.Width());
        }
        return;
      }
      for (int32_t y = d.top; y <= d.bottom; ++y) {
        const uint8_t* row = source.Row(static_cast<int32_t>(src.top + (2 * (y - destRect.top) + 1) * sh / (2 * dh)));
        uint8_t* p = PixelAt(d.left, y);
        for (int32_t i = 0; i < d.Width(); ++i, p += 4) {
          const uint8_t* s = row + columns[i];
          int a = s[3];
          if constexpr (decltype(constantAlpha)::value) a = Fold(a, alpha);
          Mix<M>(p, s, a);
        }
      }
    });
  });
}

void MDrawerToMBitmap::AlphaMask(MPoint dest, const MAlphaMask& mask, MColor color, uint8_t alpha,
                                 MDrawingMode mode) {
  Guarded("MDrawerToMBitmap::AlphaMask", [&] {
    if (mask.IsEmpty() || target_.IsEmpty()) return;
    const MRect d = MRect{dest.x, dest.y, dest.x + mask.Width() - 1, dest.y + mask.Height() - 1}
                        .Intersect(clip_);
    if (d.IsEmpty()) return;
    const int colourAlpha = alpha == 255 ? color.a : Fold(color.a, alpha);
    const uint8_t* s = &color.b;
    pixel::WithMode(mode, [&](auto tag) {
      constexpr MDrawingMode M = decltype(tag)::value;
      for (int32_t y = d.top; y <= d.bottom; ++y) {
        const uint8_t* coverage = mask.Row(y - dest.y) + (d.left - dest.x);
        uint8_t* p = PixelAt(d.left, y);
        for (int32_t i = 0; i < d.Width(); ++i, p += 4) {
          if (coverage[i] != 0) Mix<M>(p, s, Fold(colourAlpha, coverage[i]));
        }
      }
    });
  });
}

}  // namespace kx
