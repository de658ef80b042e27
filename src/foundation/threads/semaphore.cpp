#include "foundation/threads/semaphore.h"

namespace kx {

void MSemaphore::Release() {
  // A count below zero before the increment means someone sleeps in the system
  // semaphore (or is about to): hand the unit over there.
  if (pendingCount.fetch_add(1, std::memory_order_acq_rel) < 0) system_.Post();
}

bool MSemaphore::Acquire(int64_t timeoutMilliseconds) {
  if (pendingCount.fetch_sub(1, std::memory_order_acq_rel) > 0) return true;
  if (system_.Wait(timeoutMilliseconds)) return true;
  // No unit came: take back the claim the decrement made. Only while the count
  // is still below zero, though: at zero or above a Release has already counted
  // this waiter as asleep and posted its unit to the system semaphore, which is
  // then ours to take (it is there, so the wait ends at once).
  int32_t count = pendingCount.load(std::memory_order_acquire);
  while (count < 0) {
    if (pendingCount.compare_exchange_weak(count, count + 1, std::memory_order_acq_rel))
      return false;
  }
  return system_.Wait(kWaitForever);
}

}  // namespace kx
