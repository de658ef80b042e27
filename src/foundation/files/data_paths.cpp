#include "foundation/files/data_paths.h"

#include <exception>

#include "foundation/containers/containers.h"
#include "foundation/core/exception.h"
#include "foundation/files/file_ops.h"
#include "foundation/text/format.h"
#include "foundation/threads/lock.h"
#include "foundation/files/path_text.h"
#include "foundation/platform/user_folders.h"
#include "foundation/core/never_destroyed.h"

namespace kx {
namespace {

const char* const kFolderNames[kFolderCount] = {
    "data",
    "userdata",
    "user",
    "documents",
    "userdocuments",
    "programfiles",
    "components",
    "startmenu",
    "userstartmenu",
    "startmenuprograms",
    "userstartmenuprograms",
    "desktop",
    "userdesktop",
    "system",
    "lib",
    "fonts",
    "download",
    "mymusic",
    "myvideo",
    "mypictures",
    "temp",
    "logs",
};

struct FolderTable {
  bool built = false;
  MString folders[kFolderCount];
};

// Created on first use and never destroyed, so that a thread still running at
// exit can use the table.
MCriticalSection& TableLock() {
  static MNeverDestroyed<MCriticalSection> lock;
  return lock.Get();
}

FolderTable& Table() {
  static MNeverDestroyed<FolderTable> table;
  return table.Get();
}

void CheckIndex(int32_t index) {
  if (index < 0 || index >= kFolderCount) ThrowIndexOutOfRange();
}

// A base of "/" must stay absolute, which JoinPath would not keep.
MString Below(const MString& base, const MString& relative) {
  if (base.IsEmpty()) return base;
  if (base == "/") return MString("/") + relative;
  return JoinPath(base, relative);
}

// One lookup that throws (out of memory, a damaged environment text) empties
// its own entry and no other.
MString LookUp(int32_t index) {
  MString folder;
  try {
    folder = NearestSystemFolder(index);
  } catch (MException&) {
    folder.Clear();
  } catch (std::exception&) {
    folder.Clear();
  }
  return folder;
}

void Build(FolderTable& table) {
  MString* f = table.folders;
  for (int32_t index = 0; index < kFolderTemp; ++index) f[index] = LookUp(index);
  f[kFolderData] = Below(f[kFolderData], kMakerFolder);
  f[kFolderUserData] = Below(f[kFolderUserData], kMakerFolder);
  f[kFolderLib] = Below(Below(f[kFolderLib], kMakerFolder), "LIB");
  if (f[kFolderDocuments].IsEmpty()) f[kFolderDocuments] = f[kFolderUserDocuments];
  f[kFolderTemp] = LookUp(kFolderTemp);
  if (f[kFolderTemp].IsEmpty()) f[kFolderTemp] = Below(f[kFolderSystem], "temp");
  f[kFolderLogs] = Below(f[kFolderUserData], "!temp");
  table.built = true;
}

}  // namespace

const char* FolderName(int32_t index) {
  CheckIndex(index);
  return kFolderNames[index];
}

MString GetFolder(int32_t index) {
  CheckIndex(index);
  MString folder;
  {
    MLock lock(TableLock());
    FolderTable& table = Table();
    if (!table.built) Build(table);
    folder = table.folders[index];
  }
  // Without a user data folder there is nowhere to put the logs: creating
  // "!temp" relative to the working folder would litter wherever we run.
  if (index == kFolderLogs && !folder.IsEmpty()) MFile::CreatePath(folder);
  return folder;
}

void ForgetFolderTable() {
  MLock lock(TableLock());
  FolderTable& table = Table();
  for (MString& folder : table.folders) folder.Clear();
  table.built = false;
}

MString GetDataPath_User(const MString& name, bool createIfMissing) {
  MString base;
  Guarded("MModule::GetDataPath_User", [&] { base = GetFolder(kFolderUserData); });
  if (base.IsEmpty()) {
    if (createIfMissing)
      throw MException(MFormat("Could not create path \"{0}\". {1}")
                           .Add(JoinPath(kMakerFolder, name))
                           .Add("No home folder is known for this user."));
    return base;
  }
  MString path = JoinPath(base, name);
  // Creating stands outside the guard: a folder that cannot be made must reach
  // the caller, which cannot work without it.
  if (createIfMissing && !MFile::Exists(path)) MFile::CreatePath(path);
  return path;
}

MString GetDataPath_Global(const MString& name) {
  MString path;
  Guarded("MModule::GetDataPath_Global", [&] {
    MString base = GetFolder(kFolderData);
    if (!base.IsEmpty()) path = JoinPath(base, name);
  });
  return path;
}

MString GetDataPath_File_User(const MString& folderName, const MString& fileName,
                              bool copyFromGlobal) {
  MString path = JoinPath(GetDataPath_User(folderName), fileName);
  if (copyFromGlobal && !MFile::Exists(path)) {
    Guarded("MModule::GetDataPath_File_User", [&] {
      MString global = GetDataPath_Global(folderName);
      if (global.IsEmpty()) return;
      MString source = JoinPath(global, fileName);
      if (MFile::IsFile(source)) MFile::Copy(source, path);
    });
  }
  return path;
}

MString GetVstPluginsFolder() {
  return UserVstFolder();
}

}  // namespace kx
