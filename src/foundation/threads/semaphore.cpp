#include "foundation/threads/semaphore.h"

namespace kx {

void MSemaphore::Release() {
  // A count below zero before the increment means someone sleeps in the system
  // semaphore (or is about to): hand the unit over there.
  if (pendingCount.fetch_add(1, std::memory_order_acq_rel) < 0) system_.Post();
}

bool MSemaphore::Acquire() {
  if (pendingCount.fetch_sub(1, std::memory_order_acq_rel) > 0) return true;
  return system_.Wait();
}

}  // namespace kx
