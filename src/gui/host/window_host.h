// MWindowHost: what the toolkit asks of the window system. A top-level control
// becomes a host window through CreateWindow; everything else the controls
// need (size, capture, cursor, modal loops, the repaint of a rectangle, screen
// conversions, timers) goes through these operations. The offscreen host
// (offscreen_host.h) implements it for tests and tools; the platform host
// implements it on a real screen.
#pragma once

#include <cstdint>

#include "foundation/text/text_string.h"
#include "gui/drawing/drawing_types.h"

namespace kx {

class MControl;

class MWindowHost {
 public:
  virtual ~MWindowHost() = default;

  // Makes `control` a host window (its `W3WD` record) and marks it `Shown`.
  virtual void CreateWindow(MControl& control, const MString& title, bool toolWindow, MPoint pos,
                            MPoint size, bool noCaption) = 0;
  virtual void DestroyWindow(MControl& control) = 0;
  virtual void ShowWindow(MControl& control, bool show) = 0;
  virtual void MoveResize(MControl& control, MPoint pos, MPoint size) = 0;
  // The usable part of the screen the window is on, and the whole screen.
  virtual MRect GetWorkArea(const MControl& window) const = 0;
  virtual MRect GetScreenArea() const = 0;
  virtual bool IsMaximized(const MControl& window) const = 0;
  virtual void Maximize(MControl& window) = 0;
  virtual void SetCapture(MControl& window, bool on) = 0;
  virtual uint32_t GetKeyboardFlags() const = 0;
  virtual void SetCursor(int32_t id) = 0;
  // Runs the window's modal loop until EndModal; returns the modal value.
  virtual int32_t RunModal(MControl& window) = 0;
  virtual void EndModal(MControl& window, int32_t value) = 0;
  virtual int32_t ProcessMessages() = 0;
  // Paints `rect` (window coordinates) of the window now.
  virtual void RepaintNow(MControl& window, const MRect& rect) = 0;
  virtual MPoint ClientToScreen(const MControl& window, MPoint point) const = 0;
  virtual MPoint ScreenToClient(const MControl& window, MPoint point) const = 0;
  // The host's clock in milliseconds, which timers run on.
  virtual int64_t Now() const = 0;
};

}  // namespace kx
