#include "gui/styles/textured_style.h"

#include <cmath>

#include "foundation/core/exception.h"
#include "foundation/resources/resource_library.h"
#include "foundation/xml/xml_item.h"
#include "gui/drawing/drawer.h"
#include "gui/styles/style_metrics.h"

namespace kx {

namespace {

constexpr const char* kColorNames[kStyleColorCount] = {
    "text",    "shape",   "red",    "green",     "blue",      "main",         "background", "panel",
    "control", "display", "editor", "border",    "selection", "highlight",    "disabledtext", "shadow"};

// Parts beside the state set that an element may name.
constexpr const char* kNamedParts[] = {
    "image",     "selector",   "selectoroverlay", "valuebutton", "pointer",  "imagecenter",
    "imagearc",  "imagebackground", "locator",    "imagedark",   "locatordark", "off",
    "grayed",    "item",       "selecteditem",    "vimage",      "himage",   "iconon",
    "iconoff",   "icongrayed", "smallcaption",    "normalcaption", "largecaption"};

// The alpha keys of the state set, spelled as the files spell them.
constexpr const char* kStateAlphaKeys[7] = {"normalalpha",  "Focusedalpha",   "HLalpha",
                                            "FocusedHLalpha", "Clickedalpha", "ClickedHLalpha",
                                            "Disabledalpha"};

bool ParseColor(const MString& text, MColor& out) {
  const std::string s = text.ToUTF8String();
  if (s.size() != 7 && s.size() != 9) return false;
  if (s[0] != '#') return false;
  uint32_t v = static_cast<uint32_t>(std::stoul(s.substr(1), nullptr, 16));
  if (s.size() == 7) v = (v << 8) | 255;
  out = MColor::RGBA((v >> 24) & 255, (v >> 16) & 255, (v >> 8) & 255, v & 255);
  return true;
}

}  // namespace

MTexturedStyle::~MTexturedStyle() = default;

void MTexturedStyle::Load(std::unique_ptr<MResourceLibrary> owned, const MStyleSettings& settings) {
  library_ = std::move(owned);
  MResourceLibrary& library = *library_;
  MXMLItem& root = library.GetDefinition();
  settings_ = settings;
  scale_ = settings.resize;
  if (MXMLItem* colors = root.FindSubItem("colors")) ReadColors(*colors, settings);
  for (int i = 0; i < kStyleMetricCount; ++i) metrics_[i] = kStyleMetrics[i].defaultValue;
  if (MXMLItem* metrics = root.FindSubItem("metrics")) {
    for (int i = 0; i < kStyleMetricCount; ++i) {
      metrics_[i] = StyleInt(*metrics, kStyleMetrics[i].name, metrics_[i]);
    }
  }
  const int limit = StyleMetricIndex("AutoColorInvertLimit");
  if (metrics_[limit] == 0) metrics_[limit] = 128;
  for (int i = 0; i < kStyleMetricCount; ++i) {
    if (kStyleMetrics[i].kind == 1) metrics_[i] = ScaleX(metrics_[i]);
    else if (kStyleMetrics[i].kind == 2) metrics_[i] = ScaleY(metrics_[i]);
  }
  if (MXMLItem* elements = root.FindSubItem("elements")) ReadElements(library, *elements);
  Colorize();
  ReadFonts(library, root.FindSubItem("fonts"));
}

void MTexturedStyle::ReadColors(const MXMLItem& colors, const MStyleSettings& settings) {
  for (int i = 0; i < kStyleColorCount; ++i) {
    MColor c;
    if (ParseColor(StyleText(colors, kColorNames[i]), c)) colors_[i] = c;
  }
  colorization_.Read(colors);
  const int main = static_cast<int>(MStyleColor::kMain);
  styleMain_ = colors_[main];
  if (settings.hasMainColor) {
    colors_[main] = settings.mainColor;
    // The accent colours beside the main one follow it.
    for (int i = 5; i < kStyleColorCount; ++i) {
      if (i != main && colorization_.changeColorToMain) {
        colors_[i] = ColorizeColor(colors_[i], styleMain_, settings.mainColor, colorization_);
      }
    }
  }
  if (settings.invertColors) {
    for (int i = 0; i < 5; ++i) {
      colors_[i] = MColor::RGBA(255 - colors_[i].r, 255 - colors_[i].g, 255 - colors_[i].b, colors_[i].a);
    }
  }
}

void MTexturedStyle::ReadFonts(MResourceLibrary& library, const MXMLItem* fonts) {
  static constexpr const char* kFallbacks[] = {"Roboto", "D-Din", "Arial", "Tahoma"};
  int index = 0;
  for (MXMLItem* face = fonts ? fonts->firstSubItem : nullptr; face && index < kFontCount;
       face = face->next) {
    auto font = std::make_unique<MFont>();
    const int32_t size = std::max(1, ScaleY(StyleInt(*face, "size", 12)));
    const MString id = StyleText(*face, "id");
    if (!id.IsEmpty() && library.HasResource(id)) {
      font->LoadFromResource(library, id, size);
    } else {
      MString family = StyleText(*face, "name");
      MString suffix;
      if (StyleInt(*face, "bold", 0)) suffix += " bold";
      if (StyleInt(*face, "italic", 0)) suffix += " italic";
      try {
        family += suffix;
        font->SetFamily(family, size);
      } catch (MException&) {
        for (const char* fallback : kFallbacks) {
          try {
            MString name(fallback);
            name += suffix;
            font->SetFamily(name, size);
            break;
          } catch (MException&) {
          }
        }
      }
    }
    if (!font->IsLoaded()) throw MException(MString("No fonts are available on the system."));
    fonts_[index++] = std::move(font);
  }
  if (index == 0) throw MException(MString("No fonts are available on the system."));
  for (; index < kFontCount; ++index) {
    fonts_[index] = std::make_unique<MFont>();
    fonts_[index]->SetFamily(MString("DejaVu Sans"), ScaleY(12));
  }
}

void MTexturedStyle::ReadElements(MResourceLibrary& library, const MXMLItem& elements) {
  for (MXMLItem* item = elements.firstSubItem; item; item = item->next) {
    MStyleElement& element = elements_[item->GetName().ToUTF8String()];
    element.borderX = StyleInt(*item, "borderx", -1);
    element.borderY = StyleInt(*item, "bordery", -1);
    for (const char* key : {"captionheight", "captionfont", "baseangle", "enablepointer", "colorize", "enabled"}) {
      if (item->FindAttribute(key)) element.numbers[key] = StyleInt(*item, key, 0);
    }
    element.contentOffsetX = StyleInt(*item, "contentoffsetx", 0);
    element.contentOffsetY = StyleInt(*item, "contentoffsety", 0);
    auto loadPart = [&](const char* part) {
      const MString id = StyleText(*item, part);
      if (id.IsEmpty()) return;
      MStyleImage image;
      image.ReadFields(*item);
      if (const MXMLItem* own = item->FindSubItem(part)) image.ReadFields(*own);
      MBitmap bitmap;
      bitmap.LoadFromResource(library, id);
      image.SetBitmap(std::move(bitmap));
      element.parts[part] = std::move(image);
    };
    for (int i = 0; i < 7; ++i) {
      loadPart(kStateParts[i]);
      element.alphas[kStateParts[i]] = static_cast<uint8_t>(StyleInt(*item, kStateAlphaKeys[i], 255));
    }
    for (const char* part : kNamedParts) loadPart(part);
  }
}

void MTexturedStyle::Colorize() {
  if (!settings_.hasMainColor || !colorization_.changeColorToMain || settings_.mainColor == styleMain_) return;
  for (auto& [name, element] : elements_) {
    if (element.Number("colorize", 1) == 0) continue;
    for (auto& [part, image] : element.parts) {
      MBitmap recoloured;
      ColorizeBitmap(image.Bitmap(), styleMain_, settings_.mainColor, colorization_, recoloured);
      image.SetBitmap(std::move(recoloured));
    }
  }
}

MColor MTexturedStyle::TransformColor(MColor color) const {
  if (!settings_.hasMainColor || !colorization_.changeColorToMain) return color;
  return ColorizeColor(color, styleMain_, settings_.mainColor, colorization_);
}

const MStyleElement* MTexturedStyle::FindElement(const std::string& name) const {
  auto found = elements_.find(name);
  return found == elements_.end() ? nullptr : &found->second;
}

const char* MTexturedStyle::StatePart(MControlState state) {
  using enum MControlState;
  const bool hl = HasState(state, kHighlighted);
  if (HasState(state, kDisabled)) return "disabled";
  if (HasState(state, kClicked)) return hl ? "clickedhl" : "clicked";
  if (HasState(state, kFocused)) return hl ? "focusedhl" : "focused";
  return hl ? "hl" : "normal";
}

bool MTexturedStyle::PaintElement(MDrawer& drawer, const char* element, const char* part,
                                  const MRect& rect, MControlState state) {
  const MStyleElement* found = FindElement(element);
  if (!found) return false;
  const std::string name = part && *part ? part : StatePart(state);
  auto image = found->parts.find(name);
  if (image == found->parts.end()) image = found->parts.find("normal");
  if (image == found->parts.end()) return false;
  auto alpha = found->alphas.find(name);
  image->second.Paint(drawer, rect, scale_, alpha == found->alphas.end() ? 255 : alpha->second);
  return true;
}

MFont& MTexturedStyle::GetFont(int32_t index) {
  if (index < 0 || index >= kFontCount || !fonts_[index]) {
    throw MException(MString("Style resources have not been loaded."));
  }
  return *fonts_[index];
}

MColor MTexturedStyle::GetColor(MStyleColor index) const { return colors_[static_cast<int>(index)]; }

int32_t MTexturedStyle::GetMetric(int32_t index) const {
  return index >= 0 && index < kStyleMetricCount ? metrics_[index] : 0;
}

int32_t MTexturedStyle::ScaleX(double v) const { return static_cast<int32_t>(std::lround(v * scale_)); }
int32_t MTexturedStyle::ScaleY(double v) const { return static_cast<int32_t>(std::lround(v * scale_)); }

}  // namespace kx
