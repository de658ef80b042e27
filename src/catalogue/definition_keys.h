// Element and attribute names of the installer definition and of the settings
// records that more than one catalogue reader looks up.
#pragma once

#include "foundation/xml/xml_name.h"

namespace kx {

inline const MXMLName kDirectory("directory");
inline const MXMLName kFiles("files");
inline const MXMLName kItem("item");
inline const MXMLName kWindows("windows");
inline const MXMLName kAvailable("Available");
inline const MXMLName kId("id");
inline const MXMLName kDefault("default");
inline const MXMLName kDefaultPrefix("defaultprefix");
inline const MXMLName kPath("path");
inline const MXMLName kName("name");
inline const MXMLName kFlags("flags");
inline const MXMLName kMac("mac");
inline const MXMLName kArchMin("archmin");
inline const MXMLName kArchMax("archmax");
inline const MXMLName kArchEnabled("archenabled");
inline const MXMLName kInstall("Install");
inline const MXMLName kInstalled("Installed");
inline const MXMLName kUninstall("Uninstall");

}  // namespace kx
