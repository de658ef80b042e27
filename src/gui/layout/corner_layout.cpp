// MCornerLayout: four strips (left and right stacked vertically, top and bottom
// horizontally) and four corner slots framing a centre, which it returns.
#include <algorithm>

#include "foundation/core/exception.h"
#include "foundation/xml/xml_item.h"
#include "gui/controls/control.h"
#include "gui/layout/layouts.h"

namespace kx {

namespace {

enum Strip { kLeftStrip = 0, kRightStrip = 1, kTopStrip = 2, kBottomStrip = 3 };
bool Visible(const MControl* c) { return c && c->Has(MControlFlag::kVisible); }
int32_t Clamp(int64_t v) { return static_cast<int32_t>(std::clamp<int64_t>(v, -kMaxExtent, kMaxExtent)); }

}  // namespace

MCornerLayout::MCornerLayout(MControl& owner) : MLayout(owner) {
  Strips[kLeftStrip] = std::make_unique<MDirectionalLayout>(owner, 1);
  Strips[kRightStrip] = std::make_unique<MDirectionalLayout>(owner, 1);
  Strips[kTopStrip] = std::make_unique<MDirectionalLayout>(owner, 0);
  Strips[kBottomStrip] = std::make_unique<MDirectionalLayout>(owner, 0);
}

void MCornerLayout::AddToTarget(MControl& control, const MString& target, int32_t space) {
  static constexpr const char* kCorners[4] = {"corner0", "corner1", "corner2", "corner3"};
  static constexpr const char* kStrips[4] = {"left", "right", "top", "bottom"};
  for (int32_t i = 0; i < 4; ++i) {
    if (target.EqualsNoCase(MString(kCorners[i]))) {
      if (Corners[i] && Corners[i] != &control) RemoveControl(*Corners[i]);
      MLayout::AddControl(control);
      control.LayoutPlacement = 0;
      Corners[i] = &control;
      return;
    }
  }
  for (int32_t i = 0; i < 4; ++i) {
    if (target.EqualsNoCase(MString(kStrips[i]))) {
      MLayout::AddControl(control);
      Strips[i]->Controls.push_back(&control);
      control.LayoutSpace = control.ScaleX(space);
      return;
    }
  }
  throw MException(MString("Invalid target for corner layout."));
}

void MCornerLayout::ReadMemberAttributes(MControl& control, MXMLItem& definition) {
  const int32_t space = static_cast<int32_t>(std::clamp<int64_t>(definition.GetAttributeInt("space", 0), -4096, 4096));
  AddToTarget(control, definition.GetAttributeText("target"), space);
}

void MCornerLayout::AddControl(MControl& control) {
  // Without a target a member joins the left strip.
  AddToTarget(control, MString("left"), 0);
}

void MCornerLayout::RemoveControl(MControl& control) {
  for (auto& strip : Strips) std::erase(strip->Controls, &control);
  for (MControl*& corner : Corners) {
    if (corner == &control) corner = nullptr;
  }
  MLayout::RemoveControl(control);
}

MCornerLayout::Thickness MCornerLayout::Measure(MMeasurePolicy policy) {
  Thickness t{StackMinimalSize(*Strips[kLeftStrip], Strips[kLeftStrip]->Controls, true, policy).x,
              StackMinimalSize(*Strips[kTopStrip], Strips[kTopStrip]->Controls, false, policy).y,
              StackMinimalSize(*Strips[kRightStrip], Strips[kRightStrip]->Controls, true, policy).x,
              StackMinimalSize(*Strips[kBottomStrip], Strips[kBottomStrip]->Controls, false, policy).y};
  for (int32_t i = 0; i < 4; ++i) {
    const MControl* c = Corners[i];
    if (!Visible(c)) continue;
    const int32_t w = Clamp(MeasureWidth(*c, policy)), h = Clamp(MeasureHeight(*c, policy));
    int32_t& across = (i == 0 || i == 2) ? t.left : t.right;
    int32_t& along = (i == 0 || i == 1) ? t.top : t.bottom;
    across = std::max(across, w);
    along = std::max(along, h);
  }
  return t;
}

MRect MCornerLayout::Place(const MRect& r) {
  const Thickness t = Measure(MMeasurePolicy::kCurrent);
  const int64_t gap = LayoutGap(false);
  const bool c0 = Visible(Corners[0]), c1 = Visible(Corners[1]), c2 = Visible(Corners[2]),
             c3 = Visible(Corners[3]);
  const MRect boxes[4] = {
      {r.left, r.top, Clamp(int64_t{r.left} + t.left - 1), Clamp(int64_t{r.top} + t.top - 1)},
      {Clamp(int64_t{r.right} - t.right + 1), r.top, r.right, Clamp(int64_t{r.top} + t.top - 1)},
      {r.left, Clamp(int64_t{r.bottom} - t.bottom + 1), Clamp(int64_t{r.left} + t.left - 1), r.bottom},
      {Clamp(int64_t{r.right} - t.right + 1), Clamp(int64_t{r.bottom} - t.bottom + 1), r.right, r.bottom}};
  for (int32_t i = 0; i < 4; ++i) {
    if (Visible(Corners[i])) Corners[i]->PlaceInRectangle(boxes[i]);
  }
  const MRect left{r.left, Clamp(r.top + (c0 ? t.top + gap : 0)), boxes[0].right,
                   Clamp(r.bottom - (c2 ? t.bottom + gap : 0))};
  const MRect top{Clamp(r.left + (c0 ? t.left + gap : 0)), r.top, Clamp(r.right - (c1 ? t.right + gap : 0)),
                  boxes[0].bottom};
  const MRect right{boxes[1].left, Clamp(r.top + (c1 ? t.top + gap : 0)), r.right,
                    Clamp(r.bottom - (c3 ? t.bottom + gap : 0))};
  const MRect bottom{Clamp(r.left + (c2 ? t.left + gap : 0)), boxes[2].top,
                     Clamp(r.right - (c3 ? t.right + gap : 0)), r.bottom};
  if (t.left > 0) Strips[kLeftStrip]->Place(left);
  if (t.top > 0) Strips[kTopStrip]->Place(top);
  if (t.right > 0) Strips[kRightStrip]->Place(right);
  if (t.bottom > 0) Strips[kBottomStrip]->Place(bottom);
  MRect centre{Clamp(r.left + (t.left > 0 ? t.left + gap : 0)), Clamp(r.top + (t.top > 0 ? t.top + gap : 0)),
               Clamp(r.right - (t.right > 0 ? t.right + gap : 0)),
               Clamp(r.bottom - (t.bottom > 0 ? t.bottom + gap : 0))};
  return centre;
}

MPoint MCornerLayout::ComputeMinimalSizeWithPolicy(MMeasurePolicy policy) {
  const Thickness t = Measure(policy);
  const int64_t gap = LayoutGap(false);
  const auto along = [&](int32_t strip, bool vertical) {
    const MPoint s = StackMinimalSize(*Strips[strip], Strips[strip]->Controls, vertical, policy);
    return int64_t{vertical ? s.y : s.x};
  };
  const int64_t sideX = (t.left > 0 ? t.left + gap : 0) + (t.right > 0 ? t.right + gap : 0);
  const int64_t sideY = (t.top > 0 ? t.top + gap : 0) + (t.bottom > 0 ? t.bottom + gap : 0);
  const int64_t w = std::max({sideX, along(kTopStrip, false) + sideX, along(kBottomStrip, false) + sideX});
  const int64_t h = std::max({sideY, along(kLeftStrip, true) + sideY, along(kRightStrip, true) + sideY});
  return {Clamp(w), Clamp(h)};
}

int32_t MCornerLayout::GetResizability() {
  int32_t result = 0;
  for (auto& strip : Strips) result |= strip->GetResizability();
  return result;
}

}  // namespace kx
