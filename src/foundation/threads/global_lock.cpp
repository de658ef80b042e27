#include "foundation/threads/global_lock.h"
#include "foundation/core/never_destroyed.h"

#include <atomic>

namespace kx {

namespace {
std::atomic<bool> globalLockActive{true};
}  // namespace

MCriticalSection& GlobalLock() {
  // Never destroyed: events living in static objects still take it while the
  // program's statics are being torn down.
  static MNeverDestroyed<MCriticalSection> lock;
  return lock.Get();
}

void SetGlobalLockActive(bool active) {
  globalLockActive.store(active, std::memory_order_release);
}

bool IsGlobalLockActive() {
  return globalLockActive.load(std::memory_order_acquire);
}

MGlobalLock::MGlobalLock() : taken_(IsGlobalLockActive()) {
  if (taken_) GlobalLock().Lock();
}

MGlobalLock::~MGlobalLock() {
  if (taken_) GlobalLock().Unlock();
}

}  // namespace kx
