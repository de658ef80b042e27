// The wide row routines of the software drawer's hottest cases, and the
// compile-time choice of mode and constant alpha that every blit makes once.
// Each row routine gives exactly what Mix<M> gives pixel by pixel.
#pragma once

#include <cstdint>
#include <type_traits>

#include "gui/drawing/pixel_modes.h"

namespace kx::pixel {

// AlphaBlend of n pixels by the source alpha; the destination keeps its alpha.
void AlphaBlendRow(uint32_t* d, const uint32_t* s, int32_t n);
// An opaque colour over n pixels whose alpha stays (AlphaBlend at alpha 255).
void OpaqueColourRow(uint32_t* d, uint32_t colour, int32_t n);
// n pixels set to `value`, alpha included (Copy).
void FillRow(uint32_t* d, uint32_t value, int32_t n);

// Calls body(tag, constantAlpha) with both chosen at compile time; nothing for
// None or a mode outside the table.
template <typename Body>
inline void WithModeAndAlpha(MDrawingMode mode, uint8_t alpha, Body&& body) {
  WithMode(mode, [&](auto tag) {
    if (alpha == 255) body(tag, std::false_type{});
    else body(tag, std::true_type{});
  });
}

// One source pixel over one destination pixel, the constant alpha folded in
// when there is one.
template <MDrawingMode M, bool kConstantAlpha>
[[gnu::always_inline]] inline void BlitPixel(uint8_t* d, const uint8_t* s, uint8_t alpha) {
  int a = s[3];
  if constexpr (kConstantAlpha) a = Fold(a, alpha);
  Mix<M>(d, s, a);
}

}  // namespace kx::pixel
