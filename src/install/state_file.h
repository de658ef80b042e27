// The `.state` file: a package's item tree as it was installed, with the
// destinations and flags really used. It is saved before the first file is
// touched and is what an uninstallation walks. It is never deleted here.
//
// Name: the package's key + ".state" in the uninstall folder. A missing file
// fails with the file layer's open message.
#pragma once

#include "foundation/text/text_string.h"

namespace kx {

class MXMLItem;

MString StateFilePath(const MString& uninstallFolder, const MString& packageKey);
// Creates the folder when needed and writes the tree, unless the file already
// holds the same bytes.
void SaveStateFile(const MXMLItem& tree, const MString& path);
void LoadStateFile(MXMLItem& tree, const MString& path);

}  // namespace kx
