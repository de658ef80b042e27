// Unbuffered appending of whole blocks to a file: the bytes go from the caller's
// buffer to the device without a copy in the system's file cache, where the file
// system allows it, and through the cache where it does not (or for a write that is
// not a whole number of device blocks, such as the short last block of a file).
// Only the files of this folder call the system.
//
// A direct write needs the data aligned to kUnbufferedAlignment and a size and file
// offset that are multiples of it; any other write quietly goes through the cache.
// Functions answering int give 0 or the system's error number.
#pragma once

#include <cstdint>
#include <string>

namespace kx::platform {

constexpr int64_t kUnbufferedAlignment = 4096;

struct UnbufferedFile {
  int handle = -1;
  bool direct = false;  // writes bypass the cache at the moment
};

// Opens an existing file for writing at `offset` (its length is not changed).
int OpenUnbufferedFile(const std::string& path, int64_t offset, UnbufferedFile& file);
// Writes all `size` bytes at the current offset.
int WriteUnbufferedFile(UnbufferedFile& file, const void* data, int64_t size);
// Sets the length and moves the offset there.
int TruncateUnbufferedFile(UnbufferedFile& file, int64_t length);
int CloseUnbufferedFile(UnbufferedFile& file);

// Memory for a direct write: `size` bytes aligned to kUnbufferedAlignment.
void* AllocateUnbufferedBuffer(int64_t size);
void FreeUnbufferedBuffer(void* buffer);

}  // namespace kx::platform
