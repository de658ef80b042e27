// The user's own folders as the desktop defines them. Only the configuration
// folder so far; the module's full folder table builds on this file.
#pragma once

#include "foundation/text_string.h"

namespace kx {

// The user's home folder: $HOME, else the password database's entry; empty when
// neither knows one.
MString UserHomeFolder();

// The per-user configuration folder: $XDG_CONFIG_HOME when it is an absolute path,
// else the home folder plus ".config"; empty when no home folder is known.
MString UserConfigFolder();

}  // namespace kx
