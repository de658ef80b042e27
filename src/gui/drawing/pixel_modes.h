// The pixel operations of the 26 composition modes, one template instance per
// mode, and WithMode, which turns a run-time mode into a compile-time one once
// per primitive. Inner loops instantiate Mix<M> and so hold no dispatch.
//
// `d` and `s` are pixels in memory order B, G, R, A; `a` is the effective alpha
// (colour alpha with constant alpha and coverage folded in). Blends divide by
// 256. At `a` 255 the result is written without mixing, at 0 nothing changes.
// The destination alpha stays but for Copy and Overlay.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "gui/drawing/drawing_types.h"
#include "media/bitmap/colour_hsv.h"

namespace kx::pixel {

template <MDrawingMode M>
using ModeTag = std::integral_constant<MDrawingMode, M>;

// Folds a second alpha (constant alpha, coverage) into `a`.
inline int Fold(int a, int other) { return (a + 1) * other >> 8; }

inline int Lerp(int r, int d, int a) { return (r * a + d * (a ^ 255)) >> 8; }

inline int Combine(int s, int d) {
  return d < 128 ? (s * (d + 1) >> 7 & 254)
                 : (~((~s & 255) * ((~(d * 2) & 255) + 1) >> 8) & 255);
}
inline int Modulate(int s, int d) { return (d + 1) * s >> 8; }
inline int Screen(int s, int d) { return ~((~s & 255) * (256 - d) >> 8) & 255; }
inline int IncContrast(int s, int d) {
  int c = (4335 - 16 * s) * (d - 127) / 255;
  return std::clamp(c, -127, 128) + 127;
}
inline int DecContrast(int s, int d) { return (d - 127) * s / 255 + 127; }

// Result of a per-channel mode before blending with `a`.
template <MDrawingMode M>
inline int Channel(int s, int d) {
  using enum MDrawingMode;
  if constexpr (M == kAlphaBlend) return s;
  else if constexpr (M == kCombine) return Combine(s, d);
  else if constexpr (M == kModulate) return Modulate(s, d);
  else if constexpr (M == kScreen) return Screen(s, d);
  else if constexpr (M == kModulateScreen) return Screen(s, Modulate(s, d));
  else if constexpr (M == kScreenModulate) return Modulate(s, Screen(s, d));
  else if constexpr (M == kInvert) return ~d & 255;
  else if constexpr (M == kAverage) return (s + d) >> 1;
  else if constexpr (M == kMin) return std::min(s, d);
  else if constexpr (M == kMax) return std::max(s, d);
  else if constexpr (M == kDifference) return std::max(0, s - d);
  else if constexpr (M == kIncContrast) return IncContrast(s, d);
  else if constexpr (M == kDecContrast) return DecContrast(s, d);
  else return d;
}

template <MDrawingMode M>
constexpr bool kUsesHSV = M == MDrawingMode::kColor || M == MDrawingMode::kColorWithSaturation ||
                          M == MDrawingMode::kColorMulSaturation || M == MDrawingMode::kCopyS ||
                          M == MDrawingMode::kCopyV;

// The colour modes: hue, saturation and value picked from source and destination.
template <MDrawingMode M>
inline MRGB HSVResult(const uint8_t* s, const uint8_t* d) {
  using enum MDrawingMode;
  MHSV hs = RGBToHSV(s[2], s[1], s[0]);
  MHSV hd = RGBToHSV(d[2], d[1], d[0]);
  if constexpr (M == kColor) return HSVToRGB(hs.h, hs.s, hd.v);
  else if constexpr (M == kColorWithSaturation) return HSVToRGB(hs.h, std::max(hs.s, hd.s), hd.v);
  else if constexpr (M == kColorMulSaturation) return HSVToRGB(hs.h, hs.s * (hd.s + 1) >> 8, hd.v);
  else if constexpr (M == kCopyS) return HSVToRGB(hd.h, hs.s, hd.v);
  else return HSVToRGB(hd.h, hd.s, hs.v);
}

// Always inlined: the inner loops are only fast with the operation in them.
template <MDrawingMode M>
[[gnu::always_inline]] inline void Mix(uint8_t* d, const uint8_t* s, int a) {
  using enum MDrawingMode;
  // Copy replaces the pixel whatever its alpha, so that transparent areas copy too.
  if constexpr (M == kCopy) {
    d[0] = s[0], d[1] = s[1], d[2] = s[2], d[3] = s[3];
    return;
  }
  if (a <= 0) return;
  if constexpr (M == kAlphaBlend) {
    // Red and blue share one multiply, green takes another: each lane's sum
    // stays below 2^16, so the result is that of the per-channel formula.
    uint32_t dv, sv;
    std::memcpy(&dv, d, 4);
    std::memcpy(&sv, s, 4);
    if (a == 255) {
      dv = (dv & 0xFF000000u) | (sv & 0x00FFFFFFu);
    } else {
      const uint32_t ia = static_cast<uint32_t>(a ^ 255), ua = static_cast<uint32_t>(a);
      const uint32_t rb = (((sv & 0x00FF00FFu) * ua + (dv & 0x00FF00FFu) * ia) >> 8) & 0x00FF00FFu;
      const uint32_t g = (((sv & 0x0000FF00u) * ua + (dv & 0x0000FF00u) * ia) >> 8) & 0x0000FF00u;
      dv = (dv & 0xFF000000u) | rb | g;
    }
    std::memcpy(d, &dv, 4);
  } else if constexpr (M == kOverlay) {
    if (d[3] == 0) {
      d[0] = s[0], d[1] = s[1], d[2] = s[2], d[3] = static_cast<uint8_t>(a);
      return;
    }
    d[3] = static_cast<uint8_t>(std::min(255, d[3] + a));
    for (int c = 0; c < 3; ++c) d[c] = static_cast<uint8_t>(a == 255 ? s[c] : Lerp(s[c], d[c], a));
  } else if constexpr (M == kAdd || M == kSubtract) {
    for (int c = 0; c < 3; ++c) {
      int w = (s[c] + 1) * a >> 8;
      d[c] = static_cast<uint8_t>(M == kAdd ? std::min(255, d[c] + w) : std::max(0, d[c] - w));
    }
  } else if constexpr (M == kLighten || M == kDarken) {
    int m = std::max({d[0], d[1], d[2]});
    int top = std::max({s[0], s[1], s[2]});
    int t;
    if constexpr (M == kLighten) {
      t = std::min(255, m + ((top + 1) * a >> 8));
    } else {
      t = std::max(0, m - (((~top & 255) + 1) * a >> 8));
    }
    if (m == 0) {
      d[0] = d[1] = d[2] = static_cast<uint8_t>(t);
    } else {
      for (int c = 0; c < 3; ++c) d[c] = static_cast<uint8_t>(d[c] * t / m);
    }
  } else if constexpr (M == kLightenByContrast || M == kDarkenByContrast) {
    for (int c = 0; c < 3; ++c) {
      if constexpr (M == kLightenByContrast) {
        int w = (s[c] + 1) * a >> 8;
        d[c] = static_cast<uint8_t>(w >= 255 ? 255 : std::min(255, d[c] * 255 / (255 - w)));
      } else {
        int w = (256 - s[c]) * a >> 8;
        d[c] = static_cast<uint8_t>(w >= 255 ? 0 : std::clamp((d[c] - w) * 255 / (255 - w), 0, 255));
      }
    }
  } else if constexpr (kUsesHSV<M>) {
    MRGB r = HSVResult<M>(s, d);
    const uint8_t out[3] = {r.b, r.g, r.r};
    for (int c = 0; c < 3; ++c) d[c] = static_cast<uint8_t>(a == 255 ? out[c] : Lerp(out[c], d[c], a));
  } else {
    if constexpr (M == kAverage) {
      if (d[3] == 0) return;
    }
    for (int c = 0; c < 3; ++c) {
      int r = Channel<M>(s[c], d[c]);
      d[c] = static_cast<uint8_t>(a == 255 ? r : Lerp(r, d[c], a));
    }
  }
}

// Calls body(ModeTag<M>{}) for the run-time mode; does nothing for None or a
// value outside the table.
template <typename Body>
inline void WithMode(MDrawingMode mode, Body&& body) {
  using enum MDrawingMode;
  switch (mode) {
#define KX_MODE_CASE(m) \
  case m:               \
    body(ModeTag<m>{});  \
    break;
    KX_MODE_CASE(kAlphaBlend) KX_MODE_CASE(kCombine) KX_MODE_CASE(kModulate)
    KX_MODE_CASE(kScreen) KX_MODE_CASE(kModulateScreen) KX_MODE_CASE(kScreenModulate)
    KX_MODE_CASE(kColor) KX_MODE_CASE(kColorWithSaturation) KX_MODE_CASE(kColorMulSaturation)
    KX_MODE_CASE(kCopyS) KX_MODE_CASE(kCopyV) KX_MODE_CASE(kCopy) KX_MODE_CASE(kOverlay)
    KX_MODE_CASE(kInvert) KX_MODE_CASE(kAdd) KX_MODE_CASE(kSubtract) KX_MODE_CASE(kAverage)
    KX_MODE_CASE(kMin) KX_MODE_CASE(kMax) KX_MODE_CASE(kLighten) KX_MODE_CASE(kDarken)
    KX_MODE_CASE(kDifference) KX_MODE_CASE(kIncContrast) KX_MODE_CASE(kDecContrast)
    KX_MODE_CASE(kLightenByContrast) KX_MODE_CASE(kDarkenByContrast)
#undef KX_MODE_CASE
    default:
      break;
  }
}

}  // namespace kx::pixel
