// MControl: the one base of everything on screen. A user interface is a tree of
// controls built by code or from definition trees (control_factory.h); each
// control keeps a string ID by which its state is saved and found, its look
// comes from its window's style, and its children are placed by its layouts
// (gui/layout/). The tree belongs to the GUI thread; only Repaint may be
// called from other threads.
//
// Coordinates: `PosX`, `PosY` lie in the parent's own coordinates (chrome
// included), `OffsetX`, `OffsetY` are the control's top left in window
// coordinates, `ClientRect` is the inside of the chrome in the control's own
// coordinates and `ClipRect` its visible part in window coordinates.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

#include "foundation/text/text_string.h"
#include "gui/controls/control_types.h"
#include "gui/controls/tag_table.h"
#include "gui/drawing/drawing_types.h"

namespace kx {

class MDrawer;
class MContent;
class MLayout;
class MStyles;
class MWindowHost;
class MXMLItem;
struct MStyledControl;

inline constexpr int32_t kNoSizeLimit = 0x7FFFFFFF;
inline constexpr uint8_t kPlacementFill = 16;
// Coordinates and sizes are held inside this range so that sums of thousands
// of members cannot overflow.
inline constexpr int32_t kMaxExtent = 1 << 26;

// A parameter object of a value control ("int", "volume", ...): its element
// name and the attributes it was given.
struct MParameterObject {
  MString kind;
  MString name;
  double value = 0;
};

// The application-wide GUI record.
struct MGUIModule {
  MControl* dragging = nullptr;
  MString dragType;
  MControl* inputControl = nullptr;  // FlushMessagesOfThisWindow
  bool noWorkAreaLimit = false;
  int32_t sizeStep = 1;
  // Where "Window_{0}.winstate" files live (the user data folder); empty:
  // windows neither save nor restore their state on their own.
  MString stateFolder;
};
MGUIModule& GUIModule();

class MControl {
 public:
  MControl();
  virtual ~MControl();
  MControl(const MControl&) = delete;
  MControl& operator=(const MControl&) = delete;

  // --- virtual operations, in their slot order
  virtual int32_t GetClassification() const { return 0; }
  virtual MString GetDefaultPresetName() const;
  virtual void SavePreset(MXMLItem& node);
  virtual void LoadPreset(MXMLItem& node);
  virtual void OnStyleChanged() {}
  virtual void ReadAttributes(MXMLItem& node);
  virtual void Realise();
  virtual void Unrealise();
  virtual void ComputeBorders();
  virtual void OnDefinitionLoaded() {}
  virtual MPoint GetMinimalContentSize() { return {0, 0}; }
  virtual int32_t GetResizability();
  // Plastic controls: the height for `width` (axis vertical) or the width for
  // `height`.
  virtual int32_t ComputePlasticSize(bool vertical, int32_t other);
  virtual void OnParentChanged() {}
  virtual void ComputeGeometry();
  virtual void OnSize() {}
  virtual uint32_t GetPaintFlags() const;
  virtual void Paint(MDrawer& drawer);
  virtual void PaintContent(MDrawer&) {}
  virtual void Repaint();
  virtual void Actualise() { Repaint(); }
  virtual void WriteDocumentation(MXMLItem& node);
  virtual int32_t GetHelpKind() const { return 0; }
  virtual void Reset();
  virtual void OnHelpRequested() {}
  virtual bool PreviewEvent(MInputEvent& event);
  virtual bool OnMouse(MInputEvent& event);
  virtual void OnContextMenu(MInputEvent& event);
  virtual bool QueryClose();
  virtual void OnClose() {}
  virtual int32_t OnDragOver(MControl* source, const MString& type, MPoint pos);
  virtual int32_t OnDragAccept(MControl* source, const MString& type, MPoint pos);
  virtual void OnDragDrop(MControl*, const MString&, MPoint, int32_t) {}
  virtual int32_t HitTestNonClient(MPoint pos);
  virtual void Hide();
  virtual void QueueRepaint();
  virtual int32_t RunModal();
  virtual void EndModal(int32_t value);
  virtual void SetMinimalSize(int32_t x, int32_t y);
  virtual bool CanBeTabbedTo() const;
  virtual MString GetSaveName() const { return ID; }
  virtual int32_t OnFilesDropped(const std::vector<MString>& names);
  virtual void SaveState(MXMLItem& node);
  virtual void LoadState(MXMLItem& node);
  virtual void ApplyColors() {}
  // Beyond the slot table: a button's action (default button, shortcuts).
  virtual void Activate();
  // The caption's need along each side (left, top, right, bottom); 0 on a
  // control without caption or style.
  virtual MRect GetChrome() const;

  // --- tree
  // Takes ownership of `child` and appends it; realised at once if this control
  // is shown.
  MControl& AddChild(std::unique_ptr<MControl> child);
  // Unlinks `child` from this control and any layout and hands it back.
  std::unique_ptr<MControl> RemoveChild(MControl& child);
  // Adopts a top-level control owned by this one.
  MControl& AddSubWindow(std::unique_ptr<MControl> window);
  MLayout& AddLayout(std::unique_ptr<MLayout> layout);
  MControl* FindByID(const MString& id);
  MControl& GetRoot();
  bool IsWindow() const { return WindowControl == this; }
  // Makes this control a top-level control with its own style and host.
  void MakeWindow(MStyles* style, MWindowHost* host, double scale = 1.0);
  MStyles* GetStyle() const;
  MWindowHost* GetHost() const;

  // --- flags
  bool Has(MControlFlag flag) const { return (flags_ >> static_cast<int>(flag)) & 1u; }
  void Set(MControlFlag flag, bool on) {
    const uint64_t bit = uint64_t{1} << static_cast<int>(flag);
    flags_ = on ? flags_ | bit : flags_ & ~bit;
  }
  bool IsVisibleControl() const;  // visible through every parent
  bool IsEnabledPath() const;     // enabled through every parent
  bool IsCollapsed() const { return *Collapsed; }
  // The size as shown: a collapsed control keeps SizeY for when it opens.
  int32_t ShownSizeX() const { return IsCollapsed() ? std::max(SizeX, CollapsedSizeX) : SizeX; }
  int32_t ShownSizeY() const { return IsCollapsed() ? CollapsedSizeY : SizeY; }
  // Several controls may share one collapse state.
  void ShareCollapsed(std::shared_ptr<bool> state) { Collapsed = std::move(state); }

  // --- everyday operations
  void SetVisible(bool visible);
  void SetEnabled(bool enabled);
  void SetCollapsed(bool collapsed);
  void SetCaption(const MString& caption);
  void SetClientLayoutChild(MControl* child);
  // Recomputes the window (on the window) or this subtree (on a child).
  void Layout();
  // Sets the size; below 1 in either dimension resets it to the minimal size.
  void SetSize(int32_t x, int32_t y);
  MPoint ClientToScreen(MPoint point) const;
  MPoint ScreenToClient(MPoint point) const;
  // Window coordinates to this control's own and back.
  MPoint WindowToControl(MPoint point) const { return {point.x - OffsetX, point.y - OffsetY}; }
  MPoint ControlToWindow(MPoint point) const { return {point.x + OffsetX, point.y + OffsetY}; }
  int32_t ScaleX(double v) const;
  int32_t ScaleY(double v) const;
  double Scale() const;

  // --- geometry (layout_geometry.cpp)
  void ComputeMinimalSize();
  void PlaceInRectangle(const MRect& rect);
  // Places this control's children by its layouts and client child, then theirs.
  void PlaceChildren();
  void UpdateOffsets();
  // Fits a window to its minimal size and the work area of its host.
  void FitWindowToWorkArea();

  // --- invalidation and painting (control_paint.cpp)
  void Repaint(const MRect& rect);  // window coordinates
  void PerformPaintDispatch(MDrawer& drawer);
  const std::vector<MRect>& UpdateList() const { return updateList_; }

  // --- input (control_input.cpp)
  bool ContainsPoint(MPoint windowPoint) const;
  MControl* ControlAtPoint(MPoint windowPoint, bool enabledOnly);
  // The whole dispatch of one event on a window; answers "handled".
  bool DispatchEvent(MInputEvent& event);
  void SetFocus();
  MControl* GetKeyboardFocus() const { return WindowControl->KeyboardFocus; }
  // Tab order: the next (or previous) control that can be tabbed to.
  void MoveFocus(bool forward);
  void SetDefaultButton(MControl* button);
  void AddShortcut(const MShortcut& shortcut) { WindowControl->ShortcutTable.push_back(shortcut); }
  void StartTimer(int32_t id, int32_t period, std::function<void()> tick);
  void StopTimer(int32_t id);
  void StartDragDrop(const MString& type);
  void FinishDragDrop(MPoint windowPoint);
  void SetCapture(bool on);

  // --- state and documents (control_state.cpp)
  void SaveWindowState(const MString& folder);
  bool LoadWindowState(const MString& folder);
  void WriteControlStructure(MXMLItem& node);
  // The STML help document of this control, or the "no help" sentence.
  MString BuildContextHelp();

  // ---------------------------------------------------------------- fields
  MTagTable Tags;
  MString ID;
  MGUIModule* Module = nullptr;
  MControl* WindowControl = this;
  MControl* Parent = nullptr;
  std::vector<std::unique_ptr<MControl>> Children;
  std::vector<std::unique_ptr<MControl>> SubWindows;

  int32_t PosX = 0, PosY = 0, SizeX = 0, SizeY = 0;
  // The size asked for by the definition or by SetSize, device pixels. Layouts
  // measure fixed members by it, never by the size the last run gave them, so
  // that a run does not feed into the next.
  int32_t AskedSizeX = 0, AskedSizeY = 0;
  int32_t MinSizeX = 0, MinSizeY = 0;
  int32_t MaxSizeX = kNoSizeLimit, MaxSizeY = kNoSizeLimit;
  int32_t MinClientSizeX = 0, MinClientSizeY = 0;
  int32_t CollapsedSizeX = 0, CollapsedSizeY = 0;
  int32_t OffsetX = 0, OffsetY = 0;
  MPoint LastMouse;
  MRect ClientRect;
  MRect ClipRect;
  std::shared_ptr<bool> Collapsed;

  int32_t LayoutSpace = 0;
  uint16_t LayoutSpanY = 1;
  int32_t LayoutRatioX = 0, LayoutRatioY = 0;
  int32_t LayoutBorderX = 0, LayoutBorderY = 0;
  int32_t EffectiveBorderX = 0, EffectiveBorderY = 0;
  MControl* ClientLayoutChild = nullptr;
  MRect Chrome;  // GetChrome as of the last ComputeBorders
  std::vector<std::unique_ptr<MLayout>> Layouts;
  MLayout* OwnerLayout = nullptr;
  uint8_t LayoutPlacement = kPlacementFill;

  MRect InvalidRect;
  MRect PendingInvalidRect;
  MRect WindowInvalidRect;

  MControlType ControlType = MControlType::kWindow;
  MCaptionType CaptionType = MCaptionType::kNone;
  MFontKind Font = MFontKind::kNormal;
  MColor ColorizeColor;
  bool HasColorize = false;
  MString Caption;
  // A static's caption as rich text, parsed when the caption is set.
  std::unique_ptr<MContent> CaptionContent;
  MString Help;
  uint8_t HelpFlags = 0;
  std::vector<std::unique_ptr<MControl>> ExtraLabels;
  std::vector<std::unique_ptr<MParameterObject>> Parameters;
  MString DefaultPresetName;

  MControl* FocusedChild = nullptr;
  MControl* PathChild = nullptr;  // the captured path
  MControl* KeyboardFocus = nullptr;
  MControl* DefaultButton = nullptr;
  MControl* HoverControl = nullptr;
  int32_t ModalResult = 0;
  std::vector<MShortcut> ShortcutTable;
  std::vector<MTimerRecord> Timers;

  MControlEventSource MouseEvents, KeyboardEvents, MouseUpEvents, KeyEvents, CloseEvents;
  std::function<void()> OnActivate;  // what Activate runs

  // The design values of the geometry attributes, kept to rescale.
  int32_t DesignPosX = 0, DesignPosY = 0, DesignSizeX = 0, DesignSizeY = 0;

 protected:
  // The style's view of this control for painting and measuring.
  void FillStyled(MStyledControl& styled) const;

 public:
  int32_t TreeDepth() const;

 private:
  friend class MOffscreenHost;
  void CollectPass(const MRect& windowRect);
  void PaintPass(MDrawer& drawer);
  void ClearInvalid();
  void UnlinkFromLayout();
  void ClearFocusPointersTo(MControl* gone);
  bool DispatchMouse(MInputEvent& event);
  bool DispatchKeyboard(MInputEvent& event);
  void SetHover(MControl* control);
  void SetWindowRecursive(MControl* window);

  uint64_t flags_ = 0;
  MStyles* style_ = nullptr;     // on a window
  MWindowHost* host_ = nullptr;  // on a window
  double scale_ = 1.0;           // on a window without style
  std::vector<MRect> updateList_;
};

// The enumerations' words and the flag reader of definition attributes: "1",
// "true" and "yes" are true, as is any number other than 0.
bool AttributeFlag(const MXMLItem& node, const char* key, bool fallback);

}  // namespace kx
