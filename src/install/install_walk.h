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

class MXMLItem;

// What one walk over a package's tree is asked to do.
struct InstallTreeOptions {
  WalkMode mode = WalkMode::kInstall;
  // The package, whose contents are written; an uninstall walk reads none and
  // may pass null.
  MPackageFile* library = nullptr;
  // The scratch of the preset merge; null: a scratch of the walk's own.
  MPresetContext* presetContext = nullptr;
  ProgressTarget* progress = nullptr;  // null: no status is shown
  // The caller allows `allowall` of the tree to turn file detection off.
  bool allowAllPossible = false;
};

// `tree` is the package's root item on installation and the tree of its
// `.state` file on uninstallation.
void InstallPackageTree(InstallContext& context, MXMLItem& tree, const InstallTreeOptions& request);

void ProcessItems(InstallContext& context, const MString& basePath, MXMLItem& container,
                  bool inheritedRewritable, WalkOptions& options);

// The question's text with the path and the error message filled in.
MString RewriteQuestionText(const MString& path, const MString& error);

}  // namespace kx
