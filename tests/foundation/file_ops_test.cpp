#include "foundation/files/file_ops.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <tuple>

#include "support/file_test_support.h"
#include "foundation/files/file_time.h"
#include "foundation/streams/memory_stream.h"
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
      {"d/", true, true, false}, {"d/file/", true, false, true}, {"d/dangling", false, false, false},
  };
  for (const Case& c : cases)
    EXPECT_EQ(std::tuple(MFile::Exists(Path(c.path)), MFile::IsDirectory(Path(c.path)),
                         MFile::IsFile(Path(c.path))),
              std::tuple(c.exists, c.directory, c.file))
        << c.path;
  EXPECT_TRUE(MFile::IsInstalledHere(Path("d")));
  EXPECT_FALSE(MFile::IsInstalledHere(Path("d/file")));
}

TEST_F(MFileTest, CreatePathOverExistingLevels) {
  fs::create_directories(Native("a/b"));
  MFile::CreatePath(Path("a/b/c/d"));
  EXPECT_TRUE(fs::is_directory(Native("a/b/c/d")));
  WriteFile("a/b/c/d/keep", "x");
  MFile::CreatePath(Path("a/b/c/d/"));  // exists: nothing happens
  EXPECT_EQ(ReadFileBytes(Native("a/b/c/d/keep")), "x");

  WriteFile("a/plain", "");
  EXPECT_EQ(MessageOf([&] { MFile::CreatePath(Path("a/plain/sub")); }),
            "Could not create path \"" + ToStd(Path("a/plain/sub")) + "\". Not a directory");
}

TEST_F(MFileTest, DeleteRemovesReadOnlyFilesAndNothingElse) {
  WriteFile("ro", "data");
  fs::permissions(Native("ro"), fs::perms::owner_read | fs::perms::group_read);
  MFile::Delete(Path("ro"));
  EXPECT_FALSE(fs::exists(Native("ro")));

  fs::create_directories(Native("folder"));
  EXPECT_EQ(MessageOf([&] { MFile::Delete(Path("folder")); }),
            "Could not delete file \"" + ToStd(Path("folder")) + "\". Is a directory");
  // A link goes, what it points at stays.
  WriteFile("target", "t");
  fs::create_symlink(Native("target"), Native("link"));
  MFile::Delete(Path("link"));
  EXPECT_EQ(ReadFileBytes(Native("target")), "t");
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
      {-62135596800, 0, {1, 1, 1, 0, 0, 0, 0}},
      {253402300799, 0, {9999, 12, 31, 23, 59, 59, 0}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.seconds);
    EXPECT_EQ(ToDateTime(platform::FileTime{c.seconds, c.nanoseconds}), c.time);
    platform::FileTime back = ToFileTime(c.time);
    EXPECT_EQ(std::pair(back.seconds, back.nanoseconds),
              std::pair(c.seconds, c.nanoseconds / 1000000 * 1000000));
  }
  EXPECT_EQ(MessageOf([] { ToDateTime(platform::FileTime{253402300800, 0}); }),
            "Could not set system times to 253402300800.");
  const MDateTime invalid[] = {{2001, 2, 29, 0, 0, 0, 0}, {2001, 1, 1, 0, 0, 0, 1000}, {10000, 1, 1, 0, 0, 0, 0}};
  for (const MDateTime& time : invalid)
    EXPECT_EQ(MessageOf([&] { ToFileTime(time); }),
              "Could not set system times to " + ToStd(time.ToString()) + ".");
}

TEST_F(MFileTest, TimesRoundTripAndTravelWithCopy) {
  WriteFile("f", "content");
  const MDateTime stamps[] = {
      {2021, 3, 4, 5, 6, 7, 890}, {1950, 6, 15, 12, 0, 0, 1}, {2100, 12, 31, 0, 0, 0, 500},
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

  // Copy carries the stamps to the nanosecond, which no MDateTime can hold; the
  // access time is the source's from before the copy read it.
  WriteFile("fresh", std::string(200000, 'x'));
  platform::FileStatus source, copy;
  ASSERT_EQ(platform::GetFileStatus(Native("fresh").string(), true, source), 0);
  MFile::Copy(Path("fresh"), Path("copy"));
  ASSERT_EQ(platform::GetFileStatus(Native("copy").string(), true, copy), 0);
  EXPECT_EQ(std::pair(copy.written, copy.accessed), std::pair(source.written, source.accessed));
  EXPECT_EQ(ReadFileBytes(Native("copy")), std::string(200000, 'x'));

  MDateTime time;
  EXPECT_EQ(MessageOf([&] { MFile::GetFileTime(Path("missing"), nullptr, nullptr, &time); }),
            "Cannot retrieve file time of  \"" + ToStd(Path("missing")) + "\".");
  EXPECT_EQ(MessageOf([&] { MFile::SetFileTime(Path("missing"), nullptr, nullptr, &time); }),
            "Cannot change file time for \"" + ToStd(Path("missing")) + "\".");
}

TEST_F(MFileTest, CopyNeverLosesOrHalfWritesData) {
  WriteFile("same", "precious");
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
  EXPECT_EQ(MessageOf([&] { MFile::RemoveDirectory(Path("tree")); }),
            "Could not remove directory \"" + ToStd(Path("tree")) + "\". Directory not empty");
  EXPECT_EQ(ReadFileBytes(Native("tree/sub/deeper/c")), "3");

  // Links inside the tree go; what they point at outside of it stays.
  WriteFile("outside/keep", "k");
  fs::create_directory_symlink(Native("outside"), Native("tree/sub/link"));
  MFile::RemoveTree(Path("tree"));
  EXPECT_FALSE(fs::exists(Native("tree")));
  EXPECT_EQ(ReadFileBytes(Native("outside/keep")), "k");
}

TEST_F(MFileTest, WholeFiles) {
  std::string bytes("a\0b\r\n\xff", 6);
  MFile::WriteAll(Path("w"), bytes);
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
