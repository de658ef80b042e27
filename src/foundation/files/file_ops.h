// MFile: the static class of file system operations, of launching other programs
// and of the lookup of installed software.
//
// Paths are in the program's form ("/" separators, see path_text.h). The tests
// (Exists, IsDirectory, IsFile, ...) answer by their result and never throw; every
// other operation throws MException with its message, the system's text after a
// blank where the message names it. The operations keep no state; Execute changes
// nothing in this process (the child alone starts in the working folder).
#pragma once

#include <cstdint>
#include <string_view>

#include "foundation/containers/containers.h"
#include "foundation/text/date_time.h"
#include "foundation/text/text_string.h"

namespace kx {

class MMemoryStream;

class MFile {
 public:
  MFile() = delete;

  // --- tests; a trailing "/" is cut first, links are followed
  static bool Exists(const MString& path);
  static bool IsDirectory(const MString& path);
  static bool IsFile(const MString& path);
  // The entry itself is a symbolic link (not followed).
  static bool IsLink(const MString& path);
  // A drive root ("x:" on other systems): on Linux any directory, "/" above all.
  static bool ExistsDrive(const MString& root);
  // The directory holds a file "setup.state".
  static bool IsInstalledHere(const MString& directory);
  // Size in bytes of a file, -1 when there is none.
  static int64_t GetFileSize(const MString& path);

  // --- times, UTC both ways (see file_time.h for the sub-second part). Any pointer
  // may be null. Reading: "Cannot retrieve file time of  \"{0}\"." (two blanks);
  // setting: "Cannot change file time for \"{0}\".". The creation time is read as
  // the birth time where the file system keeps one, else the last-write time; it
  // cannot be set on Linux and is ignored by SetFileTime.
  static void GetFileTime(const MString& path, MDateTime* created, MDateTime* accessed,
                          MDateTime* written);
  static void SetFileTime(const MString& path, const MDateTime* created,
                          const MDateTime* accessed, const MDateTime* written);

  // --- creating and removing
  // One level: "Could not create path \"{0}\". <system text>".
  static void CreateDirectory(const MString& path);
  // All missing levels; nothing when the directory exists. Same message.
  static void CreatePath(const MString& path);
  // A file or link, read-only ones too: "Could not delete file \"{0}\". <text>".
  static void Delete(const MString& path);
  // Never replaces an existing `to`; the same name does nothing, not even a call.
  // "Could not rename file \"{0}\" to \"{1}\". <text>".
  static void Rename(const MString& from, const MString& to);
  // Rename, and between two file systems a copy (times kept) and a delete of the
  // source. An existing `to` is not replaced; a directory moves only within one
  // file system. Failures as Rename, Copy and Delete.
  static void Move(const MString& from, const MString& to);
  // Copies the content by streams and carries the source's times over; an
  // existing `to` is replaced. A copy that fails leaves no partial `to` behind.
  static void Copy(const MString& from, const MString& to);
  // An empty directory: "Could not remove directory \"{0}\". <text>"; a directory
  // that is not empty stays as it is.
  static void RemoveDirectory(const MString& path);
  // The directory with everything in it. Links are removed, never followed.
  static void RemoveTree(const MString& path);
  // Lets the file be started as a program (a downloaded setup): "Could not make
  // file \"{0}\" executable. <text>".
  static void MakeExecutable(const MString& path);

  // --- whole files
  // Appends the file's bytes to `target` at its position.
  static void ReadAll(const MString& path, MMemoryStream& target);
  // Creates or replaces the file with these bytes.
  static void WriteAll(const MString& path, const void* data, int64_t size);
  static void WriteAll(const MString& path, std::string_view data) {
    WriteAll(path, data.data(), static_cast<int64_t>(data.size()));
  }

  // --- listing (file_list.cpp); `extensions` is a ";" list compared without
  // case, empty for all
  // Names of the directory's files (and folders with `withFolders`), in listing
  // order, appended to `result`.
  static void GetFileList(const MString& directory, MArray<MString>& result,
                          const MString& extensions = MString(), bool withFolders = false);
  // Paths relative to `directory` ("sub/name") of all files below it: a folder's
  // files first, then each of its folders in turn. A subfolder that cannot be read
  // is left out under the guard "MFile::GetFileListRecursed"; links to folders are
  // not entered.
  static void GetFileListRecursed(const MString& directory, MArray<MString>& result,
                                  const MString& extensions = MString());

  // --- launching (file_launch.cpp)
  // With `parameters` (may be empty), runs `path` with them as its arguments;
  // without (null), opens `path` the desktop's way: an executable file is run
  // without arguments, anything else is handed to "xdg-open". `workingDirectory`,
  // when not empty, is the child's current folder. With `wait` the exit code is
  // returned (128 + signal for a child ended by a signal), else 0. `hidden` has no
  // meaning on Linux. A start that fails, or an "xdg-open" that reports failure
  // while waited for, throws "Could not execute file \"{0}\".".
  static int Execute(const MString& path, const MArray<MString>* parameters,
                     const MString& workingDirectory, bool wait, bool hidden = false);
  // Opens a web address in the desktop's browser, without waiting; failures are
  // absorbed under the guard "MFile::ExecuteWWW".
  static void ExecuteWWW(const MString& url);

  // --- installed software (software_path.cpp)
  // The folder of an installation of `productName` that holds a "setup.state".
  // Linux keeps no register of installed software, so this ends with
  // "Software installation has not been found. Please use the newest installer.".
  static MString GetSoftwareInstallationPath(const MString& productName);
};

}  // namespace kx
