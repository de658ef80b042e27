// Names of the settings files, their root names and the general keys on the
// root of PackageSettings. Item keys belong to the records that own them
// (catalogue/package.h, plugin.h; the add-on record).
#pragma once

#include "foundation/xml/xml_name.h"

namespace kx {

inline constexpr const char* kAddonSettingsFile = "Settings.xml";
inline constexpr const char* kPackageSettingsFile = "SettingsPackage.xml";
inline constexpr const char* kPluginSettingsFile = "SettingsPlugins.xml";

inline constexpr const char* kAddonSettingsRoot = "KestrixAddonsSettings";
inline constexpr const char* kPackageSettingsRoot = "KestrixPackagesSettings";
inline constexpr const char* kPluginSettingsRoot = "KestrixPluginsSettings";

inline const MXMLName kSettingInstalledVersion("InstalledVersion");
inline const MXMLName kSettingCheckBeta("CheckBeta");
inline const MXMLName kSettingCheckTVTInstr("CheckTVTInstr");
inline const MXMLName kSettingCheckVST("CheckVST");
inline const MXMLName kSettingCheckVST3("CheckVST3");
inline const MXMLName kSettingCheckAAX("CheckAAX");
inline const MXMLName kSettingCheckAutoPkgUpdate("CheckAutoPkgUpdate");
inline const MXMLName kSettingCheckAutoSelfUpdate("CheckAutoSelfUpdate");
inline const MXMLName kSettingCheckOffInstallerPC("CheckOffInstallerPC");
inline const MXMLName kSettingCheckOffInstallerMac("CheckOffInstallerMac");
inline const MXMLName kSettingVST64PluginsPath("VST64PluginsPath");
inline const MXMLName kSettingVST3CustomPath("VST3CustomPath");
inline const MXMLName kSettingDownloadPath("DownloadPath");
inline const MXMLName kSettingOfflineFolderPath("OfflineFolderPath");
inline const MXMLName kSettingOfflineDataStartupPath("OfflineDataStartupPath");
inline const MXMLName kSettingScale("Scale");

// The plug-in set version assumed when none is installed.
inline constexpr const char* kDefaultInstalledVersion = "17";

}  // namespace kx
