#include "foundation/threads/task_thread.h"

#include "foundation/core/exception.h"
#include "foundation/platform/threads.h"
#include "foundation/threads/task_group.h"

namespace kx {

namespace {

// The cancellation carries no object: see GuardThreadBody in thread.cpp.
[[gnu::no_sanitize("null")]] void RunTask(MTask* task) {
  try {
    task->Execute();
  } catch (platform::ThreadCancellation&) {
    throw;  // Kill: the worker ends
  } catch (MException&) {
    // A task's failure is its own business: the worker goes on.
  } catch (...) {
    ReportGuardFailure("MTaskThread::Execute");
  }
}

}  // namespace

MTaskThread::~MTaskThread() {
  Stop();
  if (Wait(0)) return;
  group.semaphore.Release();  // it may be asleep in the semaphore: wake it to see `stop`
  Wait(kWaitForever);
}

int32_t MTaskThread::Execute() {
  for (;;) {
    if (StopRequested()) break;
    if (!group.semaphore.Acquire()) continue;
    if (StopRequested()) break;
    MTask* task = group.Pick(*this);
    if (!task) continue;
    if (!task->cancelled.load(std::memory_order_acquire)) RunTask(task);
    group.Finish(*this, task);
  }
  return 0;
}

}  // namespace kx
