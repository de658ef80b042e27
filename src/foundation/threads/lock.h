// MLockable: anything that can be locked. MCriticalSection: the recursive lock of
// the system. MLock: the scope guard that holds a lockable for one block.
//
// Lock(mode, count, timeout) takes the lock `count` times and answers whether it
// got it; a negative timeout waits without limit, 0 only tries. Unlock(count)
// gives it back as often. MLock throws "Could not acquire lock." when Lock answers
// false and does nothing for a null lockable.
#pragma once

#include <cstdint>
#include <mutex>

namespace kx {

// Lock modes. A critical section treats both as exclusive; the modes are there
// for lockables that can share.
enum class MLockMode : int32_t { kLockExclusive = 0, kLockShared = 1 };
using enum MLockMode;

constexpr int64_t kWaitForever = -1;

class MLockable {
 public:
  virtual ~MLockable() = default;
  virtual bool Lock(MLockMode mode, int32_t count, int64_t timeoutMilliseconds) = 0;
  virtual void Unlock(int32_t count) = 0;
};

class MCriticalSection : public MLockable {
 public:
  MCriticalSection() = default;
  MCriticalSection(const MCriticalSection&) = delete;
  MCriticalSection& operator=(const MCriticalSection&) = delete;

  bool Lock(MLockMode mode = kLockExclusive, int32_t count = 1,
            int64_t timeoutMilliseconds = kWaitForever) override;
  void Unlock(int32_t count = 1) override;

 private:
  std::recursive_mutex mutex_;
};

class MLock {
 public:
  explicit MLock(MLockable* lockable, MLockMode mode = kLockExclusive, int32_t count = 1);
  explicit MLock(MLockable& lockable, MLockMode mode = kLockExclusive, int32_t count = 1)
      : MLock(&lockable, mode, count) {}
  ~MLock();
  MLock(const MLock&) = delete;
  MLock& operator=(const MLock&) = delete;

 private:
  MLockable* lockable_;
  MLockMode mode_;
  int32_t count_;
};

}  // namespace kx
