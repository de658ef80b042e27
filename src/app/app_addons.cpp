// KestrixApp: the add-on records, the main thread's add-on requests, and the
// download thread's add-on hand-overs.
#include "app/kestrix_app.h"

#include "app/run_flags.h"
#include "catalogue/addon.h"
#include "catalogue/path_macros.h"
#include "catalogue/version_compare.h"
#include "foundation/core/boxes.h"
#include "foundation/core/exception.h"
#include "foundation/core/log.h"
#include "foundation/text/format.h"
#include "foundation/threads/lock.h"
#include "transfer/download_thread.h"

namespace kx {

void KestrixApp::BuildAddons() {
  AddonPaths = ResolveAddonContentPaths(&Macros);
  MLock hold(mainLock_);
  addons_ = Addon::BuildList(this, AddonList, Settings.AddonSettings);
  addonRecords_.Clear();
  addonItems_.Clear();
  for (const std::unique_ptr<Addon>& addon : addons_) {
    addonRecords_.Add(addon.get());
    addonItems_.Add(addon.get());
  }
}

bool KestrixApp::CheckAddonPaths(int32_t index) {
  if (CheckSampleFolders(AddonPaths.samples, AddonPaths.factory)) return true;
  if (index >= 0 && index < addons_.Count()) {
    MLock hold(mainLock_);
    Addon& addon = *addons_[index];
    addon.Download = false;  // Install stays set
    addon.Save();
  }
  return false;
}

bool KestrixApp::ToggleAddon(int32_t index) {
  if (index < 0 || index >= addons_.Count()) return false;
  Addon& addon = *addons_[index];
  // "Has an update" to minversion: the installed plug-ins are older than it.
  if (HasVersionUpdate(CurrentPluginVersion, MString(), addon.MinVersion, false)) {
    const MString text = MFormat(
                             "To download and install this addon, you need to install at least "
                             "version {0} of Vorlund plugins.")
                             .Add(addon.MinVersion);
    MLog::Line(text);
    if (!SilentMode) ShowInformation(nullptr, text);
    return false;
  }
  if (!CheckAddonPaths(index)) return false;
  {
    MLock hold(mainLock_);
    addon.Download = !addon.Download;
    addon.Save();
  }
  thread_->Wake();
  return true;
}

void KestrixApp::QueueAddonFiles(const MArray<MString>& paths) {
  if (!CheckAddonPaths(-1)) return;
  {
    MLock queue(thread_->AddonQueueLock);
    for (const MString& path : paths) thread_->AddonInstallQueue.Add(path);
  }
  thread_->Wake();
}

bool KestrixApp::RequestAddonUninstall(const MArray<AddonRecordEntry>& chosen) {
  if (thread_->AddonUninstallPending.load()) {
    const MString text(
        "Addon(s) uninstallation already in progress, please wait until it's finished and try "
        "again.");
    MLog::Line(text);
    if (!SilentMode) ShowInformation(nullptr, text);
    return false;
  }
  {
    MLock queue(thread_->AddonQueueLock);
    MLock hold(mainLock_);
    for (const AddonRecordEntry& entry : chosen) {
      AddonUninstallItems.Add(entry.path);
      AddonUninstallNames.Add(entry.name);
    }
    thread_->AddonUninstallPending = !chosen.IsEmpty();
  }
  thread_->Wake();
  return true;
}

// ---------------------------------------------------------------- thread side

bool KestrixApp::HasPendingUpdate(const InstallableItem& addon) {
  return !addon.IsPackage() && static_cast<const Addon&>(addon).ActiveUpdate != nullptr;
}

MString KestrixApp::ItemLabel(const InstallableItem& item) {
  return item.IsPackage() ? item.GetName() : static_cast<const Addon&>(item).TransferLabel();
}

void KestrixApp::InstallAddonFile(const MString& path) {
  AddonWorkRunning = true;
  try {
    kx::InstallAddonFile(*this, nullptr, path);
  } catch (const MException& failure) {
    thread_->Status.Set(failure.message);
  }
  AddonWorkRunning = false;
}

void KestrixApp::InstallAddon(InstallableItem& addon, const MString& path) {
  AddonWorkRunning = true;
  try {
    kx::InstallAddonFile(*this, &static_cast<Addon&>(addon), path);
  } catch (...) {
    AddonWorkRunning = false;
    throw;
  }
  AddonWorkRunning = false;
}

void KestrixApp::UninstallAddons() {
  AddonWorkRunning = true;
  MArray<MString> items;
  {
    MLock hold(mainLock_);
    items = AddonUninstallItems;
  }
  try {
    kx::UninstallAddons(*this, items);
  } catch (const MException& failure) {
    thread_->Status.Set(failure.message);
  }
  AddonWorkRunning = false;
}

void KestrixApp::ClearAddonUninstallList() {
  AddonUninstallItems.Clear();
  AddonUninstallNames.Clear();
}

void KestrixApp::AdvanceAddonUpdate(InstallableItem& addon) {
  MLock hold(mainLock_);
  static_cast<Addon&>(addon).AdvanceUpdate();
  addon.Save();
}

void KestrixApp::Idle() {
  // Everything the offline folder needs is fetched: the next step copies it.
  if (thread_->OfflinePhase.load() == 1) {
    thread_->OfflinePhase = 2;
    thread_->Wake();
    return;
  }
  if (SilentMode && silentPackagesDone_.load()) thread_->CloseRequests.fetch_add(1);
}

void KestrixApp::AddonStatus(const MString& text, bool setValue, double value) {
  thread_->Status.Set(text, setValue, value);
}

void KestrixApp::SetInstallingAddon(Addon* addon) {
  CurrentAddon = addon;
  thread_->CurrentItem.store(addon);
  InstallActive = addon != nullptr;
}

void KestrixApp::ShowAddonErrors(const MString& text) {
  MLog::Line(MString("Some errors occured\n") + text);
  if (!SilentMode) ShowError(nullptr, text);
}

}  // namespace kx
