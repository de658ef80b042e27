#include "gui/controls/control.h"

#include <algorithm>
#include <cmath>

#include "foundation/core/exception.h"
#include "foundation/xml/xml_item.h"
#include "gui/controls/control_factory.h"
#include "gui/host/window_host.h"
#include "gui/layout/layout.h"
#include "gui/richtext/content.h"
#include "gui/styles/styles.h"

namespace kx {

const char* const kControlTypeWords[kControlTypeCount] = {
    "empty", "nobackground", "window", "panel", "control", "display", "editor", "static",
    "button", "captionbutton", "checkbox", "tracker", "vtracker", "rotator", "knob",
    "hscrollbar", "vscrollbar", "edit", "switcher", "value", "selector", "progressbar",
    "tabset", "menu", "menubar"};
const char* const kCaptionTypeWords[4] = {"none", "small", "normal", "large"};
const char* const kFontWords[8] = {"normal", "bold",   "italic", "small",
                                   "large1", "large2", "large3", "large4"};

int WordIndex(const char* const* words, int count, const char* word, int fallback) {
  if (!word || !*word) return fallback;
  for (int i = 0; i < count; ++i) {
    if (MString(word).EqualsNoCase(MString(words[i]))) return i;
  }
  return fallback;
}

int32_t MControlEventSource::Add(Handler handler) {
  handlers_.emplace_back(nextId_, std::move(handler));
  return nextId_++;
}

void MControlEventSource::Remove(int32_t id) {
  std::erase_if(handlers_, [id](const auto& entry) { return entry.first == id; });
}

bool MControlEventSource::Raise(MInputEvent& event) const {
  for (const auto& entry : handlers_) {
    const Handler& handler = entry.second;
    Guarded("MControl::RaiseEvent", [&] { handler(event); });
    if (event.Result == -1) return false;
  }
  return true;
}

MGUIModule& GUIModule() {
  static MGUIModule module;
  return module;
}

MControl::MControl() : Module(&GUIModule()), Collapsed(std::make_shared<bool>(false)) {
  Set(MControlFlag::kVisible, true);
  Set(MControlFlag::kEnabled, true);
  Set(MControlFlag::kEnabledSubControls, true);
  Set(MControlFlag::kResizableX, true);
  Set(MControlFlag::kResizableY, true);
  Set(MControlFlag::kEnableSaveState, true);
  Set(MControlFlag::kLayoutEnabled, true);
  HelpFlags = kHelpHasHelp;
}

MControl::~MControl() {
  if (IsWindow() && host_ && Tags.Find(kTagWindowHost)) host_->DestroyWindow(*this);
  if (Module && Module->dragging == this) Module->dragging = nullptr;
  if (Module && Module->inputControl == this) Module->inputControl = nullptr;
  // Children go first, while this control's layouts can still unlink them.
  while (!Children.empty()) {
    std::unique_ptr<MControl> child = std::move(Children.back());
    Children.pop_back();
    child->UnlinkFromLayout();
    child->Parent = nullptr;
  }
  Layouts.clear();
  UnlinkFromLayout();
}

void MControl::UnlinkFromLayout() {
  if (OwnerLayout) OwnerLayout->RemoveControl(*this);
  OwnerLayout = nullptr;
}

// ---------------------------------------------------------------- tree

void MControl::SetWindowRecursive(MControl* window) {
  // Iterative: definition trees may be deep.
  std::vector<MControl*> stack{this};
  while (!stack.empty()) {
    MControl* c = stack.back();
    stack.pop_back();
    c->WindowControl = window;
    for (auto& child : c->Children) stack.push_back(child.get());
  }
}

MControl& MControl::AddChild(std::unique_ptr<MControl> child) {
  MControl& added = *child;
  added.Parent = this;
  if (!added.IsWindow() || added.host_ == nullptr) added.SetWindowRecursive(WindowControl);
  Children.push_back(std::move(child));
  added.OnParentChanged();
  if (Has(MControlFlag::kShown)) added.Realise();
  return added;
}

void MControl::ClearFocusPointersTo(MControl* gone) {
  for (MControl* c = this; c; c = c->Parent) {
    if (c->FocusedChild == gone) c->FocusedChild = nullptr;
    if (c->PathChild == gone) c->PathChild = nullptr;
  }
  MControl* window = WindowControl;
  if (window->KeyboardFocus == gone) window->KeyboardFocus = nullptr;
  if (window->DefaultButton == gone) window->DefaultButton = nullptr;
  if (window->HoverControl == gone) window->HoverControl = nullptr;
  std::erase_if(window->ShortcutTable, [gone](const MShortcut& s) { return s.target == gone; });
}

std::unique_ptr<MControl> MControl::RemoveChild(MControl& child) {
  auto it = std::find_if(Children.begin(), Children.end(),
                         [&](const auto& c) { return c.get() == &child; });
  if (it == Children.end()) return nullptr;
  std::unique_ptr<MControl> owned = std::move(*it);
  Children.erase(it);
  // Focus, hover and default pointers anywhere below the removed child go too.
  std::vector<MControl*> stack{owned.get()};
  while (!stack.empty()) {
    MControl* c = stack.back();
    stack.pop_back();
    ClearFocusPointersTo(c);
    for (auto& sub : c->Children) stack.push_back(sub.get());
  }
  if (ClientLayoutChild == &child) ClientLayoutChild = nullptr;
  owned->UnlinkFromLayout();
  owned->Parent = nullptr;
  owned->SetWindowRecursive(owned.get());
  return owned;
}

MControl& MControl::AddSubWindow(std::unique_ptr<MControl> window) {
  window->Parent = nullptr;
  SubWindows.push_back(std::move(window));
  return *SubWindows.back();
}

MLayout& MControl::AddLayout(std::unique_ptr<MLayout> layout) {
  Layouts.push_back(std::move(layout));
  Set(MControlFlag::kHasLayouts, true);
  return *Layouts.back();
}

MControl* MControl::FindByID(const MString& id) {
  std::vector<MControl*> stack{this};
  while (!stack.empty()) {
    MControl* c = stack.back();
    stack.pop_back();
    if (c->ID == id) return c;
    for (auto it = c->Children.rbegin(); it != c->Children.rend(); ++it) stack.push_back(it->get());
  }
  return nullptr;
}

MControl& MControl::GetRoot() {
  MControl* c = this;
  while (c->Parent) c = c->Parent;
  return *c;
}

void MControl::MakeWindow(MStyles* style, MWindowHost* host, double scale) {
  style_ = style;
  host_ = host;
  // A scale that is not a positive number falls back to 1, as the style
  // settings do for a resize below 0.1.
  scale_ = std::isfinite(scale) && scale >= 0.1 ? std::min(scale, 16.0) : 1.0;
  SetWindowRecursive(this);
}

MStyles* MControl::GetStyle() const { return WindowControl->style_; }
MWindowHost* MControl::GetHost() const { return WindowControl->host_; }

double MControl::Scale() const { return WindowControl->scale_; }

int32_t MControl::ScaleX(double v) const {
  if (MStyles* style = GetStyle()) return style->ScaleX(v);
  return static_cast<int32_t>(std::lround(v * WindowControl->scale_));
}

int32_t MControl::ScaleY(double v) const {
  if (MStyles* style = GetStyle()) return style->ScaleY(v);
  return static_cast<int32_t>(std::lround(v * WindowControl->scale_));
}

int32_t MControl::TreeDepth() const {
  int32_t depth = 0;
  for (const MControl* c = Parent; c; c = c->Parent) ++depth;
  return depth;
}

bool MControl::IsVisibleControl() const {
  for (const MControl* c = this; c; c = c->Parent) {
    if (!c->Has(MControlFlag::kVisible)) return false;
    if (c != this && c->IsCollapsed()) return false;
  }
  return true;
}

bool MControl::IsEnabledPath() const {
  for (const MControl* c = this; c; c = c->Parent) {
    if (!c->Has(MControlFlag::kEnabled)) return false;
  }
  return true;
}

// ---------------------------------------------------------------- everyday operations

void MControl::SetVisible(bool visible) {
  if (Has(MControlFlag::kVisible) == visible) return;
  if (!visible) Repaint();
  Set(MControlFlag::kVisible, visible);
  if (Parent) Parent->Layout();
  if (visible) Repaint();
}

void MControl::SetEnabled(bool enabled) {
  Set(MControlFlag::kEnabled, enabled);
  if (Has(MControlFlag::kEnabledSubControls)) {
    for (auto& child : Children) child->SetEnabled(enabled);
  }
  Repaint();
}

void MControl::SetCollapsed(bool collapsed) {
  if (*Collapsed == collapsed) return;
  *Collapsed = collapsed;
  WindowControl->Layout();
  Repaint();
}

void MControl::SetCaption(const MString& caption) {
  Caption = caption;
  if (ControlType == MControlType::kStatic) {
    // Statics show their caption as rich text; a faulty mark-up keeps what
    // parsed before the fault.
    if (!CaptionContent) CaptionContent = std::make_unique<MContent>();
    try {
      CaptionContent->SetText(caption);
    } catch (const MException&) {
    }
  }
  Repaint();
}

void MControl::SetClientLayoutChild(MControl* child) {
  ClientLayoutChild = child;
  if (child) child->UnlinkFromLayout();
}

void MControl::Layout() {
  // Code that changes many things holds layouts back on the window and
  // triggers once afterwards.
  if (!WindowControl->Has(MControlFlag::kLayoutEnabled)) return;
  if (IsWindow()) {
    ComputeGeometry();
    FitWindowToWorkArea();
    Repaint();
    return;
  }
  if (!IsVisibleControl()) return;
  ComputeMinimalSize();
  PlaceChildren();
  OnSize();
  Repaint();
}

void MControl::SetSize(int32_t x, int32_t y) {
  if (x < 1 || y < 1) {
    x = MinSizeX;
    y = MinSizeY;
  }
  SizeX = AskedSizeX = std::clamp(std::max(x, MinSizeX), 0, kMaxExtent);
  SizeY = AskedSizeY = std::clamp(std::max(y, MinSizeY), 0, kMaxExtent);
  if (IsWindow() && Has(MControlFlag::kShown)) {
    PlaceChildren();
    OnSize();
    Repaint();
  }
}

MPoint MControl::ClientToScreen(MPoint point) const {
  MPoint window = ControlToWindow(point);
  if (MWindowHost* host = GetHost()) return host->ClientToScreen(*WindowControl, window);
  return window;
}

MPoint MControl::ScreenToClient(MPoint point) const {
  if (MWindowHost* host = GetHost()) point = host->ScreenToClient(*WindowControl, point);
  return WindowToControl(point);
}

// ---------------------------------------------------------------- virtual defaults

MString MControl::GetDefaultPresetName() const {
  return DefaultPresetName.IsEmpty() ? MString("Unnamed preset") : DefaultPresetName;
}

void MControl::SavePreset(MXMLItem& node) {
  node.SetAttribute("name", MVariant(GetDefaultPresetName()));
  const bool had = Has(MControlFlag::kSaveSubControlState);
  Set(MControlFlag::kSaveSubControlState, true);
  MXMLItem* state = node.FindSubItem("state");
  SaveState(state ? *state : node.AddSubItem(MString("state")));
  Set(MControlFlag::kSaveSubControlState, had);
}

void MControl::LoadPreset(MXMLItem& node) {
  MXMLItem* state = node.FindSubItem("state");
  if (!state) return;
  MControl* window = WindowControl;
  const bool enabled = window->Has(MControlFlag::kLayoutEnabled);
  window->Set(MControlFlag::kLayoutEnabled, false);
  const bool had = Has(MControlFlag::kSaveSubControlState);
  Set(MControlFlag::kSaveSubControlState, true);
  LoadState(*state);
  Set(MControlFlag::kSaveSubControlState, had);
  window->Set(MControlFlag::kLayoutEnabled, enabled);
  window->Layout();
}

void MControl::Realise() {
  Set(MControlFlag::kShown, true);
  for (auto& child : Children) child->Realise();
}

void MControl::Unrealise() {
  for (auto& child : Children) child->Unrealise();
  for (MTimerRecord& timer : Timers) timer.running = false;
  Tags.Remove(kTagStyleElement);
  Set(MControlFlag::kShown, false);
}

int32_t MControl::ComputePlasticSize(bool, int32_t) {
  throw MException(MString("Service \"compute plastic control size\" is not implemented."),
                   kErrorNotImplemented);
}

uint32_t MControl::GetPaintFlags() const {
  uint32_t flags = 0;
  if (!IsEnabledPath()) flags |= 1;
  if (WindowControl->KeyboardFocus == this) flags |= 2;
  if (Has(MControlFlag::kHover)) flags |= 4;
  if (Has(MControlFlag::kPressed)) flags |= 8;
  return flags;
}

void MControl::Reset() {
  SetCollapsed(false);
  Set(MControlFlag::kEnabled, true);
  Set(MControlFlag::kHover, false);
  Set(MControlFlag::kPressed, false);
  if (WindowControl->KeyboardFocus == this) WindowControl->KeyboardFocus = nullptr;
  FocusedChild = nullptr;
  for (auto& child : Children) child->Reset();
}

bool MControl::QueryClose() {
  if (!Has(MControlFlag::kConfirmClose)) return true;
  // The box asks "Are you sure you want to close the application?"; a tree
  // without a box host answers yes.
  return true;
}

int32_t MControl::OnDragOver(MControl* source, const MString& type, MPoint pos) {
  if (!Parent) return 0;
  return Parent->OnDragOver(source, type, {pos.x + PosX, pos.y + PosY});
}

int32_t MControl::OnDragAccept(MControl* source, const MString& type, MPoint pos) {
  if (!Parent) return 0;
  return Parent->OnDragAccept(source, type, {pos.x + PosX, pos.y + PosY});
}

int32_t MControl::OnFilesDropped(const std::vector<MString>& names) {
  return Parent ? Parent->OnFilesDropped(names) : 0;
}

int32_t MControl::HitTestNonClient(MPoint pos) {
  if (!IsWindow()) {
    if (Has(MControlFlag::kForwardsNonClientToParent) && Parent)
      return Parent->HitTestNonClient({pos.x + PosX, pos.y + PosY});
    return 0;
  }
  // Edge codes: 1 left, 2 right, 4 top, 8 bottom, combined at corners.
  const int32_t edge = ScaleX(4);
  int32_t code = 0;
  if (Has(MControlFlag::kResizableX)) {
    if (pos.x < edge) code |= 1;
    if (pos.x >= SizeX - edge) code |= 2;
  }
  if (Has(MControlFlag::kResizableY)) {
    if (pos.y < edge) code |= 4;
    if (pos.y >= SizeY - edge) code |= 8;
  }
  return code;
}

void MControl::Hide() {
  if (!Has(MControlFlag::kShown)) return;
  Set(MControlFlag::kModalRunning, false);
  if (IsWindow() && Has(MControlFlag::kAutoSaveState) && !Module->stateFolder.IsEmpty())
    Guarded("MControl::Hide", [&] { SaveWindowState(Module->stateFolder); });
  for (auto& sub : SubWindows) sub->Hide();
  PathChild = nullptr;
  if (IsWindow() && host_) host_->DestroyWindow(*this);
  Unrealise();
  Set(MControlFlag::kVisible, false);
  MInputEvent closing;
  closing.Control = this;
  CloseEvents.Raise(closing);
}

void MControl::QueueRepaint() { Repaint(); }

int32_t MControl::RunModal() {
  MWindowHost* host = GetHost();
  if (!host) return 2;
  return host->RunModal(*WindowControl);
}

void MControl::EndModal(int32_t value) {
  MControl* window = WindowControl;
  if (window->ModalResult == 0) window->ModalResult = value;
  if (MWindowHost* host = GetHost()) host->EndModal(*window, value);
}

void MControl::SetMinimalSize(int32_t x, int32_t y) {
  MinSizeX = std::clamp(x, 0, kMaxExtent);
  MinSizeY = std::clamp(y, 0, kMaxExtent);
}

bool MControl::CanBeTabbedTo() const {
  return Has(MControlFlag::kTabStop) && IsVisibleControl() && IsEnabledPath();
}

void MControl::Activate() {
  if (OnActivate) Guarded("MControl::Activate", [&] { OnActivate(); });
  if (const MTagTable::Slot* slot = Tags.Find(kTagButtonModalValue)) {
    EndModal(static_cast<int32_t>(slot->value));
  }
}

// ---------------------------------------------------------------- attributes

bool AttributeFlag(const MXMLItem& node, const char* key, bool fallback) {
  const MXMLAttribute* attribute = node.FindAttribute(key);
  if (!attribute) return fallback;
  const MVariant& value = attribute->value;
  if (value.GetType() == MVariant::kString) {
    const MString text = value.AsString();
    if (text.EqualsNoCase(MString("true")) || text.EqualsNoCase(MString("yes"))) return true;
    if (text.EqualsNoCase(MString("false")) || text.EqualsNoCase(MString("no"))) return false;
  }
  return value.AsBool();
}

namespace {

int32_t AttributeInt(const MXMLItem& node, const char* key, int32_t fallback, int32_t low,
                     int32_t high) {
  const int64_t v = node.GetAttributeInt(key, fallback);
  return static_cast<int32_t>(std::clamp<int64_t>(v, low, high));
}

int AttributeWord(const MXMLItem& node, const char* key, const char* const* words, int count,
                  int fallback) {
  const MXMLAttribute* attribute = node.FindAttribute(key);
  if (!attribute) return -1;
  return WordIndex(words, count, attribute->value.AsString().ToUTF8String().c_str(), fallback);
}

// "#RRGGBB" or "#RRGGBBAA"; false for anything else.
bool ReadColour(const MString& text, MColor& out) {
  const std::string s = text.ToUTF8String();
  if ((s.size() != 7 && s.size() != 9) || s[0] != '#') return false;
  uint32_t v = 0;
  for (size_t i = 1; i < s.size(); ++i) {
    const char c = s[i];
    const int digit = c >= '0' && c <= '9'   ? c - '0'
                      : c >= 'a' && c <= 'f' ? c - 'a' + 10
                      : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                             : -1;
    if (digit < 0) return false;
    v = v << 4 | static_cast<uint32_t>(digit);
  }
  if (s.size() == 7) v = v << 8 | 255;
  out = MColor::RGBA((v >> 24) & 255, (v >> 16) & 255, (v >> 8) & 255, v & 255);
  return true;
}

constexpr int32_t kDesignLimit = 1 << 20;  // design pixels

}  // namespace

void MControl::ReadAttributes(MXMLItem& node) {
  using F = MControlFlag;
  auto flag = [&](const char* key, F f) {
    if (node.FindAttribute(key)) Set(f, AttributeFlag(node, key, Has(f)));
  };
  if (const MXMLAttribute* id = node.FindAttribute("id")) ID = id->value.AsString();
  if (node.FindAttribute("visible")) SetVisible(AttributeFlag(node, "visible", true));
  const int type = AttributeWord(node, "controltype", kControlTypeWords, kControlTypeCount, 2);
  if (type >= 0) ControlType = static_cast<MControlType>(type);
  if (node.FindAttribute("enabled")) SetEnabled(AttributeFlag(node, "enabled", true));
  flag("tabstop", F::kTabStop);
  const int font = AttributeWord(node, "font", kFontWords, 8, 0);
  if (font >= 0) Font = static_cast<MFontKind>(font);
  if (const MXMLAttribute* colour = node.FindAttribute("colorize"))
    HasColorize = ReadColour(colour->value.AsString(), ColorizeColor);
  if (node.FindAttribute("posx")) DesignPosX = AttributeInt(node, "posx", 0, -kDesignLimit, kDesignLimit);
  if (node.FindAttribute("posy")) DesignPosY = AttributeInt(node, "posy", 0, -kDesignLimit, kDesignLimit);
  if (node.FindAttribute("sizex")) DesignSizeX = AttributeInt(node, "sizex", 0, -kDesignLimit, kDesignLimit);
  if (node.FindAttribute("sizey")) DesignSizeY = AttributeInt(node, "sizey", 0, -kDesignLimit, kDesignLimit);
  PosX = ScaleX(DesignPosX);
  PosY = ScaleY(DesignPosY);
  SizeX = AskedSizeX = std::max(0, ScaleX(DesignSizeX));
  SizeY = AskedSizeY = std::max(0, ScaleY(DesignSizeY));
  if (node.FindAttribute("minclientsizex"))
    MinClientSizeX = AttributeInt(node, "minclientsizex", 0, 0, kDesignLimit);
  if (node.FindAttribute("minclientsizey"))
    MinClientSizeY = AttributeInt(node, "minclientsizey", 0, 0, kDesignLimit);
  if (node.FindAttribute("autodetectminimalsize")) {
    const bool on = AttributeFlag(node, "autodetectminimalsize", false);
    Set(F::kAutoDetectMinimalSizeX, on);
    Set(F::kAutoDetectMinimalSizeY, on);
  }
  flag("overlaycontrol", F::kOverlayControl);
  flag("plastic", F::kPlastic);
  flag("plasticadaptsize", F::kPlasticAdaptSize);
  flag("collapsable", F::kCollapsable);
  if (node.FindAttribute("collapsed")) SetCollapsed(AttributeFlag(node, "collapsed", false));
  if (node.FindAttribute("layoutratiox"))
    LayoutRatioX = AttributeInt(node, "layoutratiox", 0, 0, 1 << 16);
  if (node.FindAttribute("layoutratioy"))
    LayoutRatioY = AttributeInt(node, "layoutratioy", 0, 0, 1 << 16);
  if (node.FindAttribute("layoutborderx"))
    LayoutBorderX = AttributeInt(node, "layoutborderx", 0, -kDesignLimit, kDesignLimit);
  if (node.FindAttribute("layoutbordery"))
    LayoutBorderY = AttributeInt(node, "layoutbordery", 0, -kDesignLimit, kDesignLimit);
  if (node.GetAttributeInt("clientlayout", 0) != 0 && Parent) Parent->SetClientLayoutChild(this);
  if (const MXMLAttribute* placement = node.FindAttribute("layoutplacement"))
    LayoutPlacement = PlacementFromWord(placement->value.AsString());
  flag("layoutsaveratiox", F::kSaveRatioX);
  flag("layoutsaveratioy", F::kSaveRatioY);
  if (const MXMLAttribute* caption = node.FindAttribute("caption")) SetCaption(caption->value.AsString());
  const int captionType = AttributeWord(node, "captiontype", kCaptionTypeWords, 4, 0);
  if (captionType >= 0) {
    CaptionType = static_cast<MCaptionType>(captionType);
    WindowControl->Layout();
  }
  if (node.GetAttributeInt("showhelp", 1) != 0) HelpFlags |= kHelpHasHelp;
  if (const MXMLAttribute* help = node.FindAttribute("help")) {
    Help = help->value.AsString();
    if (!Help.IsEmpty()) {
      HelpFlags &= static_cast<uint8_t>(~kHelpUseParentHelp);
      HelpFlags |= kHelpHasHelp;
    }
  }
  if (node.FindAttribute("useparenthelp")) {
    if (AttributeFlag(node, "useparenthelp", false)) HelpFlags |= kHelpUseParentHelp;
    else HelpFlags &= static_cast<uint8_t>(~kHelpUseParentHelp);
  }
  flag("closeonescape", F::kCloseOnEscape);
  flag("movetoscreencenter", F::kMoveToScreenCenter);
  flag("autosavestate", F::kAutoSaveState);
  flag("savewindowpos", F::kSaveWindowPos);
  flag("savewindowsize", F::kSaveWindowSize);
  flag("enablesavestate", F::kEnableSaveState);
  flag("savesubcontrolstate", F::kSaveSubControlState);
  CreateFromDefinition(*this, node, false);
}

}  // namespace kx
