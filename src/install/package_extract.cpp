// Extraction by item paths. Names come from the package, that is from outside:
// every component is checked before it is joined, so nothing is written above
// the target folder.
#include "install/package_extract.h"
#include "foundation/resources/resource_keys.h"

#include <memory>
#include <vector>

#include "foundation/text/date_time.h"
#include "foundation/core/exception.h"
#include "foundation/files/file_ops.h"
#include "foundation/streams/file_stream.h"
#include "foundation/text/format.h"
#include "foundation/files/path_text.h"
#include "foundation/streams/stream_helpers.h"
#include "foundation/xml/xml_item.h"
#include "foundation/xml/xml_iterator.h"
#include "install/item_date_time.h"
#include "install/package_file.h"

namespace kx {

namespace {

const MXMLName kDirKey("dir");
const MXMLName kNameKey("name");
const MXMLName kTimeKey("time");

// The file item's own name, by the install walk's rule for an empty one.
MString FileName(const MXMLItem& file) {
  const MXMLAttribute* name = file.FindAttribute(kNameKey);
  if (name) {
    MString text = name->value.AsString();
    if (text.IsEmpty() && file.parent) text = GetFileName(file.parent->GetAttributeText(kPathKey));
    if (!text.IsEmpty()) return text;
  } else {
    MString path = file.GetAttributeText(kPathKey);
    if (!path.IsEmpty()) return path;
  }
  throw MException(MString("A file item has no name."));
}

void AppendChecked(MString& path, const MString& component) {
  MArray<MString> parts;
  component.Split(u'/', parts);
  for (const MString& part : parts) {
    if (part.IsEmpty() || part == ".") continue;
    if (part == "..") {
      MString shown = path.IsEmpty() ? component : path + MString("/") + component;
      throw MException(MFormat("Item path \"{0}\" leaves the target folder.").Add(shown));
    }
    if (!path.IsEmpty()) path.Append("/");
    path.Append(part);
  }
}

}  // namespace

MString PackageItemPath(const MXMLItem& root, const MXMLItem& file) {
  std::vector<const MXMLItem*> folders;
  for (const MXMLItem* at = file.parent; at && at != &root; at = at->parent) folders.push_back(at);
  MString path;
  for (auto folder = folders.rbegin(); folder != folders.rend(); ++folder)
    AppendChecked(path, (*folder)->GetAttributeText(kNameKey));
  AppendChecked(path, FileName(file));
  if (path.IsEmpty()) throw MException(MString("A file item has no name."));
  return path;
}

namespace {

// Calls `visit` for every file item with content, in the package's order.
template <typename Visit>
void ForEachContentFile(MXMLItem& root, Visit&& visit) {
  MXMLIterator walk;
  walk.Begin(root);
  bool enter = true;  // the root is always entered
  for (MXMLItem* item = walk.Next(enter); item; item = walk.Next(enter)) {
    enter = kDirKey.MatchesText(item->name);
    if (kFileKey.MatchesText(item->name) && MPackageFile::HasContent(*item)) visit(*item);
  }
}

}  // namespace

int64_t ExtractPackage(MPackageFile& package, const MString& folder,
                       const ExtractProgress& progress) {
  MXMLItem& root = package.GetRoot();
  int64_t total = 0;
  if (progress) ForEachContentFile(root, [&](MXMLItem&) { ++total; });
  int64_t written = 0;
  ForEachContentFile(root, [&](MXMLItem& found) {
    MXMLItem* item = &found;
    MString target = JoinPath(folder, PackageItemPath(root, *item));
    MFile::CreatePath(GetDirectory(target));
    {
      std::unique_ptr<MStream> content = package.OpenContent(*item);
      MFileStream file(target, MFileStream::kModeCreate);
      CopyStream(*content, file);
      file.Close();
    }
    if (const MXMLAttribute* time = item->FindAttribute(kTimeKey)) {
      MDateTime stamp = ItemDateTime::Parse(time->value.AsString()).ToFileTime();
      MFile::SetFileTime(target, nullptr, nullptr, &stamp);
    }
    ++written;
    if (progress) progress(written, total);
  });
  return written;
}

}  // namespace kx
