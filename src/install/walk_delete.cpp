// The delete branch of a `file` child: uninstallation and the `delete` op. It
// never stops the walk on a file that cannot be deleted, and it never deletes a
// preset library.
#include "foundation/core/exception.h"
#include "foundation/files/file_ops.h"
#include "foundation/text/format.h"
#include "foundation/files/path_text.h"
#include "foundation/core/run_state.h"
#include "install/walk_steps.h"

namespace kx {

void DeleteFileChild(InstallContext& context, WalkChild& child, WalkOptions& options) {
  WalkLog("    Trying to delete ", child.target);
  if (!child.enabled) {
    WalkLog("    Omitting because disabled");
    ++context.doneFiles;
    return;
  }
  if (options.Uninstalling()) {
    if (!SilentMode) ShowWalkProgress(context, "Uninstalling ", child.target);
  } else if (WalkLogging()) {
    WalkLog(MFormat("deleting file {0} ({1} of {2})")
                .Add(child.target)
                .Add(context.doneFiles)
                .Add(context.totalFiles));
  }
  if (!child.rewritable || !MFile::Exists(child.target)) {
    ++context.doneFiles;
    return;
  }
  try {
    WalkLog("    Deleting file ", child.target);
    if (GetExtension(child.target) == "aaxplugin")
      MFile::RemoveTree(child.target);
    else if (child.name.FindNoCase(MString("presets")) >= 0)
      WalkLog("    Not deleting the file, since it is a presets file");
    else
      MFile::Delete(child.target);
  } catch (MException&) {
    ++context.undeletedFiles;
  }
  ++context.doneFiles;
}

}  // namespace kx
