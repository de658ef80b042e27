// Source trees of packages. Folders are walked with an explicit list of pending
// folders rather than by recursion, so that a deep source folder costs memory,
// not stack.
#include "install/package_source.h"
#include "foundation/resources/resource_keys.h"

#include <memory>
#include <utility>
#include <vector>

#include "foundation/text/date_time.h"
#include "foundation/core/exception.h"
#include "foundation/files/file_list.h"
#include "foundation/files/file_ops.h"
#include "foundation/streams/file_stream.h"
#include "foundation/text/format.h"
#include "foundation/xml/mbx_files.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/files/path_text.h"
#include "foundation/xml/xml_item.h"
#include "foundation/xml/xml_iterator.h"

namespace kx {

namespace {

// The attribute that names a file item's source: `srcpath`, else `path`.
MXMLAttribute* SourceAttribute(MXMLItem& item) {
  MXMLAttribute* source = item.FindAttribute(kSourcePathKey);
  return source ? source : item.FindAttribute(kPathKey);
}

void AddFileItem(MXMLItem& parent, const MString& path, const MString& name, MDateTime written) {
  // The install walk compares whole seconds: a sub-second part in `time` would
  // make the file look changed at every installation.
  written.milliseconds = 0;
  MXMLItem& item = parent.AddSubItem(MString("file"));
  item.AppendAttribute("name", MVariant(name));
  item.AppendAttribute("op", MVariant("update"));
  item.AppendAttribute("time", MVariant(written.ToString()));
  item.AppendAttribute("srcpath", MVariant(path));
}

}  // namespace

void AddFolderToSourceTree(MXMLItem& root, const MString& folder) {
  if (!MFile::IsDirectory(folder))
    throw MException(MFormat("Source folder \"{0}\" does not exist.").Add(folder));
  std::vector<std::pair<MString, MXMLItem*>> pending{{folder, &root}};
  while (!pending.empty()) {
    auto [path, item] = pending.back();
    pending.pop_back();
    MFileList list;
    list.Open(path);
    std::vector<MString> folders;
    while (list.Next()) {
      MString child = JoinPath(path, list.GetName());
      if (list.IsDirectory()) {
        if (!list.IsLink()) folders.push_back(list.GetName());
      } else if (MFile::IsFile(child)) {
        AddFileItem(*item, child, list.GetName(), list.GetWriteTime());
      }
    }
    // Items are appended now in listing order; the folders' contents follow
    // later, taken from the back of the pending list, so push them reversed.
    std::vector<std::pair<MString, MXMLItem*>> created;
    for (const MString& name : folders) {
      MXMLItem& dir = item->AddSubItem(MString("dir"));
      dir.AppendAttribute("name", MVariant(name));
      dir.AppendAttribute("op", MVariant("create"));
      created.emplace_back(JoinPath(path, name), &dir);
    }
    pending.insert(pending.end(), created.rbegin(), created.rend());
  }
}

void LoadSourceTree(MXMLItem& root, const MString& treeFile) {
  MMemoryStream bytes;
  MFile::ReadAll(treeFile, bytes);
  bytes.Seek(0, kSeekBegin);
  MString failure;
  if (!TryLoadAny(root, bytes, &failure)) throw MException(failure);
  MString base = GetDirectory(treeFile);
  MXMLIterator walk;
  for (MXMLItem* item = walk.Begin(root); item; item = walk.Next()) {
    if (!kFileKey.MatchesText(item->name)) continue;
    MXMLAttribute* source = SourceAttribute(*item);
    if (!source) continue;
    MString path = source->value.AsString();
    if (!path.StartsWith(MString("/"))) source->value = MVariant(JoinPath(base, path));
  }
}

MSourceOpener PackageSourceOpener() {
  return [](MXMLItem& item) -> std::unique_ptr<MStream> {
    MXMLAttribute* source = SourceAttribute(item);
    if (!source) return nullptr;
    MString path = source->value.AsString();
    if (!MFile::IsFile(path)) throw MException(MFormat("Source file \"{0}\" does not exist.").Add(path));
    auto stream = std::make_unique<MFileStream>(path, MFileStream::kModeRead);
    MXMLName key = source->name;  // the attribute goes with its name
    item.RemoveAttribute(key);
    return stream;
  };
}

}  // namespace kx
