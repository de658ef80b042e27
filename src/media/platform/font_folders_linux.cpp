#include "media/platform/font_folders.h"

#include <cstdlib>

#include "foundation/files/path_text.h"
#include "foundation/platform/user_folders.h"

namespace kx {
namespace {

void AddOnce(MArray<MString>& folders, const MString& folder) {
  if (folder.IsEmpty()) return;
  for (int32_t i = 0; i < folders.Count(); ++i)
    if (folders[i].CompareCase(folder) == 0) return;
  folders.Add(folder);
}

}  // namespace

MArray<MString> SystemFontFolders() {
  MArray<MString> folders;
  MString userData = UserDataFolder();
  if (!userData.IsEmpty()) AddOnce(folders, JoinPath(userData, MString("fonts")));
  // Only absolute entries count, as the desktop's base-directory rules say.
  const char* shared = std::getenv("XDG_DATA_DIRS");
  MString list = FromSystem(shared && *shared ? shared : "/usr/local/share:/usr/share");
  MArray<MString> entries;
  list.Split(MChar(':'), entries);
  for (int32_t i = 0; i < entries.Count(); ++i)
    if (entries[i].StartsWith(MString("/"))) AddOnce(folders, JoinPath(entries[i], MString("fonts")));
  AddOnce(folders, MString("/usr/share/fonts"));
  AddOnce(folders, MString("/usr/local/share/fonts"));
  MString home = UserHomeFolder();
  if (!home.IsEmpty()) AddOnce(folders, JoinPath(home, MString(".fonts")));
  return folders;
}

}  // namespace kx
