#include "foundation/streams/file_stream.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>

#include "foundation/core/exception.h"
#include "foundation/core/log.h"
#include "support/failure_capture.h"
#include "support/file_test_support.h"

namespace kx {
namespace {

namespace fs = std::filesystem;

MString PathText(const fs::path& path) { return MString::FromUTF8(path.string()); }

class FileStreamTest : public FileTestBase {};

TEST_F(FileStreamTest, OpeningFailuresNameTheFileAndTheSystemsReason) {
  fs::create_directories(Native("folder"));
  WriteFile("plain", "x");
  struct Case {
    fs::path path;
    MFileStream::Mode mode;
    std::string message;
  } cases[] = {
      {Native("missing.bin"), MFileStream::kModeRead,
       "File \"{0}\" could not be opened. Make sure that it exists.\nError: \"No such file or "
       "directory\"."},
      // A folder that cannot take the file: its parent is a plain file.
      {Native("plain") / "new.bin", MFileStream::kModeCreate,
       "File \"{0}\" could not be created. Make sure there is no write-protected file already "
       "existing.\nError: \"Not a directory\"."},
      // A folder is no file to read, although the C library opens it.
      {Native("folder"), MFileStream::kModeRead,
       "File \"{0}\" could not be opened. Make sure that it exists.\nError: \"Is a directory\"."},
      {Native("folder"), MFileStream::kModeCreate,
       "File \"{0}\" could not be created. Make sure there is no write-protected file already "
       "existing.\nError: \"Is a directory\"."},
  };
  for (const auto& c : cases) {
    std::string expected = c.message;
    expected.replace(expected.find("{0}"), 3, c.path.string());
    ExpectFailure([&] { MFileStream stream(PathText(c.path), c.mode); }, expected, 257);
  }
  EXPECT_TRUE(fs::is_directory(Native("folder")));  // creation never removes a folder
  MException empty = Failure([] { MFileStream stream(MString(""), MFileStream::kModeRead); });
  EXPECT_EQ(ToStd(empty.message), "Empty filename cannot be created. This is an internal error.");
}

TEST_F(FileStreamTest, ClosedStreamSaysItIsNotInitialized) {
  MFileStream stream;
  char byte = 0;
  std::function<void()> calls[] = {
      [&] { stream.Read(&byte, 1); }, [&] { stream.Write(&byte, 1); }, [&] { stream.Seek(0, kSeekBegin); },
      [&] { stream.GetSize(); },
  };
  for (const auto& call : calls) ExpectFailure(call, "File stream is not initialized.", 258);
  EXPECT_FALSE(stream.IsOpen());
}

TEST_F(FileStreamTest, CreateReplacesAndReadsBackWhatWasWritten) {
  WriteFile("data.bin", std::string(5000, 'o'));
  fs::permissions(Native("data.bin"), fs::perms::owner_read);  // a read-only old file goes too
  {
    MFileStream stream(Path("data.bin"), MFileStream::kModeCreate);
    EXPECT_EQ(stream.GetSizeAtOpening(), 0);
    stream.Write("abcdef", 6);
    stream.Seek(2, kSeekBegin);
    char two[2];
    EXPECT_EQ(stream.Read(two, 2), 2);  // reading right after writing on one FILE
    EXPECT_EQ(std::string(two, 2), "cd");
    stream.Write("XY", 2);              // and writing right after reading
    EXPECT_EQ(stream.GetSize(), 6);
    stream.Seek(3, kSeekBegin);
    stream.Truncate();
    EXPECT_EQ(stream.GetSize(), 3);
    stream.Close();
  }
  EXPECT_EQ(ReadFileBytes(Native("data.bin")), "abc");
  MFileStream reader(Path("data.bin"), MFileStream::kModeRead);
  char buffer[10];
  EXPECT_EQ(reader.Read(buffer, 10), 3);  // short at the end, no failure
  ExpectFailure([&] { reader.Write("z", 1); },
                "Error writing to file \"" + Native("data.bin").string() +
                    "\", error \"Bad file descriptor\".",
                256);
}

TEST_F(FileStreamTest, EndIsTiedToTheSizeAtOpening) {
  WriteFile("grow.bin", "1234");
  MFileStream reader(Path("grow.bin"), MFileStream::kModeRead);
  MFileStream writer(Path("grow.bin"), MFileStream::kModeUpdate);
  writer.Seek(0, kSeekEnd);
  writer.Write("5678", 4);
  writer.Flush();
  char buffer[4];
  reader.ReadExact(buffer, 4);
  EXPECT_TRUE(reader.IsEnd());            // the new bytes are there ...
  EXPECT_EQ(reader.GetSize(), 8);         // ... and readable,
  EXPECT_EQ(reader.GetSizeAtOpening(), 4);  // but the end stays where it was
  EXPECT_EQ(reader.Read(buffer, 4), 4);
}

TEST_F(FileStreamTest, SeekBeforeTheStartFails) {
  WriteFile("s.bin", "abc");
  MFileStream stream(Path("s.bin"), MFileStream::kModeRead);
  ExpectFailure(
      [&] { stream.Seek(-10, kSeekBegin); },
      "Error performing seek \"" + Native("s.bin").string() + "\", error \"Invalid argument\".",
      256);
  EXPECT_EQ(stream.Seek(1, kSeekEnd), 4);  // past the end is allowed, as in the C library
}

TEST_F(FileStreamTest, LogIsReplacedEachRunAndWritesCrLfLines) {
  fs::path log = Native("log.txt");
  WriteFile("log.txt", "old run\r\n");
  MLog::Line(MString("before opening"));  // silently skipped
  MLog::Open(PathText(log));
  EXPECT_TRUE(MLog::IsOpen());
  EXPECT_EQ(ReadFileBytes(log), "");
  MLog::Line(MString("first"));
  MLog::Line(MString(u"\nphase \u00e4"));
  EXPECT_EQ(ReadFileBytes(log), "first\r\n\nphase \xc3\xa4\r\n");  // flushed at once
  MLog::Close();
  MLog::Line(MString("after closing"));
  EXPECT_EQ(ReadFileBytes(log), "first\r\n\nphase \xc3\xa4\r\n");
  EXPECT_THROW(MLog::Open(PathText(Native("nowhere") / "log.txt")), MException);
  EXPECT_FALSE(MLog::IsOpen());
}

}  // namespace
}  // namespace kx
