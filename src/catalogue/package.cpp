#include "catalogue/package.h"
#include "catalogue/definition_keys.h"

#include "catalogue/catalogue_owner.h"
#include "catalogue/maker_names.h"
#include "catalogue/package_database.h"
#include "catalogue/settings_node.h"
#include "foundation/core/exception.h"
#include "foundation/files/file_ops.h"
#include "foundation/text/format.h"
#include "foundation/core/log.h"
#include "foundation/files/path_text.h"
#include "foundation/core/run_state.h"
#include "foundation/xml/xml_item.h"

namespace kx {
namespace {


const MXMLName kDownload("Download");
const MXMLName kDownloaded("Downloaded");
const MXMLName kVersion("Version");

// Every occurrence of `what`, left to right; the text after a removal is not
// searched again, so "PKPKG/G/" keeps one "PKG/".
MString RemoveAll(const MString& text, const MString& what) {
  MString result;
  int32_t from = 0;
  for (;;) {
    int32_t at = text.Find(what, from);
    if (at < 0) break;
    result.Append(text.Mid(from, at - from));
    from = at + what.Length();
  }
  result.Append(text.Mid(from));
  return result;
}

// The `path` of a `files` element with the "PKG/" rule applied. The path comes
// from the server and becomes a folder below the data folder: one that would
// leave it is refused here, before anything is made from it.
MString ReadFolderPath(MXMLItem& filesElement) {
  MString path = filesElement.GetAttribute(kPath).AsString();
  if (!IsContainedPath(path))
    throw MException(MFormat("Package path \"{0}\" leads outside the data folder.").Add(path));
  return Package::MakeFolderPath(path);
}

}  // namespace

Package::Package(CatalogueOwner* owner, MXMLItem& filesElement, MXMLItem* databaseNode,
                 MXMLItem& settingsNode)
    : InstallableItem(owner, &filesElement, &settingsNode), DatabaseNode(databaseNode) {
  FolderPath = ReadFolderPath(filesElement);
  Key = MakeKey(FolderPath);
  Flags = ReadSettingString(filesElement, kFlags, MString());
  DisplayName = ReadSettingString(filesElement, kName, MString());
  Mac = ReadSettingBool(filesElement, kMac, false);

  // The settings item's own defaults are 0, which for Install overrides the
  // base's "install after download": a package is installed only when asked.
  Download = ReadSettingBool(settingsNode, kDownload, false);
  Downloaded = ReadSettingBool(settingsNode, kDownloaded, false);
  Install = ReadSettingBool(settingsNode, kInstall, false);
  Installed = ReadSettingBool(settingsNode, kInstalled, false);
  UninstallRequested = ReadSettingBool(settingsNode, kUninstall, false);
  CurrentPackageVersion = ReadSettingString(settingsNode, kVersion, MString());

  ReadDatabase();
}

std::unique_ptr<Package> Package::Create(CatalogueOwner* owner, MXMLItem& filesElement,
                                         MXMLItem& database, MXMLItem& packageSettings) {
  MString key = MakeKey(ReadFolderPath(filesElement));
  MXMLItem* entry = FindDatabaseEntry(database, key);
  MXMLItem& settings = FindOrMakeSettingsItem(packageSettings, key);
  return std::make_unique<Package>(owner, filesElement, entry, settings);
}

MString Package::MakeFolderPath(const MString& path) {
  if (path.Find("BINEffects") >= 0) return MString("PKG/") + path;
  return path;
}

MString Package::MakeKey(const MString& folderPath) {
  MString key = RemoveAll(folderPath, "PKG/");
  key.Replace('/', '_');
  return key;
}

MString Package::GetName() const {
  return Key;
}

bool Package::IsEffectsBinary() const {
  return Key == kEffectsBinaryKey || Key == kEffectsBinaryMacKey;
}

bool Package::IsPackage() const {
  return true;
}

bool Package::WantsDownload() const {
  return Download && !(Owner && Owner->IsAddonWorkRunning());
}

bool Package::ReportProgress() const {
  MString path =
      JoinPath(JoinPath(DataFolder, GetLocalFolder(false)), GetFileName(GetRemoteFile()));
  int64_t size = MFile::GetFileSize(path);
  MLog::Line(MFormat("File: {0} | downloaded: {1}").Add(path).Add(size < 0 ? 0 : size));
  return Downloaded && size >= 0;
}

MString Package::GetRemoteFile() const {
  return MFormat("/download/{0}/{1}_{2}.pkgm").Add(FolderPath).Add(Key).Add(CurrentPackageVersion);
}

MString Package::GetLocalFolder(bool withMakerFolder) const {
  return withMakerFolder ? JoinPath(kMakerFolderWord, FolderPath) : FolderPath;
}

void Package::ClearWishes() {
  UninstallRequested = false;
  InstallableItem::ClearWishes();
}

void Package::MarkUninstalled() {
  UninstallRequested = false;
  InstallableItem::MarkUninstalled();
}

void Package::MarkInstalled() {
  UninstallRequested = false;
  InstallableItem::MarkInstalled();
}

void Package::SetUninstallRequest(bool requested) {
  UninstallRequested = requested;
  Save();
}

bool Package::IsUninstallRequested() const {
  return UninstallRequested;
}

void Package::Save() {
  WriteSettingBool(*SettingsNode, kDownload, Download);
  WriteSettingBool(*SettingsNode, kDownloaded, Downloaded);
  WriteSettingBool(*SettingsNode, kInstall, Install);
  WriteSettingBool(*SettingsNode, kInstalled, Installed);
  WriteSettingBool(*SettingsNode, kUninstall, UninstallRequested);
  WriteSetting(*SettingsNode, kVersion, MVariant(CurrentPackageVersion));
}

double Package::MapProgress(double done, double total) const {
  return MapIntoShare(done, total, ProgressLower, ProgressUpper);
}

double Package::GetProgressUpperBound() const {
  return ProgressUpper;
}

void Package::ReadDatabase() {
  DatabaseVersions versions = ReadDatabaseVersions(DatabaseNode);
  StableVersion = versions.stableVersion;
  StableTime = versions.stableTime;
  BetaVersion = versions.betaVersion;
  BetaTime = versions.betaTime;
  betaSize_ = static_cast<float>(versions.betaSize);
  if (StableVersion.IsEmpty()) {
    UseBetaUpdate();
  } else {
    UpdateVersion = StableVersion;
    Size = static_cast<float>(versions.stableSize);
  }
}

void Package::UseBetaUpdate() {
  UpdateVersion = BetaVersion;
  Size = betaSize_;
}

void Package::AddWantedBy(const MString& pluginName) {
  if (WantedBy.IndexOf(pluginName) < 0) WantedBy.Add(pluginName);
}

}  // namespace kx
