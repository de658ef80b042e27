// Hostile packages: names that climb out of the destination and absolute names
// are refused with a clear message before anything is written.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "install/walk_fixture.h"

namespace kx {
namespace {

namespace fs = std::filesystem;

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
  EXPECT_TRUE(!fs::exists(Native("outside/inner/dest")) ||
              fs::is_empty(Native("outside/inner/dest")));
  EXPECT_FALSE(fs::exists(Native("outside/evil.txt")));
  EXPECT_FALSE(fs::exists(Native("outside/inner/evil.txt")));
}

INSTANTIATE_TEST_SUITE_P(Cases, HostileNameTest,
                         ::testing::ValuesIn(std::vector<HostileCase>{
                             {nullptr, "../evil.txt", nullptr},
                             {nullptr, "../../evil.txt", nullptr},
                             {nullptr, "/abs/evil.txt", nullptr},
                             {"..", "evil.txt", nullptr},
                             {"sub", "x/../../../evil.txt", nullptr},
                             {"sub", "..\\..\\evil.txt", nullptr},
                             {nullptr, "", "somewhere/.."}}));

}  // namespace
}  // namespace kx
