#include "foundation/platform/system_error.h"

#include <cerrno>
#include <cstring>

namespace kx {

int LastSystemError() { return errno; }

MString GetSystemErrorText(int errorNumber) {
  // 0 would read "Success", which is nonsense after a failure; numbers the C
  // library does not know come back as "Unknown error N", which tells nothing.
  if (errorNumber == 0) return MString("No error description available.");
  char buffer[256];
  // The GNU form returns the text, either in the buffer or a constant of its own.
  const char* text = ::strerror_r(errorNumber, buffer, sizeof buffer);
  if (!text || !*text || std::strncmp(text, "Unknown error", 13) == 0)
    return MString("No error description available.");
  return MString::FromUTF8(text);
}

MString GetSystemErrorText() { return GetSystemErrorText(errno); }

}  // namespace kx
