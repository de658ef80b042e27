// InstallableItem: the common base of the things the download thread fetches
// and installs: a Package (one `files` element of the installer definition) and
// an Addon (one `item` of the add-on list).
//
// The main thread sets wishes (Download, Install, an uninstall request); the
// download thread finds them through WantsDownload and IsUninstallRequested and
// records progress through the Mark... operations. Both sides hold the owner's
// package-state lock while they touch the flags; the item takes no lock itself.
//
// Every operation that changes a persistent flag calls Save, which writes the
// item's keys into its settings node in memory. The settings files are written
// by the settings store at the end of the run.
//
// The virtual operations keep one fixed order (get name ... progress upper
// bound); subclasses override in that order. The definition node and the
// settings node belong to their trees, which outlive the records.
#pragma once

#include <cstdint>

#include "foundation/text/text_string.h"

namespace kx {

class CatalogueOwner;
class MXMLItem;

class InstallableItem {
 public:
  InstallableItem(CatalogueOwner* owner, MXMLItem* definitionNode, MXMLItem* settingsNode);
  InstallableItem(const InstallableItem&) = delete;
  InstallableItem& operator=(const InstallableItem&) = delete;
  virtual ~InstallableItem();

  // 1. The key of a package, the name of an add-on.
  virtual MString GetName() const = 0;
  // 2. The package that holds all effect binaries.
  virtual bool IsEffectsBinary() const;
  // 3. A Package (true) or an Addon (false).
  virtual bool IsPackage() const = 0;
  // 4. Reads `Locked`; nothing in this program sets it.
  virtual bool IsLocked() const;
  // 5. Work after the item is finished with; nothing by default.
  virtual void CleanUp();
  // 6. The download thread should fetch this item now.
  virtual bool WantsDownload() const = 0;
  // 7. Sets Downloading and saves.
  virtual void MarkDownloading();
  // 8. Logs where the item's file stands and how much of it is on disk; true
  //    when the file is there.
  virtual bool ReportProgress() const = 0;
  // 9. Path of the file on the server ("/download/...").
  virtual MString GetRemoteFile() const = 0;
  // 10. Folder of the local copy, relative to the item's base folder; with
  //     `withMakerFolder` the maker's folder word stands in front.
  virtual MString GetLocalFolder(bool withMakerFolder) const = 0;
  // 11. The remote file + ".md5".
  virtual MString GetRemoteMD5File() const;
  // 12. Clears Download and Install (and a pending uninstall request); saves.
  virtual void ClearWishes();
  // 13. Clears Installed and Download (and the uninstall request); saves.
  virtual void MarkUninstalled();
  // 14. Sets Installed, clears Download (and the uninstall request); saves.
  virtual void MarkInstalled();
  // 15. Sets the uninstall request; saves. Items that cannot be uninstalled on
  //     their own ignore it.
  virtual void SetUninstallRequest(bool requested);
  // 16.
  virtual bool IsUninstallRequested() const;
  // 17. Writes the item's keys into its settings node.
  virtual void Save() = 0;
  // 18. `done` of `total` as a value of the whole progress bar; the item's own
  //     share by default is the whole bar.
  virtual double MapProgress(double done, double total) const;
  // 19.
  virtual double GetProgressUpperBound() const;

  CatalogueOwner* GetOwner() const { return Owner; }
  MXMLItem* GetDefinitionNode() const { return DefinitionNode; }
  MXMLItem* GetSettingsNode() const { return SettingsNode; }

  bool Download = false;     // wanted in the download queue
  bool Downloading = false;  // the transfer is under way (not saved)
  bool Installed = false;
  bool Install = true;      // install once downloaded; false: download only
  bool Downloaded = false;  // the file is complete
  bool Selected = false;    // this run's decision; forces a fresh transfer (not saved)
  bool Locked = false;
  int32_t Version = 1;           // installed version of an add-on
  int32_t AvailableVersion = 1;  // largest update version of an add-on

 protected:
  CatalogueOwner* Owner;
  MXMLItem* DefinitionNode;
  MXMLItem* SettingsNode;
};

// "done of total" placed into [lower, upper]: lower + (upper - lower) * done /
// total, held within the bounds. A total of 0 or less gives `lower`. When the
// bounds are crossed (a share not set up yet), `lower` wins.
double MapIntoShare(double done, double total, double lower, double upper);

}  // namespace kx
