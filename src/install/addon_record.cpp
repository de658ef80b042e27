#include "install/addon_record.h"

#include "foundation/files/file_ops.h"
#include "foundation/files/path_text.h"
#include "foundation/streams/file_stream.h"

namespace kx {

AddonRecord::AddonRecord(const MString& type, const MString& name) : root(MString("Installation")) {
  root.SetAttribute(MXMLName("type"), MVariant(type));
  root.SetAttribute(MXMLName("name"), MVariant(name));
  root.SetAttribute(kUninstallFlagKey, MVariant(int32_t{1}));
}

MXMLItem& AddonRecord::Child(const MString& name) {
  if (MXMLItem* child = root.FindSubItem(MXMLName(name))) return *child;
  return root.AddSubItem(name);
}

void AddonRecord::AddPath(MXMLItem& child, const char* kind, const MString& path) {
  child.AddSubItem(MString(kind)).value = MVariant(path);
}

void AddonRecord::Save(const MString& folder) const {
  MFile::CreatePath(folder);
  // Text XML: a record is for people and support to read as much as for removal.
  MFileStream file(FilePath(folder, root.GetAttributeText(MXMLName("name"))),
                   MFileStream::kModeCreate);
  root.SaveXML(file);
  file.Close();
}

MString AddonRecord::FilePath(const MString& folder, const MString& name) {
  MString safe = name;
  safe.Replace(u'/', u'_');
  safe.Replace(u'\\', u'_');
  if (safe.IsEmpty() || safe == MString(".") || safe == MString("..")) safe = MString("_");
  return JoinPath(folder, safe + MString(".xml"));
}

}  // namespace kx
