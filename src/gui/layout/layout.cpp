#include "gui/layout/layout.h"

#include <algorithm>

#include "foundation/xml/xml_item.h"
#include "gui/controls/control.h"
#include "gui/styles/style_metrics.h"
#include "gui/styles/styles.h"

namespace kx {

namespace {

const int kDefLayoutSpace = StyleMetricIndex("DefLayoutSpace");

int64_t Border(const MControl& c, bool vertical) {
  return 2 * int64_t{vertical ? c.EffectiveBorderY : c.EffectiveBorderX};
}

bool Visible(const MControl* c) { return c->Has(MControlFlag::kVisible); }

}  // namespace

int64_t MeasureWidth(const MControl& m, MMeasurePolicy policy) {
  const bool plastic = m.Has(MControlFlag::kPlastic);
  int64_t w;
  if (policy == MMeasurePolicy::kMinimal) {
    // A collapsed member is placed as wide as it asked, at least its
    // collapsed width; its minimal width says the same.
    if (m.IsCollapsed()) w = std::max(m.AskedSizeX, m.CollapsedSizeX);
    else w = !plastic && m.LayoutRatioX == 0 ? std::max(m.MinSizeX, m.AskedSizeX) : m.MinSizeX;
  } else {
    const int64_t size = m.IsCollapsed() ? std::max(m.AskedSizeX, m.CollapsedSizeX) : m.AskedSizeX;
    w = plastic ? m.MinSizeX : std::max<int64_t>(m.MinSizeX, size);
  }
  return w + Border(m, false);
}

int64_t MeasureHeight(const MControl& m, MMeasurePolicy policy) {
  const bool plastic = m.Has(MControlFlag::kPlastic);
  int64_t h;
  if (policy == MMeasurePolicy::kMinimal) {
    if (m.IsCollapsed()) h = m.CollapsedSizeY;
    else h = !plastic && m.LayoutRatioY == 0 ? std::max(m.MinSizeY, m.AskedSizeY) : m.MinSizeY;
  } else {
    h = m.IsCollapsed() ? 0 : m.MinSizeY;
    if (!plastic) h = std::max<int64_t>(h, m.IsCollapsed() ? m.CollapsedSizeY : m.AskedSizeY);
  }
  return h + Border(m, true);
}

MLayout::~MLayout() {
  for (MControl* c : Controls) {
    if (c->OwnerLayout == this) {
      c->OwnerLayout = nullptr;
      c->Set(MControlFlag::kLayoutManaged, false);
    }
  }
}

void MLayout::ReadAttributes(MXMLItem& definition) {
  Space = static_cast<int32_t>(std::clamp<int64_t>(definition.GetAttributeInt("layoutspace", 0), -4096, 4096));
  DefBorderX = static_cast<int32_t>(std::clamp<int64_t>(definition.GetAttributeInt("deflayoutborderx", -1), -1, 4096));
  DefBorderY = static_cast<int32_t>(std::clamp<int64_t>(definition.GetAttributeInt("deflayoutbordery", -1), -1, 4096));
}

void MLayout::ReadMemberAttributes(MControl& control, MXMLItem&) { AddControlWithDefaults(control); }

void MLayout::AddControl(MControl& control) {
  if (control.OwnerLayout && control.OwnerLayout != this) control.OwnerLayout->RemoveControl(control);
  control.Set(MControlFlag::kLayoutManaged, true);
  if (DefBorderX >= 0) control.LayoutBorderX = DefBorderX;
  if (DefBorderY >= 0) control.LayoutBorderY = DefBorderY;
  control.OwnerLayout = this;
  if (!IsMember(control)) Controls.push_back(&control);
  OnMembersChanged();
}

void MLayout::RemoveControl(MControl& control) {
  control.Set(MControlFlag::kLayoutManaged, false);
  if (control.OwnerLayout == this) control.OwnerLayout = nullptr;
  auto it = std::find(Controls.begin(), Controls.end(), &control);
  if (it != Controls.end()) Controls.erase(it);
  OnMembersChanged();
}

void MLayout::AddControlWithDefaults(MControl& control) {
  AddControl(control);
  control.LayoutSpace = 0;
}

bool MLayout::IsMember(const MControl& control) const {
  return std::find(Controls.begin(), Controls.end(), &control) != Controls.end();
}

bool MLayout::HasMembers() const {
  for (const MControl* c : Controls) {
    if (!c->Has(MControlFlag::kNotCounted)) return true;
  }
  return false;
}

int32_t MLayout::LayoutGap(bool countEmpty) const {
  if (!HasMembers()) return countEmpty ? 0 : std::max(0, Space);
  const MStyles* style = Owner.GetStyle();
  const int32_t def = style ? style->GetMetric(kDefLayoutSpace) : Owner.ScaleX(1);
  return std::max(0, def + Space);
}

void MLayout::ComputeMinimalSize(MMinimalAccumulator& accumulator) {
  const MPoint size = ComputeMinimalSizeWithPolicy(MMeasurePolicy::kMinimal);
  accumulator.AddRest(size.x, size.y);
}

// ---------------------------------------------------------------- stacks

MStackSums GatherStack(const MLayout& layout, const std::vector<MControl*>& controls, bool vertical,
                       int32_t across) {
  MStackSums sums;
  const int64_t gap = layout.LayoutGap(true);
  for (MControl* m : controls) {
    if (!Visible(m)) continue;
    ++sums.visible;
    if (m->Has(MControlFlag::kSaveRatioX) || m->Has(MControlFlag::kSaveRatioY)) sums.anySaveFlag = true;
    const int32_t ratio = vertical ? m->LayoutRatioY : m->LayoutRatioX;
    if (m->Has(MControlFlag::kPlastic)) {
      if (vertical) {
        m->SizeY = m->ComputePlasticSize(true, std::max(0, across - 2 * m->EffectiveBorderX));
        (ratio != 0 ? sums.plasticRatio : sums.plasticFixed) += m->SizeY;
      } else {
        m->SizeX = m->ComputePlasticSize(false, std::max(0, across - 2 * m->EffectiveBorderY));
        (ratio != 0 ? sums.plasticRatio : sums.plasticFixed) += m->SizeX;
      }
      sums.ratioSum += ratio;
    } else {
      if (ratio == 0 || m->IsCollapsed())
        sums.fixed += vertical ? MeasureHeight(*m, MMeasurePolicy::kCurrent)
                               : MeasureWidth(*m, MMeasurePolicy::kCurrent);
      // Collapsed members keep their ratio in a row, not in a column.
      if (ratio != 0 && (!vertical || !m->IsCollapsed())) sums.ratioSum += ratio;
    }
    sums.fixed += m->LayoutSpace + gap;
  }
  return sums;
}

void ArrangeStack(const MLayout& layout, const std::vector<MControl*>& controls, bool vertical,
                  bool reverse, const MRect& rect, int64_t fixed, int64_t ratioSum) {
  int32_t visible = 0;
  MControl* only = nullptr;
  bool anySave = false;
  for (MControl* m : controls) {
    if (!Visible(m)) continue;
    ++visible;
    only = m;
    if (m->Has(MControlFlag::kSaveRatioX) || m->Has(MControlFlag::kSaveRatioY)) anySave = true;
  }
  if (visible == 0) return;
  if (visible == 1) {
    only->PlaceInRectangle(rect);
    return;
  }
  const int64_t gap = layout.LayoutGap(true);
  const int64_t length = vertical ? int64_t{rect.bottom} - rect.top + 1 : int64_t{rect.right} - rect.left + 1;
  int64_t free = anySave ? length - gap : length - (fixed - gap);
  free = std::max<int64_t>(0, free);
  int64_t cursor = reverse ? (vertical ? rect.bottom : rect.right) : (vertical ? rect.top : rect.left);
  const int32_t n = static_cast<int32_t>(controls.size());
  for (int32_t k = 0; k < n; ++k) {
    const int32_t index = reverse ? n - 1 - k : k;
    MControl& m = *controls[index];
    if (!Visible(&m)) continue;
    const int32_t ratio = vertical ? m.LayoutRatioY : m.LayoutRatioX;
    const bool collapsed = m.IsCollapsed();
    const bool plastic = m.Has(MControlFlag::kPlastic);
    const bool save = m.Has(MControlFlag::kSaveRatioX) || m.Has(MControlFlag::kSaveRatioY);
    int64_t h;
    bool usedRatio = false;
    if (!vertical && save && m.MinSizeX > 0) {
      int64_t rest = free;
      for (int32_t j = k + 1; j < n; ++j) {
        const MControl& after = *controls[reverse ? n - 1 - j : j];
        if (Visible(&after)) rest -= after.MinSizeX;
      }
      rest = std::max<int64_t>(0, rest);
      if (m.MinSizeY > 0) {
        const int64_t across = int64_t{rect.bottom} - rect.top + 1 - 2 * int64_t{m.EffectiveBorderY};
        h = std::min(rest * m.MinSizeY, std::max<int64_t>(0, across) * m.MinSizeX) / m.MinSizeY;
      } else {
        h = m.MinSizeX;
      }
      h += 2 * int64_t{m.EffectiveBorderX};
      usedRatio = true;
    } else if (!vertical && index == 0 && reverse && m.Has(MControlFlag::kFillsRemainder)) {
      h = cursor - rect.left + 1;
    } else if ((vertical && collapsed) || ratio == 0) {
      if (plastic) h = vertical ? m.SizeY : m.SizeX;
      else if (vertical) h = collapsed ? m.CollapsedSizeY : std::max(m.MinSizeY, m.AskedSizeY);
      else h = collapsed ? std::max(m.AskedSizeX, m.CollapsedSizeX) : std::max(m.MinSizeX, m.AskedSizeX);
      h += 2 * int64_t{vertical ? m.EffectiveBorderY : m.EffectiveBorderX};
    } else {
      h = ratioSum > 0 ? ratio * free / ratioSum : 0;
      const bool resizable = m.Has(vertical ? MControlFlag::kResizableY : MControlFlag::kResizableX);
      const int32_t max = vertical ? m.MaxSizeY : m.MaxSizeX;
      int64_t limit = kNoSizeLimit;
      // The maximum is a design value; the minimal size is already in device pixels.
      if (resizable) limit = max == kNoSizeLimit ? kNoSizeLimit : (vertical ? m.ScaleY(max) : m.ScaleX(max));
      else limit = vertical ? m.MinSizeY : m.MinSizeX;
      if (limit != kNoSizeLimit) h = std::min(h, limit + 2 * int64_t{vertical ? m.EffectiveBorderY : m.EffectiveBorderX});
      usedRatio = true;
    }
    h = std::max<int64_t>(0, h);
    if (usedRatio) {
      free = std::max<int64_t>(0, free - h);
      if (ratio != 0 && (vertical ? !collapsed : true)) ratioSum -= ratio;
    }
    int64_t start = reverse ? cursor - h + 1 : cursor;
    MRect band = vertical ? MRect{rect.left, static_cast<int32_t>(start), rect.right,
                                  static_cast<int32_t>(start + h - 1)}
                          : MRect{static_cast<int32_t>(start), rect.top,
                                  static_cast<int32_t>(start + h - 1), rect.bottom};
    m.PlaceInRectangle(band);
    const int64_t step = h + gap + m.LayoutSpace;
    cursor = reverse ? cursor - step : cursor + step;
    cursor = std::clamp<int64_t>(cursor, -kMaxExtent, kMaxExtent);
  }
}

MPoint StackMinimalSize(const MLayout& layout, const std::vector<MControl*>& controls, bool vertical,
                        MMeasurePolicy policy) {
  const int64_t gap = layout.LayoutGap(true);
  int64_t across = 0, fixed = 0, ratioSum = 0;
  bool any = false;
  for (const MControl* m : controls) {
    if (!Visible(m)) continue;
    any = true;
    const int64_t along = vertical ? MeasureHeight(*m, policy) : MeasureWidth(*m, policy);
    across = std::max(across, vertical ? MeasureWidth(*m, policy) : MeasureHeight(*m, policy));
    const int32_t ratio = vertical ? m->LayoutRatioY : m->LayoutRatioX;
    if (ratio == 0 || m->IsCollapsed()) fixed += along;
    if (ratio != 0 && (!vertical || !m->IsCollapsed())) ratioSum += ratio;
    fixed += m->LayoutSpace + gap;
  }
  if (!any) return {0, 0};
  // A proportional member keeps its minimal size: the whole must be large
  // enough that its share reaches its measure.
  int64_t extent = 0;
  for (const MControl* m : controls) {
    const int32_t ratio = vertical ? m->LayoutRatioY : m->LayoutRatioX;
    if (!Visible(m) || ratio == 0 || (vertical && m->IsCollapsed())) continue;
    const int64_t along = vertical ? MeasureHeight(*m, policy) : MeasureWidth(*m, policy);
    extent = std::max(extent, (along * ratioSum + ratio - 1) / ratio);
  }
  const int64_t length = std::max<int64_t>(0, extent + fixed - gap);
  const auto clamp = [](int64_t v) { return static_cast<int32_t>(std::clamp<int64_t>(v, 0, kMaxExtent)); };
  return vertical ? MPoint{clamp(across), clamp(length)} : MPoint{clamp(length), clamp(across)};
}

int32_t StackResizability(const std::vector<MControl*>& controls) {
  int32_t result = 0;
  for (MControl* m : controls) {
    if (!Visible(m)) continue;
    if (m->LayoutRatioX > 0) result |= m->GetResizability() & 1;
    if (m->LayoutRatioY > 0) result |= m->GetResizability() & 2;
  }
  return result;
}

}  // namespace kx
