// KestrixApp: offline installation data, written on the download thread for
// another computer and loaded here from such a folder.
//
// The folder holds PKG/ (every package of this platform with its .md5), the
// add-on files with theirs, MINSTALLERDATABASE.mbx, the setups of this program,
// and, on Linux, MInstallerDefinition.mbx and PRODUCTSX.xml too: a Linux setup
// brings no definition, so a computer that never reached the server could not
// start from the folder without them.
//
// What comes from a folder on disk is outside data: links are not followed (an
// entry that is a link is left out and logged), every tree is loaded before it
// is copied, every package is proved against its .md5 while it is copied, and
// PKG is copied into a scratch folder first and moved into place only when all
// of it arrived, so that a failed load leaves the data folder as it was.
#include <algorithm>

#include "app/kestrix_app.h"
#include "app/run_flags.h"
#include "app/settings_keys.h"
#include "catalogue/addon.h"
#include "catalogue/package.h"
#include "catalogue/self_update_list.h"
#include "catalogue/settings_node.h"
#include "catalogue/version_compare.h"
#include "foundation/core/boxes.h"
#include "foundation/core/exception.h"
#include "foundation/core/log.h"
#include "foundation/files/file_ops.h"
#include "foundation/files/path_text.h"
#include "foundation/streams/file_stream.h"
#include "foundation/streams/hash_stream.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/streams/security_info.h"
#include "foundation/text/format.h"
#include "foundation/threads/lock.h"
#include "kestrix_version.h"
#include "transfer/self_update.h"
#include "transfer/download_thread.h"

namespace kx {
namespace {

constexpr const char* kDatabaseFile = "MINSTALLERDATABASE.mbx";
constexpr const char* kDefinitionFile = "MInstallerDefinition.mbx";
constexpr const char* kAddonListFile = "PRODUCTSX.xml";
constexpr int64_t kPiece = 1048576;

void Tell(const MString& text) {
  MLog::Line(text);
  if (!SilentMode) ShowInformation(nullptr, text);
}

// Copies `from` to `to`, proving it against `info` (size and whole-file digest)
// on the way; a file that does not match is removed again and named.
void CopyProved(const MString& from, const MString& to, const MSecurityInfo& info) {
  MFile::CreatePath(GetDirectory(to));
  bool proved = false;
  {
    MFileStream source(from, MFileStream::kModeRead);
    MFileStream target(to, MFileStream::kModeCreate);
    auto buffer = std::make_unique_for_overwrite<char[]>(kPiece);
    MHashStream md5;
    md5.Reset();
    int64_t size = 0;
    for (int64_t got; (got = source.Read(buffer.get(), kPiece)) > 0; size += got) {
      md5.Write(buffer.get(), got);
      target.Write(buffer.get(), got);
    }
    md5.Finish();
    target.Close();
    proved = size == info.totalSize && info.MatchesFile(DigestBytesToHex(md5.Digest()));
  }
  if (!proved) {
    MFile::Delete(to);
    throw MException(MFormat("The package \"{0}\" of the offline installation data does not match "
                             "its security info.")
                         .Add(from));
  }
}

// Files below `folder` (relative paths), links left out and logged.
MArray<MString> ListWithoutLinks(const MString& folder, const MString& extensions) {
  MArray<MString> all;
  MFile::GetFileListRecursed(folder, all, extensions);
  MArray<MString> files;
  for (const MString& file : all) {
    MString at = folder;
    bool linked = false;
    MArray<MString> parts;
    file.Split(u'/', parts);
    for (const MString& part : parts) {
      at = JoinPath(at, part);
      linked = linked || MFile::IsLink(at);
    }
    if (linked)
      MLog::Line(MString("Skipping link: ") + JoinPath(folder, file));
    else
      files.Add(file);
  }
  return files;
}

// The version in "Kestrix_<version>_setup.run"; empty for other names.
MString SetupVersion(const MString& fileName) {
  const MString pattern(kSetupNamePattern);
  const int32_t hole = pattern.Find(MString("{0}"));
  const MString head = pattern.Left(hole);
  const MString tail = pattern.Mid(hole + 3);
  if (fileName.Length() <= head.Length() + tail.Length()) return MString();
  if (!fileName.Left(head.Length()).EqualsNoCase(head)) return MString();
  if (!fileName.Mid(fileName.Length() - tail.Length()).EqualsNoCase(tail)) return MString();
  return fileName.Mid(head.Length(), fileName.Length() - head.Length() - tail.Length());
}

// Whether `candidate` is a higher version than `current`, component by component.
bool IsNewerVersion(const MString& candidate, const MString& current) {
  MArray<MString> a, b;
  candidate.Split(u'.', a);
  current.Split(u'.', b);
  for (int32_t index = 0; index < std::max(a.Count(), b.Count()); ++index) {
    const int64_t x = index < a.Count() ? a[index].ToInt64() : 0;
    const int64_t y = index < b.Count() ? b[index].ToInt64() : 0;
    if (x != y) return x > y;
  }
  return false;
}

}  // namespace

bool KestrixApp::OfflineFolderReady() const {
  return thread_->OfflineFolderReady.load();
}

bool KestrixApp::HasLoadedOfflineData() const {
  return MFile::IsDirectory(JoinPath(DataFolder, "PKG")) &&
         MFile::IsFile(JoinPath(DataFolder, kDatabaseFile)) &&
         MFile::IsFile(JoinPath(DataFolder, kDefinitionFile));
}

// ---------------------------------------------------------------- creation

bool KestrixApp::StartOfflineCreation(const MString& folder, bool allAddons) {
  MLog::Line("OnDownloadOfflineInstallData");
  if (folder.IsEmpty()) {
    Tell("No target folder for offline installation data is set. Please set correct folder first!");
    return false;
  }
  try {
    MFile::CreatePath(folder);
  } catch (const MException&) {
    Tell(MString("Cannot create target folder: ") + folder +
         MString(" Please set folder with offline installation data in different location"));
    return false;
  }
  OfflineFolderPath = folder;
  {
    MLock hold(mainLock_);
    thread_->OfflineCancel = false;
    thread_->OfflinePhase = 1;
    for (const std::unique_ptr<Package>& package : packages_) {
      if (package->Mac) continue;  // the other platform's packages are not served for this one
      package->Download = true;
      package->Install = false;
      package->Save();
    }
    for (const std::unique_ptr<Addon>& addon : addons_) {
      if (!allAddons) continue;
      addon->InOfflineSet = true;
      addon->Download = true;
      addon->Install = false;
      addon->Save();
    }
  }
  InitializePkgsProgress(true);
  thread_->Wake();
  return true;
}

bool KestrixApp::CopyOfflineData() {
  const MString target = OfflineFolderPath;
  MLog::Line("\nCopying packages to destination offline folder...");
  MFile::CreatePath(target);

  // Add-ons: the full file and every update file that was fetched, each with its .md5.
  for (const std::unique_ptr<Addon>& addon : addons_) {
    if (!addon->InOfflineSet) continue;
    MArray<MString> files;
    files.Add(GetFileName(addon->ItemNode->GetAttributeText("url")));
    for (MXMLItem* update : addon->Updates) {
      const MString name = GetFileName(update->GetAttributeText("url"));
      if (MFile::IsFile(JoinPath(DownloadPath, name))) files.Add(name);
    }
    if (!MFile::IsFile(JoinPath(DownloadPath, files[0])))
      throw MException(
          "No downloded addon available, user deleted? Please download offline installation data "
          "again.");
    if (JoinPath(DownloadPath, MString()) == JoinPath(target, MString())) continue;
    for (const MString& name : files) {
      for (const MString& file : {name, name + MString(".md5")}) {
        const MString from = JoinPath(DownloadPath, file);
        if (MFile::GetFileSize(from) < 0) throw MException(MString("Cannot obtain size of file: ") + from);
        MLog::Line(MString("Copying file: ") + from);
        MFile::Copy(from, JoinPath(target, file));
        MLog::Line("Success!");
      }
    }
  }

  const MString pkg = JoinPath(target, "PKG");
  if (MFile::Exists(pkg)) {
    MLog::Line(MString("Target folder: ") + pkg + MString(" exists, deleting it."));
    MFile::RemoveTree(pkg);
    MLog::Line(pkg + MString(" successfully deleted.\n"));
  }
  for (const std::unique_ptr<Package>& package : packages_) {
    if (package->Mac) continue;
    if (thread_->OfflineCancel.load()) return false;
    Show(MString("Copying packages to ") + target, 0.0F);
    const MString folder = JoinPath(target, package->GetLocalFolder(false));
    MFile::CreatePath(folder);
    const MString file = PackageFilePath(*package);
    for (const MString& from : {file, file + MString(".md5")}) {
      MFile::Copy(from, JoinPath(folder, GetFileName(from)));
      MLog::Line(MString("File: ") + GetFileName(from) + MString(" successfully copied to: ") + folder);
    }
  }
  MLog::Line("\nAll packages successfully copied to target offline folder.");
  Show("All packages successfully copied to target offline folder", 1.0F);

  MFile::Copy(JoinPath(DataFolder, kDatabaseFile), JoinPath(target, kDatabaseFile));
  MLog::Line("\nFile INSTALLERDATABASE.mbx successfully copied.");
  {
    MFileStream definition(JoinPath(target, kDefinitionFile), MFileStream::kModeCreate);
    InstallerDefinition.SaveMBX(definition);
    definition.Close();
    MFileStream list(JoinPath(target, kAddonListFile), MFileStream::kModeCreate);
    AddonList.SaveXML(list);
    list.Close();
  }
  MLog::Line("\nFiles InstallerDefinition.mbx and PRODUCTSX.xml successfully written.");
  CopyOfflineSetups(target);
  return true;
}

// The newest setup of this platform, fetched unless the folder has it already.
void KestrixApp::CopyOfflineSetups(const MString& target) {
  SelfUpdateEntry entry;
  try {
    if (SelfUpdateList.subItemCount == 0) {
      const MString error = FetchSelfUpdateList(endpoints_, SelfUpdateList);
      if (!error.IsEmpty()) throw MException(error);
    }
    entry = FindSelfUpdateEntry(SelfUpdateList);
  } catch (const MException& failure) {
    MLog::Line(MString("No setup for the offline installation data: ") + failure.message);
    return;
  }
  const MString name = MFormat(kSetupNamePattern).Add(entry.version);
  MLog::Line(MString("Downloading setup: ") + name);
  const MString path = JoinPath(target, name);
  if (MFile::IsFile(path)) return;
  const MString error = FetchSetup(endpoints_, entry.setupName, path);
  if (!error.IsEmpty()) {
    MLog::Line(MString("Download error: ") + error + MString(" \nsetup file: ") + name);
    return;
  }
  MLog::Line(MString("Setup: ") + name + MString(" downloaded succesfully."));
}

void KestrixApp::FinishOfflineWork(bool copied) {
  {
    MLock hold(mainLock_);
    for (const std::unique_ptr<Addon>& addon : addons_) {
      if (!addon->InOfflineSet) continue;
      SetBusyIndicator(true);
      addon->Download = true;
      addon->Install = true;
      addon->InOfflineSet = false;
      addon->Save();
    }
  }
  if (copied) {
    Show("Offline folder successfully created!", 1.0F);
    MLog::Line(MFormat("Folder '{0}' containing offline installation data is successfully created!")
                   .Add(OfflineFolderPath));
    if (!SilentMode)
      ShowInformation(nullptr,
                      MFormat("Offline installation data successfully created at: <p><p "
                              "singleline=1><b>{0}</b><p><p>Copy this folder i.e. to an external "
                              "drive, and on the target computer, click the <name>Load offline "
                              "installation data</name> button in the settings of Kestrix.")
                          .Add(OfflineFolderPath));
  }
  // A run started only to write the folder ends with it.
  if (closeAfterOfflineCopy_) thread_->CloseRequests.fetch_add(1);
}

// ---------------------------------------------------------------- loading

bool KestrixApp::LoadOfflineInstallData(const MString& path) {
  if (AddonWorkRunning) {
    Tell("Please wait until the current addon installation is finished.");
    return false;
  }
  if (InstallActive.load() || UninstallRunning.load()) return false;
  MLog::Line(MString("\nOnLoadOfflineInstallData(), path: ") + path);

  // A newer setup in the folder comes first: it loads the rest when it starts.
  MArray<MString> names;
  if (MFile::IsDirectory(path)) MFile::GetFileList(path, names);
  for (const MString& name : names) {
    const MString version = SetupVersion(name);
    const MString setup = JoinPath(path, name);
    if (version.IsEmpty() || MFile::IsLink(setup) || !IsNewerVersion(version, kKestrixVersion)) continue;
    if (SilentMode) {
      MLog::Line(MString("A new version ") + version + MString(" of Kestrix is available. Updating now."));
    } else if (ShowQuestion(nullptr, MFormat("A new version {0} of Kestrix is available. Would you "
                                             "like to update now?")
                                         .Add(version)) != 1) {
      break;
    }
    WriteSetting(Settings.PackageSettings, kSettingOfflineDataStartupPath, path);
    Settings.Save();
    MFile::MakeExecutable(setup);
    SetupPath = setup;
    UpToDate = false;
    return true;
  }

  const MString database = JoinPath(path, kDatabaseFile);
  if (!MFile::IsFile(database) || MFile::IsLink(database)) {
    Tell(MString("The folder with offline installation data is incomplete; the file ") +
         MString(kDatabaseFile) +
         MString(" is missing.\nPlease double-check that you have selected the correct folder "
                 "with the offline installation data for loading.\nIf you are sure the folder "
                 "path is correct, it is incomplete and you need to download the offline "
                 "installation data again."));
    return false;
  }
  try {
    // Each tree is read before it is taken: a file that is not what its name
    // says is refused before anything of it lands in the data folder.
    MXMLItem loaded;
    {
      MFileStream file(database, MFileStream::kModeRead);
      loaded.ReadMBX(file);
    }
    MLog::Line(MString("\nCopying file : ") + database + MString("to user data..."));
    MFile::Copy(database, JoinPath(DataFolder, kDatabaseFile));
    MLog::Line("\nSuccess.");
    PackageDatabase.Clear();
    PackageDatabase.LoadFile(JoinPath(DataFolder, kDatabaseFile));
    for (const char* name : {kDefinitionFile, kAddonListFile}) {
      const MString file = JoinPath(path, name);
      if (!MFile::IsFile(file) || MFile::IsLink(file)) continue;
      MXMLItem tree;
      tree.LoadFile(file);
      MFile::Copy(file, JoinPath(DataFolder, name));
    }
  } catch (const MException& failure) {
    Tell(MFormat("The offline installation data in \"{0}\" cannot be used: {1}").Add(path).Add(failure.message));
    return false;
  }

  Show("Loading offline installation data...", 0.0F);
  const MString pkg = JoinPath(path, "PKG");
  try {
    for (const MString& file : ListWithoutLinks(path, MString("md5;kitvaultpack;mproduct"))) {
      // Package .md5 files travel with their packages below.
      if (file.Left(4).EqualsNoCase(MString("PKG/"))) continue;
      const MString to = JoinPath(DownloadPath, GetFileName(file));
      if (MFile::Exists(to)) continue;
      MLog::Line(MString("Copying file: ") + JoinPath(path, file) + MString(" to ") + to);
      MFile::CreatePath(DownloadPath);
      MFile::Copy(JoinPath(path, file), to);
      MLog::Line("Success!");
    }

    const MString cache = JoinPath(DataFolder, "PKG");
    MLog::Line(MString("\nCopying folder '(UP)PKG' from : ") + path + MString("to user data folder: ") + cache);
    if (!MFile::IsDirectory(pkg) || MFile::IsLink(pkg)) {
      Tell(
          "Folder with offline installation data is incomplete: missing folder with packages. "
          "\nPlease download the offline installation data again.");
      return false;
    }
    const MString scratch = JoinPath(DataFolder, "PKG.loading");
    if (MFile::Exists(scratch)) MFile::RemoveTree(scratch);
    try {
      for (const MString& file : ListWithoutLinks(pkg, MString())) {
        const MString from = JoinPath(pkg, file);
        if (GetExtension(file).EqualsNoCase(MString("pkgm"))) {
          MSecurityInfo info;
          info.Load(from + MString(".md5"));
          CopyProved(from, JoinPath(scratch, file), info);
        } else {
          MFile::CreatePath(GetDirectory(JoinPath(scratch, file)));
          MFile::Copy(from, JoinPath(scratch, file));
        }
      }
    } catch (const MException&) {
      if (MFile::Exists(scratch)) MFile::RemoveTree(scratch);
      throw;
    }
    // All of it arrived: it takes the place of what the cache held.
    for (const MString& file : ListWithoutLinks(scratch, MString())) {
      const MString to = JoinPath(cache, file);
      MFile::CreatePath(GetDirectory(to));
      if (MFile::Exists(to)) MFile::Delete(to);
      MFile::Rename(JoinPath(scratch, file), to);
    }
    MFile::RemoveTree(scratch);
  } catch (const MException& failure) {
    Tell(MFormat("The offline installation data in \"{0}\" cannot be used: {1}").Add(path).Add(failure.message));
    return false;
  }

  OfflineFolderPath = path;
  PackageCachePresent = true;
  Show("Offline installation data has been successfully loaded.", 1.0F);
  if (!SilentMode) ShowInformation(nullptr, "Offline installation data has been successfully loaded.");
  MLog::Line("\nAll mandatory offline installation data successfully loaded.");
  return true;
}

}  // namespace kx
