#include "app/settings_store.h"

#include "app/settings_keys.h"
#include "catalogue/plugin.h"
#include "catalogue/settings_node.h"
#include "foundation/core/exception.h"
#include "foundation/files/file_ops.h"
#include "foundation/core/log.h"
#include "foundation/xml/mbx.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/files/path_text.h"
#include "foundation/core/run_state.h"

namespace kx {

void LoadSettingsTree(MXMLItem& tree, const MString& path, const MString& rootName) {
  tree.Clear();
  tree.name.Clear();
  // A settings file that cannot be used is no reason to refuse to start: the
  // defaults are what a first start has too.
  try {
    if (MFile::IsFile(path)) {
      MMemoryStream bytes;
      MFile::ReadAll(path, bytes);
      bytes.Seek(0, kSeekBegin);
      if (!TryLoadAny(tree, bytes)) tree.Clear();
    }
  } catch (MException&) {
    tree.Clear();
  }
  tree.name = rootName;
}

void SettingsStore::Load(const MString& folder) {
  addonPath_ = JoinPath(folder, kAddonSettingsFile);
  packagePath_ = JoinPath(folder, kPackageSettingsFile);
  pluginPath_ = JoinPath(folder, kPluginSettingsFile);
  LoadSettingsTree(AddonSettings, addonPath_, kAddonSettingsRoot);
  LoadSettingsTree(PackageSettings, packagePath_, kPackageSettingsRoot);
  LoadSettingsTree(PluginSettings, pluginPath_, kPluginSettingsRoot);
}

void SettingsStore::Save() const {
  // Each file on its own: one that cannot be written must not cost the others.
  const MXMLItem* trees[] = {&AddonSettings, &PackageSettings, &PluginSettings};
  const MString* paths[] = {&addonPath_, &packagePath_, &pluginPath_};
  bool failed = false;
  MException first("");
  for (int i = 0; i < 3; ++i) {
    try {
      if (paths[i]->IsEmpty())
        throw MException("Settings were never loaded: no file to save to.", kErrorIO);
      trees[i]->SaveFile(*paths[i]);
    } catch (MException& e) {
      if (!failed) first = e;
      failed = true;
    }
  }
  if (failed) throw first;
}

GeneralSettings SettingsStore::ReadGeneralSettings(const MString& vstDefault) const {
  const MXMLItem& root = PackageSettings;
  GeneralSettings values;
  values.installedVersion =
      ReadSettingString(root, kSettingInstalledVersion, kDefaultInstalledVersion);
  if (values.installedVersion.IsEmpty()) values.installedVersion = kDefaultInstalledVersion;
  values.checkBeta = ReadSettingBool(root, kSettingCheckBeta, true);
  values.checkTVTInstr = ReadSettingBool(root, kSettingCheckTVTInstr, true);
  values.checkVST = ReadSettingBool(root, kSettingCheckVST, true);
  values.checkVST3 = ReadSettingBool(root, kSettingCheckVST3, true);
  values.checkAAX = ReadSettingBool(root, kSettingCheckAAX, true);
  values.checkAutoPkgUpdate = ReadSettingBool(root, kSettingCheckAutoPkgUpdate, true);
  values.checkAutoSelfUpdate = ReadSettingBool(root, kSettingCheckAutoSelfUpdate, true);
  values.checkOffInstallerPC = ReadSettingBool(root, kSettingCheckOffInstallerPC, true);
  values.checkOffInstallerMac = ReadSettingBool(root, kSettingCheckOffInstallerMac, false);
  if (!CloudLaunchMode) {
    values.vst64PluginsPath = ReadSettingString(root, kSettingVST64PluginsPath, vstDefault);
    if (values.vst64PluginsPath.IsEmpty()) values.vst64PluginsPath = vstDefault;
  }
  return values;
}

void SettingsStore::WriteGeneralSettings(const GeneralSettings& values) {
  MXMLItem& root = PackageSettings;
  WriteSetting(root, kSettingInstalledVersion, MVariant(values.installedVersion));
  WriteSettingBool(root, kSettingCheckBeta, values.checkBeta);
  WriteSettingBool(root, kSettingCheckTVTInstr, values.checkTVTInstr);
  WriteSettingBool(root, kSettingCheckVST, values.checkVST);
  WriteSettingBool(root, kSettingCheckVST3, values.checkVST3);
  WriteSettingBool(root, kSettingCheckAAX, values.checkAAX);
  WriteSettingBool(root, kSettingCheckAutoPkgUpdate, values.checkAutoPkgUpdate);
  WriteSettingBool(root, kSettingCheckAutoSelfUpdate, values.checkAutoSelfUpdate);
  WriteSettingBool(root, kSettingCheckOffInstallerPC, values.checkOffInstallerPC);
  WriteSettingBool(root, kSettingCheckOffInstallerMac, values.checkOffInstallerMac);
  // A cloud launch never read the folder (it stays empty for the run); writing
  // that empty value would cost the user the folder chosen in earlier runs.
  if (!CloudLaunchMode)
    WriteSetting(root, kSettingVST64PluginsPath, MVariant(values.vst64PluginsPath));
}

bool SettingsStore::SaveAtEndOfRun(const GeneralSettings& values,
                                   const MArray<Plugin*>& plugins) noexcept {
  try {
    WriteGeneralSettings(values);
    for (Plugin* plugin : plugins) plugin->Save();
    Save();
    return true;
  } catch (MException& e) {
    MLog::Line(e.message);
  } catch (...) {
    ReportGuardFailure("SettingsStore::SaveAtEndOfRun");
  }
  return false;
}

}  // namespace kx
