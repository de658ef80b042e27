// The option loop over the program's arguments, as a pure function.
//
// An argument is an option only when the whole of it equals the option, compared
// with the system's case folding (/SILENT is /silent). At each position /help is
// tested first (with --help and -h, which mean the same) and ends the loop: what stood before it has had its effect, what
// follows is never looked at. /silent takes the next argument as the plug-in list
// (names joined by ';', empty fields kept) unless that is /uninstall; the next
// argument is then visited as an ordinary argument too. Unknown arguments are
// ignored. Only when the loop ends without /help does /silent with an empty list
// mean "all plug-ins". /offlinecreate and /offlineload take the next argument as
// their folder.
#pragma once

#include <vector>

#include "foundation/containers/containers.h"
#include "foundation/text/text_string.h"

namespace kx {

// The usage text of /help, STML. "{kestrix}" stands in it literally.
extern const char* const kUsageText;

struct CommandLineOptions {
  bool helpRequested = false;  // /help ended the loop
  bool silentMode = false;
  bool uninstallMode = false;
  bool cloudLaunchMode = false;
  bool launchedFromPlugin = false;
  bool silentAllPlugins = false;
  MArray<MString> silentPluginNames;
  // /offlinecreate FOLDER and /offlineload FOLDER: the folder that follows.
  MString offlineCreateFolder;
  MString offlineLoadFolder;
};

CommandLineOptions RunOptionLoop(const std::vector<MString>& arguments);

// The argument is /silent, by the loop's comparison.
bool IsSilentOption(const MString& argument);

// Sets the run flags that the options set; flags already set stay set.
void ApplyToRunFlags(const CommandLineOptions& options);

}  // namespace kx
