#include "foundation/files/file_ops.h"

#include <string>

#include "foundation/core/exception.h"
#include "foundation/files/file_list.h"
#include "foundation/streams/file_stream.h"
#include "foundation/files/file_time.h"
#include "foundation/text/format.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/files/path_text.h"
#include "foundation/platform/file_system.h"
#include "foundation/platform/system_error.h"
#include "foundation/streams/stream_helpers.h"

namespace kx {
namespace {

// The message, one blank, and the system's text for `error`.
[[noreturn]] void ThrowWithSystemText(MString message, int error) {
  message.Append(MChar(' '));
  message.Append(GetSystemErrorText(error));
  throw MException(message);
}

[[noreturn]] void ThrowRenameFailure(const MString& from, const MString& to, int error) {
  ThrowWithSystemText(MFormat("Could not rename file \"{0}\" to \"{1}\".").Add(from).Add(to), error);
}

// Status for the tests: a trailing "/" is cut first (the root stays the root).
bool QueryStatus(const MString& path, platform::FileStatus& status) {
  std::string name = ToSystem(path);
  while (name.size() > 1 && name.back() == '/') name.pop_back();
  return platform::GetFileStatus(name, true, status) == 0;
}

// Removes what a failed write left; the failure being reported matters more
// than whether this succeeds.
void RemovePartialFile(const MString& path) noexcept {
  try {
    platform::RemoveFile(ToSystem(path));
  } catch (...) {
  }
}

}  // namespace

// ------------------------------------------------------------------- tests

bool MFile::Exists(const MString& path) {
  platform::FileStatus status;
  return QueryStatus(path, status);
}

bool MFile::IsDirectory(const MString& path) {
  platform::FileStatus status;
  return QueryStatus(path, status) && status.kind == platform::EntryKind::kDirectory;
}

bool MFile::IsFile(const MString& path) {
  platform::FileStatus status;
  return QueryStatus(path, status) && status.kind != platform::EntryKind::kDirectory;
}

bool MFile::ExistsDrive(const MString& root) { return IsDirectory(root); }

bool MFile::IsInstalledHere(const MString& directory) {
  return IsFile(JoinPath(directory, MString("setup.state")));
}

int64_t MFile::GetFileSize(const MString& path) {
  platform::FileStatus status;
  if (!QueryStatus(path, status) || status.kind == platform::EntryKind::kDirectory) return -1;
  return status.size;
}

// ------------------------------------------------------------------- times

void MFile::GetFileTime(const MString& path, MDateTime* created, MDateTime* accessed,
                        MDateTime* written) {
  platform::FileStatus status;
  if (platform::GetFileStatus(ToSystem(path), true, status) != 0)
    throw MException(MFormat("Cannot retrieve file time of  \"{0}\".").Add(path));
  if (created) *created = ToDateTime(status.created);
  if (accessed) *accessed = ToDateTime(status.accessed);
  if (written) *written = ToDateTime(status.written);
}

void MFile::SetFileTime(const MString& path, const MDateTime* created, const MDateTime* accessed,
                        const MDateTime* written) {
  // Converted before anything is touched, so a bad time changes nothing.
  platform::FileTime accessTime, writeTime;
  if (accessed) accessTime = ToFileTime(*accessed);
  if (written) writeTime = ToFileTime(*written);
  if (created) ToFileTime(*created);  // checked like the others, though not settable here
  std::string name = ToSystem(path);
  int error = 0;
  if (accessed || written) {
    error = platform::SetFileTimes(name, accessed ? &accessTime : nullptr,
                                   written ? &writeTime : nullptr);
  } else {
    platform::FileStatus status;  // nothing to set, but the file must be there
    error = platform::GetFileStatus(name, true, status);
  }
  if (error != 0) throw MException(MFormat("Cannot change file time for \"{0}\".").Add(path));
}

// ------------------------------------------------------- creating, removing

void MFile::CreateDirectory(const MString& path) {
  if (int error = platform::MakeDirectory(ToSystem(path)))
    ThrowWithSystemText(MFormat("Could not create path \"{0}\".").Add(path), error);
}

void MFile::CreatePath(const MString& path) {
  if (IsDirectory(path)) return;
  std::string name = ToSystem(path);
  // Every level in turn, its failure ignored: the root and levels that exist or
  // are not ours to create do no harm. Only the end result decides.
  for (size_t at = name.find('/', 1); at != std::string::npos; at = name.find('/', at + 1))
    platform::MakeDirectory(name.substr(0, at));
  int error = platform::MakeDirectory(name);
  if (!IsDirectory(path))
    ThrowWithSystemText(MFormat("Could not create path \"{0}\".").Add(path), error);
}

void MFile::Delete(const MString& path) {
  // Linux lets the folder alone decide whether a file may go, so a read-only file
  // needs no attribute change first.
  if (int error = platform::RemoveFile(ToSystem(path)))
    ThrowWithSystemText(MFormat("Could not delete file \"{0}\".").Add(path), error);
}

void MFile::Rename(const MString& from, const MString& to) {
  if (from == to) return;
  if (int error = platform::RenameEntry(ToSystem(from), ToSystem(to))) ThrowRenameFailure(from, to, error);
}

void MFile::Move(const MString& from, const MString& to) {
  if (from == to) return;
  int error = 0;
  bool renamed = false;
  // Only "another file system" is a reason to copy; everything else the rename
  // says stands as the answer.
  Guarded("MFile::Move", [&] {
    error = platform::RenameEntry(ToSystem(from), ToSystem(to));
    renamed = error == 0;
  });
  if (renamed) return;
  if (!platform::IsCrossDeviceError(error)) ThrowRenameFailure(from, to, error);
  // Copying a folder is not a move of it; and the rename would not have replaced
  // an existing target, so the copy must not either.
  if (IsDirectory(from)) ThrowRenameFailure(from, to, error);
  platform::FileStatus existing;  // a link, even a dangling one, counts as a target
  if (platform::GetFileStatus(ToSystem(to), false, existing) == 0)
    ThrowRenameFailure(from, to, platform::FileExistsError());
  Copy(from, to);
  // The copy is complete: a source that cannot be removed leaves two equal files,
  // never none.
  Delete(from);
}

void MFile::Copy(const MString& from, const MString& to) {
  platform::FileStatus source, target;
  std::string fromName = ToSystem(from), toName = ToSystem(to);
  // The stamps are taken before reading moves the access time.
  bool haveTimes = platform::GetFileStatus(fromName, true, source) == 0;
  // Opening the target replaces it: were it the source itself (another spelling, a
  // hard link), its content would be gone before it was read.
  if (haveTimes && platform::GetFileStatus(toName, true, target) == 0 &&
      source.device == target.device && source.inode == target.inode)
    return;
  {
    MFileStream input(from, MFileStream::kModeRead);
    MFileStream output(to, MFileStream::kModeCreate);
    try {
      CopyStream(input, output, kStreamAll);
      output.Close();
    } catch (...) {
      try {
        output.Close();
      } catch (MException&) {
      }
      RemovePartialFile(to);
      throw;
    }
  }
  // Exactly the source's stamps, to the nanosecond, not rounded through MDateTime.
  if (!haveTimes || platform::SetFileTimes(toName, &source.accessed, &source.written) != 0)
    throw MException(MFormat("Cannot change file time for \"{0}\".").Add(to));
}

void MFile::RemoveDirectory(const MString& path) {
  if (int error = platform::RemoveEmptyDirectory(ToSystem(path)))
    ThrowWithSystemText(MFormat("Could not remove directory \"{0}\".").Add(path), error);
}

bool MFile::IsLink(const MString& path) {
  platform::FileStatus status;
  return platform::GetFileStatus(ToSystem(path), false, status) == 0 && status.isLink;
}

void MFile::MakeExecutable(const MString& path) {
  if (int error = platform::AddExecutePermission(ToSystem(path)))
    ThrowWithSystemText(MFormat("Could not make file \"{0}\" executable.").Add(path), error);
}

void MFile::RemoveTree(const MString& path) {
  // A link to a folder goes as a link: what it points at is not ours to empty.
  platform::FileStatus self;
  if (platform::GetFileStatus(ToSystem(path), false, self) == 0 && self.isLink) {
    Delete(path);
    return;
  }
  MFileList list;
  list.Open(path);
  while (list.Next()) {
    MString child = JoinPath(path, list.GetName());
    if (list.IsDirectory() && !list.IsLink())
      RemoveTree(child);
    else
      Delete(child);
  }
  list.Close();
  RemoveDirectory(path);
}

// ------------------------------------------------------------- whole files

void MFile::ReadAll(const MString& path, MMemoryStream& target) {
  MFileStream input(path, MFileStream::kModeRead);
  target.Reserve(target.GetPosition() + input.GetSizeAtOpening());
  CopyStream(input, target, kStreamAll);
}

void MFile::WriteAll(const MString& path, const void* data, int64_t size) {
  MFileStream output(path, MFileStream::kModeCreate);
  try {
    output.Write(data, size);
    output.Close();
  } catch (...) {
    try {
      output.Close();
    } catch (MException&) {
    }
    RemovePartialFile(path);
    throw;
  }
}

}  // namespace kx
