// KestrixApp: component selection and the package runs (install, change,
// uninstall), driven by the download thread once the wishes are set.
#include <algorithm>

#include "app/kestrix_app.h"
#include "app/run_flags.h"
#include "catalogue/package.h"
#include "catalogue/package_need.h"
#include "catalogue/plugin.h"
#include "catalogue/settings_node.h"
#include "foundation/core/boxes.h"
#include "foundation/core/exception.h"
#include "foundation/core/log.h"
#include "foundation/files/path_text.h"
#include "foundation/text/format.h"
#include "install/install_walk.h"
#include "install/package_file.h"
#include "install/state_file.h"
#include "transfer/download_thread.h"

namespace kx {

namespace {

constexpr const char* kUserPresetsByPluginKey = "USER_PRESETS_BYPLUGIN";

void SetTarget(MXMLItem& item, bool enabled, const MString& path) {
  item.SetAttribute("enabled", enabled ? 1 : 0);
  if (enabled) item.SetAttribute("currentpath", path);
}

}  // namespace

MString KestrixApp::PackageFilePath(const Package& package) const {
  return JoinPath(JoinPath(DataFolder, package.GetLocalFolder(false)),
                  GetFileName(package.GetRemoteFile()));
}

Package* KestrixApp::EffectsBinary() const {
  for (const std::unique_ptr<Package>& package : packages_)
    if (package->IsEffectsBinary() && !package->Mac) return package.get();
  return nullptr;
}

bool KestrixApp::IsWanted(const Plugin& plugin) const {
  if (SilentMode) return SilentPluginNames.IndexOf(plugin.Name) >= 0;
  // Without tiles the saved selection is the wanted one.
  return plugin.Install || plugin.Installed;
}

bool KestrixApp::RequestInstall(bool reinstall, bool forceDownload) {
  // A plug-in "has its own package" when a package other than the effects binary
  // is keyed by its name.
  auto hasOwnPackage = [this](const Plugin& plugin) {
    return std::any_of(packages_.begin(), packages_.end(), [&](const std::unique_ptr<Package>& package) {
      return !package->IsEffectsBinary() && !package->Mac && package->KeyHolds(plugin.Name);
    });
  };
  bool anyOwnPackage = false;
  for (const std::unique_ptr<Plugin>& plugin : plugins_)
    if (IsWanted(*plugin) && hasOwnPackage(*plugin)) anyOwnPackage = true;

  Package* effects = nullptr;
  for (const std::unique_ptr<Package>& package : packages_) {
    package->WantedBy.Clear();
    package->Selected = false;
    if (package->IsEffectsBinary() && package->Installed) effects = package.get();
  }

  bool work = false;
  for (const std::unique_ptr<Plugin>& plugin : plugins_) {
    const bool wanted = IsWanted(*plugin);
    if (wanted && (!plugin->Installed || SilentMode || reinstall)) {
      plugin->Install = true;
      plugin->Save();
      for (const std::unique_ptr<Package>& package : packages_) {
        if (package->Mac) continue;
        const bool needed =
            IsPackageNeeded(*plugin, *package, anyOwnPackage, General.checkTVTInstr);
        if (!needed && !(reinstall && package->Installed)) continue;
        if (forceDownload) {
          package->Downloaded = false;
          package->Selected = true;
        }
        package->Download = true;
        package->Install = true;
        package->Save();
        work = true;
      }
    } else if (!wanted && !SilentMode && plugin->Installed) {
      plugin->Uninstall = true;
      plugin->Save();
      if (effects) {
        effects->Download = true;
        effects->Install = true;
        effects->Save();
        MLog::Line(MString("Install/change, Request uninstall for ") + plugin->Name);
      } else {
        MLog::Line(MString("Install/change, Request uninstall for ") + plugin->Name +
                   " failed. Database corrupt.");
        ShowError(nullptr, MString("Install / change, Request uninstall for ") + plugin->Name +
                               " failed.Database corrupt.");
      }
      work = true;
    }
  }
  return work;
}

void KestrixApp::UpdateSelectedComponentsAndPaths(MXMLItem& tree) {
  MLog::Line("UpdateSelectedComponentsAndPaths");
  MLog::Line(MFormat(" VST Enabled: {0}").Add(VstEnabled ? 1 : 0));
  MLog::Line(MFormat(" VST3 Enabled: {0}").Add(Vst3Enabled ? 1 : 0));
  MLog::Line(MFormat(" AAX Enabled: {0}").Add(AaxEnabled ? 1 : 0));
  const MXMLAttribute* nameAttribute = tree.FindAttribute("name");
  const MString rootName = nameAttribute ? nameAttribute->value.AsString() : MString();
  if (rootName.FindNoCase("Plugins") < 0) {
    // Content: every destination as the definition names it.
    SetTarget(tree, true, Macros.Expanded(tree.GetAttribute("destination").AsString()));
    for (MXMLItem* child = tree.firstSubItem; child; child = child->next)
      if (child->GetName() == "copy")
        SetTarget(*child, true, Macros.Expanded(child->GetAttribute("destination").AsString()));
    return;
  }
  // Binaries: the formats the user chose, each in its folder.
  SetTarget(tree, VstEnabled, General.vst64PluginsPath);
  for (MXMLItem* child = tree.firstSubItem; child; child = child->next) {
    if (child->GetName() != "copy") continue;
    const MString name = child->GetAttribute("name").AsString();
    const MString destination = Macros.Expanded(child->GetAttribute("destination").AsString());
    if (name.FindNoCase("(VST3)") >= 0)
      SetTarget(*child, Vst3Enabled, Vst3CustomPath.IsEmpty() ? destination : Vst3CustomPath);
    else if (name.FindNoCase("(AAX)") >= 0)
      SetTarget(*child, AaxEnabled, destination);
  }
}

void KestrixApp::InstallChange(bool reinstall, bool forceDownload) {
  MLock hold(mainLock_);
  // Installations older than this product generation are looked for by the
  // installer definition's `uninstall` elements; none is found on this platform.
  MLog::Line("\nNo previous version <v17 of installation found.\n");
  if (Phase.load() != PackagePhase::kIdle) return;
  bool anyWanted = false;
  bool anyInstalled = false;
  for (const std::unique_ptr<Plugin>& plugin : plugins_) {
    anyWanted = anyWanted || IsWanted(*plugin);
    anyInstalled = anyInstalled || plugin->Installed;
  }
  if (!anyWanted && !SilentMode) {
    if (anyInstalled) {
      UninstallAll();
    } else {
      ShowError(nullptr,
                "No plugin or instrument is selected for install!\nYou have to select some i.e. "
                "by clicking its image or using some bundle.");
    }
    return;
  }
  if (!SilentMode && VstEnabled) {
    if (!CheckVstFolder(General.vst64PluginsPath)) return;
    MLog::Line("Install/change: VST64 folder OK");
  }
  if (RequestInstall(reinstall, forceDownload)) {
    InitializePkgsProgress(false);
    Phase = PackagePhase::kInstallChange;
    return;
  }
  MLog::Line("Install/change: Nothing new to install / change.");
  if (SilentMode)
    FinishPackageRun();
  else
    ShowInformation(nullptr,
                    "Nothing to install or uninstall.\nAll selected plugins are installed correctly.");
}

void KestrixApp::InitializePkgsProgress(bool offline) {
  MLog::Line("InitializePkgsProgress()");
  PackagesToProcess = 0.0F;
  double total = 0.0;
  int32_t ready = 0;
  MArray<Package*> run;
  for (const std::unique_ptr<Package>& package : packages_) {
    package->ProgressLower = 0.0F;
    package->ProgressUpper = 1.0F;
    if (!package->Install && !offline) continue;
    if (SilentMode) MLog::Line(MString("Request install for package ") + package->GetName());
    PackagesToProcess += 1.0F;
    total += package->Size;
    if (package->ReportProgress()) ++ready;
    run.Add(package.get());
  }
  double span = 0.8;
  if (!offline) {
    const double share = PackagesToProcess > 0 ? ready / PackagesToProcess : 0.0;
    span = 0.7 - std::clamp(share * 0.7, 0.0, 0.7);
  }
  double acc = 0.0;
  for (Package* package : run) {
    package->ProgressLower = static_cast<float>(acc);
    if (total > 0) acc += package->Size * span / total;
    package->ProgressUpper = static_cast<float>(acc);
  }
  Show(offline ? "\nPreparing offline folder..." : "\nBeginning installation...", 0.0F);
}

void KestrixApp::RunPackageInstall(InstallableItem& package) {
  InstallPendingPackages(static_cast<Package&>(package));
}

void KestrixApp::InstallPendingPackages(Package& trigger) {
  // Nothing is installed until the last download, the effects binary.
  if (!trigger.IsEffectsBinary() && !trigger.IsLocked()) return;
  float bar = trigger.ProgressUpper;
  const float step = PackagesToProcess > 0 ? (1.0F - bar) / PackagesToProcess : 0.0F;
  UninstallRunning = true;
  MArray<Package*> run;
  {
    MLock hold(mainLock_);
    for (const std::unique_ptr<Package>& package : packages_)
      if (package->Install && !package->Mac) run.Add(package.get());
  }
  for (Package* package : run) {
    InstallPackage(*package, false, false, bar);
    bar += step;
    Show(MFormat("Package {0} installed.").Add(PackageFilePath(trigger)), bar);
  }
  // The deselected plug-ins go in one uninstall walk over the effects binary's
  // `.state`, restricted to their names.
  trigger.WantedBy.Clear();
  for (const std::unique_ptr<Plugin>& plugin : plugins_)
    if (plugin->Uninstall)
      for (const MString& name : plugin->WantedNames()) trigger.AddWantedBy(name);
  if (!trigger.WantedBy.IsEmpty()) InstallPackage(trigger, true, true, 0.0F);
  if (Phase.load() == PackagePhase::kUpdate)
    Show("Update of selected plugins finished successfully.", 1.0F);
  else if (Phase.load() == PackagePhase::kInstallChange)
    Show("Install/change of selected plugins finished successfully.", 1.0F);
  UninstallRunning = false;
  RunFinished = true;
  if (SilentMode) FinishPackageRun();
}

void KestrixApp::InstallPackage(Package& package, bool uninstall, bool stayInstalled,
                                float barValue) {
  const MString file = PackageFilePath(package);
  MLog::Line(MString(uninstall ? "\nUNINSTALLING package " : "\nINSTALLING package ") + file);
  thread_->CurrentItem.store(&package);
  InstallingPackage = &package;
  InstallActive = true;
  {
    MLock hold(mainLock_);
    package.Save();
  }
  try {
    Show(MFormat(uninstall ? "Uninstalling package {0}..." : "Installing package {0}...").Add(file),
         barValue);
    InstallContext context;
    context.EnabledItems = package.WantedBy;
    context.progressValue = barValue;
    context.progress = this;
    MPackageFile library;
    MXMLItem stateTree;
    MXMLItem* tree = &stateTree;
    const MString statePath = StateFilePath(UninstallFolder, package.Key);
    if (!uninstall) {
      tree = &library.Open(file);
      UpdateSelectedComponentsAndPaths(*tree);
      if (package.Key == kUserPresetsByPluginKey && !package.WantedBy.IsEmpty()) {
        tree->SetAttribute("detectitems", 1);
        tree->SetAttribute("detectitemsnoMBpostfix", 1);
      }
      // What an uninstallation needs, written before the first file is touched.
      SaveStateFile(*tree, statePath);
      context.library = &library;
    } else {
      LoadStateFile(stateTree, statePath);
      UpdateSelectedComponentsAndPaths(stateTree);
    }
    InstallTreeOptions options;
    options.mode = uninstall ? WalkMode::kUninstall : WalkMode::kInstall;
    options.library = uninstall ? nullptr : &library;
    options.progress = this;
    options.allowAllPossible = true;
    InstallPackageTree(context, *tree, options);
    Show(MFormat(uninstall ? "Package {0} uninstalled sucessfully." : "Package {0} installed sucessfully.")
             .Add(package.Key),
         barValue);
    InstallingPackage = nullptr;
    InstallActive = false;
    MLog::Line("  success");
    {
      MLock hold(mainLock_);
      if (!uninstall || stayInstalled)
        package.MarkInstalled();
      else
        package.MarkUninstalled();
      if (!uninstall && package.DisplayName == "Kernel" && package.GetSettingsNode())
        VersionText = ReadSettingString(*package.GetSettingsNode(), "Version", MString()).Left(5);
    }
    Show(MFormat(uninstall ? "Unistallation of {0} package finished successfully."
                           : "Installation of {0} package finished successfully.")
             .Add(file),
         barValue);
    library.Close();
    thread_->CurrentItem.store(nullptr);
    MLock hold(mainLock_);
    package.Save();
  } catch (MException& failure) {
    MLog::Line(MString("  Exception ") + failure.message);
    thread_->CurrentItem.store(nullptr);
    InstallingPackage = nullptr;
    InstallActive = false;
    throw;
  }
}

void KestrixApp::UninstallPackage(InstallableItem& package) {
  UninstallPackageItem(static_cast<Package&>(package));
}

void KestrixApp::UninstallPackageItem(Package& package) {
  thread_->PollInterval.store(DownloadThread::kPackagePollInterval);
  SetBusyIndicator(true);
  MLog::Line(MString("\nSTARTING UNINSTALL FOR ITEM ") + package.GetName());
  package.WantedBy.Clear();
  if (package.IsEffectsBinary()) {
    // The binaries of the plug-ins marked for removal leave; a named removal
    // keeps the package, with the others' binaries, installed.
    for (const std::unique_ptr<Plugin>& plugin : plugins_)
      if (plugin->Uninstall)
        for (const MString& name : plugin->WantedNames()) package.AddWantedBy(name);
  }
  const bool named = Phase.load() == PackagePhase::kInstallChange;
  InstallPackage(package, true, named || UninstallMode, UninstallProgress);
  if (PackagesToProcess > 0) UninstallProgress += 1.0F / PackagesToProcess;
  Show("Uninstallation of all plugins finished successfully.", std::min(UninstallProgress, 1.0F));
  if (package.IsEffectsBinary() || package.IsLocked()) {
    Show("Uninstallation of all plugins finished successfully.", 0.0F);
    VersionText = MString();
    if (UninstallMode) FinishPackageRun();
    RunFinished = true;
  }
}

bool KestrixApp::UninstallAll() {
  MLock hold(mainLock_);
  if (Phase.load() != PackagePhase::kIdle || UninstallRunning.load()) return false;
  const bool anyInstalled = std::any_of(packages_.begin(), packages_.end(),
                                        [](const std::unique_ptr<Package>& package) { return package->Installed; });
  // A silent run with names removes only those plug-ins.
  const bool named = SilentMode && !SilentAllPlugins;
  bool marked = false;
  if (anyInstalled) {
    if (!UninstallMode && !SilentMode &&
        ShowQuestion(nullptr, "Do you want to uninstall all plugins ?") != 1)
      return false;
    for (const std::unique_ptr<Plugin>& plugin : plugins_) {
      if (named && SilentPluginNames.IndexOf(plugin->Name) < 0) continue;
      if (named && !plugin->Installed) continue;
      plugin->Install = false;
      plugin->Uninstall = true;
      plugin->Save();
      marked = true;
    }
    UninstallRunning.exchange(true);
  } else {
    for (const std::unique_ptr<Plugin>& plugin : plugins_) {
      plugin->Install = false;
      plugin->Save();
    }
  }
  if (!marked) {
    UninstallRunning = false;
    if (UninstallMode) {
      MLog::Line("Error: No pkg is installed and attempting to uninstall some plugin!");
      MLog::Line(
          "Maybe the plugins have been completely uninstalled by Kestrix with GUI and later is "
          "someone attempting to uninstall plugin(s) silently, i.e. via Glustol app.");
      NothingToDo = true;
    } else {
      MLog::Line("Nothing to uninstall, you have to install some plugin first!");
      if (!SilentMode) ShowError(nullptr, "Nothing to uninstall, you have to install some plugin first!");
    }
    return false;
  }
  PackagesToProcess = 0.0F;
  UninstallProgress = 0.0F;
  for (const std::unique_ptr<Package>& package : packages_) {
    if (!package->Installed || package->Mac) continue;
    bool take = !named || package->IsEffectsBinary();
    for (const std::unique_ptr<Plugin>& plugin : plugins_)
      if (named && plugin->Uninstall && package->KeyHolds(plugin->Name)) take = true;
    if (!take) continue;
    package->SetUninstallRequest(true);
    PackagesToProcess += 1.0F;
  }
  Phase = named ? PackagePhase::kInstallChange : PackagePhase::kUninstallAll;
  return true;
}

void KestrixApp::FinishPackageRun() {
  RunFinished = false;
  {
    MLock hold(mainLock_);
    for (const std::unique_ptr<Plugin>& plugin : plugins_) {
      if (plugin->Install) {
        plugin->Installed = true;
        plugin->Install = false;
      } else if (plugin->Uninstall || Phase.load() == PackagePhase::kUninstallAll) {
        plugin->Installed = false;
        plugin->Install = false;
        plugin->Uninstall = false;
      }
      plugin->Save();
    }
    // An uninstall-all leaves no package marked as installed, so that a later
    // run asks for every package again.
    if (Phase.load() == PackagePhase::kUninstallAll)
      for (const std::unique_ptr<Package>& package : packages_)
        if (package->Installed) package->MarkUninstalled();
  }
  if (!SilentMode) {
    if (Phase.load() == PackagePhase::kInstallChange) {
      Show("Install/change of selected plugins finished successfully. ", 1.0F);
      ShowInformation(nullptr, "Install/change of selected plugins finished successfully.");
    }
    Phase = PackagePhase::kIdle;
    UninstallRunning = false;
    return;
  }
  const bool thenInstall = Phase.load() == PackagePhase::kSilentUninstallThenInstall;
  Phase = PackagePhase::kIdle;
  UninstallRunning = false;
  if (thenInstall) {
    InstallChange(false, false);
    return;
  }
  // The package work of the silent run is over: the thread ends, and the process
  // with it, once queued add-ons are done too (an uninstall run fetches none).
  if (UninstallMode)
    thread_->CloseRequests.fetch_add(1);
  else
    silentPackagesDone_ = true;
}

void KestrixApp::ApplyInstalledSelection() {
  Package* effects = EffectsBinary();
  if (!effects) return;
  effects->WantedBy.Clear();
  for (const std::unique_ptr<Plugin>& plugin : plugins_)
    if (plugin->Installed)
      for (const MString& name : plugin->WantedNames()) effects->AddWantedBy(name);
}

void KestrixApp::StartPackageUpdate(int32_t packagePhase) {
  InitializePkgsProgress(false);
  Phase = static_cast<PackagePhase>(packagePhase);
}

void KestrixApp::StartReinstall() {
  Phase = PackagePhase::kIdle;
  InstallChange(true, false);
  if (Phase.load() == PackagePhase::kInstallChange) Phase = PackagePhase::kUpdate;
}

}  // namespace kx
