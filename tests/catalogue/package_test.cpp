// Package records: folder path and key, database versions, settings state, need.
#include "catalogue/package.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "catalogue/catalogue_owner.h"
#include "catalogue/definition_schema.h"
#include "catalogue/package_need.h"
#include "catalogue/plugin.h"
#include "catalogue/settings_node.h"
#include "catalogue/update_detection.h"
#include "catalogue_fixture.h"
#include "foundation/core/run_state.h"
#include "foundation/files/file_ops.h"
#include "support/file_test_support.h"
#include "support/log_capture.h"

namespace kx {
namespace {

using testing::AddDatabaseEntry;
using testing::Text;

TEST(PackagePathTest, FolderKeyAndFiles) {
  const struct {
    const char *path, *folder, *key;
    bool effects;
  } cases[] = {
      {"BINEffects/binx64", "PKG/BINEffects/binx64", "BINEffects_binx64", true},
      {"BINEffectsMac/bin", "PKG/BINEffectsMac/bin", "BINEffectsMac_bin", true},
      {"BINEffects/binx86", "PKG/BINEffects/binx86", "BINEffects_binx86", false},
      {"PKG/BINEffects/binx64", "PKG/PKG/BINEffects/binx64", "BINEffects_binx64", true},
      {"Content/Drums/Kit", "Content/Drums/Kit", "Content_Drums_Kit", false},
      {"PKG/Content/Kit", "PKG/Content/Kit", "Content_Kit", false},
      {"Data/PKG/Kit", "Data/PKG/Kit", "Data_Kit", false},
      {"PKPKG/G/x", "PKPKG/G/x", "PKG_x", false},
      {"binEffects/x", "binEffects/x", "binEffects_x", false},  // the word is matched as written
      {"USER_PRESETS_BYPLUGIN", "USER_PRESETS_BYPLUGIN", "USER_PRESETS_BYPLUGIN", false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.path);
    testing::CatalogueTrees trees;
    std::unique_ptr<Package> package = trees.NewPackage({c.path, "", "global"});
    EXPECT_EQ(ToStd(package->FolderPath), c.folder);
    EXPECT_EQ(ToStd(package->Key), c.key);
    EXPECT_EQ(package->IsEffectsBinary(), c.effects);
    // The settings item is named by the key, not by the path.
    EXPECT_EQ(FindSettingsItem(trees.packageSettings, Text(c.key)), package->GetSettingsNode());

    package->CurrentPackageVersion = "16.01";
    std::string remote = std::string("/download/") + c.folder + "/" + c.key + "_16.01.pkgm";
    EXPECT_EQ(ToStd(package->GetRemoteFile()), remote);
    EXPECT_EQ(ToStd(package->GetRemoteMD5File()), remote + ".md5");
    EXPECT_EQ(ToStd(package->GetLocalFolder(false)), c.folder);
    EXPECT_EQ(ToStd(package->GetLocalFolder(true)), std::string("Vorlund/") + c.folder);
  }
}

// The path becomes a folder below the data folder.
TEST(PackagePathGuardTest, PathsThatLeaveTheDataFolderAreRefused) {
  for (const char* path : {"../../.ssh", "Content/../../x", "/etc/x", "BINEffects/../../x"}) {
    testing::CatalogueTrees trees;
    EXPECT_EQ(MessageOf([&] { trees.NewPackage({path}); }),
              std::string("Package path \"") + path + "\" leads outside the data folder.");
  }
}

TEST(PackageDatabaseTest, LastChildOfEachKindCounts) {
  const struct {
    const char *label, *key;  // of the database entry; keys match without regard to case
    std::vector<testing::VersionSpec> versions;
    const char *stable, *beta, *update, *betaTime;
    float size;             // of the update version's kind
    float betaChannelSize;  // the same when the beta channel takes a later beta
  } cases[] = {
      // clang-format off
      {"no entry", "Other_package", {{"16.01", false, "2024-03-01 10:00:00", 10}},
       "", "", "", "", 0, 0},
      {"only a beta", "content_kit", {{"16.02b", true, " 2024-04-01 09:30:00.5 ", 3000000}},
       "", "16.02b", "16.02b", "2024-04-01 09:30:00.5", 3000000, 3000000},
      {"a later beta read last", "Content_Kit",
       {{"16.01", false, "2024-03-01 10:00:00", 7}, {"16.02b", true, "2024-04-01 00:00:00", 8}},
       "16.01", "16.02b", "16.01", "2024-04-01 00:00:00.0", 7, 8},
      {"last of each kind, sizes above 2 GiB", "Content_Kit",
       {{"15.00", false, "2023-01-01 00:00:00", 1}, {"16.00b", true, "2023-06-01 00:00:00", 2},
        {"16.01", false, "2024-03-01 10:00:00", 3}, {"16.02b", true, "2024-04-01 00:00:00", 4},
        {"16.02", false, "2024-05-01 12:00:00", 5000000000LL}},
       "16.02", "16.02b", "16.02", "2024-04-01 00:00:00.0", 5000000000.0f, 5000000000.0f},
      // clang-format on
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    testing::CatalogueTrees trees;
    AddDatabaseEntry(trees.database, c.key, c.versions);
    std::unique_ptr<Package> package = trees.NewPackage({"Content/Kit"});
    EXPECT_EQ(package->DatabaseNode == nullptr, *c.update == 0);
    EXPECT_EQ(ToStd(package->StableVersion), c.stable);
    EXPECT_EQ(ToStd(package->BetaVersion), c.beta);
    EXPECT_EQ(ToStd(package->UpdateVersion), c.update);
    if (*c.betaTime) {
      EXPECT_EQ(ToStd(package->BetaTime.ToString()), c.betaTime);
    }
    EXPECT_EQ(package->Size, c.size);
    ReadDatabase(*package, true);
    EXPECT_EQ(package->Size, c.betaChannelSize);
  }
}

TEST(PackageDatabaseTest, BadEntriesStopTheLoad) {
  struct Bad {
    const char* time;  // null: no `time` attribute
    bool named;        // the `packages` element has its `name`
    const char* message;
  };
  for (const Bad& bad :
       {Bad{"2024-03-01T10:00:00", true, "Invalid datetime format."},
        Bad{"yesterday noon", true, "Invalid datetime format."},
        Bad{nullptr, true, "Could not find required attribute (time)."},
        Bad{"2024-03-01 10:00:00", false, "Could not find required attribute (name)."}}) {
    testing::CatalogueTrees trees;
    MXMLItem& entry =
        AddDatabaseEntry(trees.database, "Content_Kit", {{"16.01", false, "2024-03-01 10:00:00"}});
    if (!bad.named) entry.RemoveAttribute("name");
    MXMLItem& child = entry.AddSubItem("release");
    if (bad.time) child.SetAttribute("time", bad.time);
    EXPECT_EQ(MessageOf([&] { trees.NewPackage({"Content/Kit"}); }), bad.message);
  }
}

class FakeOwner : public CatalogueOwner {
 public:
  bool addonWork = false;
  bool IsAddonWorkRunning() const override { return addonWork; }
  bool IsPackageWorkRunning() const override { return false; }
};

std::string Attributes(const MXMLItem& node) {
  std::string text;
  for (MXMLAttribute* a = node.firstAttribute; a; a = a->next)
    text += ToStd(MString(a->name.text)) + "=" + ToStd(a->value.AsString()) + " ";
  return text;
}

TEST(PackageStateTest, SettingsItemIsReadAndEveryChangeSaved) {
  testing::CatalogueTrees trees;
  MXMLItem& stored = FindOrMakeSettingsItem(trees.packageSettings, "Content_Kit");
  stored.SetAttribute("Installed", "1");
  stored.SetAttribute("Version", "16.01");
  stored.SetAttribute("Note", "kept");  // a key of some other version
  FakeOwner owner;
  std::unique_ptr<Package> package = trees.NewPackage({"Content/Kit"}, &owner);
  EXPECT_EQ(trees.packageSettings.subItemCount, 1);
  EXPECT_EQ(package->GetSettingsNode(), &stored);
  EXPECT_TRUE(package->Installed);
  EXPECT_FALSE(package->Install);  // the item's default, not the base's
  EXPECT_EQ(ToStd(package->CurrentPackageVersion), "16.01");

  package->Download = true;
  EXPECT_TRUE(package->WantsDownload());
  owner.addonWork = true;
  EXPECT_FALSE(package->WantsDownload());

  package->MarkDownloading();
  const std::string head = "name=Content_Kit Installed=";
  EXPECT_EQ(Attributes(stored),
            head + "1 Version=16.01 Note=kept Download=1 Downloaded=0 Install=0 Uninstall=0 ");
  package->SetUninstallRequest(true);
  EXPECT_TRUE(package->IsUninstallRequested());
  EXPECT_EQ(ToStd(stored.GetAttribute("Uninstall").AsString()), "1");
  package->Install = true;
  package->MarkInstalled();
  EXPECT_EQ(Attributes(stored),
            head + "1 Version=16.01 Note=kept Download=0 Downloaded=0 Install=1 Uninstall=0 ");
  package->Download = true;
  package->SetUninstallRequest(true);
  package->ClearWishes();
  EXPECT_FALSE(package->Download || package->Install || package->UninstallRequested);
  package->CurrentPackageVersion = "16.02";
  package->Download = true;
  package->SetUninstallRequest(true);
  package->MarkUninstalled();
  EXPECT_EQ(Attributes(stored),
            head + "0 Version=16.02 Note=kept Download=0 Downloaded=0 Install=0 Uninstall=0 ");

  // A second record of the same key shares the item and its state.
  std::unique_ptr<Package> again = trees.NewPackage({"Content/Kit"}, &owner);
  EXPECT_EQ(again->GetSettingsNode(), &stored);
  EXPECT_EQ(ToStd(again->CurrentPackageVersion), "16.02");
}

TEST(PackageStateTest, ProgressShare) {
  testing::CatalogueTrees trees;
  std::unique_ptr<Package> package = trees.NewPackage({"Content/Kit"});
  EXPECT_EQ(package->GetProgressUpperBound(), 0.0);
  // Bounds not shared out yet: the lower bound (0.0078125) stands.
  EXPECT_DOUBLE_EQ(package->MapProgress(5, 10), 0.0078125);

  package->ProgressLower = 0.25f;
  package->ProgressUpper = 0.75f;
  const double points[][3] = {{0, 10, 0.25},  {5, 10, 0.5},   {10, 10, 0.75},
                              {20, 10, 0.75}, {-5, 10, 0.25}, {3, 0, 0.25}};
  for (const auto& p : points)
    EXPECT_DOUBLE_EQ(package->MapProgress(p[0], p[1]), p[2]) << p[0] << "/" << p[1];
  EXPECT_DOUBLE_EQ(package->GetProgressUpperBound(), 0.75);
}

TEST(PackageStateTest, ReportProgressLooksBelowTheDataFolder) {
  MTestSandbox sandbox;
  std::filesystem::path data = sandbox.KestrixDataFolder();
  std::filesystem::create_directories(data / "PKG" / "BINEffects" / "binx64");
  DataFolder = Text(data.string());
  testing::MLogCapture log(data);

  testing::CatalogueTrees trees;
  std::unique_ptr<Package> package = trees.NewPackage({"BINEffects/binx64"});
  package->CurrentPackageVersion = "16.01";
  package->Downloaded = true;
  EXPECT_FALSE(package->ReportProgress());  // marked, but the file is gone
  std::filesystem::path file =
      data / "PKG" / "BINEffects" / "binx64" / "BINEffects_binx64_16.01.pkgm";
  MFile::WriteAll(Text(file.string()), std::string(1234, 'x'));
  EXPECT_TRUE(package->ReportProgress());
  package->Downloaded = false;
  EXPECT_FALSE(package->ReportProgress());  // a partial file is not ready
  std::string text = log.Text();
  ResetRunFlags();

  for (const char* size : {"0", "1234"})
    EXPECT_NE(text.find("File: " + file.string() + " | downloaded: " + size + "\r\n"),
              std::string::npos)
        << text;
}

// The decision "is this package needed for this plug-in", rule by rule.
struct NeedCase {
  const char* label;
  std::string path, name, flags;  // name: the package's `name`
  int archEnabled;                // -1: no attribute
  bool installed;
  std::string plugin, pluginFlags, contents;  // contents: element text of the plug-in's item
  bool anyOwn, optional, cloud, needed;
  std::vector<std::string> wantedBy;
};

// Columns: label, path, name, flags, archenabled, installed, plug-in, its flags,
// its contents, anyOwnPackage, optional instruments, cloud launch -> needed, WantedBy.
// clang-format off
const NeedCase kCases[] = {
    {"global_not_installed", "Data/Shared", "Shared", "global", -1, false, "MComp", "", "", false, false, false, true, {}},
    {"global_installed_plain", "Data/Shared", "Shared", "global", -1, true, "MComp", "", "", false, false, false, true, {}},
    {"global_installed_plain_cloud", "Data/Shared", "Shared", "global", -1, true, "MComp", "", "", false, false, true, true, {}},
    {"global_arch_disabled", "Kernel/avx2", "Kernel", "global", 0, false, "MComp", "", "", false, false, false, false, {}},
    {"global_arch_enabled", "Kernel/avx2", "Kernel", "global", 1, false, "MComp", "", "", false, false, false, true, {}},
    {"global_kernel_installed", "Kernel/avx2", "Kernel", "global", 1, true, "MComp", "", "", false, false, false, false, {}},
    {"uglobal_kernel_installed", "Kernel/sse", "Kernel", "uglobal", -1, true, "MComp", "", "", true, true, false, false, {}},
    {"global_data_installed", "Data/Global", "Global data", "global", -1, true, "MComp", "", "", false, false, false, false, {}},
    {"global_data_not_installed", "Data/Global", "Global data", "global", -1, false, "MComp", "", "", false, false, false, true, {}},
    {"redist_installed", "REDIST/vc", "Runtime", "global", -1, true, "MComp", "", "", false, false, false, false, {}},
    {"redist_not_installed", "REDIST/vc", "Runtime", "global", -1, false, "MComp", "", "", false, false, false, true, {}},
    {"redist_not_installed_cloud", "REDIST/vc", "Runtime", "global", -1, false, "MComp", "", "", false, false, true, false, {}},
    {"user_presets_installed", "USER_PRESETS", "Presets", "uglobal", -1, true, "MComp", "", "", false, false, false, false, {}},
    {"user_presets_not_installed", "USER_PRESETS", "Presets", "global", -1, false, "MComp", "", "", false, false, true, true, {}},
    {"effects_records_name", "BINEffects/binx64", "Effects", "global", -1, false, "MComp", "", "", true, false, false, true, {"MComp"}},
    {"effects_records_contents", "BINEffects/binx64", "Effects", "global", -1, true, "MBundle", "", "MEqA; MEqB;", false, false, true, true, {"MEqA", " MEqB", ""}},
    {"effects_other_platform_key", "BINEffectsMac/bin", "Effects", "uglobal", -1, true, "MComp", "", "", false, false, false, true, {"MComp"}},
    {"effects_arch_disabled_first", "BINEffects/binx64", "Effects", "global", 0, false, "MComp", "", "", false, false, false, false, {}},
    {"bypluginname_records", "USER_PRESETS_BYPLUGIN", "Presets", "gbypluginname", -1, true, "MComp", "", "", false, false, false, true, {"MComp"}},
    {"bypluginname_own_asked", "USER_PRESETS_BYPLUGIN", "Presets", "gbypluginname", -1, false, "MComp", "", "", true, false, false, true, {}},
    {"ubypluginname_contents", "USER_PRESETS_BYPLUGIN", "Presets", "ubypluginname", -1, false, "MBundle", "", "A;B", false, false, false, true, {"A", "B"}},
    {"optional_off", "Instruments/Factory", "Factory", "tvtoptional", -1, false, "Tonvault", "", "", false, false, false, false, {}},
    {"optional_installed", "Instruments/Factory", "Factory", "tvtoptional", -1, true, "Tonvault", "", "", false, true, false, false, {}},
    {"optional_sampler", "Instruments/Factory", "Factory", "tvtoptional", -1, false, "Tonvault", "", "", false, true, true, true, {}},
    {"optional_other_plugin", "Instruments/Factory", "Factory", "tvtoptional", -1, false, "MComp", "", "", false, true, false, true, {}},
    {"optional_other_plugin_cloud", "Instruments/Factory", "Factory", "tvtoptional", -1, false, "MComp", "", "", false, true, true, false, {}},
    {"own_word_not_installed", "Content/Drums", "Drums", "drums", -1, false, "MDrums", "drums", "", true, false, false, true, {}},
    {"own_word_installed", "Content/Drums", "Drums", "drums", -1, true, "MDrums", "drums", "", false, false, false, false, {}},
    {"own_word_other_case", "Content/Drums", "Drums", "Drums", -1, false, "MDrums", "drums", "", false, false, false, true, {}},
    {"other_word_any_own_not_installed", "Content/Drums", "Drums", "drums", -1, false, "MComp", "comp", "", true, false, false, true, {}},
    {"other_word_any_own_installed", "Content/Drums", "Drums", "drums", -1, true, "MComp", "comp", "", true, false, false, false, {}},
    {"other_word_key_holds_name", "Content/MComp", "Comp", "compdata", -1, true, "MComp", "", "", false, false, false, true, {}},
    {"other_word_key_lacks_name", "Content/Drums", "Drums", "drums", -1, false, "MComp", "", "", false, false, false, false, {}},
    {"no_flags_either_side", "Content/Misc", "Misc", "", -1, false, "MComp", "", "", false, false, false, true, {}},
};
// clang-format on

TEST(PackageNeedTest, DecidesByFlags) {
  for (const NeedCase& c : kCases) {
    SCOPED_TRACE(c.label);
    testing::CatalogueTrees trees;
    FindOrMakeSettingsItem(trees.packageSettings,
                           Package::MakeKey(Package::MakeFolderPath(Text(c.path))))
        .SetAttribute("Installed", c.installed ? "1" : "0");
    std::unique_ptr<Package> package = trees.NewPackage({c.path, c.name, c.flags, c.archEnabled});

    MXMLItem& category = trees.definition.AddSubItem("category");
    category.SetAttribute("name", "Effects");
    category.SetAttribute("columns", "4");
    MXMLItem& item = category.AddSubItem("item");
    item.SetAttribute("name", Text(c.plugin));
    if (!c.pluginFlags.empty()) item.SetAttribute("flags", Text(c.pluginFlags));
    item.value = Text(c.contents);
    std::unique_ptr<Plugin> plugin(
        Plugin::Create(nullptr, ReadCategoryDefinition(category), item, trees.pluginSettings));

    CloudLaunchMode = c.cloud;
    EXPECT_EQ(IsPackageNeeded(*plugin, *package, c.anyOwn, c.optional), c.needed);
    std::vector<std::string> wanted;
    for (const MString& name : package->WantedBy) wanted.push_back(ToStd(name));
    EXPECT_EQ(wanted, c.wantedBy);
  }
  ResetRunFlags();
}

// Asked twice, one plug-in two products: the effects binary names each once.
TEST(PackageNeedRecording, EffectsBinaryNamesEachPluginOnce) {
  testing::CatalogueTrees trees;
  testing::Parse(trees.definition,
                 R"(<InstallerDefinition><files path="BINEffects/binx64" flags="global"/>
      <category name="Effects" columns="4"><item name="MComp"/><item name="MBundle">MEqA;MEqB</item></category>
      <category name="Instruments" columns="4"><item name="Tonvault"/></category></InstallerDefinition>)");
  InstallerDefinitionContents contents = ReadInstallerDefinition(trees.definition);
  std::unique_ptr<Package> effects =
      Package::Create(nullptr, *contents.files[0].node, trees.database, trees.packageSettings);
  for (const CategoryDefinition& category : contents.categories)
    for (MXMLItem* item = category.node->firstSubItem; item; item = item->next) {
      std::unique_ptr<Plugin> plugin(
          Plugin::Create(nullptr, category, *item, trees.pluginSettings));
      for (int ask = 0; ask < 2; ++ask)
        EXPECT_TRUE(IsPackageNeeded(*plugin, *effects, false, true));
    }
  std::string wanted;
  for (const MString& name : effects->WantedBy) wanted += ToStd(name) + " ";
  EXPECT_EQ(wanted, "MComp MEqA MEqB Tonvault ");
}

}  // namespace
}  // namespace kx
