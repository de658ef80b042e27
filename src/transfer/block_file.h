// MBlockFile: the content file of a transfer, appended to in whole blocks by
// unbuffered writes (straight from the block buffer to the device, where the file
// system allows it), so that a transfer neither copies each block once more into
// the file cache nor fills that cache with a file nobody reads soon.
//
// Failures, as the file stream's: "File \"{0}\" could not be opened. Make sure that
// it exists.\nError: \"{1}\"." (257), "Error writing to file \"{0}\", error \"{1}\"."
// (256, also for a failed truncation or close).
//
// MBlockBuffer is memory for one block, aligned as unbuffered writes need it.
#pragma once

#include <cstdint>
#include <memory>

#include "foundation/text/text_string.h"
#include "transfer/platform/unbuffered_file.h"

namespace kx {

struct MBlockBufferDelete {
  void operator()(uint8_t* buffer) const;
};
using MBlockBuffer = std::unique_ptr<uint8_t[], MBlockBufferDelete>;
// Throws "Out of memory." when there is none.
MBlockBuffer NewBlockBuffer(int64_t size);

class MBlockFile {
 public:
  // The existing file at `path`, written from `end` on.
  MBlockFile(const MString& path, int64_t end);
  ~MBlockFile();
  MBlockFile(const MBlockFile&) = delete;
  MBlockFile& operator=(const MBlockFile&) = delete;

  void Append(const void* data, int64_t size);
  // Cuts the file to `length` and writes on from there.
  void Truncate(int64_t length);
  void Close();

 private:
  [[noreturn]] void ThrowWriteError(int error) const;

  MString path_;
  platform::UnbufferedFile file_;
};

}  // namespace kx
