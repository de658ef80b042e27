// The settings store against real files in a sandboxed data folder.
#include "app/settings_store.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>

#include "app/settings_keys.h"
#include "catalogue/definition_schema.h"
#include "catalogue/plugin.h"
#include "catalogue/settings_node.h"
#include "foundation/core/exception.h"
#include "foundation/core/run_state.h"
#include "foundation/files/file_ops.h"
#include "foundation/streams/memory_stream.h"
#include "support/log_capture.h"
#include "support/sandbox.h"

namespace kx {
namespace {

namespace fs = std::filesystem;

class SettingsStoreTest : public ::testing::Test {
 protected:
  void SetUp() override { fs::create_directories(folder_); }
  void TearDown() override { ResetRunFlags(); }

  void Write(const char* file, const std::string& bytes) {
    MFile::WriteAll(MString::FromUTF8((folder_ / file).string()), bytes);
  }
  // The saved file as a tree, whatever its form.
  void Reload(const char* file, MXMLItem& tree) {
    tree.LoadFile(MString::FromUTF8((folder_ / file).string()));
  }
  std::string Attributes(const MXMLItem& node) {
    std::string text;
    for (MXMLAttribute* a = node.firstAttribute; a; a = a->next)
      text += ToStd(MString(a->name.text)) + "=" + ToStd(a->value.AsString()) + " ";
    return text;
  }

  MTestSandbox sandbox_;
  fs::path folder_ = sandbox_.KestrixDataFolder();
  MString folderText_ = MString::FromUTF8(folder_.string());
};

TEST_F(SettingsStoreTest, FirstStartUsesDefaultsAndWritesAllThreeFiles) {
  SettingsStore store;
  store.Load(folderText_);
  EXPECT_EQ(ToStd(store.AddonSettings.name), "KestrixAddonsSettings");
  EXPECT_EQ(ToStd(store.PackageSettings.name), "KestrixPackagesSettings");
  EXPECT_EQ(ToStd(store.PluginSettings.name), "KestrixPluginsSettings");
  EXPECT_EQ(ToStd(store.PluginSettingsPath()), (folder_ / "SettingsPlugins.xml").string());

  // The defaults show in the saved file below, except the two values changed.
  GeneralSettings values = store.ReadGeneralSettings("/vst/default");

  // The run's state: a plug-in selected in the grid, a control changed.
  MXMLItem category("category");
  category.SetAttribute("name", "Effects");
  category.SetAttribute("columns", "4");
  MXMLItem& item = category.AddSubItem("item");
  item.SetAttribute("name", "MComp");
  std::unique_ptr<Plugin> plugin(
      Plugin::Create(nullptr, ReadCategoryDefinition(category), item, store.PluginSettings));
  plugin->Install = true;
  MArray<Plugin*> plugins = {plugin.get()};
  values.checkOffInstallerMac = true;
  values.installedVersion = "16";
  ASSERT_TRUE(store.SaveAtEndOfRun(values, plugins));

  for (const char* file : {"Settings.xml", "SettingsPackage.xml", "SettingsPlugins.xml"}) {
    EXPECT_TRUE(fs::is_regular_file(folder_ / file)) << file;
    EXPECT_FALSE(fs::exists(folder_ / (std::string(file) + ".saving"))) << file;
  }
  MXMLItem package;
  Reload("SettingsPackage.xml", package);
  EXPECT_EQ(ToStd(package.name), "KestrixPackagesSettings");
  // A fresh file holds the keys in the order of the end-of-run write.
  EXPECT_EQ(
      Attributes(package),
      "InstalledVersion=16 CheckBeta=1 CheckTVTInstr=1 CheckVST=1 CheckVST3=1 CheckAAX=1 "
      "CheckAutoPkgUpdate=1 CheckAutoSelfUpdate=1 CheckOffInstallerPC=1 CheckOffInstallerMac=1 "
      "VST64PluginsPath=/vst/default ");
  MXMLItem pluginTree;
  Reload("SettingsPlugins.xml", pluginTree);
  ASSERT_EQ(pluginTree.subItemCount, 1);
  EXPECT_EQ(Attributes(*pluginTree.firstSubItem), "name=MComp Install=1 Installed=0 Uninstall=0 ");
}

TEST_F(SettingsStoreTest, UnknownKeysSurviveAndForeignRootsAreRenamed) {
  Write("SettingsPackage.xml",
        "<?xml version=\"1.0\"?>\n<OldSettings InstalledVersion=\"\" Scale=\"3.5\" FutureKey=\"x\" "
        "CheckVST=\"0\">\n"
        "  <item name=\"Content_Kit\" Installed=\"1\" Version=\"16.01\" Mirror=\"b\"/>\n"
        "  <history><entry when=\"2020\"/></history>\n</OldSettings>\n");
  SettingsStore store;
  store.Load(folderText_);
  EXPECT_EQ(ToStd(store.PackageSettings.name), "KestrixPackagesSettings");
  GeneralSettings values = store.ReadGeneralSettings("/vst");
  EXPECT_EQ(ToStd(values.installedVersion), "17");  // empty reads as the default version
  EXPECT_FALSE(values.checkVST);
  // Out of range, but used as it stands: only a change clamps.
  EXPECT_EQ(ReadSettingDouble(store.PackageSettings, kSettingScale, 1.0), 3.5);
  MXMLItem* kit = FindSettingsItem(store.PackageSettings, "content_kit");
  ASSERT_NE(kit, nullptr);
  WriteSettingBool(*kit, "Installed", false);
  store.WriteGeneralSettings(values);
  store.Save();

  MXMLItem saved;
  Reload("SettingsPackage.xml", saved);
  EXPECT_EQ(ToStd(saved.name), "KestrixPackagesSettings");
  EXPECT_EQ(ToStd(saved.GetAttribute("FutureKey").AsString()), "x");
  EXPECT_EQ(ToStd(saved.GetAttribute("Scale").AsString()), "3.5");
  EXPECT_EQ(ToStd(saved.GetAttribute("InstalledVersion").AsString()), "17");
  EXPECT_EQ(Attributes(*saved.firstSubItem),
            "name=Content_Kit Installed=0 Version=16.01 Mirror=b ");
  ASSERT_NE(saved.FindSubItem("history"), nullptr);
  EXPECT_NE(saved.FindSubItem("history")->FindSubItem("entry"), nullptr);
}

TEST_F(SettingsStoreTest, EveryFormLoadsAndBadFilesReadAsEmpty) {
  MXMLItem tree("AnyRoot");
  tree.SetAttribute("CheckBeta", MVariant(static_cast<int8_t>(0)));
  MMemoryStream compressed;
  tree.SaveMBX(compressed, true);
  Write("Settings.xml", std::string(compressed.View()));
  MMemoryStream plain;
  tree.SaveMBX(plain, false);

  const struct {
    const char* label;
    std::string bytes;
    bool asFolder, loads;
  } cases[] = {
      // Every form of the file reader is LoadAnyTest's; the one the store writes:
      {"compressed MBX", std::string(compressed.View()), false, true},
      {"truncated MBX", std::string(plain.View().substr(0, plain.View().size() - 3)), false, false},
      {"garbage", std::string("\x01\x02 not a tree", 14), false, false},
      {"unclosed XML (the parser reads to the end)", "<x CheckBeta=\"0\"><y>", false, true},
      {"XML broken after the root", "<x CheckBeta=\"0\"><y></z></x>", false, false},
      {"XML broken in the root", "<x CheckBeta=\"0\" <y/>", false, false},
      {"empty", "", false, false},
      {"a folder in its place", "", true, false},
  };
  for (const auto& c : cases) {
    fs::remove_all(folder_ / "SettingsPackage.xml");
    if (c.asFolder)
      fs::create_directories(folder_ / "SettingsPackage.xml" / "inner");
    else
      Write("SettingsPackage.xml", c.bytes);
    SettingsStore store;
    store.Load(folderText_);
    EXPECT_EQ(ToStd(store.PackageSettings.name), "KestrixPackagesSettings") << c.label;
    EXPECT_EQ(store.ReadGeneralSettings("").checkBeta, !c.loads) << c.label;
    if (!c.loads) {
      EXPECT_EQ(store.PackageSettings.attributeCount + store.PackageSettings.subItemCount, 0)
          << c.label;
    }
  }
}

TEST_F(SettingsStoreTest, AFailedFileCostsOnlyItself) {
  SettingsStore store;
  store.Load(folderText_);
  WriteSetting(store.AddonSettings, "Marker", "addons");
  WriteSetting(store.PluginSettings, "Marker", "plugins");
  fs::create_directories(folder_ / "SettingsPackage.xml" / "inner");  // cannot be replaced
  testing::MLogCapture log(sandbox_.Root());
  EXPECT_FALSE(store.SaveAtEndOfRun(GeneralSettings(), MArray<Plugin*>()));
  std::string logText = log.Text();

  MXMLItem addons, plugins;
  Reload("Settings.xml", addons);
  Reload("SettingsPlugins.xml", plugins);
  EXPECT_EQ(ToStd(addons.GetAttribute("Marker").AsString()), "addons");
  EXPECT_EQ(ToStd(plugins.GetAttribute("Marker").AsString()), "plugins");
  EXPECT_TRUE(fs::is_directory(folder_ / "SettingsPackage.xml"));
  EXPECT_FALSE(fs::exists(folder_ / "SettingsPackage.xml.saving"));
  EXPECT_NE(logText.find("SettingsPackage.xml"), std::string::npos) << logText;

  SettingsStore never;
  EXPECT_THROW(never.Save(), MException);
}

TEST_F(SettingsStoreTest, CloudLaunchLeavesTheStoredVstFolder) {
  Write("SettingsPackage.xml", "<s VST64PluginsPath=\"/home/me/.vst\"/>");
  CloudLaunchMode = true;
  SettingsStore store;
  store.Load(folderText_);
  GeneralSettings values = store.ReadGeneralSettings("/default");
  EXPECT_TRUE(values.vst64PluginsPath.IsEmpty());
  store.WriteGeneralSettings(values);
  EXPECT_EQ(ToStd(store.PackageSettings.GetAttribute(kSettingVST64PluginsPath).AsString()),
            "/home/me/.vst");

  CloudLaunchMode = false;
  Write("SettingsPackage.xml", "<s VST64PluginsPath=\"\"/>");  // empty takes the default
  store.Load(folderText_);
  EXPECT_EQ(ToStd(store.ReadGeneralSettings("/default").vst64PluginsPath), "/default");
}

}  // namespace
}  // namespace kx
