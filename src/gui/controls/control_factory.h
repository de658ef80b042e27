// Construction of control trees from definition trees. The factory table maps
// element names to factories: 37 controls, 10 layouts and 30 parameter
// objects. Control kinds whose classes come with the standard controls are
// created as plain MControl objects whose `controltype` follows the element,
// so that trees build, lay out and paint now.
#pragma once

#include <cstdint>
#include <memory>

#include "foundation/text/text_string.h"

namespace kx {

class MControl;
class MXMLItem;

using MControlFactory = void (*)(MControl& enclosing, MXMLItem& element, bool fromLayout);

struct MFactoryEntry {
  const char* name;
  MControlFactory factory;
};

// Walks the child elements of `node`; unknown names are skipped without a word.
// Definitions nested deeper than kMaxDefinitionDepth elements (controls and
// layouts) throw
// "Definition tree is nested too deeply.".
void CreateFromDefinition(MControl& control, MXMLItem& node, bool fromLayout);

// A window built from a definition root: the root's attributes are read into
// `window` and its elements built below it with layout runs held back, then
// one layout runs.
void BuildWindowFromDefinition(MControl& window, MXMLItem& root);

// The factory of an element name, or null.
MControlFactory FindFactory(const MString& name);
int32_t FactoryCount();

inline constexpr int32_t kMaxDefinitionDepth = 256;

// Layout placement words: "center,center" 0 ... "right,bottom" 10; unknown 0.
uint8_t PlacementFromWord(const MString& word);

}  // namespace kx
