#include "gui/styles/textured_styles.h"

#include "foundation/core/exception.h"
#include "foundation/core/run_state.h"
#include "foundation/files/file_ops.h"
#include "foundation/files/path_text.h"
#include "foundation/resources/resource_compiled_in.h"
#include "foundation/resources/resource_library.h"
#include "foundation/streams/file_stream.h"

namespace kx {

std::unique_ptr<MTexturedStyle> MTexturedStyles::LoadStyle(const MStyleSettings& settings) {
  auto library = std::make_unique<MResourceLibrary>();
  const MString path = JoinPath(DataFolder, [&] {
    MString name = settings.style;
    name += ".";
    name += kStyleFileExtension;
    return name;
  }());
  if (!DataFolder.IsEmpty() && MFile::Exists(path)) {
    MFileStream file(path, MFileStream::kModeRead);
    library->AttachSmall(file);
  } else {
    MResourceLibrary block;
    if (settings.style.ToUTF8String() != "Neon" || !AttachCompiledInResources(block) ||
        !block.HasResource(MString(kStyleFileExtension))) {
      throw MException(MString("Style resources have not been loaded."));
    }
    library->AttachSmall(block.GetResourceMemory(MString(kStyleFileExtension)));
  }
  auto style = std::make_unique<MTexturedStyle>();
  style->Load(std::move(library), settings);
  return style;
}

}  // namespace kx
