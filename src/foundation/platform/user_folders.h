// The user's own folders as the desktop defines them: the home folder, the XDG
// base folders, the user-dirs file, and the folder of each entry of the
// module's folder table (data_paths.h). Every lookup is per user and needs no
// privileges; a folder that cannot be found is an empty text. Paths come back in
// the program's form without a trailing "/" (the root "/" excepted).
#pragma once

#include <cstdint>

#include "foundation/text/text_string.h"

namespace kx {

// The user's home folder: $HOME, else the password database's entry; empty when
// neither knows one.
MString UserHomeFolder();

// The per-user configuration folder: $XDG_CONFIG_HOME when it is an absolute path,
// else the home folder plus ".config"; empty when no home folder is known.
MString UserConfigFolder();

// The per-user data folder: $XDG_DATA_HOME when it is an absolute path, else the
// home folder plus ".local/share"; empty when no home folder is known.
MString UserDataFolder();

// One entry of the user-dirs file ("user-dirs.dirs" in the configuration
// folder), such as "XDG_DOCUMENTS_DIR": a value "$HOME/..." is taken below the
// home folder, an absolute one as it is. A missing file, entry or home folder,
// or a value of another form, gives the home folder plus `fallbackName`.
MString UserDirectory(const char* key, const char* fallbackName);

// The folder that VST plug-in hosts of this system scan in the user's home:
// "~/.vst"; empty when no home folder is known.
MString UserVstFolder();

// The system's folder nearest to entry `index` (0 to 20) of the module's folder
// table, before the module adds the maker's word (to 0, 1 and 14) or derives an
// entry from another. Empty when there is none here or it cannot be found; the
// mapping and the reasons are in docs/platform-linux.md.
MString NearestSystemFolder(int32_t index);

}  // namespace kx
