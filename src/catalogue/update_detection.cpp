#include "catalogue/update_detection.h"

#include <mutex>
#include <tuple>

#include "catalogue/package.h"
#include "catalogue/path_macros.h"
#include "catalogue/version_compare.h"
#include "foundation/core/boxes.h"
#include "foundation/core/exception.h"
#include "foundation/text/format.h"
#include "foundation/threads/lock.h"
#include "foundation/core/log.h"
#include "foundation/core/run_state.h"

namespace kx {
namespace {

const char* const kKernelName = "Kernel";

// The marks are written on the main thread and read by the download thread and
// the window; an MString copy is not safe against a concurrent write.
std::mutex gMarksMutex;
MString gKernelVersion;
bool gEffectsReinstall = false;

bool IsLater(const MDateTime& a, const MDateTime& b) {
  return std::tie(a.year, a.month, a.day, a.hour, a.minute, a.second, a.milliseconds) >
         std::tie(b.year, b.month, b.day, b.hour, b.minute, b.second, b.milliseconds);
}

void SetAllCurrentVersions(const PackageList& packages, bool applyUpdate) {
  for (const auto& package : packages) SetCurrentVersion(*package, applyUpdate);
}

}  // namespace

void ReadDatabase(Package& package, bool allowBeta) {
  // Clears the versions and reads them anew; UpdateVersion is the stable one,
  // or the beta one when there is no stable one.
  package.ReadDatabase();
  // A stable version published at the same time as the beta wins the tie.
  bool newerBeta = !package.BetaVersion.IsEmpty() && IsLater(package.BetaTime, package.StableTime);
  if (allowBeta && newerBeta) package.UseBetaUpdate();
  package.HasNewerBeta = newerBeta;
  MLog::Line(
      MFormat(" Package {0}, UpdateVersion: {1} ").Add(package.Key).Add(package.UpdateVersion));
}

bool HasUpdate(const Package& package, bool allowBeta) {
  return HasVersionUpdate(package.CurrentPackageVersion, package.BetaVersion, package.StableVersion,
                          allowBeta);
}

void SetCurrentVersion(Package& package, bool applyUpdate) {
  if (applyUpdate) {
    bool differs = !package.CurrentPackageVersion.EqualsNoCase(package.UpdateVersion);
    package.CurrentPackageVersion = package.UpdateVersion;
    if (package.Installed && (differs || package.IsEffectsBinary())) {
      package.Download = true;
      package.Install = true;
      package.Save();
      // The effects binary is fetched again even without a new version: it
      // carries every plug-in's binary, and an update run installs through it.
      if (!differs) {
        std::lock_guard<std::mutex> hold(gMarksMutex);
        gEffectsReinstall = true;
      }
    }
  } else if (!package.Installed) {
    package.CurrentPackageVersion = package.UpdateVersion;
  }
  if (!package.Mac && package.DisplayName == kKernelName) {
    std::lock_guard<std::mutex> hold(gMarksMutex);
    gKernelVersion = package.CurrentPackageVersion;
  }
  MLog::Line(MFormat("  Package {0} CurrentPackageVersion set to: {1}")
                 .Add(package.Key)
                 .Add(package.CurrentPackageVersion));
  package.Save();
}

MString KernelVersion() {
  std::lock_guard<std::mutex> hold(gMarksMutex);
  return gKernelVersion;
}

bool EffectsReinstallWithoutNewVersion() {
  std::lock_guard<std::mutex> hold(gMarksMutex);
  return gEffectsReinstall;
}

void ResetUpdateMarks() {
  std::lock_guard<std::mutex> hold(gMarksMutex);
  gKernelVersion = MString();
  gEffectsReinstall = false;
}

bool CheckVstFolderForUpdate(const UpdateSettings& settings) {
  if (!settings.vstEnabled) return false;
  bool passed = false;
  try {
    passed = CheckVstFolder(settings.vst64PluginsPath);
  } catch (MException& failure) {
    // A folder that cannot be made is as good as none: the update goes on
    // without VST rather than ending the start-up.
    MLog::Line(failure.message);
  }
  MLog::Line(passed ? "Update: VST64 folder OK" : "Update: VST64 folder not set, disabling VST.");
  return passed;
}

bool CheckForUpdates(const PackageList& packages, const UpdateSettings& settings,
                     PackageRunHandOver& handOver, bool dataReloaded) {
  MLog::Line("\nCheck for updates");
  MLog::Line(MFormat("Check for updates, beta: {0}").Add(settings.checkBeta ? 1 : 0));

  bool someUpdate = false;
  bool someInstalled = false;
  for (const auto& package : packages) {
    ReadDatabase(*package, settings.checkBeta);
    if (!package->Installed) continue;
    someInstalled = true;
    if (HasUpdate(*package, settings.checkBeta)) {
      MLog::Line(MFormat("Package {0} has update available.").Add(package->Key));
      someUpdate = true;
    }
  }

  // Data just loaded from an offline folder are put over the installed
  // packages even when their versions are not newer: the user loaded them to
  // be used.
  bool reinstallReloaded = dataReloaded && someInstalled;
  if (someUpdate) {
    MLog::Line("\nSome packages can be updated.\n");
  } else {
    MLog::Line("\nNo update for any package is available.\n");
    if (!reinstallReloaded) {
      SetAllCurrentVersions(packages, false);
      return false;
    }
  }

  if (!SilentMode) {
    // Offline data were chosen by the user a moment ago: asking again would
    // only be in the way, whatever the automatic-update setting says.
    if (settings.checkAutoPkgUpdate || OfflineMode) {
      if (someUpdate)
        ShowInformation(nullptr,
                        "A new version of the installed plugins is available. Updating now.");
      else
        ShowInformation(nullptr,
                        "Updating the installed plugins with the new installation data now.");
    } else if (ShowQuestion(nullptr,
                            "A new version of the installed plugins is available. Would you like "
                            "to update now?") != 1) {
      SetAllCurrentVersions(packages, false);
      return false;
    }
    MLog::Line("Performing package update");
  }

  bool vstEnabled = CheckVstFolderForUpdate(settings);

  MLock hold(handOver.PackageStateLock());
  handOver.UpdateComponentsAndPaths(vstEnabled);
  handOver.ApplyInstalledSelection();
  SetAllCurrentVersions(packages, true);
  handOver.StartPackageUpdate(SilentMode ? kPackagePhaseSilentUpdate : kPackagePhaseUpdate);
  return true;
}

void SwitchBetaAndStable(const PackageList& packages, const UpdateSettings& settings,
                         PackageRunHandOver& handOver) {
  bool toBeta = settings.checkBeta;
  MString question =
      MFormat(
          "You are about to change the packages {0}.\nThis will download any missing packages "
          "and re - install all installed packages. Are you sure you want to proceed?")
          .Add(toBeta ? "from the stable to the beta version"
                      : "from the beta to the stable version");
  if (ShowQuestion(nullptr, question) != 1) {
    handOver.RestoreCheckBeta(!toBeta);
    return;
  }

  bool vstEnabled = CheckVstFolderForUpdate(settings);

  MLock hold(handOver.PackageStateLock());
  handOver.ClearSelectionOfUninstalledPlugins();
  handOver.UpdateComponentsAndPaths(vstEnabled);
  // With the update applied, every installed package whose version differs on
  // the new channel is wished for download, and the rest follow the channel.
  for (const auto& package : packages) {
    ReadDatabase(*package, toBeta);
    SetCurrentVersion(*package, true);
  }
  handOver.StartReinstall();
}

}  // namespace kx
