// The file system calls under MFile and MFileList. Paths are in the system form
// (ToSystem of path_text.h); every call answers 0 or the system's error number,
// taken at once, so that the caller can compose its message without losing it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kx::platform {

// A point in time as the file system keeps it: seconds since 1970-01-01 00:00:00
// UTC and the nanoseconds within that second.
struct FileTime {
  int64_t seconds = 0;
  int32_t nanoseconds = 0;
  friend bool operator==(const FileTime&, const FileTime&) = default;
};

enum class EntryKind { kFile, kDirectory, kOther };

struct FileStatus {
  EntryKind kind = EntryKind::kOther;  // of what a link points at, when followed
  bool isLink = false;                 // the entry itself is a symbolic link
  int64_t size = 0;
  uint64_t device = 0;  // device and inode together name the file itself
  uint64_t inode = 0;
  FileTime created;   // birth time where the file system keeps one, else `written`
  FileTime accessed;
  FileTime written;
};

struct DirectoryEntry {
  std::string name;
  FileStatus status;  // links followed; a broken link is kOther with isLink set
};

// Status of the entry at `path`; with `followLinks` false a link describes itself.
int GetFileStatus(const std::string& path, bool followLinks, FileStatus& status);

// Sets the last-access and last-write times; a null pointer leaves that time as it
// is. The creation time cannot be set on Linux.
int SetFileTimes(const std::string& path, const FileTime* accessed, const FileTime* written);

// One directory level, with the permissions the process's umask allows.
int MakeDirectory(const std::string& path);

// Removes a file or a link (never what the link points at). The file's own
// permission bits play no part: only the folder's decide.
int RemoveFile(const std::string& path);

// Removes an empty directory.
int RemoveEmptyDirectory(const std::string& path);

// Renames within one file system and never replaces an existing `to` (that is
// "File exists"). Moving between file systems answers the cross-device error.
int RenameEntry(const std::string& from, const std::string& to);
bool IsCrossDeviceError(int error);

// The entries of a directory in the order the system gives them, "." and ".."
// left out.
int ReadDirectory(const std::string& path, std::vector<DirectoryEntry>& entries);

// A regular file that the process may execute.
bool IsExecutableFile(const std::string& path);
// Adds the execute permission wherever the read permission stands (user, group,
// others), as a downloaded program needs before it can be started.
int AddExecutePermission(const std::string& path);

// The error number of "File exists", for a target that must not be replaced.
int FileExistsError();

}  // namespace kx::platform
