#include "gui/host/offscreen_render.h"

#include <memory>

#include "gui/controls/control.h"
#include "gui/controls/control_factory.h"
#include "gui/host/offscreen_host.h"

namespace kx {

MPoint RenderDefinitionToPNG(MXMLItem& root, MStyles& style, double scale, const MString& path) {
  MOffscreenHost host;
  auto window = std::make_unique<MControl>();
  window->MakeWindow(&style, &host, scale);
  BuildWindowFromDefinition(*window, root);
  host.Open(*window);
  host.SavePNG(*window, path);
  return {window->SizeX, window->SizeY};
}

}  // namespace kx
