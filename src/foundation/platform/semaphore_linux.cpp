#include "foundation/platform/semaphore.h"

#include <errno.h>
#include <semaphore.h>
#include <time.h>

#include <new>

namespace kx::platform {

// A process-private POSIX semaphore is the direct counterpart of an unnamed
// system semaphore: posting never blocks and waiting is a cancellation point.
static_assert(sizeof(sem_t) <= 32 && alignof(sem_t) <= 8, "storage too small for sem_t");

namespace {
sem_t* Native(unsigned char* storage) {
  return std::launder(reinterpret_cast<sem_t*>(storage));
}
}  // namespace

SystemSemaphore::SystemSemaphore() {
  sem_init(reinterpret_cast<sem_t*>(storage_), 0, 0);
}

SystemSemaphore::~SystemSemaphore() {
  sem_destroy(Native(storage_));
}

void SystemSemaphore::Post() {
  sem_post(Native(storage_));
}

bool SystemSemaphore::Wait(int64_t timeoutMilliseconds) {
  sem_t* semaphore = Native(storage_);
  if (timeoutMilliseconds == 0) return sem_trywait(semaphore) == 0;
  timespec deadline{};
  if (timeoutMilliseconds > 0) {
    // On the monotonic clock, so that a change of the wall clock neither
    // shortens nor stretches the wait.
    clock_gettime(CLOCK_MONOTONIC, &deadline);
    deadline.tv_sec += static_cast<time_t>(timeoutMilliseconds / 1000);
    deadline.tv_nsec += static_cast<long>(timeoutMilliseconds % 1000) * 1000000L;
    if (deadline.tv_nsec >= 1000000000L) {
      deadline.tv_sec += 1;
      deadline.tv_nsec -= 1000000000L;
    }
  }
  for (;;) {
    int result = timeoutMilliseconds < 0 ? sem_wait(semaphore)
                                         : sem_clockwait(semaphore, CLOCK_MONOTONIC, &deadline);
    if (result == 0) return true;
    if (errno != EINTR) return false;
  }
}

}  // namespace kx::platform
