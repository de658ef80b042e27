// Input: hit testing, the dispatch of mouse and keyboard events through a
// window, focus and tab order, the default button and shortcuts, timers,
// capture and drag and drop inside a window.
#include <algorithm>
#include <cmath>
#include <vector>

#include "foundation/core/exception.h"
#include "gui/controls/control.h"
#include "gui/host/window_host.h"

namespace kx {

namespace {

constexpr int32_t kKeyTab = 9, kKeyEnter = 13, kKeyEscape = 27, kKeyF1 = 112, kKeyH = 72;

bool IsDown(int32_t kind) { return kind == kEventLeftDown || kind == kEventRightDown || kind == kEventMiddleDown; }

}  // namespace

bool MControl::ContainsPoint(MPoint p) const {
  if (!ClipRect.Contains(p.x, p.y)) return false;
  if (!Has(MControlFlag::kRound)) return true;
  const double cx = OffsetX + (ShownSizeX() - 1) / 2.0, cy = OffsetY + (ShownSizeY() - 1) / 2.0;
  const double radius = std::min(ShownSizeX(), ShownSizeY()) / 2.0;
  return std::hypot(p.x - cx, p.y - cy) <= radius;
}

MControl* MControl::ControlAtPoint(MPoint p, bool enabledOnly) {
  if (!ContainsPoint(p)) return nullptr;
  MControl* at = this;
  for (bool descended = true; descended;) {
    descended = false;
    if (at->IsCollapsed()) break;
    for (auto it = at->Children.rbegin(); it != at->Children.rend(); ++it) {
      MControl* child = it->get();
      if (!child->Has(MControlFlag::kVisible) || child->Has(MControlFlag::kMouseTransparent)) continue;
      if (enabledOnly && !child->Has(MControlFlag::kEnabled)) continue;
      if (!child->ContainsPoint(p)) continue;
      at = child;
      descended = true;
      break;
    }
  }
  return at;
}

void MControl::SetHover(MControl* control) {
  MControl* window = WindowControl;
  MControl* old = window->HoverControl;
  if (old == control) return;
  if (old) {
    old->Set(MControlFlag::kHover, false);
    old->Repaint();
  }
  window->HoverControl = control;
  if (control) {
    control->Set(MControlFlag::kHover, true);
    control->Repaint();
  }
}

bool MControl::PreviewEvent(MInputEvent& event) {
  // Clicks end a drag that lost its button.
  if (IsDown(event.Kind)) Set(MControlFlag::kInDrag, false);
  return false;
}

bool MControl::OnMouse(MInputEvent& event) {
  switch (event.Kind) {
    case kEventLeftDown:
    case kEventLeftDouble:
      if (CanBeTabbedTo()) SetFocus();
      if (Has(MControlFlag::kTabStop)) {
        Set(MControlFlag::kPressed, true);
        Repaint();
        return true;
      }
      return false;
    case kEventLeftUp:
      if (Has(MControlFlag::kPressed)) {
        Set(MControlFlag::kPressed, false);
        Repaint();
        if (ContainsPoint({event.MouseX, event.MouseY})) Activate();
        return true;
      }
      return false;
    case kEventRightUp:
      if (!Has(MControlFlag::kDragRight)) return false;
      return true;
    case kEventMiddleUp:
      return Has(MControlFlag::kDragMiddle);
    default:
      return false;
  }
}

void MControl::OnContextMenu(MInputEvent&) {
  // The help menu ("Help", "Displays information about the control.") needs
  // the menu control; the request reaches OnHelpRequested meanwhile.
  OnHelpRequested();
}

bool MControl::DispatchMouse(MInputEvent& event) {
  const MPoint point{event.MouseX, event.MouseY};
  MControl* target = ControlAtPoint(point, true);
  if (event.Kind != kEventLeave) SetHover(target);
  else SetHover(nullptr);
  event.Control = target;
  if (event.Kind != kEventLeftUp && !MouseEvents.Raise(event)) return true;
  MControl* source = Module->dragging;
  if (source && source->WindowControl == this) {
    if (event.Kind == kEventMove && target) {
      const MPoint local = target->WindowToControl(point);
      target->OnDragOver(source, Module->dragType, local);
      return true;
    }
    if (event.Kind == kEventLeftUp) {
      FinishDragDrop(point);
      MouseUpEvents.Raise(event);
      return true;
    }
  }
  bool handled = false;
  MControl* at = this;
  while (at && !handled) {
    at->LastMouse = at->WindowToControl(point);
    if (at->PreviewEvent(event)) {
      handled = true;
      break;
    }
    MControl* next = at->PathChild;
    if (!next && at != target && target) {
      // The child of `at` on the way to the target.
      next = target;
      while (next && next->Parent != at) next = next->Parent;
    }
    if (!next) {
      handled = at->OnMouse(event);
      break;
    }
    at = next;
  }
  // A pressed control hears its release even when the pointer left it.
  if (!handled && event.Kind == kEventLeftUp) {
    std::vector<MControl*> stack{this};
    while (!stack.empty() && !handled) {
      MControl* c = stack.back();
      stack.pop_back();
      if (c->Has(MControlFlag::kPressed)) handled = c->OnMouse(event);
      for (auto& child : c->Children) stack.push_back(child.get());
    }
  }
  if (event.Kind == kEventLeftUp) MouseUpEvents.Raise(event);
  if (!handled && (event.Kind == kEventRightDown || event.Kind == kEventMiddleDown)) handled = true;
  return handled;
}

bool MControl::DispatchKeyboard(MInputEvent& event) {
  if (!KeyboardEvents.Raise(event)) return true;
  MControl* focused = KeyboardFocus;
  event.Control = focused;
  for (MControl* c = focused; c; c = c->Parent) {
    if (c->PreviewEvent(event)) return true;
  }
  if (event.Kind == kEventKeyDown && !KeyEvents.Raise(event)) return true;
  if (event.Kind != kEventKeyDown) return false;
  const bool ctrl = (event.Flags & kFlagCtrl) != 0;
  if (Has(MControlFlag::kHandlesHelp) && (event.Key == kKeyF1 || (event.Key == kKeyH && ctrl))) {
    MControl* under = ControlAtPoint(LastMouse, false);
    (under ? under : this)->OnHelpRequested();
    return true;
  }
  for (const MShortcut& shortcut : ShortcutTable) {
    if (shortcut.target && shortcut.Matches(event.Key, event.Flags) &&
        shortcut.target->IsVisibleControl() && shortcut.target->IsEnabledPath()) {
      shortcut.target->Activate();
      return true;
    }
  }
  if (event.Key == kKeyEnter && DefaultButton && DefaultButton->IsEnabledPath()) {
    DefaultButton->Activate();
    return true;
  }
  if (event.Key == kKeyTab) {
    MoveFocus((event.Flags & kFlagShift) == 0);
    return true;
  }
  if (event.Key == kKeyEscape && Has(MControlFlag::kCloseOnEscape)) {
    if (Has(MControlFlag::kModalRunning)) EndModal(2);
    else Hide();
    return true;
  }
  return false;
}

bool MControl::DispatchEvent(MInputEvent& event) {
  MControl& window = *WindowControl;
  bool handled = false;
  Guarded("MWindowProc (messages)", [&] {
    if (event.Kind < kEventKeyDown) {
      window.LastMouse = {event.MouseX, event.MouseY};
      handled = window.DispatchMouse(event);
    } else {
      handled = window.DispatchKeyboard(event);
    }
  });
  event.Consumed = handled;
  return handled;
}

// ---------------------------------------------------------------- focus

void MControl::SetFocus() {
  MControl* window = WindowControl;
  MControl* old = window->KeyboardFocus;
  if (old == this) return;
  window->KeyboardFocus = this;
  for (MControl* c = this; c->Parent; c = c->Parent) c->Parent->FocusedChild = c;
  if (old) old->Repaint();
  Repaint();
}

void MControl::MoveFocus(bool forward) {
  MControl* window = WindowControl;
  std::vector<MControl*> order;
  std::vector<MControl*> stack{window};
  while (!stack.empty()) {
    MControl* c = stack.back();
    stack.pop_back();
    if (c != window && c->CanBeTabbedTo()) order.push_back(c);
    if (!c->Has(MControlFlag::kVisible) || c->IsCollapsed()) continue;
    for (auto it = c->Children.rbegin(); it != c->Children.rend(); ++it) stack.push_back(it->get());
  }
  if (order.empty()) return;
  const auto current = std::find(order.begin(), order.end(), window->KeyboardFocus);
  size_t index;
  if (current == order.end()) index = forward ? 0 : order.size() - 1;
  else {
    const size_t at = static_cast<size_t>(current - order.begin());
    index = forward ? (at + 1) % order.size() : (at + order.size() - 1) % order.size();
  }
  order[index]->SetFocus();
}

void MControl::SetDefaultButton(MControl* button) { WindowControl->DefaultButton = button; }

// ---------------------------------------------------------------- timers

void MControl::StartTimer(int32_t id, int32_t period, std::function<void()> tick) {
  MWindowHost* host = GetHost();
  const int64_t now = host ? host->Now() : 0;
  for (MTimerRecord& timer : Timers) {
    if (timer.id == id) {
      // Starting a running timer starts it anew.
      timer = MTimerRecord{id, std::max(1, period), now + std::max(1, period), true, std::move(tick)};
      return;
    }
  }
  Timers.push_back(MTimerRecord{id, std::max(1, period), now + std::max(1, period), true, std::move(tick)});
}

void MControl::StopTimer(int32_t id) {
  for (MTimerRecord& timer : Timers) {
    if (timer.id == id) timer.running = false;
  }
}

// ---------------------------------------------------------------- capture, drag and drop

void MControl::SetCapture(bool on) {
  if (on) {
    for (MControl* c = this; c->Parent; c = c->Parent) c->Parent->PathChild = c;
  } else {
    for (MControl* c = &GetRoot(); c;) {
      MControl* next = c->PathChild;
      c->PathChild = nullptr;
      c = next;
    }
  }
  if (MWindowHost* host = GetHost()) host->SetCapture(*WindowControl, on);
}

void MControl::StartDragDrop(const MString& type) {
  Guarded("MControl::StartDragDrop", [&] {
    Module->dragging = this;
    Module->dragType = type;
    for (MControl* c = this; c; c = c->Parent) c->PathChild = nullptr;
    Set(MControlFlag::kInDrag, true);
    if (MWindowHost* host = GetHost()) host->SetCapture(*WindowControl, false);
  });
}

void MControl::FinishDragDrop(MPoint windowPoint) {
  MControl* source = Module->dragging;
  if (!source) return;
  const MString type = Module->dragType;
  MControl* target = nullptr;
  int32_t accepted = 0;
  Guarded("MControl::FinishDragDrop", [&] { Module->dragging = nullptr; });
  Guarded("MControl::FinishDragDrop", [&] {
    target = source->WindowControl->ControlAtPoint(windowPoint, true);
    if (target) accepted = target->OnDragAccept(source, type, target->WindowToControl(windowPoint));
  });
  Guarded("MControl::FinishDragDrop", [&] {
    const MPoint local = target ? target->WindowToControl(windowPoint) : windowPoint;
    source->OnDragDrop(target, type, local, accepted);
  });
  Guarded("MControl::FinishDragDrop", [&] {
    source->Set(MControlFlag::kInDrag, false);
    if (target) target->Set(MControlFlag::kInDrag, false);
    source->PathChild = nullptr;
    if (target) target->PathChild = nullptr;
    source->Repaint();
  });
}

}  // namespace kx
