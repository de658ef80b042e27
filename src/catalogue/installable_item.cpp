#include "catalogue/installable_item.h"

namespace kx {

InstallableItem::InstallableItem(CatalogueOwner* owner, MXMLItem* definitionNode,
                                 MXMLItem* settingsNode)
    : Owner(owner), DefinitionNode(definitionNode), SettingsNode(settingsNode) {}

InstallableItem::~InstallableItem() = default;

bool InstallableItem::IsEffectsBinary() const {
  return false;
}

bool InstallableItem::IsLocked() const {
  return Locked;
}

void InstallableItem::CleanUp() {}

void InstallableItem::MarkDownloading() {
  Downloading = true;
  Save();
}

MString InstallableItem::GetRemoteMD5File() const {
  return GetRemoteFile() + MString(".md5");
}

void InstallableItem::ClearWishes() {
  Download = false;
  Install = false;
  Save();
}

void InstallableItem::MarkUninstalled() {
  Installed = false;
  Download = false;
  Save();
}

void InstallableItem::MarkInstalled() {
  Installed = true;
  Download = false;
  Save();
}

void InstallableItem::SetUninstallRequest(bool) {}

bool InstallableItem::IsUninstallRequested() const {
  return false;
}

double InstallableItem::MapProgress(double done, double total) const {
  return MapIntoShare(done, total, 0.0, GetProgressUpperBound());
}

double InstallableItem::GetProgressUpperBound() const {
  return 1.0;
}

double MapIntoShare(double done, double total, double lower, double upper) {
  if (!(total > 0.0)) return lower;
  double value = lower + (upper - lower) * (done / total);
  // Upper first, so that a share whose bounds are crossed reports its lower
  // bound rather than a value below it.
  if (value > upper) value = upper;
  if (value < lower) value = lower;
  return value;
}

}  // namespace kx
