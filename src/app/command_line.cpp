#include "app/command_line.h"

#include "app/run_flags.h"

namespace kx {

MString OfflineCreateFolder;
MString OfflineLoadFolder;

const char* const kUsageText =
    "Usage: {kestrix} [/silent {list_of_plugins}] [/uninstall]<p>"
    "If list_of_plugins is empty, all will be (un)installed ";

namespace {

bool IsOption(const MString& argument, const char* option) {
  return argument.Compare(MString(option)) == 0;
}

}  // namespace

bool IsSilentOption(const MString& argument) {
  return IsOption(argument, "/silent");
}

CommandLineOptions RunOptionLoop(const std::vector<MString>& arguments) {
  CommandLineOptions options;
  for (size_t i = 0; i < arguments.size(); ++i) {
    const MString& argument = arguments[i];
    // The words a Linux user tries first ask for the same usage as /help.
    if (IsOption(argument, "/help") || argument == MString("--help") || argument == MString("-h")) {
      options.helpRequested = true;
      return options;
    }
    if (IsOption(argument, "/launchfromplugin")) {
      options.launchedFromPlugin = true;
    } else if (IsOption(argument, "/uninstall")) {
      options.uninstallMode = true;
    } else if (IsSilentOption(argument)) {
      options.silentMode = true;
      // The list is one argument. It is not consumed: the loop still visits it,
      // which is how "/silent /uninstall" keeps its meaning.
      if (i + 1 < arguments.size() && !IsOption(arguments[i + 1], "/uninstall")) {
        arguments[i + 1].Split(MChar(';'), options.silentPluginNames);
      }
    } else if (IsOption(argument, "/glustol")) {
      options.cloudLaunchMode = true;
    } else if (IsOption(argument, "/offlinecreate") && i + 1 < arguments.size()) {
      options.offlineCreateFolder = arguments[++i];
    } else if (IsOption(argument, "/offlineload") && i + 1 < arguments.size()) {
      options.offlineLoadFolder = arguments[++i];
    }
  }
  options.silentAllPlugins = options.silentMode && options.silentPluginNames.IsEmpty();
  return options;
}

void ApplyToRunFlags(const CommandLineOptions& options) {
  if (options.silentMode) SilentMode = true;
  if (options.uninstallMode) UninstallMode = true;
  if (options.cloudLaunchMode) CloudLaunchMode = true;
  if (options.launchedFromPlugin) LaunchedFromPlugin = true;
  if (options.silentAllPlugins) SilentAllPlugins = true;
  for (const MString& name : options.silentPluginNames) SilentPluginNames.Add(name);
  if (!options.offlineCreateFolder.IsEmpty()) OfflineCreateFolder = options.offlineCreateFolder;
  if (!options.offlineLoadFolder.IsEmpty()) OfflineLoadFolder = options.offlineLoadFolder;
}

}  // namespace kx
