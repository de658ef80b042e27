// InstallPackageTree: the accounting, the destinations and their set-up, one
// ProcessItems run per destination, and what comes after (`execute`, removal of
// the destination folder on uninstallation).
#include "install/install_walk.h"

#include "foundation/resources/resource_keys.h"
#include "foundation/core/exception.h"
#include "foundation/text/ascii_chars.h"
#include "foundation/core/module.h"
#include "foundation/files/data_paths.h"
#include "foundation/files/file_ops.h"
#include "foundation/files/path_text.h"
#include "foundation/text/format.h"
#include "foundation/xml/xml_item.h"
#include "foundation/xml/xml_iterator.h"
#include "install/content_read_ahead.h"
#include "install/package_file.h"
#include "install/path_guard.h"
#include "install/walk_steps.h"

namespace kx {
namespace {

// Sizes in the log: bytes below 1 KB, else KB, MB or GB with two decimals.
MString HumanSize(int64_t bytes) {
  if (bytes < 1024) return MFormat("{0} B").Add(bytes);
  static const char* const kUnits[] = {"KB", "MB", "GB", "TB"};
  double value = static_cast<double>(bytes) / 1024.0;
  int unit = 0;
  while (value >= 1024.0 && unit < 3) {
    value /= 1024.0;
    ++unit;
  }
  return MFormat("{0.2} {1}").Add(value).Add(kUnits[unit]);
}

// The key of `onlyonce`: the root's name with ASCII letters and digits only.
MString ComponentKey(const MString& name) {
  MString key;
  for (int32_t i = 0; i < name.Length(); ++i) {
    MChar unit = name[i];
    if (IsAsciiLetterOrDigit(unit)) key.Append(unit);
  }
  return key;
}

MString InstalledComponentsPath() {
  const MString fileName("InstallerComponents.xml");
  if (MModule* module = MModule::Instance()) return module->GetDataPath_File_User(fileName, false);
  return JoinPath(GetDataPath_User(MString()), fileName);
}

// True when the component was installed before; otherwise marks it and saves
// the mark before the walk, so that an interrupted walk is not repeated.
bool AlreadyInstalledOnce(const MString& rootName) {
  MString path = InstalledComponentsPath();
  MXMLItem installed("InstalledComponents");
  if (MFile::Exists(path)) installed.LoadFile(path);
  MString key = ComponentKey(rootName);
  if (MXMLAttribute* mark = installed.FindAttribute(key))
    if (mark->value.AsInt64() != 0) return true;
  installed.SetAttribute(key, MVariant(int32_t{1}));
  installed.SaveFile(path);
  return false;
}

void RunExecuteItems(MXMLItem& root, const MString& currentPath) {
  for (MXMLItem* item = root.firstSubItem; item; item = item->next) {
    if (!IsNamed(*item, "execute")) continue;
    MString file = JoinPath(currentPath, item->value.AsString());
    MArray<MString> arguments;
    MString params = item->GetAttributeText("params");
    if (!params.IsEmpty()) params.Split(' ', arguments);
    WalkLog("Executing ", file);
    try {
      MFile::Execute(file, &arguments, GetDirectory(file), true);
    } catch (MException&) {
      // The desktop's way of opening takes no arguments on this system.
      MFile::Execute(file, nullptr, GetDirectory(file), true);
    }
  }
}

// What the counting pass finds: files and bytes of one destination.
struct TreeCount {
  int64_t files = 0;
  int64_t bytes = 0;
};

void StartPackage(InstallContext& context, const InstallTreeOptions& request) {
  context.totalBytes = context.doneBytes = 0;
  context.currentFileBytes = context.currentFileDone = 0;
  context.totalFiles = context.doneFiles = 0;
  context.undeletedFiles = 0;
  context.library = request.library;
  context.presetContext = request.presetContext;
  context.progress = request.progress;
}

// Every `file` item at any depth: on installation all but `leave` count, with
// the sizes of `create` and `update`; on uninstallation every one counts.
TreeCount CountFileItems(MXMLItem& tree, WalkMode mode) {
  TreeCount count;
  MXMLIterator walk;
  for (MXMLItem* item = walk.Begin(tree); item; item = walk.Next()) {
    if (!IsNamed(*item, "file")) continue;
    if (mode == WalkMode::kUninstall) {
      ++count.files;
      continue;
    }
    MString op = item->GetAttribute("op").AsString();
    MString name = item->GetAttribute("name").AsString();
    if (WalkLogging()) WalkLog(MFormat("  file {0} op {1}").Add(name).Add(op));
    if (OpIs(op, "leave")) continue;
    ++count.files;
    if (OpIs(op, "create") || OpIs(op, "update")) {
      int64_t size = item->GetAttribute(kFileSizeKey).AsInt64();
      WalkLog("  size ", size);
      count.bytes += size;
    }
  }
  if (WalkLogging())
    WalkLog(MFormat("Checking file item {0} done, size {1} ({2}), files {3}")
                .Add(tree.GetAttributeText("name"))
                .Add(count.bytes)
                .Add(HumanSize(count.bytes))
                .Add(count.files));
  return count;
}

// An enabled destination (the root or a `copy`) is created before the walk
// when it asks for it, and counts the whole tree once more.
void AddDestination(InstallContext& context, MXMLItem& destination, const TreeCount& count,
                    WalkMode mode) {
  if (mode == WalkMode::kInstall) {
    MString currentPath = destination.GetAttribute("currentpath").AsString();
    if (destination.GetAttributeBool("createpath", true)) MFile::CreatePath(currentPath);
  }
  context.totalFiles += static_cast<int32_t>(count.files);
  context.totalBytes += count.bytes;
}

void AddDestinationTotals(InstallContext& context, MXMLItem& tree, const TreeCount& count,
                          WalkMode mode) {
  if (tree.GetAttributeBool("enabled", false)) AddDestination(context, tree, count, mode);
  for (MXMLItem* copy = tree.firstSubItem; copy; copy = copy->next) {
    if (!IsNamed(*copy, "copy")) continue;
    if (WalkLogging())
      WalkLog(MFormat("Checking copy {0}, path {1}")
                  .Add(copy->GetAttributeText("name"))
                  .Add(copy->GetAttributeText("path")));
    if (!copy->GetAttributeBool("enabled", false)) continue;
    // `windows` is not looked at here: a copy that is never carried out still
    // counts, as the totals have always done.
    AddDestination(context, *copy, count, mode);
    WalkLog("  copy enabled");
  }
  if (WalkLogging())
    WalkLog(MFormat("Current total size {0} ({1}), files {2}")
                .Add(context.totalBytes)
                .Add(HumanSize(context.totalBytes))
                .Add(context.totalFiles));
  WalkLog("Performing installation");
}

// The options every destination starts from: presets merged, and detection as
// the root asks for it (`allowall` may turn it off when the caller allows that).
WalkOptions DetectionOptions(MXMLItem& tree, bool allowAllPossible) {
  WalkOptions options;
  options.mergePresets = true;
  bool detect = tree.GetAttributeBool("detectitems", false);
  if (detect && allowAllPossible) detect = !tree.GetAttributeBool("allowall", false);
  if (detect) {
    options.detection = tree.GetAttributeBool("detectitemsnoMBpostfix", false)
                            ? ItemDetection::kWithoutMBPostfix
                            : ItemDetection::kAnywhere;
    options.detectItemsPostfix = tree.GetAttributeText("detectitemspostfix");
  }
  return options;
}

// The options of one destination (the root or a `copy`): a destination that is
// itself a bundle folder keeps its sub-folders.
void SetDestinationOptions(WalkOptions& options, MXMLItem& destination, WalkMode mode) {
  options.mode = mode;
  options.ignoreSubDirs = destination.GetAttributeBool("ignoresubdirs", false) &&
                          !IsBundleFolder(destination.GetAttribute("currentpath").AsString());
  options.mergePresets = destination.GetAttributeBool("mergepresets", true);
}

void LogInstallStart(const InstallContext& context, const MString& currentPath,
                     const WalkOptions& options) {
  if (!WalkLogging()) return;
  MString dashes;
  for (int i = 0; i < 57; ++i) dashes.Append(MChar('-'));
  int64_t total = context.totalBytes < 2 ? 1 : context.totalBytes;
  WalkLog(MString());
  WalkLog(dashes);
  WalkLog("INITIATING INSTALL TO ", currentPath);
  WalkLog(dashes);
  WalkLog(MFormat("  Currently done {0} of {1} ({2} of {3}), {4}%")
              .Add(context.doneBytes)
              .Add(context.totalBytes)
              .Add(HumanSize(context.doneBytes))
              .Add(HumanSize(context.totalBytes))
              .Add(context.doneBytes * 100 / total));
  WalkLog(MFormat("  Files done {0} of {1}").Add(context.doneFiles).Add(context.totalFiles));
  if (options.detection == ItemDetection::kOff) return;
  MString joined;
  for (int32_t i = 0; i < context.EnabledItems.Count(); ++i) {
    if (i > 0) joined.Append(MChar(';'));
    joined += context.EnabledItems[i];
  }
  WalkLog("   Items enabled to : ", joined);
  WalkLog("   Detect items postfix : ", options.detectItemsPostfix);
}

// The walk into the root's own destination. False when an `onlyonce`
// component was installed before: then nothing at all is done, copies neither.
bool WalkMainDestination(InstallContext& context, MXMLItem& tree, WalkMode mode,
                         WalkOptions& options) {
  if (tree.GetAttributeBool("onlyonce", false) && AlreadyInstalledOnce(tree.GetAttributeText("name")))
    return false;
  MString currentPath = tree.GetAttribute("currentpath").AsString();
  LogInstallStart(context, currentPath, options);
  SetDestinationOptions(options, tree, mode);
  ProcessItems(context, currentPath, tree, true, options);
  if (mode == WalkMode::kInstall) {
    RunExecuteItems(tree, currentPath);
  } else if (tree.GetAttributeBool("createpath", true)) {
    WalkLog("Deleting directory ", currentPath);
    Guarded("InstallPackageTree", [&] { MFile::RemoveDirectory(currentPath); });
  }
  return true;
}

// The same tree again into every `copy` that is enabled and meant for this
// platform, with the copy's extension swaps.
void WalkCopies(InstallContext& context, MXMLItem& tree, WalkMode mode, WalkOptions& options) {
  for (MXMLItem* copy = tree.firstSubItem; copy; copy = copy->next) {
    if (!IsNamed(*copy, "copy")) continue;
    if (!copy->GetAttributeBool("enabled", false) || !copy->GetAttributeBool("windows", true)) continue;
    MString currentPath = copy->GetAttribute("currentpath").AsString();
    SetDestinationOptions(options, *copy, mode);
    options.extensionSrc.Clear();
    options.extensionDst.Clear();
    for (MXMLItem* extension = copy->firstSubItem; extension; extension = extension->next) {
      if (!IsNamed(*extension, "extension")) continue;
      options.extensionSrc.Add(extension->GetAttribute("src").AsString());
      options.extensionDst.Add(extension->GetAttribute("dst").AsString());
    }
    ProcessItems(context, currentPath, tree, true, options);
    if (mode == WalkMode::kUninstall && copy->GetAttributeBool("createpath", true))
      Guarded("InstallPackageTree", [&] { MFile::RemoveDirectory(currentPath); });
  }
}

// The contents the walk may write, in the order it meets them, decompressed
// ahead on the other processors; none for a removal, a package that is no file,
// or one with a single content.
std::unique_ptr<ContentReadAhead> StartReadAhead(InstallContext& context, MXMLItem& tree,
                                                 const InstallTreeOptions& request) {
  if (request.mode != WalkMode::kInstall || !request.library || request.library->GetPath().IsEmpty())
    return nullptr;
  MArray<std::pair<int64_t, int64_t>> contents;
  MXMLIterator walk;
  for (MXMLItem* item = walk.Begin(tree); item; item = walk.Next()) {
    if (!IsNamed(*item, "file") || !MPackageFile::HasContent(*item)) continue;
    const MString op = item->GetAttributeText("op");
    if (!OpIs(op, "create") && !OpIs(op, "update")) continue;
    context.aheadIndex[item] = contents.Count();
    contents.Add({item->GetAttribute(kFileStartKey).AsInt64(), item->GetAttribute(kFileSizeKey).AsInt64()});
  }
  if (contents.Count() < 2) {
    context.aheadIndex.clear();
    return nullptr;
  }
  auto ahead = std::make_unique<ContentReadAhead>(*request.library, request.library->GetPath(), contents);
  context.ahead = ahead.get();
  return ahead;
}
}  // namespace
void InstallPackageTree(InstallContext& context, MXMLItem& tree, const InstallTreeOptions& request) {
  StartPackage(context, request);
  // Nothing is written before the whole tree has proved that it stays inside.
  CheckPackageTree(tree);
  TreeCount count = CountFileItems(tree, request.mode);
  AddDestinationTotals(context, tree, count, request.mode);
  if (request.mode == WalkMode::kUninstall && !tree.GetAttributeBool("uninstall", true)) return;

  WalkOptions options = DetectionOptions(tree, request.allowAllPossible);
  std::unique_ptr<ContentReadAhead> ahead = StartReadAhead(context, tree, request);
  // Undone before the read-ahead goes, whichever way the walk ends.
  struct ForgetReadAhead {
    InstallContext& context;
    ~ForgetReadAhead() {
      context.ahead = nullptr;
      context.aheadIndex.clear();
    }
  } forget{context};
  if (tree.GetAttributeBool("enabled", false) &&
      !WalkMainDestination(context, tree, request.mode, options))
    return;
  WalkCopies(context, tree, request.mode, options);
}

}  // namespace kx
