// MGridLayout: a table of cells, row-major, growing by rows. Columns take the
// widest fixed cell, columns with a ratio share what is left; rows the
// tallest cell, and with `verticalfill` rows with a ratio share the height.
// Folds stay at one: no definition can ask for more.
#include <algorithm>

#include "foundation/xml/xml_item.h"
#include "gui/controls/control.h"
#include "gui/layout/layouts.h"
#include "gui/styles/style_metrics.h"
#include "gui/styles/styles.h"

namespace kx {

namespace {

bool Visible(const MControl* c) { return c && c->Has(MControlFlag::kVisible); }
int32_t Clamp(int64_t v) { return static_cast<int32_t>(std::clamp<int64_t>(v, -kMaxExtent, kMaxExtent)); }
const int kDefGridLayoutSpace = StyleMetricIndex("DefGridLayoutSpace");
constexpr int32_t kMaxColumns = 4096;

// Shares `free` among entries with a ratio, in proportion, never below their
// need; the running subtraction puts the rounding loss on the later entries.
void Share(std::vector<int64_t>& sizes, const std::vector<int64_t>& ratios, int64_t free) {
  int64_t ratioSum = 0;
  for (int64_t r : ratios) ratioSum += r;
  for (size_t i = 0; i < sizes.size() && ratioSum > 0; ++i) {
    if (ratios[i] <= 0) continue;
    const int64_t share = std::max<int64_t>(0, free) * ratios[i] / ratioSum;
    free -= share;
    ratioSum -= ratios[i];
    sizes[i] = std::max(sizes[i], share);
  }
}

// True when Share gives every proportional entry at least its need out of `free`.
bool ShareSuffices(const std::vector<int64_t>& needs, const std::vector<int64_t>& ratios, int64_t free) {
  int64_t ratioSum = 0;
  for (int64_t r : ratios) ratioSum += std::max<int64_t>(0, r);
  for (size_t i = 0; i < needs.size() && ratioSum > 0; ++i) {
    if (ratios[i] <= 0) continue;
    const int64_t share = free * ratios[i] / ratioSum;
    if (share < needs[i]) return false;
    free -= share;
    ratioSum -= ratios[i];
  }
  return true;
}

// The least total that Share turns into sizes no smaller than `needs`: the
// fixed entries plus the least free room that serves every proportional one.
// A spanning cell's need may follow the shares of the last pass, so the bound
// must be exact for a second pass to find the same sizes.
int64_t Needed(const std::vector<int64_t>& needs, const std::vector<int64_t>& ratios) {
  int64_t fixed = 0, ratioSum = 0, upper = 0, lower = 0;
  for (size_t i = 0; i < needs.size(); ++i) {
    if (ratios[i] > 0) {
      ratioSum += ratios[i];
      lower += needs[i];
    } else {
      fixed += needs[i];
    }
  }
  for (size_t i = 0; i < needs.size(); ++i) {
    if (ratios[i] > 0) upper = std::max(upper, (needs[i] * ratioSum + ratios[i] - 1) / ratios[i]);
  }
  upper = std::max(upper, lower);
  while (lower < upper) {
    const int64_t middle = lower + (upper - lower) / 2;
    if (ShareSuffices(needs, ratios, middle)) upper = middle;
    else lower = middle + 1;
  }
  return fixed + upper;
}

// A cell's width need.
int64_t CellWidth(const MControl& c, MMeasurePolicy policy) {
  return MeasureWidth(c, policy);
}

// A row is as tall as its tallest cell's own height, ratio or not.
int64_t CellHeight(const MControl& c) {
  const int64_t h = c.IsCollapsed() ? c.CollapsedSizeY : std::max(c.MinSizeY, c.AskedSizeY);
  return h + 2 * int64_t{c.EffectiveBorderY};
}

}  // namespace

void MGridLayout::ReadAttributes(MXMLItem& definition) {
  MLayout::ReadAttributes(definition);
  if (definition.FindAttribute("columns"))
    SetColumns(static_cast<int32_t>(std::clamp<int64_t>(definition.GetAttributeInt("columns", 1), 1, kMaxColumns)));
  VerticalFill = AttributeFlag(definition, "verticalfill", VerticalFill);
}

void MGridLayout::SetColumns(int32_t columns) {
  for (MControl* c : Controls) {
    c->Set(MControlFlag::kLayoutManaged, false);
    if (c->OwnerLayout == this) c->OwnerLayout = nullptr;
  }
  Controls.clear();
  Columns = std::clamp(columns, 1, kMaxColumns);
  Rows = 1;
  Cells.assign(static_cast<size_t>(Columns), nullptr);
  RowRecords.assign(1, RowRecord{});
  next_ = 0;
}

void MGridLayout::ReadMemberAttributes(MControl& control, MXMLItem& definition) {
  control.LayoutSpace = static_cast<int32_t>(std::clamp<int64_t>(definition.GetAttributeInt("hspan", 1), 1, Columns));
  control.LayoutSpanY = static_cast<uint16_t>(std::clamp<int64_t>(definition.GetAttributeInt("vspan", 1), 1, 1024));
  AddControl(control);
}

int32_t MGridLayout::Span(const MControl& cell) const { return std::clamp(cell.LayoutSpace, 1, Columns); }

void MGridLayout::AddControl(MControl& control) {
  if (Cells.empty()) SetColumns(Columns);
  const int32_t column = next_ % Columns;
  const int32_t span = std::min(Span(control), Columns - column);
  control.LayoutSpace = span;
  while (static_cast<int64_t>(next_) + span > static_cast<int64_t>(Columns) * Rows) {
    ++Rows;
    Cells.resize(static_cast<size_t>(Columns) * Rows, nullptr);
    RowRecords.resize(static_cast<size_t>(Rows));
  }
  if (MControl* old = Cells[static_cast<size_t>(next_)]; old && old != &control) RemoveControl(*old);
  MLayout::AddControl(control);
  Cells[static_cast<size_t>(next_)] = &control;
  next_ += span;
}

void MGridLayout::RemoveControl(MControl& control) {
  for (MControl*& cell : Cells) {
    if (cell == &control) cell = nullptr;
  }
  MLayout::RemoveControl(control);
}

MControl* MGridLayout::Cell(int32_t column, int32_t row) const {
  if (column < 0 || row < 0 || column >= Columns || row >= Rows) return nullptr;
  return Cells[static_cast<size_t>(row) * Columns + column];
}

int32_t MGridLayout::RowGap() const {
  if (UseGridSpace && HasMembers()) {
    const MStyles* style = Owner.GetStyle();
    const int32_t def = style ? style->GetMetric(kDefGridLayoutSpace) : Owner.ScaleY(8);
    return std::max(0, def + Space);
  }
  return LayoutGap(true);
}

void MGridLayout::MeasureColumns(MMeasurePolicy policy, std::vector<int64_t>& widths,
                                 std::vector<int64_t>& ratios, std::vector<uint8_t>& used) {
  widths.assign(static_cast<size_t>(Columns), 0);
  ratios.assign(static_cast<size_t>(Columns), 0);
  used.assign(static_cast<size_t>(Columns), 0);
  const int64_t gap = LayoutGap(true);
  for (int32_t row = 0; row < Rows; ++row) {
    for (int32_t col = 0; col < Columns; ++col) {
      const MControl* c = Cell(col, row);
      if (!Visible(c)) continue;
      const int32_t span = Span(*c);
      for (int32_t k = 0; k < span; ++k) used[static_cast<size_t>(col + k)] = 1;
      if (span > 1) continue;
      widths[static_cast<size_t>(col)] = std::max(widths[static_cast<size_t>(col)], CellWidth(*c, policy));
      ratios[static_cast<size_t>(col)] = std::max<int64_t>(ratios[static_cast<size_t>(col)], c->LayoutRatioX);
    }
  }
  // Spanning cells: a ratio lifts the largest ratios of its columns; a width
  // beyond its columns' is shared among them.
  for (int32_t row = 0; row < Rows; ++row) {
    for (int32_t col = 0; col < Columns; ++col) {
      const MControl* c = Cell(col, row);
      if (!Visible(c) || Span(*c) < 2) continue;
      const int32_t span = Span(*c);
      int64_t have = (span - 1) * gap, largest = 0, ratioSum = 0;
      for (int32_t k = 0; k < span; ++k) {
        have += widths[static_cast<size_t>(col + k)];
        largest = std::max(largest, ratios[static_cast<size_t>(col + k)]);
        ratioSum += ratios[static_cast<size_t>(col + k)];
      }
      if (c->LayoutRatioX > 0) {
        for (int32_t k = 0; k < span; ++k) {
          int64_t& r = ratios[static_cast<size_t>(col + k)];
          if (r == largest && r < c->LayoutRatioX) r = c->LayoutRatioX;
        }
      }
      const int64_t excess = CellWidth(*c, policy) - have;
      if (excess <= 0) continue;
      if (ratioSum > 0) {
        // What the span must hold, less its fixed columns, shared by ratio as
        // Place shares: the columns then need no more than they get.
        int64_t left = CellWidth(*c, policy) - (span - 1) * gap, sum = 0;
        for (int32_t k = 0; k < span; ++k) {
          if (ratios[static_cast<size_t>(col + k)] <= 0) left -= widths[static_cast<size_t>(col + k)];
          else sum += ratios[static_cast<size_t>(col + k)];
        }
        for (int32_t k = 0; k < span; ++k) {
          const int64_t r = ratios[static_cast<size_t>(col + k)];
          if (r <= 0) continue;
          const int64_t part = std::max<int64_t>(0, left) * r / sum;
          int64_t& width = widths[static_cast<size_t>(col + k)];
          width = std::max(width, part);
          left -= part;
          sum -= r;
        }
      } else {
        for (int32_t k = 0; k < span; ++k) widths[static_cast<size_t>(col + k)] += excess / span;
        widths[static_cast<size_t>(col)] += excess % span;
      }
    }
  }
}

void MGridLayout::MeasureRows(MMeasurePolicy policy, std::vector<int64_t>& heights,
                              std::vector<int64_t>& ratios) {
  heights.assign(static_cast<size_t>(Rows), 0);
  ratios.assign(static_cast<size_t>(Rows), 0);
  for (int32_t row = 0; row < Rows; ++row) {
    bool allPlastic = false, any = false;
    for (int32_t col = 0; col < Columns; ++col) {
      const MControl* c = Cell(col, row);
      if (!Visible(c)) continue;
      allPlastic = any ? allPlastic && c->Has(MControlFlag::kPlastic) : c->Has(MControlFlag::kPlastic);
      any = true;
      if (c->LayoutSpanY > 1) continue;
      heights[static_cast<size_t>(row)] = std::max(heights[static_cast<size_t>(row)], CellHeight(*c));
      ratios[static_cast<size_t>(row)] = std::max<int64_t>(ratios[static_cast<size_t>(row)], c->LayoutRatioY);
    }
    RowRecords[static_cast<size_t>(row)].allPlastic = allPlastic;
  }
  // Cells spanning rows give what they lack to the last row they cover.
  const int64_t gap = RowGap();
  for (int32_t row = 0; row < Rows; ++row) {
    for (int32_t col = 0; col < Columns; ++col) {
      const MControl* c = Cell(col, row);
      if (!Visible(c) || c->LayoutSpanY < 2) continue;
      const int32_t last = std::min(Rows - 1, row + c->LayoutSpanY - 1);
      int64_t have = 0;
      for (int32_t k = row; k <= last; ++k) have += heights[static_cast<size_t>(k)] + (k > row ? gap : 0);
      const int64_t excess = CellHeight(*c) - have;
      if (excess > 0) heights[static_cast<size_t>(last)] += excess;
    }
  }
}

MRect MGridLayout::Place(const MRect& r) {
  if (!HasMembers()) return r;
  std::vector<int64_t> widths, columnRatios, heights, rowRatios;
  std::vector<uint8_t> used;
  MeasureColumns(MMeasurePolicy::kMinimal, widths, columnRatios, used);
  MeasureRows(MMeasurePolicy::kMinimal, heights, rowRatios);
  const int64_t gapX = LayoutGap(true), gapY = RowGap();
  int64_t usedColumns = 0, fixedWidth = 0;
  for (int32_t col = 0; col < Columns; ++col) {
    if (!used[static_cast<size_t>(col)]) continue;
    ++usedColumns;
    if (columnRatios[static_cast<size_t>(col)] <= 0) fixedWidth += widths[static_cast<size_t>(col)];
  }
  Share(widths, columnRatios, int64_t{r.Width()} - std::max<int64_t>(0, usedColumns - 1) * gapX - fixedWidth);
  if (VerticalFill) {
    int64_t fixedHeight = 0, usedRows = 0;
    for (int32_t row = 0; row < Rows; ++row) {
      if (heights[static_cast<size_t>(row)] > 0 || rowRatios[static_cast<size_t>(row)] > 0) ++usedRows;
      if (rowRatios[static_cast<size_t>(row)] <= 0) fixedHeight += heights[static_cast<size_t>(row)];
    }
    Share(heights, rowRatios, int64_t{r.Height()} - std::max<int64_t>(0, usedRows - 1) * gapY - fixedHeight);
  }
  // Rows whose cells are all plastic take the height the cells need at their
  // final widths.
  for (int32_t row = 0; row < Rows; ++row) {
    if (!RowRecords[static_cast<size_t>(row)].allPlastic) continue;
    int64_t h = 0;
    for (int32_t col = 0; col < Columns; ++col) {
      MControl* c = Cell(col, row);
      if (!Visible(c)) continue;
      int64_t w = (Span(*c) - 1) * gapX;
      for (int32_t k = 0; k < Span(*c); ++k) w += widths[static_cast<size_t>(col + k)];
      h = std::max<int64_t>(h, c->ComputePlasticSize(true, Clamp(w - 2 * int64_t{c->EffectiveBorderX})) +
                                   2 * int64_t{c->EffectiveBorderY});
    }
    heights[static_cast<size_t>(row)] = h;
  }
  // Column edges: the gap only behind columns that hold a visible cell.
  std::vector<int64_t> lefts(static_cast<size_t>(Columns) + 1);
  int64_t x = r.left;
  for (int32_t col = 0; col < Columns; ++col) {
    lefts[static_cast<size_t>(col)] = x;
    x += widths[static_cast<size_t>(col)] + (used[static_cast<size_t>(col)] ? gapX : 0);
  }
  lefts[static_cast<size_t>(Columns)] = x;
  std::vector<int64_t> tops(static_cast<size_t>(Rows) + 1);
  int64_t y = r.top;
  for (int32_t row = 0; row < Rows; ++row) {
    tops[static_cast<size_t>(row)] = y;
    RowRecords[static_cast<size_t>(row)].height = Clamp(heights[static_cast<size_t>(row)]);
    if (heights[static_cast<size_t>(row)] > 0) y += heights[static_cast<size_t>(row)] + gapY;
  }
  tops[static_cast<size_t>(Rows)] = y;
  for (int32_t row = 0; row < Rows; ++row) {
    for (int32_t col = 0; col < Columns; ++col) {
      MControl* c = Cell(col, row);
      if (!Visible(c)) continue;
      const int32_t lastCol = std::min(Columns - 1, col + Span(*c) - 1);
      const int32_t lastRow = std::min(Rows - 1, row + c->LayoutSpanY - 1);
      int64_t h = 0;
      for (int32_t k = row; k <= lastRow; ++k) {
        if (heights[static_cast<size_t>(k)] > 0) h += heights[static_cast<size_t>(k)] + (k > row ? gapY : 0);
      }
      const int64_t left = lefts[static_cast<size_t>(col)];
      const int64_t right = left - 1 + widths[static_cast<size_t>(lastCol)] +
                            (lefts[static_cast<size_t>(lastCol)] - left);
      // A cell in rows of no height gets no height either, rather than keep
      // the place of an earlier run.
      c->PlaceInRectangle({Clamp(left), Clamp(tops[static_cast<size_t>(row)]), Clamp(right),
                           Clamp(tops[static_cast<size_t>(row)] + std::max<int64_t>(0, h) - 1)});
    }
  }
  MRect rest = r;
  rest.top = Clamp(y);
  return rest;
}

MPoint MGridLayout::ComputeMinimalSizeWithPolicy(MMeasurePolicy policy) {
  if (!HasMembers()) return {0, 0};
  std::vector<int64_t> widths, columnRatios, heights, rowRatios;
  std::vector<uint8_t> used;
  MeasureColumns(policy, widths, columnRatios, used);
  MeasureRows(policy, heights, rowRatios);
  if (!VerticalFill) std::fill(rowRatios.begin(), rowRatios.end(), 0);
  int64_t columns = 0, rows = 0;
  for (int32_t col = 0; col < Columns; ++col) columns += used[static_cast<size_t>(col)];
  for (int32_t row = 0; row < Rows; ++row) rows += heights[static_cast<size_t>(row)] > 0 || rowRatios[static_cast<size_t>(row)] > 0;
  for (int32_t col = 0; col < Columns; ++col) {
    if (!used[static_cast<size_t>(col)]) columnRatios[static_cast<size_t>(col)] = widths[static_cast<size_t>(col)] = 0;
  }
  const int64_t w = Needed(widths, columnRatios) + std::max<int64_t>(0, columns - 1) * LayoutGap(true);
  const int64_t h = Needed(heights, rowRatios) + std::max<int64_t>(0, rows - 1) * RowGap();
  return {Clamp(w), Clamp(h)};
}

int32_t MGridLayout::GetResizability() {
  int32_t result = 0;
  for (MControl* c : Controls) {
    if (!Visible(c)) continue;
    if (c->LayoutRatioX > 0) result |= c->GetResizability() & 1;
    if (VerticalFill && c->LayoutRatioY > 0) result |= c->GetResizability() & 2;
  }
  return result;
}

}  // namespace kx
