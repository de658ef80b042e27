#include "foundation/threads/lock.h"

#include <chrono>
#include <thread>

#include "foundation/core/exception.h"

namespace kx {

namespace {

// A lock with a time limit tries, and sleeps a millisecond between tries. Locks
// with a limit are rare and short here; a timed system lock would do better, but
// the thread sanitizer cannot see the call that the library makes for it
// (pthread_mutex_clocklock) and would then report every unlock as wrong.
bool TryLockFor(std::recursive_mutex& mutex, int64_t timeoutMilliseconds) {
  constexpr int64_t kMonth = 30LL * 24 * 3600 * 1000;  // keeps the deadline arithmetic in range
  if (timeoutMilliseconds > kMonth) timeoutMilliseconds = kMonth;
  auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMilliseconds);
  for (;;) {
    if (mutex.try_lock()) return true;
    if (std::chrono::steady_clock::now() >= deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

}  // namespace

bool MCriticalSection::Lock(MLockMode /*mode*/, int32_t count, int64_t timeoutMilliseconds) {
  for (int32_t taken = 0; taken < count; ++taken) {
    if (timeoutMilliseconds < 0) {
      mutex_.lock();
    } else if (!TryLockFor(mutex_, taken == 0 ? timeoutMilliseconds : 0)) {
      // Only the first acquisition can wait; the following ones are recursive.
      Unlock(taken);
      return false;
    }
  }
  return true;
}

void MCriticalSection::Unlock(int32_t count) {
  for (int32_t i = 0; i < count; ++i) mutex_.unlock();
}

MLock::MLock(MLockable* lockable, MLockMode mode, int32_t count)
    : lockable_(lockable), mode_(mode), count_(count) {
  if (lockable_ && !lockable_->Lock(mode_, count_, kWaitForever))
    throw MException(MString("Could not acquire lock."));
}

MLock::~MLock() {
  if (lockable_) lockable_->Unlock(count_);
}

}  // namespace kx
