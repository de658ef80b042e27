// A package is a large resource library; this layer adds what the install walk
// relies on: the root as the item tree, and the required attributes of a content.
#include "install/package_file.h"
#include "foundation/resources/resource_keys.h"

#include "foundation/xml/xml_item.h"

namespace kx {

namespace {


}  // namespace

MXMLItem& MPackageFile::Open(const MString& path) {
  path_.Clear();
  library_.OpenLarge(path);
  path_ = path;
  return library_.GetDefinition();
}

MXMLItem& MPackageFile::Attach(MStream& stream) {
  path_.Clear();
  library_.AttachLarge(stream);
  return library_.GetDefinition();
}

bool MPackageFile::HasContent(MXMLItem& item) {
  return item.FindAttribute(kFileStartKey) != nullptr && item.FindAttribute(kFileSizeKey) != nullptr;
}

std::unique_ptr<MStream> MPackageFile::OpenContent(MXMLItem& item) {
  // Both are read before anything is opened, so that the message names the
  // attribute rather than a failure further down.
  item.GetAttribute(kFileStartKey);
  item.GetAttribute(kFileSizeKey);
  return library_.OpenFile(item);
}

void MPackageFile::Write(MXMLItem& sourceTree, MStream& output, uint32_t flags, const MSourceOpener& opener,
                         MTaskGroup* group) {
  MResourceLibrary::Build(sourceTree, output, flags, opener, group);
}

}  // namespace kx
