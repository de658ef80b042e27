// AddonRecord: the installation record of one add-on, "<name>.xml" in the record
// folder. Root "Installation" with `type`, `name` and `uninstallflag` 1; one child
// per extraction with `size` and `count`, and `dir` and `file` items whose text
// is a path below that child's base folder.
#pragma once

#include "foundation/text/text_string.h"
#include "foundation/xml/xml_item.h"
#include "foundation/xml/xml_name.h"

namespace kx {

inline const MXMLName kSizeKey("size");
inline const MXMLName kCountKey("count");
inline const MXMLName kUninstallFlagKey("uninstallflag");

class AddonRecord {
 public:
  AddonRecord(const MString& type, const MString& name);

  // The child of that name, made on first use.
  MXMLItem& Child(const MString& name);
  static void AddPath(MXMLItem& child, const char* kind, const MString& path);
  // Writes "<folder>/<name>.xml", making the folder when missing.
  void Save(const MString& folder) const;

  // The record file of an add-on name; a "/" or "\" in the name becomes "_", so
  // the record stays in its folder whatever the list calls the add-on.
  static MString FilePath(const MString& folder, const MString& name);

  MXMLItem root;
};

}  // namespace kx
