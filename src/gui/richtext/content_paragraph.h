// A paragraph of rich text: runs of text or inline objects, each with the
// format it was opened with, broken into lines for a width.
//
// Line rule: code units below 33 are break points, a line feed ends the line.
// A line takes characters while the sum of advances stays within the width; at
// overflow it ends at the last break point, or before the overflowing
// character when it has none; at least one character or object stands on a
// line. An inline object may also start or end a line, so a bar or a picture
// does not drag the word before it along. Tabs and blanks are the gaps that
// `justify` stretches. A single-line paragraph is one line as wide as its
// content.
//
// The lines found by ComputeHeight are kept with their width, so the paint that
// follows a measure at the same width only draws.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "gui/richtext/content_element.h"

namespace kx {

class MContentObject;

struct MContentRun {
  MContentRun() = default;
  MContentRun(const MContentRun& other);
  MContentRun& operator=(const MContentRun& other);
  MContentRun(MContentRun&&) noexcept = default;
  MContentRun& operator=(MContentRun&&) noexcept = default;
  ~MContentRun();

  bool IsEmpty() const { return !Object && Text.IsEmpty(); }

  std::unique_ptr<MContentObject> Object;  // an inline element, or null for text
  MString Text;
  int32_t Font = -1;
  int32_t ColorIndex = -1;
  uint32_t CustomColor = 0;  // A, R, G, B from high to low
  uint8_t Alpha = 255;
  bool Inverted = false;
};

// The colour a run paints with on `drawer`.
MColor ResolveRunColor(MDrawer& drawer, const MContentRun& run);

enum MParagraphFlags : uint8_t {
  kParagraphAlignMask = 3,  // 0 left, 1 centre, 2 right, 3 justify
  kParagraphSingleLine = 16,
};

class MContentParagraph : public MContentElement {
 public:
  MContentParagraph() = default;
  MContentParagraph(const MContentParagraph& other);

  std::unique_ptr<MContentElement> Clone() const override;
  int32_t ComputeHeight(MDrawer& drawer, int32_t width, int32_t availableHeight) override;
  int32_t ComputeWidthForHeight(MDrawer& drawer, int32_t height, int32_t& width) override;
  int32_t GetMinimalWidth(MDrawer& drawer) override;
  int32_t GetMinimalHeight(MDrawer& drawer) override;
  void Paint(MDrawer& drawer, const MRect& rect, bool inverted) override;
  bool HasAnimation() const override;

  // Lines of the last layout (tests and the benchmark look at them).
  int32_t LineCount() const { return static_cast<int32_t>(lines_.size()); }
  // Width of the widest line of the last layout.
  int32_t WidestLine() const;

  uint8_t Flags = 0;
  std::vector<MContentRun> Runs;

 private:
  // One character or object, as the layouter sees it.
  struct Unit {
    uint32_t code;     // kObjectUnit for an inline object
    int32_t advance;   // pixels
    int32_t height;    // objects only
    int32_t run;
  };
  struct RunMetrics {
    int32_t ascent, lineHeight;
  };
  struct Line {
    int32_t begin, end;  // units [begin, end)
    int32_t width;       // without the trailing break characters
    int32_t height;      // objects and text
    int32_t textHeight, ascent;
    int32_t gaps;        // stretchable gaps inside the line
    bool last;           // ends the paragraph or a forced break: not justified
  };
  static constexpr uint32_t kObjectUnit = 0xFFFFFFFF;

  void BuildUnits(MDrawer& drawer, int32_t width);
  void Layout(int32_t width);
  void CloseLine(int32_t begin, int32_t end, bool last);
  // Lays out at `width` unless the last layout was for it and this style.
  void EnsureLayout(MDrawer& drawer, int32_t width);

  std::vector<Unit> units_;
  std::vector<RunMetrics> runMetrics_;
  std::vector<Line> lines_;
  int32_t layoutWidth_ = -1;
  MStyles* layoutStyle_ = nullptr;
  int32_t emptyHeight_ = 0;
};

}  // namespace kx
