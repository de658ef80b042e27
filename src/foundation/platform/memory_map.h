// A read-only view of a whole file in memory, the ground under MMappedFile.
#pragma once

#include <cstdint>
#include <string>

namespace kx::platform {

struct MappedView {
  int handle = -1;
  const void* data = nullptr;  // null for an empty file
  int64_t size = 0;
};

// The step at which mapping failed; each has its own message in MMappedFile.
enum class MapStep { kOpen, kSize, kCreateMapping, kMapView };

// Opens `path` for reading and maps all of it. Answers 0, or the error number with
// `failedStep` set; nothing stays open after a failure. A file that is not a
// regular file (a directory, a device, a pipe) fails at kCreateMapping, since
// mapping it would not show the contents of a file. An empty file gives an empty
// view without a mapping.
int MapFileReadOnly(const std::string& path, MappedView& view, MapStep& failedStep);

// Unmaps and closes, in the reverse order of opening; the view is empty after.
void UnmapFile(MappedView& view);

}  // namespace kx::platform
