// MFileList: the entries of one directory, one at a time.
//
//   MFileList list;
//   list.Open(directory);            // throws for a directory that cannot be read
//   while (list.Next()) use(list.GetName(), list.IsDirectory(), list.GetSize());
//
// Open reads the whole directory at once and sorts it by name, letters compared
// without case first, so that a listing comes in the same order on every file
// system. "." and ".." never appear. The mask ("*" for all) may hold "*" and "?"
// and is compared without case. Without `withFolders` directories are left out.
// An empty directory with `withDrives` lists the roots of the system: on Linux
// the one root "/", as a folder.
//
// A directory that cannot be read throws "Could not access path \"{0}\" to get
// file list." with a blank and the system's text after it.
#pragma once

#include <cstdint>
#include <vector>

#include "foundation/text/date_time.h"
#include "foundation/platform/file_system.h"
#include "foundation/text/text_string.h"

namespace kx {

class MFileList {
 public:
  void Open(const MString& directory, const MString& mask = MString("*"), bool withDrives = false,
            bool withFolders = true);
  // Moves to the next entry; false when none is left.
  bool Next();
  void Close();

  const MString& GetDirectory() const { return directory_; }
  // Of the current entry, valid once Next answered true. Links are described by
  // what they point at; a dangling link is neither file nor folder.
  const MString& GetName() const { return current_->name; }
  bool IsDirectory() const { return current_->status.kind == platform::EntryKind::kDirectory; }
  bool IsLink() const { return current_->status.isLink; }
  int64_t GetSize() const { return current_->status.size; }
  // UTC; throw the conversion message of file_time.h for a time beyond year 9999.
  MDateTime GetCreationTime() const;
  MDateTime GetAccessTime() const;
  MDateTime GetWriteTime() const;

 private:
  struct Entry {
    MString name;
    platform::FileStatus status;
  };

  MString directory_;
  std::vector<Entry> entries_;
  size_t next_ = 0;
  const Entry* current_ = nullptr;
};

}  // namespace kx
