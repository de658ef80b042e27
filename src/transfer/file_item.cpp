#include "transfer/file_item.h"

#include "foundation/files/path_text.h"

namespace kx {

FileItem::FileItem(const MString& remoteFile, bool isPackage, const MString& localFolder)
    : InstallableItem(nullptr, nullptr, nullptr),
      remoteFile_(remoteFile),
      localFolder_(localFolder),
      isPackage_(isPackage) {
  // A fetched file is only fetched: nothing installs it.
  Install = false;
  Download = true;
}

MString FileItem::GetName() const {
  return GetFileName(remoteFile_);
}

}  // namespace kx
