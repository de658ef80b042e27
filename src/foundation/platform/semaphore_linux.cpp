#include "foundation/platform/semaphore.h"

#include <errno.h>
#include <semaphore.h>

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

bool SystemSemaphore::Wait() {
  for (;;) {
    if (sem_wait(Native(storage_)) == 0) return true;
    if (errno != EINTR) return false;
  }
}

}  // namespace kx::platform
