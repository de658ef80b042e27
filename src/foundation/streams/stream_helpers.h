// Copying and comparing whole streams.
//
// CopyStream moves blocks of 65536 bytes (on the stack) from source to target until
// `size` bytes are copied or a block comes back short; kStreamAll copies all. It
// returns the bytes copied. CopyStreamProgress does the same and advances a
// progress record by 65536 / size per block.
//
// CompareStreams reads 4096-byte blocks from both streams: it returns the
// difference of the read lengths (a - b) where they first differ, else the memcmp
// result of the first differing block, else 0, and in that last case rewinds both.
#pragma once

#include <cstdint>
#include <functional>

#include "foundation/streams/stream.h"

namespace kx {

inline constexpr int64_t kCopyBlockSize = 65536;

// The progress of a copy: `value` grows by kCopyBlockSize / size per block. The
// GUI hooks its progress controls (up to two) into `onAdvance`, which runs after
// each block on the copying thread.
struct MStreamProgress {
  double value = 0.0;
  std::function<void(const MStreamProgress&)> onAdvance;
};

int64_t CopyStream(MStream& source, MStream& target, int64_t size = kStreamAll);
int64_t CopyStreamProgress(MStream& source, MStream& target, MStreamProgress& progress,
                           int64_t size = kStreamAll);

int64_t CompareStreams(MStream& a, MStream& b);

}  // namespace kx
