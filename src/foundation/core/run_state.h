// The run flags: process-wide facts about this run that every layer may read.
// They live at the bottom of the library stack so that the catalogue, transfer
// and install code can consult them without depending on the application.
//
// The entry writes them before the application object exists; after that they
// stay constant, except SilentFailureCode, OfflineMode and PackageCachePresent,
// which start-up and the offline data write. They need no lock because they are
// all written before the first other thread starts.
//
// The run's log, ApplicationLog, is MLog (foundation/core/log.h).
#pragma once

#include <cstdint>

#include "foundation/containers/containers.h"
#include "foundation/text/text_string.h"

namespace kx {

extern bool SilentMode;          // /silent: no dialog may be shown, failures are only logged
extern bool UninstallMode;       // /uninstall
extern bool CloudLaunchMode;     // /glustol
extern bool LaunchedFromPlugin;  // /launchfromplugin
extern bool SilentAllPlugins;    // /silent without names: act on every plug-in
extern MArray<MString> SilentPluginNames;  // plug-in names of a silent run
extern int32_t SilentFailureCode;          // 2 when a silent install run has no server
extern bool OfflineMode;                   // the connection test failed: local data only
extern bool PackageCachePresent;           // the data folder holds "PKG"
extern MString DataFolder;                 // the per-user application data folder

// Back to the values at process start; for tests that run the entry in-process.
void ResetRunFlags();

}  // namespace kx
