// O_DIRECT is Linux's unbuffered I/O. It is asked for at opening and dropped with
// fcntl for a write it cannot take; a file system without it (tmpfs) gets ordinary
// buffered writes.
#include "transfer/platform/unbuffered_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>

namespace kx::platform {
namespace {

bool Aligned(int64_t value) {
  return value % kUnbufferedAlignment == 0;
}

int SetDirect(UnbufferedFile& file, bool direct) {
  int flags = ::fcntl(file.handle, F_GETFL);
  if (flags < 0) return errno;
  flags = direct ? flags | O_DIRECT : flags & ~O_DIRECT;
  if (::fcntl(file.handle, F_SETFL, flags) != 0) return errno;
  file.direct = direct;
  return 0;
}

}  // namespace

int OpenUnbufferedFile(const std::string& path, int64_t offset, UnbufferedFile& file) {
  file.handle = ::open(path.c_str(), O_WRONLY | O_CLOEXEC | O_DIRECT);
  file.direct = file.handle >= 0;
  if (file.handle < 0 && errno == EINVAL) file.handle = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
  if (file.handle < 0) return errno;
  if (::lseek(file.handle, static_cast<off_t>(offset), SEEK_SET) < 0) {
    int error = errno;
    CloseUnbufferedFile(file);
    return error;
  }
  return 0;
}

int WriteUnbufferedFile(UnbufferedFile& file, const void* data, int64_t size) {
  if (file.direct) {
    off_t offset = ::lseek(file.handle, 0, SEEK_CUR);
    bool fits = offset >= 0 && Aligned(offset) && Aligned(size) &&
                Aligned(static_cast<int64_t>(reinterpret_cast<uintptr_t>(data)));
    if (!fits)
      if (int error = SetDirect(file, false)) return error;
  }
  const char* bytes = static_cast<const char*>(data);
  while (size > 0) {
    ssize_t written = ::write(file.handle, bytes, static_cast<size_t>(size));
    if (written < 0 && errno == EINTR) continue;
    if (written < 0 && errno == EINVAL && file.direct) {
      // The device wants a larger alignment than ours: through the cache then.
      if (int error = SetDirect(file, false)) return error;
      continue;
    }
    if (written < 0) return errno;
    if (written == 0) return EIO;
    bytes += written;
    size -= written;
  }
  return 0;
}

int TruncateUnbufferedFile(UnbufferedFile& file, int64_t length) {
  if (::ftruncate(file.handle, static_cast<off_t>(length)) != 0) return errno;
  if (::lseek(file.handle, static_cast<off_t>(length), SEEK_SET) < 0) return errno;
  return 0;
}

int CloseUnbufferedFile(UnbufferedFile& file) {
  if (file.handle < 0) return 0;
  int result = ::close(file.handle) == 0 ? 0 : errno;
  file.handle = -1;
  return result;
}

void* AllocateUnbufferedBuffer(int64_t size) {
  void* buffer = nullptr;
  if (::posix_memalign(&buffer, kUnbufferedAlignment, static_cast<size_t>(size)) != 0)
    return nullptr;
  return buffer;
}

void FreeUnbufferedBuffer(void* buffer) {
  std::free(buffer);
}

}  // namespace kx::platform
