#include <cstdlib>
#include <string>

#include "foundation/xml/xml_item.h"
#include "gui/styles/style_image.h"
#include "gui/styles/styles.h"

namespace kx {

void MStyleSettings::Read(const MXMLItem& item) {
  if (item.FindAttribute("Style")) style = StyleText(item, "Style");
  if (item.FindAttribute("ColorScheme")) colorScheme = StyleText(item, "ColorScheme");
  if (item.FindAttribute("MainColor")) {
    // A number 0xRRGGBB, or the "#RRGGBB" of style files.
    const std::string text = StyleText(item, "MainColor").ToUTF8String();
    const uint32_t rgb = text.size() == 7 && text[0] == '#'
                             ? static_cast<uint32_t>(std::strtoul(text.c_str() + 1, nullptr, 16))
                             : static_cast<uint32_t>(StyleInt(item, "MainColor", 0));
    mainColor = MColor::RGBA((rgb >> 16) & 255, (rgb >> 8) & 255, rgb & 255);
    hasMainColor = true;
  }
  invertColors = StyleInt(item, "InvertColors", invertColors) != 0;
  enableUpperCase = StyleInt(item, "EnableUpperCase", enableUpperCase) != 0;
  resize = StyleReal(item, "Resize", resize);
  if (!(resize >= 0.1)) resize = 1.0;
}

void MStyleSettings::Write(MXMLItem& item) const {
  item.SetAttribute("Style", style);
  item.SetAttribute("ColorScheme", colorScheme);
  if (hasMainColor) {
    item.SetAttribute("MainColor", static_cast<int32_t>(uint32_t{mainColor.r} << 16 | mainColor.g << 8 | mainColor.b));
  }
  item.SetAttribute("InvertColors", invertColors ? 1 : 0);
  item.SetAttribute("EnableUpperCase", enableUpperCase ? 1 : 0);
  item.SetAttribute("Resize", resize);
}

}  // namespace kx
