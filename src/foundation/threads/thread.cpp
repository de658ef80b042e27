#include "foundation/threads/thread.h"

#include <algorithm>
#include <iterator>

#include "foundation/core/exception.h"
#include "foundation/text/format.h"
#include "foundation/platform/cpu_topology.h"
#include "foundation/platform/system_error.h"
#include "foundation/platform/threads.h"
#include "foundation/core/never_destroyed.h"

namespace kx {

namespace {

std::atomic<bool> killThreadsOnWait{false};

// The thread guard: like Guarded, but a cancellation (Kill) must pass through,
// or the runtime aborts the process. The cancellation carries no object, which
// the null-reference check of the undefined-behaviour sanitizer would report.
template <typename Body>
[[gnu::no_sanitize("null")]] bool GuardThreadBody(Body&& body) {
  try {
    body();
    return true;
  } catch (platform::ThreadCancellation&) {
    throw;
  } catch (MException&) {
    return false;
  } catch (...) {
    ReportGuardFailure("MThreadProc");
    return false;
  }
}

std::vector<int> DetectPerformanceProcessors() {
  std::vector<int> chosen;
  Guarded("Detect CPU performance information", [&] {
    std::vector<int> allowed;
    if (int error = platform::AllowedProcessors(allowed))
      throw MException(
          MFormat("Failed to get processor information: {0}").Add(GetSystemErrorText(error)));
    // Both lists are sorted. Outside the allowed set a pin would fail, and
    // inside a container the set can be much smaller than the machine.
    std::vector<int> performance = platform::ReadPerformanceProcessors("/sys");
    std::set_intersection(performance.begin(), performance.end(), allowed.begin(), allowed.end(),
                          std::back_inserter(chosen));
  });
  return chosen;
}

}  // namespace

void SetKillThreadsOnWait(bool kill) {
  killThreadsOnWait.store(kill, std::memory_order_release);
}

bool KillThreadsOnWait() {
  return killThreadsOnWait.load(std::memory_order_acquire);
}

const std::vector<int>& PerformanceProcessors() {
  // Kept for the whole run: threads may be created while statics are destroyed.
  static MNeverDestroyed<const std::vector<int>> processors(DetectPerformanceProcessors());
  return processors.Get();
}

MThread::~MThread() {
  Stop();
  Wait(kWaitForever);
}

void MThread::ThreadProc(void* argument) {
  auto* self = static_cast<MThread*>(argument);
  if (!self) return;
  if (self->StopRequested()) {
    // Stopped before it began: it ends at once, and the status must say it ended.
    self->status.store(0, std::memory_order_release);
    return;
  }
  int32_t exitValue = -1;  // stays when the body throws
  GuardThreadBody([&] {
    self->startedEvent.ExecuteImmediately(self);
    exitValue = self->Execute();
  });
  GuardThreadBody([&] { self->OnFinished(); });
  GuardThreadBody([&] {
    MPendingList& list = self->pendingFinish ? *self->pendingFinish : GlobalPendingList();
    self->finishedEvent.PostTo(list, self);
  });
  // Last: an owner polling the status may destroy the object as soon as it changes.
  self->status.store(static_cast<uint32_t>(exitValue), std::memory_order_release);
}

void MThread::CreateSuspended() {
  if (handle_) return;
  const std::vector<int>& processors = PerformanceProcessors();
  platform::NativeThread* created = nullptr;
  if (platform::CreateNativeThread(&ThreadProc, this, created) != 0)
    throw MException(MString("Could not create system thread."));
  handle_ = created;
  resumed_ = false;
  // Pinning is a preference: a refusal leaves the thread free to run anywhere.
  if (lockToProcessors && !processors.empty()) platform::PinNativeThread(handle_, processors);
}

void MThread::Start() {
  MLock hold(lock);
  std::lock_guard<std::mutex> guard(handleMutex_);
  if (handle_ && resumed_) {
    if (!platform::WaitNativeThread(handle_, 0)) {
      // Still running: only a pending stop request is taken back. The status is
      // left alone, since the body may end at any moment and write its own.
      stop.store(0, std::memory_order_release);
      return;
    }
    // Ended but not yet waited for: collect it, a new run needs a new thread.
    platform::ReleaseNativeThread(handle_);
    handle_ = nullptr;
    resumed_ = false;
  }
  status.store(kThreadRunning, std::memory_order_release);
  stop.store(0, std::memory_order_release);
  try {
    CreateSuspended();
  } catch (...) {
    status.store(kThreadIdle, std::memory_order_release);
    throw;
  }
  platform::ResumeNativeThread(handle_);
  resumed_ = true;
}

bool MThread::Wait(int64_t timeoutMilliseconds) {
  if (KillThreadsOnWait()) {
    Kill();
    return true;
  }
  std::lock_guard<std::mutex> guard(handleMutex_);
  if (!handle_) return true;
  if (platform::IsCurrentNativeThread(handle_)) return false;  // would wait for itself
  if (!resumed_) {
    // Created by SetPriority but never started: let it run out without its body.
    stop.store(1, std::memory_order_release);
    platform::ResumeNativeThread(handle_);
    resumed_ = true;
  }
  if (!platform::WaitNativeThread(handle_, timeoutMilliseconds)) return false;
  platform::ReleaseNativeThread(handle_);
  handle_ = nullptr;
  resumed_ = false;
  status.store(kThreadIdle, std::memory_order_release);
  stop.store(0, std::memory_order_release);
  return true;
}

void MThread::Kill() {
  // Not under `lock`: the body may be waiting for it, and a thread waiting for a
  // lock is not at a cancellation point, so the join below would never return.
  std::lock_guard<std::mutex> guard(handleMutex_);
  if (!handle_ || platform::IsCurrentNativeThread(handle_)) return;
  bool wasRunning = resumed_ && !platform::WaitNativeThread(handle_, 0);
  if (wasRunning)
    platform::CancelNativeThread(handle_);
  else if (resumed_)
    platform::ReleaseNativeThread(handle_);
  else
    platform::CancelNativeThread(handle_);  // still at its gate
  handle_ = nullptr;
  resumed_ = false;
  if (wasRunning) status.store(static_cast<uint32_t>(-1), std::memory_order_release);
  stop.store(0, std::memory_order_release);
}

void MThread::SetPriority(int32_t priorityIndex) {
  std::lock_guard<std::mutex> guard(handleMutex_);
  if (priorityIndex < 0 || priorityIndex >= platform::kThreadPriorityCount)
    throw MException(MString("Could not set thread priority."));
  CreateSuspended();
  if (platform::SetNativeThreadPriority(handle_, priorityIndex) != 0)
    throw MException(MString("Could not set thread priority."));
}

}  // namespace kx
