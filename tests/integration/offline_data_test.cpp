// Offline installation data with the real program: a folder written from the demo
// catalogue, loaded on a home with no server and installed from byte for byte as
// online; then folders that are incomplete, stale, newer, or not what they say.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <thread>

#include "app/main_routine.h"
#include "demo_run_fixture.h"

namespace kx {
namespace {

namespace fs = std::filesystem;

class OfflineDataTest : public testing::DemoRunTest {
 protected:
  void SetUp() override {
    DemoRunTest::SetUp();
    if (!IsSkipped()) UseHome("online", true);
  }
  // What a run installed: every file of the home but the program's own data
  // and downloads, by path below the home.
  std::map<std::string, std::string> Installed() const {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(Home())) {
      const std::string path = fs::relative(entry.path(), Home()).string();
      if (!entry.is_regular_file() || path.rfind(".config/Vorlund/Downloader", 0) == 0 ||
          path.rfind("Downloads", 0) == 0)
        continue;
      files[path] = ReadFileBytes(entry.path());
    }
    return files;
  }
  // Writes the offline folder from the online home.
  fs::path CreateFolder(const std::string& name) {
    const fs::path folder = sandbox.Root() / name;
    EXPECT_EQ(Run({"/silent", "/offlinecreate", folder.string()}), kExitNormal) << Log();
    return folder;
  }
};

TEST_F(OfflineDataTest, FolderInstallsOnAHomeWithoutServerAsOnline) {
  ASSERT_EQ(Run({"/silent"}), kExitNormal) << Log();
  const std::map<std::string, std::string> online = Installed();
  ASSERT_GT(online.size(), 5u);

  // A stale PKG in the target goes first.
  const fs::path folder = sandbox.Root() / "offline";
  WriteFileBytes(folder / "PKG" / "Old" / "stale.pkgm", "stale");
  CreateFolder("offline");
  EXPECT_FALSE(fs::exists(folder / "PKG" / "Old"));
  for (const char* file : {"MINSTALLERDATABASE.mbx", "MInstallerDefinition.mbx", "PRODUCTSX.xml",
                           "Kitvault_Dusty_Kits.kitvaultpack", "Kitvault_Dusty_Kits.kitvaultpack.md5",
                           "PKG/BINEffects/binx64"})
    EXPECT_TRUE(fs::exists(folder / file)) << file;

  UseHome("fresh", false);
  ASSERT_EQ(Run({"/silent", "/offlineload", folder.string()}), kExitNormal) << Log();
  EXPECT_NE(Log().find("\nAll mandatory offline installation data successfully loaded."), std::string::npos);
  EXPECT_TRUE(fs::exists(Home() / "Downloads" / "Vorlund" / "Tonvault_Strings_Essentials.mproduct"));
  ASSERT_EQ(Run({"/silent", "/uninstall"}), kExitNormal) << Log();
  ASSERT_EQ(Run({"/silent"}), kExitNormal) << Log();
  EXPECT_NE(Log().find("Kestrix is in OFFLINE mode!"), std::string::npos);
  EXPECT_EQ(Installed(), online) << Log();
}

TEST_F(OfflineDataTest, IncompleteNewerAndFalseFoldersAreRefusedOrHandedOver) {
  ASSERT_EQ(Run({"/silent"}), kExitNormal) << Log();
  const fs::path folder = CreateFolder("offline");
  UseHome("fresh", false);

  // A folder without PKG stops after the database; the database stays.
  const fs::path noPackages = sandbox.Root() / "no-packages";
  fs::create_directories(noPackages);
  fs::copy_file(folder / "MINSTALLERDATABASE.mbx", noPackages / "MINSTALLERDATABASE.mbx");
  EXPECT_EQ(Run({"/silent", "/offlineload", noPackages.string()}), kExitAnotherInstance);
  EXPECT_NE(Log().find("Folder with offline installation data is incomplete: missing folder with "
                       "packages. \nPlease download the offline installation data again."),
            std::string::npos)
      << Log();
  EXPECT_TRUE(fs::exists(DataFolder() / "MINSTALLERDATABASE.mbx"));
  fs::remove(DataFolder() / "MINSTALLERDATABASE.mbx");

  // Not what the names say: a database that is no tree, a package that does not
  // match its .md5, a link out of the folder. Nothing of them is taken.
  const fs::path bad = sandbox.Root() / "bad";
  fs::copy(folder, bad, fs::copy_options::recursive);
  std::ofstream(bad / "MINSTALLERDATABASE.mbx") << "not a tree";
  EXPECT_EQ(Run({"/silent", "/offlineload", bad.string()}), kExitAnotherInstance);
  EXPECT_FALSE(fs::exists(DataFolder() / "MINSTALLERDATABASE.mbx")) << Log();
  fs::copy_file(folder / "MINSTALLERDATABASE.mbx", bad / "MINSTALLERDATABASE.mbx",
                fs::copy_options::overwrite_existing);
  fs::path package;
  for (const auto& entry : fs::recursive_directory_iterator(bad / "PKG"))
    if (entry.path().extension() == ".pkgm") package = entry.path();
  std::fstream(package, std::ios::in | std::ios::out | std::ios::binary).put('\x7f');
  std::ofstream(sandbox.Root() / "secret.txt") << "secret";
  fs::create_symlink(sandbox.Root() / "secret.txt", bad / "PKG" / "secret.txt");
  EXPECT_EQ(Run({"/silent", "/offlineload", bad.string()}), kExitAnotherInstance);
  EXPECT_NE(Log().find("does not match its security info."), std::string::npos) << Log();
  EXPECT_FALSE(fs::exists(DataFolder() / "PKG"));
  EXPECT_FALSE(fs::exists(DataFolder() / "PKG.loading"));

  // A newer setup in the folder is run first, told to load the folder when it starts.
  const fs::path setup = folder / "Kestrix_99.0.0_setup.run";
  std::ofstream(setup) << "#!/bin/sh\necho \"$@\" > \"$HOME/setup-arguments\"\n";
  EXPECT_EQ(Run({"/silent", "/offlineload", folder.string()}), kExitNormal);
  for (int round = 0; round < 500 && !fs::exists(Home() / "setup-arguments"); ++round)
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  EXPECT_EQ(ReadFileBytes(Home() / "setup-arguments"), "/silent /run\n") << Log();
  EXPECT_NE(Log().find("A new version 99.0.0 of Kestrix is available. Updating now."), std::string::npos);
  EXPECT_NE(ReadFileBytes(DataFolder() / "SettingsPackage.xml").find(folder.string()), std::string::npos);
}

}  // namespace
}  // namespace kx
