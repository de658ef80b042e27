// DownloadHost: what the download thread asks of the application that owns it.
//
// The thread reads the item lists, the folders and the servers from here, takes
// the main lock for package and add-on state, and hands finished or foreign work
// over through the seams below: manual add-on installation and removal, package
// uninstallation and installation, the offline copy, the add-on's update entries.
// The seams that later parts of the program fill do nothing by default; the
// application overrides them. Every call comes from the thread that runs the step,
// never with the main lock held, except the three "Is..."/"Has..." questions, which
// are asked under it.
#pragma once

#include "catalogue/installable_item.h"
#include "foundation/containers/containers.h"
#include "foundation/text/text_string.h"
#include "transfer/server_host.h"

namespace kx {

class MLockable;

class DownloadHost {
 public:
  virtual ~DownloadHost() = default;

  // --- state the thread reads
  // The recursive lock over package, plug-in and add-on state.
  virtual MLockable& MainLock() = 0;
  // Packages and add-ons in list order; read under the main lock.
  virtual const MArray<InstallableItem*>& Packages() = 0;
  virtual const MArray<InstallableItem*>& Addons() = 0;
  virtual const TransferEndpoints& Endpoints() = 0;
  // Bases of the items' local folders: the data folder for packages, the add-on
  // download folder for add-ons.
  virtual MString PackageFolder() = 0;
  virtual MString AddonFolder() = 0;

  // --- questions, asked under the main lock
  // Package work is under way or waiting: a transferring add-on yields to it.
  virtual bool IsPackageWorkPending() { return false; }
  // The add-on uninstallation has items to remove.
  virtual bool HasAddonsToUninstall() { return false; }
  // The add-on waits for one of its update entries (its label and stop test).
  virtual bool HasPendingUpdate(const InstallableItem& addon) { return false; }

  // --- seams
  virtual void SetBusyIndicator(bool on) {}
  virtual void SavePackageSettings() {}
  // The name in status lines; an add-on with a pending update entry gives
  // "<name>_Update<version - 1>".
  virtual MString ItemLabel(const InstallableItem& item) { return item.GetName(); }
  // A file taken from the manual installation queue.
  virtual void InstallAddonFile(const MString& path) {}
  // Removes the listed add-ons; the thread clears the list afterwards.
  virtual void UninstallAddons() {}
  virtual void ClearAddonUninstallList() {}
  virtual void UninstallPackage(InstallableItem& package) {}
  // Copies the downloaded data into the offline folder; true on success.
  virtual bool CopyOfflineData() { return false; }
  // After the copy (or its cancellation): the add-ons taken into the offline set,
  // the status label and the buttons.
  virtual void FinishOfflineWork(bool copied) {}
  // Hand-overs of the completion step: the package run of an installed package,
  // the installation of a downloaded add-on file, and the next update entry of an
  // add-on fetched without installing.
  virtual void RunPackageInstall(InstallableItem& package) {}
  virtual void InstallAddon(InstallableItem& addon, const MString& path) {}
  virtual void AdvanceAddonUpdate(InstallableItem& addon) {}
  // A step found nothing to do.
  virtual void Idle() {}
};

}  // namespace kx
