#include "foundation/threads/task_group.h"

#include <thread>

#include "foundation/core/exception.h"

namespace kx {

MTask::~MTask() {
  // A queued task must not stay linked into a queue after it is gone.
  if (state.load(std::memory_order_acquire) == kQueued && group_) group_->Remove(this);
}

MTaskGroup::MTaskGroup(int32_t threadPriority) : threadPriority(threadPriority) {}

MTaskGroup::~MTaskGroup() {
  Stop();
  MLock hold(lock);
  for (Queue& queue : queues) {
    while (MTask* task = queue.first) {
      Unlink(task);
      task->state.store(MTask::kIdle, std::memory_order_release);
      task->state.notify_all();
    }
  }
}

void MTaskGroup::Start(bool pinned, int32_t count) {
  if (count < 0) {
    auto processors = static_cast<int32_t>(std::thread::hardware_concurrency());
    count = processors > 8 ? processors : 8;
  }
  if (count == workers.count) return;
  Stop();
  // No worker exists now, so nobody sleeps in the semaphore: the count can be set
  // to what is really queued, whatever earlier stops left in it.
  semaphore.pendingCount.store(QueuedCount(), std::memory_order_release);

  // Worker i is meant for queues from 4 - i / 2 up, the ones from the tenth on
  // for all. The pick does not hold them to it, though: the workers share one
  // count, so a worker that left a task to another could not know that one would
  // wake, and the skipped ones would spin. Every worker takes every queue, the
  // most urgent first.
  for (int32_t i = 0; i < count; ++i) {
    auto worker = std::make_unique<MTaskThread>(*this, i < 10 ? 4 - i / 2 : -1);
    worker->lockToProcessors = pinned;
    workers.Add(std::move(worker));
  }
  for (auto& worker : workers) worker->Start();
  for (auto& worker : workers) worker->SetPriority(threadPriority);
}

void MTaskGroup::Stop() {
  for (auto& worker : workers) worker->Stop();
  // One unit per worker: each one either finds a unit or wakes from its sleep,
  // sees `stop` and ends.
  for (int32_t i = 0; i < workers.count; ++i) semaphore.Release();
  for (auto& worker : workers) worker->Wait(kWaitForever);
  workers.Clear();
}

int32_t MTaskGroup::QueuedCount() {
  MLock hold(lock);
  int32_t count = 0;
  for (const Queue& queue : queues) count += queue.count;
  return count;
}

void MTaskGroup::Enqueue(MTask* task, int32_t priority) {
  Queue& queue = queues[priority];
  task->previous = queue.last;
  task->next = nullptr;
  (queue.last ? queue.last->next : queue.first) = task;
  queue.last = task;
  ++queue.count;
  task->group_ = this;
  task->queue_ = priority;
  task->state.store(MTask::kQueued, std::memory_order_release);
  task->state.notify_all();
}

void MTaskGroup::Unlink(MTask* task) {
  Queue& queue = queues[task->queue_];
  (task->previous ? task->previous->next : queue.first) = task->next;
  (task->next ? task->next->previous : queue.last) = task->previous;
  task->previous = task->next = nullptr;
  --queue.count;
  task->group_ = nullptr;
  task->queue_ = -1;
}

bool MTaskGroup::Add(MTask* task, int32_t priority, bool allowChain) {
  if (!task) return false;
  if (priority < 0 || priority >= kQueueCount) ThrowIndexOutOfRange();
  {
    MLock hold(lock);
    MTask::State state = task->state.load(std::memory_order_acquire);
    if (state == MTask::kQueued) return false;
    if (state == MTask::kRunning && allowChain) {
      if (task->nextTask && task->nextTask != task)
        throw MException(MString("Next task already set."));
      task->nextTask = task;
      task->nextPriority = priority;
      return true;
    }
    task->cancelled.store(false, std::memory_order_release);
    Enqueue(task, priority);
  }
  semaphore.Release();
  return true;
}

bool MTaskGroup::Chain(MTask* running, MTask* next) {
  MLock hold(lock);
  if (!running || !next || running->state.load(std::memory_order_acquire) != MTask::kRunning)
    return false;
  if (next == running) return true;
  if (running->nextTask && running->nextTask != next)
    throw MException(MString("Next task already set."));
  running->nextTask = next;
  running->nextPriority = 2;
  return true;
}

bool MTaskGroup::Remove(MTask* task) {
  MLock hold(lock);
  if (!task || task->group_ != this ||
      task->state.load(std::memory_order_acquire) != MTask::kQueued)
    return false;
  // Its unit stays in the count: a worker wakes once for nothing.
  Unlink(task);
  task->state.store(MTask::kIdle, std::memory_order_release);
  task->state.notify_all();
  return true;
}

void MTaskGroup::WaitFor(MTask* task) {
  for (;;) {
    MTask::State state = task->state.load(std::memory_order_acquire);
    if (state == MTask::kIdle) return;
    task->state.wait(state, std::memory_order_acquire);
  }
}

MTask* MTaskGroup::Pick(MTaskThread& worker) {
  MTask* chosen = nullptr;
  bool seen = false;
  {
    MLock hold(lock);
    for (int32_t priority = kQueueCount - 1; priority >= 0 && !chosen; --priority) {
      for (MTask* task = queues[priority].first; task; task = task->next) {
        seen = true;
        // A cancelled task is taken at once, only to be dropped.
        bool canRun = task->cancelled.load(std::memory_order_acquire);
        if (!canRun) Guarded("MTaskThread::Execute", [&] { canRun = task->CanRunNow(); });
        if (canRun) {
          chosen = task;
          break;
        }
      }
    }
    if (chosen) {
      Unlink(chosen);
      worker.current = chosen;
      chosen->state.store(MTask::kRunning, std::memory_order_release);
      chosen->state.notify_all();
    }
  }
  if (!chosen && seen) {
    // The unit this worker took belongs to a task that cannot run yet: put it back
    // so that a worker looks again, and let others run first.
    semaphore.Release();
    std::this_thread::yield();
  }
  return chosen;
}

void MTaskGroup::Finish(MTaskThread& worker, MTask* task) {
  bool requeued = false;
  {
    MLock hold(lock);
    worker.current = nullptr;
    MTask* next = task->nextTask;
    int32_t priority = task->nextPriority;
    task->nextTask = nullptr;
    if (task->cancelled.load(std::memory_order_acquire)) next = nullptr;
    if (priority < 0 || priority >= kQueueCount) priority = 2;
    if (next == task) {
      // Straight from running to queued, so that WaitFor never sees it idle between
      // its runs. Already queued (added again without chaining): nothing to do.
      if (task->state.load(std::memory_order_acquire) == MTask::kRunning) {
        Enqueue(task, priority);
        requeued = true;
      }
    } else {
      // The follower is queued before this task turns idle, so that a caller that
      // waits for this one and then for the follower finds the follower queued.
      if (next) Add(next, priority, false);
      MTask::State running = MTask::kRunning;
      if (task->state.compare_exchange_strong(running, MTask::kIdle, std::memory_order_acq_rel))
        task->state.notify_all();
    }
  }
  if (requeued) semaphore.Release();
}

}  // namespace kx
