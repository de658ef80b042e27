// The folder table and the data paths derived from it.
//
// The table has 22 entries, indexed by MFolderIndex, built on first use under
// its own lock and kept for the process. Each entry is a full folder path in
// the program's form, or empty when this system has no such folder or it could
// not be found (one failed lookup empties only its own entry). The names are
// those by which the path macros are made from the entries. The Linux mapping
// of each entry, and why, is in docs/platform-linux.md.
//
// GetFolder(kFolderLogs) creates that folder each time it is asked for; no
// other lookup creates anything. The data path operations create what they
// name when asked to; a folder that cannot be created throws "Could not create
// path \"{0}\". ..." (MFile::CreatePath). All other failures come back as empty
// or uncopied paths; callers test with MFile::Exists.
#pragma once

#include <cstdint>

#include "foundation/text/text_string.h"

namespace kx {

enum MFolderIndex : int32_t {
  kFolderData = 0,       // shared data of the maker's products, plus "Vorlund"
  kFolderUserData = 1,   // the user's data of the maker's products, plus "Vorlund"
  kFolderUser = 2,       // the user's home
  kFolderDocuments = 3,  // shared documents; the user's when there are none
  kFolderUserDocuments = 4,
  kFolderProgramFiles = 5,
  kFolderComponents = 6,  // components shared by programs
  kFolderStartMenu = 7,
  kFolderUserStartMenu = 8,
  kFolderStartMenuPrograms = 9,
  kFolderUserStartMenuPrograms = 10,
  kFolderDesktop = 11,
  kFolderUserDesktop = 12,
  kFolderSystem = 13,
  kFolderLib = 14,  // shared data plus "Vorlund/LIB"
  kFolderFonts = 15,
  kFolderDownload = 16,
  kFolderMyMusic = 17,
  kFolderMyVideo = 18,
  kFolderMyPictures = 19,
  kFolderTemp = 20,
  kFolderLogs = 21,  // the user's data plus "!temp"; created when asked for
  kFolderCount = 22,
};

// The maker's folder name, shared by all the maker's products.
inline constexpr const char* kMakerFolder = "Vorlund";

// The name of an entry ("data", "userdata", ... "logs"); "Index out of range."
// outside 0 to 21.
const char* FolderName(int32_t index);

// The entry's folder; "Index out of range." outside 0 to 21.
MString GetFolder(int32_t index);

// Drops the table so that the next GetFolder builds it again from the
// environment as it is then. For tests that change HOME or the XDG variables.
void ForgetFolderTable();

// The user data folder joined with `name`. When it does not exist and
// `createIfMissing` is set, it is created with its missing parents. Without a
// home folder there is no user data folder: the answer is empty, and asking to
// create it throws "Could not create path ..." naming what was wanted.
MString GetDataPath_User(const MString& name, bool createIfMissing = true);

// The shared data folder joined with `name`; nothing is created. Empty when
// there is no shared data folder.
MString GetDataPath_Global(const MString& name);

// GetDataPath_User(folderName) joined with `fileName`. When that file does not
// exist and `copyFromGlobal` is set, the file of that name in
// GetDataPath_Global(folderName) is copied there first; a copy that fails (or a
// global file that is not there) leaves the user file missing. A file the user
// has once got is never replaced from the global folder.
MString GetDataPath_File_User(const MString& folderName, const MString& fileName,
                              bool copyFromGlobal);

// The folder in which VST plug-in hosts of this system look for plug-ins of the
// user: "~/.vst" on Linux. Empty without a home folder.
MString GetVstPluginsFolder();

}  // namespace kx
