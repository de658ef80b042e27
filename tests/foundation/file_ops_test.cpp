// MFile's operations on real files in a temporary folder.
#include "foundation/file_ops.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "file_test_support.h"
#include "foundation/file_time.h"
#include "foundation/memory_stream.h"
#include "foundation/platform/file_system.h"

namespace kx {
namespace {

namespace fs = std::filesystem;

class MFileTest : public FileTestBase {};

TEST_F(MFileTest, TestsOfExistence) {
  WriteFile("d/file", "abc");
  WriteFile("d/setup.state", "");
  fs::create_symlink(Native("nowhere"), Native("d/dangling"));
  struct Case {
    std::string path;
    bool exists, directory, file;
  };
  const Case cases[] = {
      {"d", true, true, false},          {"d/", true, true, false},
      {"d/file", true, false, true},     {"d/file/", true, false, true},
      {"missing", false, false, false},  {"d/dangling", false, false, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.path);
    EXPECT_EQ(MFile::Exists(Path(c.path)), c.exists);
    EXPECT_EQ(MFile::IsDirectory(Path(c.path)), c.directory);
    EXPECT_EQ(MFile::IsFile(Path(c.path)), c.file);
  }
  EXPECT_TRUE(MFile::IsDirectory(MString("/")));
  EXPECT_TRUE(MFile::IsInstalledHere(Path("d")));
  EXPECT_FALSE(MFile::IsInstalledHere(Path("d/file")));
  EXPECT_EQ(MFile::GetFileSize(Path("d/file")), 3);
  EXPECT_EQ(MFile::GetFileSize(Path("d")), -1);
}

TEST_F(MFileTest, CreatePathOverExistingLevels) {
  fs::create_directories(Native("a/b"));
  MFile::CreatePath(Path("a/b/c/d"));
  EXPECT_TRUE(fs::is_directory(Native("a/b/c/d")));
  WriteFile("a/b/c/d/keep", "x");
  MFile::CreatePath(Path("a/b/c/d"));  // exists: nothing happens
  MFile::CreatePath(Path("a/b/c/d/"));
  EXPECT_EQ(ReadFileBytes(Native("a/b/c/d/keep")), "x");

  WriteFile("a/plain", "");
  EXPECT_EQ(MessageOf([&] { MFile::CreatePath(Path("a/plain/sub")); }),
            "Could not create path \"" + ToStd(Path("a/plain/sub")) + "\". Not a directory");
  EXPECT_EQ(MessageOf([&] { MFile::CreatePath(Path("a/plain")); }),
            "Could not create path \"" + ToStd(Path("a/plain")) + "\". File exists");
  EXPECT_EQ(MessageOf([&] { MFile::CreateDirectory(Path("x/y")); }),
            "Could not create path \"" + ToStd(Path("x/y")) + "\". No such file or directory");
}

TEST_F(MFileTest, DeleteRemovesReadOnlyFilesAndNothingElse) {
  WriteFile("ro", "data");
  fs::permissions(Native("ro"), fs::perms::owner_read | fs::perms::group_read);
  MFile::Delete(Path("ro"));
  EXPECT_FALSE(fs::exists(Native("ro")));

  fs::create_directories(Native("folder"));
  EXPECT_EQ(MessageOf([&] { MFile::Delete(Path("folder")); }),
            "Could not delete file \"" + ToStd(Path("folder")) + "\". Is a directory");
  EXPECT_TRUE(fs::is_directory(Native("folder")));
  EXPECT_EQ(MessageOf([&] { MFile::Delete(Path("missing")); }),
            "Could not delete file \"" + ToStd(Path("missing")) + "\". No such file or directory");

  // A link goes, what it points at stays.
  WriteFile("target", "t");
  fs::create_symlink(Native("target"), Native("link"));
  MFile::Delete(Path("link"));
  EXPECT_EQ(ReadFileBytes(Native("target")), "t");
}

TEST_F(MFileTest, DeleteInALockedFolderFailsAndKeepsTheFile) {
  if (IgnoresPermissions()) GTEST_SKIP() << "privileged process: a locked folder does not hold";
  WriteFile("locked/file", "x");
  fs::permissions(Native("locked"), fs::perms::owner_read | fs::perms::owner_exec);
  std::string message = MessageOf([&] { MFile::Delete(Path("locked/file")); });
  fs::permissions(Native("locked"), fs::perms::owner_all);
  EXPECT_EQ(message, "Could not delete file \"" + ToStd(Path("locked/file")) + "\". Permission denied");
  EXPECT_EQ(ReadFileBytes(Native("locked/file")), "x");
}

TEST_F(MFileTest, RenameNeverReplaces) {
  // The same name makes no system call, so even a missing file is no failure.
  MFile::Rename(Path("missing"), Path("missing"));
  WriteFile("a", "A");
  WriteFile("b", "B");
  EXPECT_EQ(MessageOf([&] { MFile::Rename(Path("a"), Path("b")); }),
            "Could not rename file \"" + ToStd(Path("a")) + "\" to \"" + ToStd(Path("b")) +
                "\". File exists");
  EXPECT_EQ(ReadFileBytes(Native("a")), "A");
  EXPECT_EQ(ReadFileBytes(Native("b")), "B");
  MFile::Rename(Path("a"), Path("c"));
  EXPECT_FALSE(fs::exists(Native("a")));
  EXPECT_EQ(ReadFileBytes(Native("c")), "A");
  MFile::Move(Path("c"), Path("d"));
  EXPECT_EQ(ReadFileBytes(Native("d")), "A");
}

// /dev/shm is a memory file system on Linux: against the sandbox on the work
// disk it makes a move between two file systems.
TEST_F(MFileTest, MoveBetweenFileSystems) {
  platform::FileStatus shm, work;
  if (platform::GetFileStatus("/dev/shm", true, shm) != 0 ||
      shm.kind != platform::EntryKind::kDirectory)
    GTEST_SKIP() << "no /dev/shm on this machine";
  ASSERT_EQ(platform::GetFileStatus(sandbox.Root().string(), true, work), 0);
  if (shm.device == work.device) GTEST_SKIP() << "/dev/shm lies on the same file system as " << sandbox.Root();

  std::string content(300000, '\0');
  for (size_t i = 0; i < content.size(); ++i) content[i] = static_cast<char>(i * 7 + i / 251);
  WriteFile("source.bin", content);
  MDateTime stamp{2019, 7, 1, 12, 30, 15, 250};
  MFile::SetFileTime(Path("source.bin"), nullptr, &stamp, &stamp);

  std::string away = (fs::path("/dev/shm") / sandbox.Root().filename()).string() + "-moved.bin";
  MString awayPath = FromSystem(away);
  struct Cleanup {
    std::string path;
    ~Cleanup() { fs::remove(path); }
  } cleanup{away};

  MFile::Move(Path("source.bin"), awayPath);
  EXPECT_FALSE(fs::exists(Native("source.bin")));
  EXPECT_EQ(ReadFileBytes(away), content);
  MDateTime written;
  MFile::GetFileTime(awayPath, nullptr, nullptr, &written);
  EXPECT_EQ(written, stamp);

  // Back onto an existing file: refused, both stay as they are.
  WriteFile("occupied", "old");
  EXPECT_EQ(MessageOf([&] { MFile::Move(awayPath, Path("occupied")); }),
            "Could not rename file \"" + away + "\" to \"" + ToStd(Path("occupied")) +
                "\". File exists");
  EXPECT_EQ(ReadFileBytes(Native("occupied")), "old");
  EXPECT_EQ(ReadFileBytes(away), content);

  MFile::Move(awayPath, Path("back.bin"));
  EXPECT_EQ(ReadFileBytes(Native("back.bin")), content);
  EXPECT_FALSE(fs::exists(away));

  // A folder does not move between file systems.
  fs::create_directories(Native("folder"));
  std::string message = MessageOf([&] { MFile::Move(Path("folder"), awayPath); });
  EXPECT_NE(message.find("Invalid cross-device link"), std::string::npos) << message;
  EXPECT_TRUE(fs::is_directory(Native("folder")));
}

TEST(FileTimeTest, ConversionOfSecondsSince1970) {
  struct Case {
    int64_t seconds;
    int32_t nanoseconds;
    MDateTime time;
  };
  const Case cases[] = {
      {0, 0, {1970, 1, 1, 0, 0, 0, 0}},
      {951782400, 999999999, {2000, 2, 29, 0, 0, 0, 999}},
      {-1, 500000000, {1969, 12, 31, 23, 59, 59, 500}},
      {2147483648, 0, {2038, 1, 19, 3, 14, 8, 0}},
      {-62135596800, 0, {1, 1, 1, 0, 0, 0, 0}},
      {253402300799, 0, {9999, 12, 31, 23, 59, 59, 0}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.seconds);
    EXPECT_EQ(ToDateTime(platform::FileTime{c.seconds, c.nanoseconds}), c.time);
    platform::FileTime back = ToFileTime(c.time);
    EXPECT_EQ(back.seconds, c.seconds);
    EXPECT_EQ(back.nanoseconds, c.nanoseconds / 1000000 * 1000000);
  }
  EXPECT_EQ(MessageOf([] { ToDateTime(platform::FileTime{253402300800, 0}); }),
            "Could not set system times to 253402300800.");
  EXPECT_EQ(MessageOf([] { ToDateTime(platform::FileTime{-62135596801, 0}); }),
            "Could not set system times to -62135596801.");
  const MDateTime invalid[] = {
      {2001, 2, 29, 0, 0, 0, 0}, {2001, 13, 1, 0, 0, 0, 0}, {2001, 1, 0, 0, 0, 0, 0},
      {2001, 1, 1, 24, 0, 0, 0}, {2001, 1, 1, 0, 60, 0, 0}, {2001, 1, 1, 0, 0, 0, 1000},
      {0, 1, 1, 0, 0, 0, 0},     {10000, 1, 1, 0, 0, 0, 0},
  };
  for (const MDateTime& time : invalid)
    EXPECT_EQ(MessageOf([&] { ToFileTime(time); }),
              "Could not set system times to " + ToStd(time.ToString()) + ".");
}

TEST_F(MFileTest, TimesRoundTripAndTravelWithCopy) {
  WriteFile("f", "content");
  const MDateTime stamps[] = {
      {2021, 3, 4, 5, 6, 7, 890}, {1970, 1, 1, 0, 0, 0, 0},     {1950, 6, 15, 12, 0, 0, 1},
      {2000, 2, 29, 23, 59, 59, 999}, {2038, 1, 19, 3, 14, 8, 0}, {2100, 12, 31, 0, 0, 0, 500},
  };
  for (const MDateTime& stamp : stamps) {
    SCOPED_TRACE(ToStd(stamp.ToString()));
    MDateTime accessed{2010, 1, 2, 3, 4, 5, 6};
    MFile::SetFileTime(Path("f"), nullptr, &accessed, &stamp);
    MDateTime readWritten, readAccessed;
    MFile::GetFileTime(Path("f"), nullptr, &readAccessed, &readWritten);
    EXPECT_EQ(readWritten, stamp);
    EXPECT_EQ(readAccessed, accessed);
  }

  // A bad time changes nothing.
  MDateTime before;
  MFile::GetFileTime(Path("f"), nullptr, nullptr, &before);
  MDateTime bad{2021, 2, 30, 0, 0, 0, 0};
  EXPECT_EQ(MessageOf([&] { MFile::SetFileTime(Path("f"), nullptr, nullptr, &bad); }),
            "Could not set system times to 2021-02-30 00:00:00.0.");
  MDateTime after;
  MFile::GetFileTime(Path("f"), nullptr, nullptr, &after);
  EXPECT_EQ(after, before);

  // Copy carries the stamps to the nanosecond: the file system's own fresh stamp
  // has nanoseconds that no MDateTime can hold.
  // The access time is the source's as it was before the copy read it.
  WriteFile("fresh", std::string(200000, 'x'));
  platform::FileStatus source, copy;
  ASSERT_EQ(platform::GetFileStatus(Native("fresh").string(), true, source), 0);
  MFile::Copy(Path("fresh"), Path("copy"));
  ASSERT_EQ(platform::GetFileStatus(Native("copy").string(), true, copy), 0);
  EXPECT_EQ(copy.written, source.written);
  EXPECT_EQ(copy.accessed, source.accessed);
  MDateTime sourceWritten, copyWritten;
  MFile::GetFileTime(Path("fresh"), nullptr, nullptr, &sourceWritten);
  MFile::GetFileTime(Path("copy"), nullptr, nullptr, &copyWritten);
  EXPECT_EQ(copyWritten, sourceWritten);
  EXPECT_EQ(ReadFileBytes(Native("copy")), std::string(200000, 'x'));

  EXPECT_EQ(MessageOf([&] { MFile::GetFileTime(Path("missing"), nullptr, nullptr, &after); }),
            "Cannot retrieve file time of  \"" + ToStd(Path("missing")) + "\".");
  EXPECT_EQ(MessageOf([&] { MFile::SetFileTime(Path("missing"), nullptr, nullptr, &before); }),
            "Cannot change file time for \"" + ToStd(Path("missing")) + "\".");
}

TEST_F(MFileTest, CopyNeverLosesOrHalfWritesData) {
  WriteFile("same", "precious");
  MFile::Copy(Path("same"), Path("same"));
  MFile::Copy(Path("same"), Path("./same"));
  EXPECT_EQ(ReadFileBytes(Native("same")), "precious");

  // A source that cannot be read leaves no target behind.
  fs::create_directories(Native("folder"));
  MessageOf([&] { MFile::Copy(Path("folder"), Path("target")); });
  EXPECT_FALSE(fs::exists(Native("target")));
  WriteFile("target", "old");
  MessageOf([&] { MFile::Copy(Path("missing"), Path("target")); });
  EXPECT_EQ(ReadFileBytes(Native("target")), "old");
}

TEST_F(MFileTest, RemoveDirectoryLeavesNonEmptyFoldersAndRemoveTreeEmptiesThem) {
  WriteFile("tree/a", "1");
  WriteFile("tree/sub/b", "2");
  WriteFile("tree/sub/deeper/c", "3");
  fs::permissions(Native("tree/sub/b"), fs::perms::owner_read);
  EXPECT_EQ(MessageOf([&] { MFile::RemoveDirectory(Path("tree")); }),
            "Could not remove directory \"" + ToStd(Path("tree")) + "\". Directory not empty");
  EXPECT_EQ(ReadFileBytes(Native("tree/sub/deeper/c")), "3");

  // Links inside the tree go; what they point at outside of it stays.
  WriteFile("outside/keep", "k");
  fs::create_directory_symlink(Native("outside"), Native("tree/sub/link"));
  MFile::RemoveTree(Path("tree"));
  EXPECT_FALSE(fs::exists(Native("tree")));
  EXPECT_EQ(ReadFileBytes(Native("outside/keep")), "k");

  // A link given as the tree itself is removed as a link.
  fs::create_directory_symlink(Native("outside"), Native("alias"));
  MFile::RemoveTree(Path("alias"));
  EXPECT_FALSE(fs::is_symlink(Native("alias")));
  EXPECT_EQ(ReadFileBytes(Native("outside/keep")), "k");

  fs::create_directories(Native("empty"));
  MFile::RemoveDirectory(Path("empty"));
  EXPECT_FALSE(fs::exists(Native("empty")));
}

TEST_F(MFileTest, WholeFiles) {
  std::string bytes("a\0b\r\n\xff", 6);
  MFile::WriteAll(Path("w"), bytes);
  EXPECT_EQ(ReadFileBytes(Native("w")), bytes);
  MFile::WriteAll(Path("w"), std::string_view("shorter"));
  EXPECT_EQ(ReadFileBytes(Native("w")), "shorter");

  MMemoryStream memory;
  memory.Write("head:", 5);
  MFile::ReadAll(Path("w"), memory);
  EXPECT_EQ(memory.View(), "head:shorter");

  std::string message = MessageOf([&] { MFile::WriteAll(Path("no/such/w"), std::string_view("x")); });
  EXPECT_NE(message.find(ToStd(Path("no/such/w"))), std::string::npos) << message;
  EXPECT_FALSE(fs::exists(Native("no")));
}

TEST(SoftwareInstallationTest, NothingIsFoundWithoutARegistry) {
  EXPECT_EQ(MessageOf([] { MFile::GetSoftwareInstallationPath(MString("Vorlund Lattix")); }),
            "Software installation has not been found. Please use the newest installer.");
}

}  // namespace
}  // namespace kx
