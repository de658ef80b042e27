// Hostile packages: names that climb out of the destination, absolute names,
// and a symbolic link planted inside the destination are refused with a clear
// message before anything lands outside the destination.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "install/path_guard.h"
#include "install/walk_fixture.h"

namespace kx {
namespace {

namespace fs = std::filesystem;

bool NothingBelow(const fs::path& folder) {
  return !fs::exists(folder) || fs::is_empty(folder);
}

struct HostileCase {
  const char* dirName;  // null: the file sits at the root
  const char* fileName;
  const char* parentPath;  // `path` of the container, for an empty file name
};

class HostileNameTest : public WalkTest, public ::testing::WithParamInterface<HostileCase> {};

TEST_P(HostileNameTest, IsRefusedBeforeAnythingIsWritten) {
  const HostileCase& c = GetParam();
  fs::create_directories(Native("outside"));
  tree.SetAttribute("currentpath", Path("outside/inner/dest"));
  AddFile(tree, "first.txt", "harmless");  // would be written first if the check came late
  MXMLItem* parent = &tree;
  if (c.dirName) parent = &AddDir(tree, c.dirName);
  if (c.parentPath) parent->SetAttribute("path", c.parentPath);
  AddFile(*parent, c.fileName, "evil");
  MXMLItem& root = Build();
  std::string message = MessageOf([&] { Install(root); });
  EXPECT_NE(message.find("leads outside its destination folder"), std::string::npos) << message;
  EXPECT_TRUE(NothingBelow(Native("outside/inner/dest")));
  EXPECT_FALSE(fs::exists(Native("outside/evil.txt")));
  EXPECT_FALSE(fs::exists(Native("outside/inner/evil.txt")));
}

INSTANTIATE_TEST_SUITE_P(Cases, HostileNameTest,
                         ::testing::Values(HostileCase{nullptr, "../evil.txt", nullptr},
                                           HostileCase{nullptr, "../../evil.txt", nullptr},
                                           HostileCase{nullptr, "/abs/evil.txt", nullptr},
                                           HostileCase{"..", "evil.txt", nullptr},
                                           HostileCase{"sub", "x/../../../evil.txt", nullptr},
                                           HostileCase{"sub", "..\\..\\evil.txt", nullptr},
                                           HostileCase{nullptr, "", "somewhere/.."}));

TEST_F(WalkTest, PlantedLinkInsideTheDestinationIsRefused) {
  fs::create_directories(Native("outside"));
  fs::create_directories(DestNative(""));
  fs::create_directory_symlink(Native("outside"), DestNative("Presets"));
  AddFile(AddDir(tree, "Presets"), "evil.txt", "evil");
  MXMLItem& root = Build();
  std::string message = MessageOf([&] { Install(root); });
  EXPECT_NE(message.find("is reached through the symbolic link"), std::string::npos) << message;
  EXPECT_TRUE(NothingBelow(Native("outside")));
}

TEST_F(WalkTest, PlantedFileLinkIsNotWrittenThrough) {
  WriteFile("outside/victim.txt", "precious");
  fs::create_directories(DestNative(""));
  fs::create_symlink(Native("outside/victim.txt"), DestNative("a.txt"));
  AddFile(tree, "a.txt", "evil");
  MXMLItem& root = Build();
  MessageOf([&] { Install(root); });
  EXPECT_EQ(ReadFileBytes(Native("outside/victim.txt")), "precious");
}

TEST_F(WalkTest, UninstallDoesNotDeleteThroughAPlantedLink) {
  AddFile(AddDir(tree, "Data"), "a.bin", "aaa");
  MXMLItem& root = Build();
  Install(root);
  WriteFile("outside/a.bin", "precious");
  fs::remove_all(DestNative("Data"));
  fs::create_directory_symlink(Native("outside"), DestNative("Data"));
  InstallPackageTree(context, root, nullptr, &presets, nullptr, true, true);
  EXPECT_EQ(ReadFileBytes(Native("outside/a.bin")), "precious");
}

TEST(PathGuardTest, AcceptsPlainNamesAndTheDestinationItself) {
  for (const char* name : {"a", "a/b", "..a", "a..", "a/.../b", ".hidden", ""})
    CheckItemName(MString(name));
  CheckNoPlantedLink(MString("/tmp/x/"), MString("/tmp/x"));
  EXPECT_FALSE(
      MessageOf([] { CheckNoPlantedLink(MString("/tmp/x"), MString("/tmp/xy/z")); }).empty());
}

}  // namespace
}  // namespace kx
