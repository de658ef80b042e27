// The layout engine on a window of 2,001 controls: a grid of 100 plug-in
// tiles of 20 controls each (a header with caption, version and check box, an
// image, a row of four format badges, a status line, a progress bar, two
// buttons and a collapsed details group). Reported: one full layout of the
// window, and the relayout of a single tile.
#include <benchmark/benchmark.h>

#include <memory>
#include <string>

#include "foundation/streams/memory_stream.h"
#include "foundation/xml/xml_item.h"
#include "gui/controls/control.h"
#include "gui/controls/control_factory.h"
#include "gui/styles/textured_styles.h"

namespace {

using namespace kx;

std::string TileWindow() {
  std::string xml = R"(<window sizex="1200" sizey="900"><grid columns="10">)";
  for (int i = 0; i < 100; ++i) {
    xml += R"(<panel id="tile)" + std::to_string(i) + R"(" layoutratiox="1" layoutborderx="2" layoutbordery="2">
      <top><panel><horizontal>
        <static caption="Plug-in" sizey="16" layoutratiox="1"/><static caption="1.2.3" sizex="30" sizey="16"/>
        <checkbox sizex="16" sizey="16"/></horizontal></panel></top>
      <top><display sizex="96" sizey="64" layoutplacement="center,center"/></top>
      <top><panel><horizontal>
        <static caption="VST" sizex="20" sizey="12"/><static caption="VST3" sizex="20" sizey="12"/>
        <static caption="AAX" sizex="20" sizey="12"/><static caption="CLAP" sizex="20" sizey="12"/>
      </horizontal></panel></top>
      <top><static caption="Installed" sizey="14"/><progressbar sizey="8"/></top>
      <bottom><button caption="Install" sizey="22" layoutratiox="1"/><button caption="Remove" sizey="22" layoutratiox="1"/></bottom>
      <vertical><panel collapsable="1" collapsed="1"><vertical>
        <static sizey="12"/><static sizey="12"/><static sizey="12"/><static sizey="12"/>
      </vertical></panel></vertical>
    </panel>)";
  }
  return xml + "</grid></window>";
}

std::unique_ptr<MControl> BuildTileWindow(MStyles* style = nullptr) {
  const std::string xml = TileWindow();
  MXMLItem root;
  MConstMemoryStream stream(xml.data(), static_cast<int64_t>(xml.size()));
  root.LoadXML(stream);
  auto window = std::make_unique<MControl>();
  window->MakeWindow(style, nullptr, 1.25);
  BuildWindowFromDefinition(*window, root);
  return window;
}

int64_t CountControls(const MControl& c) {
  int64_t n = 1;
  for (const auto& child : c.Children) n += CountControls(*child);
  return n;
}

void BM_LayoutFullWindowOf2000Controls(benchmark::State& state) {
  auto window = BuildTileWindow();
  for (auto _ : state) {
    window->Layout();
    benchmark::DoNotOptimize(window->MinSizeX);
  }
  state.counters["controls"] = static_cast<double>(CountControls(*window));
}
BENCHMARK(BM_LayoutFullWindowOf2000Controls)->Unit(benchmark::kMicrosecond);

// The same through "Neon": every container asks the style for its chrome.
void BM_LayoutFullWindowThroughNeon(benchmark::State& state) {
  MStyleSettings settings;
  settings.resize = 1.25;
  std::unique_ptr<MTexturedStyle> style = MTexturedStyles::LoadStyle(settings);
  auto window = BuildTileWindow(style.get());
  for (auto _ : state) {
    window->Layout();
    benchmark::DoNotOptimize(window->MinSizeX);
  }
}
BENCHMARK(BM_LayoutFullWindowThroughNeon)->Unit(benchmark::kMicrosecond);

void BM_LayoutOneTile(benchmark::State& state) {
  auto window = BuildTileWindow();
  MControl* tile = window->FindByID(MString("tile57"));
  for (auto _ : state) {
    tile->Layout();
    benchmark::DoNotOptimize(tile->MinSizeX);
  }
  state.counters["controls"] = static_cast<double>(CountControls(*tile));
}
BENCHMARK(BM_LayoutOneTile)->Unit(benchmark::kMicrosecond);

}  // namespace
