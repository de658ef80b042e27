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
#pragma once

#include <array>
#include <map>
#include <memory>
#include <string>

#include "gui/styles/style_image.h"
#include "gui/styles/styles.h"
#include "media/fonts/font.h"

namespace kx {

class MResourceLibrary;

struct MStyleElement {
  std::map<std::string, MStyleImage> parts;
  std::map<std::string, uint8_t> alphas;
  int32_t borderX = 0, borderY = 0, contentOffsetX = 0, contentOffsetY = 0;
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

  std::unique_ptr<MResourceLibrary> library_;
  double scale_ = 1.0;
  std::array<MColor, kStyleColorCount> colors_{};
  std::array<int32_t, 50> metrics_{};
  std::array<std::unique_ptr<MFont>, kFontCount> fonts_;
  std::map<std::string, MStyleElement> elements_;
};

}  // namespace kx
