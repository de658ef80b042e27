// MFileStream: a file on disk through one C library FILE*.
//
// Open(name, mode) closes first. kModeRead reads ("rb"); kModeCreate deletes any
// old file, then reads and writes a new one ("w+b"); kModeUpdate reads and writes
// an existing file ("r+b"). The size at
// opening is recorded: IsEnd compares the position with it, so a file that another
// writer extends still ends where it ended when opened.
//
// Messages (the {1} is the system's error text):
//   "Empty filename cannot be created. This is an internal error."
//   "File \"{0}\" could not be created. Make sure there is no write-protected file
//    already existing.\nError: \"{1}\"." (257, with bit 4)
//   "File \"{0}\" could not be opened. Make sure that it exists.\nError: \"{1}\"." (257)
//   "File stream is not initialized." (258, any operation while closed)
//   "Error reading from file \"{0}\", error \"{1}\"." (256)
//   "Error writing to file \"{0}\", error \"{1}\"." (256, also for a failed flush,
//    truncation or close that loses written bytes)
//   "Error performing seek \"{0}\", error \"{1}\"." (256)
// A short read at the end of the file is normal.
#pragma once

#include <cstdint>
#include <cstdio>

#include "foundation/streams/stream.h"

namespace kx {

class MFileStream : public MStream {
 public:
  enum class Mode { kModeRead, kModeUpdate, kModeCreate };
  using enum Mode;

  MFileStream() = default;
  MFileStream(const MString& name, Mode mode) { Open(name, mode); }
  ~MFileStream() override;

  void Open(const MString& name, Mode mode);
  // Writes what is buffered and closes; a failure to write it throws, the file is
  // closed in any case. Closing a closed stream does nothing.
  void Close();

  const MString& GetFileName() const { return fileName_; }
  int64_t GetSizeAtOpening() const { return sizeAtOpening_; }

  void Write(const void* data, int64_t size) override;
  int64_t Read(void* data, int64_t size) override;
  int64_t Seek(int64_t offset, MSeekOrigin origin) override;
  int64_t GetPosition() override;
  void Flush() override;
  // Flush, then force the bytes onto the disk: for files replaced by a rename.
  void Sync();
  bool IsEnd() override;
  void Truncate() override;
  int64_t GetSize() override;
  bool IsOpen() override { return readHandle_ != nullptr; }

 private:
  enum class LastOperation { kNone, kRead, kWrite };
  void CheckOpen() const;
  [[noreturn]] void ThrowWriteError(int error) const;
  [[noreturn]] void ThrowSeekError(int error) const;
  int CloseHandle() noexcept;  // 0 or the error number of a failed close

  MString fileName_;
  int64_t sizeAtOpening_ = 0;
  // One FILE* held for both directions; both null while closed.
  std::FILE* readHandle_ = nullptr;
  std::FILE* writeHandle_ = nullptr;
  // An update stream needs a flush or seek between output and input.
  LastOperation last_ = LastOperation::kNone;
};

}  // namespace kx
