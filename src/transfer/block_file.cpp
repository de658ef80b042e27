#include "transfer/block_file.h"

#include "foundation/core/exception.h"
#include "foundation/files/path_text.h"
#include "foundation/platform/system_error.h"
#include "foundation/text/format.h"

namespace kx {

void MBlockBufferDelete::operator()(uint8_t* buffer) const {
  platform::FreeUnbufferedBuffer(buffer);
}

MBlockBuffer NewBlockBuffer(int64_t size) {
  void* buffer = platform::AllocateUnbufferedBuffer(size);
  if (!buffer) throw MException(MString("Out of memory."));
  return MBlockBuffer(static_cast<uint8_t*>(buffer));
}

MBlockFile::MBlockFile(const MString& path, int64_t end) : path_(path) {
  if (int error = platform::OpenUnbufferedFile(ToSystem(path), end, file_)) {
    throw MException(
        MFormat("File \"{0}\" could not be opened. Make sure that it exists.\nError: \"{1}\".")
            .Add(path)
            .Add(GetSystemErrorText(error)),
        kErrorOpen);
  }
}

MBlockFile::~MBlockFile() {
  platform::CloseUnbufferedFile(file_);
}

void MBlockFile::ThrowWriteError(int error) const {
  throw MException(MFormat("Error writing to file \"{0}\", error \"{1}\".")
                       .Add(path_)
                       .Add(GetSystemErrorText(error)),
                   kErrorIO);
}

void MBlockFile::Append(const void* data, int64_t size) {
  if (int error = platform::WriteUnbufferedFile(file_, data, size)) ThrowWriteError(error);
}

void MBlockFile::Truncate(int64_t length) {
  if (int error = platform::TruncateUnbufferedFile(file_, length)) ThrowWriteError(error);
}

void MBlockFile::Close() {
  if (int error = platform::CloseUnbufferedFile(file_)) ThrowWriteError(error);
}

}  // namespace kx
