// MTaskThread: one worker of an MTaskGroup. Its body waits on the group's
// semaphore, picks the most urgent task that can run, runs it and goes back to
// waiting, until its `stop` is raised. A task's MException is swallowed; any other
// failure is reported under "MTaskThread::Execute" and the worker goes on.
#pragma once

#include <cstdint>

#include "foundation/threads/thread.h"

namespace kx {

class MTask;
class MTaskGroup;

class MTaskThread : public MThread {
 public:
  MTaskThread(MTaskGroup& group, int32_t minimumPriority)
      : group(group), minimumPriority(minimumPriority) {}
  ~MTaskThread() override;

  int32_t Execute() override;

  MTaskGroup& group;
  // The lowest queue this worker is meant for; -1 for any (see task_group.cpp).
  int32_t minimumPriority;
  MTask* current = nullptr;  // under the group's lock
};

}  // namespace kx
