// The few calls on an open C library FILE* that standard C does not offer with
// 64-bit positions or at all: position, seek and truncation. Each answers 0 (or a
// position) on success and the system's error number, taken at once, on failure.
#pragma once

#include <cstdint>
#include <cstdio>

namespace kx::platform {

// The current position, or -1 with `error` set.
int64_t TellFile(std::FILE* file, int& error);

// origin: 0 from the start, 1 from the current position, 2 from the end (the
// values of MSeekOrigin).
int SeekFile(std::FILE* file, int64_t offset, int origin);

// Pending output is written first; the stream's position is left as it is.
int TruncateFile(std::FILE* file, int64_t length);

// Pending output is written and the file's bytes are forced onto the disk.
int SyncFile(std::FILE* file);

// 0 when the open file holds bytes to read; the "is a directory" error for a
// folder, which the C library opens for reading without complaint.
int CheckNotDirectory(std::FILE* file);

}  // namespace kx::platform
