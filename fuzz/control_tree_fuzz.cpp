// libFuzzer target: arbitrary bytes as a definition tree. What parses is built
// into a window at a scale taken from the first byte and laid out twice, then
// one subtree alone, and painted headless. Refusals are MException; anything
// else (a crash, a hang, a sanitizer report) is a finding.
#include <cstddef>
#include <cstdint>

#include "foundation/core/exception.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/xml/xml_item.h"
#include "gui/controls/control.h"
#include "gui/controls/control_factory.h"
#include "gui/host/offscreen_host.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  const double scale = 0.5 + (data[0] % 8) * 0.25;
  try {
    kx::MXMLItem root;
    kx::MConstMemoryStream stream(data + 1, static_cast<int64_t>(size - 1));
    root.LoadXML(stream);
    kx::MOffscreenHost host;
    auto window = std::make_unique<kx::MControl>();
    window->MakeWindow(nullptr, &host, scale);
    kx::BuildWindowFromDefinition(*window, root);
    window->Layout();
    if (!window->Children.empty()) window->Children.back()->Layout();
    // Frames stay small enough to paint on every run.
    if (window->SizeX <= 4096 && window->SizeY <= 4096) host.Open(*window);
  } catch (const kx::MException&) {
  }
  return 0;
}
