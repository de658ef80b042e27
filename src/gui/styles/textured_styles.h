// MTexturedStyles: finds and loads styles. A style named N is the file
// "N.mstyle" in the data folder when there is one (so an edited copy on disk
// wins); otherwise the default style "Neon" comes from the compiled-in block.
#pragma once

#include <memory>

#include "gui/styles/textured_style.h"

namespace kx {

class MTexturedStyles {
 public:
  // Throws "Style resources have not been loaded." when neither exists.
  static std::unique_ptr<MTexturedStyle> LoadStyle(const MStyleSettings& settings);
};

}  // namespace kx
