// Packages on real files: source trees from folders and tree files, extraction,
// content places and unsafe item paths. A folder built, read back and extracted
// under every flag set is PackToolTest.BuildAndExtractGiveBackTheSources (through
// the tool, byte for byte) and LargeLibraryLayoutTest (every layout's bytes).
#include "install/package_file.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "foundation/files/file_ops.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/xml/xml_item.h"
#include "install/package_extract.h"
#include "install/package_source.h"
#include "support/resource_test_support.h"

namespace kx {
namespace {

class PackageFileTest : public FileTestBase {
 protected:
  // Source files by relative path.
  std::map<std::string, std::string> sources = {
      {"readme.txt", TextBytes(200000, 1)},
      {"bin/plugin.so", RandomBytes(90000, 2)},
      {"bin/empty.dat", ""},
      {"Presets/Lead.presets", TextBytes(3000, 3)},
      {"a/b/c/d/deep.txt", TextBytes(70, 4)},
  };

  void SetUp() override {
    for (const auto& [name, content] : sources) WriteFile("src/" + name, content);
  }
};

// An item without content (a `delete`) has no place in the contents to open.
TEST_F(PackageFileTest, ContentNeedsItsPlace) {
  MMemoryStream bytes;
  MXMLItem tree(MString("package"));
  MXMLItem& deleted = tree.AddSubItem(MString("file"));
  deleted.SetAttribute("name", MVariant("old.txt"));
  deleted.SetAttribute("op", MVariant("delete"));
  MPackageFile::Write(tree, bytes, MPackageFile::kDefaultFlags, PackageSourceOpener());
  MPackageFile package;
  MXMLItem& item = *FileItemsOf(package.Attach(bytes)).at(0);
  EXPECT_FALSE(MPackageFile::HasContent(item));
  EXPECT_EQ(MessageOf([&] { package.OpenContent(item); }),
            "Could not find required attribute (filestart).");
}

TEST_F(PackageFileTest, FolderSourceTreeItems) {
  MXMLItem tree(MString("package"));
  AddFolderToSourceTree(tree, Path("src"));
  // Files before folders, folders in name order, depth first.
  std::vector<std::string> order;
  for (MXMLItem* item : FileItemsOf(tree)) order.push_back(ToStd(PackageItemPath(tree, *item)));
  EXPECT_EQ(order, (std::vector<std::string>{"readme.txt", "a/b/c/d/deep.txt", "bin/empty.dat", "bin/plugin.so",
                                             "Presets/Lead.presets"}));
  MXMLItem& folder = *tree.FindSubItem("dir");
  EXPECT_EQ(ToStd(folder.GetAttribute("op").AsString()), "create");
  MXMLItem& file = *FileItemsOf(tree)[0];
  EXPECT_EQ(ToStd(file.GetAttribute("op").AsString()), "update");
  EXPECT_EQ(ToStd(file.GetAttribute("srcpath").AsString()), ToStd(Path("src/readme.txt")));
  // Whole seconds only, in the walk's text form.
  MDateTime written;
  MFile::GetFileTime(Path("src/readme.txt"), nullptr, nullptr, &written);
  written.milliseconds = 0;
  EXPECT_EQ(ToStd(file.GetAttribute("time").AsString()), ToStd(written.ToString()));
  EXPECT_EQ(MessageOf([&] { AddFolderToSourceTree(tree, Path("nothing")); }),
            "Source folder \"" + ToStd(Path("nothing")) + "\" does not exist.");
}

TEST_F(PackageFileTest, TreeFileSourcesAreRelativeToTheTreeFile) {
  WriteFile("defs/tree.xml",
            "<package name=\"Lead\" mergepresets=\"0\">"
            "<dir name=\"Presets\" op=\"create\">"
            "<file name=\"Lead.presets\" op=\"update\" time=\"2024-01-02 03:04\" "
            "srcpath=\"../src/Presets/Lead.presets\"/>"
            "<file name=\"gone.txt\" op=\"delete\"/>"
            "<file name=\"deep.txt\" op=\"update\" path=\"../src/a/b/c/d/deep.txt\"/>"
            "</dir></package>");
  MXMLItem tree;
  LoadSourceTree(tree, Path("defs/tree.xml"));
  MMemoryStream bytes;
  MPackageFile::Write(tree, bytes, 5, PackageSourceOpener());

  MPackageFile package;
  MXMLItem& root = package.Attach(bytes);
  EXPECT_EQ(ToStd(root.GetAttribute("mergepresets").AsString()), "0");
  ASSERT_EQ(ExtractPackage(package, Path("out")), 2);
  EXPECT_EQ(ReadFileBytes(Native("out/Presets/Lead.presets")), sources["Presets/Lead.presets"]);
  // `path` names a source as `srcpath` does.
  EXPECT_EQ(ReadFileBytes(Native("out/Presets/deep.txt")), sources["a/b/c/d/deep.txt"]);
  MDateTime stamped;
  MFile::GetFileTime(Path("out/Presets/Lead.presets"), nullptr, nullptr, &stamped);
  // The item's time as the install walk reads it: missing seconds are 0.
  EXPECT_EQ(ToStd(stamped.ToString()), "2024-01-02 03:04:00.0");
}

TEST_F(PackageFileTest, ItemPathsStayInsideTheTarget) {
  struct Case {
    const char* tree;
    std::string path;  // or the failure
  };
  const Case cases[] = {
      {"<p><dir name=\"a\"><file name=\"b.txt\"/></dir></p>", "a/b.txt"},
      {"<p><dir name=\"Foo.vst3\" path=\"x/Foo.dll\"><file name=\"\"/></dir></p>", "Foo.vst3/Foo.dll"},
      {"<p><file path=\"lib/x.bin\"/></p>", "lib/x.bin"},
      {"<p><dir name=\"a//./b\"><file name=\"c\"/></dir></p>", "a/b/c"},
      {"<p><dir name=\"..\"><file name=\"evil\"/></dir></p>", "Item path \"..\" leaves the target folder."},
      {"<p><dir name=\"a\"><file name=\"../../evil\"/></dir></p>",
       "Item path \"a/../../evil\" leaves the target folder."},
      {"<p><file name=\"\"/></p>", "A file item has no name."},
  };
  for (const Case& c : cases) {
    MConstMemoryStream text(c.tree, static_cast<int64_t>(std::strlen(c.tree)));
    MXMLItem tree;
    tree.LoadXML(text);
    std::string path;
    MException failure =
        Failure([&] { path = ToStd(PackageItemPath(tree, *FileItemsOf(tree).at(0))); });
    EXPECT_EQ(path.empty() ? ToStd(failure.message) : path, c.path) << c.tree;
  }
}

// Inputs kept for the fuzz target open again here: a refusal is fine, a crash is not.
TEST(PackageFuzzInputsTest, KnownInputsOpenAndReadWithoutCrashing) {
  std::filesystem::path folder = std::filesystem::path(KESTRIX_SOURCE_DIR) / "fuzz/corpus/package_fuzz";
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    std::string bytes = ReadFileBytes(entry.path());
    MConstMemoryStream stream(bytes.data(), static_cast<int64_t>(bytes.size()));
    MPackageFile package;
    Failure([&] {
      for (MXMLItem* item : FileItemsOf(package.Attach(stream)))
        Failure([&] { ReadRest(*package.OpenContent(*item)); });
    });
    ++count;
  }
  EXPECT_GT(count, 0);
}

}  // namespace
}  // namespace kx
