#include "install/state_file.h"

#include "foundation/files/file_ops.h"
#include "foundation/files/path_text.h"
#include "foundation/xml/xml_item.h"

namespace kx {

MString StateFilePath(const MString& uninstallFolder, const MString& packageKey) {
  return JoinPath(uninstallFolder, packageKey + MString(".state"));
}

void SaveStateFile(const MXMLItem& tree, const MString& path) {
  MString folder = GetDirectory(path);
  if (!folder.IsEmpty()) MFile::CreatePath(folder);
  tree.SaveFile(path);
}

void LoadStateFile(MXMLItem& tree, const MString& path) {
  tree.LoadFile(path);
}

}  // namespace kx
