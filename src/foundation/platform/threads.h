// Native threads under MThread: creation held at a start gate (the "suspended"
// state), release from the gate, waiting with a time limit, joining, cancellation,
// priority and processor pinning.
//
// A NativeThread is owned by exactly one caller, which must end it with
// ReleaseNativeThread or CancelNativeThread. Functions answering int give 0 or the
// system's error number.
#pragma once

#include <cxxabi.h>

#include <cstdint>
#include <vector>

namespace kx::platform {

struct NativeThread;

using NativeThreadEntry = void (*)(void* argument);

// The unwinding by which a cancelled thread ends. A catch-all on a thread that can
// be cancelled must let it through: `catch (ThreadCancellation&) { throw; }` first.
using ThreadCancellation = abi::__forced_unwind;

// Starts a thread with the default stack that waits at its gate until
// ResumeNativeThread; `entry(argument)` then runs on it.
int CreateNativeThread(NativeThreadEntry entry, void* argument, NativeThread*& thread);

// Opens the gate; later calls do nothing.
void ResumeNativeThread(NativeThread* thread);

// True once the entry has returned or the thread was cancelled; false when
// `timeoutMilliseconds` (negative: no limit) passed first. Any number of threads
// may wait at once; the handle stays valid.
bool WaitNativeThread(NativeThread* thread, int64_t timeoutMilliseconds);

// Joins the thread (blocking until it has ended) and frees the handle.
void ReleaseNativeThread(NativeThread* thread);

// Asks the thread to end at its next cancellation point (a blocking system call,
// a sleep, a wait on a condition or semaphore), joins it and frees the handle. A
// thread still at its gate ends without running its entry.
void CancelNativeThread(NativeThread* thread);

bool IsCurrentNativeThread(const NativeThread* thread);

// Priority levels by index: 0 idle, 1 lowest, 2 below normal, 3 normal,
// 4 above normal, 5 highest, 6 time critical. A raise beyond what the process may
// do without privileges is made as far as allowed; the answer is still 0.
constexpr int kThreadPriorityCount = 7;
int SetNativeThreadPriority(NativeThread* thread, int priorityIndex);

// Restricts the thread to the given processor numbers.
int PinNativeThread(NativeThread* thread, const std::vector<int>& processors);

}  // namespace kx::platform
