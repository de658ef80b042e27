// Path text: joining, splitting and the system form of a path.
//
// Inside the program a path is an MString that uses "/" as its separator; paths
// are built with JoinPath, never by hand. Only at a system call does a path take
// the system's form (ToSystem), and everything read from the system comes back
// through FromSystem.
//
// On Linux the system form is the UTF-8 bytes of the text with "/" kept. A "\" is
// an ordinary character of a name there, in both directions, so every name that
// exists on disk can be listed and addressed again; the separator is "/" alone.
// Bytes of a name that are not valid UTF-8 survive the round trip through the
// UTF-8 codec's raw-byte range.
#pragma once

#include <string>
#include <string_view>

#include "foundation/text/text_string.h"

namespace kx {

// base + "/" + relative, with these rules in order:
//  1. base empty, "/" or "\" alone: relative as it is;
//  2. relative empty, "/" or "\" alone: base;
//  3. a "/" is added to base unless it ends with one; a leading "/" of relative goes;
//  4. while relative starts with "../" (or is ".."), the last segment of base is cut
//     and those units dropped; cutting stops when base has fewer than 2 units or
//     itself ends in a ".." segment (the rest of relative then stays as it is), and
//     a base without a further "/" becomes empty;
//  5. the rest of relative is appended.
MString JoinPath(const MString& base, const MString& relative);

// The path up to, not including, its last "/"; empty when there is none. A name
// directly under the root gives "/" (the root), not an empty text.
MString GetDirectory(const MString& path);

// What follows the last "/" (the whole path when there is none).
MString GetFileName(const MString& path);

// The extension of the last component without its dot; empty when the name has no
// ".". "archive.tar.gz" gives "gz", ".hidden" gives "hidden".
MString GetExtension(const MString& path);

// The path with the extension of its last component replaced by `extension`
// (given without dot); a name without one gains "." + extension. An empty
// `extension` removes the extension and its dot.
MString ChangeExtension(const MString& path, const MString& extension);

// Whether a name from outside (a package, a catalogue) stays below the folder it
// is joined to: it is relative (no leading "/" or "\") and no component is "..".
// Both "/" and "\" separate components here, so that a name written on another
// system cannot climb either. An empty name stays (it is the folder itself).
bool IsContainedPath(const MString& path);

// The system form of a path: zero-terminated UTF-8 (c_str()).
std::string ToSystem(const MString& path);

// A name or path as the system gave it, in the program's form.
MString FromSystem(std::string_view text);

}  // namespace kx
