// The install walk: applies a package's item tree to the disk, and the same
// tree loaded from its `.state` file removes it again.
//
// InstallPackageTree counts the tree (log lines "  file ...", "Checking file item
// ...", "Current total size ..."), sets up the main destination and every enabled
// `copy`, and runs ProcessItems once per destination. ProcessItems decides for
// each `dir` and `file` child: create, skip (same time and size on disk), merge
// (preset libraries), rewrite, keep (`rewritable` 0) or delete.
//
// Before anything is written, CheckPackageTree refuses names that would leave a
// destination (path_guard.h). Links that the user made in or above a destination
// are written through.
//
// A target that cannot be opened for writing asks the box host the three-button
// question "Could not rewrite file" ("Try again" 1, "Ignore" 2, "Cancel" 3);
// Cancel raises "Installation has been cancelled". Other failures end the
// package as MException. A walk keeps no state: a repeated walk skips what is in
// place and finishes the rest.
#pragma once

#include "foundation/text/text_string.h"
#include "install/install_context.h"

namespace kx {

class MPackageFile;
class MPresetContext;
class MXMLItem;

void InstallPackageTree(InstallContext& context, MXMLItem& tree, MPackageFile* library,
                        MPresetContext* presetContext, ProgressTarget* progress,
                        bool allowAllPossible, bool uninstall);

void ProcessItems(InstallContext& context, const MString& basePath, MXMLItem& container,
                  bool inheritedRewritable, WalkOptions& options);

// The question's text with the path and the error message filled in.
MString RewriteQuestionText(const MString& path, const MString& error);

}  // namespace kx
