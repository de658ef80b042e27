#include "install/state_file.h"

#include <cstring>

#include "foundation/core/exception.h"
#include "foundation/files/file_ops.h"
#include "foundation/files/mapped_file.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/xml/mbx_files.h"
#include "foundation/files/path_text.h"
#include "foundation/xml/xml_item.h"

namespace kx {

MString StateFilePath(const MString& uninstallFolder, const MString& packageKey) {
  return JoinPath(uninstallFolder, packageKey + MString(".state"));
}

namespace {

// The file holds exactly these bytes already.
bool HoldsBytes(const MString& path, const MMemoryStream& bytes) {
  if (!MFile::IsFile(path) || MFile::GetFileSize(path) != bytes.Size()) return false;
  try {
    MMappedFile file(path);
    return file.Size() == bytes.Size() &&
           (bytes.Size() == 0 || std::memcmp(file.Data(), bytes.Data(), static_cast<size_t>(bytes.Size())) == 0);
  } catch (const MException&) {
    return false;  // unreadable: write it anew
  }
}

}  // namespace

void SaveStateFile(const MXMLItem& tree, const MString& path) {
  MString folder = GetDirectory(path);
  if (!folder.IsEmpty()) MFile::CreatePath(folder);
  MMemoryStream bytes;
  tree.SaveMBX(bytes, false);
  // A repeated installation saves the same tree again; a file that already holds
  // it is left alone, which spares the durable rewrite of every package's state.
  if (HoldsBytes(path, bytes)) return;
  ReplaceFileContent(path, bytes.Data(), bytes.Size());
}

void LoadStateFile(MXMLItem& tree, const MString& path) {
  tree.LoadFile(path);
}

}  // namespace kx
