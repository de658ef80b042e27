// Writing the contents of a package to a folder by their item paths, without any
// of the install walk's decisions: no destinations, no time comparisons, no
// merging. For the packaging tool and for tests.
//
// The item path of a `file` is the `name`s of the `dir` items above it joined
// with its own `name`; an empty `name` takes the last component of the parent's
// `path` (as the install walk does), and an item without `name` its own `path`.
// Only `dir` items are entered. Items without content are skipped. A written
// file gets the item's `time`, read and stamped as the install walk does it
// (whole seconds), as its last-write time when the item has one.
//
// Failures: "Item path \"{0}\" leaves the target folder." for a ".." component,
// "A file item has no name." when no name is found, the file layer's messages.
#pragma once

#include <cstdint>
#include <functional>

#include "foundation/text/text_string.h"

namespace kx {

class MPackageFile;
class MXMLItem;

// The item path of a `file` item below `root` ("dir/sub/name").
MString PackageItemPath(const MXMLItem& root, const MXMLItem& file);

// Called after each file with the files written and the files to write.
using ExtractProgress = std::function<void(int64_t done, int64_t total)>;

// Writes every content below `folder`; returns the number of files written.
int64_t ExtractPackage(MPackageFile& package, const MString& folder,
                       const ExtractProgress& progress = {});

}  // namespace kx
