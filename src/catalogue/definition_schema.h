// The installer definition as the program reads it: the top-level elements
// `directory`, `files`, `category` (with its `item`s) and `bundle`, each read
// into a plain record that keeps a pointer to its element.
//
// A required attribute that is missing throws the tree's "Could not find
// required attribute ({0})." with the key; an attribute with a default gives the
// default when missing; a boolean is an integer read as non-zero; a presence
// attribute counts when it exists, whatever its value. Element and attribute
// names match without regard to case. Unknown elements are passed over, and the
// install tree below a `files` element is left to the install walk.
#pragma once

#include <cstdint>

#include "foundation/containers/containers.h"
#include "foundation/text/text_string.h"

namespace kx {

class MXMLItem;

// One path variable.
struct DirectoryDefinition {
  MXMLItem* node = nullptr;
  bool windows = true;    // `windows`, default 1: 0 means absent on this platform
  bool available = true;  // `Available`, written at load; 0 entries are skipped
  MString id;             // required; "destination" has a rule of its own
  MString defaultText;    // `default`, required
  MString defaultPrefix;  // `defaultprefix`, required
};

// One package.
struct FilesDefinition {
  MXMLItem* node = nullptr;
  MString path;      // required, as written (before the "PKG/" rule)
  MString name;      // optional display name; "Kernel", "Global data" have roles
  MString flags;     // default empty
  bool mac = false;  // default 0: 1 is a package of the other platform
  bool hasArchMin = false;
  MString archMin;
  bool hasArchMax = false;
  MString archMax;
  bool hasArchEnabled = false;  // written by the architecture selection
  bool archEnabled = false;
};

// One plug-in tile.
struct PluginDefinition {
  MXMLItem* node = nullptr;
  MString name;  // required: name and key
  bool hasNameVisual = false;
  MString nameVisual;
  MString postfix;         // default empty
  MString bundles;         // default empty
  bool customGui = false;  // presence
  MString flags;           // default empty
  bool all = false;        // default 0
  MString minVersion;      // default "15.00"
  MString contentsText;    // element text: ';'-separated product names
};

// One panel of the plug-in grid.
struct CategoryDefinition {
  MXMLItem* node = nullptr;
  bool hidden = false;  // presence
  MString name;         // required; "Instruments" (any case) makes its items instruments
  int32_t columns = 0;  // required
  MArray<PluginDefinition> items;
};

// One bundle button.
struct BundleDefinition {
  MXMLItem* node = nullptr;
  MString name;
  MString id;
  bool highlight = false;
};

struct InstallerDefinitionContents {
  MArray<DirectoryDefinition> directories;
  MArray<FilesDefinition> files;
  MArray<CategoryDefinition> categories;
  MArray<BundleDefinition> bundles;
};

DirectoryDefinition ReadDirectoryDefinition(MXMLItem& element);
FilesDefinition ReadFilesDefinition(MXMLItem& element);
PluginDefinition ReadPluginDefinition(MXMLItem& element);
CategoryDefinition ReadCategoryDefinition(MXMLItem& element);
BundleDefinition ReadBundleDefinition(MXMLItem& element);

// All top-level elements in file order, each kind in its own list.
InstallerDefinitionContents ReadInstallerDefinition(MXMLItem& root);

// The category name that makes a plug-in an instrument, compared without case.
extern const char* const kInstrumentsCategory;

}  // namespace kx
