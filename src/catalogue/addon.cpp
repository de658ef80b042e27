#include "catalogue/addon.h"

#include <algorithm>

#include "catalogue/catalogue_owner.h"
#include "catalogue/definition_keys.h"
#include "catalogue/settings_node.h"
#include "foundation/files/path_text.h"
#include "foundation/text/format.h"
#include "foundation/xml/xml_item.h"

namespace kx {
namespace {

const MXMLName kUpdate("update");
const MXMLName kUrl("url");
const MXMLName kMd5("md5");
const MXMLName kVersionKey("version");
const MXMLName kType("type");
const MXMLName kEssential("essential");
const MXMLName kBeta("beta");
const MXMLName kMinVersion("minversion");
const MXMLName kPrice("price");
const MXMLName kDownloadKey("Download");
const MXMLName kVersionSetting("Version");

}  // namespace

Addon::Addon(CatalogueOwner* owner, MXMLItem& itemNode, MXMLItem& settingsNode)
    : InstallableItem(owner, &itemNode, &settingsNode), ItemNode(&itemNode) {
  Name = itemNode.GetAttribute(kName).AsString();  // required
  Type = itemNode.GetAttributeText(kType, MString("Tonvault"));
  Essential = itemNode.GetAttributeBool(kEssential, false);
  Beta = itemNode.GetAttributeBool(kBeta, false);
  MinVersion = itemNode.GetAttributeText(kMinVersion, MString("15.00"));
  for (MXMLItem* child = itemNode.firstSubItem; child; child = child->next) {
    if (!kUpdate.MatchesText(child->name)) continue;
    Updates.Add(child);
    AvailableVersion = std::max(AvailableVersion, UpdateVersion(*child));
  }
  Download = ReadSettingBool(settingsNode, kDownloadKey, false);
  Installed = ReadSettingBool(settingsNode, kInstalled, false);
  Version = ReadSettingInt(settingsNode, kVersionSetting, 1);
}

MArray<std::unique_ptr<Addon>> Addon::BuildList(CatalogueOwner* owner, MXMLItem& addonList,
                                                MXMLItem& addonSettings) {
  MArray<std::unique_ptr<Addon>> list;
  for (MXMLItem* item = addonList.firstSubItem; item; item = item->next) {
    if (!kItem.MatchesText(item->name)) continue;
    MXMLItem& settings =
        FindOrMakeSettingsItem(addonSettings, item->GetAttribute(kName).AsString());
    list.Add(std::make_unique<Addon>(owner, *item, settings));
  }
  return list;
}

int32_t Addon::UpdateVersion(const MXMLItem& update) {
  return static_cast<int32_t>(update.GetAttributeInt(kVersionKey, 1));
}

bool Addon::WantsDownload() const {
  if (Owner && (Owner->IsPackageWorkRunning() || Owner->IsAddonWorkRunning())) return false;
  if (!Install) return true;
  if (Installed) return Version < AvailableVersion;
  return Download;
}

void Addon::MarkDownloading() {
  ActiveUpdate = nullptr;
  if (Installed && Install) {
    // Updates hold everything before them: the highest one above the installed
    // version is the only one fetched.
    for (MXMLItem* update : Updates) {
      const int32_t version = UpdateVersion(*update);
      if (version > Version && (!ActiveUpdate || version > UpdateVersion(*ActiveUpdate)))
        ActiveUpdate = update;
    }
    if (!ActiveUpdate) return;
  }
  Downloading = true;
  Save();
}

MString Addon::GetRemoteFile() const {
  const MXMLItem* source = ActiveUpdate ? ActiveUpdate : ItemNode;
  return source->GetAttributeText(kUrl);
}

MString Addon::GetRemoteMD5File() const {
  const MXMLItem* source = ActiveUpdate ? ActiveUpdate : ItemNode;
  if (const MXMLAttribute* md5 = source->FindAttribute(kMd5)) return md5->value.AsString();
  return GetRemoteFile() + MString(".md5");
}

void Addon::MarkInstalled() {
  Installed = true;
  Version = ActiveUpdate ? UpdateVersion(*ActiveUpdate) : 1;
  Download = false;
  Selected = false;
  Save();
}

void Addon::MarkUninstalled() {
  Installed = false;
  Version = 1;
  Save();
}

void Addon::Save() {
  WriteSettingBool(*SettingsNode, kDownloadKey, Download);
  WriteSettingBool(*SettingsNode, kInstalled, Installed);
  WriteSetting(*SettingsNode, kVersionSetting, MVariant(Version));
}

bool Addon::AdvanceUpdate() {
  if (Updates.IsEmpty()) {
    ActiveUpdate = nullptr;
    Install = true;
    return true;
  }
  if (!ActiveUpdate) {
    ActiveUpdate = Updates[0];
    return false;
  }
  bool moved = false;
  for (MXMLItem* update : Updates) {
    if (UpdateVersion(*update) > UpdateVersion(*ActiveUpdate)) {
      ActiveUpdate = update;
      moved = true;
    }
  }
  if (moved) return false;
  ActiveUpdate = nullptr;
  Install = true;
  return true;
}

MXMLItem* Addon::FindUpdateByFileName(const MString& fileName) const {
  for (MXMLItem* update : Updates)
    if (GetFileName(update->GetAttributeText(kUrl)).EqualsNoCase(fileName)) return update;
  return nullptr;
}

MString Addon::TransferLabel() const {
  if (!ActiveUpdate) return Name;
  return MFormat("{0}_Update{1}").Add(Name).Add(UpdateVersion(*ActiveUpdate) - 1);
}

AddonRowState DescribeAddonRow(const Addon& addon, bool installing) {
  const MString stop("Stop download");
  const MString get("Download & Install");
  if (addon.Install && !addon.Installed) {
    if (installing) return {MString("Installing..."), MString()};
    if (addon.Downloading) return {MString("Downloading..."), stop};
    if (addon.Download) return {MString("Queued"), stop};
    return {MString(), get};
  }
  if (addon.Install) {
    if (installing) return {MString("Installing update..."), MString()};
    if (addon.Downloading) return {MString("Downloading update..."), stop};
    if (addon.Download) return {MString("Update queued"), stop};
    return {MFormat("Installed version {0}").Add(addon.Version),
            addon.Version < addon.AvailableVersion ? get : MString()};
  }
  if (addon.Downloading) return {MString("Downloading ..."), stop};
  if (addon.Download) return {MString("Queued"), stop};
  return {};
}

MString AddonPriceText(const Addon& addon) {
  if (addon.Essential) return MString("Essential!");
  return addon.ItemNode->GetAttributeText(kPrice, MString("FREE"));
}

}  // namespace kx
