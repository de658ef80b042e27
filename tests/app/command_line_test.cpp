// The option loop: what each command line makes of the run flags.
#include "app/command_line.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "app/run_flags.h"

namespace kx {
namespace {

struct Case {
  const char* name;
  std::vector<std::string> arguments;
  bool help, silent, uninstall, silentAll;
  std::vector<std::string> names;
  bool cloud = false, fromPlugin = false;
};

std::vector<MString> ToArguments(const std::vector<std::string>& texts) {
  std::vector<MString> arguments;
  for (const std::string& text : texts) arguments.push_back(MString::FromUTF8(text));
  return arguments;
}

std::vector<std::string> ToTexts(const MArray<MString>& names) {
  std::vector<std::string> texts;
  for (const MString& name : names) texts.push_back(ToStd(name));
  return texts;
}

// Fields: name, arguments, help, silent, uninstall, silentAll, names, cloud, fromPlugin.
// clang-format off
const Case kCases[] = {
    {"Nothing", {}, false, false, false, false, {}},
    {"SilentAlone", {"/silent"}, false, true, false, true, {}},
    {"SilentThenUninstallIsNoList", {"/silent", "/uninstall"}, false, true, true, true, {}},
    {"UninstallThenSilentList", {"/uninstall", "/silent", "a;b"}, false, true, true, false, {"a", "b"}},
    // /help ends the loop: earlier options took effect, later ones never count,
    // and "all plug-ins" is not decided.
    {"UninstallThenHelp", {"/uninstall", "/help", "/silent", "/glustol"}, true, false, true, false, {}},
    // /help right after /silent is taken for the list first, then ends the loop.
    {"SilentThenHelp", {"/silent", "/help"}, true, true, false, false, {"/help"}},
    {"EmptyFieldKept", {"/silent", "a;;b"}, false, true, false, false, {"a", "", "b"}},
    {"EmptyListArgument", {"/silent", ""}, false, true, false, false, {""}},
    // The /uninstall test on the list folds case as well.
    {"CaseFolded", {"/SILENT", "/UnInstall", "/GLUSTOL", "/LaunchFromPlugin"}, false, true, true, true, {}, true, true},
    // The list after /silent is still visited: an option there keeps its effect.
    {"ListIsVisitedToo", {"/silent", "/glustol"}, false, true, false, false, {"/glustol"}, true},
    {"WholeArgumentOnly", {"/silentx", "-silent", "silent", "/help2", "/uninstall;"}, false, false, false, false, {}},
    {"UnknownIgnored", {"/verbose", "--verbose", "/launchfromplugin"}, false, false, false, false, {}, false, true},
    {"NamesKeepTheirCase", {"/silent", "Tonvault Pro;KITVAULT"}, false, true, false, false, {"Tonvault Pro", "KITVAULT"}},
};
// clang-format on

TEST(OptionLoopTest, SetsTheFlagsOfTheCommandLine) {
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    CommandLineOptions options = RunOptionLoop(ToArguments(c.arguments));
    EXPECT_EQ(
        std::tuple(options.helpRequested, options.silentMode, options.uninstallMode,
                   options.silentAllPlugins, ToTexts(options.silentPluginNames),
                   options.cloudLaunchMode, options.launchedFromPlugin),
        std::tuple(c.help, c.silent, c.uninstall, c.silentAll, c.names, c.cloud, c.fromPlugin));
  }
}

// Flags set before the loop (the /silent of the argument pass) survive it.
TEST(ApplyToRunFlagsTest, SetsOnlyAndKeepsEarlierFlags) {
  ResetRunFlags();
  SilentMode = true;
  ApplyToRunFlags(RunOptionLoop(ToArguments({"/help", "/silent"})));
  EXPECT_TRUE(SilentMode);
  EXPECT_FALSE(SilentAllPlugins);

  ApplyToRunFlags(RunOptionLoop(ToArguments({"/uninstall", "/silent", "x;y"})));
  EXPECT_TRUE(UninstallMode);
  EXPECT_EQ(ToTexts(SilentPluginNames), (std::vector<std::string>{"x", "y"}));
  ResetRunFlags();
}

}  // namespace
}  // namespace kx
