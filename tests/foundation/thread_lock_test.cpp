#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "foundation/core/exception.h"
#include "foundation/threads/global_lock.h"
#include "foundation/threads/lock.h"
#include "foundation/threads/semaphore.h"
#include "support/failure_capture.h"

namespace kx {
namespace {

bool OtherThreadGets(MCriticalSection& section) {
  bool got = false;
  std::thread([&] {
    got = section.Lock(kLockExclusive, 1, 0);
    if (got) section.Unlock(1);
  }).join();
  return got;
}

struct RefusingLockable : MLockable {
  bool Lock(MLockMode, int32_t, int64_t) override { return false; }
  void Unlock(int32_t) override { ADD_FAILURE() << "unlocked what was never locked"; }
};

TEST(MLockTest, HoldsEveryLevelForTheScopeAndThrowsWhenRefused) {
  MCriticalSection section;
  {
    MLock hold(&section, kLockShared, 3);
    EXPECT_FALSE(OtherThreadGets(section));
  }
  EXPECT_TRUE(OtherThreadGets(section));
  RefusingLockable refusing;
  EXPECT_EQ(ToStd(Failure([&] { MLock hold(refusing); }).message), "Could not acquire lock.");
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
  constexpr int kConsumers = 4, kEach = 250;
  MSemaphore semaphore;
  std::vector<std::thread> consumers;
  for (int i = 0; i < kConsumers; ++i)
    consumers.emplace_back([&] {
      for (int n = 0; n < kEach; ++n)
        while (!semaphore.Acquire()) continue;
    });
  for (int n = 0; n < kConsumers * kEach; ++n) semaphore.Release();
  for (std::thread& consumer : consumers) consumer.join();
  EXPECT_FALSE(semaphore.Acquire(0));  // nothing left over
}

// A wait that takes no unit gives its claim back: the count is as before, and
// the next Release is there for the next Acquire at once.
TEST(MSemaphoreTest, FailedWaitGivesItsCountBack) {
  MSemaphore semaphore;
  EXPECT_FALSE(semaphore.Acquire(0));
  EXPECT_FALSE(semaphore.Acquire(1));
  semaphore.Release();
  EXPECT_TRUE(semaphore.Acquire(0));
  EXPECT_FALSE(semaphore.Acquire(0));
}

}  // namespace
}  // namespace kx
