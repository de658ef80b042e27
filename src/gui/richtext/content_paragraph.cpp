#include "gui/richtext/content_paragraph.h"

#include <algorithm>

#include "gui/richtext/content_objects.h"
#include "gui/richtext/glyph_cache.h"
#include "media/fonts/font.h"

namespace kx {

namespace {

bool IsBreak(uint32_t code) { return code < 33; }
bool IsGap(uint32_t code) { return code == 9 || code == 32; }

MColor InvertedColor(MColor c) {
  return MColor{static_cast<uint8_t>(255 - c.b), static_cast<uint8_t>(255 - c.g),
                static_cast<uint8_t>(255 - c.r), c.a};
}

}  // namespace

// ---- runs --------------------------------------------------------------------

MContentRun::~MContentRun() = default;

MContentRun::MContentRun(const MContentRun& other)
    : Text(other.Text),
      Font(other.Font),
      ColorIndex(other.ColorIndex),
      CustomColor(other.CustomColor),
      Alpha(other.Alpha),
      Inverted(other.Inverted) {
  if (other.Object) Object.reset(static_cast<MContentObject*>(other.Object->Clone().release()));
}

MContentRun& MContentRun::operator=(const MContentRun& other) {
  if (this != &other) {
    MContentRun copy(other);
    *this = std::move(copy);
  }
  return *this;
}

MColor ResolveRunColor(MDrawer& drawer, const MContentRun& run) {
  MColor color = ContentColor(drawer, run.ColorIndex);
  const auto alpha = static_cast<uint8_t>(((color.a + 1) * run.Alpha) >> 8);
  if (run.ColorIndex == 0 && (run.CustomColor >> 24) != 0) {
    // The custom colour gives the hue; the style's colour keeps its brightness,
    // so a custom colour reads on light and dark styles alike.
    const MColor custom = ColorFromBits(run.CustomColor);
    const int original = std::max({color.r, color.g, color.b});
    const int strongest = std::max({custom.r, custom.g, custom.b});
    auto scale = [&](uint8_t c) {
      return static_cast<uint8_t>(strongest ? c * original / strongest : 0);
    };
    color = MColor{scale(custom.b), scale(custom.g), scale(custom.r), color.a};
  }
  color.a = alpha;
  return color;
}

// ---- paragraph ---------------------------------------------------------------

MContentParagraph::MContentParagraph(const MContentParagraph& other)
    : MContentElement(other), Flags(other.Flags), Runs(other.Runs) {}

std::unique_ptr<MContentElement> MContentParagraph::Clone() const {
  return std::make_unique<MContentParagraph>(*this);
}

void MContentParagraph::BuildUnits(MDrawer& drawer, int32_t width) {
  units_.clear();
  runMetrics_.assign(Runs.size(), RunMetrics{0, 0});
  emptyHeight_ = 0;
  for (size_t r = 0; r < Runs.size(); ++r) {
    MContentRun& run = Runs[r];
    const auto runIndex = static_cast<int32_t>(r);
    if (run.Object) {
      // Without a width (natural and minimal sizes) a share of it means nothing.
      const MPoint size = width < kContentMaxExtent
                              ? run.Object->PlacedSize(drawer, width, kContentMaxExtent)
                              : MPoint{run.Object->GetMinimalWidth(drawer), run.Object->GetMinimalHeight(drawer)};
      units_.push_back(Unit{kObjectUnit, size.x, size.y, runIndex});
      continue;
    }
    MFont* font = ContentFont(drawer, run.Font);
    if (!font) {
      for (int32_t i = 0; i < run.Text.Length(); ++i) units_.push_back(Unit{run.Text[i], 0, 0, runIndex});
      continue;
    }
    MGlyphTable& glyphs = GlyphsOf(*font);
    runMetrics_[r] = RunMetrics{glyphs.Ascent(), glyphs.LineHeight()};
    if (r == 0) emptyHeight_ = glyphs.LineHeight();
    const MString& text = run.Text;
    const int32_t length = text.Length();
    for (int32_t i = 0; i < length; ++i) {
      uint32_t code = text[i];
      if (code >= 0xD800 && code < 0xE000) {
        if (code < 0xDC00 && i + 1 < length && text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000) {
          code = 0x10000 + ((code - 0xD800) << 10) + (text[++i] - 0xDC00u);
        } else {
          code = 0xFFFD;
        }
      }
      units_.push_back(Unit{code, code == 10 ? 0 : glyphs.Get(code).advance, 0, runIndex});
    }
  }
}

void MContentParagraph::CloseLine(int32_t begin, int32_t end, bool last) {
  Line line{begin, end, 0, 0, 0, 0, 0, last};
  int32_t trimmed = end;
  while (trimmed > begin && units_[trimmed - 1].code != kObjectUnit && IsBreak(units_[trimmed - 1].code)) --trimmed;
  int64_t width = 0;
  int32_t lastRun = -1;
  for (int32_t i = begin; i < end; ++i) {
    const Unit& u = units_[i];
    if (i < trimmed) {
      width += u.advance;
      if (u.code != kObjectUnit && IsGap(u.code)) ++line.gaps;
    }
    if (u.code == kObjectUnit) {
      line.height = std::max(line.height, u.height);
    } else if (u.run != lastRun) {
      lastRun = u.run;
      line.textHeight = std::max(line.textHeight, runMetrics_[u.run].lineHeight);
      line.ascent = std::max(line.ascent, runMetrics_[u.run].ascent);
    }
  }
  line.width = static_cast<int32_t>(std::min<int64_t>(width, kContentMaxExtent));
  line.height = std::max(line.height, line.textHeight);
  lines_.push_back(line);
}

void MContentParagraph::Layout(int32_t width) {
  lines_.clear();
  const auto count = static_cast<int32_t>(units_.size());
  if (count == 0) {
    lines_.push_back(Line{0, 0, 0, emptyHeight_, emptyHeight_, 0, 0, true});
    return;
  }
  if (Flags & kParagraphSingleLine) {
    CloseLine(0, count, true);
    return;
  }
  int32_t begin = 0, lastBreak = -1;
  int64_t x = 0;
  for (int32_t i = 0; i < count; ++i) {
    const Unit& u = units_[i];
    if (u.code == 10) {
      CloseLine(begin, i + 1, true);
      begin = i + 1;
      x = 0;
      lastBreak = -1;
      continue;
    }
    if (u.code == kObjectUnit && i > begin) lastBreak = i - 1;
    while (x + u.advance > width && i > begin) {
      const int32_t end = lastBreak >= begin ? lastBreak + 1 : i;
      CloseLine(begin, end, false);
      begin = end;
      lastBreak = -1;
      x = 0;
      for (int32_t k = begin; k < i; ++k) x += units_[k].advance;
    }
    x += u.advance;
    if (u.code == kObjectUnit || IsBreak(u.code)) lastBreak = i;
  }
  if (begin < count) CloseLine(begin, count, true);
}

void MContentParagraph::EnsureLayout(MDrawer& drawer, int32_t width) {
  if (layoutWidth_ == width && layoutStyle_ == drawer.GetStyle() && !lines_.empty()) return;
  BuildUnits(drawer, width);
  Layout(width);
  layoutWidth_ = width;
  layoutStyle_ = drawer.GetStyle();
}

int32_t MContentParagraph::ComputeHeight(MDrawer& drawer, int32_t width, int32_t) {
  layoutWidth_ = -1;  // a measure always lays out anew: fonts may have changed
  EnsureLayout(drawer, width);
  int64_t height = 0;
  for (const Line& line : lines_) height += line.height;
  Size = static_cast<int32_t>(std::min<int64_t>(height, kContentMaxExtent));
  return Size;
}

int32_t MContentParagraph::WidestLine() const {
  int32_t width = 0;
  for (const Line& line : lines_) width = std::max(width, line.width);
  return width;
}

int32_t MContentParagraph::ComputeWidthForHeight(MDrawer& drawer, int32_t, int32_t& width) {
  // The natural width: every line as long as its forced breaks allow.
  ComputeHeight(drawer, kContentMaxExtent, kContentMaxExtent);
  width = WidestLine();
  return ComputeHeight(drawer, width, kContentMaxExtent);
}

int32_t MContentParagraph::GetMinimalWidth(MDrawer& drawer) {
  BuildUnits(drawer, kContentMaxExtent);
  layoutWidth_ = -1;
  if (Flags & kParagraphSingleLine) {
    int64_t sum = 0;
    for (const Unit& u : units_) sum += u.advance;
    return static_cast<int32_t>(std::min<int64_t>(sum, kContentMaxExtent));
  }
  // The widest piece between break points.
  int64_t widest = 0, piece = 0;
  for (const Unit& u : units_) {
    if (u.code == kObjectUnit) {
      widest = std::max<int64_t>(widest, u.advance);
      piece = 0;
      continue;
    }
    if (IsBreak(u.code)) {
      piece = 0;
      continue;
    }
    piece += u.advance;
    widest = std::max(widest, piece);
  }
  return static_cast<int32_t>(std::min<int64_t>(widest, kContentMaxExtent));
}

int32_t MContentParagraph::GetMinimalHeight(MDrawer& drawer) {
  int32_t width = 0;
  return ComputeWidthForHeight(drawer, 0, width);
}

bool MContentParagraph::HasAnimation() const {
  return std::any_of(Runs.begin(), Runs.end(), [](const MContentRun& r) { return r.Object && r.Object->HasAnimation(); });
}

void MContentParagraph::Paint(MDrawer& drawer, const MRect& rect, bool inverted) {
  EnsureLayout(drawer, rect.Width());
  const bool contentInverted = PaintBackground(drawer, rect, inverted, 0, 255);
  const MRect clip = drawer.GetClip();
  const int32_t align = Flags & kParagraphAlignMask;
  int32_t top = rect.top;
  for (const Line& line : lines_) {
    if (top > clip.bottom) break;
    const int32_t lineTop = top;
    top += line.height;
    if (top <= clip.top) continue;
    const int32_t free = rect.Width() - line.width;
    int32_t x = rect.left;
    if (align == 1) x += free / 2;
    else if (align == 2) x += free;
    const bool stretch = align == 3 && !line.last && line.gaps > 0 && free > 0;
    const int32_t baseline = lineTop + (line.height - line.textHeight) / 2 + line.ascent;
    int32_t gapsSeen = 0, currentRun = -1;
    MColor color;
    bool runInverted = false;
    MGlyphTable* glyphs = nullptr;
    for (int32_t i = line.begin; i < line.end; ++i) {
      const Unit& u = units_[i];
      if (u.run != currentRun) {
        currentRun = u.run;
        const MContentRun& run = Runs[u.run];
        runInverted = contentInverted != run.Inverted;
        color = ResolveRunColor(drawer, run);
        if (runInverted) color = InvertedColor(color);
        MFont* font = run.Object ? nullptr : ContentFont(drawer, run.Font);
        glyphs = font ? &GlyphsOf(*font) : nullptr;
      }
      if (u.code == kObjectUnit) {
        if (u.advance > 0) {
          Runs[u.run].Object->PaintPlaced(drawer, MRect{x, lineTop, x + u.advance - 1, top - 1},
                                          contentInverted != Runs[u.run].Inverted, ResolveRunColor(drawer, Runs[u.run]));
        }
      } else if (glyphs && u.code >= 33) {
        const MCachedGlyph& glyph = glyphs->Get(u.code);
        if (!glyph.mask.IsEmpty() && x <= clip.right) {
          drawer.AlphaMask(MPoint{x + glyph.mask.x, baseline + glyph.mask.y}, glyph.mask, color, 255,
                           MDrawingMode::kAlphaBlend);
        }
      }
      x += u.advance;
      if (stretch && u.code != kObjectUnit && IsGap(u.code) && i < line.end - 1) {
        ++gapsSeen;
        x += static_cast<int32_t>(static_cast<int64_t>(free) * gapsSeen / line.gaps -
                                  static_cast<int64_t>(free) * (gapsSeen - 1) / line.gaps);
      }
    }
  }
}

}  // namespace kx
