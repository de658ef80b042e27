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
  // All keys into `item`; MainColor only when one is chosen.
  void Write(MXMLItem& item) const;
};

// What a control gives its style to be painted and measured; the controls
// fill it from their own state.
struct MStyledControl {
  const char* element = "button";  // the style element that draws it
  MRect rect;                      // device pixels
  MControlState state = MControlState::kNormal;
  MString caption;                 // its text, if any
  int32_t fontIndex = 0;
  bool checked = false;            // check boxes, radio buttons, toggles, the current tab
  double value = 0;                // 0 to 1: trackers, progress bars, knobs, scroll bars
  double pageSize = 0.2;           // scroll bars: the visible share, 0 to 1
  const char* container = "";      // "control", "display" or "editor" around a knob
};

enum class MAxis : uint8_t { kHorizontal, kVertical };

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
  // A colour through the window's colouring (MainColor).
  virtual MColor TransformColor(MColor color) const = 0;

  // The whole control: its element's images by state and value, then its
  // content. A control type the style has no element for is drawn as a
  // generated rectangle.
  virtual void PaintControl(MDrawer& drawer, const MStyledControl& control) = 0;
  // The caption inside the chrome; a clicked control's content moves by the
  // element's content offset.
  virtual void PaintContent(MDrawer& drawer, const MStyledControl& control) = 0;
  // The chrome on each side (left, top, right, bottom), device pixels.
  virtual MRect GetBorders(const MStyledControl& control) const = 0;
  // The room left for content in `size` along `axis`, and its reverse: the
  // control's size for content of `contentSize`, no less than its element's
  // minimum.
  virtual int32_t ComputeContentSize(const MStyledControl& control, MAxis axis, int32_t size) const = 0;
  virtual int32_t ComputeControlSize(const MStyledControl& control, MAxis axis,
                                     int32_t contentSize) const = 0;
};

}  // namespace kx
