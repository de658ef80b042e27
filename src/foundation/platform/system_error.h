// The system's own words for a failed call, for the messages that quote them
// ("Could not delete file \"{0}\". " followed by this text).
//
// Error numbers are the C library's (errno). Callers take the number right after
// the failing call and pass it on, because composing a message may itself touch
// the last-error state.
#pragma once

#include "foundation/text/text_string.h"

namespace kx {

// The error number the last failed system call left behind on this thread.
int LastSystemError();

// The system's description of `errorNumber`, or "No error description available."
// when it has none (0, or a number the C library does not know).
MString GetSystemErrorText(int errorNumber);

// The same for LastSystemError().
MString GetSystemErrorText();

}  // namespace kx
