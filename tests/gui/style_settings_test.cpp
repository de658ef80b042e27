// The user's side of styles: the settings file and colour schemes on disk,
// colorisation for MainColor, UpdateStyle reaching every window, and the
// size calls that add and take a control's chrome.
#include <gtest/gtest.h>

#include "foundation/core/exception.h"
#include "foundation/files/path_text.h"
#include "foundation/xml/xml_item.h"
#include "gui/drawing/drawer_to_bitmap.h"
#include "gui/styles/style_windows.h"
#include "media/bitmap/bitmap.h"
#include "media/bitmap/colour_hsv.h"
#include "support/failure_capture.h"
#include "support/sandbox.h"

namespace kx {
namespace {

class StyleSettingsTest : public ::testing::Test {
 protected:
  MString Folder() const { return MString::FromUTF8(sandbox_.Root().string()); }
  MTestSandbox sandbox_;
};

TEST_F(StyleSettingsTest, SettingsAndSchemesSurviveTheirFiles) {
  MStyleSettingsStore store;
  MStyleSettings& main = store.Settings(MString("Main"));
  main.mainColor = MColor::RGBA(0xF2, 0x8C, 0x28);
  main.hasMainColor = true;
  main.invertColors = true;
  main.resize = 1.5;
  store.Settings(MString("Dialog")).enableUpperCase = false;
  store.SaveScheme(Folder(), MString("Main"), MString("Amber"));
  store.SaveSettings(Folder());

  MXMLItem raw;
  raw.LoadFile(JoinPath(Folder(), MString("StyleSettingsV13.cfg")));
  EXPECT_EQ(raw.GetSubItem("Main").GetAttributeInt("MainColor", 0), 0xF28C28);
  EXPECT_EQ(raw.GetSubItem("Main").GetAttributeText("ColorScheme"), MString("Amber"));

  MStyleSettingsStore loaded;
  loaded.LoadSettings(Folder());
  const MStyleSettings& back = loaded.Settings(MString("Main"));
  EXPECT_EQ(back.mainColor, MColor::RGBA(0xF2, 0x8C, 0x28));
  EXPECT_TRUE(back.invertColors);
  EXPECT_EQ(back.resize, 1.5);
  EXPECT_FALSE(loaded.Settings(MString("Dialog")).enableUpperCase);

  // Defaults, then the scheme brings the colours back; an unknown one does nothing.
  loaded.SetDefaultColors(MString("Main"));
  EXPECT_FALSE(loaded.Settings(MString("Main")).hasMainColor);
  EXPECT_FALSE(loaded.ApplyScheme(Folder(), MString("Main"), MString("Violet")));
  EXPECT_TRUE(loaded.ApplyScheme(Folder(), MString("Main"), MString("Amber")));
  EXPECT_EQ(loaded.Settings(MString("Main")).mainColor, MColor::RGBA(0xF2, 0x8C, 0x28));
  EXPECT_TRUE(loaded.Settings(MString("Main")).invertColors);
  const auto names = MStyleSettingsStore::SchemeNames(Folder(), MString("Neon"));
  ASSERT_EQ(names.size(), 1u);
  EXPECT_EQ(names[0], MString("Amber"));
  EXPECT_EQ(MStyleSettingsStore::SchemeFileName(MString("Neon")), MString("StyleSettings_Neon.presets"));

  // The colour may also be written as style files write colours.
  MXMLItem item(MString("Main"));
  item.SetAttribute("MainColor", "#2040F0");
  MStyleSettings written;
  written.Read(item);
  EXPECT_EQ(written.mainColor, MColor::RGBA(0x20, 0x40, 0xF0));
}

TEST(Colorize, AccentPixelsTakeTheNewHueAndGreysStay) {
  MColorization how;
  how.withBrightness = 0;
  const MColor teal = MColor::RGBA(0x2E, 0xD3, 0xBE), amber = MColor::RGBA(0xF2, 0x8C, 0x28);
  // A colour and whether it takes the new hue.
  const std::pair<MColor, bool> cases[] = {
      {teal, true},
      {MColor::RGBA(0x17, 0x8C, 0x7E), true},    // the deep accent
      {MColor::RGBA(0x27, 0x2B, 0x34), false},   // a surface
      {MColor::RGBA(0xE4, 0xE8, 0xEE), false},   // text
      {MColor::RGBA(0xF2, 0x5F, 0x5C), false}};  // another hue
  MBitmap image(5, 1), out;
  for (int i = 0; i < 5; ++i) {
    MColor c = cases[i].first;
    c.a = static_cast<uint8_t>(40 + i);
    std::memcpy(static_cast<void*>(image.Pixels() + i), &c, 4);
  }
  ColorizeBitmap(image, teal, amber, how, out);
  const uint8_t amberHue = RGBToHSV(amber.r, amber.g, amber.b).h;
  for (int i = 0; i < 5; ++i) {
    MColor got;
    std::memcpy(static_cast<void*>(&got), out.Pixels() + i, 4);
    EXPECT_EQ(got.a, 40 + i) << i;
    const MHSV in = RGBToHSV(cases[i].first.r, cases[i].first.g, cases[i].first.b);
    const MHSV now = RGBToHSV(got.r, got.g, got.b);
    if (cases[i].second) {
      EXPECT_NEAR(now.h, amberHue, 2) << i;
      EXPECT_NEAR(now.v, in.v, 2) << i;  // brightness untouched at 0
    } else {
      EXPECT_EQ(got.r, cases[i].first.r) << i;
      EXPECT_EQ(got.b, cases[i].first.b) << i;
    }
  }
}

struct CountingWindow : MStyledWindow {
  explicit CountingWindow(const char* kind) : kind_(kind) {}
  MString WindowKind() const override { return MString(kind_); }
  void ApplyStyle(MStyles& style) override {
    ++applied;
    main = style.GetColor(MStyleColor::kMain);
  }
  const char* kind_;
  int applied = 0;
  MColor main;
};

TEST(StyleWindows, UpdateStyleGivesEachWindowItsKindsStyle) {
  MStyleWindows module;
  CountingWindow a("Main"), b("Dialog"), gone("Main");
  for (CountingWindow* window : {&a, &b, &gone}) module.AddWindow(*window);
  module.RemoveWindow(gone);
  module.Store().Settings(MString("Main")).hasMainColor = true;
  module.Store().Settings(MString("Main")).mainColor = MColor::RGBA(0xF2, 0x8C, 0x28);
  module.Store().Settings(MString("Dialog")).style = MString("NoSuchStyle");  // falls back to Neon
  ASSERT_TRUE(module.UpdateStyle());
  EXPECT_EQ(a.applied, 1);
  EXPECT_EQ(b.applied, 1);
  EXPECT_EQ(gone.applied, 0);
  EXPECT_EQ(a.main, MColor::RGBA(0xF2, 0x8C, 0x28));
  EXPECT_EQ(b.main, MColor::RGBA(0x2E, 0xD3, 0xBE));
  EXPECT_EQ(&module.StyleFor(MString("Main")).GetFont(0), &module.StyleFor(MString("Main")).GetFont(0));

  // A drawer answers for its window's style, and refuses without one.
  MBitmap target(4, 4);
  MDrawerToMBitmap drawer(target);
  EXPECT_EQ(ToStd(Failure([&] { drawer.GetColor(MStyleColor::kMain); }).message),
            "Style resources have not been loaded.");
  drawer.SetStyle(&module.StyleFor(MString("Main")));
  EXPECT_EQ(drawer.GetColor(MStyleColor::kMain), MColor::RGBA(0xF2, 0x8C, 0x28));
  EXPECT_EQ(drawer.ScaleX(10), 10);
}

TEST(StyleSizes, ContentAndControlSizesAddAndTakeTheChrome) {
  for (double resize : {1.0, 2.0}) {
    MStyleSettings settings;
    settings.resize = resize;
    auto style = MStyleWindows::CreateStyle(settings);
    MStyledControl button;
    // The two calls undo each other; empty content still gives the element's least size.
    const int32_t content = style->ComputeContentSize(button, MAxis::kHorizontal, 100);
    EXPECT_LT(content, 100) << resize;
    EXPECT_EQ(style->ComputeControlSize(button, MAxis::kHorizontal, content), 100) << resize;
    EXPECT_EQ(style->ComputeContentSize(button, MAxis::kVertical, 5), 0) << resize;
    EXPECT_EQ(style->ComputeControlSize(button, MAxis::kVertical, 0), 100 - content) << resize;
    // A check box: its box and a gap left of the caption.
    MStyledControl check;
    check.element = "checkbox";
    EXPECT_GT(style->GetBorders(check).left, style->ScaleX(6)) << resize;
    EXPECT_EQ(style->GetBorders(check).right, 0) << resize;
  }
}

}  // namespace
}  // namespace kx
