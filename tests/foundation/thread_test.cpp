#include "foundation/threads/thread.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <latch>
#include <thread>

#include "support/failure_capture.h"

namespace kx {
namespace {

class BodyThread : public MThread {
 public:
  explicit BodyThread(std::function<int32_t(BodyThread&)> body) : body_(std::move(body)) {}
  ~BodyThread() override {
    Stop();
    Wait();
  }
  int32_t Execute() override {
    ranOn = std::this_thread::get_id();
    ++runs;
    return body_(*this);
  }
  void OnFinished() override { finishedOn = std::this_thread::get_id(); }

  std::thread::id ranOn, finishedOn;
  std::atomic<int> runs{0};

 private:
  std::function<int32_t(BodyThread&)> body_;
};

// What the program's silent wait does: poll the status until it leaves "running".
uint32_t AwaitEnd(const MThread& thread) {
  uint32_t status;
  while ((status = thread.status.load()) == kThreadRunning) std::this_thread::yield();
  return status;
}

TEST(MThreadTest, StatusTakesTheExitValueAndAThrowGivesMinusOne) {
  struct Case {
    const char* name;
    std::function<int32_t(BodyThread&)> body;
    uint32_t status;
  };
  const Case cases[] = {
      {"returns 7", [](BodyThread&) { return 7; }, 7u},
      {"MException", [](BodyThread&) -> int32_t { throw MException(MString("no")); }, 0xFFFFFFFFu},
      {"not even a class", [](BodyThread&) -> int32_t { throw 42; }, 0xFFFFFFFFu},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    BodyThread thread(c.body);
    thread.Start();
    EXPECT_EQ(AwaitEnd(thread), c.status);
    EXPECT_NE(thread.ranOn, std::this_thread::get_id());
    EXPECT_EQ(thread.finishedOn, thread.ranOn);  // OnFinished runs also after a throw
    EXPECT_TRUE(thread.Wait());
  }
}

TEST(MThreadTest, WaitAnswersWhetherTheThreadEndedAndStartRunsItAgain) {
  std::latch* release = nullptr;
  BodyThread thread([&release](BodyThread&) {
    release->wait();
    return 3;
  });
  for (int run = 1; run <= 2; ++run) {
    std::latch gate(1);
    release = &gate;
    thread.Start();
    EXPECT_FALSE(thread.Wait(0));
    thread.Start();  // already running: no second body
    gate.count_down();
    EXPECT_TRUE(thread.Wait());
    EXPECT_EQ(thread.runs.load(), run);
  }
}

struct EventProbe {
  std::thread::id startedOn;
  std::vector<MThread*> finished;
  void Started(MThread* const&) { startedOn = std::this_thread::get_id(); }
  void Finished(MThread* const& thread) { finished.push_back(thread); }
};

TEST(MThreadTest, StartedRunsOnTheThreadAndFinishedIsPostedToItsList) {
  EventProbe probe;
  MPendingList list;
  BodyThread thread([](BodyThread&) { return 0; });
  thread.startedEvent.Add(&probe, &EventProbe::Started);
  thread.finishedEvent.Add(&probe, &EventProbe::Finished);
  thread.pendingFinish = &list;
  thread.Start();
  AwaitEnd(thread);
  EXPECT_EQ(probe.startedOn, thread.ranOn);
  EXPECT_TRUE(probe.finished.empty());  // posted, not delivered
  EXPECT_EQ(list.ExecuteAll(), 1);
  EXPECT_EQ(probe.finished, std::vector<MThread*>{&thread});
  thread.Wait();
}

// A body blocked in a system call that only Kill can end.
int32_t SleepForever(std::latch& started) {
  started.count_down();
  for (;;) std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

TEST(MThreadTest, KillEndsABlockedBodyWithMinusOne) {
#if defined(__SANITIZE_THREAD__)
  // The thread sanitizer loses track of a thread cancelled inside one of the
  // calls it intercepts (here the sleep), and then reports its later locking.
  GTEST_SKIP() << "cancellation is not supported under the thread sanitizer";
#endif
  for (bool throughWait : {false, true}) {
    SCOPED_TRACE(throughWait ? "shutdown mode" : "Kill");
    std::latch started(1);
    BodyThread thread([&started](BodyThread&) { return SleepForever(started); });
    thread.Start();
    started.wait();
    if (throughWait) {
      SetKillThreadsOnWait(true);
      EXPECT_TRUE(thread.Wait());
      SetKillThreadsOnWait(false);
    } else {
      thread.Kill();
    }
    EXPECT_EQ(thread.status.load(), 0xFFFFFFFFu);
    EXPECT_TRUE(thread.Wait(0));
  }
}

TEST(MThreadTest, PrioritiesByIndex) {
  BodyThread held([](BodyThread&) { return 1; });
  held.SetPriority(kPriorityTimeCritical);  // creates the thread, held until Start
  held.Start();
  EXPECT_EQ(AwaitEnd(held), 1u);
  BodyThread thread([](BodyThread&) { return 1; });
  EXPECT_EQ(ToStd(Failure([&] { thread.SetPriority(7); }).message),
            "Could not set thread priority.");
  // Created by SetPriority and never started: waiting ends it without its body.
  thread.SetPriority(kPriorityNormal);
  EXPECT_TRUE(thread.Wait());
  EXPECT_EQ(thread.runs.load(), 0);
}

}  // namespace
}  // namespace kx
