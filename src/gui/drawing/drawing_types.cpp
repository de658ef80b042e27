#include "gui/drawing/drawing_types.h"

#include <cstring>

namespace kx {

namespace {
constexpr const char* kModeNames[kDrawingModeCount] = {
    "None",          "AlphaBlend",  "Combine",           "Modulate",         "Screen",
    "ModulateScreen", "ScreenModulate", "Color",         "ColorWithSaturation",
    "ColorMulSaturation", "CopyS",  "CopyV",             "Copy",             "Overlay",
    "Invert",        "Add",         "Subtract",          "Average",          "Min",
    "Max",           "Lighten",     "Darken",            "Difference",       "IncContrast",
    "DecContrast",   "LightenByContrast", "DarkenByContrast"};
}  // namespace

const char* DrawingModeName(MDrawingMode mode) {
  auto index = static_cast<int>(mode);
  return index < kDrawingModeCount ? kModeNames[index] : nullptr;
}

MDrawingMode DrawingModeFromName(const char* name) {
  for (int i = 1; i < kDrawingModeCount; ++i) {
    if (std::strcmp(kModeNames[i], name) == 0) return static_cast<MDrawingMode>(i);
  }
  return MDrawingMode::kAlphaBlend;
}

}  // namespace kx
