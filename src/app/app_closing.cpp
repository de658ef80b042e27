// KestrixApp: the close request and the end of the run.
#include "app/kestrix_app.h"
#include "app/run_flags.h"
#include "app/settings_keys.h"
#include "catalogue/package.h"
#include "catalogue/plugin.h"
#include "catalogue/settings_node.h"
#include "foundation/core/boxes.h"
#include "foundation/core/log.h"
#include "transfer/download_thread.h"

namespace kx {

bool KestrixApp::CloseRequest() {
  if (UninstallRunning.load() || AddonWorkRunning) {
    // The engine is inside a package: nothing is stopped, the user decides.
    return ShowQuestion(nullptr,
                        "An (un)installation is in progress. Exiting now may result in an "
                        "inconsistent data state. Please wait a few seconds until the current "
                        "process is finished, and then you can close the application. Are you "
                        "sure you want to exit now?") == 1;
  }
  if (Phase.load() == PackagePhase::kIdle && !OfflineDataBusy) return true;
  const char* question =
      Phase.load() != PackagePhase::kIdle
          ? "Plugin (un)installation is in progress. Do you really want to cancel the whole "
            "(un)installaion process? "
          : "Download of offline installation data is in progress. Do you really want to "
            "cancel this whole process? ";
  if (ShowQuestion(nullptr, question) != 1) return false;
  {
    MLock hold(mainLock_);
    for (const std::unique_ptr<Package>& package : packages_) package->ClearWishes();
    for (const std::unique_ptr<Plugin>& plugin : plugins_) {
      plugin->Install = false;
      plugin->Save();
    }
  }
  thread_->RequestClose();
  return true;
}

KestrixApp::~KestrixApp() {
  if (UpToDate) {
    // The thread touches the trees; they are written only once it is gone.
    thread_->End();
    thread_->Wait();
    WriteSetting(Settings.PackageSettings, kSettingVST3CustomPath, Vst3CustomPath);
    WriteSetting(Settings.PackageSettings, kSettingDownloadPath, DownloadPath);
    WriteSetting(Settings.PackageSettings, kSettingOfflineFolderPath, OfflineFolderPath);
    WriteSetting(Settings.PackageSettings, kSettingScale, Scale);
    MArray<Plugin*> plugins;
    for (const std::unique_ptr<Plugin>& plugin : plugins_) plugins.Add(plugin.get());
    Settings.SaveAtEndOfRun(General, plugins);
  }
  thread_.reset();
  plugins_.Clear();
  packages_.Clear();
}

}  // namespace kx
