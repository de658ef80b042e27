// The small value types of drawing: colours, brushes, rectangles and the 26
// composition modes. Rectangles are inclusive, in device pixels.
#pragma once

#include <algorithm>
#include <cstdint>

namespace kx {

// A pixel's four bytes in memory order: blue, green, red, alpha.
struct MColor {
  uint8_t b = 0;
  uint8_t g = 0;
  uint8_t r = 0;
  uint8_t a = 0;

  static constexpr MColor RGBA(uint8_t r, uint8_t g, uint8_t b, uint8_t a = 255) {
    return MColor{b, g, r, a};
  }
  bool operator==(const MColor&) const = default;
};

// Index of the composition table; None draws nothing.
enum class MDrawingMode : uint8_t {
  kNone = 0,
  kAlphaBlend,
  kCombine,
  kModulate,
  kScreen,
  kModulateScreen,
  kScreenModulate,
  kColor,
  kColorWithSaturation,
  kColorMulSaturation,
  kCopyS,
  kCopyV,
  kCopy,
  kOverlay,
  kInvert,
  kAdd,
  kSubtract,
  kAverage,
  kMin,
  kMax,
  kLighten,
  kDarken,
  kDifference,
  kIncContrast,
  kDecContrast,
  kLightenByContrast,
  kDarkenByContrast,
};
constexpr int kDrawingModeCount = 27;  // None included

// The mode's word as style files write it ("AlphaBlend"); null outside the table.
const char* DrawingModeName(MDrawingMode mode);
// The mode of a word; AlphaBlend for an unknown word.
MDrawingMode DrawingModeFromName(const char* name);

struct MBrush {
  MColor color;
  int32_t scalar = 1;  // pen width of outlines
  MDrawingMode mode = MDrawingMode::kAlphaBlend;
};

struct MPoint {
  int32_t x = 0;
  int32_t y = 0;
};

struct MPointF {
  double x = 0;
  double y = 0;
};

struct MRect {
  int32_t left = 0;
  int32_t top = 0;
  int32_t right = -1;  // inclusive
  int32_t bottom = -1;

  int32_t Width() const { return right - left + 1; }
  int32_t Height() const { return bottom - top + 1; }
  bool IsEmpty() const { return right < left || bottom < top; }
  MRect Intersect(const MRect& o) const {
    return MRect{std::max(left, o.left), std::max(top, o.top), std::min(right, o.right),
                 std::min(bottom, o.bottom)};
  }
  bool Contains(int32_t x, int32_t y) const {
    return x >= left && x <= right && y >= top && y <= bottom;
  }
};

}  // namespace kx
