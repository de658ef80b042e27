#include "foundation/files/data_paths.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <string>

#include "foundation/core/exception.h"
#include "support/sandbox.h"

namespace kx {
namespace {

namespace fs = std::filesystem;

class DataPathsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ForgetFolderTable();
    const char* temp = ::getenv("TMPDIR");
    savedTemp_ = temp ? std::optional<std::string>(temp) : std::nullopt;
  }
  // The sandbox restores the XDG variables; TMPDIR is ours to restore.
  void TearDown() override {
    ForgetFolderTable();
    if (savedTemp_)
      ::setenv("TMPDIR", savedTemp_->c_str(), 1);
    else
      ::unsetenv("TMPDIR");
  }

  static void Write(const fs::path& path, const std::string& text) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << text;
  }

  MTestSandbox sandbox;

 private:
  std::optional<std::string> savedTemp_;
};

struct TableCase {
  const char* name;
  bool xdgVariables;  // XDG_CONFIG_HOME, XDG_DATA_HOME and TMPDIR point outside HOME
  bool userDirs;      // a user-dirs file moves some of the user's folders
};

class FolderTableTest : public DataPathsTest, public ::testing::WithParamInterface<TableCase> {};

TEST_P(FolderTableTest, MapsEveryEntryToItsNearestUserFolder) {
  const TableCase& c = GetParam();
  std::string home = sandbox.Home().string();
  std::string config = home + "/.config", data = home + "/.local/share", temp = "/tmp";
  if (c.xdgVariables) {
    config = (sandbox.Root() / "cfg").string();
    data = (sandbox.Root() / "xdata").string();
    temp = (sandbox.Root() / "tmp").string();
    ::setenv("XDG_CONFIG_HOME", (config + "/").c_str(), 1);  // a trailing "/" goes
    ::setenv("XDG_DATA_HOME", data.c_str(), 1);
    ::setenv("TMPDIR", temp.c_str(), 1);
  } else {
    for (const char* name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "TMPDIR"}) ::unsetenv(name);
  }
  std::map<int, std::string> user = {
      {kFolderUserDocuments, home + "/Documents"}, {kFolderUserDesktop, home + "/Desktop"},
      {kFolderDownload, home + "/Downloads"},      {kFolderMyMusic, home + "/Music"},
      {kFolderMyVideo, home + "/Videos"},          {kFolderMyPictures, home + "/Pictures"}};
  if (c.userDirs) {
    Write(fs::path(config) / "user-dirs.dirs",
          "# written by the desktop\n"
          "XDG_DESKTOP_DIR=\"$HOME\"\n"
          "  XDG_DOCUMENTS_DIR = \"$HOME/Papers\"\n"
          "XDG_DOWNLOAD_DIR=\"/srv/incoming/\"\n"
          "XDG_MUSIC_DIR=\"Music elsewhere\"\n"  // relative: not valid, the default stays
          "#XDG_VIDEOS_DIR=\"/commented/out\"\n"
          "XDG_PICTURES_DIR=\"$HOME/My \\\"Pics\\\"\"\n"
          "XDG_PICTURES_DIR_OLD=\"/not/this/one\"\n");
    user[kFolderUserDesktop] = home;
    user[kFolderUserDocuments] = home + "/Papers";
    user[kFolderDownload] = "/srv/incoming";
    user[kFolderMyPictures] = home + "/My \"Pics\"";
  }

  const std::map<int, std::string> expected = {
      {kFolderData, data + "/Vorlund"},
      {kFolderUserData, config + "/Vorlund"},
      {kFolderUser, home},
      {kFolderDocuments, user[kFolderUserDocuments]},
      {kFolderUserDocuments, user[kFolderUserDocuments]},
      {kFolderProgramFiles, home + "/.local/lib"},
      {kFolderComponents, home + "/.local/lib"},
      {kFolderStartMenu, data + "/applications"},
      {kFolderUserStartMenu, data + "/applications"},
      {kFolderStartMenuPrograms, data + "/applications"},
      {kFolderUserStartMenuPrograms, data + "/applications"},
      {kFolderDesktop, user[kFolderUserDesktop]},
      {kFolderUserDesktop, user[kFolderUserDesktop]},
      {kFolderSystem, "/usr"},
      {kFolderLib, data + "/Vorlund/LIB"},
      {kFolderFonts, data + "/fonts"},
      {kFolderDownload, user[kFolderDownload]},
      {kFolderMyMusic, user[kFolderMyMusic]},
      {kFolderMyVideo, user[kFolderMyVideo]},
      {kFolderMyPictures, user[kFolderMyPictures]},
      {kFolderTemp, temp},
      {kFolderLogs, config + "/Vorlund/!temp"},
  };
  ASSERT_EQ(expected.size(), static_cast<size_t>(kFolderCount));
  for (const auto& [index, path] : expected)
    EXPECT_EQ(ToStd(GetFolder(index)), path)
        << "entry " << index << " (" << FolderName(index) << ")";
  EXPECT_EQ(ToStd(GetVstPluginsFolder()), home + "/.vst");

  // Only the logs folder is made, and again whenever it has gone.
  EXPECT_FALSE(fs::exists(data + "/Vorlund"));
  EXPECT_TRUE(fs::is_directory(config + "/Vorlund/!temp"));
  fs::remove(config + "/Vorlund/!temp");
  GetFolder(kFolderLogs);
  EXPECT_TRUE(fs::is_directory(config + "/Vorlund/!temp"));
}

INSTANTIATE_TEST_SUITE_P(Environments, FolderTableTest,
                         ::testing::Values(TableCase{"Defaults", false, false},
                                           TableCase{"XdgVariables", true, false},
                                           TableCase{"UserDirsFile", false, true},
                                           TableCase{"XdgVariablesAndUserDirsFile", true, true}),
                         [](const auto& info) { return std::string(info.param.name); });

// A later change of the environment is seen only after the table was dropped.
TEST_F(DataPathsTest, TableIsBuiltOnce) {
  MString before = GetFolder(kFolderUserData);
  ::setenv("XDG_CONFIG_HOME", (sandbox.Root() / "moved").c_str(), 1);
  EXPECT_EQ(GetFolder(kFolderUserData), before);
  ForgetFolderTable();
  EXPECT_EQ(ToStd(GetFolder(kFolderUserData)), (sandbox.Root() / "moved" / "Vorlund").string());
}

TEST_F(DataPathsTest, UserFileIsCopiedFromTheGlobalFolderOnlyOnce) {
  fs::path global = sandbox.DataHome() / "Vorlund" / "Kestrix" / "GPU.xml";
  fs::path user = sandbox.ConfigHome() / "Vorlund" / "Kestrix" / "GPU.xml";
  Write(global, "<gpu version=\"1\"/>");

  EXPECT_FALSE(fs::exists(user));
  EXPECT_EQ(ToStd(GetDataPath_File_User("Kestrix", "GPU.xml", true)), user.string());
  EXPECT_EQ(ReadFileBytes(user), "<gpu version=\"1\"/>");

  // The user's own changes survive a newer global file.
  Write(user, "<gpu version=\"mine\"/>");
  Write(global, "<gpu version=\"2\"/>");
  GetDataPath_File_User("Kestrix", "GPU.xml", true);
  EXPECT_EQ(ReadFileBytes(user), "<gpu version=\"mine\"/>");

  // No global file: nothing to copy, and no failure.
  GetDataPath_File_User("Kestrix", "Missing.xml", true);
  EXPECT_FALSE(fs::exists(sandbox.ConfigHome() / "Vorlund" / "Kestrix" / "Missing.xml"));
}

}  // namespace
}  // namespace kx
