#include "catalogue/plugin.h"
#include "catalogue/definition_keys.h"

#include "catalogue/definition_schema.h"
#include "catalogue/settings_node.h"
#include "foundation/xml/xml_item.h"

namespace kx {

MArray<MString> SplitContents(const MString& text) {
  // The fields stand as written: they are matched against names elsewhere, and a
  // blank or an empty field is part of what the definition says.
  MArray<MString> fields;
  if (!text.IsEmpty()) text.Split(';', fields);
  return fields;
}

Plugin::Plugin(CatalogueOwner* owner, const CategoryDefinition& category,
               const PluginDefinition& definition, MXMLItem& settingsNode)
    : Owner(owner), ItemNode(definition.node), SettingsNode(&settingsNode) {
  Name = definition.name;
  NameVisual = definition.nameVisual;
  Contents = SplitContents(definition.contentsText);
  Flags = definition.flags;
  Bundles = definition.bundles;
  MinVersion = definition.minVersion;
  All = definition.all;
  CustomGui = definition.customGui;
  Postfix = definition.postfix;
  Category = category.name;
  IsInstrument = category.name.EqualsNoCase(kInstrumentsCategory);
  Installed = ReadSettingBool(settingsNode, kInstalled, false);
  Install = ReadSettingBool(settingsNode, kInstall, false);
  Uninstall = ReadSettingBool(settingsNode, kUninstall, false);
  nameList_.Add(Name);
}

std::unique_ptr<Plugin> Plugin::Create(CatalogueOwner* owner, const CategoryDefinition& category,
                                       MXMLItem& itemElement, MXMLItem& pluginSettings) {
  PluginDefinition definition = ReadPluginDefinition(itemElement);
  MXMLItem& settings = FindOrMakeSettingsItem(pluginSettings, definition.name);
  return std::make_unique<Plugin>(owner, category, definition, settings);
}

void Plugin::Save() {
  WriteSettingBool(*SettingsNode, kInstall, Install);
  WriteSettingBool(*SettingsNode, kInstalled, Installed);
  WriteSettingBool(*SettingsNode, kUninstall, Uninstall);
}

}  // namespace kx
