// SettingsStore: the three settings trees of a run and their files in the data
// folder.
//
//   AddonSettings    Settings.xml         root "KestrixAddonsSettings"
//   PackageSettings  SettingsPackage.xml  root "KestrixPackagesSettings" (also
//                                         the general settings, on its root)
//   PluginSettings   SettingsPlugins.xml  root "KestrixPluginsSettings"
//
// Load reads each file in whichever form it holds (MBX, compressed MBX or text
// XML); a file that is missing, unreadable or of no known form gives an empty
// tree, so every default applies. The root names are set on every load, whatever
// the file held. Keys are read with a default per key (catalogue/settings_node.h)
// and set, never removed: keys this program does not know survive a run.
//
// Save writes the trees back in MBX form (text XML when DisableMBX), each file
// through a new file beside it and a rename, so a crash or a full disk leaves
// either the old file or the new one, never a half-written one. A failed file
// does not stop the others; the first failure is thrown after all were tried.
//
// The trees are touched by the main thread and, for item state, by the download
// thread under the package-state lock; the save at the end of the run comes
// after that thread has ended.
#pragma once

#include "foundation/containers/containers.h"
#include "foundation/text/text_string.h"
#include "foundation/xml/xml_item.h"

namespace kx {

class Plugin;

// The general settings written at the end of a run, with their defaults.
struct GeneralSettings {
  MString installedVersion = "17";
  bool checkBeta = true;
  bool checkTVTInstr = true;
  bool checkVST = true;
  bool checkVST3 = true;
  bool checkAAX = true;
  bool checkAutoPkgUpdate = true;
  bool checkAutoSelfUpdate = true;
  bool checkOffInstallerPC = true;
  bool checkOffInstallerMac = false;
  MString vst64PluginsPath;
};

class SettingsStore {
 public:
  MXMLItem AddonSettings;
  MXMLItem PackageSettings;
  MXMLItem PluginSettings;

  // Loads the three files from `folder` in the order Settings.xml,
  // SettingsPackage.xml, SettingsPlugins.xml and keeps their paths for Save.
  void Load(const MString& folder);
  // Writes the three files to the paths of the last Load. Throws the first
  // file failure; nothing to save to (no Load yet) throws as a failed write.
  void Save() const;

  // The general settings on PackageSettings' root. An empty InstalledVersion
  // reads as "17". The VST folder reads with `vstDefault` and an empty value
  // becomes `vstDefault`; in CloudLaunchMode it is not read and stays empty.
  GeneralSettings ReadGeneralSettings(const MString& vstDefault) const;
  // Sets them in the order InstalledVersion, CheckBeta, CheckTVTInstr, CheckVST,
  // CheckVST3, CheckAAX, CheckAutoPkgUpdate, CheckAutoSelfUpdate,
  // CheckOffInstallerPC, CheckOffInstallerMac, VST64PluginsPath. In
  // CloudLaunchMode the VST folder was never read and is left as stored.
  void WriteGeneralSettings(const GeneralSettings& values);

  // The end of a run (only when no new setup is pending, after the download
  // thread has ended): the general settings, then each plug-in's selection,
  // then the three files. A failure is logged and swallowed so that the program
  // still ends; the settings of this run are then lost. True when all was saved.
  bool SaveAtEndOfRun(const GeneralSettings& values, const MArray<Plugin*>& plugins) noexcept;

  const MString& AddonSettingsPath() const { return addonPath_; }
  const MString& PackageSettingsPath() const { return packagePath_; }
  const MString& PluginSettingsPath() const { return pluginPath_; }

 private:
  MString addonPath_;
  MString packagePath_;
  MString pluginPath_;
};

// One settings tree from `path`: empty when the file is missing, unreadable or
// of no known form; its root is named `rootName` in every case.
void LoadSettingsTree(MXMLItem& tree, const MString& path, const MString& rootName);

}  // namespace kx
