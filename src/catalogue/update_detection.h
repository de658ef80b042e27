// Update detection: which version of each package the program would install,
// whether the installed one is older, whether to go ahead with an update, and
// the switch between the beta and the stable channel.
//
// Per package:
//   ReadDatabase       the versions anew; UpdateVersion is the stable version
//                      (the beta one when there is no stable one), or the beta
//                      one with `allowBeta` when it was published later.
//                      HasNewerBeta: a beta published later than the stable
//                      version, whatever the channel; equal times go to stable.
//   HasUpdate          the installed version against the published ones
//                      (version_compare.h).
//   SetCurrentVersion  with `applyUpdate`: CurrentPackageVersion becomes
//                      UpdateVersion, and an installed package whose version
//                      changed is wished for download and install; so is the
//                      installed effects binary without a new version, which is
//                      then marked as reinstalled without one. Without: only a
//                      package not installed takes UpdateVersion. The Kernel
//                      package's (no `mac`) version is kept process-wide.
//
// The flows run on the main thread. They ask and tell the user through the
// boxes (none in SilentMode) and hand the package run over through
// PackageRunHandOver, under its package-state lock.
#pragma once

#include <cstdint>

#include "catalogue/package.h"
#include "foundation/containers/containers.h"
#include "foundation/text/text_string.h"

namespace kx {

class MLockable;

// What the flows read from this run's settings (held by the controls).
struct UpdateSettings {
  bool checkBeta = true;           // CheckBeta: the beta channel (the new value in a switch)
  bool checkAutoPkgUpdate = true;  // CheckAutoPkgUpdate: update without asking
  bool vstEnabled = true;          // CheckVST
  MString vst64PluginsPath;        // VST64PluginsPath
};

// The package run's side of an update: what the flows need from the
// application and the install engine, which live above this library.
class PackageRunHandOver {
 public:
  virtual ~PackageRunHandOver() = default;
  // The recursive lock of package and plug-in state.
  virtual MLockable& PackageStateLock() = 0;
  // The component and path update with the VST flag the folder check left.
  virtual void UpdateComponentsAndPaths(bool vstEnabled) = 0;
  // The selection of the installed items becomes the wanted one.
  virtual void ApplyInstalledSelection() = 0;
  // Marks the items for download, sets PackagePhase and starts the queue.
  virtual void StartPackageUpdate(int32_t packagePhase) = 0;
  // A switch the user declined: the channel control goes back to `value`.
  virtual void RestoreCheckBeta(bool value) = 0;
  // Clears the picture selection of every plug-in that is not installed.
  virtual void ClearSelectionOfUninstalledPlugins() = 0;
  // Prepares the queue, PackagePhase 3, starts it, and runs install or change
  // with reinstall.
  virtual void StartReinstall() = 0;
};

inline constexpr int32_t kPackagePhaseUpdate = 3;
inline constexpr int32_t kPackagePhaseSilentUpdate = 4;

void ReadDatabase(Package& package, bool allowBeta);
bool HasUpdate(const Package& package, bool allowBeta);
void SetCurrentVersion(Package& package, bool applyUpdate);

// The version of the last Kernel package whose current version was set; empty
// before. Any thread may read it.
MString KernelVersion();
// Whether SetCurrentVersion marked the effects binary for a reinstall without a
// new version.
bool EffectsReinstallWithoutNewVersion();
// Both back to their start values (a new catalogue load, tests).
void ResetUpdateMarks();

// With VST enabled, the VST folder check (path_macros.h): passing logs
// "Update: VST64 folder OK", failing (or a folder that cannot be made) logs
// "Update: VST64 folder not set, disabling VST.". Answers whether VST stays on.
bool CheckVstFolderForUpdate(const UpdateSettings& settings);

// The check at start and after offline data were loaded (`dataReloaded`).
// Logs "\nCheck for updates" and the channel, reads every package's versions
// and asks the installed ones for an update. Without one (and unless reloaded
// data are to be put over installed packages) every package not installed
// takes its update version and the answer is false. Otherwise, outside
// SilentMode: with CheckAutoPkgUpdate or OfflineMode it tells the user and
// goes on; else it asks, and a no ends as above. Then the VST folder check,
// and under the lock the hand-over: components and paths, the installed
// selection, every current version set with the update, and the run started
// with PackagePhase 3 (4 in SilentMode). Answers true when a run was started.
bool CheckForUpdates(const PackageList& packages, const UpdateSettings& settings,
                     PackageRunHandOver& handOver, bool dataReloaded);

// After the user changed CheckBeta (settings.checkBeta is the new value): asks
// to confirm; a no puts the control back. A yes runs the VST folder check,
// takes the lock, clears the selection of plug-ins not installed, updates
// components and paths, sets every package onto the new channel's newest
// version and starts the reinstall.
void SwitchBetaAndStable(const PackageList& packages, const UpdateSettings& settings,
                         PackageRunHandOver& handOver);

}  // namespace kx
