// Row routines, four pixels to a 16-byte register where the machine has SSE2,
// with a scalar tail that is the same formula.
#include "gui/drawing/blend_rows.h"

#include <algorithm>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace kx::pixel {

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

void OpaqueColourRow(uint32_t* d, uint32_t colour, int32_t n) {
  colour &= 0x00FFFFFFu;
  int32_t i = 0;
#if defined(__SSE2__)
  const __m128i c = _mm_set1_epi32(static_cast<int>(colour));
  const __m128i alphaBits = _mm_set1_epi32(static_cast<int>(0xFF000000u));
  for (; i + 8 <= n; i += 8) {
    __m128i* p = reinterpret_cast<__m128i*>(d + i);
    const __m128i a = _mm_loadu_si128(p), b = _mm_loadu_si128(p + 1);
    _mm_storeu_si128(p, _mm_or_si128(_mm_and_si128(a, alphaBits), c));
    _mm_storeu_si128(p + 1, _mm_or_si128(_mm_and_si128(b, alphaBits), c));
  }
#endif
  for (; i < n; ++i) d[i] = (d[i] & 0xFF000000u) | colour;
}

void FillRow(uint32_t* d, uint32_t value, int32_t n) { std::fill_n(d, n, value); }

}  // namespace kx::pixel
