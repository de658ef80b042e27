// Invalidation and the paint dispatch: controls record what needs painting,
// the window collects it down the tree and paints every control whose part
// is touched through its style, children above parents.
#include <algorithm>

#include "foundation/core/exception.h"
#include "foundation/threads/global_lock.h"
#include "gui/controls/control.h"
#include "gui/drawing/drawer.h"
#include "gui/richtext/content.h"
#include "gui/styles/styles.h"

namespace kx {

namespace {

MRect Unite(const MRect& a, const MRect& b) {
  if (a.IsEmpty()) return b;
  if (b.IsEmpty()) return a;
  return {std::min(a.left, b.left), std::min(a.top, b.top), std::max(a.right, b.right),
          std::max(a.bottom, b.bottom)};
}

MRect Offset(const MRect& r, int32_t dx, int32_t dy) {
  return {r.left + dx, r.top + dy, r.right + dx, r.bottom + dy};
}

}  // namespace

void MControl::FillStyled(MStyledControl& styled) const {
  styled.element = kControlTypeWords[static_cast<int>(ControlType)];
  styled.rect = {OffsetX, OffsetY, OffsetX + ShownSizeX() - 1, OffsetY + ShownSizeY() - 1};
  const uint32_t flags = GetPaintFlags();
  MControlState state = MControlState::kNormal;
  if (flags & 1) state = state | MControlState::kDisabled;
  if (flags & 2) state = state | MControlState::kFocused;
  if (flags & 4) state = state | MControlState::kHighlighted;
  if (flags & 8) state = state | MControlState::kClicked;
  styled.state = state;
  styled.caption = Caption;
  styled.fontIndex = static_cast<int32_t>(Font);
}

void MControl::Paint(MDrawer& drawer) {
  MStyles* style = GetStyle();
  if (!style || ControlType == MControlType::kEmpty || ControlType == MControlType::kNoBackground) return;
  MStyledControl styled;
  FillStyled(styled);
  // A static is its text only, as rich text, centred vertically.
  if (ControlType == MControlType::kStatic) {
    if (!CaptionContent || ShownSizeX() <= 0) return;
    const int32_t height = CaptionContent->ComputeHeight(drawer, ShownSizeX());
    const int32_t top = OffsetY + std::max(0, (ShownSizeY() - height) / 2);
    CaptionContent->Paint(drawer, {OffsetX, top, OffsetX + ShownSizeX() - 1, top + height - 1});
    return;
  }
  style->PaintControl(drawer, styled);
}

void MControl::Repaint() { Repaint(ClipRect); }

void MControl::Repaint(const MRect& rect) {
  if (!IsVisibleControl()) return;
  const MRect clipped = rect.Intersect(ClipRect);
  if (clipped.IsEmpty()) return;
  MGlobalLock hold;
  MControl* window = WindowControl;
  window->Set(MControlFlag::kWindowNeedsRepaint, true);
  if (window->Has(MControlFlag::kRepaintAll)) return;
  PendingInvalidRect = Unite(PendingInvalidRect, Offset(clipped, -OffsetX, -OffsetY));
  window->WindowInvalidRect = Unite(window->WindowInvalidRect, clipped);
}

void MControl::CollectPass(const MRect& passed) {
  // `passed` is in this control's coordinates.
  InvalidRect = Unite(Unite(InvalidRect, PendingInvalidRect), passed);
  PendingInvalidRect = MRect{};
  Set(MControlFlag::kHasInvalidRect, !InvalidRect.IsEmpty());
  for (auto& child : Children) {
    if (!child->Has(MControlFlag::kVisible)) {
      child->InvalidRect = child->PendingInvalidRect = MRect{};
      child->Set(MControlFlag::kHasInvalidRect, false);
      continue;
    }
    const MRect childRect{child->PosX, child->PosY, child->PosX + child->ShownSizeX() - 1,
                          child->PosY + child->ShownSizeY() - 1};
    MRect down = InvalidRect.Intersect(childRect);
    if (IsCollapsed()) down = MRect{};
    child->CollectPass(down.IsEmpty() ? MRect{} : Offset(down, -child->PosX, -child->PosY));
  }
}

void MControl::PaintPass(MDrawer& drawer) {
  if (!Has(MControlFlag::kVisible) || ClipRect.IsEmpty()) return;
  MControl* window = WindowControl;
  const MRect touched = Offset(InvalidRect, OffsetX, OffsetY).Intersect(ClipRect);
  const bool all = window->Has(MControlFlag::kRepaintAll);
  if (all || !touched.IsEmpty()) {
    const MRect clip = all ? ClipRect : touched;
    drawer.SetClip(clip);
    Paint(drawer);
    PaintContent(drawer);
    window->updateList_.push_back(clip);
  }
  Set(MControlFlag::kPaintedLastTime, Has(MControlFlag::kRepainting));
  if (IsCollapsed()) return;
  for (auto& child : Children) child->PaintPass(drawer);
}

void MControl::ClearInvalid() {
  std::vector<MControl*> stack{this};
  while (!stack.empty()) {
    MControl* c = stack.back();
    stack.pop_back();
    c->InvalidRect = MRect{};
    c->Set(MControlFlag::kHasInvalidRect, false);
    for (auto& child : c->Children) stack.push_back(child.get());
  }
}

void MControl::PerformPaintDispatch(MDrawer& drawer) {
  Guarded("MControl::PerformPaintDispatch", [&] {
    MControl& window = *WindowControl;
    {
      // Other threads add pending rectangles under this lock.
      MGlobalLock hold;
      const MRect invalid = window.WindowInvalidRect;
      window.WindowInvalidRect = MRect{};
      window.Set(MControlFlag::kWindowNeedsRepaint, false);
      window.CollectPass(invalid);
    }
    window.updateList_.clear();
    drawer.SetStyle(window.style_);
    window.PaintPass(drawer);
    window.ClearInvalid();
    drawer.SetClip({0, 0, drawer.GetWidth() - 1, drawer.GetHeight() - 1});
  });
}

}  // namespace kx
