// PathMacros: the table of `{name}` macros by which install trees name their
// targets, and the program's default folders.
//
// The table is two parallel lists, names with their braces and values, in the
// order they were added; the order matters, since expansion walks it first to
// last. CreatePathMacros fills it, in this order, from empty:
//   1. for each folder entry 0 to 20 of data_paths.h with name N and folder F:
//      N + "32" = F, then N and N + "64" = F with every " (x86)" removed
//      (index 21, "logs", gets none). A failing entry is logged as
//      "Creating path macros: <message>" and the next one follows;
//   2. ".exe" = ".exe";
//   3. every `directory` element of the definition gets `Available`: 1 when it
//      exists on this platform (see IsDirectoryOnThisPlatform), else 0;
//   4. each available one, in file order: `default` and `defaultprefix` (both
//      required), the first occurrence of the prefix in the default replaced by
//      the prefix expanded, `id` (required), and the macro `id` = that text,
//      except that "destination" is always the programfiles folder + "Vorlund".
//      A failing element (a missing attribute) is shown in an error box, or
//      logged in SilentMode, and the next one follows.
//
// Expansion: each pass replaces, macro by macro, every occurrence of the name;
// passes repeat until one replaces nothing, so values may hold further macros.
// The count of replacements is the answer. An unknown `{word}` stays as it is.
// A table in which a value holds its own name would never settle: after
// kMaxExpansionPasses passes expansion throws "Path macros in \"{0}\" do not
// resolve." with the text as it was given.
//
// Created on the main thread at start-up; afterwards only read, from any thread.
#pragma once

#include <cstdint>

#include "foundation/containers/containers.h"
#include "foundation/text/text_string.h"

namespace kx {

class MXMLItem;

class PathMacros {
 public:
  static constexpr int32_t kMaxExpansionPasses = 64;

  void Clear();
  // Appends "{" + name + "}" with `value`.
  void AddMacro(const MString& name, const MString& value);

  // Replaces the macros in `text`; answers the number of replacements.
  int32_t Expand(MString& text) const;
  MString Expanded(const MString& text) const;

  // Fills the table from the folder table and from the `directory` elements
  // below `installerDefinition` (whose `Available` attributes it writes).
  void CreatePathMacros(MXMLItem& installerDefinition);

  // The value of the macro "{name}", or null; the first one added wins.
  const MString* Find(const MString& name) const;

  MArray<MString> names;  // with braces
  MArray<MString> values;
};

// Whether a `directory` element exists for this build. The served definition
// is written for Windows: `windows="0"` marks a folder of the other platform.
// This build takes a `linux` attribute when the element has one, and else
// follows `windows` (default 1), so the catalogue can tell Linux apart later
// without changing what it says today.
bool IsDirectoryOnThisPlatform(const MXMLItem& directory);

// --- default folders

// Where VST plug-ins go unless the user chose otherwise: the `Path` element
// with `id` "vstplugins64" of "DefaultPaths.xml" in the shared data folder
// (the first one found), else the hosts' VST folder plus "Vorlund". A
// DefaultPaths.xml that cannot be read counts as absent.
MString DefaultVst64PluginsPath();

// The add-on download folder by default: the download folder plus "Vorlund".
MString DefaultDownloadPath();

// The add-on download path with the maker's word as its last folder: appended
// as a further folder unless the word already occurs within the last 15 units
// of the text.
MString DownloadPathWithMakerFolder(const MString& path);

// --- checks before work

// Before a package update or plug-in install with VST enabled. An empty path
// logs "VST64 bit path is empty!", shows why (unless SilentMode) and fails. A
// folder that does not exist is created (its failure throws "Could not create
// path ..."), and the check passes.
bool CheckVstFolder(const MString& vst64PluginsPath);

// Before add-on work: fails, telling the user why, when either path is empty or
// both are the same. The box is left out in SilentMode, and the text logged.
bool CheckSampleFolders(const MString& tonvaultSamplePath, const MString& kitvaultFactoryPath);

}  // namespace kx
