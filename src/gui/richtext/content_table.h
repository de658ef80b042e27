// Tables of rich text: a row is a container of cells, a cell a container of
// paragraphs and rows. A row shares its width among its cells
// (ComputeCellWidths) and keeps the widths it found for the paint that follows
// the measure; a paint at another width measures again.
//
// Widths: cells with `autosize` take their minimal width, cells with pixels or
// a metric that value, each plus twice their border and padding; the rest of
// the width goes to percent cells, and cells without a width share what the
// percentages leave of 100, the rounding falling on the later cells.
#pragma once

#include <cstdint>
#include <vector>

#include "gui/richtext/content_element.h"

namespace kx {

class MContentCell : public MContentContainer {
 public:
  // `width`, `valign`, `padding`, `autosize`, `border`, `borderalpha` and the
  // common three.
  void Read(const MXMLParsedAttributes* attributes);

  std::unique_ptr<MContentElement> Clone() const override;
  int32_t ComputeHeight(MDrawer& drawer, int32_t width, int32_t availableHeight) override;
  int32_t GetMinimalWidth(MDrawer& drawer) override;
  int32_t GetMinimalHeight(MDrawer& drawer) override;
  void Paint(MDrawer& drawer, const MRect& rect, bool inverted) override;

  // Border and padding on one side, in device pixels.
  int32_t FrameX(MDrawer& drawer) const;
  int32_t FrameY(MDrawer& drawer) const;

  MContentDimension Width;
  uint8_t VAlign = 2;  // 0 top, 1 centre, 2 bottom
  int32_t Padding = 0;
  int32_t Border = 0;
  uint8_t BorderAlpha = 255;
  int32_t AutoSize = 0;

 private:
  int32_t contentHeight_ = 0;  // the content's height at the last measure
};

class MContentRow : public MContentContainer {
 public:
  // `height`, `padding`, `cellspaces`, `border`, `borderalpha`.
  void Read(const MXMLParsedAttributes* attributes);

  std::unique_ptr<MContentElement> Clone() const override;
  int32_t ComputeHeight(MDrawer& drawer, int32_t width, int32_t availableHeight) override;
  int32_t GetMinimalWidth(MDrawer& drawer) override;
  int32_t GetMinimalHeight(MDrawer& drawer) override;
  void Paint(MDrawer& drawer, const MRect& rect, bool inverted) override;

  // The width of each cell for a row `width` wide, kept for the paint.
  void ComputeCellWidths(MDrawer& drawer, int32_t width);
  const std::vector<int32_t>& CellWidths() const { return cellWidths_; }

  MContentDimension Height;
  int32_t Padding = 0;
  int32_t CellSpaces = 0;
  int32_t Border = 0;
  uint8_t BorderAlpha = 255;

 private:
  MContentCell* CellAt(size_t index) const;

  std::vector<int32_t> cellWidths_;
  int32_t measuredWidth_ = -1;
  int32_t measuredAvailable_ = 0;
};

}  // namespace kx
