// MTaskGroup: a pool of worker threads with five priority queues (0 to 4, 4 the
// most urgent). Workers take tasks from queue 4 down to 0, each queue in order.
//
//   MTaskGroup group(kPriorityNormal);
//   group.Start(false);                 // max(processors, 8) workers
//   MFunctionTask task([&] { ... });
//   group.Add(&task, 2);
//   group.WaitFor(&task);
//
// Add queues an idle task and answers true. A queued task stays as it is (false).
// A running task is queued again behind itself when `allowChain` is set (true,
// and only once however often it is added meanwhile); without it, it is queued
// at once and may run a second time beside the first.
// Chain(running, next) makes `next` follow a running task with priority 2.
// Remove takes a queued task off. WaitFor returns when the task is idle; it does
// not return for a task queued in a group without workers, nor when called by
// the only worker that could run the task.
// Stop asks every worker to end and returns after all have ended; queued tasks
// stay queued for the next Start. The caller owns the tasks.
#pragma once

#include <cstdint>
#include <memory>

#include "foundation/containers/containers.h"
#include "foundation/threads/lock.h"
#include "foundation/threads/semaphore.h"
#include "foundation/threads/task.h"
#include "foundation/threads/task_thread.h"

namespace kx {

class MTaskGroup {
 public:
  static constexpr int32_t kQueueCount = 5;

  struct Queue {
    MTask* first = nullptr;
    MTask* last = nullptr;
    int32_t count = 0;
  };

  // `threadPriority`: the MThreadPriority that all workers get.
  explicit MTaskGroup(int32_t threadPriority = kPriorityNormal);
  // Stops the workers and takes queued tasks off (idle).
  ~MTaskGroup();
  MTaskGroup(const MTaskGroup&) = delete;
  MTaskGroup& operator=(const MTaskGroup&) = delete;

  // `count` below 0: the machine's processors, but at least 8. `pinned` pins the
  // workers to the performance processors. A group of that size already running
  // stays as it is.
  void Start(bool pinned, int32_t count = -1);
  void Stop();

  // "Index out of range." for a priority outside 0 to 4.
  bool Add(MTask* task, int32_t priority = 2, bool allowChain = false);
  // False, setting nothing, when `running` is not running. "Next task already
  // set." when it already has a different follower; chaining to itself does nothing.
  bool Chain(MTask* running, MTask* next);
  bool Remove(MTask* task);
  void WaitFor(MTask* task);

  int32_t WorkerCount() const { return workers.count; }
  int32_t QueuedCount();

  Queue queues[kQueueCount];
  MCriticalSection lock;
  MSemaphore semaphore;  // its pendingCount counts queued tasks minus sleeping workers
  MArray<std::unique_ptr<MTaskThread>> workers;
  int32_t threadPriority;

 private:
  friend class MTaskThread;
  // Both run under `lock`.
  void Enqueue(MTask* task, int32_t priority);
  void Unlink(MTask* task);
  // For the worker: the next task to run, or null.
  MTask* Pick(MTaskThread& worker);
  // For the worker, after the task ran (or was skipped).
  void Finish(MTaskThread& worker, MTask* task);
};

}  // namespace kx
