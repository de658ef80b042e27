#include "foundation/streams/file_stream.h"

#include <cerrno>
#include <cstdio>

#include "foundation/core/exception.h"
#include "foundation/text/format.h"
#include "foundation/files/path_text.h"
#include "foundation/platform/file_handle.h"
#include "foundation/platform/file_system.h"
#include "foundation/platform/system_error.h"

namespace kx {

MFileStream::~MFileStream() { CloseHandle(); }

int MFileStream::CloseHandle() noexcept {
  int error = 0;
  if (readHandle_ && std::fclose(readHandle_) != 0) error = errno;
  readHandle_ = writeHandle_ = nullptr;
  last_ = LastOperation::kNone;
  return error;
}

void MFileStream::Close() {
  if (int error = CloseHandle()) ThrowWriteError(error);
}

void MFileStream::Open(const MString& name, Mode mode) {
  CloseHandle();
  fileName_ = name;
  sizeAtOpening_ = 0;
  if (name.IsEmpty()) {
    throw MException(MString("Empty filename cannot be created. This is an internal error."));
  }
  std::string path = ToSystem(name);
  const char* libraryMode;
  bool create = mode == kModeCreate;
  if (create) {
    // Replace, never update an old file; it may not exist. Unlinking (rather than
    // the C library's remove) leaves an empty folder of that name alone.
    platform::RemoveFile(path);
    libraryMode = "w+b";
  } else if (mode == kModeUpdate) {
    libraryMode = "r+b";
  } else {
    libraryMode = "rb";
  }
  std::FILE* file = std::fopen(path.c_str(), libraryMode);
  // A folder opens for reading, but its "size" is no count of bytes to read.
  int failure = file ? platform::CheckNotDirectory(file) : LastSystemError();
  if (file && failure) {
    std::fclose(file);
    file = nullptr;
  }
  if (!file) {
    MString error = GetSystemErrorText(failure);
    if (create) {
      throw MException(MFormat("File \"{0}\" could not be created. Make sure there is no "
                               "write-protected file already existing.\nError: \"{1}\".")
                           .Add(name)
                           .Add(error),
                       kErrorOpen);
    }
    throw MException(MFormat("File \"{0}\" could not be opened. Make sure that it exists.\n"
                             "Error: \"{1}\".")
                         .Add(name)
                         .Add(error),
                     kErrorOpen);
  }
  readHandle_ = writeHandle_ = file;
  try {
    sizeAtOpening_ = GetSize();
  } catch (...) {
    CloseHandle();
    throw;
  }
}

void MFileStream::CheckOpen() const {
  if (!readHandle_) throw MException(MString("File stream is not initialized."), kErrorNotInitialized);
}

void MFileStream::ThrowWriteError(int error) const {
  throw MException(MFormat("Error writing to file \"{0}\", error \"{1}\".")
                       .Add(fileName_)
                       .Add(GetSystemErrorText(error)),
                   kErrorIO);
}

void MFileStream::ThrowSeekError(int error) const {
  throw MException(MFormat("Error performing seek \"{0}\", error \"{1}\".")
                       .Add(fileName_)
                       .Add(GetSystemErrorText(error)),
                   kErrorIO);
}

void MFileStream::Write(const void* data, int64_t size) {
  CheckOpen();
  if (size <= 0) return;
  if (last_ == LastOperation::kRead) {
    // Switching from input to output needs a positioning call in between.
    if (int error = platform::SeekFile(writeHandle_, 0, static_cast<int>(kSeekCurrent)))
      ThrowSeekError(error);
  }
  if (last_ != LastOperation::kWrite) last_ = LastOperation::kWrite;
  const char* bytes = static_cast<const char*>(data);
  while (size > 0) {
    size_t written = std::fwrite(bytes, 1, static_cast<size_t>(size), writeHandle_);
    if (written < 1) ThrowWriteError(errno);
    bytes += written;
    size -= static_cast<int64_t>(written);
  }
}

int64_t MFileStream::Read(void* data, int64_t size) {
  CheckOpen();
  if (size <= 0) return 0;
  if (last_ == LastOperation::kWrite) {
    if (std::fflush(readHandle_) != 0) ThrowWriteError(errno);
  }
  last_ = LastOperation::kRead;
  size_t got = std::fread(data, 1, static_cast<size_t>(size), readHandle_);
  if (got < static_cast<size_t>(size) && std::ferror(readHandle_)) {
    int error = errno;
    std::clearerr(readHandle_);
    throw MException(MFormat("Error reading from file \"{0}\", error \"{1}\".")
                         .Add(fileName_)
                         .Add(GetSystemErrorText(error)),
                     kErrorIO);
  }
  return static_cast<int64_t>(got);
}

int64_t MFileStream::Seek(int64_t offset, MSeekOrigin origin) {
  CheckOpen();
  CheckSeekOrigin(origin);
  if (int error = platform::SeekFile(readHandle_, offset, static_cast<int>(origin))) ThrowSeekError(error);
  last_ = LastOperation::kNone;
  return GetPosition();
}

int64_t MFileStream::GetPosition() {
  CheckOpen();
  int error = 0;
  int64_t position = platform::TellFile(readHandle_, error);
  if (position < 0) ThrowSeekError(error);
  return position;
}

void MFileStream::Flush() {
  CheckOpen();
  if (std::fflush(writeHandle_) != 0) ThrowWriteError(errno);
}

void MFileStream::Sync() {
  CheckOpen();
  if (int error = platform::SyncFile(writeHandle_)) ThrowWriteError(error);
}

bool MFileStream::IsEnd() { return GetPosition() >= sizeAtOpening_; }

void MFileStream::Truncate() {
  int64_t position = GetPosition();
  if (int error = platform::TruncateFile(writeHandle_, position)) ThrowWriteError(error);
}

int64_t MFileStream::GetSize() {
  int64_t position = GetPosition();
  if (int error = platform::SeekFile(readHandle_, 0, static_cast<int>(kSeekEnd)))
    ThrowSeekError(error);
  int64_t size = GetPosition();
  if (int error = platform::SeekFile(readHandle_, position, static_cast<int>(kSeekBegin)))
    ThrowSeekError(error);
  last_ = LastOperation::kNone;
  return size;
}

}  // namespace kx
