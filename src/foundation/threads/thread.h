// MThread: a system thread running the virtual body Execute().
//
// `status` is kThreadIdle (0x80000001) before Start and after Wait,
// kThreadRunning (0x80000000) from Start until the body has ended, and then the
// body's exit value until Wait; a body that throws ends with -1. Other threads may
// poll it without a lock. `stop` above 0 asks the body to end: Stop sets it and the
// body polls it.
//
// On the new thread, `startedEvent` runs first (immediately, with the thread as
// payload), then Execute, then OnFinished; then `finishedEvent` is posted to
// `pendingFinish` (the global pending list when null), and last the status takes
// the exit value.
//
// Wait(timeout) answers whether the thread has ended; a negative timeout waits
// without limit. While SetKillThreadsOnWait(true) is in force (shutdown), Wait
// kills instead. Kill ends the thread at its next cancellation point (a blocking
// call, a sleep, a wait), leaving the status -1; a catch-all inside the body must
// let platform::ThreadCancellation through.
//
// `lockToProcessors` pins the thread, when it is created, to the processors of
// the performance class if the machine tells them.
//
// A derived class must Stop and Wait in its own destructor: by the time the base
// destructor waits, the derived body is gone.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <vector>

#include "foundation/threads/event.h"
#include "foundation/threads/lock.h"
#include "foundation/threads/pending_list.h"

namespace kx {

namespace platform {
struct NativeThread;
}

constexpr uint32_t kThreadRunning = 0x80000000u;
constexpr uint32_t kThreadIdle = 0x80000001u;

// Thread priorities by index, for SetPriority.
enum MThreadPriority : int32_t {
  kPriorityIdle = 0,
  kPriorityLowest = 1,
  kPriorityBelowNormal = 2,
  kPriorityNormal = 3,
  kPriorityAboveNormal = 4,
  kPriorityHighest = 5,
  kPriorityTimeCritical = 6,
};

class MThread {
 public:
  MThread() = default;
  virtual ~MThread();
  MThread(const MThread&) = delete;
  MThread& operator=(const MThread&) = delete;

  // The body; its answer is the exit value.
  virtual int32_t Execute() = 0;
  // Runs on the thread after Execute, also when Execute threw.
  virtual void OnFinished() {}

  // "Could not create system thread." when the system refuses.
  void Start();
  bool Wait(int64_t timeoutMilliseconds = kWaitForever);
  void Stop() { stop.store(1, std::memory_order_release); }
  bool StopRequested() const { return stop.load(std::memory_order_acquire) > 0; }
  void Kill();
  // Creates the thread (held until Start) when there is none yet. "Could not set
  // thread priority." for an unknown index or when the system refuses.
  void SetPriority(int32_t priorityIndex);

  std::atomic<uint32_t> status{kThreadIdle};
  std::atomic<int32_t> stop{0};
  MCriticalSection lock;
  MEvent<MThread*> finishedEvent;
  MPendingList* pendingFinish = nullptr;
  MEvent<MThread*> startedEvent;
  bool lockToProcessors = false;

 private:
  static void ThreadProc(void* argument);
  void CreateSuspended();  // with handleMutex_ held

  // Guards the handle's life: held by Start, Wait, Kill and SetPriority, never by
  // the body, so a body may take `lock` while someone waits for it.
  std::mutex handleMutex_;
  platform::NativeThread* handle_ = nullptr;
  bool resumed_ = false;
};

// Shutdown mode: Wait kills at once.
void SetKillThreadsOnWait(bool kill);
bool KillThreadsOnWait();

// The processors that pinned threads use: the performance class, as far as the
// machine tells, within those the process may use. Found once, on first use; empty
// means "no pinning".
const std::vector<int>& PerformanceProcessors();

}  // namespace kx
