#include "gui/richtext/content_element.h"

#include <algorithm>
#include <climits>

#include "foundation/core/exception.h"
#include "gui/styles/style_metrics.h"
#include "gui/styles/styles.h"
#include "media/fonts/font.h"

namespace kx {

namespace {

int HexDigit(MChar c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// Hex digits after an optional "#" or "0x"; `digits` counts those read.
uint32_t ParseHex(const MString& text, int32_t& digits) {
  int32_t i = 0;
  while (i < text.Length() && text[i] <= ' ') ++i;
  if (i < text.Length() && text[i] == '#') ++i;
  else if (i + 1 < text.Length() && text[i] == '0' && (text[i + 1] == 'x' || text[i + 1] == 'X')) i += 2;
  uint32_t value = 0;
  digits = 0;
  for (; i < text.Length(); ++i) {
    const int d = HexDigit(text[i]);
    if (d < 0) break;
    value = (value << 4) | static_cast<uint32_t>(d);
    ++digits;
  }
  return value;
}

bool WordIs(const MString& text, const char* word) { return text.EqualsNoCase(MString(word)); }

}  // namespace

const MString* FindAttribute(const MXMLParsedAttributes* attributes, const char* name) {
  if (!attributes) return nullptr;
  for (const MXMLParsedAttribute& attribute : *attributes) {
    if (attribute.name == name) return &attribute.value;
  }
  return nullptr;
}

int32_t AttributeInt(const MXMLParsedAttributes* attributes, const char* name, int32_t fallback) {
  const MString* value = FindAttribute(attributes, name);
  if (!value) return fallback;
  const int64_t v = value->ToInt64();
  return static_cast<int32_t>(std::clamp<int64_t>(v, INT32_MIN, INT32_MAX));
}

uint32_t AttributeHex(const MXMLParsedAttributes* attributes, const char* name, uint32_t fallback) {
  const MString* value = FindAttribute(attributes, name);
  if (!value) return fallback;
  int32_t digits = 0;
  return ParseHex(*value, digits);
}

uint32_t ParseContentColor(const MString& text) {
  int32_t digits = 0;
  const uint32_t value = ParseHex(text, digits);
  return digits <= 6 ? (value | 0xFF000000u) : value;
}

MColor ColorFromBits(uint32_t argb) {
  return MColor{static_cast<uint8_t>(argb), static_cast<uint8_t>(argb >> 8),
                static_cast<uint8_t>(argb >> 16), static_cast<uint8_t>(argb >> 24)};
}

uint8_t ParseAlignWord(const MString& text) {
  if (WordIs(text, "left") || WordIs(text, "top") || text == "0") return 0;
  if (WordIs(text, "right") || WordIs(text, "bottom") || text == "2") return 2;
  return 1;
}

// ---- the style behind a drawer ----------------------------------------------

MFont* ContentFont(MDrawer& drawer, int32_t index) {
  MStyles* style = drawer.GetStyle();
  if (!style) return nullptr;
  try {
    MFont& font = style->GetFont(index < 0 ? 0 : index);
    return font.IsLoaded() ? &font : nullptr;
  } catch (MException&) {
    return nullptr;
  }
}

MColor ContentColor(MDrawer& drawer, int32_t index) {
  MStyles* style = drawer.GetStyle();
  if (!style) return MColor::RGBA(0, 0, 0);
  if (index < 0 || index >= kStyleColorCount) index = 0;
  return style->GetColor(static_cast<MStyleColor>(index));
}

int32_t ContentMetric(MDrawer& drawer, int32_t index) {
  MStyles* style = drawer.GetStyle();
  return style ? style->GetMetric(index) : 0;
}

int32_t ContentScaleX(MDrawer& drawer, int32_t designPixels) {
  MStyles* style = drawer.GetStyle();
  return style ? style->ScaleX(designPixels) : designPixels;
}

int32_t ContentScaleY(MDrawer& drawer, int32_t designPixels) {
  MStyles* style = drawer.GetStyle();
  return style ? style->ScaleY(designPixels) : designPixels;
}

// ---- dimensions --------------------------------------------------------------

MContentDimension MContentDimension::Parse(const MString& text) {
  MContentDimension d;
  d.Kind = MDimensionKind::kPixels;
  if (text.IsEmpty()) return d;
  const bool percent = text.FindChar('%') >= 0;
  if (text[0] >= '0' && text[0] <= '9') {
    d.Value = static_cast<int32_t>(std::min<int64_t>(text.ToInt64(), kContentMaxPixels));
    if (percent) d.Kind = MDimensionKind::kPercent;
    return d;
  }
  if (percent) {
    d.Kind = MDimensionKind::kPercent;
    return d;
  }
  d.Kind = MDimensionKind::kMetric;
  const int index = StyleMetricIndex(text.ToUTF8String().c_str());
  d.Metric = index < 0 ? 0 : index;
  return d;
}

MContentDimension MContentDimension::Read(const MXMLParsedAttributes* attributes, const char* name) {
  const MString* value = FindAttribute(attributes, name);
  return value ? Parse(*value) : MContentDimension();
}

int32_t MContentDimension::Resolve(MDrawer& drawer, int32_t available, bool horizontal) const {
  switch (Kind) {
    case MDimensionKind::kPercent:
      return static_cast<int32_t>(static_cast<int64_t>(std::max(available, 0)) * Value / 100);
    case MDimensionKind::kMetric:
      return std::clamp(ContentMetric(drawer, Metric), 0, kContentMaxExtent);
    case MDimensionKind::kPixels:
      break;
  }
  return horizontal ? ContentScaleX(drawer, Value) : ContentScaleY(drawer, Value);
}

// ---- elements ----------------------------------------------------------------

int32_t MContentElement::ComputeWidthForHeight(MDrawer& drawer, int32_t, int32_t& width) {
  width = GetMinimalWidth(drawer);
  return ComputeHeight(drawer, width, kContentMaxExtent);
}

void MContentElement::ReadCommon(const MXMLParsedAttributes* attributes) {
  Invert = AttributeInt(attributes, "invert", 0) != 0;
  FillAlpha = static_cast<uint8_t>(std::min<uint32_t>(AttributeHex(attributes, "fillalpha", 0), 255));
  if (const MString* fill = FindAttribute(attributes, "fill")) {
    Fill = true;
    FillColor = ParseContentColor(*fill);
  }
}

MColor GradientPartner(MColor color) {
  const int m = std::max({color.r, color.g, color.b});
  const int target = ((~m >> 2) & 32) + m - 16;
  if (m == 0) {
    const auto t = static_cast<uint8_t>(target);
    return MColor{t, t, t, color.a};
  }
  auto scale = [&](uint8_t c) { return static_cast<uint8_t>(std::min(255, c * target / m)); };
  return MColor{scale(color.b), scale(color.g), scale(color.r), color.a};
}

void PaintGradientFill(MDrawer& drawer, const MRect& rect, MColor color) {
  drawer.FillRectangleGradient(rect, color, GradientPartner(color), true, MDrawingMode::kAlphaBlend);
}

bool MContentElement::PaintBackground(MDrawer& drawer, const MRect& rect, bool inverted,
                                      int32_t borderWidth, uint8_t borderAlpha) const {
  if (Invert) {
    // The block takes the text colour as its ground, and its content the
    // opposite state, so that inverted text reads on it.
    MColor c = ContentColor(drawer, 0);
    if (inverted) c = MColor{static_cast<uint8_t>(255 - c.b), static_cast<uint8_t>(255 - c.g),
                             static_cast<uint8_t>(255 - c.r), c.a};
    c.a = static_cast<uint8_t>((c.a * 255 + 255) >> 8);
    PaintGradientFill(drawer, rect, c);
    return !inverted;
  }
  MRect inner = rect;
  if (borderWidth > 0) {
    MColor c = ContentColor(drawer, 0);
    c.a = static_cast<uint8_t>(borderAlpha * (c.a + 1) >> 8);
    const int32_t steps = std::min(borderWidth, (std::min(rect.Width(), rect.Height()) + 1) / 2);
    for (int32_t i = 0; i < steps; ++i) {
      drawer.Rectangle(inner, MBrush{c});
      inner = MRect{inner.left + 1, inner.top + 1, inner.right - 1, inner.bottom - 1};
    }
  }
  if (FillAlpha != 0) {
    MColor c = ContentColor(drawer, 1);
    c.a = static_cast<uint8_t>((c.a + 1) * FillAlpha >> 8);
    PaintGradientFill(drawer, inner, c);
  } else if (Fill && (FillColor >> 24) != 0) {
    PaintGradientFill(drawer, inner, ColorFromBits(FillColor));
  }
  return inverted;
}

// ---- container ---------------------------------------------------------------

MContentContainer::MContentContainer(const MContentContainer& other) : MContentElement(other) {
  Elements.reserve(other.Elements.size());
  for (const auto& element : other.Elements) Elements.push_back(element->Clone());
}

std::unique_ptr<MContentElement> MContentContainer::Clone() const {
  return std::make_unique<MContentContainer>(*this);
}

int32_t MContentContainer::ComputeHeight(MDrawer& drawer, int32_t width, int32_t availableHeight) {
  int64_t sum = 0;
  for (auto& element : Elements) {
    sum += element->ComputeHeight(drawer, width, availableHeight);
    sum = std::min<int64_t>(sum, kContentMaxExtent);
  }
  Size = static_cast<int32_t>(std::min<int64_t>(sum, std::max(availableHeight, 0)));
  return Size;
}

int32_t MContentContainer::ComputeWidthForHeight(MDrawer& drawer, int32_t height, int32_t& width) {
  int64_t sum = 0;
  width = 0;
  for (auto& element : Elements) {
    int32_t w = 0;
    sum += element->ComputeWidthForHeight(drawer, height, w);
    width = std::max(width, w);
  }
  Size = static_cast<int32_t>(std::min<int64_t>(sum, kContentMaxExtent));
  return Size;
}

int32_t MContentContainer::GetMinimalWidth(MDrawer& drawer) {
  int32_t width = 0;
  for (auto& element : Elements) width = std::max(width, element->GetMinimalWidth(drawer));
  return width;
}

int32_t MContentContainer::GetMinimalHeight(MDrawer& drawer) {
  int64_t sum = 0;
  for (auto& element : Elements) sum += element->GetMinimalHeight(drawer);
  return static_cast<int32_t>(std::min<int64_t>(sum, kContentMaxExtent));
}

void MContentContainer::Paint(MDrawer& drawer, const MRect& rect, bool inverted) {
  const MRect clip = drawer.GetClip();
  int64_t top = rect.top;
  for (auto& element : Elements) {
    const int64_t bottom = top + element->Size - 1;
    if (top > rect.bottom || top > clip.bottom) break;
    if (element->Size > 0 && bottom >= clip.top) {
      element->Paint(drawer, MRect{rect.left, static_cast<int32_t>(top), rect.right,
                                   static_cast<int32_t>(bottom)},
                     inverted);
    }
    top = bottom + 1;
  }
}

bool MContentContainer::HasAnimation() const {
  return std::any_of(Elements.begin(), Elements.end(), [](const auto& e) { return e->HasAnimation(); });
}

}  // namespace kx
