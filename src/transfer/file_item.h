// FileItem: one remote file as an item of the download thread, with no catalogue
// behind it: the fetch command of kestrix-pack and the tests transfer it exactly as
// a package (or, with `isPackage` false, an add-on) is transferred.
//
// Its name is the remote file's last component, its local folder the one given
// (relative to the host's package or add-on folder); Save keeps nothing, and it
// wants a download while Download is set.
#pragma once

#include "catalogue/installable_item.h"

namespace kx {

class FileItem : public InstallableItem {
 public:
  FileItem(const MString& remoteFile, bool isPackage, const MString& localFolder = MString());

  MString GetName() const override;
  bool IsPackage() const override { return isPackage_; }
  bool WantsDownload() const override { return Download; }
  bool ReportProgress() const override { return Downloaded; }
  MString GetRemoteFile() const override { return remoteFile_; }
  MString GetLocalFolder(bool withMakerFolder) const override { return localFolder_; }
  void Save() override {}

 private:
  MString remoteFile_;
  MString localFolder_;
  bool isPackage_;
};

}  // namespace kx
