// MSemaphore: a counting semaphore whose count lives in user space. `pendingCount`
// is the number of free units minus the number of sleeping waiters; Release and
// Acquire only enter the system when a waiter sleeps or must be woken.
#pragma once

#include <atomic>
#include <cstdint>

#include "foundation/platform/semaphore.h"
#include "foundation/threads/lock.h"

namespace kx {

class MSemaphore {
 public:
  MSemaphore() = default;
  MSemaphore(const MSemaphore&) = delete;
  MSemaphore& operator=(const MSemaphore&) = delete;

  // Adds one unit, waking one sleeper if there is one.
  void Release();
  // Takes one unit, sleeping until there is one or the time is up (a negative
  // timeout waits without limit, 0 only tries). False when no unit was taken:
  // the time ran out or the system wait failed; the caller then starts over.
  bool Acquire(int64_t timeoutMilliseconds = kWaitForever);

  std::atomic<int32_t> pendingCount{0};

 private:
  platform::SystemSemaphore system_;
};

}  // namespace kx
