#include "foundation/platform/threads.h"

#include <errno.h>
#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <time.h>
#include <unistd.h>

namespace kx::platform {

// POSIX threads cannot be created suspended, so a new thread first publishes its
// kernel id (needed for its nice value) and then waits at a gate until resumed.
struct NativeThread {
  pthread_t handle{};
  pid_t tid = 0;
  NativeThreadEntry entry = nullptr;
  void* argument = nullptr;
  pthread_mutex_t mutex;
  pthread_cond_t changed;
  bool started = false;
  bool released = false;
  bool ended = false;
};

namespace {

// Unlocks in its destructor, so that a thread cancelled inside
// pthread_cond_wait (which returns to us with the mutex held) lets it go.
class MutexHolder {
 public:
  explicit MutexHolder(pthread_mutex_t* mutex) : mutex_(mutex) { pthread_mutex_lock(mutex_); }
  ~MutexHolder() { pthread_mutex_unlock(mutex_); }
  MutexHolder(const MutexHolder&) = delete;
  MutexHolder& operator=(const MutexHolder&) = delete;

 private:
  pthread_mutex_t* mutex_;
};

// Marks the end of the thread on every way out, cancellation included: the
// unwinding of a cancelled thread runs destructors.
class EndMarker {
 public:
  explicit EndMarker(NativeThread* thread) : thread_(thread) {}
  ~EndMarker() {
    MutexHolder hold(&thread_->mutex);
    thread_->ended = true;
    pthread_cond_broadcast(&thread_->changed);
  }
  EndMarker(const EndMarker&) = delete;
  EndMarker& operator=(const EndMarker&) = delete;

 private:
  NativeThread* thread_;
};

void* ThreadMain(void* raw) {
  auto* thread = static_cast<NativeThread*>(raw);
  EndMarker marker(thread);
  {
    MutexHolder hold(&thread->mutex);
    thread->tid = ::gettid();
    thread->started = true;
    pthread_cond_broadcast(&thread->changed);
    while (!thread->released) pthread_cond_wait(&thread->changed, &thread->mutex);
  }
  thread->entry(thread->argument);
  return nullptr;
}

void FreeThread(NativeThread* thread) {
  pthread_cond_destroy(&thread->changed);
  pthread_mutex_destroy(&thread->mutex);
  delete thread;
}

timespec DeadlineAfter(int64_t milliseconds) {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  int64_t nanoseconds = now.tv_nsec + (milliseconds % 1000) * 1000000;
  timespec deadline{};
  deadline.tv_sec =
      now.tv_sec + static_cast<time_t>(milliseconds / 1000 + nanoseconds / 1000000000);
  deadline.tv_nsec = static_cast<long>(nanoseconds % 1000000000);
  return deadline;
}

// Nice values of the priority levels, idle to time critical.
constexpr int kNiceByPriority[kThreadPriorityCount] = {19, 10, 5, 0, -5, -10, -20};

}  // namespace

int CreateNativeThread(NativeThreadEntry entry, void* argument, NativeThread*& thread) {
  thread = nullptr;
  auto* created = new NativeThread;
  created->entry = entry;
  created->argument = argument;
  pthread_mutex_init(&created->mutex, nullptr);
  // Time limits are measured on the monotonic clock: a change of the wall clock
  // must not stretch or cut a wait.
  pthread_condattr_t attributes;
  pthread_condattr_init(&attributes);
  pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
  pthread_cond_init(&created->changed, &attributes);
  pthread_condattr_destroy(&attributes);

  int error = pthread_create(&created->handle, nullptr, &ThreadMain, created);
  if (error != 0) {
    FreeThread(created);
    return error;
  }
  {
    MutexHolder hold(&created->mutex);
    while (!created->started) pthread_cond_wait(&created->changed, &created->mutex);
  }
  thread = created;
  return 0;
}

void ResumeNativeThread(NativeThread* thread) {
  MutexHolder hold(&thread->mutex);
  thread->released = true;
  pthread_cond_broadcast(&thread->changed);
}

bool WaitNativeThread(NativeThread* thread, int64_t timeoutMilliseconds) {
  MutexHolder hold(&thread->mutex);
  if (timeoutMilliseconds < 0) {
    while (!thread->ended) pthread_cond_wait(&thread->changed, &thread->mutex);
    return true;
  }
  timespec deadline = DeadlineAfter(timeoutMilliseconds);
  while (!thread->ended) {
    if (pthread_cond_timedwait(&thread->changed, &thread->mutex, &deadline) == ETIMEDOUT)
      return thread->ended;
  }
  return true;
}

void ReleaseNativeThread(NativeThread* thread) {
  pthread_join(thread->handle, nullptr);
  FreeThread(thread);
}

void CancelNativeThread(NativeThread* thread) {
  pthread_cancel(thread->handle);
  ReleaseNativeThread(thread);
}

bool IsCurrentNativeThread(const NativeThread* thread) {
  return thread && pthread_equal(thread->handle, pthread_self());
}

int SetNativeThreadPriority(NativeThread* thread, int priorityIndex) {
  if (priorityIndex < 0 || priorityIndex >= kThreadPriorityCount) return EINVAL;
  // An ended thread is left alone: the kernel may give its id to a new thread
  // (only after the id space has wrapped, so the window below is harmless).
  {
    MutexHolder hold(&thread->mutex);
    if (thread->ended) return 0;
  }
  // On Linux a nice value is per thread when given the thread's kernel id.
  int wanted = kNiceByPriority[priorityIndex];
  if (setpriority(PRIO_PROCESS, static_cast<id_t>(thread->tid), wanted) == 0) return 0;
  int error = errno;
  if (error != EACCES && error != EPERM) return error;
  // Without the right to raise, go as high as RLIMIT_NICE allows (a ceiling of
  // 20 - limit), and else keep the present value.
  rlimit limit{};
  if (getrlimit(RLIMIT_NICE, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY) {
    int ceiling = 20 - static_cast<int>(limit.rlim_cur > 40 ? 40 : limit.rlim_cur);
    errno = 0;
    int present = getpriority(PRIO_PROCESS, static_cast<id_t>(thread->tid));
    if (errno == 0 && ceiling > wanted && ceiling < present)
      setpriority(PRIO_PROCESS, static_cast<id_t>(thread->tid), ceiling);
  }
  return 0;
}

int PinNativeThread(NativeThread* thread, const std::vector<int>& processors) {
  cpu_set_t set;
  CPU_ZERO(&set);
  for (int processor : processors)
    if (processor >= 0 && processor < CPU_SETSIZE) CPU_SET(processor, &set);
  if (CPU_COUNT(&set) == 0) return EINVAL;
  return pthread_setaffinity_np(thread->handle, sizeof set, &set);
}

}  // namespace kx::platform
