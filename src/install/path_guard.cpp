#include "install/path_guard.h"

#include "foundation/core/exception.h"
#include "foundation/text/format.h"
#include "foundation/files/path_text.h"
#include "foundation/platform/file_system.h"
#include "foundation/xml/xml_item.h"
#include "foundation/xml/xml_iterator.h"

namespace kx {
namespace {

[[noreturn]] void ThrowOutside(const MString& name) {
  throw MException(MFormat("Item name \"{0}\" leads outside its destination folder.").Add(name));
}

}  // namespace

void CheckItemName(const MString& name) {
  if (name.IsEmpty()) return;
  if (name[0] == '/' || name[0] == '\\') ThrowOutside(name);
  // Both separators count here: a package made elsewhere may use either, and a
  // "..\" must not become a climb on a system that reads it as one.
  int32_t start = 0;
  for (int32_t i = 0; i <= name.Length(); ++i) {
    if (i < name.Length() && name[i] != '/' && name[i] != '\\') continue;
    if (i - start == 2 && name[start] == '.' && name[start + 1] == '.') ThrowOutside(name);
    start = i + 1;
  }
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

void CheckNoPlantedLink(const MString& destination, const MString& target) {
  MString base = destination;
  while (base.Length() > 1 && base[base.Length() - 1] == '/') base = base.Left(base.Length() - 1);
  if (target == base) return;
  MString prefix = base == "/" ? base : base + MString("/");
  if (!target.StartsWith(prefix)) ThrowOutside(target);
  MString rest = target.Mid(prefix.Length());
  CheckItemName(rest);
  MString walked = base;
  int32_t start = 0;
  for (int32_t i = 0; i <= rest.Length(); ++i) {
    if (i < rest.Length() && rest[i] != '/') continue;
    if (i > start) {
      walked = JoinPath(walked, rest.Mid(start, i - start));
      platform::FileStatus status;
      if (platform::GetFileStatus(ToSystem(walked), false, status) != 0)
        return;  // nothing further exists
      if (status.isLink)
        throw MException(MFormat("Path \"{0}\" is reached through the symbolic link \"{1}\".")
                             .Add(target)
                             .Add(walked));
    }
    start = i + 1;
  }
}

}  // namespace kx
