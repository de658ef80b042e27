// Installing one add-on file. The order of the steps, the status texts and the
// log lines are what the add-on tab and the support's reading of log.txt rely on.
#include "install/addon_install.h"

#include <algorithm>
#include <memory>

#include "catalogue/addon.h"
#include "foundation/core/exception.h"
#include "foundation/core/log.h"
#include "foundation/files/data_paths.h"
#include "foundation/files/file_ops.h"
#include "foundation/files/path_text.h"
#include "foundation/streams/file_stream.h"
#include "foundation/streams/security_info.h"
#include "foundation/text/format.h"
#include "foundation/threads/lock.h"
#include "foundation/xml/xml_item.h"
#include "foundation/resources/resource_keys.h"
#include "install/addon_record.h"
#include "install/content_read_ahead.h"
#include "install/item_date_time.h"
#include "install/package_file.h"
#include "install/path_guard.h"
#include "presets/preset_merge.h"
#include "presets/preset_store.h"

namespace kx {
namespace {

const MXMLName kPluginId("PluginID");
const MXMLName kPresets("Presets");
const MXMLName kDevices("Devices");
const MXMLName kSamples("Samples");
const MXMLName kKitvault("Kitvault");
const MXMLName kDir("dir");
const MXMLName kFile("file");
const MXMLName kPath("path");
const MXMLName kTime("time");

enum class AddonKind { kProduct, kPack };

AddonKind KindOf(const MString& path) {
  const MString extension = GetExtension(path);
  if (extension.EqualsNoCase(MString("mproduct"))) return AddonKind::kProduct;
  if (extension.EqualsNoCase(MString("kitvaultpack"))) return AddonKind::kPack;
  throw MException(MString("Unknown addon type ") + path);
}

// The record of a hand-picked file: the add-on whose full file or update entry
// has the same file name; an update hit becomes the pending entry.
Addon* FindAddonForFile(AddonHost& host, const MString& path) {
  const MString fileName = GetFileName(path);
  MLock hold(host.AddonLock());
  for (Addon* addon : host.AddonRecords()) {
    addon->ActiveUpdate = nullptr;
    if (GetFileName(addon->GetRemoteFile()).EqualsNoCase(fileName)) return addon;
  }
  for (Addon* addon : host.AddonRecords()) {
    if (MXMLItem* update = addon->FindUpdateByFileName(fileName)) {
      addon->ActiveUpdate = update;
      return addon;
    }
  }
  return nullptr;
}

// Every name a subtree will join to its target, checked before anything is written.
void CheckSubtree(const MXMLItem& subtree) {
  for (MXMLItem* child = subtree.firstSubItem; child; child = child->next)
    if (kDir.MatchesText(child->name) || kFile.MatchesText(child->name))
      CheckItemName(child->GetAttribute(kPath).AsString());
}

// Copies the folder's files into `target` where they are missing there.
void CopyFolderOver(const MString& from, const MString& target) {
  MArray<MString> files;
  MFile::GetFileListRecursed(from, files);
  for (const MString& file : files) {
    const MString to = JoinPath(target, file);
    if (MFile::Exists(to)) continue;
    MFile::CreatePath(GetDirectory(to));
    MFile::Copy(JoinPath(from, file), to);
  }
}

// The plug-in's device folder below the global data path, made when missing;
// an older folder of that name in the user data path is copied over first.
MString PrepareDeviceFolder(const MString& pluginId) {
  const MString name = AddonDeviceFolderName(pluginId);
  const MString folder = GetDataPath_Global(name);
  if (folder.IsEmpty()) throw MException(MFormat("No shared data folder for \"{0}\".").Add(name));
  if (!MFile::IsDirectory(folder)) {
    MFile::CreatePath(folder);
    const MString older = GetDataPath_User(name, false);
    if (!older.IsEmpty() && MFile::IsDirectory(older)) CopyFolderOver(older, folder);
  }
  return folder;
}

void MergeAddonPresets(AddonHost& host, const MString& pluginId, MXMLItem& presets) {
  const MString file = GetDataPath_User(pluginId + MString("presets"), false);
  if (file.IsEmpty()) throw MException(MString("No user data folder for the presets."));
  MXMLItem store;
  if (MFile::IsFile(file)) store.LoadFile(file);
  MXMLItem incoming;
  incoming.CopyFrom(presets);
  NormalizePresetNames(store);
  NormalizePresetNames(incoming);
  MPresetContext context;
  MergePresetTrees(context, store, incoming);
  if (store.name.IsEmpty()) store.name = MString("XML");
  MFile::CreatePath(GetDirectory(file));
  store.SaveFile(file);
  host.PresetsChanged();
}

void InstallProduct(AddonHost& host, const MString& path, const MString& name) {
  MPackageFile library;
  MXMLItem& root = library.Open(path);
  const MString pluginId = root.GetAttributeText(kPluginId, MString("Tonvault"));
  if (MXMLItem* presets = root.FindSubItem(kPresets)) {
    host.AddonStatus(MString("Installing presets"), false, 0.0);
    MergeAddonPresets(host, pluginId, *presets);
  }
  AddonRecord record(pluginId, name);
  if (MXMLItem* devices = root.FindSubItem(kDevices)) {
    host.AddonStatus(MString("Installing devices"), false, 0.0);
    ExtractAddonSubtree(host, library, PrepareDeviceFolder(pluginId), *devices,
                        &record.Child(MString("Devices")));
  }
  if (MXMLItem* samples = root.FindSubItem(kSamples)) {
    host.AddonStatus(MString("Installing samples"), false, 0.0);
    ExtractAddonSubtree(host, library, host.SamplePath(), *samples,
                        &record.Child(MString("Samples")));
  }
  record.Save(host.RecordFolder());
}

// The whole-file check of a pack against line 1 (digest) and line 2 (size) of
// its security info.
void TestPack(AddonHost& host, const MString& path, const MString& name) {
  const MString infoPath = path + MString(".md5");
  if (!MFile::IsFile(infoPath)) return;
  host.AddonStatus(MFormat("Testing pack {0}").Add(name), false, 0.0);
  MSecurityInfo info;
  info.Load(infoPath);
  const int64_t size = MFile::GetFileSize(path);
  if (size != info.totalSize)
    throw MException(MFormat("Kitvault pack is corrupt, size should be {0} but is {1}.")
                         .Add(info.totalSize)
                         .Add(size));
  const MString digest = DigestFileHex(path);
  if (!digest.EqualsNoCase(info.fileDigest))
    throw MException(MFormat("Kitvault pack is corrupt, MD5 does not match, should be {0} but is {1}.")
                         .Add(info.fileDigest)
                         .Add(digest));
}

void InstallPack(AddonHost& host, const MString& path, const MString& name) {
  TestPack(host, path, name);
  host.AddonStatus(MFormat("Installing pack {0}").Add(name), false, 0.0);
  MPackageFile library;
  MXMLItem& root = library.Open(path);
  AddonRecord record(MString("Kitvault"), name);
  if (MXMLItem* pack = root.FindSubItem(kKitvault)) {
    ExtractAddonSubtree(host, library, host.FactoryPath(), *pack,
                        &record.Child(MString("Kitvault")));
  }
  record.Save(host.RecordFolder());
}

void ClearInstalling(AddonHost& host) {
  host.SetInstallingAddon(nullptr);
}

}  // namespace

MString AddonDeviceFolderName(const MString& pluginId) {
  if (pluginId == MString("Tonvault")) return MString("TonvaultInstruments");
  if (pluginId == MString("Lattix")) return MString("Vorlund Lattix/ActivePresets");
  return pluginId + MString("Devices");
}

void InstallAddonFile(AddonHost& host, Addon* item, const MString& path) {
  MLog::Line(MString("\nINSTALLING ") + path);
  try {
    if (!item) item = FindAddonForFile(host, path);
    const MString name = item ? item->Name : ChangeExtension(GetFileName(path), MString());
    host.SetInstallingAddon(item);
    if (item) {
      MLock hold(host.AddonLock());
      item->Save();
    }
    host.AddonStatus(MFormat("Installing {0}...").Add(name), false, 0.0);
    MLog::Line(MString("  name ") + name);
    if (KindOf(path) == AddonKind::kPack) {
      MLog::Line(MString("  installing Kitvault pack"));
      InstallPack(host, path, name);
    } else {
      MLog::Line(MString("  installing product"));
      InstallProduct(host, path, name);
    }
    MLog::Line(MString("  success"));
    ClearInstalling(host);
    host.AddonStatus(MFormat("Installation of {0} addon finished successfully.").Add(name), false,
                     0.0);
    if (item) {
      {
        MLock hold(host.AddonLock());
        item->MarkInstalled();
      }
      host.SaveAddonSettings();
      MLock hold(host.AddonLock());
      item->Save();
    }
  } catch (const MException& failure) {
    MLog::Line(MString("  Exception ") + failure.message);
    ClearInstalling(host);
    throw;
  }
}

int64_t ExtractAddonSubtree(AddonHost& host, MPackageFile& library, const MString& target,
                            MXMLItem& subtree, MXMLItem* recordChild) {
  CheckSubtree(subtree);
  double total = 0.0;
  MArray<MXMLItem*> files;
  MArray<std::pair<int64_t, int64_t>> contents;
  for (MXMLItem* child = subtree.firstSubItem; child; child = child->next) {
    if (!kFile.MatchesText(child->name)) continue;
    total += static_cast<double>(child->GetAttributeInt(kFileSizeKey, 0));
    files.Add(child);
    contents.Add({child->GetAttribute(kFileStartKey).AsInt64(), child->GetAttribute(kFileSizeKey).AsInt64()});
  }
  total = std::max(total, 1.0);

  for (MXMLItem* child = subtree.firstSubItem; child; child = child->next) {
    if (!kDir.MatchesText(child->name)) continue;
    const MString path = child->GetAttribute(kPath).AsString();
    MFile::CreatePath(JoinPath(target, path));
    if (recordChild) AddonRecord::AddPath(*recordChild, "dir", path);
  }

  ContentReadAhead ahead(library, library.GetPath(), contents);
  auto buffer = std::make_unique_for_overwrite<char[]>(ContentReadAhead::kPieceSize);
  int64_t size = recordChild ? recordChild->GetAttributeInt(kSizeKey, 0) : 0;
  int64_t count = recordChild ? recordChild->GetAttributeInt(kCountKey, 0) : 0;
  int64_t written = 0;
  double barValue = 0.0;
  for (int32_t index = 0; index < files.Count(); ++index) {
    MXMLItem* child = files[index];
    const MString path = child->GetAttribute(kPath).AsString();
    host.AddonStatus(MFormat("Extracting {0}").Add(path), true, barValue);
    const MString file = JoinPath(target, path);
    MFile::CreatePath(GetDirectory(file));
    if (recordChild) AddonRecord::AddPath(*recordChild, "file", path);
    {
      MFileStream out(file, MFileStream::kModeCreate);
      std::unique_ptr<MStream> content = ahead.Open(index);
      for (int64_t got; (got = content->Read(buffer.get(), ContentReadAhead::kPieceSize)) > 0;) {
        out.Write(buffer.get(), got);
        written += got;
        size += got;
        barValue += static_cast<double>(got) / total;
        host.AddonStatus(MFormat("Extracting {0}").Add(path), true, barValue);
      }
      out.Close();
    }
    ++count;
    if (const MXMLAttribute* time = child->FindAttribute(kTime)) {
      MDateTime stamp = ItemDateTime::Parse(time->value.AsString()).ToFileTime();
      MFile::SetFileTime(file, nullptr, nullptr, &stamp);
    }
    if (recordChild) {
      recordChild->SetAttribute(kSizeKey, MVariant(size));
      recordChild->SetAttribute(kCountKey, MVariant(count));
    }
  }
  return written;
}

}  // namespace kx
