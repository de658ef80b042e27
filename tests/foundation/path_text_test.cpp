#include "foundation/files/path_text.h"

#include <gtest/gtest.h>

#include <string>

namespace kx {
namespace {

struct JoinCase {
  const char *base, *relative, *expected;
};

TEST(PathTextTest, JoinPath) {
  const JoinCase cases[] = {
      {"C:/a/b", "../c", "C:/a/c"},
      {"C:/a/", "/c", "C:/a/c"},
      {"", "x", "x"},
      {"\\", "x/y", "x/y"},
      {"a/b", "\\", "a/b"},
      {"/home/u/", "sub/file", "/home/u/sub/file"},
      // ".." chains eat one segment each
      {"/a/b/c", "../../x", "/a/x"},
      {"/a/b/c/", "../../../x", "/x"},
      {"/a/b", "../..", "/"},
      // base used up: no "/" left makes it empty, then the rest stays as it is
      {"a", "../x", "x"},
      {"a/b", "../../../x", "../x"},
      {"C:/", "../x", "x"},
      // a base that ends in a ".." segment is not shortened
      {"..", "../x", "../../x"},
      {"a/b/../", "../x", "a/b/../../x"},
      {"a/b..", "../x", "a/x"},
      // only leading steps count; "./" and inner ".." are the system's business
      {"/a/b", "./x", "/a/b/./x"},
      {"/a/b", "..x", "/a/b/..x"},
      {"/a/b", "/../c", "/a/c"},
  };
  for (const JoinCase& c : cases)
    EXPECT_EQ(ToStd(JoinPath(MString(c.base), MString(c.relative))), c.expected)
        << c.base << " + " << c.relative;
}

// Names from outside that are joined below a folder of ours: relative, and no
// ".." component with either separator.
TEST(PathTextTest, ContainedPaths) {
  for (const char* name : {"a", "a/b", "..a", "a..", "a/.../b", ".hidden", "", "a/./b", "a\\b"})
    EXPECT_TRUE(IsContainedPath(MString(name))) << name;
  for (const char* name : {"..", "../a", "a/..", "a/../../b", "/a", "\\a", "a\\..\\b", "a//../b"})
    EXPECT_FALSE(IsContainedPath(MString(name))) << name;
}

struct PartsCase {
  const char *path, *directory, *name, *extension, *changedToPng;
};

TEST(PathTextTest, PartsOfAPath) {
  const PartsCase cases[] = {
      {"/a/b/file.txt", "/a/b", "file.txt", "txt", "/a/b/file.png"},
      {"archive.tar.gz", "", "archive.tar.gz", "gz", "archive.tar.png"},
      {"/.hidden", "/", ".hidden", "hidden", "/.png"},
      {"a/b/", "a/b", "", "", "a/b/.png"},
      {"dir\\name.x", "", "dir\\name.x", "x", "dir\\name.png"},
  };
  for (const PartsCase& c : cases) {
    SCOPED_TRACE(c.path);
    MString path(c.path);
    EXPECT_EQ(ToStd(GetDirectory(path)), c.directory);
    EXPECT_EQ(ToStd(GetFileName(path)), c.name);
    EXPECT_EQ(ToStd(GetExtension(path)), c.extension);
    EXPECT_EQ(ToStd(ChangeExtension(path, MString("png"))), c.changedToPng);
  }
  EXPECT_EQ(ToStd(ChangeExtension(MString("a/x.txt"), MString())), "a/x");
}

TEST(PathTextTest, SystemFormKeepsEveryByteOfAName) {
  // "\" is a character of a name on Linux; a Latin-1 byte is not valid UTF-8.
  const std::string names[] = {"back\\slash", "caf\xC3\xA9", "raw\xE9\xFF byte"};
  for (const std::string& name : names) EXPECT_EQ(ToSystem(FromSystem(name)), name);
  EXPECT_EQ(FromSystem("caf\xC3\xA9")[3], MChar(0xE9));
}

}  // namespace
}  // namespace kx
