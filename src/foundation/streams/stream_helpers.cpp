#include "foundation/streams/stream_helpers.h"

#include <algorithm>
#include <cstring>

namespace kx {
namespace {

template <typename AfterBlock>
int64_t CopyBlocks(MStream& source, MStream& target, int64_t size, AfterBlock afterBlock) {
  char block[kCopyBlockSize];
  int64_t copied = 0;
  while (copied < size) {
    int64_t want = std::min(size - copied, kCopyBlockSize);
    int64_t got = source.Read(block, want);
    if (got > 0) {
      target.Write(block, got);
      copied += got;
    }
    afterBlock();
    if (got < want) break;
  }
  return copied;
}

}  // namespace

int64_t CopyStream(MStream& source, MStream& target, int64_t size) {
  return CopyBlocks(source, target, size, [] {});
}

int64_t CopyStreamProgress(MStream& source, MStream& target, MStreamProgress& progress,
                           int64_t size) {
  double step = size > 0 ? static_cast<double>(kCopyBlockSize) / static_cast<double>(size) : 0.0;
  return CopyBlocks(source, target, size, [&] {
    progress.value += step;
    if (progress.onAdvance) progress.onAdvance(progress);
  });
}

int64_t CompareStreams(MStream& a, MStream& b) {
  char blockA[4096];
  char blockB[4096];
  for (;;) {
    int64_t gotA = a.Read(blockA, sizeof(blockA));
    int64_t gotB = b.Read(blockB, sizeof(blockB));
    if (gotA != gotB) return gotA - gotB;
    if (gotA <= 0) break;
    if (int difference = std::memcmp(blockA, blockB, static_cast<size_t>(gotA))) return difference;
  }
  a.Seek(0, kSeekBegin);
  b.Seek(0, kSeekBegin);
  return 0;
}

}  // namespace kx
