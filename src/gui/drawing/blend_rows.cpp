// Row routines: eight pixels to a register where the processor has AVX2 (or
// writes three bytes of four with AVX-512 masks), four with SSE2 otherwise,
// and a scalar tail that is the same formula. The processor is asked once;
// the choice costs one indirect call per row, never one per pixel.
#include "gui/drawing/blend_rows.h"

#include <algorithm>
#include <string_view>

#if defined(__x86_64__)
#include <immintrin.h>
#define KX_X86 1
#endif

namespace kx::pixel {

namespace {

using BlendRowFn = void (*)(uint32_t*, const uint32_t*, int32_t);
using ColourRowFn = void (*)(uint32_t*, uint32_t, int32_t);

void AlphaBlendTail(uint32_t* d, const uint32_t* s, int32_t i, int32_t n) {
  for (; i < n; ++i) {
    const uint32_t sv = s[i], dv = d[i];
    const uint32_t a = sv >> 24, ia = a ^ 255;
    const uint32_t rb = (((sv & 0x00FF00FFu) * a + (dv & 0x00FF00FFu) * ia) >> 8) & 0x00FF00FFu;
    const uint32_t g = (((sv & 0x0000FF00u) * a + (dv & 0x0000FF00u) * ia) >> 8) & 0x0000FF00u;
    const uint32_t colour = a == 255 ? (sv & 0x00FFFFFFu) : a == 0 ? (dv & 0x00FFFFFFu) : (rb | g);
    d[i] = (dv & 0xFF000000u) | colour;
  }
}

#if defined(KX_X86)
// Eight pixels at a time in 16-bit lanes; each 128-bit half works as the SSE2
// form does, with the alpha spread over its pixel's channels by one shuffle.
[[gnu::target("avx2")]] void AlphaBlendRowAvx2(uint32_t* d, const uint32_t* s, int32_t n) {
  int32_t i = 0;
  const __m256i zero = _mm256_setzero_si256(), all = _mm256_set1_epi16(255);
  const __m256i full = _mm256_set1_epi32(255);
  const __m256i alphaBits = _mm256_set1_epi32(static_cast<int>(0xFF000000u));
  const __m256i spread = _mm256_setr_epi8(6, 7, 6, 7, 6, 7, 6, 7, 14, 15, 14, 15, 14, 15, 14, 15,
                                          6, 7, 6, 7, 6, 7, 6, 7, 14, 15, 14, 15, 14, 15, 14, 15);
  for (; i + 8 <= n; i += 8) {
    const __m256i sv = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + i));
    const __m256i dv = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(d + i));
    const __m256i a32 = _mm256_srli_epi32(sv, 24);
    const __m256i clear = _mm256_cmpeq_epi32(a32, zero);
    if (_mm256_movemask_epi8(clear) == -1) continue;  // nothing to draw here
    const __m256i sLo = _mm256_unpacklo_epi8(sv, zero), sHi = _mm256_unpackhi_epi8(sv, zero);
    const __m256i aLo = _mm256_shuffle_epi8(sLo, spread), aHi = _mm256_shuffle_epi8(sHi, spread);
    const __m256i lo = _mm256_srli_epi16(
        _mm256_add_epi16(_mm256_mullo_epi16(sLo, aLo),
                         _mm256_mullo_epi16(_mm256_unpacklo_epi8(dv, zero), _mm256_xor_si256(aLo, all))), 8);
    const __m256i hi = _mm256_srli_epi16(
        _mm256_add_epi16(_mm256_mullo_epi16(sHi, aHi),
                         _mm256_mullo_epi16(_mm256_unpackhi_epi8(dv, zero), _mm256_xor_si256(aHi, all))), 8);
    __m256i out = _mm256_packus_epi16(lo, hi);
    out = _mm256_blendv_epi8(out, sv, _mm256_cmpeq_epi32(a32, full));
    out = _mm256_blendv_epi8(out, dv, _mm256_or_si256(clear, alphaBits));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(d + i), out);
  }
  AlphaBlendTail(d, s, i, n);
}

// Writes only the colour bytes: the alpha bytes are masked out of the store,
// so the row is never read.
[[gnu::target("avx512f,avx512bw")]] void OpaqueColourRowAvx512(uint32_t* d, uint32_t colour, int32_t n) {
  const __m512i c = _mm512_set1_epi32(static_cast<int>(colour));
  constexpr __mmask64 kColourBytes = 0x7777777777777777ull;
  int32_t i = 0;
  for (; i + 32 <= n; i += 32) {
    _mm512_mask_storeu_epi8(d + i, kColourBytes, c);
    _mm512_mask_storeu_epi8(d + i + 16, kColourBytes, c);
  }
  for (; i < n; i += 16) {
    const int32_t left = std::min(16, n - i);
    const __mmask64 pixels = left == 16 ? ~0ull : (1ull << (4 * left)) - 1;
    _mm512_mask_storeu_epi8(d + i, kColourBytes & pixels, c);
  }
}
#endif

void AlphaBlendRowSse2(uint32_t* d, const uint32_t* s, int32_t n) {
  int32_t i = 0;
#if defined(KX_X86)
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
  AlphaBlendTail(d, s, i, n);
}

void OpaqueColourRowSse2(uint32_t* d, uint32_t colour, int32_t n) {
  int32_t i = 0;
#if defined(KX_X86)
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

bool Supports(const char* what) {
#if defined(KX_X86)
  __builtin_cpu_init();
  if (std::string_view(what) == "avx2") return __builtin_cpu_supports("avx2");
  if (std::string_view(what) == "avx512bw") return __builtin_cpu_supports("avx512bw");
#endif
  return false;
}

}  // namespace

void AlphaBlendRow(uint32_t* d, const uint32_t* s, int32_t n) {
#if defined(KX_X86)
  static const BlendRowFn chosen = Supports("avx2") ? AlphaBlendRowAvx2 : AlphaBlendRowSse2;
#else
  static const BlendRowFn chosen = AlphaBlendRowSse2;
#endif
  chosen(d, s, n);
}

void OpaqueColourRow(uint32_t* d, uint32_t colour, int32_t n) {
#if defined(KX_X86)
  static const ColourRowFn chosen = Supports("avx512bw") ? OpaqueColourRowAvx512 : OpaqueColourRowSse2;
#else
  static const ColourRowFn chosen = OpaqueColourRowSse2;
#endif
  chosen(d, colour & 0x00FFFFFFu, n);
}

void FillRow(uint32_t* d, uint32_t value, int32_t n) { std::fill_n(d, n, value); }

}  // namespace kx::pixel
