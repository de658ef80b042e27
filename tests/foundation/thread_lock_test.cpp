// The locks under the threads: MLock over any lockable, the recursive critical
// section, the global lock's active flag and the user-space counting semaphore.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "foundation/core/exception.h"
#include "foundation/threads/global_lock.h"
#include "foundation/threads/lock.h"
#include "foundation/threads/semaphore.h"
#include "support/failure_capture.h"

namespace kx {
namespace {

struct ScriptedLockable : MLockable {
  bool grant = true;
  std::vector<std::vector<int64_t>> calls;
  bool Lock(MLockMode mode, int32_t count, int64_t timeout) override {
    calls.push_back({1, static_cast<int64_t>(mode), count, timeout});
    return grant;
  }
  void Unlock(int32_t count) override { calls.push_back({2, count}); }
};

TEST(MLockTest, HoldsForTheScopeAndThrowsWhenRefused) {
  ScriptedLockable lockable;
  { MLock hold(&lockable, kLockShared, 3); }
  EXPECT_EQ(lockable.calls,
            (std::vector<std::vector<int64_t>>{{1, static_cast<int64_t>(kLockShared), 3, kWaitForever}, {2, 3}}));
  lockable.calls.clear();
  lockable.grant = false;
  EXPECT_EQ(ToStd(Failure([&] { MLock hold(lockable); }).message), "Could not acquire lock.");
  EXPECT_EQ(lockable.calls.size(), 1u);  // no unlock of what was never locked
}

// Whether another thread could take the lock right now (without waiting).
bool OtherThreadGets(MCriticalSection& section) {
  bool got = false;
  std::thread([&] {
    got = section.Lock(kLockExclusive, 1, 0);
    if (got) section.Unlock(1);
  }).join();
  return got;
}

TEST(MCriticalSectionTest, IsRecursiveAndHeldUntilEveryLevelIsGiven) {
  MCriticalSection section;
  EXPECT_TRUE(section.Lock(kLockExclusive, 2));
  EXPECT_TRUE(section.Lock());  // again on the same thread
  EXPECT_FALSE(OtherThreadGets(section));
  section.Unlock(2);
  section.Unlock();
  EXPECT_TRUE(OtherThreadGets(section));
}

TEST(MCriticalSectionTest, GlobalLockIsSkippedWhileInactive) {
  ASSERT_TRUE(IsGlobalLockActive());
  {
    MGlobalLock hold;
    EXPECT_FALSE(OtherThreadGets(GlobalLock()));
  }
  SetGlobalLockActive(false);
  {
    MGlobalLock hold;
    EXPECT_TRUE(OtherThreadGets(GlobalLock()));
    SetGlobalLockActive(true);  // turned on while inside: leaving must not unlock
  }
  EXPECT_TRUE(OtherThreadGets(GlobalLock()));
}

TEST(MSemaphoreTest, EveryReleaseWakesExactlyOneAcquire) {
  constexpr int kConsumers = 4;
  constexpr int kEach = 250;
  MSemaphore semaphore;
  std::atomic<int> taken{0};
  std::vector<std::thread> consumers;
  for (int i = 0; i < kConsumers; ++i)
    consumers.emplace_back([&] {
      for (int n = 0; n < kEach; ++n) {
        while (!semaphore.Acquire()) {
        }
        taken.fetch_add(1);
      }
    });
  for (int n = 0; n < kConsumers * kEach; ++n) semaphore.Release();
  for (std::thread& consumer : consumers) consumer.join();
  EXPECT_EQ(semaphore.pendingCount.load(), 0);
}

// A wait that takes no unit gives its claim back: the count is as before, and
// the next Release is there for the next Acquire at once.
TEST(MSemaphoreTest, FailedWaitGivesItsCountBack) {
  MSemaphore semaphore;
  EXPECT_FALSE(semaphore.Acquire(0));
  EXPECT_FALSE(semaphore.Acquire(1));
  EXPECT_EQ(semaphore.pendingCount.load(), 0);
  semaphore.Release();
  EXPECT_EQ(semaphore.pendingCount.load(), 1);
  EXPECT_TRUE(semaphore.Acquire(0));
  EXPECT_EQ(semaphore.pendingCount.load(), 0);
}

}  // namespace
}  // namespace kx
