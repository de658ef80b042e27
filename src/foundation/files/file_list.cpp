#include "foundation/files/file_list.h"

#include <algorithm>
#include <string>

#include "foundation/core/exception.h"
#include "foundation/files/file_ops.h"
#include "foundation/files/file_time.h"
#include "foundation/text/format.h"
#include "foundation/files/path_text.h"
#include "foundation/platform/system_error.h"

namespace kx {
namespace {

MChar FoldLetter(MChar unit) { return unit >= 'a' && unit <= 'z' ? static_cast<MChar>(unit - 32) : unit; }

// Letters without case first, then the exact units, so the order is total.
bool NameBefore(const MString& a, const MString& b) {
  int32_t common = std::min(a.Length(), b.Length());
  for (int32_t i = 0; i < common; ++i) {
    MChar x = FoldLetter(a[i]), y = FoldLetter(b[i]);
    if (x != y) return x < y;
  }
  if (a.Length() != b.Length()) return a.Length() < b.Length();
  return a.CompareCase(b) < 0;
}

// "*" any run of units, "?" one unit, letters without case.
bool MatchesMask(const MString& name, int32_t at, const MString& mask, int32_t maskAt) {
  while (maskAt < mask.Length()) {
    MChar m = mask[maskAt];
    if (m == '*') {
      while (maskAt < mask.Length() && mask[maskAt] == '*') ++maskAt;
      if (maskAt == mask.Length()) return true;
      for (int32_t from = at; from <= name.Length(); ++from)
        if (MatchesMask(name, from, mask, maskAt)) return true;
      return false;
    }
    if (at >= name.Length()) return false;
    if (m != '?' && FoldLetter(m) != FoldLetter(name[at])) return false;
    ++at;
    ++maskAt;
  }
  return at == name.Length();
}

// Extension filter: ";"-separated, compared without case; empty keeps everything.
bool HasListedExtension(const MString& name, const MString& extensions) {
  if (extensions.IsEmpty()) return true;
  MString extension = GetExtension(name);
  int32_t start = 0;
  while (start <= extensions.Length()) {
    int32_t end = extensions.FindChar(';', start);
    if (end < 0) end = extensions.Length();
    MString wanted = extensions.Mid(start, end - start);
    if (!wanted.IsEmpty() && wanted.EqualsNoCase(extension)) return true;
    start = end + 1;
  }
  return false;
}

void ListRecursed(const MString& directory, const MString& prefix, MArray<MString>& result,
                  const MString& extensions) {
  MFileList list;
  list.Open(directory);
  MArray<MString> folders;
  while (list.Next()) {
    if (!list.IsDirectory()) {
      if (HasListedExtension(list.GetName(), extensions)) result.Add(prefix + list.GetName());
    } else if (!list.IsLink()) {
      // A link to a folder is not entered: it may lead back up into the walk.
      folders.Add(list.GetName());
    }
  }
  list.Close();
  for (const MString& folder : folders) {
    Guarded("MFile::GetFileListRecursed", [&] {
      ListRecursed(JoinPath(directory, folder), prefix + folder + MString("/"), result, extensions);
    });
  }
}

}  // namespace

void MFileList::Open(const MString& directory, const MString& mask, bool withDrives,
                     bool withFolders) {
  Close();
  directory_ = directory;
  if (directory.IsEmpty() && withDrives) {
    Entry& root = entries_.emplace_back();
    root.name = MString("/");
    platform::GetFileStatus("/", true, root.status);
    return;
  }
  std::vector<platform::DirectoryEntry> found;
  int error = platform::ReadDirectory(ToSystem(directory), found);
  if (error != 0) {
    entries_.clear();
    MString message = MFormat("Could not access path \"{0}\" to get file list.").Add(directory);
    message.Append(MChar(' '));
    message.Append(GetSystemErrorText(error));
    throw MException(message);
  }
  entries_.reserve(found.size());
  for (platform::DirectoryEntry& item : found) {
    if (!withFolders && item.status.kind == platform::EntryKind::kDirectory) continue;
    MString name = FromSystem(item.name);
    if (!MatchesMask(name, 0, mask, 0)) continue;
    entries_.push_back(Entry{std::move(name), item.status});
  }
  std::sort(entries_.begin(), entries_.end(),
            [](const Entry& a, const Entry& b) { return NameBefore(a.name, b.name); });
}

bool MFileList::Next() {
  if (next_ >= entries_.size()) {
    current_ = nullptr;
    return false;
  }
  current_ = &entries_[next_++];
  return true;
}

void MFileList::Close() {
  entries_.clear();
  next_ = 0;
  current_ = nullptr;
}

MDateTime MFileList::GetCreationTime() const { return ToDateTime(current_->status.created); }
MDateTime MFileList::GetAccessTime() const { return ToDateTime(current_->status.accessed); }
MDateTime MFileList::GetWriteTime() const { return ToDateTime(current_->status.written); }

// ------------------------------------------------------------- MFile listings

void MFile::GetFileList(const MString& directory, MArray<MString>& result,
                        const MString& extensions, bool withFolders) {
  MFileList list;
  list.Open(directory, MString("*"), false, withFolders);
  while (list.Next()) {
    if (list.IsDirectory() || HasListedExtension(list.GetName(), extensions))
      result.Add(list.GetName());
  }
}

void MFile::GetFileListRecursed(const MString& directory, MArray<MString>& result,
                                const MString& extensions) {
  ListRecursed(directory, MString(), result, extensions);
}

}  // namespace kx
