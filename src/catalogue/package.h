// Package: one `files` element of the installer definition, with the versions
// the package database publishes for it and the state its settings item keeps.
//
// Folder path and key. A `path` holding "BINEffects" gets "PKG/" in front; that
// is the folder path, relative to the data folder locally and to "/download/"
// on the server. The key is the folder path with every "PKG/" removed and every
// "/" replaced by "_": "BINEffects/binx64" -> folder "PKG/BINEffects/binx64",
// key "BINEffects_binx64". A `path` that would leave the data folder (absolute,
// or with a ".." component) throws "Package path \"{0}\" leads outside the data
// folder." when the record is made.
//
// Settings item (in PackageSettings, named by the key): `Download`,
// `Downloaded`, `Install`, `Installed`, `Uninstall` as booleans (default 0) and
// `Version` as a string (default empty), which is CurrentPackageVersion.
//
// The record keeps pointers to its definition element, its database entry (null
// when the database has none: the package then has no versions) and its
// settings item; the trees own them and outlive the record.
#pragma once

#include <cstdint>
#include <memory>

#include "catalogue/installable_item.h"
#include "foundation/containers/containers.h"
#include "foundation/text/date_time.h"
#include "foundation/text/text_string.h"

namespace kx {

class Package : public InstallableItem {
 public:
  static constexpr float kInitialProgressLower = 0.0078125f;

  // Reads `path` (required), `name`, `flags` and `mac` of the element, the
  // settings item's keys, and the versions of `databaseNode`. Throws the
  // required-attribute and date-time messages.
  Package(CatalogueOwner* owner, MXMLItem& filesElement, MXMLItem* databaseNode,
          MXMLItem& settingsNode);

  // The same, looking the entry up in the database tree and finding or making
  // the settings item in the PackageSettings tree.
  static std::unique_ptr<Package> Create(CatalogueOwner* owner, MXMLItem& filesElement, MXMLItem& database,
                                         MXMLItem& packageSettings);

  // The "PKG/" rule on a `path` attribute.
  static MString MakeFolderPath(const MString& path);
  // The key of a folder path.
  static MString MakeKey(const MString& folderPath);

  // --- InstallableItem, in its order
  MString GetName() const override;       // the key
  bool IsEffectsBinary() const override;  // the two effects keys
  bool IsPackage() const override;
  bool WantsDownload() const override;  // Download, no add-on work
  bool ReportProgress() const override;
  MString GetRemoteFile() const override;
  MString GetLocalFolder(bool withMakerFolder) const override;
  void ClearWishes() override;
  void MarkUninstalled() override;
  void MarkInstalled() override;
  void SetUninstallRequest(bool requested) override;
  bool IsUninstallRequested() const override;
  void Save() override;
  double MapProgress(double done, double total) const override;
  double GetProgressUpperBound() const override;

  // Reads the versions, their times and sizes from DatabaseNode anew (the last
  // child of each kind counts). UpdateVersion becomes the stable version, or the
  // beta one when there is no stable one, and Size is that version's; the choice
  // by channel and time is the update check's.
  void ReadDatabase();
  // The beta version becomes UpdateVersion, with its size.
  void UseBetaUpdate();

  // Appends a plug-in name to WantedBy unless it stands there already.
  void AddWantedBy(const MString& pluginName);
  // Whether the `name` of the definition holds `text`.
  bool NameHolds(const MString& text) const { return DisplayName.Find(text) >= 0; }
  // Whether the key holds `text`.
  bool KeyHolds(const MString& text) const { return Key.Find(text) >= 0; }

  MXMLItem* DatabaseNode = nullptr;
  MString Key;
  MString FolderPath;
  MString Flags;
  MString DisplayName;  // `name` of the definition: "Kernel", "Global data", ...
  bool Mac = false;     // `mac` of the definition: a package of the other platform
  MString CurrentPackageVersion;
  MString StableVersion;
  MString BetaVersion;
  MString UpdateVersion;
  MDateTime StableTime;
  MDateTime BetaTime;
  bool HasNewerBeta = false;
  float Size = 0.0f;  // `size` of the UpdateVersion's kind
  bool UninstallRequested = false;
  float ProgressLower = kInitialProgressLower;
  float ProgressUpper = 0.0f;
  MArray<MString> WantedBy;

 private:
  float betaSize_ = 0.0f;
};

// The loaded packages; the list owns them.
using PackageList = MArray<std::unique_ptr<Package>>;

}  // namespace kx
