// MStyles: what the toolkit asks of a style (fonts, colours, metrics, scaling,
// painting of control elements); MStyleSettings: the user's choices per window
// kind; MControlState: the visual state flags a state set paints by.
#pragma once

#include <cstdint>

#include "foundation/text/text_string.h"
#include "gui/drawing/drawing_types.h"

namespace kx {

class MDrawer;
class MFont;
class MXMLItem;

enum class MControlState : uint8_t {
  kNormal = 0,
  kFocused = 1,
  kHighlighted = 2,
  kClicked = 4,
  kDisabled = 8,
};
constexpr MControlState operator|(MControlState a, MControlState b) {
  return static_cast<MControlState>(static_cast<uint8_t>(a) | static_cast<uint8_t>(b));
}
constexpr bool HasState(MControlState set, MControlState flag) {
  return (static_cast<uint8_t>(set) & static_cast<uint8_t>(flag)) != 0;
}

struct MStyleSettings {
  MString style = MString("Neon");
  MString colorScheme;
  bool hasMainColor = false;
  MColor mainColor;
  bool invertColors = false;
  bool enableUpperCase = true;
  double resize = 1.0;

  // The keys of a settings item; a Resize below 0.1 resets to 1.0.
  void Read(const MXMLItem& item);
};

// Indices of GetColor.
enum class MStyleColor : uint8_t {
  kText, kShape, kRed, kGreen, kBlue,  // the five base colours
  kMain, kBackground, kPanel, kControl, kDisplay, kEditor, kBorder, kSelection, kHighlight,
  kDisabledText, kShadow,
};
inline constexpr int kStyleColorCount = 16;

class MStyles {
 public:
  virtual ~MStyles() = default;
  virtual MFont& GetFont(int32_t index) = 0;
  virtual MColor GetColor(MStyleColor index) const = 0;
  virtual int32_t GetMetric(int32_t index) const = 0;
  virtual int32_t ScaleX(double v) const = 0;
  virtual int32_t ScaleY(double v) const = 0;
  // Paints one part of a control element (a state set when `part` is empty)
  // into `rect`; false when the style has no such element or part.
  virtual bool PaintElement(MDrawer& drawer, const char* element, const char* part,
                            const MRect& rect, MControlState state) = 0;
};

}  // namespace kx
