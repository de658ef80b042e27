#include "foundation/files/mapped_file.h"

#include <string>

#include "foundation/core/exception.h"
#include "foundation/text/format.h"
#include "foundation/files/path_text.h"
#include "foundation/platform/system_error.h"

namespace kx {
namespace {

const char* MessageOf(platform::MapStep step) {
  switch (step) {
    case platform::MapStep::kOpen:
      return "Could not open file {0} for mapping. Error: {1}";
    case platform::MapStep::kSize:
      return "Could not retrieve size of file {0} for mapping. Error: {1}";
    case platform::MapStep::kCreateMapping:
      return "Could not create file mapping for {0}. Error: {1}";
    case platform::MapStep::kMapView:
      break;
  }
  return "Could not map file {0} to memory. Error: {1}";
}

}  // namespace

void MMappedFile::Open(const MString& path) {
  Close();
  std::string name = ToSystem(path);
  platform::MapStep step = platform::MapStep::kOpen;
  int error = platform::MapFileReadOnly(name, view_, step);
  if (error != 0)
    throw MException(MFormat(MessageOf(step)).Add(FromSystem(name)).Add(GetSystemErrorText(error)),
                     kErrorOpen);
}

void MMappedFile::Close() { platform::UnmapFile(view_); }

}  // namespace kx
