// State saved and restored by ID, the window's state file, the control
// structure dump, documentation output and the context help document.
#include "foundation/files/file_ops.h"
#include "foundation/files/path_text.h"
#include "foundation/text/format.h"
#include "foundation/xml/xml_item.h"
#include "gui/controls/control.h"
#include "gui/host/window_host.h"
#include "gui/layout/layout.h"

namespace kx {

namespace {

MString Pair(int64_t a, int64_t b) { return MFormat(MString("{0},{1}")).Add(a).Add(b); }

// "x,y" or "x;y"; false for anything else.
bool ReadPair(const MString& text, int32_t& a, int32_t& b) {
  int32_t at = text.Find(MString(","));
  if (at < 0) at = text.Find(MString(";"));
  if (at <= 0) return false;
  int32_t used = 0;
  const int64_t first = text.Left(at).ToInt64(&used);
  if (used == 0) return false;
  const int64_t second = text.Mid(at + 1).ToInt64(&used);
  if (used == 0) return false;
  a = static_cast<int32_t>(std::clamp<int64_t>(first, -kMaxExtent, kMaxExtent));
  b = static_cast<int32_t>(std::clamp<int64_t>(second, -kMaxExtent, kMaxExtent));
  return true;
}

MVariant Flag(bool on) { return MVariant(static_cast<int32_t>(on ? 1 : 0)); }

// The help prefix: the tagsets that help texts use as semantic tags.
constexpr const char* kHelpPrefix =
    "<tagset name=\"name\"><l1><cred></tagset>"
    "<tagset name=\"shortcut\"><p><cgreen></tagset>"
    "<tagset name=\"shortcutnop\"><cgreen></tagset>"
    "<tagset name=\"control\"><cgreen></tagset>"
    "<tagset name=\"value\"><cgreen></tagset>"
    "<tagset name=\"reference\"><cred><i></tagset>"
    "<tagset name=\"symbol\"><cgreen></tagset>"
    "<tagset name=\"example\"><i></tagset>"
    "<tagset name=\"range\"><cgreen></tagset>"
    "<tagset name=\"module\"><b><cred></tagset>";

}  // namespace

void MControl::SaveState(MXMLItem& node) {
  if (Has(MControlFlag::kCollapsable)) node.SetAttribute("collapsed", Flag(IsCollapsed()));
  if (IsWindow()) {
    MWindowHost* host = host_;
    if (Has(MControlFlag::kSaveWindowPos)) node.SetAttribute("WindowPos", MVariant(Pair(PosX, PosY)));
    if (Has(MControlFlag::kSaveWindowSize)) {
      node.SetAttribute("WindowSize", MVariant(Pair(SizeX, SizeY)));
      if (host && host->IsMaximized(*this)) node.SetAttribute("maximized", Flag(true));
      else node.RemoveAttribute("maximized");
    }
  }
  if (!Has(MControlFlag::kSaveSubControlState)) return;
  for (auto& label : ExtraLabels) label->SaveState(node);
  for (auto& child : Children) {
    if (!child->Has(MControlFlag::kEnableSaveState) || child->ID.IsEmpty()) continue;
    MXMLItem* sub = node.FindSubItem(child->ID);
    if (!sub) sub = &node.AddSubItem(child->ID);
    child->SaveState(*sub);
    if (sub->attributeCount == 0 && sub->subItemCount == 0) node.RemoveSubItem(sub);
  }
}

void MControl::LoadState(MXMLItem& node) {
  if (Has(MControlFlag::kCollapsable) && node.FindAttribute("collapsed"))
    SetCollapsed(AttributeFlag(node, "collapsed", false));
  if (IsWindow()) {
    int32_t a = 0, b = 0;
    if (Has(MControlFlag::kSaveWindowPos) && ReadPair(node.GetAttributeText("WindowPos"), a, b)) {
      PosX = a;
      PosY = b;
    }
    if (Has(MControlFlag::kSaveWindowSize) && ReadPair(node.GetAttributeText("WindowSize"), a, b)) {
      SizeX = std::max(0, a);
      SizeY = std::max(0, b);
      if (AttributeFlag(node, "maximized", false) && host_) host_->Maximize(*this);
    }
  }
  if (!Has(MControlFlag::kSaveSubControlState)) return;
  for (auto& label : ExtraLabels) label->LoadState(node);
  for (auto& child : Children) {
    if (!child->Has(MControlFlag::kEnableSaveState) || child->ID.IsEmpty()) continue;
    if (MXMLItem* sub = node.FindSubItem(child->ID)) child->LoadState(*sub);
  }
}

void MControl::SaveWindowState(const MString& folder) {
  MXMLItem root(MString("ControlState"));
  SaveState(root);
  root.SaveFile(JoinPath(folder, MFormat(MString("Window_{0}.winstate")).Add(ID)));
}

bool MControl::LoadWindowState(const MString& folder) {
  const MString path = JoinPath(folder, MFormat(MString("Window_{0}.winstate")).Add(ID));
  if (!MFile::Exists(path)) return false;
  MXMLItem root;
  root.LoadFile(path);
  const bool enabled = Has(MControlFlag::kLayoutEnabled);
  Set(MControlFlag::kLayoutEnabled, false);
  LoadState(root);
  Set(MControlFlag::kLayoutEnabled, enabled);
  Layout();
  return true;
}

void MControl::WriteControlStructure(MXMLItem& node) {
  node.SetAttribute("ID", MVariant(ID));
  node.SetAttribute("SUBCONTROLS", MVariant(static_cast<int32_t>(Children.size())));
  auto unusual = [&](const char* key, bool value, bool usual) {
    if (value != usual) node.SetAttribute(key, Flag(value));
  };
  unusual("Visible", Has(MControlFlag::kVisible), true);
  unusual("VisibleControl", IsVisibleControl(), true);
  unusual("Enabled", Has(MControlFlag::kEnabled), true);
  unusual("Plastic", Has(MControlFlag::kPlastic), false);
  unusual("UseParentHelp", (HelpFlags & kHelpUseParentHelp) != 0, false);
  unusual("HelpRoot", (HelpFlags & kHelpRoot) != 0, false);
  unusual("ShowSubControlHelp", (HelpFlags & kHelpShowSubControlHelp) != 0, false);
  unusual("EnabledSubControls", Has(MControlFlag::kEnabledSubControls), true);
  unusual("Collapsed", IsCollapsed(), false);
  unusual("ResizableX", Has(MControlFlag::kResizableX), true);
  unusual("ResizableY", Has(MControlFlag::kResizableY), true);
  const MString real("{0.6},{1.6}");
  node.SetAttribute("Pos", MVariant(MString(MFormat(real).Add(static_cast<double>(PosX)).Add(static_cast<double>(PosY)))));
  node.SetAttribute("MinSize", MVariant(MString(MFormat(real).Add(static_cast<double>(MinSizeX)).Add(static_cast<double>(MinSizeY)))));
  node.SetAttribute("Size", MVariant(MString(MFormat(real).Add(static_cast<double>(SizeX)).Add(static_cast<double>(SizeY)))));
  node.SetAttribute("TotalPos", MVariant(MString(MFormat(real).Add(static_cast<double>(OffsetX)).Add(static_cast<double>(OffsetY)))));
  node.SetAttribute("LayoutRatio", MVariant(Pair(LayoutRatioX, LayoutRatioY)));
  node.SetAttribute("ClientLayout", Flag(Parent && Parent->ClientLayoutChild == this));
  std::vector<const MControl*> listed;
  for (auto& layout : Layouts) {
    MXMLItem& layoutNode = node.AddSubItem(MString("layout"));
    for (MControl* member : layout->Controls) {
      member->WriteControlStructure(layoutNode.AddSubItem(MString("control")));
      listed.push_back(member);
    }
  }
  for (auto& child : Children) {
    if (std::find(listed.begin(), listed.end(), child.get()) == listed.end())
      child->WriteControlStructure(node.AddSubItem(MString("control")));
  }
}

void MControl::WriteDocumentation(MXMLItem& node) {
  MXMLItem* info = node.FindSubItem("info");
  if (!info) info = &node.AddSubItem(MString("info"));
  MXMLItem& control = info->AddSubItem(MString("control"));
  if (!ID.IsEmpty()) control.SetAttribute("id", MVariant(ID));
  MString text(kHelpPrefix);
  text.Append(Help);
  control.value = MVariant(text);
}

MString MControl::BuildContextHelp() {
  MControl* at = this;
  while ((at->HelpFlags & kHelpUseParentHelp) && !(at->HelpFlags & kHelpRoot) && at->Parent) at = at->Parent;
  if (at->Help.IsEmpty() || !(at->HelpFlags & kHelpHasHelp)) return MString("Sorry, no help is defined for this control.");
  MString document(kHelpPrefix);
  document.Append(MString("<center invert=1 singleline=1><l2>"));
  document.Append(MString("Control meaning"));
  document.Append(MString("</l2></center><left>"));
  document.Append(MString("<p><s/><left>"));
  document.Append(at->Help);
  document.Append(MString("<p/><p><i><cgreen>"));
  document.Append(MString(
      "Move mouse cursor on a control and press F1 to get detailed info about it. If the F1 key is "
      "captured by another application, try using Ctrl+F1 or Ctrl+H."));
  document.Append(MString("</cgreen></i>"));
  return document;
}

}  // namespace kx
