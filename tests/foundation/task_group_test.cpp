#include "foundation/threads/task_group.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <latch>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "support/failure_capture.h"

namespace kx {
namespace {

class MTaskGroupTest : public ::testing::Test {
 protected:
  std::unique_ptr<MFunctionTask> Task(const std::string& name) {
    return std::make_unique<MFunctionTask>([this, name] { Note(name); });
  }
  void Note(const std::string& name) {
    std::lock_guard<std::mutex> hold(lock_);
    journal_.push_back(name);
  }
  std::vector<std::string> Journal() {
    std::lock_guard<std::mutex> hold(lock_);
    return journal_;
  }
  MTaskGroup group;

 private:
  std::mutex lock_;
  std::vector<std::string> journal_;
};

TEST_F(MTaskGroupTest, TaskAddedTwiceWhileQueuedRunsOnce) {
  auto task = Task("t");
  EXPECT_TRUE(group.Add(task.get(), 1));
  EXPECT_FALSE(group.Add(task.get(), 4));
  group.Start(false, 2);
  group.WaitFor(task.get());
  EXPECT_EQ(Journal(), std::vector<std::string>{"t"});
  EXPECT_EQ(group.QueuedCount(), 0);
}

TEST_F(MTaskGroupTest, TaskAddedWhileRunningWithChainingRunsOnceMore) {
  std::latch started(1), release(1);
  std::atomic<int> runs{0};
  MFunctionTask task([&] {
    if (++runs == 1) {
      started.count_down();
      release.wait();
    }
  });
  group.Start(false, 2);
  ASSERT_TRUE(group.Add(&task));
  started.wait();
  EXPECT_EQ(task.state.load(), MTask::kRunning);
  EXPECT_TRUE(group.Add(&task, 3, true));
  EXPECT_TRUE(group.Add(&task, 3, true));  // still one more run, not two
  release.count_down();
  group.WaitFor(&task);
  EXPECT_EQ(runs.load(), 2);
}

TEST_F(MTaskGroupTest, HigherQueuesFirstAndEachQueueInOrder) {
  const std::pair<const char*, int> order[] = {{"a", 0}, {"b", 4}, {"c", 2}, {"d", 4},
                                               {"e", 0}, {"f", 2}, {"g", 3}};
  std::vector<std::unique_ptr<MFunctionTask>> tasks;
  for (const auto& [name, priority] : order) {
    tasks.push_back(Task(name));
    group.Add(tasks.back().get(), priority);
  }
  group.Start(false, 1);  // one worker: the order is the pick order
  for (auto& task : tasks) group.WaitFor(task.get());
  EXPECT_EQ(Journal(), (std::vector<std::string>{"b", "d", "g", "c", "f", "a", "e"}));
  EXPECT_THROW(group.Add(tasks[0].get(), 5), MException);
}

TEST_F(MTaskGroupTest, ChainedTaskFollowsAndASecondDifferentChainThrows) {
  auto next = Task("next"), other = Task("other");
  std::string chainFailure;
  MFunctionTask first([&] {
    group.Chain(&first, next.get());
    group.Chain(&first, next.get());           // the same follower again is fine
    EXPECT_TRUE(group.Chain(&first, &first));  // to itself: nothing
    chainFailure = ToStd(Failure([&] { group.Chain(&first, other.get()); }).message);
    Note("first");
  });
  EXPECT_FALSE(group.Chain(&first, next.get()));  // not running
  group.Start(false, 1);
  group.Add(&first, 1);
  group.WaitFor(&first);
  group.WaitFor(next.get());  // already queued when the first turned idle
  EXPECT_EQ(chainFailure, "Next task already set.");
  EXPECT_EQ(Journal(), (std::vector<std::string>{"first", "next"}));  // never "other"
}

TEST_F(MTaskGroupTest, RemovedAndCancelledTasksDoNotRun) {
  auto removed = Task("removed"), cancelled = Task("cancelled");
  auto kept = Task("kept"), follower = Task("follower");
  cancelled->nextTask = follower.get();  // dropped with the cancelled task
  for (MTask* task : {removed.get(), cancelled.get(), kept.get()}) group.Add(task, 2);
  EXPECT_TRUE(group.Remove(removed.get()));
  cancelled->Cancel();
  group.Start(false, 1);
  for (MTask* task : {cancelled.get(), kept.get()}) group.WaitFor(task);
  EXPECT_EQ(Journal(), std::vector<std::string>{"kept"});
  EXPECT_EQ(follower->state.load(), MTask::kIdle);
  // Adding again clears the cancellation.
  group.Add(cancelled.get(), 2);
  group.WaitFor(cancelled.get());
  EXPECT_EQ(Journal(), (std::vector<std::string>{"kept", "cancelled"}));
}

TEST_F(MTaskGroupTest, FailingTasksDoNotStopTheWorker) {
  MFunctionTask ours([] { throw MException(MString("task failed")); });
  MFunctionTask foreign([] { throw std::runtime_error("not ours"); });
  auto after = Task("after");
  group.Start(false, 1);
  for (MTask* task : std::initializer_list<MTask*>{&ours, &foreign, after.get()})
    group.Add(task, 2);
  group.WaitFor(after.get());
  EXPECT_EQ(group.WorkerCount(), 1);
}

TEST_F(MTaskGroupTest, StopReturnsOnlyAfterEveryWorkerEnded) {
  constexpr int kWorkers = 3;
  std::latch started(kWorkers), release(1);
  std::atomic<int> finished{0};
  std::vector<std::unique_ptr<MFunctionTask>> tasks;
  group.Start(false, kWorkers);
  for (int i = 0; i < kWorkers; ++i) {
    tasks.push_back(std::make_unique<MFunctionTask>([&] {
      started.count_down();
      release.wait();
      ++finished;
    }));
    group.Add(tasks.back().get(), 2);
  }
  started.wait();
  std::vector<MTaskThread*> workers;
  for (auto& worker : group.workers) workers.push_back(worker.get());
  // The tasks may end only once Stop has asked every worker to.
  std::thread releaser([&] {
    while (!std::all_of(workers.begin(), workers.end(),
                        [](MTaskThread* worker) { return worker->StopRequested(); }))
      std::this_thread::yield();
    release.count_down();
  });
  group.Stop();
  EXPECT_EQ(finished.load(), kWorkers);
  EXPECT_EQ(group.WorkerCount(), 0);
  releaser.join();
}

}  // namespace
}  // namespace kx
