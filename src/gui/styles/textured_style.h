// MTexturedStyle: one loaded `.mstyle` library. Its definition root holds:
//   colors    colour attributes by name ("#RRGGBB" or "#RRGGBBAA") and the
//             state alphas (disabledalpha, focusedalpha, highlightedalpha,
//             clickedalpha)
//   metrics   metric attributes by name (style_metrics.h)
//   fonts     `face` items: name, id (a font resource), bold, italic, size
//   elements  one item per control element (button, knob, ...): image fields
//             (style_image.h) and its parts as resource ids: the state set
//             (normal, focused, hl, focusedhl, clicked, clickedhl, disabled,
//             each with its alpha) and the named parts (image, selector,
//             locator, ...). A subitem named like a part overrides its fields.
//             Numbers that steer painting: captionheight, captionfont
//             (containers), baseangle (knobs, degrees clockwise from twelve
//             o'clock where the value 0 points; the range is 270 degrees),
//             enablepointer, colorize (0: keeps its colours under MainColor).
// Colorisation (style_colorize.h) is applied once at load: images and colours
// follow the settings' MainColor when the style asks for it.
#pragma once

#include <array>
#include <map>
#include <memory>
#include <string>

#include "gui/styles/style_colorize.h"
#include "gui/styles/style_image.h"
#include "gui/styles/styles.h"
#include "media/fonts/font.h"

namespace kx {

class MResourceLibrary;

struct MStyleElement {
  std::map<std::string, MStyleImage> parts;
  std::map<std::string, uint8_t> alphas;
  std::map<std::string, int32_t> numbers;  // the steering numbers above, when given
  int32_t borderX = -1, borderY = -1, contentOffsetX = 0, contentOffsetY = 0;

  int32_t Number(const char* key, int32_t fallback) const {
    auto found = numbers.find(key);
    return found == numbers.end() ? fallback : found->second;
  }
  const MStyleImage* Part(const std::string& name) const {
    auto found = parts.find(name);
    return found == parts.end() ? nullptr : &found->second;
  }
};

class MTexturedStyle : public MStyles {
 public:
  static constexpr int kFontCount = 8;
  // The state set's parts in the order of MControlState's choice.
  static constexpr const char* kStateParts[7] = {"normal", "focused", "hl", "focusedhl",
                                                 "clicked", "clickedhl", "disabled"};

  // Reads everything from the attached `library` under `settings`; the style
  // keeps the library, whose bytes its fonts may read in place.
  void Load(std::unique_ptr<MResourceLibrary> library, const MStyleSettings& settings);
  ~MTexturedStyle() override;

  MFont& GetFont(int32_t index) override;
  MColor GetColor(MStyleColor index) const override;
  int32_t GetMetric(int32_t index) const override;
  int32_t ScaleX(double v) const override;
  int32_t ScaleY(double v) const override;
  bool PaintElement(MDrawer& drawer, const char* element, const char* part, const MRect& rect,
                    MControlState state) override;
  MColor TransformColor(MColor color) const override;
  void PaintControl(MDrawer& drawer, const MStyledControl& control) override;
  void PaintContent(MDrawer& drawer, const MStyledControl& control) override;
  MRect GetBorders(const MStyledControl& control) const override;
  int32_t ComputeContentSize(const MStyledControl& control, MAxis axis, int32_t size) const override;
  int32_t ComputeControlSize(const MStyledControl& control, MAxis axis,
                             int32_t contentSize) const override;

  double Scale() const { return scale_; }
  const MStyleElement* FindElement(const std::string& name) const;
  const std::map<std::string, MStyleElement>& Elements() const { return elements_; }
  // The part a state set paints for `state` (disabled wins, then clicked, then
  // focused), falling back to normal.
  static const char* StatePart(MControlState state);

 private:
  void ReadColors(const MXMLItem& colors, const MStyleSettings& settings);
  void ReadFonts(MResourceLibrary& library, const MXMLItem* fonts);
  void ReadElements(MResourceLibrary& library, const MXMLItem& elements);
  void Colorize();
  // The element that draws `control`: a knob's container form when the style
  // enables it.
  const MStyleElement* ElementOf(const MStyledControl& control, std::string* name) const;
  // A part at its design size times the scale.
  MPoint DeviceSize(const MStyleImage& image) const;
  void PaintKnob(MDrawer& drawer, const MStyleElement& element, const MStyledControl& control);
  void PaintValueBar(MDrawer& drawer, const MStyleElement& element, const MStyledControl& control);
  void PaintCaption(MDrawer& drawer, const MStyledControl& control, const MRect& rect,
                    int32_t fontIndex, uint32_t flags);

  std::unique_ptr<MResourceLibrary> library_;
  double scale_ = 1.0;
  std::array<MColor, kStyleColorCount> colors_{};
  std::array<int32_t, 50> metrics_{};
  std::array<std::unique_ptr<MFont>, kFontCount> fonts_;
  std::map<std::string, MStyleElement> elements_;
  MStyleSettings settings_;
  MColorization colorization_;
  MColor styleMain_;  // the style's own main colour, before the settings'
};

}  // namespace kx
