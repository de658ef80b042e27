// Reading and writing the keys of a settings tree: attributes on the root or on
// its `item` children, each read with a default of the caller's.
//
// A missing attribute gives the default; a present one is converted whatever
// its stored type (a text XML file holds strings, an MBX file numbers). A
// boolean is the attribute's integer value, so "0.5" reads as false. Keys are
// set, never removed: a key this program does not know survives a save.
//
// `item` children are found by their `name` attribute without regard to case
// (as the tree's own names are); FindOrMakeSettingsItem appends one when it is
// missing, so every record always has a node to save into.
#pragma once

#include <cstdint>

#include "foundation/text/text_string.h"
#include "foundation/containers/variant.h"
#include "foundation/xml/xml_name.h"

namespace kx {

class MXMLItem;

bool HasSetting(const MXMLItem& node, const MXMLName& key);
MString ReadSettingString(const MXMLItem& node, const MXMLName& key, const MString& fallback);
int32_t ReadSettingInt(const MXMLItem& node, const MXMLName& key, int32_t fallback);
bool ReadSettingBool(const MXMLItem& node, const MXMLName& key, bool fallback);
double ReadSettingDouble(const MXMLItem& node, const MXMLName& key, double fallback);

// Sets (adds or replaces) one key.
void WriteSetting(MXMLItem& node, const MXMLName& key, const MVariant& value);
// Booleans are stored as the integers 0 and 1.
void WriteSettingBool(MXMLItem& node, const MXMLName& key, bool value);

// The `item` child whose `name` is `name`, or null. Items without a `name` are
// passed over.
MXMLItem* FindSettingsItem(const MXMLItem& tree, const MString& name);
// The same, appending `<item name="...">` when there is none.
MXMLItem& FindOrMakeSettingsItem(MXMLItem& tree, const MString& name);

}  // namespace kx
