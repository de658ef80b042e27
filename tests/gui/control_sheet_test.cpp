// A sample window painted through "Neon" by the offscreen host at scales 1.0
// and 2.0, written for a person to look at (artefacts/gui/controls-window-*.png):
// a header strip, a column of collapsible groups (one open, one collapsed), a
// grid of plug-in tiles and a row of buttons. The frames are also checked:
// the window's background fills its corner and the tiles keep their order.
#include <gtest/gtest.h>

#include "control_test_support.h"
#include "gui/host/offscreen_host.h"
#include "gui/host/offscreen_render.h"
#include "gui/styles/textured_styles.h"

namespace kx {
namespace {

constexpr const char* kWindow = R"(
<window id="Sheet" controltype="window" sizex="560" sizey="380">
  <occupyborder x1="10" y1="10" x2="10"/>
  <top>
    <panel id="header" controltype="panel" caption="Kestrix">
      <occupyborder x1="8" y1="4" x2="8"/>
      <horizontal>
        <static caption="&lt;b&gt;Vorlund&lt;/b&gt; plug-ins and &lt;cgreen&gt;content" sizex="260" sizey="22" layoutplacement="left,center"/>
        <edit caption="~/.vst3" sizex="140" sizey="24" layoutratiox="1"/>
        <button caption="Browse" sizex="84" sizey="24"/>
      </horizontal>
    </panel>
  </top>
  <left>
    <panel id="addons" controltype="panel" caption="Add-ons" collapsable="1" sizex="150">
      <occupyborder x1="8" y1="4" x2="8"/>
      <vertical>
        <checkbox caption="Tonvault" sizey="20"/>
        <checkbox caption="Kitvault" sizey="20"/>
        <progressbar sizey="12"/>
      </vertical>
    </panel>
    <panel id="presets" controltype="panel" caption="Presets" collapsable="1" collapsed="1" sizex="150">
      <vertical><button caption="Merge"/></vertical>
    </panel>
    <panel id="spare" controltype="display" layoutratioy="1"/>
  </left>
  <bottom>
    <static caption="" layoutratiox="1" sizey="26"/>
    <button id="repair" caption="Repair" sizex="84" sizey="26"/>
    <button id="install" caption="Install" sizex="100" sizey="26"/>
  </bottom>
  <grid columns="3" verticalfill="1">
    <display id="tile1" caption="Drive" layoutratiox="1" layoutratioy="1"><occupyborder x1="8" y1="4" x2="8"/><vertical><knob sizex="48" sizey="48" layoutplacement="center,center"/></vertical></display>
    <display id="tile2" caption="Echo" layoutratiox="1" layoutratioy="1"><occupyborder x1="8" y1="4" x2="8"/><vertical><knob sizex="48" sizey="48" layoutplacement="center,center"/></vertical></display>
    <display id="tile3" caption="Space" layoutratiox="1" layoutratioy="1"><occupyborder x1="8" y1="4" x2="8"/><vertical><knob sizex="48" sizey="48" layoutplacement="center,center"/></vertical></display>
    <display id="tile4" caption="Tonvault" layoutratiox="1" layoutratioy="1" hspan="2"><occupyborder x1="8" y1="4" x2="8"/><vertical><tracker sizey="16"/><tracker sizey="16"/></vertical></display>
    <display id="tile5" caption="Kitvault" layoutratiox="1" layoutratioy="1"><occupyborder x1="8" y1="4" x2="8"/><vertical><button caption="Open" sizex="72" sizey="24" layoutplacement="center,center"/></vertical></display>
  </grid>
</window>)";

TEST(ControlSheet, SampleWindowThroughNeonAtTwoScales) {
  for (double scale : {1.0, 2.0}) {
    std::unique_ptr<MTexturedStyle> style = NeonAt(scale);
    MOffscreenHost host;
    auto window = BuildWindow(kWindow, scale, style.get(), &host);
    host.Open(*window);
    const MBitmap& frame = host.Frame(*window);
    ASSERT_EQ(frame.Width(), window->SizeX);
    // Tiles in reading order; the spanning tile under the first two.
    MControl* t1 = window->FindByID(MString("tile1"));
    MControl* t3 = window->FindByID(MString("tile3"));
    MControl* t4 = window->FindByID(MString("tile4"));
    EXPECT_LT(t1->OffsetX, t3->OffsetX);
    EXPECT_GT(t4->OffsetY, t1->OffsetY + t1->SizeY - 1);
    EXPECT_EQ(t4->OffsetX, t1->OffsetX);
    // The collapsed group shows its caption bar only.
    MControl* presets = window->FindByID(MString("presets"));
    EXPECT_LT(presets->ShownSizeY(), window->FindByID(MString("addons"))->ShownSizeY());
    // In the window's margin its own background shows.
    const uint8_t* pixel = frame.Row(window->ScaleY(5)) + window->SizeX / 2 * 4;
    const MColor background = style->GetColor(MStyleColor::kBackground);
    EXPECT_NEAR(pixel[0], background.b, 2);
    EXPECT_NEAR(pixel[1], background.g, 2);
    EXPECT_NEAR(pixel[2], background.r, 2);
    const std::string png = scale == 1.0 ? "controls-window-100.png" : "controls-window-200.png";
    host.SavePNG(*window, MString::FromUTF8(KESTRIX_BINARY_DIR "/artefacts/gui/" + png));
  }
}

TEST(ControlSheet, DefinitionRenderedToPNGInOneCall) {
  std::unique_ptr<MTexturedStyle> style = NeonAt(1.25);
  MXMLItem root;
  const std::string xml = R"(<window controltype="window" sizex="200" sizey="80">
      <occupyborder x1="8" y1="8" x2="8"/>
      <horizontal><button caption="Cancel" layoutratiox="1"/><button caption="OK" layoutratiox="1"/></horizontal></window>)";
  MConstMemoryStream stream(xml.data(), static_cast<int64_t>(xml.size()));
  root.LoadXML(stream);
  const MString path(KESTRIX_BINARY_DIR "/artefacts/gui/controls-dialog-125.png");
  const MPoint size = RenderDefinitionToPNG(root, *style, 1.25, path);
  EXPECT_EQ(std::pair(size.x, size.y), std::pair(250, 100));
  MBitmap picture;
  picture.Load(path);
  EXPECT_EQ(std::pair(picture.Width(), picture.Height()), std::pair(250, 100));
}

}  // namespace
}  // namespace kx
