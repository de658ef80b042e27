// Side strips, directional stacks, overlays and border insets.
#include <algorithm>

#include "foundation/core/exception.h"
#include "foundation/xml/xml_item.h"
#include "gui/controls/control.h"
#include "gui/layout/layouts.h"

namespace kx {

namespace {

bool Visible(const MControl* c) { return c->Has(MControlFlag::kVisible); }
int32_t Clamp(int64_t v) { return static_cast<int32_t>(std::clamp<int64_t>(v, -kMaxExtent, kMaxExtent)); }

}  // namespace

// ---------------------------------------------------------------- MSideLayout

bool MSideLayout::Vertical() const {
  if (Direction < kLeft || Direction > kBottom) throw MException(MString("Invalid side-layout direction."));
  return Direction == kLeft || Direction == kRight;
}

void MSideLayout::AddControl(MControl& control) {
  MLayout::AddControl(control);
  control.LayoutSpace = 0;
}

MRect MSideLayout::Place(const MRect& r) {
  const bool vertical = Vertical();
  if (Controls.empty()) return r;
  if (Controls.size() == 1 && Visible(Controls[0]) && Controls[0]->Has(MControlFlag::kPlastic)) {
    MControl& m = *Controls[0];
    if (vertical) m.MinSizeX = std::max(0, m.ComputePlasticSize(false, r.Height()));
    else m.MinSizeY = std::max(0, m.ComputePlasticSize(true, r.Width()));
  }
  int64_t thickness = 0;
  bool counted = false;
  for (MControl* m : Controls) {
    if (!Visible(m)) continue;
    if (!m->Has(MControlFlag::kNotCounted)) counted = true;
    thickness = std::max(thickness, vertical ? MeasureWidth(*m, MMeasurePolicy::kCurrent)
                                             : MeasureHeight(*m, MMeasurePolicy::kCurrent));
  }
  if (!counted) return r;
  const MStackSums sums = GatherStack(*this, Controls, vertical, Clamp(thickness));
  if (thickness < 1) return r;
  const int32_t t = Clamp(thickness);
  MRect strip = r;
  switch (Direction) {
    case kLeft: strip.right = Clamp(int64_t{r.left} + t - 1); break;
    case kRight: strip.left = Clamp(int64_t{r.right} - t + 1); break;
    case kTop: strip.bottom = Clamp(int64_t{r.top} + t - 1); break;
    default: strip.top = Clamp(int64_t{r.bottom} - t + 1); break;
  }
  ArrangeStack(*this, Controls, vertical, Reverse, strip, sums.fixed, sums.ratioSum);
  const int64_t taken = int64_t{t} + LayoutGap(true);
  MRect rest = r;
  switch (Direction) {
    case kLeft: rest.left = Clamp(r.left + taken); break;
    case kRight: rest.right = Clamp(r.right - taken); break;
    case kTop: rest.top = Clamp(r.top + taken); break;
    default: rest.bottom = Clamp(r.bottom - taken); break;
  }
  return rest;
}

MPoint MSideLayout::ComputeMinimalSizeWithPolicy(MMeasurePolicy policy) {
  return StackMinimalSize(*this, Controls, Vertical(), policy);
}

void MSideLayout::ComputeMinimalSize(MMinimalAccumulator& acc) {
  const bool vertical = Vertical();
  bool counted = false;
  for (MControl* m : Controls) counted |= Visible(m) && !m->Has(MControlFlag::kNotCounted);
  if (!counted) return;
  // The strip as Place makes it: thickness from the current sizes, its length
  // such that every proportional member keeps its minimal size.
  const MPoint size = StackMinimalSize(*this, Controls, vertical, MMeasurePolicy::kCurrent);
  const int64_t gap = LayoutGap(true);
  if (vertical) {
    if (size.x < 1) return;
    acc.minY = std::max(acc.minY, acc.usedY + size.y);
    acc.usedX += size.x + gap;
  } else {
    if (size.y < 1) return;
    acc.minX = std::max(acc.minX, acc.usedX + size.x);
    acc.usedY += size.y + gap;
  }
}

int32_t MSideLayout::GetResizability() {
  const bool vertical = Vertical();
  int32_t result = 0;
  for (MControl* m : Controls) {
    if (!Visible(m)) continue;
    if (vertical && m->LayoutRatioY > 0) result |= m->GetResizability() & 2;
    if (!vertical && m->LayoutRatioX > 0) result |= m->GetResizability() & 1;
  }
  return result;
}

// ---------------------------------------------------------------- MDirectionalLayout

void MDirectionalLayout::ReadMemberAttributes(MControl& control, MXMLItem& definition) {
  AddControl(control);
  control.LayoutSpace = control.ScaleX(static_cast<int32_t>(
      std::clamp<int64_t>(definition.GetAttributeInt("space", 0), -4096, 4096)));
}

bool MDirectionalLayout::EffectiveVertical() const {
  bool vertical = Direction == 1;
  if (AutoSwap) {
    bool anyOpen = false;
    for (MControl* m : Controls) anyOpen |= Visible(m) && !m->IsCollapsed();
    if (!anyOpen) vertical = !vertical;
  }
  return vertical;
}

MRect MDirectionalLayout::Place(const MRect& r) {
  const bool vertical = EffectiveVertical();
  const MStackSums sums = GatherStack(*this, Controls, vertical, vertical ? r.Width() : r.Height());
  ArrangeStack(*this, Controls, vertical, Reverse, r, sums.fixed + sums.plasticFixed, sums.ratioSum);
  return kEmptyRect;
}

MPoint MDirectionalLayout::ComputeMinimalSizeWithPolicy(MMeasurePolicy policy) {
  return StackMinimalSize(*this, Controls, EffectiveVertical(), policy);
}

int32_t MDirectionalLayout::GetResizability() { return StackResizability(Controls); }

// ---------------------------------------------------------------- MOverlayLayout

void MOverlayLayout::AddControl(MControl& control) {
  MLayout::AddControl(control);
  control.LayoutSpace = 0;
}

MRect MOverlayLayout::Place(const MRect& r) {
  for (MControl* m : Controls) {
    if (Visible(m)) {
      m->PlaceInRectangle(r);
      return kEmptyRect;
    }
  }
  return r;
}

MPoint MOverlayLayout::ComputeMinimalSizeWithPolicy(MMeasurePolicy policy) {
  // Pages keep the size of the largest one, shown or not.
  int64_t w = 0, h = 0;
  for (MControl* m : Controls) {
    if (!CountHidden && !Visible(m)) continue;
    w = std::max(w, MeasureWidth(*m, policy));
  }
  for (MControl* m : Controls) {
    if (!CountHidden && !Visible(m)) continue;
    if (m->Has(MControlFlag::kPlastic))
      h = std::max<int64_t>(h, m->ComputePlasticSize(true, Clamp(w - 2 * int64_t{m->EffectiveBorderX})) +
                                   2 * int64_t{m->EffectiveBorderY});
    else
      h = std::max(h, MeasureHeight(*m, policy));
  }
  return {Clamp(w), Clamp(h)};
}

int32_t MOverlayLayout::GetResizability() {
  int32_t result = 0;
  for (MControl* m : Controls) {
    if (Visible(m)) result |= m->GetResizability();
  }
  return result;
}

// ---------------------------------------------------------------- MBorderLayout

void MBorderLayout::ReadAttributes(MXMLItem& definition) {
  MLayout::ReadAttributes(definition);
  auto read = [&](const char* key) {
    return static_cast<int32_t>(std::clamp<int64_t>(definition.GetAttributeInt(key, 0), -65536, 65536));
  };
  X1 = read("x1");
  Y1 = read("y1");
  X2 = read("x2");
  // The bottom inset is read from y1 too: definitions have no word for it.
  Y2 = read("y1");
}

MRect MBorderLayout::Place(const MRect& r) {
  MRect out;
  out.left = Clamp(int64_t{r.left} + Owner.ScaleX(X1));
  out.top = Clamp(int64_t{r.top} + Owner.ScaleY(Y1));
  out.right = std::max(out.left, Clamp(int64_t{r.right} - Owner.ScaleX(X2)));
  out.bottom = std::max(out.top, Clamp(int64_t{r.bottom} - Owner.ScaleY(Y2)));
  return out;
}

void MBorderLayout::ComputeMinimalSize(MMinimalAccumulator& acc) {
  acc.usedX += std::max(0, Owner.ScaleX(X1)) + std::max(0, Owner.ScaleX(X2));
  acc.usedY += std::max(0, Owner.ScaleY(Y1)) + std::max(0, Owner.ScaleY(Y2));
}

MPoint MBorderLayout::ComputeMinimalSizeWithPolicy(MMeasurePolicy) { return {0, 0}; }

// ---------------------------------------------------------------- factory

std::unique_ptr<MLayout> CreateLayoutFor(const MString& element, MControl& owner) {
  static constexpr const char* kSides[4] = {"left", "right", "top", "bottom"};
  for (int32_t i = 0; i < 4; ++i) {
    if (element.EqualsNoCase(MString(kSides[i]))) return std::make_unique<MSideLayout>(owner, i);
  }
  if (element.EqualsNoCase(MString("vertical"))) return std::make_unique<MDirectionalLayout>(owner, 1);
  if (element.EqualsNoCase(MString("horizontal"))) return std::make_unique<MDirectionalLayout>(owner, 0);
  if (element.EqualsNoCase(MString("overlay"))) return std::make_unique<MOverlayLayout>(owner);
  if (element.EqualsNoCase(MString("occupyborder"))) return std::make_unique<MBorderLayout>(owner);
  if (element.EqualsNoCase(MString("corner"))) return std::make_unique<MCornerLayout>(owner);
  if (element.EqualsNoCase(MString("grid"))) return std::make_unique<MGridLayout>(owner);
  return nullptr;
}

}  // namespace kx
