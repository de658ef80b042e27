// One call from a definition tree to a PNG: the tree becomes a window of the
// offscreen host, is laid out at its style's scale, painted whole and saved.
// For tools and tests that want a picture of a user interface.
#pragma once

#include "foundation/text/text_string.h"
#include "gui/drawing/drawing_types.h"

namespace kx {

class MStyles;
class MXMLItem;

// Returns the size of the frame written. Throws the definition's, the
// layout's and the file's MException.
MPoint RenderDefinitionToPNG(MXMLItem& root, MStyles& style, double scale, const MString& path);

}  // namespace kx
