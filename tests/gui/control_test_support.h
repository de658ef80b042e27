// Control trees for tests: a window built from definition text, the picture of
// its controls' rectangles, and the style they are painted in.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/streams/memory_stream.h"
#include "foundation/xml/xml_item.h"
#include "gui/controls/control.h"
#include "gui/controls/control_factory.h"
#include "gui/styles/textured_styles.h"

namespace kx {

// `xml` is the window element with its definition below it.
inline std::unique_ptr<MControl> BuildWindow(std::string_view xml, double scale = 1.0,
                                             MStyles* style = nullptr, MWindowHost* host = nullptr) {
  MXMLItem root;
  MConstMemoryStream stream(xml.data(), static_cast<int64_t>(xml.size()));
  root.LoadXML(stream);
  auto window = std::make_unique<MControl>();
  window->ControlType = MControlType::kEmpty;
  window->MakeWindow(style, host, scale);
  BuildWindowFromDefinition(*window, root);
  return window;
}

// The program's own style, "Neon", at `scale`.
inline std::unique_ptr<MTexturedStyle> NeonAt(double scale) {
  MStyleSettings settings;
  settings.resize = scale;
  return MTexturedStyles::LoadStyle(settings);
}

// "id=x,y,wxh" for each id, window coordinates and the size as shown.
inline std::string Rects(MControl& window, const std::vector<std::string>& ids) {
  std::string out;
  for (const std::string& id : ids) {
    MControl* c = id == "w" ? &window : window.FindByID(MString::FromUTF8(id));
    if (!out.empty()) out += ' ';
    if (!c) {
      out += id + "=missing";
      continue;
    }
    out += id + '=' + std::to_string(c->OffsetX) + ',' + std::to_string(c->OffsetY) + ',' +
           std::to_string(c->ShownSizeX()) + 'x' + std::to_string(c->ShownSizeY());
  }
  return out;
}

}  // namespace kx
