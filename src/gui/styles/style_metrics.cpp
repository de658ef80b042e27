#include "gui/styles/style_metrics.h"

#include <cstring>

namespace kx {

const MStyleMetricInfo kStyleMetrics[kStyleMetricCount] = {
    {"XSpaceInMContent", 4, 1},        {"YSpaceInMContent", 2, 2},
    {"XBorderInMContent", 2, 1},       {"YBorderInMContent", 0, 2},
    {"DefLayoutSpace", 1, 1},          {"DefGridLayoutSpace", 8, 1},
    {"ScrollerLayoutSpace", 1, 1},     {"LabelSpace", 0, 1},
    {"DefaultListBoxItemHeight", 14, 2}, {"ListBoxItemCheckBoxSize", 8, 2},
    {"DefaultTreeItemHeight", 14, 2},  {"TreeItemCheckBoxSize", 8, 2},
    {"TabSetLeftSize", 12, 1},         {"TabSetRightSize", 12, 1},
    {"TabSetOverlapSize", 0, 1},       {"MenuBarLeftSize", 4, 1},
    {"MenuBarRightSize", 4, 1},        {"MenuBarOverlapSize", 0, 1},
    {"MaxStdIconSizeX", 16, 1},        {"MaxStdIconSizeY", 16, 2},
    {"MaxStdBitmapSizeX", 48, 1},      {"MaxStdBitmapSizeY", 48, 2},
    {"HSplitterSize", 6, 1},           {"VSplitterSize", 6, 2},
    {"WindowBorderSizeX", 3, 1},       {"WindowBorderSizeY", 3, 2},
    {"NoColor2ForTextAndShapes", 255, 0}, {"AutoColorInvertLimit", 128, 0},
    {"AutoColorInvertPhysical", 255, 0}, {"BarMeterLineSize", 0, 2},
    {"BarMeterAlpha", 0, 0},           {"BarMeterBackgroundAlpha", 0, 0},
    {"BarMeterColorize", 0, 0},        {"BarMeterMinLightness", 32, 0},
    {"SelectorGradient", 40, 0},       {"SelectorAlpha", 200, 0},
    {"ValueButtonAlpha", 50, 0},       {"ValueButtonColorize", 0, 0},
    {"GraphGridAlpha", 70, 0},         {"GraphGridSmallAlpha", 35, 0},
    {"GraphUnitsAlpha", 140, 0},       {"PointGraphAlpha", 230, 0},
    {"PointGraphAxisAlpha", 25, 0},    {"UnitAlphaValueButton", 255, 0},
    {"UnitAlphaSwitcher", 255, 0},     {"UnitAlphaTracker", 255, 0},
    {"UnitAlphaProgressBar", 255, 0},  {"UnitColorizeValueButton", 0, 0},
    {"UnitColorizeSwitcher", 0, 0},    {"UnitColorizeTracker", 0, 0},
};

int StyleMetricIndex(const char* name) {
  for (int i = 0; i < kStyleMetricCount; ++i) {
    if (std::strcmp(kStyleMetrics[i].name, name) == 0) return i;
  }
  return -1;
}

}  // namespace kx
