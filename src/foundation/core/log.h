// The run log, "log.txt": one line per call, written and flushed at once because
// it is read after crashes; no time stamp, no level. While closed, a line is
// silently skipped, so code runs the same before the entry point opens it.
// Lines of two threads interleave only at line granularity.
#pragma once

#include "foundation/text/text_string.h"

namespace kx {

class MLog {
 public:
  // Opens for write and create: the file is replaced at each start. A file that
  // cannot be created throws the file stream's message.
  static void Open(const MString& path);
  static void Close();
  static bool IsOpen();
  // Writes the text and a carriage return and line feed; a failure is swallowed.
  static void Line(const MString& text) noexcept;
};

}  // namespace kx
