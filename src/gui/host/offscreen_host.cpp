#include "gui/host/offscreen_host.h"

#include <algorithm>

#include "foundation/core/exception.h"
#include "foundation/streams/file_stream.h"
#include "gui/controls/control.h"
#include "gui/drawing/drawer_to_bitmap.h"

namespace kx {

MOffscreenHost::~MOffscreenHost() {
  // Windows may outlive the host: their records go, their flags say so.
  for (MControl* window : windows_) {
    window->Tags.Remove(kTagWindowHost);
    window->Set(MControlFlag::kShown, false);
    window->host_ = nullptr;
  }
}

MOffscreenWindow& MOffscreenHost::Record(const MControl& window) const {
  auto* record = static_cast<MOffscreenWindow*>(window.WindowControl->Tags.GetPointer(kTagWindowHost));
  if (!record) throw MException(MString("The control has no window."));
  return *record;
}

void MOffscreenHost::CreateWindow(MControl& control, const MString& title, bool toolWindow, MPoint pos,
                                  MPoint size, bool noCaption) {
  auto* record = new MOffscreenWindow;
  record->title = title;
  record->toolWindow = toolWindow;
  record->noCaption = noCaption;
  record->screenPos = noCaption ? MPoint{0, 0} : pos;
  control.Tags.SetOwned(kTagWindowHost, record);
  control.PosX = record->screenPos.x;
  control.PosY = record->screenPos.y;
  if (size.x > 0 && size.y > 0) {
    control.SizeX = size.x;
    control.SizeY = size.y;
  }
  control.Set(MControlFlag::kShown, true);
  if (std::find(windows_.begin(), windows_.end(), &control) == windows_.end()) windows_.push_back(&control);
}

void MOffscreenHost::DestroyWindow(MControl& control) {
  control.Tags.Remove(kTagWindowHost);
  std::erase(windows_, &control);
}

void MOffscreenHost::ShowWindow(MControl& control, bool show) { Record(control).shown = show; }

void MOffscreenHost::MoveResize(MControl& control, MPoint pos, MPoint size) {
  MOffscreenWindow& record = Record(control);
  record.screenPos = pos;
  control.PosX = pos.x;
  control.PosY = pos.y;
  if (size.x != control.SizeX || size.y != control.SizeY) control.SetSize(size.x, size.y);
}

bool MOffscreenHost::IsMaximized(const MControl& window) const { return Record(window).maximized; }

void MOffscreenHost::Maximize(MControl& window) {
  MOffscreenWindow& record = Record(window);
  record.restoreSize = {window.SizeX, window.SizeY};
  record.maximized = true;
  MoveResize(window, {workArea_.left, workArea_.top}, {workArea_.Width(), workArea_.Height()});
}

void MOffscreenHost::Open(MControl& window) {
  if (!window.IsWindow()) throw MException(MString("Only a top-level control can be opened as a window."));
  CreateWindow(window, window.Caption, false, {window.PosX, window.PosY}, {window.SizeX, window.SizeY}, false);
  window.Realise();
  Record(window).shown = true;
  // The first show restores what the last close saved.
  const MString& folder = window.Module->stateFolder;
  if (window.Has(MControlFlag::kAutoSaveState) && !folder.IsEmpty())
    Guarded("MOffscreenHost::Open", [&] { window.LoadWindowState(folder); });
  window.Set(MControlFlag::kVisible, true);
  window.Layout();
  Paint(window, true);
}

int32_t MOffscreenHost::RunModal(MControl& window) {
  window.ModalResult = 0;
  window.Set(MControlFlag::kModalRunning, true);
  if (!window.Has(MControlFlag::kShown)) Open(window);
  if (modalBody_) Guarded("MOffscreenHost::RunModal", [&] { modalBody_(window); });
  window.Set(MControlFlag::kModalRunning, false);
  return window.ModalResult;
}

void MOffscreenHost::EndModal(MControl& window, int32_t value) {
  if (window.ModalResult == 0) window.ModalResult = value;
  window.Set(MControlFlag::kModalRunning, false);
}

void MOffscreenHost::RepaintNow(MControl& window, const MRect& rect) {
  window.Repaint(rect);
  Paint(window);
}

MPoint MOffscreenHost::ClientToScreen(const MControl& window, MPoint p) const {
  const MPoint at = Record(window).screenPos;
  return {p.x + at.x, p.y + at.y};
}

MPoint MOffscreenHost::ScreenToClient(const MControl& window, MPoint p) const {
  const MPoint at = Record(window).screenPos;
  return {p.x - at.x, p.y - at.y};
}

bool MOffscreenHost::Mouse(MControl& window, int32_t kind, int32_t x, int32_t y, uint32_t flags) {
  MInputEvent event;
  event.Kind = kind;
  event.MouseX = x;
  event.MouseY = y;
  event.Flags = flags | keyboardFlags_;
  return window.DispatchEvent(event);
}

void MOffscreenHost::Click(MControl& window, int32_t x, int32_t y) {
  Mouse(window, kEventMove, x, y);
  Mouse(window, kEventLeftDown, x, y, kFlagLeftButton);
  Mouse(window, kEventLeftUp, x, y);
}

bool MOffscreenHost::Key(MControl& window, int32_t key, uint32_t flags) {
  MInputEvent down;
  down.Kind = kEventKeyDown;
  down.Key = key;
  down.Flags = flags | keyboardFlags_;
  const bool handled = window.DispatchEvent(down);
  MInputEvent up = down;
  up.Kind = kEventKeyUp;
  up.Consumed = false;
  up.Result = 0;
  window.DispatchEvent(up);
  return handled;
}

void MOffscreenHost::Advance(int64_t milliseconds) {
  const int64_t target = now_ + std::max<int64_t>(0, milliseconds);
  // Ticks in time order across all timers, so periods interleave as on a clock.
  while (true) {
    MControl* owner = nullptr;
    int32_t id = 0;
    int64_t due = target + 1;
    for (MControl* window : windows_) {
      std::vector<MControl*> stack{window};
      while (!stack.empty()) {
        MControl* c = stack.back();
        stack.pop_back();
        for (const MTimerRecord& timer : c->Timers) {
          if (timer.running && timer.due < due) {
            due = timer.due;
            owner = c;
            id = timer.id;
          }
        }
        for (auto& child : c->Children) stack.push_back(child.get());
      }
    }
    if (!owner) break;
    now_ = due;
    for (MTimerRecord& timer : owner->Timers) {
      if (timer.id != id || !timer.running) continue;
      timer.due += timer.period;
      std::function<void()> tick = timer.tick;
      if (tick) Guarded("MWindows::OnTimer", [&] { tick(); });
      break;
    }
  }
  now_ = target;
  for (MControl* window : std::vector<MControl*>(windows_)) {
    if (window->Has(MControlFlag::kWindowNeedsRepaint)) Paint(*window);
  }
}

void MOffscreenHost::Paint(MControl& window, bool all) {
  MOffscreenWindow& record = Record(window);
  const int32_t w = std::max(1, window.SizeX), h = std::max(1, window.SizeY);
  if (record.frame.Width() != w || record.frame.Height() != h) {
    record.frame.Create(w, h);
    // A window surface starts opaque black, as a screen would show it.
    std::fill(record.frame.Pixels(), record.frame.Pixels() + int64_t{w} * h, 0xFF000000u);
    all = true;
  }
  if (all) {
    window.WindowInvalidRect = {0, 0, w - 1, h - 1};
    window.Set(MControlFlag::kWindowNeedsRepaint, true);
  }
  MDrawerToMBitmap drawer(record.frame);
  window.PerformPaintDispatch(drawer);
  ++paints_;
}

const MBitmap& MOffscreenHost::Frame(const MControl& window) const { return Record(window).frame; }

void MOffscreenHost::SavePNG(const MControl& window, const MString& path) const {
  MFileStream out(path, MFileStream::kModeCreate);
  Record(window).frame.SavePNG(out);
}

}  // namespace kx
