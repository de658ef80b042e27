#include "foundation/platform/memory_map.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace kx::platform {

int MapFileReadOnly(const std::string& path, MappedView& view, MapStep& failedStep) {
  view = MappedView{};
  int handle = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (handle < 0) {
    failedStep = MapStep::kOpen;
    return errno;
  }
  auto fail = [&](MapStep step, int error) {
    ::close(handle);
    failedStep = step;
    return error;
  };
  struct stat info {};
  if (::fstat(handle, &info) != 0) return fail(MapStep::kSize, errno);
  if (S_ISDIR(info.st_mode)) return fail(MapStep::kCreateMapping, EISDIR);
  if (!S_ISREG(info.st_mode)) return fail(MapStep::kCreateMapping, ENODEV);
  if (info.st_size > 0) {
    void* data = ::mmap(nullptr, static_cast<size_t>(info.st_size), PROT_READ, MAP_SHARED, handle, 0);
    if (data == MAP_FAILED) return fail(MapStep::kMapView, errno);
    view.data = data;
  }
  view.handle = handle;
  view.size = info.st_size;
  return 0;
}

void UnmapFile(MappedView& view) {
  if (view.data) ::munmap(const_cast<void*>(view.data), static_cast<size_t>(view.size));
  if (view.handle >= 0) ::close(view.handle);
  view = MappedView{};
}

}  // namespace kx::platform
