// Package records: folder path and key, database versions, settings state.
#include "catalogue/package.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "catalogue/catalogue_owner.h"
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

}  // namespace
}  // namespace kx
