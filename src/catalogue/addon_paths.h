// Where add-on content goes on this system, shared by the program and the tools.
//
// The Tonvault sample path is `SampleRoot` of the plug-ins' shared "GPU.xml" in
// the user data folder; the Kitvault factory path is `FactoryRoot` of the same
// file. Either one missing or empty falls back to the definition's folder macro
// ("{tonvaultsamples}", "{kitvaultfactory}") when a table is given and holds it,
// else to the documents folder + "Vorlund/Tonvault Samples" or
// "Vorlund/Kitvault Factory". An unreadable GPU.xml counts as absent.
#pragma once

#include "foundation/text/text_string.h"

namespace kx {

class PathMacros;

struct AddonContentPaths {
  MString samples;  // Tonvault sample path
  MString factory;  // Kitvault factory path
};

AddonContentPaths ResolveAddonContentPaths(const PathMacros* macros);

// The folder of the add-ons' installation records below the data folder.
MString AddonRecordFolder(const MString& dataFolder);

}  // namespace kx
