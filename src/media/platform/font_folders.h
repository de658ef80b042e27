// Where this system keeps its fonts, in the order they are listed: the user's
// own folders first, then the shared ones. On Linux these are the font folders
// that the desktop's font configuration reads by default: "fonts" below the
// user's data folder ($XDG_DATA_HOME, default ~/.local/share) and below each
// folder of $XDG_DATA_DIRS (default /usr/local/share:/usr/share), then
// /usr/share/fonts and /usr/local/share/fonts in case XDG_DATA_DIRS leaves them
// out, and the older per-user ~/.fonts. Each folder appears once; whether it
// exists is for the caller to test. See docs/platform-linux.md.
#pragma once

#include "foundation/containers/containers.h"
#include "foundation/text/text_string.h"

namespace kx {

MArray<MString> SystemFontFolders();

}  // namespace kx
