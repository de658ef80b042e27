// The elements of a rich-text document: the abstract MContentElement, the
// container that owns a list of them (document, row and cell are containers),
// and the small helpers every element uses: attribute reading, dimensions,
// the style behind a drawer, and the frame painting of paragraphs, cells and
// rows.
//
// An element is measured before it is painted: ComputeHeight stores the height
// in `Size`, and Paint lays children out with their stored heights. Elements
// never keep a drawer; what they keep between the two calls is layout only.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "foundation/xml/xml_parser.h"
#include "gui/drawing/drawer.h"

namespace kx {

class MFont;

// Limits that keep hostile text bounded in time and memory: sizes in design
// pixels, and the depth of tables inside tables.
inline constexpr int32_t kContentMaxPixels = 65536;
inline constexpr int32_t kContentMaxTableDepth = 24;
// Heights and widths are summed in 64 bits and held below this.
inline constexpr int32_t kContentMaxExtent = 1 << 28;

// ---- attributes --------------------------------------------------------------

const MString* FindAttribute(const MXMLParsedAttributes* attributes, const char* name);
// Decimal integer (leading blanks and sign allowed); `fallback` when absent.
int32_t AttributeInt(const MXMLParsedAttributes* attributes, const char* name, int32_t fallback);
// Hexadecimal digits, with or without "#" or "0x"; `fallback` when absent.
uint32_t AttributeHex(const MXMLParsedAttributes* attributes, const char* name, uint32_t fallback);
// A colour as 32 bits A, R, G, B from high to low: "#RRGGBB" and six digits
// are opaque, eight digits carry their alpha.
uint32_t ParseContentColor(const MString& text);
MColor ColorFromBits(uint32_t argb);
// Left, Center, Right (or Top, Center, Bottom) as 0, 1, 2; anything else 1.
uint8_t ParseAlignWord(const MString& text);

// ---- the style behind a drawer ----------------------------------------------

// The drawer's font `index` of the style; -1 is the drawer's current font,
// which is the style's first until controls choose one. Null without a style.
MFont* ContentFont(MDrawer& drawer, int32_t index);
// Style colour `index` (0 text, 1 shape, 2 red, 3 green, 4 blue, ...); -1 is
// the drawer's current text colour, the style's text colour for now.
MColor ContentColor(MDrawer& drawer, int32_t index);
int32_t ContentMetric(MDrawer& drawer, int32_t index);
int32_t ContentScaleX(MDrawer& drawer, int32_t designPixels);
int32_t ContentScaleY(MDrawer& drawer, int32_t designPixels);

// ---- dimensions --------------------------------------------------------------

enum class MDimensionKind : uint8_t { kPixels = 0, kPercent = 1, kMetric = 2 };

struct MContentDimension {
  MDimensionKind Kind = MDimensionKind::kPercent;  // unset: a percentage of 0
  int32_t Value = 0;
  int32_t Metric = 0;

  // Digits first: pixels; a "%" anywhere: percent; else a metric name (0 if
  // unknown). An empty text is 0 pixels.
  static MContentDimension Parse(const MString& text);
  static MContentDimension Read(const MXMLParsedAttributes* attributes, const char* name);
  bool IsUnset() const { return Kind == MDimensionKind::kPercent && Value == 0; }
  // Device pixels along x or y; percent of `available`.
  int32_t Resolve(MDrawer& drawer, int32_t available, bool horizontal) const;
};

// ---- elements ----------------------------------------------------------------

class MContentElement {
 public:
  MContentElement() = default;
  MContentElement(const MContentElement&) = default;
  MContentElement& operator=(const MContentElement&) = delete;
  virtual ~MContentElement() = default;

  virtual std::unique_ptr<MContentElement> Clone() const = 0;
  // Height at `width`; stores it in `Size`.
  virtual int32_t ComputeHeight(MDrawer& drawer, int32_t width, int32_t availableHeight) = 0;
  // Height for the natural width, which goes to `width`.
  virtual int32_t ComputeWidthForHeight(MDrawer& drawer, int32_t height, int32_t& width);
  virtual int32_t GetMinimalWidth(MDrawer& drawer) = 0;
  virtual int32_t GetMinimalHeight(MDrawer& drawer) = 0;
  virtual void Paint(MDrawer& drawer, const MRect& rect, bool inverted) = 0;
  virtual bool HasAnimation() const { return false; }

  // Reads `invert`, `fillalpha` and `fill`.
  void ReadCommon(const MXMLParsedAttributes* attributes);
  // Border and fill of the element in `rect`; returns the inverted state its
  // content paints with.
  bool PaintBackground(MDrawer& drawer, const MRect& rect, bool inverted, int32_t borderWidth,
                       uint8_t borderAlpha) const;

  int32_t Size = 0;
  bool Fill = false;
  uint32_t FillColor = 0x00FFFFFF;
  bool Invert = false;
  uint8_t FillAlpha = 0;
};

using MContentElements = std::vector<std::unique_ptr<MContentElement>>;

class MContentContainer : public MContentElement {
 public:
  MContentContainer() = default;
  MContentContainer(const MContentContainer& other);

  std::unique_ptr<MContentElement> Clone() const override;
  // Sum of the element heights, capped by `availableHeight`.
  int32_t ComputeHeight(MDrawer& drawer, int32_t width, int32_t availableHeight) override;
  int32_t ComputeWidthForHeight(MDrawer& drawer, int32_t height, int32_t& width) override;
  int32_t GetMinimalWidth(MDrawer& drawer) override;
  int32_t GetMinimalHeight(MDrawer& drawer) override;
  // Elements from the top of `rect`, each with its stored height.
  void Paint(MDrawer& drawer, const MRect& rect, bool inverted) override;
  bool HasAnimation() const override;

  MContentElements Elements;
};

// The gradient's second colour for a fill: the largest channel m moves to
// m + 16 below 128 and m - 16 from 128 on, the others in proportion.
MColor GradientPartner(MColor color);
// A fill of `color` as a two-stop vertical gradient.
void PaintGradientFill(MDrawer& drawer, const MRect& rect, MColor color);

}  // namespace kx
