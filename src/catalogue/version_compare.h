// Comparing package versions as the package database writes them.
//
// A version is a list of components separated by ".". A component has a number
// in its first two characters and an optional letter as its third, as in "15"
// or "16b". The empty text has no components at all; "16..1" has an empty one
// in the middle, which reads as number 0 without a letter.
//
// Component order: the numbers first (the integer value of the first two
// characters, 0 for a component shorter than two); at equal numbers no letter
// comes before a letter, and letters compare by code. Only the third character
// counts: "16b" and "16bx" are equal, and so are "5" and "0" (both too short
// to carry a number).
//
// Has update, for an installed version C against the published beta and stable
// versions, walks C's components only, reading missing components of the other
// list as empty:
//   1. with `allowBeta` and a beta version: the first component of C below the
//      beta's says yes, the first one above says no, and that no is final;
//   2. otherwise, or when all compared equal: the same against the stable
//      version, where all equal, or no stable version, say no.
#pragma once

#include "foundation/containers/containers.h"
#include "foundation/text/text_string.h"

namespace kx {

// -1, 0 or 1.
int CompareVersionComponent(const MString& a, const MString& b);

// The components of a version; none for the empty text.
MArray<MString> SplitVersion(const MString& version);

bool HasVersionUpdate(const MString& current, const MString& beta, const MString& stable,
                      bool allowBeta);

}  // namespace kx
