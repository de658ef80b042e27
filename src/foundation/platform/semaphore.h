// SystemSemaphore: the kernel-side counting semaphore under MSemaphore. Post adds
// one unit and wakes one waiter; Wait takes one unit, sleeping until there is one.
// Wait is a cancellation point, so a cancelled thread does not stay asleep here.
#pragma once

namespace kx::platform {

class SystemSemaphore {
 public:
  SystemSemaphore();
  ~SystemSemaphore();
  SystemSemaphore(const SystemSemaphore&) = delete;
  SystemSemaphore& operator=(const SystemSemaphore&) = delete;

  void Post();
  // False only when the system refused the wait (not for interruptions by
  // signals, which are waited out).
  bool Wait();

 private:
  alignas(8) unsigned char storage_[32];  // the system object, opaque here
};

}  // namespace kx::platform
