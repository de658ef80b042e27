// KestrixApp: members and the start-up sequence.
#include "app/kestrix_app.h"

#include "app/run_flags.h"
#include "app/settings_keys.h"
#include "catalogue/package.h"
#include "catalogue/plugin.h"
#include "catalogue/settings_node.h"
#include "foundation/core/boxes.h"
#include "foundation/core/exception.h"
#include "foundation/core/log.h"
#include "foundation/files/data_paths.h"
#include "foundation/files/file_ops.h"
#include "foundation/files/path_text.h"
#include "foundation/text/format.h"
#include "kestrix_version.h"
#include "transfer/download_thread.h"
#include "transfer/self_update.h"

namespace kx {

namespace {

constexpr const char* kOverrideFile = "!DownloaderOverride.xml";

}  // namespace

KestrixApp::KestrixApp() : thread_(std::make_unique<DownloadThread>(*this)) {
  // 1-3: window base, trees, thread (not started); the help text is the window's.
  UpToDate = true;
  MLog::Line("\nKestrixApp()");
  // 4: a missing or unreadable file leaves an empty tree: every default applies.
  Settings.Load(DataFolder);
  // 5
  LoadDownloadOverride();
  // 6-10
  ReadStartupSettings();
  // 11
  ConnectionTest();
  // 12: a silent run is never replaced by a new setup.
  if (!SilentMode) CheckForSelfUpdate();
  // 13
  CurrentPluginVersion = ReadSettingString(Settings.PackageSettings, kSettingInstalledVersion,
                                           kDefaultInstalledVersion);
  if (CurrentPluginVersion.IsEmpty()) CurrentPluginVersion = kDefaultInstalledVersion;
  // 14-16
  LoadInstallerDefinition();
  LoadAddonList();
  // 17
  Macros.CreatePathMacros(InstallerDefinition);
  // 18
  UninstallFolder = JoinPath(DataFolder, "Uninstall");
  if (!MFile::IsDirectory(UninstallFolder)) MFile::CreatePath(UninstallFolder);
  // 19: leftovers of the older layout.
  for (const char* old : {"MINSTALLERDATABASE.xml", "KESTRIXDATABASE.xml"}) {
    const MString path = JoinPath(DataFolder, old);
    if (MFile::Exists(path)) MFile::Delete(path);
  }
  // 20-22
  LoadPackageDatabase();
  PackageCachePresent = MFile::IsDirectory(JoinPath(DataFolder, "PKG"));
  if (PackageDatabase.subItemCount > 0) LoadPackageList();
  // 23
  if (!UpToDate) return;
  // 24: the window shell (none yet).
  MLog::Line(MFormat("\nKestrix up to date: {0}").Add(UpToDate ? 1 : 0));
  // 25: the plug-in records; the tiles come with the window.
  BuildPlugins();
  // 26
  Scale = ReadSettingDouble(Settings.PackageSettings, kSettingScale, 1.0);
  // 27: a run for the offline folder installs nothing here.
  const bool offlineAction = !OfflineCreateFolder.IsEmpty() || !OfflineLoadFolder.IsEmpty();
  if (offlineAction) {
    NothingToDo = OfflineCreateFolder.IsEmpty();
  } else if (!UninstallMode) {
    bool updating = false;
    if (PackageDatabase.subItemCount > 0) {
      updating = CheckForPackageUpdates(false);
      RemoveSupersededPackageFiles();
    }
    if (!updating && SilentMode && SilentFailureCode == 0) InstallChange(false, false);
  } else {
    UninstallAll();
  }
  // 28: the add-on records; their tab comes with the window.
  BuildAddons();
  if (!OfflineCreateFolder.IsEmpty() && SilentFailureCode == 0) {
    closeAfterOfflineCopy_ = true;
    if (!StartOfflineCreation(OfflineCreateFolder, true)) NothingToDo = true;
  }
  // 29
  if (!NothingToDo && SilentFailureCode == 0) {
    MLog::Line("\nStarting download thread ...");
    thread_->Start();
    // The work flagged above is taken at once, not after the first idle sleep.
    thread_->Wake();
    MLog::Line("Download thread started.");
  }
  // 30: the controls come with the window.
  // 31
  if (!SilentMode) {
    MLog::Line("\nKestrix GUI created successfully.");
  } else {
    MLog::Line("\nAll Kestrix controls were created successfully.");
    if (SilentFailureCode > 0) {
      MLog::Line(MFormat("\nClosing Kestrix, error code: {0}").Add(SilentFailureCode));
      return;
    }
  }
  // 32: offline data asked for on the command line, or left for this start by
  // an earlier run that handed over to a new setup.
  MString startupFolder =
      ReadSettingString(Settings.PackageSettings, kSettingOfflineDataStartupPath, MString());
  if (!startupFolder.IsEmpty())
    WriteSetting(Settings.PackageSettings, kSettingOfflineDataStartupPath, MString());
  if (!OfflineLoadFolder.IsEmpty()) startupFolder = OfflineLoadFolder;
  if (!startupFolder.IsEmpty()) OfflineDataLoaded = LoadOfflineInstallData(startupFolder);
}

void KestrixApp::CheckForSelfUpdate() {
  SelfUpdateRequest request;
  request.installedVersion = MString(kKestrixVersion);
  request.downloadFolder = DownloadPath;
  request.autoUpdate = General.checkAutoSelfUpdate;
  request.status = [this](const MString& text) { Show(text, 0.0F); };
  const SelfUpdateResult result = CheckSelfUpdate(endpoints_, SelfUpdateList, request);
  UpToDate = result.upToDate;
  AvailableSelfVersion = result.availableVersion;
  SetupPath = result.setupPath;
}

void KestrixApp::LoadDownloadOverride() {
  const MString path = GetDataPath_User(kOverrideFile, false);
  if (path.IsEmpty() || !MFile::IsFile(path)) return;
  MXMLItem root;
  root.LoadFile(path);
  endpoints_.DownloadOverrideFolder = root.value.AsString();
}

void KestrixApp::ReadStartupSettings() {
  MXMLItem& package = Settings.PackageSettings;
  DownloadPath = DownloadPathWithMakerFolder(
      ReadSettingString(package, kSettingDownloadPath, DefaultDownloadPath()));
  if (!CloudLaunchMode) {
    const MString vstDefault = DefaultVst64PluginsPath();
    General = Settings.ReadGeneralSettings(vstDefault);
  } else {
    General = Settings.ReadGeneralSettings(MString());
  }
  VstEnabled = General.checkVST;
  Vst3Enabled = General.checkVST3;
  AaxEnabled = General.checkAAX;
  // The servers are the start-up host (built in, or KESTRIX_SERVER).
  endpoints_.MainServer = StartupServerHost();
  endpoints_.AddonServer = StartupServerHost();
  Vst3CustomPath = ReadSettingString(package, kSettingVST3CustomPath, MString());
  OfflineFolderPath = ReadSettingString(package, kSettingOfflineFolderPath, DownloadPath);
  if (OfflineFolderPath.IsEmpty()) OfflineFolderPath = DownloadPath;
}

void KestrixApp::ReportFailure(const MString& text) {
  MLog::Line(text);
  if (!SilentMode) ShowError(nullptr, text);
}

void KestrixApp::Show(const MString& text, float value) { thread_->Status.Set(text, true, value); }

void KestrixApp::SavePackageSettings() {
  // The files are written when the run ends; the items keep their keys in the
  // trees meanwhile.
}

}  // namespace kx
