#include "catalogue/path_macros.h"
#include "catalogue/definition_keys.h"

#include "catalogue/maker_names.h"
#include "catalogue/settings_node.h"
#include "foundation/core/boxes.h"
#include "foundation/files/data_paths.h"
#include "foundation/core/exception.h"
#include "foundation/files/file_ops.h"
#include "foundation/text/format.h"
#include "foundation/core/log.h"
#include "foundation/files/path_text.h"
#include "foundation/core/run_state.h"
#include "foundation/xml/xml_item.h"
#include "foundation/xml/xml_iterator.h"

namespace kx {
namespace {

const char* const kCreatingLabel = "Creating path macros";

const MXMLName kLinux("linux");
const MXMLName kPathElement("Path");

// Every occurrence of `from` (not empty) in `text` becomes `to`; the search
// goes on behind each inserted text, so a value holding its own name is
// replaced once per pass. Answers the count.
int32_t ReplaceAll(MString& text, const MString& from, const MString& to) {
  int32_t at = text.Find(from);
  if (at < 0) return 0;
  MString result;
  int32_t done = 0;
  int32_t count = 0;
  while (at >= 0) {
    result += text.Mid(done, at - done);
    result += to;
    done = at + from.Length();
    ++count;
    at = text.Find(from, done);
  }
  result += text.Mid(done);
  text = result;
  return count;
}

// The maker's folder below `base`; nothing without a base, rather than a
// relative path that would land wherever the program runs.
MString MakerFolderBelow(const MString& base) {
  return base.IsEmpty() ? base : JoinPath(base, kMakerFolderWord);
}

// A box the silent run may not show leaves its text in the log instead, so a
// silent failure can still be traced.
void Tell(const MString& text) {
  if (SilentMode)
    MLog::Line(text);
  else
    ShowError(nullptr, text);
}

}  // namespace

void PathMacros::Clear() {
  names.Clear();
  values.Clear();
}

void PathMacros::AddMacro(const MString& name, const MString& value) {
  MString braced("{");
  braced += name;
  braced += "}";
  names.Add(braced);
  values.Add(value);
}

int32_t PathMacros::Expand(MString& text) const {
  if (text.FindChar('{') < 0) return 0;
  const MString original = text;
  int32_t total = 0;
  for (int32_t pass = 0;; ++pass) {
    if (pass == kMaxExpansionPasses)
      throw MException(MFormat("Path macros in \"{0}\" do not resolve.").Add(original));
    int32_t replaced = 0;
    for (int32_t i = 0; i < names.count; ++i)
      replaced += ReplaceAll(text, names.data[i], values.data[i]);
    total += replaced;
    if (replaced == 0) return total;
  }
}

MString PathMacros::Expanded(const MString& text) const {
  MString result = text;
  Expand(result);
  return result;
}

const MString* PathMacros::Find(const MString& name) const {
  MString braced("{");
  braced += name;
  braced += "}";
  int32_t index = names.IndexOf(braced);
  return index < 0 ? nullptr : &values.data[index];
}

void PathMacros::CreatePathMacros(MXMLItem& installerDefinition) {
  Clear();

  for (int32_t index = 0; index < kFolderLogs; ++index) {
    try {
      MString name(FolderName(index));
      MString folder = GetFolder(index);
      AddMacro(name + "32", folder);
      ReplaceAll(folder, " (x86)", MString());
      AddMacro(name, folder);
      AddMacro(name + "64", folder);
    } catch (MException& failure) {
      MLog::Line(MFormat("{0}: {1}").Add(kCreatingLabel).Add(failure.message));
    } catch (...) {
      ReportGuardFailure(kCreatingLabel);
      MLog::Line(MFormat("SYSTEM EXCEPTION! {0}").Add(kCreatingLabel));
    }
  }

  AddMacro(".exe", ".exe");

  for (MXMLItem& directory : MXMLNameIterator(installerDefinition, kDirectory))
    WriteSettingBool(directory, kAvailable, IsDirectoryOnThisPlatform(directory));

  for (MXMLItem& directory : MXMLNameIterator(installerDefinition, kDirectory)) {
    if (!ReadSettingBool(directory, kAvailable, false)) continue;
    try {
      MString value = directory.GetAttribute(kDefault).AsString();
      MString prefix = directory.GetAttribute(kDefaultPrefix).AsString();
      int32_t at = prefix.IsEmpty() ? -1 : value.Find(prefix);
      if (at >= 0) {
        value.Delete(at, prefix.Length());
        value.Insert(at, Expanded(prefix));
      }
      MString id = directory.GetAttribute(kId).AsString();
      // The plug-ins' own folder is not the catalogue's to move: the program
      // decides it, though the element must still be complete.
      if (id == "destination") value = MakerFolderBelow(GetFolder(kFolderProgramFiles));
      AddMacro(id, value);
    } catch (MException& failure) {
      Tell(failure.message);
    }
  }
}

bool IsDirectoryOnThisPlatform(const MXMLItem& directory) {
  if (HasSetting(directory, kLinux)) return ReadSettingBool(directory, kLinux, true);
  return ReadSettingBool(directory, kWindows, true);
}

MString DefaultVst64PluginsPath() {
  MString result = MakerFolderBelow(GetVstPluginsFolder());
  MString data = GetFolder(kFolderData);
  if (data.IsEmpty()) return result;
  MString file = JoinPath(data, "DefaultPaths.xml");
  if (!MFile::IsFile(file)) return result;
  try {
    MXMLItem tree;
    tree.LoadFile(file);
    MXMLIterator walk;
    for (MXMLItem* item = walk.Begin(tree); item; item = walk.Next()) {
      if (!kPathElement.MatchesText(item->name)) continue;
      MXMLAttribute* id = item->FindAttribute(kId);
      if (id && id->value.AsString() == "vstplugins64") return item->value.AsString();
    }
  } catch (MException&) {
    // A damaged file must not stop the start; the built-in default stands.
  }
  return result;
}

MString DefaultDownloadPath() {
  return MakerFolderBelow(GetFolder(kFolderDownload));
}

MString DownloadPathWithMakerFolder(const MString& path) {
  MString word(kMakerFolderWord);
  int32_t from = path.Length() - 15;
  if (path.Find(word, from < 0 ? 0 : from) >= 0) return path;
  return JoinPath(path, word);
}

bool CheckVstFolder(const MString& vst64PluginsPath) {
  if (vst64PluginsPath.IsEmpty()) {
    MLog::Line("VST64 bit path is empty!");
    if (!SilentMode)
      ShowError(
          nullptr,
          "Folder for the 64bit VST plugins cannot be empty. Please specify correct folder for "
          "the 64bit VST plugins or disable VST plugins from installation settings.");
    return false;
  }
  if (!MFile::Exists(vst64PluginsPath)) MFile::CreatePath(vst64PluginsPath);
  return true;
}

bool CheckSampleFolders(const MString& tonvaultSamplePath, const MString& kitvaultFactoryPath) {
  if (kitvaultFactoryPath.IsEmpty()) {
    Tell(
        "Please specify the Kitvault factory path first. Even if you are not using Kitvault, some "
        "of our plugins still require its resources.");
    return false;
  }
  if (tonvaultSamplePath.IsEmpty()) {
    Tell(
        "Please specify the Tonvault sample path first. Even if you are not using Tonvault, some "
        "of our plugins still require its resources.");
    return false;
  }
  if (tonvaultSamplePath == kitvaultFactoryPath) {
    Tell(
        "Please make sure the <cgreen>Tonvault sample path</cgreen> and <cgreen>Kitvault factory "
        "path</cgreen> are different. Keeping them identical could make things very messy and "
        "chaotic.");
    return false;
  }
  return true;
}

}  // namespace kx
