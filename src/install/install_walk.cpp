#include "install/install_walk.h"

#include <chrono>
#include <thread>

#include "foundation/core/boxes.h"
#include "foundation/files/data_paths.h"
#include "foundation/core/exception.h"
#include "foundation/files/file_ops.h"
#include "foundation/text/format.h"
#include "foundation/core/log.h"
#include "foundation/core/module.h"
#include "foundation/files/path_text.h"
#include "foundation/core/run_state.h"
#include "foundation/xml/xml_item.h"
#include "foundation/xml/xml_iterator.h"
#include "install/package_file.h"
#include "install/path_guard.h"
#include "install/walk_steps.h"

namespace kx {
namespace {

bool IsNamed(const MXMLItem& item, const char* name) {
  return item.name.EqualsNoCase(MString(name));
}

// A folder whose own name holds a "." is a bundle ("Foo.vst3"): it is a real
// folder even under `ignoresubdirs`. Only the last component counts, since on
// this system dots stand in ordinary folder names above it ("~/.vst", "john.doe").
bool IsBundleFolder(const MString& path) {
  MString trimmed = path;
  while (trimmed.Length() > 1 && trimmed[trimmed.Length() - 1] == '/')
    trimmed = trimmed.Left(trimmed.Length() - 1);
  return GetFileName(trimmed).FindChar('.') >= 0;
}

int64_t IntAttribute(MXMLItem& item, const char* key, int64_t fallback) {
  MXMLAttribute* attribute = item.FindAttribute(key);
  return attribute ? attribute->value.AsInt64() : fallback;
}

MString TextAttribute(MXMLItem& item, const char* key) {
  MXMLAttribute* attribute = item.FindAttribute(key);
  return attribute ? attribute->value.AsString() : MString();
}

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
    if ((unit >= 'a' && unit <= 'z') || (unit >= 'A' && unit <= 'Z') ||
        (unit >= '0' && unit <= '9'))
      key.Append(unit);
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
    MString params = TextAttribute(*item, "params");
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
    if (!options.detectItemsNoMBPostfix) {
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

void ProcessDirChild(InstallContext& context, const MString& basePath, WalkChild& child,
                     WalkOptions& options) {
  WalkLog("DIRECTORY \"", child.target, "\" operation ", child.op);
  uint8_t savedIgnore = options.ignoreSubDirs;
  if (options.ignoreSubDirs) {
    WalkLog("    IgnoreSubDirs active");
    if (!IsBundleFolder(child.name)) {
      ProcessItems(context, basePath, *child.item, child.rewritable, options);
      return;
    }
    options.ignoreSubDirs = 0;  // a bundle is a real folder, and so is everything in it
  }
  try {
    if (!options.uninstall && OpIs(child.op, "create")) {
      WalkLog("    Creating directory ", child.target);
      if (child.enabled) {
        CreatePathWithRetry(child.target);
      } else {
        WalkLog("    Omitting because disabled");
      }
    }
    WalkLog("    processing subobjects of ", child.target);
    ProcessItems(context, child.target, *child.item, child.rewritable, options);
    if (options.uninstall || OpIs(child.op, "delete")) {
      if (options.uninstall) {
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
      if (MFile::Exists(child.target)) {
        // Only an empty folder goes; one that still holds the user's files stays,
        // and so does a link the user put in the folder's place.
        Guarded("ProcessItems", [&] { MFile::RemoveDirectory(child.target); });
      }
    }
  } catch (...) {
    options.ignoreSubDirs = savedIgnore;
    throw;
  }
  options.ignoreSubDirs = savedIgnore;
}

}  // namespace

// ---------------------------------------------------------------- helpers

bool WalkLogging() {
  return MLog::IsOpen();
}

void WalkLog(const MString& text) {
  if (MLog::IsOpen()) MLog::Line(text);
}

void ShowWalkProgress(InstallContext& context, const char* verb, const MString& path) {
  if (context.progress) context.progress->Show(MString(verb) + path, context.progressValue);
}

void CreatePathWithRetry(const MString& path) {
  for (int attempt = 1; attempt <= 10; ++attempt) {
    try {
      MFile::CreatePath(path);
      return;
    } catch (MException&) {
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
  }
}

void DeleteFileWithRetry(const MString& path) {
  for (int attempt = 1; attempt <= 10; ++attempt) {
    try {
      MFile::Delete(path);
      return;
    } catch (MException&) {
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
  }
}

MString RewriteQuestionText(const MString& path, const MString& error) {
  return MFormat(
             "<b>Could not rewrite file</b><p><p singleline=1>{0}<p><p>Make sure all applications "
             "have been "
             "closed. Try switching off your DAW or restarting your computer and trying "
             "again.<p><p>Click "
             "<cred>Try again</cred> to retry installing the file.<p>Click <cred>Ignore</cred> to "
             "continue "
             "without installing the file.<p>Click <cred>Cancel</cred> to abort the "
             "installation.<p><p>"
             "Consider cancelling the installation and running the installer and installation "
             "again. You can "
             "also try to use the repair installaton function. If it won't help, please contact "
             "our "
             "support.<p><p><i>Error: {1}")
      .Add(path)
      .Add(error);
}

int AskRewrite(const MString& path, const MString& error) {
  return ShowThreeButtons(nullptr, MString(), RewriteQuestionText(path, error),
                          MString("Try again"), MString("Ignore"), MString("Cancel"));
}

void ThrowCancelled() {
  throw MException(MString(), MString("Installation has been cancelled"), kErrorGeneral);
}

bool OpIs(const MString& op, const char* word) {
  return op.EqualsNoCase(MString(word));
}

// ---------------------------------------------------------------- the walk

void ProcessItems(InstallContext& context, const MString& basePath, MXMLItem& container,
                  bool inheritedRewritable, WalkOptions& options) {
  bool rewritable = inheritedRewritable && IntAttribute(container, "rewritable", 1) != 0;
  if (options.uninstall && (!rewritable || IntAttribute(container, "uninstall", 1) == 0)) return;

  bool relocate = basePath.EqualsNoCase(GetDataPath_User(MString(), false));
  for (MXMLItem* item = container.firstSubItem; item; item = item->next) {
    bool isFile = IsNamed(*item, "file");
    if (!isFile && !IsNamed(*item, "dir")) continue;

    WalkChild child;
    child.item = item;
    child.rewritable = rewritable;
    child.name = item->GetAttribute("name").AsString();
    if (child.name.IsEmpty()) child.name = GetFileName(container.GetAttribute("path").AsString());
    CheckItemName(child.name);
    child.originalName = child.name;
    if (options.extensionSrc.Count() > 0) {
      MString extension = GetExtension(child.name);
      for (int32_t i = 0; i < options.extensionSrc.Count(); ++i) {
        if (extension == options.extensionSrc[i]) {
          child.name = ChangeExtension(child.name, options.extensionDst[i]);
          break;
        }
      }
    }
    child.target = JoinPath(basePath, child.name);
    child.enabled = options.detectItems ? DetectChild(context, child.target, options) : true;
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

void InstallPackageTree(InstallContext& context, MXMLItem& tree, MPackageFile* library,
                        MPresetContext* presetContext, ProgressTarget* progress,
                        bool allowAllPossible, bool uninstall) {
  context.totalBytes = context.doneBytes = 0;
  context.currentFileBytes = context.currentFileDone = 0;
  context.totalFiles = context.doneFiles = 0;
  context.undeletedFiles = 0;
  context.library = library;
  context.presetContext = presetContext;
  context.progress = progress;

  // Nothing is written before the whole tree has proved that it stays inside.
  CheckPackageTree(tree);

  MString rootName = TextAttribute(tree, "name");
  int64_t fileCount = 0;
  int64_t byteCount = 0;
  MXMLIterator walk;
  for (MXMLItem* item = walk.Begin(tree); item; item = walk.Next()) {
    if (!IsNamed(*item, "file")) continue;
    if (uninstall) {
      ++fileCount;
      continue;
    }
    MString op = item->GetAttribute("op").AsString();
    MString name = item->GetAttribute("name").AsString();
    if (WalkLogging()) WalkLog(MFormat("  file {0} op {1}").Add(name).Add(op));
    if (OpIs(op, "leave")) continue;
    ++fileCount;
    if (OpIs(op, "create") || OpIs(op, "update")) {
      int64_t size = item->GetAttribute("filesize").AsInt64();
      WalkLog("  size ", size);
      byteCount += size;
    }
  }
  if (WalkLogging())
    WalkLog(MFormat("Checking file item {0} done, size {1} ({2}), files {3}")
                .Add(rootName)
                .Add(byteCount)
                .Add(HumanSize(byteCount))
                .Add(fileCount));

  bool rootEnabled = IntAttribute(tree, "enabled", 0) != 0;
  if (rootEnabled) {
    if (!uninstall) {
      MString currentPath = tree.GetAttribute("currentpath").AsString();
      if (IntAttribute(tree, "createpath", 1) != 0) MFile::CreatePath(currentPath);
    }
    context.totalFiles += static_cast<int32_t>(fileCount);
    context.totalBytes += byteCount;
  }
  for (MXMLItem* copy = tree.firstSubItem; copy; copy = copy->next) {
    if (!IsNamed(*copy, "copy")) continue;
    if (WalkLogging())
      WalkLog(MFormat("Checking copy {0}, path {1}")
                  .Add(TextAttribute(*copy, "name"))
                  .Add(TextAttribute(*copy, "path")));
    if (IntAttribute(*copy, "enabled", 0) == 0) continue;
    if (!uninstall) {
      MString currentPath = copy->GetAttribute("currentpath").AsString();
      if (IntAttribute(*copy, "createpath", 1) != 0) MFile::CreatePath(currentPath);
    }
    WalkLog("  copy enabled");
    // `windows` is not looked at here: a copy that is never carried out still
    // counts, as the totals have always done.
    context.totalFiles += static_cast<int32_t>(fileCount);
    context.totalBytes += byteCount;
  }
  if (WalkLogging())
    WalkLog(MFormat("Current total size {0} ({1}), files {2}")
                .Add(context.totalBytes)
                .Add(HumanSize(context.totalBytes))
                .Add(context.totalFiles));
  WalkLog("Performing installation");

  if (uninstall && IntAttribute(tree, "uninstall", 1) == 0) return;

  WalkOptions options;
  options.mergePresets = 1;
  int64_t detect = IntAttribute(tree, "detectitems", 0);
  if (detect != 0)
    options.detectItems = allowAllPossible ? IntAttribute(tree, "allowall", 0) == 0 : 1;
  if (options.detectItems) {
    options.detectItemsPostfix = TextAttribute(tree, "detectitemspostfix");
    options.detectItemsNoMBPostfix = IntAttribute(tree, "detectitemsnoMBpostfix", 0) != 0;
  }

  if (rootEnabled) {
    if (IntAttribute(tree, "onlyonce", 0) != 0 && AlreadyInstalledOnce(rootName)) return;
    MString currentPath = tree.GetAttribute("currentpath").AsString();
    if (WalkLogging()) {
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
    }
    if (options.detectItems) {
      MString joined;
      for (int32_t i = 0; i < context.EnabledItems.Count(); ++i) {
        if (i > 0) joined.Append(MChar(';'));
        joined += context.EnabledItems[i];
      }
      WalkLog("   Items enabled to : ", joined);
      WalkLog("   Detect items postfix : ", options.detectItemsPostfix);
    }
    options.uninstall = uninstall;
    options.ignoreSubDirs = IntAttribute(tree, "ignoresubdirs", 0) != 0;
    options.mergePresets = IntAttribute(tree, "mergepresets", 1) != 0;
    if (options.ignoreSubDirs && IsBundleFolder(currentPath)) options.ignoreSubDirs = 0;
    ProcessItems(context, currentPath, tree, true, options);
    if (uninstall) {
      if (IntAttribute(tree, "createpath", 1) != 0) {
        WalkLog("Deleting directory ", currentPath);
        Guarded("InstallPackageTree", [&] { MFile::RemoveDirectory(currentPath); });
      }
    } else {
      RunExecuteItems(tree, currentPath);
    }
  }

  for (MXMLItem* copy = tree.firstSubItem; copy; copy = copy->next) {
    if (!IsNamed(*copy, "copy")) continue;
    if (IntAttribute(*copy, "enabled", 0) == 0 || IntAttribute(*copy, "windows", 1) == 0) continue;
    MString currentPath = copy->GetAttribute("currentpath").AsString();
    options.uninstall = uninstall;
    options.ignoreSubDirs = IntAttribute(*copy, "ignoresubdirs", 0) != 0;
    options.mergePresets = IntAttribute(*copy, "mergepresets", 1) != 0;
    if (options.ignoreSubDirs && IsBundleFolder(currentPath)) options.ignoreSubDirs = 0;
    options.extensionSrc.Clear();
    options.extensionDst.Clear();
    for (MXMLItem* extension = copy->firstSubItem; extension; extension = extension->next) {
      if (!IsNamed(*extension, "extension")) continue;
      options.extensionSrc.Add(extension->GetAttribute("src").AsString());
      options.extensionDst.Add(extension->GetAttribute("dst").AsString());
    }
    ProcessItems(context, currentPath, tree, true, options);
    if (uninstall && IntAttribute(*copy, "createpath", 1) != 0)
      Guarded("InstallPackageTree", [&] { MFile::RemoveDirectory(currentPath); });
  }
}

}  // namespace kx
