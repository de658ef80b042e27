#include "install/path_guard.h"

#include "foundation/core/exception.h"
#include "foundation/files/path_text.h"
#include "foundation/text/format.h"
#include "foundation/xml/xml_item.h"
#include "foundation/xml/xml_iterator.h"

namespace kx {
namespace {

[[noreturn]] void ThrowOutside(const MString& name) {
  throw MException(MFormat("Item name \"{0}\" leads outside its destination folder.").Add(name));
}

}  // namespace

void CheckItemName(const MString& name) {
  if (!IsContainedPath(name)) ThrowOutside(name);
}

void CheckPackageTree(MXMLItem& root) {
  MXMLIterator walk;
  for (MXMLItem* item = walk.Begin(root); item; item = walk.Next()) {
    if (item->name.EqualsNoCase(MString("dir")) || item->name.EqualsNoCase(MString("file"))) {
      if (MXMLAttribute* name = item->FindAttribute("name")) {
        MString text = name->value.AsString();
        CheckItemName(text);
        // An empty name takes the parent's `path` tail, which must be a plain name too.
        if (text.IsEmpty() && item->parent)
          if (MXMLAttribute* path = item->parent->FindAttribute("path"))
            CheckItemName(GetFileName(path->value.AsString()));
      }
    } else if (item->name.EqualsNoCase(MString("execute"))) {
      CheckItemName(item->value.AsString());
    } else if (item->name.EqualsNoCase(MString("extension"))) {
      if (MXMLAttribute* dst = item->FindAttribute("dst")) {
        MString text = dst->value.AsString();
        if (text.FindChar('/') >= 0 || text.FindChar('\\') >= 0) ThrowOutside(text);
      }
    }
  }
}

}  // namespace kx
