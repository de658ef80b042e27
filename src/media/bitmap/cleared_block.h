// A block of bytes cleared by the system allocator (calloc): large blocks come
// straight from the kernel as zero pages, so memory that a loader never writes
// (a truncated file behind a large header) is never touched.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>

namespace kx {

struct MFreeBlock {
  void operator()(uint8_t* block) const { std::free(block); }
};
using MClearedBlock = std::unique_ptr<uint8_t[], MFreeBlock>;

// Throws "Not enough memory for an image of {0} bytes." when the system refuses.
MClearedBlock AllocateCleared(int64_t bytes);

}  // namespace kx
