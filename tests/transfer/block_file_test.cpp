// Unbuffered appends on a real file system, and on tmpfs, which has no unbuffered
// I/O: whole aligned blocks, a short last block and an unaligned buffer all land.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>

#include "download_fixture.h"
#include "transfer/block_file.h"

namespace kx {
namespace {

TEST(MBlockFileTest, AppendsWholeAndShortBlocksAnywhere) {
  MTestSandbox sandbox;
  std::vector<std::filesystem::path> folders{sandbox.Root()};
  if (std::filesystem::is_directory("/dev/shm")) folders.push_back("/dev/shm");
  const std::string content = testing::Content(2 * testing::kBlock + 1000, 21);
  MBlockBuffer buffer = NewBlockBuffer(testing::kBlock + 1);
  for (const std::filesystem::path& folder : folders) {
    SCOPED_TRACE(folder.string());
    const std::filesystem::path path = folder / ("kestrix-block-" + std::to_string(::getpid()));
    std::ofstream(path, std::ios::binary | std::ios::trunc) << "old content, cut below";
    {
      MBlockFile file(MString::FromUTF8(path.string()), 0);
      file.Truncate(0);
      std::memcpy(buffer.get(), content.data(), testing::kBlock);
      file.Append(buffer.get(), testing::kBlock);  // aligned: unbuffered where possible
      std::memcpy(buffer.get() + 1, content.data() + testing::kBlock, testing::kBlock);
      file.Append(buffer.get() + 1, testing::kBlock);  // unaligned buffer
      file.Append(content.data() + 2 * testing::kBlock, 1000);
      file.Close();
    }
    EXPECT_TRUE(ReadFileBytes(path) == content);
    std::filesystem::remove(path);
  }
}

}  // namespace
}  // namespace kx
