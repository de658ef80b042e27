// MStyleImage: one drawable part of a style, a source image painted by nine-slice
// stretching into any rectangle. Its fields come from the element's item:
// `minw`, `minh`, `hcorner`, `vcorner` (design pixels), `Oversampling` (the
// source is that many times its design size), `hfill`, `vfill`, `fill` (Stretch,
// HPattern, VPattern, Pattern, Disabled) and `op` (a composition mode word).
#pragma once

#include <cstdint>

#include "gui/drawing/drawing_types.h"
#include "media/bitmap/bitmap.h"

namespace kx {

class MDrawer;
class MXMLItem;

enum class MStyleFill : uint8_t { kStretch, kHPattern, kVPattern, kPattern, kDisabled };

class MStyleImage {
 public:
  // The fields of `item`; absent ones keep their defaults.
  void ReadFields(const MXMLItem& item);
  void SetBitmap(MBitmap bitmap) { bitmap_ = std::move(bitmap); }
  bool HasBitmap() const { return !bitmap_.IsEmpty(); }
  const MBitmap& Bitmap() const { return bitmap_; }

  int32_t Oversampling() const { return oversampling_; }
  MDrawingMode Mode() const { return mode_; }
  // Design size: the source divided by the oversampling.
  int32_t DesignWidth() const { return bitmap_.Width() / oversampling_; }
  int32_t DesignHeight() const { return bitmap_.Height() / oversampling_; }
  int32_t MinWidth() const { return minWidth_; }
  int32_t MinHeight() const { return minHeight_; }
  int32_t HCorner() const { return hCorner_; }
  int32_t VCorner() const { return vCorner_; }

  // Paints into `rect`; `scale` turns design pixels into device pixels (the
  // fixed corners keep their design size times the scale). `mode` None means
  // the image's own `op`.
  void Paint(MDrawer& drawer, const MRect& rect, double scale, uint8_t alpha,
             MDrawingMode mode = MDrawingMode::kNone) const;

 private:
  MBitmap bitmap_;
  int32_t minWidth_ = 0, minHeight_ = 0, hCorner_ = 0, vCorner_ = 0;
  int32_t oversampling_ = 1;
  MStyleFill hFill_ = MStyleFill::kStretch, vFill_ = MStyleFill::kStretch,
             fill_ = MStyleFill::kStretch;
  MDrawingMode mode_ = MDrawingMode::kAlphaBlend;
};

// Attribute helpers of the style readers: the value, or `fallback` when absent.
int32_t StyleInt(const MXMLItem& item, const char* key, int32_t fallback);
double StyleReal(const MXMLItem& item, const char* key, double fallback);
MString StyleText(const MXMLItem& item, const char* key);

}  // namespace kx
