// SystemSemaphore: the kernel-side counting semaphore under MSemaphore. Post adds
// one unit and wakes one waiter; Wait takes one unit, sleeping until there is one
// or the time is up. Wait is a cancellation point, so a cancelled thread does not
// stay asleep here.
#pragma once

#include <cstdint>

namespace kx::platform {

class SystemSemaphore {
 public:
  SystemSemaphore();
  ~SystemSemaphore();
  SystemSemaphore(const SystemSemaphore&) = delete;
  SystemSemaphore& operator=(const SystemSemaphore&) = delete;

  void Post();
  // A negative timeout waits without limit, 0 only tries. False when the time
  // ran out or the system refused the wait (interruptions by signals are waited
  // out).
  bool Wait(int64_t timeoutMilliseconds);

 private:
  alignas(8) unsigned char storage_[32];  // the system object, opaque here
};

}  // namespace kx::platform
