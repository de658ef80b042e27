// KestrixApp: the one application object. It owns the catalogues, the settings
// trees, the package and plug-in lists and the download thread; its constructor
// is the whole start-up (kestrix_app.cpp): settings, the connection test that
// decides ONLINE or OFFLINE (app_catalogue.cpp), the catalogues, the packages,
// the first update check, and the start of the download thread. In SilentMode the
// same constructor runs and the download thread drives the work.
//
// The window steps of the start-up are seams that do nothing until the GUI
// exists; a silent run never shows a window.
//
// Package runs (app_package_run.cpp): RequestInstall turns the plug-in selection
// into wishes on the packages; the download thread fetches them and, once the
// effects binary is in, calls back through DownloadHost to install every flagged
// package. Each package's tree is saved as its `.state` file before the first
// file is touched, so an uninstallation knows what was installed.
//
// Destruction (app_closing.cpp) ends the download thread, then writes the three
// settings files, unless a new setup is pending.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "app/run_flags.h"
#include "app/settings_store.h"
#include "catalogue/catalogue_owner.h"
#include "catalogue/path_macros.h"
#include "catalogue/update_detection.h"
#include "foundation/containers/containers.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/text/text_string.h"
#include "foundation/threads/lock.h"
#include "foundation/xml/xml_item.h"
#include "catalogue/addon.h"
#include "catalogue/addon_paths.h"
#include "install/addon_install.h"
#include "install/install_context.h"
#include "transfer/download_host.h"
#include "transfer/server_host.h"

namespace kx {

class DownloadThread;
class Package;
class Plugin;

// What a package run is doing.
enum class PackagePhase : uint8_t {
  kIdle = 0,
  kInstallChange = 1,
  kUninstallAll = 2,
  kUpdate = 3,
  kSilentUninstallThenInstall = 4,
};

class KestrixApp : public DownloadHost,
                   public CatalogueOwner,
                   public PackageRunHandOver,
                   public ProgressTarget,
                   public AddonHost {
 public:
  static constexpr const char* kWindowTitle =
      "Download & Install plugins and addons for Vorlund plugins";

  // The whole start-up. Throws the failures of the catalogue loading that end it.
  KestrixApp();
  ~KestrixApp() override;
  KestrixApp(const KestrixApp&) = delete;
  KestrixApp& operator=(const KestrixApp&) = delete;

  // --- start-up pieces
  // True when offline; sets OfflineMode.
  bool ConnectionTest();
  // Fills SelfUpdateList, AvailableSelfVersion and SetupPath; clears UpToDate
  // when a new setup is to be run.
  void CheckForSelfUpdate();
  // The definition is asked for as a range from 0, the other catalogues whole.
  bool FetchCatalogue(const char* remotePath, MMemoryStream& memory, const char* failureText,
                      int64_t rangeFrom = -1);
  void LoadInstallerDefinition();
  void LoadAddonList();
  void LoadPackageDatabase();
  void LoadPackageList();
  void BuildPlugins();
  void RemoveSupersededPackageFiles();
  bool CheckForPackageUpdates(bool dataReloaded);

  // --- package runs
  bool RequestInstall(bool reinstall, bool forceDownload);
  void UpdateSelectedComponentsAndPaths(MXMLItem& tree);
  void InstallChange(bool reinstall, bool forceDownload);
  bool UninstallAll();
  void InitializePkgsProgress(bool offline);
  void InstallPendingPackages(Package& trigger);
  void InstallPackage(Package& package, bool uninstall, bool stayInstalled, float barValue);
  void UninstallPackageItem(Package& package);
  void FinishPackageRun();

  // --- add-ons (app_addons.cpp); the main thread's side
  void BuildAddons();
  // The two content paths are set and differ; `index` is the add-on that asked
  // (its wishes are cleared on failure), or -1.
  bool CheckAddonPaths(int32_t index);
  // A click on a row's button: the plug-in version and the paths are checked,
  // then Download flips and the thread is woken. False when refused.
  bool ToggleAddon(int32_t index);
  // Hand-picked files for the thread to install.
  void QueueAddonFiles(const MArray<MString>& paths);
  // Records chosen for removal; refused (false) while a removal is pending.
  bool RequestAddonUninstall(const MArray<AddonRecordEntry>& chosen);

  // --- offline installation data (app_offline.cpp)
  // Flags every package of this platform (and, with `allAddons`, every add-on)
  // for download without install, for the thread's copy into `folder`.
  bool StartOfflineCreation(const MString& folder, bool allAddons);
  // Loads the folder into the data folder; true when loaded, or when a newer
  // setup in it is to be run (UpToDate false).
  bool LoadOfflineInstallData(const MString& path);
  // The data folder holds what a run without a server needs: packages, database
  // and definition.
  bool HasLoadedOfflineData() const;
  bool OfflineFolderReady() const;

  // --- closing: true when the window may close.
  bool CloseRequest();

  // --- DownloadHost
  MLockable& MainLock() override { return mainLock_; }
  const MArray<InstallableItem*>& Packages() override { return packageItems_; }
  const MArray<InstallableItem*>& Addons() override { return addonItems_; }
  const TransferEndpoints& Endpoints() override { return endpoints_; }
  MString PackageFolder() override { return DataFolder; }
  MString AddonFolder() override { return DownloadPath; }
  bool IsPackageWorkPending() override { return Phase != PackagePhase::kIdle; }
  void SavePackageSettings() override;
  void UninstallPackage(InstallableItem& package) override;
  void RunPackageInstall(InstallableItem& package) override;
  bool HasAddonsToUninstall() override { return !AddonUninstallItems.IsEmpty(); }
  bool HasPendingUpdate(const InstallableItem& addon) override;
  MString ItemLabel(const InstallableItem& item) override;
  void InstallAddonFile(const MString& path) override;
  void UninstallAddons() override;
  void ClearAddonUninstallList() override;
  void InstallAddon(InstallableItem& addon, const MString& path) override;
  void AdvanceAddonUpdate(InstallableItem& addon) override;
  void Idle() override;
  bool CopyOfflineData() override;
  void FinishOfflineWork(bool copied) override;

  // --- AddonHost
  MLockable& AddonLock() override { return mainLock_; }
  const MArray<Addon*>& AddonRecords() override { return addonRecords_; }
  MString SamplePath() override { return AddonPaths.samples; }
  MString FactoryPath() override { return AddonPaths.factory; }
  MString RecordFolder() override { return AddonRecordFolder(DataFolder); }
  void AddonStatus(const MString& text, bool setValue, double value) override;
  void SetInstallingAddon(Addon* addon) override;
  void SaveAddonSettings() override { SavePackageSettings(); }
  void ShowAddonErrors(const MString& text) override;

  // --- CatalogueOwner
  bool IsAddonWorkRunning() const override { return AddonWorkRunning; }
  bool IsPackageWorkRunning() const override { return Phase != PackagePhase::kIdle; }

  // --- PackageRunHandOver
  MLockable& PackageStateLock() override { return mainLock_; }
  void UpdateComponentsAndPaths(bool vstEnabled) override { VstEnabled = vstEnabled; }
  void ApplyInstalledSelection() override;
  void StartPackageUpdate(int32_t packagePhase) override;
  void RestoreCheckBeta(bool value) override { General.checkBeta = value; }
  void ClearSelectionOfUninstalledPlugins() override {}
  void StartReinstall() override;

  // --- ProgressTarget: the status line (the log while there is no window).
  void Show(const MString& text, float value) override;

  DownloadThread& Thread() { return *thread_; }
  const PackageList& LoadedPackages() const { return packages_; }
  const MArray<std::unique_ptr<Plugin>>& LoadedPlugins() const { return plugins_; }
  const MArray<std::unique_ptr<Addon>>& LoadedAddons() const { return addons_; }

  // Members in their start-up order.
  MXMLItem AddonList;
  MXMLItem PackageDatabase;
  MXMLItem InstallerDefinition;
  MXMLItem SelfUpdateList;
  SettingsStore Settings;  // AddonSettings, PackageSettings, PluginSettings

  MString DownloadPath;
  MString OfflineFolderPath;
  MString UninstallFolder;
  MString Vst3CustomPath;
  MString AvailableSelfVersion;
  MString SetupPath;
  MString CurrentPluginVersion;
  MString VersionText;
  GeneralSettings General;

  bool UpToDate = true;
  bool NothingToDo = false;
  double Scale = 1.0;
  std::atomic<PackagePhase> Phase{PackagePhase::kIdle};
  bool OfflineDataBusy = false;
  std::atomic<bool> UninstallRunning{false};
  bool AddonWorkRunning = false;
  bool VstEnabled = true;
  bool Vst3Enabled = true;
  bool AaxEnabled = true;
  std::atomic<Package*> InstallingPackage{nullptr};
  std::atomic<bool> InstallActive{false};
  float PackagesToProcess = 0.0F;
  float UninstallProgress = 0.0F;
  std::atomic<bool> RunFinished{false};
  bool OfflineDataLoaded = false;  // the start's offline folder was loaded
  // The add-on under install, for its row.
  std::atomic<Addon*> CurrentAddon{nullptr};
  AddonContentPaths AddonPaths;
  // Records to remove and their names, filled under the thread's add-on queue lock.
  MArray<MString> AddonUninstallItems;
  MArray<MString> AddonUninstallNames;

  PathMacros Macros;

 private:
  void ReadStartupSettings();
  void LoadDownloadOverride();
  void ReportFailure(const MString& text);
  Package* EffectsBinary() const;
  bool IsWanted(const Plugin& plugin) const;
  MString PackageFilePath(const Package& package) const;
  void CopyOfflineSetups(const MString& target);

  TransferEndpoints endpoints_;
  MCriticalSection mainLock_;
  PackageList packages_;
  MArray<std::unique_ptr<Plugin>> plugins_;
  MArray<InstallableItem*> packageItems_;
  MArray<std::unique_ptr<Addon>> addons_;
  MArray<Addon*> addonRecords_;
  MArray<InstallableItem*> addonItems_;
  // A silent run's package work is over: the thread ends when it next finds
  // nothing to do, after any add-on work.
  std::atomic<bool> silentPackagesDone_{false};
  bool closeAfterOfflineCopy_ = false;  // the command line's creation: the run ends with it
  std::unique_ptr<DownloadThread> thread_;
};

}  // namespace kx
