// MOffscreenHost: a window host without a screen. Each window's frame lives in
// an MBitmap; tests and tools deliver synthetic mouse and key events, advance
// a fake clock that runs the controls' timers and the repaint tick, and paint
// or save a frame on demand.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "gui/controls/control_types.h"
#include "gui/host/window_host.h"
#include "media/bitmap/bitmap.h"

namespace kx {

// The host record of one window (tag `W3WD`).
struct MOffscreenWindow {
  MBitmap frame;
  MPoint screenPos;
  MString title;
  bool shown = false;
  bool maximized = false;
  bool noCaption = false;
  bool toolWindow = false;
  MPoint restoreSize;
};

class MOffscreenHost : public MWindowHost {
 public:
  explicit MOffscreenHost(MRect workArea = {0, 0, 1919, 1039}, MRect screen = {0, 0, 1919, 1079})
      : workArea_(workArea), screen_(screen) {}
  ~MOffscreenHost() override;

  // Makes `window` a shown window of this host: host window, realised, laid
  // out and painted whole.
  void Open(MControl& window);

  // --- MWindowHost
  void CreateWindow(MControl& control, const MString& title, bool toolWindow, MPoint pos, MPoint size,
                    bool noCaption) override;
  void DestroyWindow(MControl& control) override;
  void ShowWindow(MControl& control, bool show) override;
  void MoveResize(MControl& control, MPoint pos, MPoint size) override;
  MRect GetWorkArea(const MControl&) const override { return workArea_; }
  MRect GetScreenArea() const override { return screen_; }
  bool IsMaximized(const MControl& window) const override;
  void Maximize(MControl& window) override;
  void SetCapture(MControl&, bool on) override { captured_ = on; }
  uint32_t GetKeyboardFlags() const override { return keyboardFlags_; }
  void SetCursor(int32_t id) override { cursor_ = id; }
  // No loop can block here: the scripted modal body runs once, then the
  // stored value is returned (0 when nobody ended the loop).
  int32_t RunModal(MControl& window) override;
  void EndModal(MControl& window, int32_t value) override;
  int32_t ProcessMessages() override { return 0; }
  void RepaintNow(MControl& window, const MRect& rect) override;
  MPoint ClientToScreen(const MControl& window, MPoint point) const override;
  MPoint ScreenToClient(const MControl& window, MPoint point) const override;
  int64_t Now() const override { return now_; }

  // --- driving
  // A mouse event at window coordinates; answers "handled".
  bool Mouse(MControl& window, int32_t kind, int32_t x, int32_t y, uint32_t flags = 0);
  // A left click: down and up at one point.
  void Click(MControl& window, int32_t x, int32_t y);
  // Key down, then key up.
  bool Key(MControl& window, int32_t key, uint32_t flags = 0);
  // Moves the clock on: due timers tick (each as often as its period fits),
  // then every window that asked for a repaint is painted.
  void Advance(int64_t milliseconds);
  // Paints what is invalid now; `all` paints the whole frame.
  void Paint(MControl& window, bool all = false);
  const MBitmap& Frame(const MControl& window) const;
  void SavePNG(const MControl& window, const MString& path) const;

  void SetKeyboardFlags(uint32_t flags) { keyboardFlags_ = flags; }
  void SetModalBody(std::function<void(MControl&)> body) { modalBody_ = std::move(body); }
  const std::vector<MControl*>& Windows() const { return windows_; }
  int32_t PaintCount() const { return paints_; }

 private:
  MOffscreenWindow& Record(const MControl& window) const;

  MRect workArea_, screen_;
  std::vector<MControl*> windows_;
  int64_t now_ = 0;
  uint32_t keyboardFlags_ = 0;
  int32_t cursor_ = 0;
  bool captured_ = false;
  int32_t paints_ = 0;
  std::function<void(MControl&)> modalBody_;
};

}  // namespace kx
