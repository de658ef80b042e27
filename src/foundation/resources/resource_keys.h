// Attribute and element names of a library's definition tree, shared by the
// library itself and the package layer on top of it.
#pragma once

#include "foundation/xml/xml_name.h"

namespace kx {

inline const MXMLName kFileKey("file");
inline const MXMLName kPathKey("path");
inline const MXMLName kSourcePathKey("srcpath");
inline const MXMLName kFileStartKey("filestart");
inline const MXMLName kFileSizeKey("filesize");

}  // namespace kx
