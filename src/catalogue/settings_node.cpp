#include "catalogue/settings_node.h"
#include "catalogue/definition_keys.h"

#include "foundation/xml/xml_iterator.h"

namespace kx {
namespace {


// FindAttribute leaves the item's lookup cache alone: settings nodes are read by
// the download thread too, and a shared cache would be a write from a reader.
const MVariant* Lookup(const MXMLItem& node, const MXMLName& key) {
  MXMLAttribute* attribute = node.FindAttribute(key);
  return attribute ? &attribute->value : nullptr;
}

}  // namespace

bool HasSetting(const MXMLItem& node, const MXMLName& key) {
  return node.FindAttribute(key) != nullptr;
}

MString ReadSettingString(const MXMLItem& node, const MXMLName& key, const MString& fallback) {
  return node.GetAttributeText(key, fallback);
}

int32_t ReadSettingInt(const MXMLItem& node, const MXMLName& key, int32_t fallback) {
  const MVariant* value = Lookup(node, key);
  return value ? value->AsInt() : fallback;
}

bool ReadSettingBool(const MXMLItem& node, const MXMLName& key, bool fallback) {
  return node.GetAttributeBool(key, fallback);
}

double ReadSettingDouble(const MXMLItem& node, const MXMLName& key, double fallback) {
  const MVariant* value = Lookup(node, key);
  return value ? value->AsReal() : fallback;
}

void WriteSetting(MXMLItem& node, const MXMLName& key, const MVariant& value) {
  node.SetAttribute(key, value);
}

void WriteSettingBool(MXMLItem& node, const MXMLName& key, bool value) {
  node.SetAttribute(key, MVariant(static_cast<int32_t>(value ? 1 : 0)));
}

MXMLItem* FindSettingsItem(const MXMLItem& tree, const MString& name) {
  for (MXMLItem& item : MXMLNameIterator(tree, kItem)) {
    const MVariant* itemName = Lookup(item, kName);
    if (itemName && itemName->AsString().EqualsNoCase(name)) return &item;
  }
  return nullptr;
}

MXMLItem& FindOrMakeSettingsItem(MXMLItem& tree, const MString& name) {
  if (MXMLItem* found = FindSettingsItem(tree, name)) return *found;
  MXMLItem& made = tree.AddSubItem("item");
  made.SetAttribute(kName, MVariant(name));
  return made;
}

}  // namespace kx
