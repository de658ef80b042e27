#include "foundation/files/file_list.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "foundation/files/file_ops.h"
#include "support/file_test_support.h"

namespace kx {
namespace {

namespace fs = std::filesystem;

std::vector<std::string> Texts(const MArray<MString>& list) {
  std::vector<std::string> result;
  for (const MString& text : list) result.push_back(ToStd(text));
  return result;
}

class FileListTest : public FileTestBase {};

TEST_F(FileListTest, MissingFolderNamesThePath) {
  MArray<MString> result;
  std::string expected = "Could not access path \"" + ToStd(Path("missing")) +
                         "\" to get file list. No such file or directory";
  EXPECT_EQ(MessageOf([&] { MFile::GetFileList(Path("missing"), result); }), expected);
  EXPECT_EQ(MessageOf([&] { MFile::GetFileListRecursed(Path("missing"), result); }), expected);
}

TEST_F(FileListTest, SortedByNameWithFiltersAndFolders) {
  for (const char* name : {"b.txt", "A.MD5", "c.kitvaultpack", "a.md5", "d", "_x.mproduct"})
    WriteFile(std::string("dir/") + name, "12345");
  fs::create_directories(Native("dir/Folder"));
  fs::create_directories(Native("dir/.hidden"));

  struct Case {
    const char* extensions;
    bool withFolders;
    std::vector<std::string> expected;
  };
  const Case cases[] = {
      // letters without case first; a tie goes by the exact units
      {"",
       true,
       {".hidden", "A.MD5", "a.md5", "b.txt", "c.kitvaultpack", "d", "Folder", "_x.mproduct"}},
      {"md5;KITVAULTPACK;mproduct", false, {"A.MD5", "a.md5", "c.kitvaultpack", "_x.mproduct"}},
      {";txt;", true, {".hidden", "b.txt", "Folder"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.extensions) + (c.withFolders ? " with folders" : ""));
    MArray<MString> result;
    MFile::GetFileList(Path("dir"), result, MString(c.extensions), c.withFolders);
    EXPECT_EQ(Texts(result), c.expected);
  }

  MFileList list;
  list.Open(Path("dir"), MString("*.m?5"));
  std::vector<std::string> names;
  while (list.Next()) names.push_back(ToStd(list.GetName()));
  EXPECT_EQ(names, (std::vector<std::string>{"A.MD5", "a.md5"}));

  list.Open(MString(), MString("*"), true);
  ASSERT_TRUE(list.Next());
  EXPECT_EQ(ToStd(list.GetName()), "/");
}

TEST_F(FileListTest, RecursedListingOrderAndRelativePaths) {
  for (const char* path : {"root/b.md5", "root/A.txt", "root/sub1/x.md5", "root/sub1/deeper/y.md5",
                           "root/Sub0/z.txt", "root/sub1/w.txt"})
    WriteFile(path, "");
  // A link back up would make the walk endless if it were entered.
  fs::create_directory_symlink(Native("root"), Native("root/sub1/loop"));

  MArray<MString> all, md5;
  MFile::GetFileListRecursed(Path("root"), all);
  EXPECT_EQ(Texts(all), (std::vector<std::string>{"A.txt", "b.md5", "Sub0/z.txt", "sub1/w.txt",
                                                  "sub1/x.md5", "sub1/deeper/y.md5"}));
  MFile::GetFileListRecursed(Path("root"), md5, MString("MD5"));
  EXPECT_EQ(Texts(md5), (std::vector<std::string>{"b.md5", "sub1/x.md5", "sub1/deeper/y.md5"}));
}

TEST_F(FileListTest, UnreadableSubfolderIsSkipped) {
  if (IgnoresPermissions()) GTEST_SKIP() << "privileged process: every folder can be read";
  for (const char* path : {"root/a/one", "root/b/two", "root/c/three"}) WriteFile(path, "");
  fs::permissions(Native("root/b"), fs::perms::none);
  MArray<MString> result;
  MFile::GetFileListRecursed(Path("root"), result);
  fs::permissions(Native("root/b"), fs::perms::owner_all);
  EXPECT_EQ(Texts(result), (std::vector<std::string>{"a/one", "c/three"}));
}

TEST_F(FileListTest, NamesThatAreNotUTF8CanBeListedAndAddressed) {
  std::string name = "caf\xE9 back\\slash";
  WriteFile("odd/" + name, "content");
  MArray<MString> result;
  MFile::GetFileList(Path("odd"), result);
  ASSERT_EQ(result.Count(), 1);
  MString path = JoinPath(Path("odd"), result[0]);
  EXPECT_EQ(MFile::GetFileSize(path), 7);
}

}  // namespace
}  // namespace kx
