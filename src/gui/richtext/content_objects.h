// Inline objects of rich text: images and icons (`img`), lines (`hline`),
// rectangles and indicators. Each stands in a paragraph as one unit of its
// own width and height and paints with the colour of its run.
//
// Size: a percentage takes that share of the available side; pixels (scaled)
// and metrics are limited to the available side; an unset size keeps the
// object's natural one. Align and VAlign (0 near, 1 centre, 2 far edge) place
// it in the space it is given.
#pragma once

#include <cstdint>

#include "gui/richtext/content_element.h"

namespace kx {

class MContentObject : public MContentElement {
 public:
  // Reads `width`, `height`, `align`, `valign`.
  void ReadPlacement(const MXMLParsedAttributes* attributes);

  virtual MPoint NaturalSize(MDrawer& drawer) = 0;
  virtual void PaintObject(MDrawer& drawer, const MRect& rect, bool inverted, MColor color) = 0;
  // A line ends the paragraph it stands in.
  virtual bool EndsParagraph() const { return false; }

  MPoint PlacedSize(MDrawer& drawer, int32_t availableWidth, int32_t availableHeight);
  // Placed in `rect` by Align and VAlign, then painted.
  void PaintPlaced(MDrawer& drawer, const MRect& rect, bool inverted, MColor color);

  int32_t ComputeHeight(MDrawer& drawer, int32_t width, int32_t availableHeight) override;
  int32_t GetMinimalWidth(MDrawer& drawer) override;
  int32_t GetMinimalHeight(MDrawer& drawer) override;
  void Paint(MDrawer& drawer, const MRect& rect, bool inverted) override;

  MContentDimension ObjectWidth;
  MContentDimension ObjectHeight;
  uint8_t Align = 1;
  uint8_t VAlign = 1;
};

enum class MImageSource : uint8_t { kNone, kId, kNumber, kIcon, kBitmap };

// `img`: an image of the drawer's image table (`id`, `number`) or a standard
// icon or bitmap. The image tables and the standard icons come with the
// windows; until then the list bullets (icons 89 to 91) draw as dots in the
// run's colour and other images keep their place empty.
class MContentImage : public MContentObject {
 public:
  static constexpr int32_t kBulletSmall = 89, kBulletMedium = 90, kBulletLarge = 91;

  void Read(const MXMLParsedAttributes* attributes);
  std::unique_ptr<MContentElement> Clone() const override;
  MPoint NaturalSize(MDrawer& drawer) override;
  void PaintObject(MDrawer& drawer, const MRect& rect, bool inverted, MColor color) override;

  MImageSource Source = MImageSource::kNone;
  uint32_t Id = 0;  // the packed `id`, or the `number`, icon or bitmap
};

// `hline`: a filled bar `size` high in the middle of `size + 2 * vspace`,
// inset by `hspace` left and right.
class MContentLine : public MContentObject {
 public:
  void Read(const MXMLParsedAttributes* attributes);
  std::unique_ptr<MContentElement> Clone() const override;
  MPoint NaturalSize(MDrawer& drawer) override;
  void PaintObject(MDrawer& drawer, const MRect& rect, bool inverted, MColor color) override;
  bool EndsParagraph() const override { return true; }

  int32_t LineSize = 1;
  int32_t ColorIndex = 1;   // "text" 0, "shape" 1; -2 for `LineColor`
  uint32_t LineColor = 0;
  uint8_t LineAlpha = 200;
  int32_t HSpace = 6;
  int32_t VSpace = 6;
};

class MContentRectangle : public MContentObject {
 public:
  void Read(const MXMLParsedAttributes* attributes);
  std::unique_ptr<MContentElement> Clone() const override;
  MPoint NaturalSize(MDrawer& drawer) override;
  void PaintObject(MDrawer& drawer, const MRect& rect, bool inverted, MColor color) override;

  uint32_t Color = 0xFFFF0000;
  uint32_t BorderColor = 0x00FFFFFF;
};

// A bar from `middle` to `value` inside [min, max], a border and a tick at
// `middle`.
class MContentIndicator : public MContentObject {
 public:
  void Read(const MXMLParsedAttributes* attributes);
  std::unique_ptr<MContentElement> Clone() const override;
  MPoint NaturalSize(MDrawer& drawer) override;
  void PaintObject(MDrawer& drawer, const MRect& rect, bool inverted, MColor color) override;

  uint32_t Color = 0xFFFF0000;
  uint32_t BorderColor = 0xFF000000;
  double Value = 0, Min = 0, Max = 1, Middle = 0;
};

}  // namespace kx
