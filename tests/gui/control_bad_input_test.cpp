// Hostile definitions: deep nesting, absurd numbers, zero scale, unknown words
// and roles everywhere. Nothing crashes or loops; the named failures come as
// MException with their exact texts.
#include <gtest/gtest.h>

#include "control_test_support.h"
#include "gui/layout/layouts.h"
#include "support/failure_capture.h"

namespace kx {
namespace {

std::string Nested(int depth, const char* element, const char* attributes) {
  std::string xml = "<w>";
  for (int i = 0; i < depth; ++i) xml += std::string("<") + element + " " + attributes + ">";
  for (int i = 0; i < depth; ++i) xml += std::string("</") + element + ">";
  return xml + "</w>";
}

TEST(ControlBadInput, NamedFailures) {
  const std::pair<std::function<void()>, const char*> cases[] = {
      {[] { BuildWindow(Nested(5000, "panel", "")); }, "Definition tree is nested too deeply."},
      {[] { BuildWindow(Nested(5000, "vertical", "")); }, "Definition tree is nested too deeply."},
      {[] { BuildWindow(R"(<w><corner><panel target="middle"/></corner></w>)"); }, "Invalid target for corner layout."},
      {[] {
         MControl owner;
         MSideLayout(owner, 7).Place({0, 0, 9, 9});
       },
       "Invalid side-layout direction."},
      {[] { BuildWindow(R"(<w><vertical><panel plastic="1"/></vertical></w>)"); },
       "Service \"compute plastic control size\" is not implemented."},
  };
  for (const auto& [body, message] : cases) EXPECT_EQ(ToStd(Failure(body).message), message);
}

TEST(ControlBadInput, AbsurdValuesStayBounded) {
  const char* xml = R"(<w sizex="99999999999" sizey="-5"><vertical layoutspace="-999999999">
      <panel id="a" sizex="-2147483648" sizey="4294967296" layoutratioy="99999999999" layoutborderx="2147483647"/>
      <panel id="b" posx="-99999999" minclientsizex="1e300" minclientsizey="-1" layoutbordery="-7"/>
      <grid columns="-4"><panel hspan="-2" vspan="70000"/><panel hspan="99999"/></grid>
      <corner deflayoutborderx="-9"><panel target="corner3" space="-99999999"/></corner>
      <occupyborder x1="-99999999" y1="99999999"/></vertical></w>)";
  for (double scale : {0.0, -1.0, 1e300, 0.5}) {
    auto window = BuildWindow(xml, scale);
    window->Layout();
    for (MControl* c : {window.get(), window->FindByID(MString("a")), window->FindByID(MString("b"))}) {
      ASSERT_NE(c, nullptr);
      EXPECT_LE(c->SizeX, kMaxExtent);
      EXPECT_LE(c->SizeY, kMaxExtent);
      EXPECT_GE(c->SizeX, 0);
    }
  }
}

TEST(ControlBadInput, UnknownWordsAndRolesEverywhere) {
  // Every panel claims the client role of its parent and carries words no
  // table knows; the nesting stays under the limit.
  auto window = BuildWindow(Nested(60, "panel",
                                   R"(clientlayout="1" controltype="?" layoutplacement="up,down" captiontype="x"
                                      font="?" colorize="red" bogus="1" collapsed="maybe")"));
  MControl* c = window.get();
  int depth = 0;
  for (; c->ClientLayoutChild; ++depth) c = c->ClientLayoutChild;
  EXPECT_EQ(depth, 60);
  EXPECT_EQ(std::pair(c->ControlType, c->LayoutPlacement),
            std::pair(MControlType::kWindow, uint8_t{0}));
}

}  // namespace
}  // namespace kx
