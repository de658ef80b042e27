// Plugin: one `item` of a `category` of the installer definition: a tile of the
// plug-in grid and the unit the user selects. A plug-in is not a package: its
// `Flags` word ties it to the packages it needs (see package_need.h).
//
// Settings item (in PluginSettings, named by the plug-in's name): `Install`,
// `Installed`, `Uninstall` as booleans, default 0.
//
// `Contents` are the products within the item, from its element text split at
// ';', each field as it stands (blanks and empty fields kept; an empty text gives
// none); they stand for the plug-in where packages record who wants them.
// `IsInstrument` is set when the category's name is "Instruments" in any case. The tile's picture and controls, the panel
// column and the web address are set by the window that shows the tile.
#pragma once

#include <cstdint>
#include <memory>

#include "foundation/containers/containers.h"
#include "foundation/text/text_string.h"

namespace kx {

class CatalogueOwner;
class MXMLItem;
struct CategoryDefinition;
struct PluginDefinition;

class Plugin {
 public:
  Plugin(CatalogueOwner* owner, const CategoryDefinition& category,
         const PluginDefinition& definition, MXMLItem& settingsNode);
  Plugin(const Plugin&) = delete;
  Plugin& operator=(const Plugin&) = delete;

  // Reads the item (required `name` and the rest) and finds or makes its
  // settings item in the PluginSettings tree.
  static std::unique_ptr<Plugin> Create(CatalogueOwner* owner, const CategoryDefinition& category,
                                        MXMLItem& itemElement, MXMLItem& pluginSettings);

  // Writes Install, Installed and Uninstall into the settings item.
  void Save();

  // The names that stand for this plug-in in a package's WantedBy: its
  // Contents, or its Name when it has none.
  const MArray<MString>& WantedNames() const { return Contents.IsEmpty() ? nameList_ : Contents; }

  CatalogueOwner* Owner;
  MXMLItem* ItemNode;
  MXMLItem* SettingsNode;
  MString Name;
  MString NameVisual;  // shown in place of Name when not empty
  MArray<MString> Contents;
  MString Flags;
  MString Bundles;
  MString MinVersion;
  bool Installed = false;
  bool Install = false;
  bool Uninstall = false;
  bool All = false;
  bool IsInstrument = false;  // its category is "Instruments", in any case
  bool CustomGui = false;
  MString Category;
  MString Postfix;
  int32_t Column = 0;
  MString WebAddress;

 private:
  MArray<MString> nameList_;
};

// The ';' list of an item's text, fields as they stand; none for an empty text.
MArray<MString> SplitContents(const MString& text);

}  // namespace kx
