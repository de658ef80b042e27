#include "gui/styles/style_image.h"

#include <algorithm>
#include <cmath>

#include "foundation/xml/xml_item.h"
#include "gui/drawing/drawer.h"

namespace kx {

int32_t StyleInt(const MXMLItem& item, const char* key, int32_t fallback) {
  const MXMLAttribute* attribute = item.FindAttribute(key);
  return attribute ? attribute->value.AsInt() : fallback;
}

double StyleReal(const MXMLItem& item, const char* key, double fallback) {
  const MXMLAttribute* attribute = item.FindAttribute(key);
  return attribute ? attribute->value.AsReal() : fallback;
}

MString StyleText(const MXMLItem& item, const char* key) {
  const MXMLAttribute* attribute = item.FindAttribute(key);
  return attribute ? attribute->value.AsString() : MString();
}

namespace {

MStyleFill FillOf(const MXMLItem& item, const char* key, MStyleFill fallback) {
  const std::string text = StyleText(item, key).ToUTF8String();
  if (text == "Stretch") return MStyleFill::kStretch;
  if (text == "HPattern") return MStyleFill::kHPattern;
  if (text == "VPattern") return MStyleFill::kVPattern;
  if (text == "Pattern") return MStyleFill::kPattern;
  if (text == "Disabled") return MStyleFill::kDisabled;
  return fallback;
}

}  // namespace

void MStyleImage::ReadFields(const MXMLItem& item) {
  minWidth_ = StyleInt(item, "minw", minWidth_);
  minHeight_ = StyleInt(item, "minh", minHeight_);
  hCorner_ = std::max(0, StyleInt(item, "hcorner", hCorner_));
  vCorner_ = std::max(0, StyleInt(item, "vcorner", vCorner_));
  oversampling_ = std::clamp(StyleInt(item, "Oversampling", oversampling_), 1, 16);
  hFill_ = FillOf(item, "hfill", hFill_);
  vFill_ = FillOf(item, "vfill", vFill_);
  fill_ = FillOf(item, "fill", fill_);
  if (item.FindAttribute("op")) mode_ = DrawingModeFromName(StyleText(item, "op").ToUTF8String().c_str());
}

void MStyleImage::Paint(MDrawer& drawer, const MRect& rect, double scale, uint8_t alpha,
                        MDrawingMode mode) const {
  if (bitmap_.IsEmpty() || rect.IsEmpty()) return;
  if (mode == MDrawingMode::kNone) mode = mode_;
  const int32_t sw = bitmap_.Width(), sh = bitmap_.Height();
  // Corners in source and device pixels, never more than half of either side.
  int32_t sx = std::min(hCorner_ * oversampling_, (sw - 1) / 2);
  int32_t sy = std::min(vCorner_ * oversampling_, (sh - 1) / 2);
  int32_t dx = std::min(static_cast<int32_t>(std::lround(sx * scale / oversampling_)), rect.Width() / 2);
  int32_t dy = std::min(static_cast<int32_t>(std::lround(sy * scale / oversampling_)), rect.Height() / 2);
  const int32_t srcX[4] = {0, sx, sw - sx, sw};
  const int32_t srcY[4] = {0, sy, sh - sy, sh};
  const int32_t dstX[4] = {rect.left, rect.left + dx, rect.right + 1 - dx, rect.right + 1};
  const int32_t dstY[4] = {rect.top, rect.top + dy, rect.bottom + 1 - dy, rect.bottom + 1};
  for (int row = 0; row < 3; ++row) {
    for (int col = 0; col < 3; ++col) {
      const MRect dest{dstX[col], dstY[row], dstX[col + 1] - 1, dstY[row + 1] - 1};
      const MRect src{srcX[col], srcY[row], srcX[col + 1] - 1, srcY[row + 1] - 1};
      if (dest.IsEmpty() || src.IsEmpty()) continue;
      const bool centre = row == 1 && col == 1;
      const bool side = !centre && (row == 1 || col == 1);
      MStyleFill how = centre ? fill_ : side ? (row == 1 ? vFill_ : hFill_) : MStyleFill::kStretch;
      if (how == MStyleFill::kDisabled) continue;
      if (how == MStyleFill::kStretch || oversampling_ != 1 || scale != 1.0) {
        drawer.StretchBlt(dest, bitmap_, src, alpha, mode);
      } else {
        drawer.PatBlt(dest, bitmap_, src, alpha, mode);
      }
    }
  }
}

}  // namespace kx
