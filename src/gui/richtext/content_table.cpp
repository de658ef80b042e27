#include "gui/richtext/content_table.h"

#include <algorithm>

namespace kx {

namespace {

int32_t Pixels(const MXMLParsedAttributes* attributes, const char* name) {
  return std::clamp(AttributeInt(attributes, name, 0), 0, kContentMaxPixels);
}

uint8_t ReadVAlign(const MXMLParsedAttributes* attributes, uint8_t fallback) {
  const MString* value = FindAttribute(attributes, "valign");
  return value ? ParseAlignWord(*value) : fallback;
}

}  // namespace

// ---- cell --------------------------------------------------------------------

void MContentCell::Read(const MXMLParsedAttributes* attributes) {
  Width = MContentDimension::Read(attributes, "width");
  if (Width.Kind == MDimensionKind::kPercent) Width.Value = std::clamp(Width.Value, 0, 100);
  VAlign = ReadVAlign(attributes, VAlign);
  Padding = Pixels(attributes, "padding");
  AutoSize = AttributeInt(attributes, "autosize", 0);
  Border = Pixels(attributes, "border");
  BorderAlpha = static_cast<uint8_t>(std::min<uint32_t>(AttributeHex(attributes, "borderalpha", 255), 255));
  ReadCommon(attributes);
}

std::unique_ptr<MContentElement> MContentCell::Clone() const { return std::make_unique<MContentCell>(*this); }

int32_t MContentCell::FrameX(MDrawer& drawer) const { return ContentScaleX(drawer, Padding + Border); }
int32_t MContentCell::FrameY(MDrawer& drawer) const { return ContentScaleY(drawer, Padding + Border); }

int32_t MContentCell::ComputeHeight(MDrawer& drawer, int32_t width, int32_t availableHeight) {
  const int32_t frameY = FrameY(drawer);
  const int32_t inner = std::max(0, width - 2 * FrameX(drawer));
  contentHeight_ = MContentContainer::ComputeHeight(drawer, inner, kContentMaxExtent);
  Size = static_cast<int32_t>(std::min<int64_t>(int64_t{contentHeight_} + 2 * frameY, kContentMaxExtent));
  (void)availableHeight;
  return Size;
}

int32_t MContentCell::GetMinimalWidth(MDrawer& drawer) {
  return MContentContainer::GetMinimalWidth(drawer) + 2 * FrameX(drawer);
}

int32_t MContentCell::GetMinimalHeight(MDrawer& drawer) {
  return MContentContainer::GetMinimalHeight(drawer) + 2 * FrameY(drawer);
}

void MContentCell::Paint(MDrawer& drawer, const MRect& rect, bool inverted) {
  const bool content = PaintBackground(drawer, rect, inverted, ContentScaleX(drawer, Border), BorderAlpha);
  const int32_t fx = FrameX(drawer), fy = FrameY(drawer);
  MRect inner{rect.left + fx, rect.top + fy, rect.right - fx, rect.bottom - fy};
  if (inner.IsEmpty()) return;
  const int32_t spare = inner.Height() - contentHeight_;
  if (spare > 0 && VAlign == 2) inner.top += spare;
  else if (spare > 0 && VAlign == 1) inner.top += spare / 2;
  MContentContainer::Paint(drawer, inner, content);
}

// ---- row ---------------------------------------------------------------------

void MContentRow::Read(const MXMLParsedAttributes* attributes) {
  Height = MContentDimension::Read(attributes, "height");
  if (Height.Kind == MDimensionKind::kPercent) Height.Value = std::clamp(Height.Value, 0, 100);
  Padding = Pixels(attributes, "padding");
  CellSpaces = Pixels(attributes, "cellspaces");
  Border = Pixels(attributes, "border");
  BorderAlpha = static_cast<uint8_t>(std::min<uint32_t>(AttributeHex(attributes, "borderalpha", 255), 255));
}

std::unique_ptr<MContentElement> MContentRow::Clone() const { return std::make_unique<MContentRow>(*this); }

MContentCell* MContentRow::CellAt(size_t index) const {
  return dynamic_cast<MContentCell*>(Elements[index].get());
}

void MContentRow::ComputeCellWidths(MDrawer& drawer, int32_t width) {
  const size_t count = Elements.size();
  cellWidths_.assign(count, 0);
  if (count == 0) return;
  int64_t available = int64_t{width} - 2 * int64_t{ContentScaleX(drawer, Padding + Border)} -
                      int64_t{ContentScaleX(drawer, CellSpaces)} * static_cast<int64_t>(count - 1);
  available = std::max<int64_t>(available, 0);
  int64_t fixed = 0;
  int32_t percentSum = 0, unstated = 0;
  std::vector<int32_t> percents(count, 0);
  for (size_t i = 0; i < count; ++i) {
    MContentCell* cell = CellAt(i);
    if (!cell) continue;
    if (cell->AutoSize) {
      cellWidths_[i] = cell->GetMinimalWidth(drawer);
    } else if (cell->Width.Kind != MDimensionKind::kPercent) {
      cellWidths_[i] = std::min(cell->Width.Resolve(drawer, 0, true) + 2 * cell->FrameX(drawer), kContentMaxExtent);
    } else if (cell->Width.Value > 0) {
      percents[i] = cell->Width.Value;
      percentSum += cell->Width.Value;
      continue;
    } else {
      percents[i] = -1;
      ++unstated;
      continue;
    }
    fixed += cellWidths_[i];
  }
  int32_t remainder = std::max(0, 100 - percentSum);
  for (size_t i = 0; i < count && unstated > 0; ++i) {
    if (percents[i] != -1) continue;
    percents[i] = remainder / unstated;
    remainder -= percents[i];
    --unstated;
  }
  const int64_t rest = std::max<int64_t>(available - fixed, 0);
  for (size_t i = 0; i < count; ++i) {
    if (percents[i] > 0) cellWidths_[i] = static_cast<int32_t>(rest * percents[i] / 100);
  }
}

int32_t MContentRow::ComputeHeight(MDrawer& drawer, int32_t width, int32_t availableHeight) {
  ComputeCellWidths(drawer, width);
  measuredWidth_ = width;
  measuredAvailable_ = availableHeight;
  int32_t tallest = 0;
  for (size_t i = 0; i < Elements.size(); ++i) {
    tallest = std::max(tallest, Elements[i]->ComputeHeight(drawer, cellWidths_[i], availableHeight));
  }
  int64_t height = int64_t{tallest} + 2 * int64_t{ContentScaleY(drawer, Padding + Border)};
  if (!Height.IsUnset()) {
    if (Height.Kind == MDimensionKind::kPercent) {
      if (availableHeight < kContentMaxExtent) height = std::max<int64_t>(height, Height.Resolve(drawer, availableHeight, false));
    } else {
      height = std::max<int64_t>(height, std::min(Height.Resolve(drawer, 0, false), std::max(availableHeight, 0)));
    }
  }
  Size = static_cast<int32_t>(std::min<int64_t>(height, kContentMaxExtent));
  return Size;
}

int32_t MContentRow::GetMinimalWidth(MDrawer& drawer) {
  const size_t count = Elements.size();
  int64_t width = 2 * int64_t{ContentScaleX(drawer, Padding + Border)};
  if (count > 1) width += int64_t{ContentScaleX(drawer, CellSpaces)} * static_cast<int64_t>(count - 1);
  int64_t percentNeed = 0;
  for (size_t i = 0; i < count; ++i) {
    MContentCell* cell = CellAt(i);
    if (!cell) continue;
    const int64_t minimal = cell->GetMinimalWidth(drawer);
    if (cell->AutoSize || cell->Width.Kind != MDimensionKind::kPercent) {
      width += cell->AutoSize ? minimal
                              : cell->Width.Resolve(drawer, 0, true) + 2 * int64_t{cell->FrameX(drawer)};
    } else {
      const int64_t percent = cell->Width.Value > 0 ? cell->Width.Value : 100 / static_cast<int64_t>(count);
      percentNeed = std::max(percentNeed, (minimal * 100 + std::max<int64_t>(percent, 1) - 1) / std::max<int64_t>(percent, 1));
    }
  }
  return static_cast<int32_t>(std::min<int64_t>(width + percentNeed, kContentMaxExtent));
}

int32_t MContentRow::GetMinimalHeight(MDrawer& drawer) {
  int32_t tallest = 0;
  for (auto& cell : Elements) tallest = std::max(tallest, cell->GetMinimalHeight(drawer));
  return tallest + 2 * ContentScaleY(drawer, Padding + Border);
}

void MContentRow::Paint(MDrawer& drawer, const MRect& rect, bool inverted) {
  if (measuredWidth_ != rect.Width() || cellWidths_.size() != Elements.size()) {
    ComputeHeight(drawer, rect.Width(), measuredAvailable_ ? measuredAvailable_ : kContentMaxExtent);
  }
  const bool content = PaintBackground(drawer, rect, inverted, ContentScaleX(drawer, Border), BorderAlpha);
  const int32_t px = ContentScaleX(drawer, Padding + Border), py = ContentScaleY(drawer, Padding + Border);
  const int32_t space = ContentScaleX(drawer, CellSpaces);
  const MRect clip = drawer.GetClip();
  int64_t x = rect.left + px;
  for (size_t i = 0; i < Elements.size(); ++i) {
    if (x > clip.right) break;
    const int64_t right = x + cellWidths_[i] - 1;
    if (cellWidths_[i] > 0 && right >= clip.left) {
      Elements[i]->Paint(drawer, MRect{static_cast<int32_t>(x), rect.top + py, static_cast<int32_t>(right), rect.bottom - py},
                         content);
    }
    x = right + 1 + space;
  }
}

}  // namespace kx
