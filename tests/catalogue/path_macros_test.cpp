// The path macros, in a sandboxed HOME whose name holds " (x86)" so that the
// 32/64 rule has something to remove; the default folders and folder checks.
#include "catalogue/path_macros.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "catalogue_fixture.h"
#include "foundation/core/run_state.h"
#include "foundation/files/data_paths.h"
#include "support/file_test_support.h"
#include "support/log_capture.h"
#include "support/scripted_boxes.h"

namespace kx {
namespace {

namespace fs = std::filesystem;
using testing::Parse;

class PathMacrosTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ResetRunFlags();
    home_ = sandbox.Root() / "home (x86)";
    fs::create_directories(home_);
    ::setenv("HOME", home_.c_str(), 1);  // the sandbox restores it
    ForgetFolderTable();
  }
  void TearDown() override {
    log_.reset();
    ForgetFolderTable();
    ResetRunFlags();
  }

  void OpenLog() { log_.emplace(sandbox.Root()); }
  std::string CloseLog() {
    std::string text = log_->Text();
    log_.reset();
    return text;
  }

  std::string Home() const { return home_.string(); }
  std::string PlainHome() const { return (sandbox.Root() / "home").string(); }

  MTestSandbox sandbox;
  std::optional<testing::MLogCapture> log_;
  MScriptedBoxHost boxes;

 private:
  fs::path home_;
};

TEST_F(PathMacrosTest, CreationFromARealisticDefinition) {
  MXMLItem definition;
  Parse(definition, R"(<InstallerDefinition>
    <directory id="vst3" default="{components}/VST3" defaultprefix="{components}"/>
    <directory id="macpresets" windows="0" default="/Library/Vorlund" defaultprefix="/Library"/>
    <directory id="presets" x64="1" default="{userdocuments}/Vorlund Presets" defaultprefix="{userdocuments}"/>
    <directory id="tonvault" default="{presets}/Tonvault" defaultprefix="{presets}"/>
    <directory id="legacy" default="{programfiles32}/Old" defaultprefix="{programfiles32}"/>
    <directory id="destination" default="C:/Elsewhere/Vorlund" defaultprefix="C:"/>
    <directory id="linuxonly" windows="0" linux="1" default="/opt/x" defaultprefix=""/>
    <directory id="notonlinux" linux="0" default="/opt/y" defaultprefix=""/>
    <files path="BINEffects/binx64"><dir><file name="{vst3}/a.vst3"/></dir></files>
  </InstallerDefinition>)");
  MXMLItem& vst3 = *definition.firstSubItem;
  MXMLItem& mac = *vst3.next;

  PathMacros macros;
  macros.AddMacro("stale", "from an earlier run");
  macros.CreatePathMacros(definition);
  EXPECT_TRUE(boxes.Calls().empty());

  // 21 folders in three variants, ".exe", then six of the eight elements.
  ASSERT_EQ(macros.names.Count(), 21 * 3 + 1 + 6);
  EXPECT_EQ(ToStd(macros.names[0]), "{data32}");
  EXPECT_EQ(ToStd(macros.names[62]), "{temp64}");
  EXPECT_EQ(ToStd(macros.names[63]), "{.exe}");
  EXPECT_EQ(macros.Find("logs"), nullptr);
  EXPECT_EQ(macros.Find("stale"), nullptr);

  // Only the 32-bit variant keeps what the system said.
  EXPECT_EQ(ToStd(*macros.Find("programfiles32")), Home() + "/.local/lib");
  EXPECT_EQ(ToStd(*macros.Find("programfiles")), PlainHome() + "/.local/lib");
  EXPECT_EQ(ToStd(*macros.Find("programfiles64")), PlainHome() + "/.local/lib");

  EXPECT_EQ(vst3.GetAttribute("Available").AsInt(), 1);
  EXPECT_EQ(mac.GetAttribute("Available").AsInt(), 0);
  EXPECT_EQ(ToStd(*macros.Find("vst3")), PlainHome() + "/.local/lib/VST3");
  EXPECT_EQ(ToStd(*macros.Find("tonvault")), PlainHome() + "/Documents/Vorlund Presets/Tonvault");
  EXPECT_EQ(ToStd(*macros.Find("legacy")), Home() + "/.local/lib/Old");
  EXPECT_EQ(ToStd(*macros.Find("destination")), Home() + "/.local/lib/Vorlund");
  EXPECT_EQ(ToStd(*macros.Find("linuxonly")), "/opt/x");
  EXPECT_EQ(macros.Find("notonlinux"), nullptr);

  struct {
    const char* text;
    std::string expected;
    int32_t count;
  } cases[] = {
      {"{vst3}/Vorlund/Tonvault.vst3", PlainHome() + "/.local/lib/VST3/Vorlund/Tonvault.vst3", 1},
      {"{macpresets}/a", "{macpresets}/a", 0},  // absent here: the literal stays
      {"{tonvault}{.exe}|{tonvault}",
       PlainHome() + "/Documents/Vorlund Presets/Tonvault.exe|" + PlainHome() +
           "/Documents/Vorlund Presets/Tonvault",
       3},
      {"{unknown}{system}", "{unknown}/usr", 1},
      {"no macro at all", "no macro at all", 0},
  };
  for (const auto& c : cases) {
    MString text(c.text);
    EXPECT_EQ(macros.Expand(text), c.count) << c.text;
    EXPECT_EQ(ToStd(text), c.expected) << c.text;
  }
}

// "destination" ignores `default`, but the element must still be complete.
TEST_F(PathMacrosTest, BrokenElementsAreReportedAndSkipped) {
  MXMLItem definition;
  Parse(definition, R"(<InstallerDefinition>
    <directory id="destination" defaultprefix=""/>
    <directory id="half" default="/x"/>
    <directory default="/x" defaultprefix=""/>
    <directory id="after" default="{user}/after" defaultprefix="{user}"/>
  </InstallerDefinition>)");

  const std::vector<std::string> expected = {"Could not find required attribute (default).",
                                             "Could not find required attribute (defaultprefix).",
                                             "Could not find required attribute (id)."};
  for (bool silent : {false, true}) {
    SilentMode = silent;
    OpenLog();
    PathMacros macros;
    macros.CreatePathMacros(definition);
    std::string log = CloseLog();
    EXPECT_EQ(macros.Find("destination"), nullptr);
    EXPECT_EQ(macros.Find("half"), nullptr);
    ASSERT_NE(macros.Find("after"), nullptr);
    EXPECT_EQ(ToStd(*macros.Find("after")), PlainHome() + "/after");
    if (silent) {
      EXPECT_EQ(log, expected[0] + "\r\n" + expected[1] + "\r\n" + expected[2] + "\r\n");
    } else {
      EXPECT_EQ(log, "");
      ASSERT_EQ(boxes.Calls().size(), 3u);
      for (size_t i = 0; i < 3; ++i)
        EXPECT_EQ(boxes.Calls()[i].kind + ": " + ToStd(boxes.Calls()[i].text),
                  "ShowError: " + expected[i]);
    }
  }
  EXPECT_EQ(boxes.Calls().size(), 3u) << "a silent run showed a box";
}

TEST_F(PathMacrosTest, ExpansionRunsToAFixedPointAndCounts) {
  // Both orders: a later macro in an earlier one needs a pass of its own.
  for (bool reversed : {false, true}) {
    PathMacros macros;
    std::vector<std::pair<const char*, const char*>> table = {
        {"a", "{b}x"}, {"b", "{c}y"}, {"c", "z"}};
    if (reversed) std::reverse(table.begin(), table.end());
    for (const auto& [name, value] : table) macros.AddMacro(name, value);
    MString text("{a}-{a}-{b}");
    EXPECT_EQ(macros.Expand(text), 8);
    EXPECT_EQ(ToStd(text), "zyx-zyx-zy");
    EXPECT_EQ(ToStd(macros.Expanded("{{a}}")), "{zyx}");
  }

  PathMacros looping;
  looping.AddMacro("self", "again {self}");
  MString text("{self}");
  EXPECT_EQ(MessageOf([&] { looping.Expand(text); }), "Path macros in \"{self}\" do not resolve.");
}

TEST_F(PathMacrosTest, DefaultFolders) {
  EXPECT_EQ(ToStd(DefaultVst64PluginsPath()), Home() + "/.vst/Vorlund");
  EXPECT_EQ(ToStd(DefaultDownloadPath()), Home() + "/Downloads/Vorlund");

  fs::path file = sandbox.DataHome() / "Vorlund" / "DefaultPaths.xml";
  fs::create_directories(file.parent_path());
  std::ofstream(file) << "<DefaultPaths><Path id=\"vstplugins32\">/a</Path>"
                         "<group><Path id=\"vstplugins64\">/opt/vst/Vorlund</Path></group>"
                         "<Path id=\"vstplugins64\">/second</Path></DefaultPaths>";
  EXPECT_EQ(ToStd(DefaultVst64PluginsPath()), "/opt/vst/Vorlund");
  std::ofstream(file) << "<DefaultPaths><Path id=";
  EXPECT_EQ(ToStd(DefaultVst64PluginsPath()), Home() + "/.vst/Vorlund")
      << "a damaged file counts as absent";

  const std::pair<const char*, const char*> cases[] = {
      {"/data/Vorlund", "/data/Vorlund"},
      {"/data/downloads", "/data/downloads/Vorlund"},
      {"/data/Vorlund/add-ons", "/data/Vorlund/add-ons"},  // within the last 15 units
      {"/data/Vorlund/my add-ons", "/data/Vorlund/my add-ons/Vorlund"}};
  for (const auto& [path, expected] : cases)
    EXPECT_EQ(ToStd(DownloadPathWithMakerFolder(path)), expected) << path;
}

TEST_F(PathMacrosTest, VstFolderCheck) {
  const std::string message =
      "Folder for the 64bit VST plugins cannot be empty. Please specify correct folder for the "
      "64bit VST plugins or disable VST plugins from installation settings.";
  for (bool silent : {false, true}) {
    SilentMode = silent;
    OpenLog();
    EXPECT_FALSE(CheckVstFolder(MString()));
    EXPECT_EQ(CloseLog(), "VST64 bit path is empty!\r\n");
  }
  ASSERT_EQ(boxes.Calls().size(), 1u) << "the silent check showed a box";
  EXPECT_EQ(boxes.Calls()[0].kind + ": " + ToStd(boxes.Calls()[0].text), "ShowError: " + message);

  fs::path missing = sandbox.Root() / "vst" / "deep" / "Vorlund";
  EXPECT_TRUE(CheckVstFolder(MString::FromUTF8(missing.string())));
  EXPECT_TRUE(fs::is_directory(missing));
  EXPECT_TRUE(CheckVstFolder(MString::FromUTF8(missing.string())));
}

TEST_F(PathMacrosTest, SampleFolderCheck) {
  const char* kitvault =
      "Please specify the Kitvault factory path first. Even if you are not using Kitvault, some of "
      "our plugins still require its resources.";
  const char* tonvault =
      "Please specify the Tonvault sample path first. Even if you are not using Tonvault, some of "
      "our plugins still require its resources.";
  const char* same =
      "Please make sure the <cgreen>Tonvault sample path</cgreen> and <cgreen>Kitvault factory "
      "path</cgreen> are different. Keeping them identical could make things very messy and "
      "chaotic.";
  struct {
    const char *tonvaultPath, *kitvaultPath, *message;  // message null: passes
  } cases[] = {{"/s/Tonvault", "/s/Kitvault", nullptr},
               {"/s/Tonvault", "", kitvault},
               {"", "/s/Kitvault", tonvault},
               {"/s/same", "/s/same", same}};
  for (const auto& c : cases) {
    size_t before = boxes.Calls().size();
    EXPECT_EQ(CheckSampleFolders(c.tonvaultPath, c.kitvaultPath), c.message == nullptr);
    ASSERT_EQ(boxes.Calls().size(), before + (c.message ? 1 : 0));
    if (c.message) {
      EXPECT_EQ(ToStd(boxes.Calls().back().text), c.message);
    }
  }

  SilentMode = true;
  OpenLog();
  EXPECT_FALSE(CheckSampleFolders("/s/same", "/s/same"));
  EXPECT_EQ(CloseLog(), std::string(same) + "\r\n");
  EXPECT_EQ(boxes.Calls().size(), 3u);
}

}  // namespace
}  // namespace kx
