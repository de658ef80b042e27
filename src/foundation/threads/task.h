// MTask: one piece of work for an MTaskGroup.
//
// `state` goes kIdle -> kQueued at MTaskGroup::Add -> kRunning when a
// worker picks it -> idle when it ends. A task that is cancelled while queued is
// taken off its queue by the worker without running, and its chained task is
// dropped. `nextTask` is queued, with `nextPriority`, when this one ends.
//
// The caller owns the task and keeps it alive until it is idle again
// (MTaskGroup::WaitFor); a queued task taken away early leaves its queue on
// destruction.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <utility>

namespace kx {

class MTaskGroup;

class MTask {
 public:
  enum class State : int32_t { kIdle, kQueued, kRunning };
  using enum State;

  MTask() = default;
  virtual ~MTask();
  MTask(const MTask&) = delete;
  MTask& operator=(const MTask&) = delete;

  virtual void Execute() = 0;
  // A worker skips a task that answers false and looks again later. Called
  // under the group's lock: answer quickly, and take no other lock.
  virtual bool CanRunNow() { return true; }

  // A queued task then ends without running its body.
  void Cancel() { cancelled.store(true, std::memory_order_release); }

  MTask* previous = nullptr;
  MTask* next = nullptr;
  std::atomic<State> state{kIdle};
  std::atomic<bool> cancelled{false};
  MTask* nextTask = nullptr;
  int32_t nextPriority = 2;

 private:
  friend class MTaskGroup;
  MTaskGroup* group_ = nullptr;  // the group whose queue holds it, while queued
  int32_t queue_ = -1;
};

// A task around a callable, for work that needs no class of its own.
class MFunctionTask : public MTask {
 public:
  MFunctionTask() = default;
  explicit MFunctionTask(std::function<void()> body) : body(std::move(body)) {}
  void Execute() override {
    if (body) body();
  }

  std::function<void()> body;
};

}  // namespace kx
