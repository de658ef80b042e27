// KestrixApp: the connection test, the server choice and the catalogue loading.
#include "app/kestrix_app.h"

#include "app/run_flags.h"
#include "catalogue/definition_schema.h"
#include "catalogue/kernel_selection.h"
#include "catalogue/package.h"
#include "catalogue/plugin.h"
#include "foundation/core/boxes.h"
#include "foundation/core/exception.h"
#include "foundation/core/log.h"
#include "foundation/files/file_ops.h"
#include "foundation/files/path_text.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/text/format.h"
#include "transfer/download_file.h"
#include "transfer/network_address.h"

namespace kx {

namespace {

constexpr const char* kOfflineDataPage = "http://www.vorlund.com/offline-data";

// A downloaded tree: the text or binary form, read through the stream from its start.
void RewindAndLoad(MXMLItem& tree, MMemoryStream& memory, bool mbx) {
  memory.Seek(0, kSeekBegin);
  if (mbx)
    tree.ReadMBXAuto(memory);
  else
    tree.LoadXML(memory);
}

}  // namespace

bool KestrixApp::ConnectionTest() {
  try {
    MString host;
    uint16_t port = 0;
    if (!ParseServerHost(endpoints_.MainServer, host, port)) host = endpoints_.MainServer;
    MNetworkAddress address;
    address.Resolve(host);
    MString error;
    MMemoryStream memory;
    DownloadFile(endpoints_, error, "/download/ConnectionTest.pkgm", memory, false);
    OfflineMode = !(error.IsEmpty() && memory.GetSize() >= 1);
  } catch (MException&) {
    OfflineMode = true;
  }
  return OfflineMode;
}

// A catalogue downloaded into memory; a failed download is reported with its
// error after `failureText`, and the start goes on without the catalogue.
bool KestrixApp::FetchCatalogue(const char* remotePath, MMemoryStream& memory,
                                const char* failureText, int64_t rangeFrom) {
  MString error;
  DownloadFile(endpoints_, error, remotePath, memory, true, nullptr, rangeFrom);
  if (error.IsEmpty()) return true;
  ReportFailure(MString(failureText) + error);
  return false;
}

void KestrixApp::LoadInstallerDefinition() {
  MMemoryStream memory;
  const MString path = JoinPath(DataFolder, "MInstallerDefinition.mbx");
  if (!OfflineMode) {
    if (!FetchCatalogue("/download/MInstallerDefinition.mbx", memory,
                        "Could not download file InstallerDefinition.mbx.\nPlease check your "
                        "internet connection.\n\n",
                        0))
      return;
  } else if (!MFile::IsFile(path)) {
    // A first start without a server has no local copy yet: it goes on without one.
    return;
  }
  try {
    if (OfflineMode)
      InstallerDefinition.LoadFile(path);
    else
      RewindAndLoad(InstallerDefinition, memory, true);
  } catch (MException& failure) {
    ReportFailure(
        MString("Could not load file InstallerDefinition.install.\nPlease re-install the "
                "app.\n\nError: ") +
        failure.message);
    throw MException("InstallerDefinition.mbx is probably corrupt, please reinstall the app.");
  }
  if (OfflineMode) MLog::Line("\nFile InstallerDefinition.mbx loaded successfully.\n");
}

void KestrixApp::LoadAddonList() {
  if (!OfflineMode) {
    MLog::Line("Kestrix is in ONLINE mode");
    MMemoryStream memory;
    if (!FetchCatalogue("/download/PRODUCTSX.xml", memory,
                        "Could not download the list of available addons.\nPlease check your "
                        "internet connection.\n\n"))
      return;
    try {
      RewindAndLoad(AddonList, memory, false);
      endpoints_.AddonServer = AddonList.GetAttribute("server").AsString();
    } catch (MException&) {
      AddonList.Clear();
      throw MException("Downloaded list of available addons - PRODUCTSX.xml is corrupt.");
    }
    return;
  }
  MLog::Line("Kestrix is in OFFLINE mode!");
  if (!SilentMode) {
    ShowInformation(nullptr,
                    MString("Could not fully connect to Vorlund servers. You either have no "
                            "internet connection or are behind a firewall. Kestrix is running in "
                            "OFFLINE mode!\n\nPlease visit ") +
                        kOfflineDataPage +
                        ", where you can download the offline installation data.");
  } else {
    MLog::Line(
        "Error: Could not fully connect to Vorlund servers. You either have no internet "
        "connection or are behind a firewall.\nPlease connect to the internet and allow HTTP "
        "protocol and port 80 (TCP), if you are using VPN.");
    // Loaded offline installation data stands in for the server; a run that only
    // loads such data needs none.
    if (!UninstallMode && OfflineLoadFolder.IsEmpty() && !HasLoadedOfflineData())
      SilentFailureCode = 2;
  }
  const MString path = JoinPath(DataFolder, "PRODUCTSX.xml");
  if (MFile::IsFile(path)) {
    try {
      AddonList.LoadFile(path);
      endpoints_.AddonServer = AddonList.GetAttribute("server").AsString();
    } catch (MException&) {
      throw MException("List of available addons is corrupt, please reinstall Kestrix.");
    }
  }
  MLog::Line(AddonList.subItemCount > 0 || AddonList.attributeCount > 0
                 ? "\nOFFLINE mode: PRODUCTSX.xml successfully loaded."
                 : "\nOFFLINE mode: List of available addons is corrupt");
}

void KestrixApp::LoadPackageDatabase() {
  const MString mbxPath = JoinPath(DataFolder, "MINSTALLERDATABASE.mbx");
  if (OfflineMode) {
    if (MFile::IsFile(mbxPath)) PackageDatabase.LoadFile(mbxPath);
    return;
  }
  MMemoryStream memory;
  if (!FetchCatalogue("/download/MINSTALLERDATABASE.xml", memory,
                      "Could not download the list of available packages - "
                      "INSTALLERDATABASE.xml.\nPlease check your internet connection.\n\n"))
    return;
  try {
    RewindAndLoad(PackageDatabase, memory, false);
  } catch (MException&) {
    PackageDatabase.Clear();
    throw MException("Downloaded list of available packages - INSTALLERDATABASE.xml is corrupt.");
  }
  // Stored in binary form so that an offline start does not parse text.
  PackageDatabase.SaveFile(mbxPath);
}

void KestrixApp::LoadPackageList() {
  LoadPackages(this, InstallerDefinition, PackageDatabase, Settings.PackageSettings, packages_);
  packageItems_.Clear();
  for (const std::unique_ptr<Package>& package : packages_) packageItems_.Add(package.get());
}

void KestrixApp::BuildPlugins() {
  if (InstallerDefinition.subItemCount == 0) return;
  const InstallerDefinitionContents contents = ReadInstallerDefinition(InstallerDefinition);
  for (const CategoryDefinition& category : contents.categories) {
    for (const PluginDefinition& item : category.items) {
      Plugin* plugin =
          plugins_.Add(Plugin::Create(this, category, *item.node, Settings.PluginSettings)).get();
      if (SilentMode && SilentAllPlugins) SilentPluginNames.Add(plugin->Name);
    }
  }
}

void KestrixApp::RemoveSupersededPackageFiles() {
  for (const std::unique_ptr<Package>& package : packages_) {
    const MString pkgm = GetFileName(package->GetRemoteFile());
    const MString md5 = pkgm + ".md5";
    const MString folder = JoinPath(DataFolder, package->GetLocalFolder(false));
    if (!MFile::IsDirectory(folder)) continue;
    MArray<MString> files;
    MFile::GetFileList(folder, files);
    for (const MString& name : files) {
      if (name.EqualsNoCase(pkgm) || name.EqualsNoCase(md5)) continue;
      MFile::Delete(JoinPath(folder, name));
    }
  }
}

bool KestrixApp::CheckForPackageUpdates(bool dataReloaded) {
  UpdateSettings settings;
  settings.checkBeta = General.checkBeta;
  settings.checkAutoPkgUpdate = General.checkAutoPkgUpdate;
  settings.vstEnabled = VstEnabled;
  settings.vst64PluginsPath = General.vst64PluginsPath;
  return CheckForUpdates(packages_, settings, *this, dataReloaded);
}

}  // namespace kx
