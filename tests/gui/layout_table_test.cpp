// Definition trees laid out at three scales, with every member's rectangle
// worked out by hand. The window has no style: the gap is the default layout
// space (1 design pixel), scaled and rounded like every design value.
#include <gtest/gtest.h>

#include "control_test_support.h"
#include "gui/layout/layout.h"

namespace kx {
namespace {

struct LayoutCase {
  const char* name;
  const char* xml;
  std::vector<std::string> ids;
  const char *at100, *at125, *at200;  // at scales 1.0, 1.25 and 2.0
};

const LayoutCase kCases[] = {
    {"EmptyLayoutTakesNothingNotEvenAGap",
     R"(<w sizex="100" sizey="100"><top/><vertical><panel id="a" layoutratioy="1"/></vertical></w>)",
     {"a"}, "a=0,0,100x100", "a=0,0,125x125", "a=0,0,200x200"},
    {"SingleMemberGetsAllWhateverItsRatio",
     R"(<w sizex="100" sizey="100"><vertical layoutspace="5"><panel id="a" sizey="10"/></vertical></w>)",
     {"a"}, "a=0,0,100x100", "a=0,0,125x125", "a=0,0,200x200"},
    {"ThreeEqualRatiosRoundTo33_33_34",
     R"(<w sizex="100" sizey="100"><vertical layoutspace="-1">
          <panel id="a" layoutratioy="1"/><panel id="b" layoutratioy="1"/><panel id="c" layoutratioy="1"/>
        </vertical></w>)",
     {"a", "b", "c"}, "a=0,0,100x33 b=0,33,100x33 c=0,66,100x34",
     "a=0,0,125x41 b=0,41,125x42 c=0,83,125x42", "a=0,0,200x66 b=0,67,200x66 c=0,134,200x66"},
    {"OccupyBorderInsetsTopAndBottomByY1",
     R"(<w sizex="100" sizey="100"><occupyborder x1="2" y1="5"/><vertical><panel id="a"/></vertical></w>)",
     {"a"}, "a=2,5,98x90", "a=3,6,122x113", "a=4,10,196x180"},
    {"OverlayKeepsTheSizeOfItsLargestPage",
     R"(<w><overlay><panel id="a" sizex="40" sizey="20"/><panel id="b" visible="0" sizex="60" sizey="50"/></overlay></w>)",
     {"w", "a"}, "w=0,0,60x50 a=0,0,60x50", "w=0,0,75x63 a=0,0,75x63", "w=0,0,120x100 a=0,0,120x100"},
    {"TwoClientLayoutChildrenLeaveTheLaterOne",
     R"(<w sizex="100" sizey="100"><panel id="a" clientlayout="1"/><panel id="b" clientlayout="1"/></w>)",
     {"a", "b"}, "a=0,0,0x0 b=0,0,100x100", "a=0,0,0x0 b=0,0,125x125", "a=0,0,0x0 b=0,0,200x200"},
    {"CollapsedMemberOfAColumnKeepsItsHeightAndTakesNoShare",
     R"(<w sizex="100" sizey="100"><vertical>
          <panel id="a" layoutratioy="1"/>
          <panel id="b" layoutratioy="1" collapsed="1" layoutbordery="4"/>
          <panel id="c" layoutratioy="1"/>
        </vertical></w>)",
     {"a", "b", "c"}, "a=0,0,100x45 b=0,50,100x0 c=0,55,100x45",
     "a=0,0,125x56 b=0,62,125x0 c=0,68,125x57", "a=0,0,200x90 b=0,100,200x0 c=0,110,200x90"},
    {"CollapsedMemberOfARowKeepsItsRatio",
     R"(<w sizex="100" sizey="100"><horizontal>
          <panel id="a" layoutratiox="1"/>
          <panel id="b" layoutratiox="1" collapsed="1" layoutborderx="4"/>
          <panel id="c" layoutratiox="1"/>
        </horizontal></w>)",
     {"a", "b", "c"}, "a=0,0,30x100 b=35,0,22x0 c=62,0,30x100",
     "a=0,0,37x125 b=43,0,28x0 c=77,0,38x125", "a=0,0,60x200 b=70,0,44x0 c=124,0,60x200"},
    {"LayoutAfterVerticalGetsAnEmptyRectangle",
     R"(<w sizex="100" sizey="100"><vertical><panel id="a"/></vertical>
          <horizontal><panel id="b" sizex="10" sizey="10"/></horizontal></w>)",
     {"a", "b"}, "a=0,0,100x100 b=0,0,0x0", "a=0,0,125x125 b=0,0,0x0", "a=0,0,200x200 b=0,0,0x0"},
    {"SideStripsTakeTheirThicknessAndAGap",
     R"(<w sizex="100" sizey="100"><top><panel id="t" sizey="10"/></top><left><panel id="l" sizex="20"/></left>
          <vertical><panel id="c"/></vertical></w>)",
     {"t", "l", "c"}, "t=0,0,100x10 l=0,11,20x89 c=21,11,79x89",
     "t=0,0,125x13 l=0,14,25x111 c=26,14,99x111", "t=0,0,200x20 l=0,22,40x178 c=42,22,158x178"},
    {"GridColumnsRatiosAndSpans",
     R"(<w sizex="100" sizey="100"><grid columns="2">
          <panel id="a" sizex="20" sizey="10"/><panel id="b" layoutratiox="1" sizey="10"/>
          <panel id="c" hspan="2" sizey="5"/></grid></w>)",
     {"a", "b", "c"}, "a=0,0,20x10 b=21,0,79x10 c=0,11,100x5",
     "a=0,0,25x13 b=26,0,99x13 c=0,14,125x6", "a=0,0,40x20 b=42,0,158x20 c=0,22,200x10"},
    {"PlacementWordsAlignAFixedMember",
     R"(<w sizex="100" sizey="100"><vertical>
          <panel id="a" sizex="10" sizey="10" layoutplacement="right,bottom" layoutratioy="0"/>
          <panel id="b" sizex="10" sizey="10" layoutplacement="center,center"/>
          <panel id="c" sizex="10" sizey="10" layoutplacement="left,top" layoutborderx="3"/>
        </vertical></w>)",
     {"a", "b", "c"}, "a=90,0,10x10 b=45,11,10x10 c=3,22,10x10",
     "a=112,0,13x13 b=56,14,13x13 c=4,28,13x13", "a=180,0,20x20 b=90,22,20x20 c=6,44,20x20"},
    {"CornerFramesTheCentre",
     R"(<w sizex="100" sizey="100"><corner>
          <panel id="c0" target="corner0" sizex="10" sizey="10"/>
          <panel id="t" target="top" sizex="20" sizey="6"/><panel id="l" target="left" sizex="8" sizey="20"/>
        </corner><vertical><panel id="m"/></vertical></w>)",
     {"c0", "t", "l", "m"}, "c0=0,0,10x10 t=11,0,89x10 l=0,11,10x89 m=11,11,89x89",
     "c0=0,0,13x13 t=14,0,111x13 l=0,14,13x111 m=14,14,111x111",
     "c0=0,0,20x20 t=22,0,178x20 l=0,22,20x178 m=22,22,178x178"},
    {"SavedRatioKeepsTheAspectCentred",
     R"(<w sizex="100" sizey="60"><vertical>
          <panel id="s" layoutsaveratiox="1" layoutsaveratioy="1" minclientsizex="40" minclientsizey="20"/>
        </vertical></w>)",
     {"s"}, "s=0,5,100x50", "s=0,6,125x62", "s=0,10,200x100"},
};

class LayoutTable : public ::testing::TestWithParam<LayoutCase> {};

TEST_P(LayoutTable, RectanglesAtThreeScales) {
  const LayoutCase& c = GetParam();
  const std::pair<double, const char*> scales[] = {{1.0, c.at100}, {1.25, c.at125}, {2.0, c.at200}};
  for (const auto& [scale, expected] : scales)
    EXPECT_EQ(Rects(*BuildWindow(c.xml, scale), c.ids), expected) << "scale " << scale;
}

INSTANTIATE_TEST_SUITE_P(Cases, LayoutTable, ::testing::ValuesIn(kCases),
                         [](const auto& info) { return std::string(info.param.name); });

// Height half the width, as wrapped text would give.
class HalfHeight : public MControl {
 public:
  int32_t ComputePlasticSize(bool vertical, int32_t other) override { return vertical ? other / 2 : other * 2; }
};

TEST(LayoutPlastic, HeightFollowsTheWidthInAColumn) {
  auto window = BuildWindow(R"(<w sizex="100" sizey="100"><vertical/></w>)");
  auto& plastic = window->AddChild(std::make_unique<HalfHeight>());
  auto& rest = window->AddChild(std::make_unique<MControl>());
  plastic.ID = MString("p");
  rest.ID = MString("q");
  plastic.Set(MControlFlag::kPlastic, true);
  rest.LayoutRatioY = 1;
  window->Layouts[0]->AddControl(plastic);
  window->Layouts[0]->AddControl(rest);
  window->Layout();
  EXPECT_EQ(Rects(*window, {"p", "q"}), "p=0,0,100x50 q=0,51,100x49");
}

}  // namespace
}  // namespace kx
