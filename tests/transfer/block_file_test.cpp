// Unbuffered appends, also on tmpfs, which has no unbuffered I/O.
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
  const std::string content = RandomBytes(2 * testing::kBlock + 1000, 21);
  MBlockBuffer buffer = NewBlockBuffer(testing::kBlock + 1);
  for (const std::filesystem::path& folder : folders) {
    SCOPED_TRACE(folder.string());
    const std::filesystem::path path = folder / ("kestrix-block-" + std::to_string(::getpid()));
    std::ofstream(path, std::ios::binary | std::ios::trunc) << "old content, cut below";
    {
      MBlockFile file(MString::FromUTF8(path.string()), 0);
      file.Truncate(0);
      // Aligned (unbuffered where possible), then unaligned, then short.
      for (int64_t at = 0, shift = 0; at < static_cast<int64_t>(content.size()); ++shift) {
        int64_t size = std::min<int64_t>(testing::kBlock, content.size() - at);
        std::memcpy(buffer.get() + shift, content.data() + at, size);
        file.Append(buffer.get() + shift, size);
        at += size;
      }
      file.Close();
    }
    EXPECT_TRUE(ReadFileBytes(path) == content);
    std::filesystem::remove(path);
  }
}

}  // namespace
}  // namespace kx
