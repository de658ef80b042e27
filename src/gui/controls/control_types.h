// The small types of the control model: the enumerations that attributes name,
// the bit flags, the input event record, event sources, timers and shortcuts.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

namespace kx {

class MControl;

// `controltype`: the word selects the style element family that draws a control.
enum class MControlType : uint8_t {
  kEmpty, kNoBackground, kWindow, kPanel, kControl, kDisplay, kEditor, kStatic, kButton,
  kCaptionButton, kCheckBox, kTracker, kVTracker, kRotator, kKnob, kHScrollBar, kVScrollBar,
  kEdit, kSwitcher, kValue, kSelector, kProgressBar, kTabSet, kMenu, kMenuBar,
};
inline constexpr int kControlTypeCount = 25;
extern const char* const kControlTypeWords[kControlTypeCount];

enum class MCaptionType : uint8_t { kNone, kSmall, kNormal, kLarge };
extern const char* const kCaptionTypeWords[4];

enum class MFontKind : uint8_t { kNormal, kBold, kItalic, kSmall, kLarge1, kLarge2, kLarge3, kLarge4 };
extern const char* const kFontWords[8];

// The index of `word` in `words`, `fallback` when absent or empty.
int WordIndex(const char* const* words, int count, const char* word, int fallback);

// The control's boolean state, one bit each.
enum class MControlFlag : uint8_t {
  kShown, kVisible, kLayoutManaged, kHasLayouts, kRound, kMouseTransparent,
  kForwardsNonClientToParent, kModalRunning, kConfirmClose, kAcceptsFiles, kResizableX,
  kResizableY, kHandlesHelp, kDragLeft, kDragRight, kDragMiddle, kInDrag, kRepainting,
  kPaintedLastTime, kRepaintAll, kHasInvalidRect, kWindowNeedsRepaint, kEnabled,
  kEnabledSubControls, kTabStop, kAutoDetectMinimalSizeX, kAutoDetectMinimalSizeY,
  kOverlayControl, kPlastic, kPlasticAdaptSize, kCollapsable, kSaveRatioX, kSaveRatioY,
  kFillsRemainder, kNotCounted, kCloseOnEscape, kMoveToScreenCenter, kAutoSaveState,
  kSaveWindowPos, kSaveWindowSize, kEnableSaveState, kSaveSubControlState, kLayoutEnabled,
  kHover, kPressed, kMaximized, kWantsDoubleClicks,
};

// `Help` flags.
enum MHelpFlags : uint8_t {
  kHelpHasHelp = 1,
  kHelpUseParentHelp = 2,
  kHelpRoot = 4,
  kHelpShowSubControlHelp = 8,
};

// Event kinds: mouse 0-12, keyboard 13-15, focus 18.
enum MEventKind : int32_t {
  kEventLeftDown = 0, kEventRightDown, kEventMiddleDown, kEventLeftUp, kEventRightUp,
  kEventMiddleUp, kEventLeftDouble, kEventRightDouble, kEventMiddleDouble, kEventMove,
  kEventWheel, kEventEnter, kEventLeave, kEventKeyDown, kEventKeyUp, kEventChar,
  kEventFocus = 18,
};

// Modifier bits of `Flags`.
enum MEventFlags : uint32_t {
  kFlagLeftButton = 1, kFlagMiddleButton = 2, kFlagRightButton = 4,
  kFlagCtrl = 16, kFlagAlt = 32, kFlagShift = 64,
};

struct MInputEvent {
  MControl* Control = nullptr;
  int32_t Kind = 0;
  int32_t MouseX = 0, MouseY = 0;  // window coordinates when dispatched
  uint32_t Flags = 0;
  int32_t Key = 0;
  int32_t Delta = 0;
  bool Consumed = false;
  int32_t Result = 0;  // a subscriber writes -1 to stop further processing
};

// A list of subscribers ("mouse", "keyboard", "mouse up", "key"). Raise answers
// false when a subscriber stopped the event.
class MControlEventSource {
 public:
  using Handler = std::function<void(MInputEvent&)>;
  int32_t Add(Handler handler);
  void Remove(int32_t id);
  bool Raise(MInputEvent& event) const;
  bool Empty() const { return handlers_.empty(); }

 private:
  std::vector<std::pair<int32_t, Handler>> handlers_;
  int32_t nextId_ = 1;
};

// A timer as a record: the host ticks it on its clock.
struct MTimerRecord {
  int32_t id = 0;
  int32_t period = 0;  // milliseconds
  int64_t due = 0;     // host clock
  bool running = false;
  std::function<void()> tick;
};

// A keyboard shortcut: `key` with the flags selected by `flagMask`, all of them
// (`matchAny` false) or any of them.
struct MShortcut {
  int32_t key = 0;
  uint32_t flagMask = 0;
  bool matchAny = false;
  MControl* target = nullptr;

  bool Matches(int32_t pressed, uint32_t flags) const {
    if (pressed != key) return false;
    const uint32_t held = flags & (kFlagCtrl | kFlagAlt | kFlagShift);
    return matchAny ? (flagMask == 0 || (held & flagMask) != 0) : held == flagMask;
  }
};

}  // namespace kx
