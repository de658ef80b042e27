// What the module asks of the system about the running program: where its
// executable lies, which thread is asking, the local time, and the main
// thread's floating-point mode.
#pragma once

#include <cstdint>

#include "foundation/text/date_time.h"
#include "foundation/text/text_string.h"

namespace kx {

// The full path of the running executable, in the program's form, links
// resolved; empty when the system does not tell.
MString ExecutablePath();

// The system's id of the calling thread; unique among the living threads of
// the system.
int64_t CurrentThreadId();

// The local date and time of now, to the millisecond.
MDateTime LocalTimeNow();

// Denormal results and inputs of the calling thread's floating-point unit are
// taken as zero (audio code would otherwise slow down by orders near silence).
// Nothing on processors without such a mode.
void SetFlushDenormalsToZero();

}  // namespace kx
