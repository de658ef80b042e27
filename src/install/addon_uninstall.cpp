// Removing add-ons by their installation records. A record names paths below
// the base folders of its children; it comes from disk and may have been edited,
// so a path that is absolute or climbs with ".." is refused and reported, never
// followed. Errors are collected and shown together; one bad record does not stop
// the removal of the others.
#include <memory>

#include "catalogue/addon.h"
#include "foundation/core/exception.h"
#include "foundation/core/log.h"
#include "foundation/files/data_paths.h"
#include "foundation/files/file_ops.h"
#include "foundation/files/path_text.h"
#include "foundation/text/format.h"
#include "foundation/threads/lock.h"
#include "foundation/xml/xml_item.h"
#include "install/addon_install.h"
#include "install/addon_record.h"

namespace kx {
namespace {

constexpr int64_t kUncountedWeight = 1000;
constexpr int32_t kMaxErrorText = 262144;

const MXMLName kName("name");
const MXMLName kPluginId("PluginID");

struct Removal {
  AddonHost& host;
  MString name;
  double value = 0.0;
  double perFile = 0.0;
  MString errors;

  void Error(const MString& text) {
    MLog::Line(MString("  ") + text);
    errors.Append(text);
    errors.Append("\n");
  }
};

bool IsRecordOfUninstallable(const MXMLItem& record) {
  return record.GetAttributeBool(kUninstallFlagKey, false);
}

// Deletes what one child of a record lists, below `base`.
void RemoveChild(Removal& removal, const MXMLItem& child, const MString& base) {
  MArray<MString> dirs;
  for (MXMLItem* item = child.firstSubItem; item; item = item->next) {
    const MString path = item->value.AsString();
    const bool isFile = item->name.EqualsNoCase(MString("file"));
    if (!isFile && !item->name.EqualsNoCase(MString("dir"))) continue;
    if (base.IsEmpty() || path.IsEmpty() || !IsContainedPath(path)) {
      removal.Error(MFormat("Path \"{0}\" is outside the add-on's folder; not removed.").Add(path));
      continue;
    }
    if (!isFile) {
      dirs.Add(path);
      continue;
    }
    removal.value += removal.perFile;
    removal.host.AddonStatus(MFormat("Uninstalling {0}...").Add(removal.name), true, removal.value);
    const MString file = JoinPath(base, path);
    try {
      if (MFile::Exists(file)) MFile::Delete(file);
    } catch (const MException& failure) {
      removal.Error(failure.message);
    }
  }
  // Last to first, each folder and then its parents up to the base: folders
  // that still hold something stay.
  for (int32_t index = dirs.Count() - 1; index >= 0; --index) {
    for (MString path = dirs[index]; !path.IsEmpty(); path = GetDirectory(path)) {
      const MString folder = JoinPath(base, path);
      if (!MFile::IsDirectory(folder)) continue;
      MArray<MString> left;
      MFile::GetFileList(folder, left, MString(), true);
      if (!left.IsEmpty()) break;
      try {
        MFile::RemoveDirectory(folder);
      } catch (const MException& failure) {
        removal.Error(failure.message);
        break;
      }
    }
  }
}

void RemoveRecord(Removal& removal, const MXMLItem& record) {
  const MString pluginId = record.GetAttributeText(
      kPluginId, record.GetAttributeText(MXMLName("type"), MString("Tonvault")));
  if (const MXMLItem* samples = record.FindSubItem(MXMLName("Samples")))
    RemoveChild(removal, *samples, removal.host.SamplePath());
  if (const MXMLItem* pack = record.FindSubItem(MXMLName("Kitvault")))
    RemoveChild(removal, *pack, removal.host.FactoryPath());
  if (const MXMLItem* tonvault = record.FindSubItem(MXMLName("Tonvault")))
    RemoveChild(removal, *tonvault, GetDataPath_Global(AddonDeviceFolderName(MString("Tonvault"))));
  else if (const MXMLItem* devices = record.FindSubItem(MXMLName("Devices")))
    RemoveChild(removal, *devices, GetDataPath_Global(AddonDeviceFolderName(pluginId)));
  if (const MXMLItem* lattix = record.FindSubItem(MXMLName("Lattix")))
    RemoveChild(removal, *lattix, GetDataPath_Global(AddonDeviceFolderName(MString("Lattix"))));
}

}  // namespace

MArray<AddonRecordEntry> ListUninstallableAddons(const MString& recordFolder) {
  MArray<AddonRecordEntry> entries;
  if (!MFile::IsDirectory(recordFolder)) return entries;
  MArray<MString> files;
  MFile::GetFileList(recordFolder, files, MString("xml"));
  for (const MString& file : files) {
    const MString path = JoinPath(recordFolder, file);
    try {
      MXMLItem record;
      record.LoadFile(path);
      if (IsRecordOfUninstallable(record)) entries.Add({path, record.GetAttributeText(kName)});
    } catch (const MException& failure) {
      MLog::Line(MFormat("  Skipping add-on record \"{0}\": {1}").Add(path).Add(failure.message));
    }
  }
  return entries;
}

int32_t UninstallAddons(AddonHost& host, const MArray<MString>& recordPaths) {
  // Read every record first: the weights of all of them share the bar.
  struct Loaded {
    std::unique_ptr<MXMLItem> record;
    MString error;
  };
  MArray<Loaded> records;
  int64_t weight = 0;
  for (const MString& path : recordPaths) {
    Loaded loaded{std::make_unique<MXMLItem>(), MString()};
    try {
      loaded.record->LoadFile(path);
      if (IsRecordOfUninstallable(*loaded.record))
        for (MXMLItem* child = loaded.record->firstSubItem; child; child = child->next)
          weight += child->GetAttributeInt(kCountKey, kUncountedWeight);
    } catch (const MException& failure) {
      loaded.error =
          MFormat("Add-on record \"{0}\" cannot be read: {1}").Add(path).Add(failure.message);
      loaded.record.reset();
    }
    records.Add(std::move(loaded));
  }

  int32_t errorCount = 0;
  double value = 0.0;
  int32_t removed = 0;
  for (int32_t index = 0; index < records.Count(); ++index) {
    Removal removal{host, MString(), value, weight > 0 ? 1.0 / static_cast<double>(weight) : 0.0, MString()};
    const MXMLItem* record = records[index].record.get();
    if (!record) {
      removal.name = GetFileName(recordPaths[index]);
      removal.Error(records[index].error);
    } else if (IsRecordOfUninstallable(*record)) {
      removal.name = record->GetAttributeText(kName);
      RemoveRecord(removal, *record);
      try {
        MFile::Delete(recordPaths[index]);
      } catch (const MException& failure) {
        removal.Error(failure.message);
      }
      MLock hold(host.AddonLock());
      for (Addon* addon : host.AddonRecords())
        if (addon->Name == removal.name) addon->MarkUninstalled();
    } else {
      // Chosen from an earlier listing, but not (or no longer) a removable record.
      removal.name = GetFileName(recordPaths[index]);
      removal.Error(MFormat("Add-on record \"{0}\" cannot be uninstalled.").Add(recordPaths[index]));
    }
    ++removed;
    value = removal.value;
    if (removal.errors.IsEmpty()) {
      host.AddonStatus(MFormat("Uninstallation of {0} completed successfully.").Add(removal.name),
                       false, 0.0);
    } else {
      ++errorCount;
      MString text = removal.errors;
      if (text.Length() > kMaxErrorText) text = text.Left(kMaxErrorText);
      host.ShowAddonErrors(text);
      host.AddonStatus(MFormat("Uninstallation of {0} completed.").Add(removal.name), false, 0.0);
    }
  }
  if (removed > 1)
    host.AddonStatus(MString("Uninstallation of all items completed successfully."), false, 0.0);
  host.SaveAddonSettings();
  host.AddonsChanged();
  return errorCount;
}

}  // namespace kx
