// The control model: attributes as definitions write them, the tag table's
// probing, invalidation, state by ID, and input through the offscreen host.
#include <gtest/gtest.h>

#include "control_test_support.h"
#include "foundation/core/exception.h"
#include "gui/host/offscreen_host.h"

namespace kx {
namespace {

MControl& ById(MControl& window, const char* id) {
  MControl* c = window.FindByID(MString(id));
  if (!c) throw MException(MString("missing"));
  return *c;
}

TEST(ControlModel, AttributesAsDefinitionsWriteThem) {
  // clang-format off
  // Attributes of the panel "p", the window's only child, and what they make hold.
  const std::pair<const char*, std::function<bool(MControl& p)>> cases[] = {
      {R"(tabstop="1")", [](MControl& p) { return p.Has(MControlFlag::kTabStop); }},
      {R"(tabstop="true")", [](MControl& p) { return p.Has(MControlFlag::kTabStop); }},
      {R"(visible="false")", [](MControl& p) { return !p.Has(MControlFlag::kVisible); }},
      {R"(enabled="0")", [](MControl& p) { return !p.Has(MControlFlag::kEnabled); }},
      {R"(help="" useparenthelp="1" showhelp="0")", [](MControl& p) { return p.HelpFlags == (kHelpHasHelp | kHelpUseParentHelp); }},
      // `help` clears the parent's help, but `useparenthelp` is read after it.
      {R"(useparenthelp="1" help="Drive amount")",
       [](MControl& p) { return p.HelpFlags == (kHelpHasHelp | kHelpUseParentHelp) && p.Help == MString("Drive amount"); }},
      {R"(clientlayout="0")", [](MControl& p) { return p.Parent->ClientLayoutChild == nullptr; }},
      {R"(clientlayout="2")", [](MControl& p) { return p.Parent->ClientLayoutChild == &p; }},
      {R"(controltype="knob" captiontype="large" font="bold")", [](MControl& p) {
         return p.ControlType == MControlType::kKnob && p.CaptionType == MCaptionType::kLarge && p.Font == MFontKind::kBold; }},
      {R"(controltype="gizmo" captiontype="huge" font="wide")", [](MControl& p) {
         return p.ControlType == MControlType::kWindow && p.CaptionType == MCaptionType::kNone && p.Font == MFontKind::kNormal; }},
      {R"(layoutplacement="right,bottom")", [](MControl& p) { return p.LayoutPlacement == 10; }},
      {R"(layoutplacement="xxx")", [](MControl& p) { return p.LayoutPlacement == 7; }},
      {R"(layoutplacement="middle")", [](MControl& p) { return p.LayoutPlacement == 0; }},
      {R"(colorize="#102030")", [](MControl& p) { return p.HasColorize && p.ColorizeColor == MColor::RGBA(0x10, 0x20, 0x30); }},
      {R"(colorize="#10203g")", [](MControl& p) { return !p.HasColorize; }},
      {R"(id="CustomGUI")", [](MControl& p) {
         return p.ID == MString("CustomGUI") && p.Has(MControlFlag::kVisible) && p.ControlType == MControlType::kPanel &&
                p.Parent->FindByID(MString("CustomGUI")) == &p; }},
  };
  // clang-format on
  for (const auto& [attributes, holds] : cases)
    EXPECT_TRUE(holds(*BuildWindow("<w><panel " + std::string(attributes) + "/></w>")->Children[0]))
        << attributes;
}

TEST(ControlModel, FactoryTableSkipsUnknownElements) {
  auto window = BuildWindow(R"(<w><gizmo id="g"><panel id="lost"/></gizmo><volume name="v" value="0.5"/>
      <vertical><button id="b"/><nonsense/><knob id="k"/></vertical></w>)");
  EXPECT_EQ(window->FindByID(MString("lost")), nullptr);
  ASSERT_EQ(window->Parameters.size(), 1u);
  EXPECT_EQ(window->Parameters[0]->kind, MString("volume"));
  EXPECT_EQ(ById(*window, "b").ControlType, MControlType::kButton);
  EXPECT_EQ(ById(*window, "k").OwnerLayout, window->Layouts.at(0).get());
}

TEST(ControlModel, TagTableProbesOnAroundTheTable) {
  MTagTable table;
  // "CCBI" and "AAAJ" share a home slot; "AAAN" and "BBBM" share the last one,
  // the second wrapping round to the first.
  table.SetValue(MakeTag("CCBI"), 1);
  table.SetValue(MakeTag("AAAJ"), 2);
  table.SetValue(MakeTag("AAAN"), 3);
  table.SetValue(MakeTag("BBBM"), 4);
  EXPECT_EQ(table.Find(MakeTag("W3WD")), nullptr);
  EXPECT_TRUE(table.Remove(MakeTag("AAAN")));
  EXPECT_EQ(table.Find(MakeTag("BBBM"))->value, 4);
  EXPECT_EQ(table.Find(MakeTag("AAAJ"))->value, 2);
  int deleted = 0;
  struct Counted {
    int* count;
    ~Counted() { ++*count; }
  };
  table.SetOwned(kTagCachedBitmap, new Counted{&deleted});
  table.SetOwned(kTagCachedBitmap, new Counted{&deleted});
  EXPECT_EQ(deleted, 1);
}

TEST(ControlModel, StateIsSavedAndRestoredByID) {
  const char* xml = R"(<w id="Main" savesubcontrolstate="1"><vertical>
      <panel id="g1" collapsable="1"/>
      <panel id="outer" savesubcontrolstate="1"><vertical><panel id="g2" collapsable="1" collapsed="1"/></vertical></panel>
      <panel collapsable="1" collapsed="1"/>
      <panel id="quiet" enablesavestate="0" collapsable="1" collapsed="1"/>
      <panel id="plain"/></vertical></w>)";
  auto window = BuildWindow(xml);
  MXMLItem saved(MString("ControlState"));
  window->SaveState(saved);
  EXPECT_EQ(saved.subItemCount, 2);  // g1 and outer; the rest saved nothing or may not
  EXPECT_EQ(saved.GetSubItem("outer").GetSubItem("g2").GetAttributeInt("collapsed", -1), 1);
  EXPECT_EQ(saved.GetSubItem("g1").GetAttributeInt("collapsed", -1), 0);

  auto other = BuildWindow(xml);
  ById(*other, "g1").SetCollapsed(true);
  ById(*other, "g2").SetCollapsed(false);
  other->LoadState(saved);
  EXPECT_FALSE(ById(*other, "g1").IsCollapsed());
  EXPECT_TRUE(ById(*other, "g2").IsCollapsed());
}

TEST(ControlModel, SubscriberStopsAMouseEvent) {
  MOffscreenHost host;
  auto window = BuildWindow(R"(<w sizex="100" sizey="40"><vertical><button id="b"/></vertical></w>)", 1.0, nullptr, &host);
  host.Open(*window);
  int activated = 0, laterSubscriber = 0;
  ById(*window, "b").OnActivate = [&] { ++activated; };
  host.Click(*window, 50, 20);
  EXPECT_EQ(activated, 1);
  window->MouseEvents.Add([](MInputEvent& e) { if (e.Kind == kEventLeftDown) e.Result = -1; });
  window->MouseEvents.Add([&](MInputEvent&) { ++laterSubscriber; });
  host.Click(*window, 50, 20);
  EXPECT_EQ(activated, 1);
  EXPECT_EQ(laterSubscriber, 1);  // the move only
}

TEST(ControlModel, TabOrderAndDefaultButtonOnEnter) {
  MOffscreenHost host;
  auto window = BuildWindow(R"(<w sizex="200" sizey="100"><horizontal>
      <button id="one"/><button id="hidden" visible="0"/><edit id="two"/>
      <button id="off" enabled="0"/><panel id="group" collapsable="1" collapsed="1"><vertical><button id="inside"/></vertical></panel>
      <checkbox id="three"/></horizontal></w>)", 1.0, nullptr, &host);
  host.Open(*window);
  std::string order;
  for (int i = 0; i < 4; ++i) {
    host.Key(*window, 9);
    order += window->GetKeyboardFocus()->ID.ToUTF8String() + ' ';
  }
  host.Key(*window, 9, kFlagShift);
  order += window->GetKeyboardFocus()->ID.ToUTF8String();
  EXPECT_EQ(order, "one two three one three");

  int defaults = 0;
  ById(*window, "one").OnActivate = [&] { ++defaults; };
  EXPECT_FALSE(host.Key(*window, 13));
  window->SetDefaultButton(&ById(*window, "one"));
  EXPECT_TRUE(host.Key(*window, 13));
  EXPECT_EQ(defaults, 1);
}

TEST(ControlModel, TimersTickOnTheHostClock) {
  MOffscreenHost host;
  auto window = BuildWindow(R"(<w sizex="20" sizey="20"><vertical><panel id="p"/></vertical></w>)", 1.0, nullptr, &host);
  host.Open(*window);
  std::string ticks;
  MControl& p = ById(*window, "p");
  p.StartTimer(1, 30, [&] { ticks += "a" + std::to_string(host.Now()) + ' '; });
  window->StartTimer(2, 50, [&] { ticks += "b" + std::to_string(host.Now()) + ' '; });
  host.Advance(100);
  p.StopTimer(1);
  host.Advance(100);
  EXPECT_EQ(ticks, "a30 b50 a60 a90 b100 b150 b200 ");
}

TEST(ControlModel, RoundControlsAnswerInsideTheirCircleOnly) {
  auto window = BuildWindow(R"(<w sizex="100" sizey="40"><horizontal><knob id="k" sizex="40" sizey="40"/>
      <panel layoutratiox="1"/></horizontal></w>)");
  MControl& knob = ById(*window, "k");
  knob.Set(MControlFlag::kRound, true);
  const std::pair<MPoint, bool> probes[] = {{{20, 20}, true}, {{1, 1}, false}, {{39, 20}, true}, {{38, 38}, false}};
  for (const auto& [point, inside] : probes)
    EXPECT_EQ(window->ControlAtPoint(point, true) == &knob, inside) << point.x << "," << point.y;
}

TEST(ControlModel, ShortcutsMatchTheirFlags) {
  MOffscreenHost host;
  auto window = BuildWindow(R"(<w sizex="100" sizey="40"><vertical><button id="save"/><button id="any"/></vertical></w>)",
                            1.0, nullptr, &host);
  host.Open(*window);
  std::string fired;
  ById(*window, "save").OnActivate = [&] { fired += "save "; };
  ById(*window, "any").OnActivate = [&] { fired += "any "; };
  window->AddShortcut({'S', kFlagCtrl, false, &ById(*window, "save")});
  window->AddShortcut({'A', kFlagCtrl | kFlagAlt, true, &ById(*window, "any")});
  host.Key(*window, 'S');
  host.Key(*window, 'S', kFlagCtrl);
  host.Key(*window, 'S', kFlagCtrl | kFlagShift);
  host.Key(*window, 'A', kFlagAlt);
  host.Key(*window, 'A', kFlagShift);
  EXPECT_EQ(fired, "save any ");
}

TEST(ControlModel, ARepaintPaintsOnlyWhatItTouches) {
  MOffscreenHost host;
  auto window = BuildWindow(R"(<w sizex="100" sizey="60"><vertical><panel id="a" layoutratioy="1"/>
      <panel id="b" layoutratioy="1"/><panel id="hidden" visible="0"/></vertical></w>)",
                            1.0, nullptr, &host);
  host.Open(*window);
  host.Advance(20);
  const int32_t paints = host.PaintCount();
  host.Advance(20);
  EXPECT_EQ(host.PaintCount(), paints);  // nothing asked, nothing painted
  MControl& b = ById(*window, "b");
  b.Repaint();
  host.Advance(20);
  ASSERT_EQ(window->UpdateList().size(), 2u);  // the window under b, then b
  for (const MRect& r : window->UpdateList())
    EXPECT_EQ(std::pair(r.top, r.bottom), std::pair(b.ClipRect.top, b.ClipRect.bottom));
  // A hidden control asks for nothing; a part of a shown one for that part.
  window->Set(MControlFlag::kWindowNeedsRepaint, false);
  window->WindowInvalidRect = MRect{};
  ById(*window, "hidden").Repaint();
  EXPECT_FALSE(window->Has(MControlFlag::kWindowNeedsRepaint));
  ById(*window, "a").Repaint({2, 3, 10, 12});
  EXPECT_TRUE(window->Has(MControlFlag::kWindowNeedsRepaint));
  const MRect& invalid = window->WindowInvalidRect;
  EXPECT_EQ(std::pair(invalid.left, invalid.bottom), std::pair(2, 12));
}

}  // namespace
}  // namespace kx
