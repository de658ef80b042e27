#include "catalogue/definition_schema.h"
#include "catalogue/definition_keys.h"

#include "catalogue/settings_node.h"
#include "foundation/xml/xml_item.h"
#include "foundation/xml/xml_iterator.h"

namespace kx {

const char* const kInstrumentsCategory = "Instruments";

namespace {

const MXMLName kCategory("category");
const MXMLName kBundle("bundle");

const MXMLName kHidden("hidden");
const MXMLName kColumns("columns");
const MXMLName kNameVisual("namevisual");
const MXMLName kPostfix("postfix");
const MXMLName kBundles("bundles");
const MXMLName kCustomGui("customgui");
const MXMLName kAll("all");
const MXMLName kMinVersion("minversion");
const MXMLName kHighlight("highlight");

// GetAttribute throws the tree's own message for a missing key.
MString Required(const MXMLItem& element, const MXMLName& key) {
  return element.GetAttribute(key).AsString();
}

// An optional text: whether it is there, and its value.
bool Optional(const MXMLItem& element, const MXMLName& key, MString& value) {
  if (!HasSetting(element, key)) return false;
  value = ReadSettingString(element, key, MString());
  return true;
}

}  // namespace

DirectoryDefinition ReadDirectoryDefinition(MXMLItem& element) {
  DirectoryDefinition result;
  result.node = &element;
  result.windows = ReadSettingBool(element, kWindows, true);
  result.available = ReadSettingBool(element, kAvailable, true);
  result.id = Required(element, kId);
  result.defaultText = Required(element, kDefault);
  result.defaultPrefix = Required(element, kDefaultPrefix);
  return result;
}

FilesDefinition ReadFilesDefinition(MXMLItem& element) {
  FilesDefinition result;
  result.node = &element;
  result.path = Required(element, kPath);
  result.name = ReadSettingString(element, kName, MString());
  result.flags = ReadSettingString(element, kFlags, MString());
  result.mac = ReadSettingBool(element, kMac, false);
  result.hasArchMin = Optional(element, kArchMin, result.archMin);
  result.hasArchMax = Optional(element, kArchMax, result.archMax);
  result.hasArchEnabled = HasSetting(element, kArchEnabled);
  result.archEnabled = ReadSettingBool(element, kArchEnabled, false);
  return result;
}

PluginDefinition ReadPluginDefinition(MXMLItem& element) {
  PluginDefinition result;
  result.node = &element;
  result.name = Required(element, kName);
  result.hasNameVisual = Optional(element, kNameVisual, result.nameVisual);
  result.postfix = ReadSettingString(element, kPostfix, MString());
  result.bundles = ReadSettingString(element, kBundles, MString());
  result.customGui = HasSetting(element, kCustomGui);
  result.flags = ReadSettingString(element, kFlags, MString());
  result.all = ReadSettingBool(element, kAll, false);
  result.minVersion = ReadSettingString(element, kMinVersion, MString("15.00"));
  result.contentsText = element.value.AsString();
  return result;
}

CategoryDefinition ReadCategoryDefinition(MXMLItem& element) {
  CategoryDefinition result;
  result.node = &element;
  result.hidden = HasSetting(element, kHidden);
  result.name = Required(element, kName);
  result.columns = element.GetAttribute(kColumns).AsInt();
  for (MXMLItem& item : MXMLNameIterator(element, kItem))
    result.items.Add(ReadPluginDefinition(item));
  return result;
}

BundleDefinition ReadBundleDefinition(MXMLItem& element) {
  BundleDefinition result;
  result.node = &element;
  result.name = ReadSettingString(element, kName, MString());
  result.id = ReadSettingString(element, kId, MString());
  result.highlight = ReadSettingBool(element, kHighlight, false);
  return result;
}

InstallerDefinitionContents ReadInstallerDefinition(MXMLItem& root) {
  InstallerDefinitionContents result;
  for (MXMLItem* element = root.firstSubItem; element; element = element->next) {
    if (kFiles.MatchesText(element->name)) {
      result.files.Add(ReadFilesDefinition(*element));
    } else if (kCategory.MatchesText(element->name)) {
      result.categories.Add(ReadCategoryDefinition(*element));
    } else if (kDirectory.MatchesText(element->name)) {
      result.directories.Add(ReadDirectoryDefinition(*element));
    } else if (kBundle.MatchesText(element->name)) {
      result.bundles.Add(ReadBundleDefinition(*element));
    }
  }
  return result;
}

}  // namespace kx
