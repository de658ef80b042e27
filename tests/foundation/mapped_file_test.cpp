#include "foundation/files/mapped_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <string>

#include "support/file_test_support.h"

namespace kx {
namespace {

class MappedFileTest : public FileTestBase {};

TEST_F(MappedFileTest, ViewShowsTheWholeFile) {
  std::string content(70000, '\0');
  for (size_t i = 0; i < content.size(); ++i) content[i] = static_cast<char>(i * 31 + 7);
  WriteFile("data", content);
  WriteFile("empty", "");
  MMappedFile file(Path("data"));
  ASSERT_EQ(file.Size(), static_cast<int64_t>(content.size()));
  EXPECT_EQ(std::memcmp(file.Data(), content.data(), content.size()), 0);

  file.Open(Path("empty"));
  EXPECT_EQ(file.Size(), 0);
}

// A program started with its standard input closed maps through descriptor 0,
// which must be given back like any other.
TEST_F(MappedFileTest, DescriptorZeroIsClosedToo) {
  WriteFile("data", "x");
  int saved = ::dup(0);
  ::close(0);
  { MMappedFile file(Path("data")); }
  bool leaked = ::fcntl(0, F_GETFD) != -1;
  ::dup2(saved, 0);
  ::close(saved);
  EXPECT_FALSE(leaked);
}

TEST_F(MappedFileTest, FailuresNameTheFileAndTheCause) {
  std::filesystem::create_directories(Native("folder"));
  MMappedFile file;
  EXPECT_EQ(MessageOf([&] { file.Open(Path("missing")); }),
            "Could not open file " + ToStd(Path("missing")) +
                " for mapping. Error: No such file or directory");
  EXPECT_EQ(MessageOf([&] { file.Open(Path("folder")); }),
            "Could not create file mapping for " + ToStd(Path("folder")) + ". Error: Is a directory");
}

}  // namespace
}  // namespace kx
