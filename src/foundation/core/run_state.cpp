#include "foundation/core/run_state.h"

namespace kx {

bool SilentMode = false;
bool UninstallMode = false;
bool CloudLaunchMode = false;
bool LaunchedFromPlugin = false;
bool SilentAllPlugins = false;
MArray<MString> SilentPluginNames;
int32_t SilentFailureCode = 0;
bool OfflineMode = false;
bool PackageCachePresent = false;
MString DataFolder;

void ResetRunFlags() {
  SilentMode = false;
  UninstallMode = false;
  CloudLaunchMode = false;
  LaunchedFromPlugin = false;
  SilentAllPlugins = false;
  SilentPluginNames.Clear();
  SilentFailureCode = 0;
  OfflineMode = false;
  PackageCachePresent = false;
  DataFolder.Clear();
}

}  // namespace kx
