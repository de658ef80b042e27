// The guard that keeps a package inside its destinations. Every name that a
// package gives (item names, `path` tails, `execute` texts, extension swaps) is
// checked before the walk writes anything, and every target is checked for a
// symbolic link between its destination folder and itself just before it is
// created, written or deleted.
//
// Failures (MException):
//   "Item name \"{0}\" leads outside its destination folder." for an absolute
//   name or a ".." component;
//   "Path \"{0}\" is reached through the symbolic link \"{1}\"." for a target
//   below a link that lies inside the destination.
#pragma once

#include "foundation/text/text_string.h"

namespace kx {

class MXMLItem;

// A relative name that stays below the folder it is joined to.
void CheckItemName(const MString& name);
// Checks every name of the tree that the walk will join to a destination.
void CheckPackageTree(MXMLItem& root);
// `target` lies below `destination` (or is it) and no existing component below
// `destination` is a symbolic link. The destination itself may be a link: the
// user chose it.
void CheckNoPlantedLink(const MString& destination, const MString& target);

}  // namespace kx
