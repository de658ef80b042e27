// Addon: one `item` of the add-on list (PRODUCTSX.xml): a content set for one of
// the instruments, fetched and installed on its own, apart from the packages.
//
// The item gives `name` (required, the key), `url` (the full add-on's file),
// `md5` (its security info, by default the url + ".md5") and any number of
// `update` children with `version` (default 1), `url` and `md5`. AvailableVersion
// is the largest update `version`, at least 1. The settings item (in
// AddonSettings, found or made by name) keeps `Download`, `Installed` and
// `Version`; Install is not saved and starts true.
//
// ActiveUpdate is the update entry that the current transfer fetches, or null
// for the full add-on. It is the "pending entry": the transfer's label and its
// stop test ask for it, and MarkInstalled takes its version.
//
// Wishes (WantsDownload), while no package work and no add-on work runs:
//   - Install clear: a download-only job (the offline set) is under way;
//   - installed, and Version below AvailableVersion: an update is due;
//   - not installed and Download set.
// Packages always come first: an add-on never wants a download during package work.
#pragma once

#include <cstdint>
#include <memory>

#include "catalogue/installable_item.h"
#include "foundation/containers/containers.h"
#include "foundation/text/text_string.h"

namespace kx {

class MXMLItem;

class Addon : public InstallableItem {
 public:
  Addon(CatalogueOwner* owner, MXMLItem& itemNode, MXMLItem& settingsNode);

  // One record per `item` of `addonList`, in file order, each with its settings
  // item in `addonSettings`. Settings of add-ons the list no longer holds are
  // left as they are and make no record.
  static MArray<std::unique_ptr<Addon>> BuildList(CatalogueOwner* owner, MXMLItem& addonList,
                                                  MXMLItem& addonSettings);

  MString GetName() const override { return Name; }
  bool IsPackage() const override { return false; }
  bool WantsDownload() const override;
  // The "start" of a transfer: an installed add-on picks the update entry to
  // fetch (the highest above Version); without one nothing starts. Otherwise
  // Downloading is set and the record saved.
  void MarkDownloading() override;
  bool ReportProgress() const override { return false; }
  MString GetRemoteFile() const override;
  MString GetLocalFolder(bool withMakerFolder) const override { return MString(); }
  MString GetRemoteMD5File() const override;
  // Sets Installed; Version becomes ActiveUpdate's `version`, or 1 without one;
  // clears Download and Selected; saves.
  void MarkInstalled() override;
  // Clears Installed, sets Version to 1; saves.
  void MarkUninstalled() override;
  void Save() override;

  // Advancing the update entry after a download-only transfer. No entries: the
  // pending entry is cleared and Install set (the job is done; true). Entries and
  // none pending: the first becomes pending (false: there is more to fetch). One
  // pending: it moves up to every entry of a higher `version` in one pass; a move
  // means more to fetch (false), no move ends the job as with no entries (true).
  bool AdvanceUpdate();

  // The update entry whose `url` has `fileName` as its last component (any case).
  MXMLItem* FindUpdateByFileName(const MString& fileName) const;
  // The label of a transfer: the name, or "<name>_Update<version - 1>" while an
  // update entry is pending.
  MString TransferLabel() const;

  static int32_t UpdateVersion(const MXMLItem& update);

  MXMLItem* ItemNode;
  MString Name;
  MString Type;  // the instrument it belongs to
  MArray<MXMLItem*> Updates;
  MXMLItem* ActiveUpdate = nullptr;
  bool InOfflineSet = false;  // picked for the offline folder being written
  bool Essential = false;
  bool Beta = false;
  MString MinVersion;
};

// What the add-on's row says: the status text (may be empty) and the button
// ("" for none). `installing` tells whether this is the add-on under install.
struct AddonRowState {
  MString status;
  MString button;
};
AddonRowState DescribeAddonRow(const Addon& addon, bool installing);

// The row's price column: "Essential!", the `price`, or "FREE".
MString AddonPriceText(const Addon& addon);

}  // namespace kx
