// The guard that keeps a package inside its destinations. Every name that a
// package gives (item names, `path` tails, `execute` texts, extension swaps) is
// checked before the walk writes anything.
//
// Symbolic links are not looked at: a package cannot make one, so every link in
// or above a destination was made by the user (a plug-in folder on another disk,
// a sample folder on a sample drive), and the walk writes through it.
//
// Failure (MException): "Item name \"{0}\" leads outside its destination
// folder." for an absolute name or a ".." component.
#pragma once

#include "foundation/text/text_string.h"

namespace kx {

class MXMLItem;

// A relative name that stays below the folder it is joined to.
void CheckItemName(const MString& name);
// Checks every name of the tree that the walk will join to a destination.
void CheckPackageTree(MXMLItem& root);

}  // namespace kx
