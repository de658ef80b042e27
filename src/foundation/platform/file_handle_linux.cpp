#include "foundation/platform/file_handle.h"

#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>

namespace kx::platform {

int64_t TellFile(std::FILE* file, int& error) {
  off_t position = ::ftello(file);
  error = position < 0 ? errno : 0;
  return position;
}

int SeekFile(std::FILE* file, int64_t offset, int origin) {
  static const int kWhence[] = {SEEK_SET, SEEK_CUR, SEEK_END};
  return ::fseeko(file, static_cast<off_t>(offset), kWhence[origin]) == 0 ? 0 : errno;
}

int TruncateFile(std::FILE* file, int64_t length) {
  if (std::fflush(file) != 0) return errno;
  return ::ftruncate(::fileno(file), static_cast<off_t>(length)) == 0 ? 0 : errno;
}

int SyncFile(std::FILE* file) {
  if (std::fflush(file) != 0) return errno;
  return ::fsync(::fileno(file)) == 0 ? 0 : errno;
}

int CheckNotDirectory(std::FILE* file) {
  struct stat status {};
  if (::fstat(::fileno(file), &status) != 0) return errno;
  return S_ISDIR(status.st_mode) ? EISDIR : 0;
}

}  // namespace kx::platform
