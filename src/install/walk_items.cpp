// The recursion of the install walk over one container: the per-child record
// (name, extension swap, target, detection), the relocation of old user data,
// and the `dir` child. File children are walk_file_ops.cpp's.
#include "foundation/core/exception.h"
#include "foundation/core/run_state.h"
#include "foundation/files/data_paths.h"
#include "foundation/files/file_ops.h"
#include "foundation/files/path_text.h"
#include "foundation/text/format.h"
#include "foundation/xml/xml_item.h"
#include "install/install_walk.h"
#include "install/path_guard.h"
#include "install/walk_steps.h"

namespace kx {
namespace {

// Old releases kept preset files and shared folders one level above the user
// data folder; they move into it before anything is installed there.
void RelocateOldUserData(const MString& basePath) {
  MString parent = GetDirectory(basePath);
  MArray<MString> names;
  Guarded("Move preset files", [&] { MFile::GetFileList(parent, names, MString(), true); });
  for (const MString& name : names) {
    if (name.IsEmpty() || (name[0] != 'm' && name[0] != 'M')) continue;
    Guarded("Move preset files", [&] {
      if (name == "StepSequencepresets.xml")
        MFile::Move(JoinPath(parent, name), JoinPath(basePath, MString("M") + name));
      else if (name.FindNoCase(MString("presets.xml")) >= 0 ||
               name.FindNoCase(MString("presets.active")) >= 0)
        MFile::Move(JoinPath(parent, name), JoinPath(basePath, name));
    });
  }
  static const char* const kSharedFolders[] = {"MTexturedStyles", "Vorlund IR"};
  for (const char* folder : kSharedFolders) {
    Guarded("Move standard folder", [&] {
      MString source = JoinPath(parent, MString(folder));
      if (!MFile::Exists(source)) return;
      MString target = JoinPath(basePath, MString(folder));
      MArray<MString> files;
      MFile::GetFileListRecursed(source, files);
      for (const MString& file : files) {
        MString to = JoinPath(target, file);
        MFile::CreatePath(GetDirectory(to));
        MFile::Copy(JoinPath(source, file), to);
      }
      MFile::RemoveTree(source);
    });
  }
}

bool DetectChild(InstallContext& context, const MString& target, const WalkOptions& options) {
  for (const MString& entry : context.EnabledItems) {
    MString item = entry + options.detectItemsPostfix;
    if (options.detection == ItemDetection::kAnywhere) {
      if (target.Find(item) >= 0) return true;
      continue;
    }
    if (item.EndsWith(MString("MB"))) item = item.Left(item.Length() - 2);
    if (item.EqualsNoCase(MString("QorvenLP")))
      item = "Qorven";
    else if (item.EqualsNoCase(MString("ZandrilX")))
      item = "Zandril";
    else if (item.EqualsNoCase(MString("TomlinB")))
      item = "Tomlin";
    // A match at the very start does not count in this variant.
    if (target.Find(item) > 0) return true;
  }
  return false;
}

// The name after the extension swap of a `copy` destination.
MString SwapExtension(const MString& name, const WalkOptions& options) {
  if (options.extensionSrc.Count() == 0) return name;
  MString extension = GetExtension(name);
  for (int32_t i = 0; i < options.extensionSrc.Count(); ++i)
    if (extension == options.extensionSrc[i]) return ChangeExtension(name, options.extensionDst[i]);
  return name;
}

void DeleteDirectory(InstallContext& context, const WalkChild& child, const WalkOptions& options) {
  if (options.Uninstalling()) {
    if (SilentMode) {
      if (WalkLogging())
        WalkLog(MFormat("deleting directory {0} ({1} of {2})")
                    .Add(child.target)
                    .Add(context.doneFiles)
                    .Add(context.totalFiles));
    } else {
      ShowWalkProgress(context, "Uninstalling ", child.target);
    }
  }
  WalkLog("    Deleting directory ", child.target);
  // Only an empty folder goes; one that still holds the user's files stays,
  // and so does a link the user put in the folder's place.
  if (MFile::Exists(child.target))
    Guarded("ProcessItems", [&] { MFile::RemoveDirectory(child.target); });
}

}  // namespace

void ProcessDirChild(InstallContext& context, const MString& basePath, WalkChild& child,
                     WalkOptions& options) {
  WalkLog("DIRECTORY \"", child.target, "\" operation ", child.op);
  RestoreOnExit<bool> restoreIgnore(options.ignoreSubDirs);
  if (options.ignoreSubDirs) {
    WalkLog("    IgnoreSubDirs active");
    if (!IsBundleFolder(child.name)) {
      ProcessItems(context, basePath, *child.item, child.rewritable, options);
      return;
    }
    options.ignoreSubDirs = false;  // a bundle is a real folder, and so is everything in it
  }
  if (!options.Uninstalling() && OpIs(child.op, "create")) {
    WalkLog("    Creating directory ", child.target);
    if (child.enabled)
      CreatePathWithRetry(child.target);
    else
      WalkLog("    Omitting because disabled");
  }
  WalkLog("    processing subobjects of ", child.target);
  ProcessItems(context, child.target, *child.item, child.rewritable, options);
  if (options.Uninstalling() || OpIs(child.op, "delete")) DeleteDirectory(context, child, options);
}

void ProcessItems(InstallContext& context, const MString& basePath, MXMLItem& container,
                  bool inheritedRewritable, WalkOptions& options) {
  bool rewritable = inheritedRewritable && container.GetAttributeBool("rewritable", true);
  if (options.Uninstalling() && (!rewritable || !container.GetAttributeBool("uninstall", true)))
    return;

  bool relocate = basePath.EqualsNoCase(GetDataPath_User(MString(), false));
  for (MXMLItem* item = container.firstSubItem; item; item = item->next) {
    bool isFile = IsNamed(*item, "file");
    if (!isFile && !IsNamed(*item, "dir")) continue;

    WalkChild child;
    child.item = item;
    child.rewritable = rewritable;
    child.originalName = item->GetAttribute("name").AsString();
    if (child.originalName.IsEmpty())
      child.originalName = GetFileName(container.GetAttribute("path").AsString());
    CheckItemName(child.originalName);
    child.name = SwapExtension(child.originalName, options);
    child.target = JoinPath(basePath, child.name);
    child.enabled = options.detection == ItemDetection::kOff ||
                    DetectChild(context, child.target, options);
    if (relocate) Guarded("Relocate user data", [&] { RelocateOldUserData(basePath); });
    child.op = item->GetAttribute("op").AsString();
    context.currentFileBytes = 0;
    context.currentFileDone = 0;

    if (isFile)
      ProcessFileChild(context, child, options);
    else
      ProcessDirChild(context, basePath, child, options);
  }
}

}  // namespace kx
