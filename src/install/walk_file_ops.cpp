// The `file` child of the install walk: the installed-file test, the merge of
// preset libraries, and the write through the context's one buffer.
#include <memory>

#include "foundation/resources/resource_keys.h"
#include "foundation/core/exception.h"
#include "foundation/files/file_ops.h"
#include "foundation/streams/file_stream.h"
#include "foundation/text/format.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/files/path_text.h"
#include "foundation/core/run_state.h"
#include "foundation/streams/stream.h"
#include "foundation/xml/xml_item.h"
#include "install/content_read_ahead.h"
#include "install/item_date_time.h"
#include "install/package_file.h"
#include "install/walk_steps.h"
#include "presets/preset_merge.h"

namespace kx {
namespace {

MString LogFlag(bool value) {
  return MString(value ? "1" : "0");
}

// Content size of an item for the accounting of a file that is not written.
int64_t ContentSize(InstallContext& context, MXMLItem& item) {
  int64_t size = 0;
  Guarded("ContentSize", [&] {
    if (context.library) size = context.library->OpenContent(item)->GetSize();
  });
  return size;
}

std::unique_ptr<MStream> OpenContent(InstallContext& context, MXMLItem& item) {
  if (!context.library) throw MException(MString("Could not find required attribute (filestart)."));
  if (context.ahead) {
    auto found = context.aheadIndex.find(&item);
    if (found != context.aheadIndex.end()) return context.ahead->Open(found->second);
  }
  return context.library->OpenContent(item);
}

void MergeFile(InstallContext& context, WalkChild& child, const ItemDateTime& itemTime) {
  MMemoryStream memory;
  {
    std::unique_ptr<MStream> content = OpenContent(context, *child.item);
    for (;;) {
      int64_t got = content->Read(context.buffer, InstallContext::kTransferPiece);
      if (got <= 0) break;
      memory.Write(context.buffer, got);
    }
  }
  int64_t size = memory.Size();
  memory.Seek(0, kSeekBegin);
  try {
    MPresetContext scratch;
    MPresetContext& presets = context.presetContext ? *context.presetContext : scratch;
    MString report;
    MergePresetFile(presets, child.target, memory, itemTime.ToDateTime(), report);
    if (!report.IsEmpty() && WalkLogging()) {
      MString indented("    ");
      for (int32_t i = 0; i < report.Length(); ++i) {
        indented.Append(report[i]);
        if (report[i] == '\n') indented += "    ";
      }
      WalkLog(indented);
    }
  } catch (MException& failure) {
    WalkLog("ERROR: ", failure.message);
    // "Try again" does not repeat a merge: the file is accounted as merged.
    if (AskRewrite(child.target, failure.message) == RewriteAnswer::kIgnore) return;
  }
  ++context.doneFiles;
  context.doneBytes += size;
  if (!SilentMode) ShowWalkProgress(context, "Installing ", child.target);
}

// Opens the target for writing, asking the user while it fails. False when the
// file is to be left out.
bool OpenTarget(MFileStream& file, const WalkChild& child, bool present) {
  for (;;) {
    try {
      file.Open(child.target, MFileStream::kModeCreate);
      WalkLog("    File successfully created");
      return true;
    } catch (MException& failure) {
      // A font in use is left alone without a question.
      if (present && GetExtension(child.target) == "ttf") return false;
      if (AskRewrite(child.target, failure.message) == RewriteAnswer::kIgnore) return false;
    }
  }
}

void WriteFile(InstallContext& context, WalkChild& child, bool present,
               const ItemDateTime& itemTime) {
  if (present) {
    WalkLog("    Pre-deleting file ", child.target);
    DeleteFileWithRetry(child.target);
  }
  WalkLog("    Rewriting file ", child.target);
  MFileStream file;
  if (OpenTarget(file, child, present)) {
    std::unique_ptr<MStream> content = OpenContent(context, *child.item);
    context.currentFileBytes = content->GetSize();
    context.currentFileDone = 0;
    WalkLog("    Writing file ", context.currentFileBytes);
    try {
      for (;;) {
        if (!SilentMode) ShowWalkProgress(context, "Installing ", child.target);
        int64_t got = content->Read(context.buffer, InstallContext::kTransferPiece);
        if (got <= 0) break;
        file.Write(context.buffer, got);
        context.doneBytes += got;
        context.currentFileDone += got;
      }
      ++context.doneFiles;
      WalkLog("    Success, closing the file");
      file.Close();
    } catch (MException& failure) {
      WalkLog("ERROR: ", failure.message);
      Guarded("WriteFile", [&] { file.Close(); });
      throw;
    }
  } else {
    WalkLog("ERROR: File not open!");
  }
  // The time goes on last: a file cut short by a crash keeps its new time
  // unset, so the next walk rewrites it.
  MDateTime written = itemTime.ToFileTime();
  MFile::SetFileTime(child.target, nullptr, nullptr, &written);
}

ItemDateTime ReadItemTime(const WalkChild& child) {
  if (MXMLAttribute* time = child.item->FindAttribute("time"))
    return ItemDateTime::Parse(time->value.AsString());
  WalkLog("    File ", child.target, " does NOT include time!");
  return ItemDateTime();
}

// The binary of a plug-in bundle goes inside a folder of its own name:
// Foo.aaxplugin/Contents/<x64 or Win32>/Foo.aaxplugin.
void PlaceBundleBinary(WalkChild& child) {
  if (GetExtension(child.target) != "aaxplugin") return;
  MString bundleName = GetFileName(child.target);
  MString arch = child.target.FindNoCase(MString("(x86)")) >= 0 ? MString("Win32") : MString("x64");
  child.target = JoinPath(JoinPath(JoinPath(child.target, MString("Contents")), arch), bundleName);
}

// The installed-file test: the same time to the microsecond and the same size
// mean the file is in place, and it is accounted as done.
bool AlreadyInstalled(InstallContext& context, const WalkChild& child, const ItemDateTime& itemTime) {
  MDateTime written;
  MFile::GetFileTime(child.target, nullptr, nullptr, &written);
  ItemDateTime diskTime = ItemDateTime::FromFileTime(written);
  if (diskTime.Microseconds() != itemTime.Microseconds()) return false;
  WalkLog("    File ", child.target, " has identical timestamp (", diskTime.ToText(), "). Ignoring.");
  int64_t diskSize = MFile::GetFileSize(child.target);
  MString sizeText = child.item->GetAttributeText(kFileSizeKey);
  int64_t itemSize = sizeText.IsEmpty() ? 0 : child.item->GetAttributeInt(kFileSizeKey, 0);
  if (diskSize != itemSize) {
    WalkLog("        Note: file size is not matching, installed ", sizeText, ", current ", diskSize,
            ". Proceeding with installation.");
    return false;
  }
  ++context.doneFiles;
  context.doneBytes += diskSize;
  if (!SilentMode) ShowWalkProgress(context, "Installing ", child.target);
  return true;
}

}  // namespace

void ProcessFileChild(InstallContext& context, WalkChild& child, WalkOptions& options) {
  WalkLog("FILE \"", child.target, "\" operation ", child.op);
  if (options.Uninstalling() || OpIs(child.op, "delete")) {
    DeleteFileChild(context, child, options);
    return;
  }
  if (!OpIs(child.op, "create") && !OpIs(child.op, "update")) return;
  if (!child.enabled) {
    WalkLog("    Omitting file ", child.target, " because disabled");
    context.doneBytes += ContentSize(context, *child.item);
    ++context.doneFiles;
    return;
  }

  ItemDateTime itemTime = ReadItemTime(child);
  PlaceBundleBinary(child);
  bool exists = MFile::Exists(child.target);
  if (exists && GetExtension(child.target) != "presets") {
    if (AlreadyInstalled(context, child, itemTime)) return;
  } else {
    MString folder = GetDirectory(child.target);
    WalkLog("    Creating directory ", folder);
    CreatePathWithRetry(folder);
  }

  MString ext = GetExtension(child.name);
  // These four are rewritten whatever is on disk: treated as absent.
  bool present = exists && ext != "mActivePreset" && ext != "mDevice" && ext != "mTrellis" &&
                 ext != "mBastion";
  bool merge =
      options.mergePresets &&
      ((present && child.name.FindNoCase(MString("presets.xml")) >= 0) || ext == "presets");
  if (WalkLogging())
    WalkLog(MFormat("    File exists={0} rewritable={1} mergepresets={2}")
                .Add(LogFlag(present))
                .Add(LogFlag(child.rewritable))
                .Add(LogFlag(merge)));
  if (merge) {
    MergeFile(context, child, itemTime);
    return;
  }
  if (present && !child.rewritable) return;
  WriteFile(context, child, present, itemTime);
}

}  // namespace kx
