#include "gui/richtext/content_objects.h"

#include <algorithm>
#include <cmath>

#include "gui/styles/style_metrics.h"

namespace kx {

namespace {

int32_t ClampedInt(const MXMLParsedAttributes* attributes, const char* name, int32_t fallback) {
  return std::clamp(AttributeInt(attributes, name, fallback), 0, kContentMaxPixels);
}

double Real(const MXMLParsedAttributes* attributes, const char* name, double fallback) {
  const MString* value = FindAttribute(attributes, name);
  if (!value) return fallback;
  const double v = value->ToReal();
  return std::isfinite(v) ? std::clamp(v, -1e9, 1e9) : fallback;
}

MColor Inverted(MColor c) {
  return MColor{static_cast<uint8_t>(255 - c.b), static_cast<uint8_t>(255 - c.g),
                static_cast<uint8_t>(255 - c.r), c.a};
}

int32_t MetricNamed(MDrawer& drawer, const char* name) {
  return ContentMetric(drawer, StyleMetricIndex(name));
}

}  // namespace

// ---- placement ---------------------------------------------------------------

void MContentObject::ReadPlacement(const MXMLParsedAttributes* attributes) {
  ObjectWidth = MContentDimension::Read(attributes, "width");
  ObjectHeight = MContentDimension::Read(attributes, "height");
  if (const MString* align = FindAttribute(attributes, "align")) Align = ParseAlignWord(*align);
  if (const MString* valign = FindAttribute(attributes, "valign")) VAlign = ParseAlignWord(*valign);
}

MPoint MContentObject::PlacedSize(MDrawer& drawer, int32_t availableWidth, int32_t availableHeight) {
  MPoint size = NaturalSize(drawer);
  auto side = [&](const MContentDimension& d, int32_t natural, int32_t available, bool horizontal) {
    if (d.IsUnset()) return natural;
    if (d.Kind == MDimensionKind::kPercent && available >= kContentMaxExtent) return natural;
    const int32_t v = d.Resolve(drawer, available, horizontal);
    return d.Kind == MDimensionKind::kPercent ? v : std::min(v, available);
  };
  size.x = std::clamp(side(ObjectWidth, size.x, availableWidth, true), 0, std::max(availableWidth, 0));
  size.y = std::clamp(side(ObjectHeight, size.y, availableHeight, false), 0, kContentMaxExtent);
  return size;
}

void MContentObject::PaintPlaced(MDrawer& drawer, const MRect& rect, bool inverted, MColor color) {
  const MPoint size = PlacedSize(drawer, rect.Width(), rect.Height());
  auto place = [](uint8_t align, int32_t low, int32_t space, int32_t extent) {
    if (align == 2) return low + space - extent;
    if (align == 1) return low + (space - extent) / 2;
    return low;
  };
  const int32_t left = place(Align, rect.left, rect.Width(), size.x);
  const int32_t top = place(VAlign, rect.top, rect.Height(), size.y);
  if (size.x <= 0 || size.y <= 0) return;
  PaintObject(drawer, MRect{left, top, left + size.x - 1, top + size.y - 1}, inverted, color);
}

int32_t MContentObject::ComputeHeight(MDrawer& drawer, int32_t width, int32_t availableHeight) {
  Size = PlacedSize(drawer, width, availableHeight).y;
  return Size;
}

int32_t MContentObject::GetMinimalWidth(MDrawer& drawer) {
  return ObjectWidth.Kind == MDimensionKind::kPercent ? NaturalSize(drawer).x
                                                      : PlacedSize(drawer, kContentMaxExtent, kContentMaxExtent).x;
}

int32_t MContentObject::GetMinimalHeight(MDrawer& drawer) {
  return PlacedSize(drawer, kContentMaxExtent, kContentMaxExtent).y;
}

void MContentObject::Paint(MDrawer& drawer, const MRect& rect, bool inverted) {
  PaintPlaced(drawer, rect, inverted, ContentColor(drawer, 0));
}

// ---- img ---------------------------------------------------------------------

void MContentImage::Read(const MXMLParsedAttributes* attributes) {
  ReadPlacement(attributes);
  if (const MString* id = FindAttribute(attributes, "id")) {
    Source = MImageSource::kId;
    Id = 0;
    for (int32_t i = 0; i < std::min(id->Length(), 4); ++i) Id |= static_cast<uint32_t>((*id)[i] & 0xFF) << (8 * i);
  } else if (FindAttribute(attributes, "number")) {
    Source = MImageSource::kNumber;
    Id = static_cast<uint32_t>(AttributeInt(attributes, "number", 0));
  } else if (FindAttribute(attributes, "icon")) {
    Source = MImageSource::kIcon;
    Id = static_cast<uint32_t>(AttributeInt(attributes, "icon", -1));
  } else if (FindAttribute(attributes, "bitmap")) {
    Source = MImageSource::kBitmap;
    Id = static_cast<uint32_t>(AttributeInt(attributes, "bitmap", -1));
  }
}

std::unique_ptr<MContentElement> MContentImage::Clone() const { return std::make_unique<MContentImage>(*this); }

MPoint MContentImage::NaturalSize(MDrawer& drawer) {
  switch (Source) {
    case MImageSource::kIcon:
      return {MetricNamed(drawer, "MaxStdIconSizeX"), MetricNamed(drawer, "MaxStdIconSizeY")};
    case MImageSource::kBitmap:
      return {MetricNamed(drawer, "MaxStdBitmapSizeX"), MetricNamed(drawer, "MaxStdBitmapSizeY")};
    default:
      return {0, 0};  // no image table yet: nothing to show
  }
}

void MContentImage::PaintObject(MDrawer& drawer, const MRect& rect, bool inverted, MColor color) {
  if (Source != MImageSource::kIcon || Id < kBulletSmall || Id > kBulletLarge) return;
  if (inverted) color = Inverted(color);
  const double radius = ContentScaleX(drawer, static_cast<int32_t>(Id - kBulletSmall) + 2) * 0.5 + 0.5;
  drawer.FillCircle((rect.left + rect.right + 1) * 0.5, (rect.top + rect.bottom + 1) * 0.5, radius,
                    MBrush{color});
}

// ---- hline -------------------------------------------------------------------

void MContentLine::Read(const MXMLParsedAttributes* attributes) {
  ReadPlacement(attributes);
  if (ObjectWidth.IsUnset()) ObjectWidth = MContentDimension{MDimensionKind::kPercent, 100, 0};
  LineSize = ClampedInt(attributes, "size", 1);
  if (const MString* color = FindAttribute(attributes, "color")) {
    if (color->EqualsNoCase(MString("text"))) ColorIndex = 0;
    else if (color->EqualsNoCase(MString("shape"))) ColorIndex = 1;
    else {
      ColorIndex = -2;
      LineColor = ParseContentColor(*color);
    }
  }
  LineAlpha = static_cast<uint8_t>(AttributeInt(attributes, "alpha", 200));
  HSpace = ClampedInt(attributes, "hspace", 6);
  VSpace = ClampedInt(attributes, "vspace", 6);
}

std::unique_ptr<MContentElement> MContentLine::Clone() const { return std::make_unique<MContentLine>(*this); }

MPoint MContentLine::NaturalSize(MDrawer& drawer) {
  return {0, ContentScaleY(drawer, LineSize + 2 * VSpace)};
}

void MContentLine::PaintObject(MDrawer& drawer, const MRect& rect, bool inverted, MColor) {
  MColor c = ColorIndex == -2 ? ColorFromBits(LineColor) : ContentColor(drawer, ColorIndex);
  if (inverted) c = Inverted(c);
  c.a = static_cast<uint8_t>((c.a + 1) * LineAlpha >> 8);
  const int32_t size = std::max(1, ContentScaleY(drawer, LineSize));
  const int32_t inset = ContentScaleX(drawer, HSpace);
  const int32_t top = rect.top + (rect.Height() - size) / 2;
  drawer.FillRectangle(MRect{rect.left + inset, top, rect.right - inset, top + size - 1}, MBrush{c});
}

// ---- rectangle ---------------------------------------------------------------

void MContentRectangle::Read(const MXMLParsedAttributes* attributes) {
  ReadPlacement(attributes);
  if (const MString* c = FindAttribute(attributes, "color")) Color = ParseContentColor(*c);
  if (const MString* c = FindAttribute(attributes, "bordercolor")) BorderColor = ParseContentColor(*c);
}

std::unique_ptr<MContentElement> MContentRectangle::Clone() const {
  return std::make_unique<MContentRectangle>(*this);
}

MPoint MContentRectangle::NaturalSize(MDrawer& drawer) {
  return {ContentScaleX(drawer, 12), ContentScaleY(drawer, 12)};
}

void MContentRectangle::PaintObject(MDrawer& drawer, const MRect& rect, bool inverted, MColor) {
  MRect inner = rect;
  if ((BorderColor >> 24) != 0) {
    MColor border = ColorFromBits(BorderColor);
    drawer.Rectangle(rect, MBrush{inverted ? Inverted(border) : border});
    inner = MRect{rect.left + 1, rect.top + 1, rect.right - 1, rect.bottom - 1};
  }
  MColor fill = ColorFromBits(Color);
  drawer.FillRectangle(inner, MBrush{inverted ? Inverted(fill) : fill});
}

// ---- indicator ---------------------------------------------------------------

void MContentIndicator::Read(const MXMLParsedAttributes* attributes) {
  ReadPlacement(attributes);
  if (const MString* c = FindAttribute(attributes, "color")) Color = ParseContentColor(*c);
  if (const MString* c = FindAttribute(attributes, "bordercolor")) BorderColor = ParseContentColor(*c);
  Value = Real(attributes, "value", 0);
  Min = Real(attributes, "min", 0);
  Max = Real(attributes, "max", 1);
  Middle = Real(attributes, "middle", 0);
}

std::unique_ptr<MContentElement> MContentIndicator::Clone() const {
  return std::make_unique<MContentIndicator>(*this);
}

MPoint MContentIndicator::NaturalSize(MDrawer& drawer) {
  return {ContentScaleX(drawer, 48), ContentScaleY(drawer, 10)};
}

void MContentIndicator::PaintObject(MDrawer& drawer, const MRect& rect, bool inverted, MColor) {
  const double low = std::min(Min, Max), high = std::max(Min, Max);
  const double span = high - low;
  auto xOf = [&](double v) {
    const double t = span > 0 ? (std::clamp(v, low, high) - low) / span : 0.0;
    return rect.left + static_cast<int32_t>(std::lround(t * (rect.Width() - 1)));
  };
  const int32_t from = xOf(Middle), to = xOf(Value);
  MColor fill = ColorFromBits(Color);
  if (inverted) fill = Inverted(fill);
  PaintGradientFill(drawer, MRect{std::min(from, to), rect.top, std::max(from, to), rect.bottom}, fill);
  MColor border = ColorFromBits(BorderColor);
  if (inverted) border = Inverted(border);
  drawer.Rectangle(rect, MBrush{border});
  drawer.FillRectangle(MRect{from - 1, rect.top, from + 1, rect.bottom}, MBrush{border});
}

}  // namespace kx
