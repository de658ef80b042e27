// The source side of a package: the tree a package is written from, made from a
// folder or loaded from a tree file, and the opener that takes its contents in.
//
// From a folder, below `root`: each folder becomes a `dir` item (`name`, op
// "create"), each file a `file` item (`name`, op "update", `time` = its last-write
// time in whole seconds, `srcpath` = its path); a folder's files come before its
// folders, each group in the listing's name order. Links to folders are not
// entered.
//
// From a tree file (any form the tree loader reads): a `file` item names its
// source in `srcpath`, or in `path` when it has no `srcpath`; a relative one is
// taken relative to the tree file's folder and made absolute.
//
// The opener gives the file so named and then removes that attribute: where a
// package was built is nobody's business at install time. An item without
// either has no content (a `delete` or `leave` item); a source that names no
// file throws "Source file \"{0}\" does not exist.".
#pragma once

#include "foundation/resources/resource_library.h"
#include "foundation/text/text_string.h"

namespace kx {

class MXMLItem;

void AddFolderToSourceTree(MXMLItem& root, const MString& folder);
// Loads the tree file into `root` and resolves its `srcpath` attributes.
void LoadSourceTree(MXMLItem& root, const MString& treeFile);
MSourceOpener PackageSourceOpener();

}  // namespace kx
