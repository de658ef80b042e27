// The run flags of the application. They are defined with the foundation
// (foundation/core/run_state.h) so that every library below the application can read
// them; the entry and the application include this header.
#pragma once

#include "foundation/core/run_state.h"

namespace kx {

// The offline folder actions of the command line (/offlinecreate FOLDER,
// /offlineload FOLDER); empty when not asked for. Written before KestrixApp.
extern MString OfflineCreateFolder;
extern MString OfflineLoadFolder;

}  // namespace kx
