// Writes the contact sheet of "Neon": every part of every element, state sets
// in all seven states, at scales 1.0 and 2.0, as one PNG among the build's
// artefacts (artefacts/gui/neon-contact-sheet.png) for a person to look at,
// each part also painted alone to see that it paints;
// and the controls as PaintControl draws them, in every state, with values
// across the range, at both scales and under a second MainColor
// (artefacts/gui/neon-controls.png).
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "control_test_support.h"
#include "foundation/streams/file_stream.h"
#include "gui/drawing/drawer_to_bitmap.h"
#include "gui/styles/textured_styles.h"

namespace kx {
namespace {

struct Cell {
  std::string part;  // empty: the state's part
  MControlState state;
  const MStyleImage* image;
};

const MControlState kStates[7] = {
    MControlState::kNormal,      MControlState::kFocused,
    MControlState::kHighlighted, MControlState::kFocused | MControlState::kHighlighted,
    MControlState::kClicked,     MControlState::kClicked | MControlState::kHighlighted,
    MControlState::kDisabled};

// Every part of its own, then, for an element with a state set, the seven states.
std::vector<Cell> CellsOf(const MStyleElement& element) {
  std::vector<Cell> cells;
  for (const auto& [name, image] : element.parts) {
    const bool isState = std::any_of(std::begin(kStates), std::end(kStates), [&](MControlState s) {
      return name == MTexturedStyle::StatePart(s);
    });
    if (!isState) cells.push_back({name, MControlState::kNormal, &image});
  }
  if (element.parts.count("normal"))
    for (MControlState state : kStates)
      cells.push_back({"", state, &element.parts.at(MTexturedStyle::StatePart(state))});
  return cells;
}

// Whether a cell paints anything on black: all do but a menu item, which is
// see-through until it is pointed at.
void ExpectPaints(MTexturedStyle& style, const std::string& name, const Cell& cell) {
  MBitmap target(64, 48);
  std::fill_n(target.Pixels(), 64 * 48, 0xFF000000u);
  MDrawerToMBitmap drawer(target);
  ASSERT_TRUE(
      style.PaintElement(drawer, name.c_str(), cell.part.c_str(), {0, 0, 63, 47}, cell.state));
  const bool blank =
      name == "menu" && cell.part.empty() &&
      (cell.state == MControlState::kNormal || cell.state == MControlState::kDisabled);
  EXPECT_EQ(std::any_of(target.Pixels(), target.Pixels() + 64 * 48,
                        [](uint32_t p) { return p != 0xFF000000u; }),
            !blank)
      << name << " " << cell.part << " " << MTexturedStyle::StatePart(cell.state);
}

// Cell size at `scale`: stretchable images are shown wider than their design.
MPoint CellSize(const MStyleImage& image, double scale) {
  double w = image.DesignWidth(), h = image.DesignHeight();
  if (w >= 30 && h <= 30) w *= 2;
  return {static_cast<int32_t>(w * scale), static_cast<int32_t>(h * scale)};
}

TEST(ContactSheet, NeonInEveryStateAtBothScales) {
  std::unique_ptr<MTexturedStyle> styles[2] = {NeonAt(1.0), NeonAt(2.0)};
  // Layout: per scale a block of rows, one row per element.
  const int32_t label = 120, gap = 10;
  auto rowHeight = [](const MStyleElement& element, double scale) {
    int32_t height = 16;
    for (const Cell& cell : CellsOf(element))
      height = std::max(height, CellSize(*cell.image, scale).y);
    return height;
  };
  int32_t width = 0, height = gap;
  for (auto& style : styles) {
    for (const auto& [name, element] : style->Elements()) {
      int32_t x = label;
      for (const Cell& cell : CellsOf(element)) x += CellSize(*cell.image, style->Scale()).x + gap;
      width = std::max(width, x);
      height += rowHeight(element, style->Scale()) + gap;
    }
    height += 2 * gap;
  }
  MBitmap sheet(width, height);
  MDrawerToMBitmap drawer(sheet);
  drawer.FillRectangle({0, 0, width - 1, height - 1},
                       MBrush{styles[0]->GetColor(MStyleColor::kBackground), 1, MDrawingMode::kCopy});
  int32_t y = gap;
  for (auto& style : styles) {
    const double s = style->Scale();
    MFont& font = styles[0]->GetFont(0);
    const MBrush text{styles[0]->GetColor(MStyleColor::kText)};
    for (const auto& [name, element] : style->Elements()) {
      const int32_t rowTall = rowHeight(element, s);
      int32_t x = label;
      drawer.AlignedTextOut({8, y, label - 8, y + rowTall - 1}, MString::FromUTF8(name), font, text,
                            kTextVCenter | kTextSingleLine);
      for (const Cell& cell : CellsOf(element)) {
        MPoint size = CellSize(*cell.image, s);
        const int32_t top = y + (rowTall - size.y) / 2;
        EXPECT_TRUE(style->PaintElement(drawer, name.c_str(), cell.part.c_str(),
                                        {x, top, x + size.x - 1, top + size.y - 1}, cell.state));
        if (s == 1.0) ExpectPaints(*style, name, cell);
        x += size.x + gap;
      }
      y += rowTall + gap;
    }
    drawer.FillRectangle({0, y, width - 1, y}, MBrush{styles[0]->GetColor(MStyleColor::kBorder)});
    y += 2 * gap;
  }
  MFileStream out(MString(KESTRIX_BINARY_DIR "/artefacts/gui/neon-contact-sheet.png"),
                  MFileStream::kModeCreate);
  sheet.SavePNG(out);
}

struct ControlRow {
  const char* element;
  int32_t width, height;  // design pixels
  const char* caption;
};

constexpr ControlRow kControlRows[] = {
    {"button", 84, 26, "Install"},  {"captionbutton", 20, 20, ""},  {"checkbox", 96, 20, "Tonvault"},
    {"radiobutton", 96, 20, "VST3"}, {"controlcheckbox", 96, 20, "AAX"}, {"edit", 96, 24, "~/.vst3"},
    {"value", 84, 24, "-6.0 dB"},    {"selector", 96, 24, "Kitvault"}, {"menu", 96, 22, "Repair"},
    {"tracker", 96, 16, ""},         {"progressbar", 96, 12, ""},     {"hscrollbar", 96, 12, ""},
    {"knob", 56, 64, "Drive"},       {"rotator", 40, 48, ""},         {"tabset", 84, 26, "Plug-ins"},
    {"listcontrol", 84, 40, ""},     {"splitter", 84, 6, ""},         {"panel", 96, 56, "Add-ons"},
};

TEST(ContactSheet, NeonControlsInEveryStateWithValuesAcrossTheRange) {
  // Scale, and whether recoloured.
  const std::pair<double, bool> variants[] = {{1.0, false}, {1.0, true}, {2.0, false}};
  const int32_t gap = 8;
  int32_t width = 0, height = gap;
  for (const auto& [scale, recoloured] : variants) {
    for (const ControlRow& row : kControlRows) {
      width = std::max<int32_t>(width, gap + 7 * static_cast<int32_t>((row.width + gap) * scale));
      height += static_cast<int32_t>((row.height + gap) * scale);
    }
    height += 2 * gap;
  }
  MBitmap sheet(width, height);
  MDrawerToMBitmap drawer(sheet);
  int32_t y = gap;
  for (const auto& [scale, recoloured] : variants) {
    MStyleSettings settings;
    settings.resize = scale;
    if (recoloured) {
      settings.hasMainColor = true;
      settings.mainColor = MColor::RGBA(0xF2, 0x8C, 0x28);
    }
    auto style = MTexturedStyles::LoadStyle(settings);
    drawer.FillRectangle({0, y - gap, width - 1, height - 1},
                         MBrush{style->GetColor(MStyleColor::kBackground), 1, MDrawingMode::kCopy});
    for (const ControlRow& row : kControlRows) {
      const int32_t w = style->ScaleX(row.width), h = style->ScaleY(row.height);
      for (int i = 0; i < 7; ++i) {
        MStyledControl control;
        control.element = row.element;
        control.rect = {gap + i * (w + style->ScaleX(gap)), y, gap + i * (w + style->ScaleX(gap)) + w - 1, y + h - 1};
        control.state = kStates[i];
        control.caption = MString::FromUTF8(row.caption);
        control.checked = i % 2 == 1;
        control.value = i / 6.0;
        control.pageSize = 0.3;
        style->PaintControl(drawer, control);
      }
      y += h + style->ScaleY(gap);
    }
    y += 2 * gap;
  }
  MFileStream out(MString(KESTRIX_BINARY_DIR "/artefacts/gui/neon-controls.png"), MFileStream::kModeCreate);
  sheet.SavePNG(out);
}

}  // namespace
}  // namespace kx
