// Window-level behaviour in the offscreen host: the fit to the work area, the
// state file written at close and read at the next show, the structure dump,
// the context help document and drag and drop inside a window.
#include <gtest/gtest.h>

#include "control_test_support.h"
#include "gui/host/offscreen_host.h"
#include "gui/layout/layouts.h"
#include "gui/richtext/content.h"
#include "support/sandbox.h"

namespace kx {
namespace {

TEST(ControlWindow, FitsTheWorkAreaMovingFirstThenShrinking) {
  struct Case {
    const char* xml;
    MRect work;
    const char* expected;  // position and size after the first layout
  };
  const Case cases[] = {
      {R"(<w posx="900" posy="700" sizex="300" sizey="200"/>)", {0, 0, 999, 799}, "700,600 300x200"},
      {R"(<w posx="10" posy="10" sizex="3000" sizey="200"/>)", {0, 0, 999, 799}, "0,10 1000x200"},
      {R"(<w sizex="50" sizey="50"><vertical><panel sizex="400" sizey="90"/></vertical></w>)", {0, 0, 999, 799},
       "0,0 400x90"},
  };
  for (const Case& c : cases) {
    MOffscreenHost host(c.work);
    auto window = BuildWindow(c.xml, 1.0, nullptr, &host);
    host.Open(*window);
    const std::string got = std::to_string(window->PosX) + ',' + std::to_string(window->PosY) + ' ' +
                            std::to_string(window->SizeX) + 'x' + std::to_string(window->SizeY);
    EXPECT_EQ(got, c.expected) << c.xml;
    EXPECT_EQ(host.Frame(*window).Width(), window->SizeX);
  }
}

TEST(ControlWindow, StateFileWrittenAtCloseAndReadAtNextShow) {
  MTestSandbox sandbox;
  GUIModule().stateFolder = MString::FromUTF8(sandbox.Root().string());
  const char* xml = R"(<w id="Main" autosavestate="1" savewindowpos="1" savewindowsize="1" savesubcontrolstate="1"
      posx="40" posy="30" sizex="200" sizey="100"><vertical><panel id="g" collapsable="1"/></vertical></w>)";
  {
    MOffscreenHost host;
    auto window = BuildWindow(xml, 1.0, nullptr, &host);
    host.Open(*window);
    window->FindByID(MString("g"))->SetCollapsed(true);
    host.MoveResize(*window, {70, 80}, {260, 120});
    window->Hide();
  }
  MXMLItem saved;
  saved.LoadFile(MString::FromUTF8((sandbox.Root() / "Window_Main.winstate").string()));
  EXPECT_EQ(saved.GetName(), MString("ControlState"));
  EXPECT_EQ(saved.GetAttributeText("WindowPos"), MString("70,80"));
  EXPECT_EQ(saved.GetAttributeText("WindowSize"), MString("260,120"));
  EXPECT_EQ(saved.GetSubItem("g").GetAttributeInt("collapsed", -1), 1);
  MOffscreenHost host;
  auto window = BuildWindow(xml, 1.0, nullptr, &host);
  host.Open(*window);
  EXPECT_TRUE(window->FindByID(MString("g"))->IsCollapsed());
  EXPECT_EQ(std::pair(window->PosX, window->SizeX), std::pair(70, 260));
  GUIModule().stateFolder = MString();
}

TEST(ControlWindow, StructureDumpAndHelpTexts) {
  auto window = BuildWindow(R"(<w id="Main" sizex="60" sizey="40"><vertical>
      <panel id="a" help="&lt;name&gt;Drive&lt;/name&gt; sets the amount." enabled="0" layoutratioy="1"/>
      <panel id="b" useparenthelp="1" layoutratioy="1"/></vertical></w>)");
  MXMLItem dump(MString("ControlStructure"));
  window->WriteControlStructure(dump);
  const MXMLItem& a = *dump.GetSubItem("layout").firstSubItem;
  EXPECT_EQ(a.GetAttributeText("ID"), MString("a"));
  EXPECT_EQ(a.GetAttributeText("Enabled"), MString("0"));
  EXPECT_EQ(a.FindAttribute("Visible"), nullptr);
  EXPECT_EQ(a.GetAttributeText("Size"), MString("60.000000,19.000000"));
  const MString help = window->FindByID(MString("a"))->BuildContextHelp();
  EXPECT_NE(help.Find(MString("<p><s/><left><name>Drive</name> sets the amount.<p/><p><i><cgreen>Move mouse cursor")), -1);
  EXPECT_EQ(window->FindByID(MString("b"))->BuildContextHelp(), MString("Sorry, no help is defined for this control."));
  // The document is rich text with the ten semantic tagsets defined.
  MContent document(help);
  ASSERT_EQ(document.Tagsets().size(), 10u);
  EXPECT_EQ(document.Tagsets()[0].name, MString("name"));
}

class DropTarget : public MControl {
 public:
  int32_t OnDragAccept(MControl*, const MString& type, MPoint pos) override {
    accepted = type.ToUTF8String() + "@" + std::to_string(pos.x) + "," + std::to_string(pos.y);
    return 7;
  }
  std::string accepted;
};

class DragSource : public MControl {
 public:
  void OnDragDrop(MControl* target, const MString&, MPoint, int32_t result) override {
    dropped = target != nullptr;
    this->result = result;
  }
  bool dropped = false;
  int32_t result = 0;
};

TEST(ControlWindow, DragAndDropInsideAWindow) {
  MOffscreenHost host;
  auto window = BuildWindow(R"(<w sizex="100" sizey="50"/>)", 1.0, nullptr, &host);
  auto& source = static_cast<DragSource&>(window->AddChild(std::make_unique<DragSource>()));
  auto& target = static_cast<DropTarget&>(window->AddChild(std::make_unique<DropTarget>()));
  window->AddLayout(CreateLayoutFor(MString("horizontal"), *window)).AddControl(source);
  window->Layouts[0]->AddControl(target);
  source.LayoutRatioX = target.LayoutRatioX = 1;
  host.Open(*window);
  source.StartDragDrop(MString("preset"));
  host.Mouse(*window, kEventMove, 70, 20);
  host.Mouse(*window, kEventLeftUp, 70, 20);
  EXPECT_EQ(target.accepted, "preset@" + std::to_string(70 - target.OffsetX) + ",20");
  EXPECT_TRUE(source.dropped);
  EXPECT_EQ(source.result, 7);
  EXPECT_EQ(GUIModule().dragging, nullptr);
}

}  // namespace
}  // namespace kx
