#include "foundation/threads/event.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace kx {
namespace {

// One shared log shows the order of rounds and of listeners within a round.
struct Recorder {
  std::vector<std::string>* log;
  std::string name;
  bool answer = false;

  bool Take(const int& value) {
    log->push_back(name + std::to_string(value));
    return answer;
  }
  void TakeWithArgument(const int& value, int32_t argument) {
    log->push_back(name + std::to_string(value) + "/" + std::to_string(argument));
  }
  bool Peek(const int& value) const {
    log->push_back(name + "peek" + std::to_string(value));
    return false;
  }
  bool Fail(const int&) { throw MException(MString("listener failed")); }
  bool FailForeign(const int&) { throw std::runtime_error("not ours"); }
};

class MEventTest : public ::testing::Test {
 protected:
  // Tests share the global list: leave it empty for the next one.
  void SetUp() override { Drain(); }
  void TearDown() override { Drain(); }
  static void Drain() {
    while (ExecuteAllPending() > 0) continue;
  }

  std::vector<std::string> log;
  Recorder a{&log, "a"}, b{&log, "b"};
};

TEST_F(MEventTest, ThreePostsGiveThreeRoundsInOrder) {
  MEvent<int> event;
  event.Post(0);  // no listener yet: nothing is kept for a listener added later
  EXPECT_EQ(GlobalPendingList().Count(), 0);
  event.Add(&a, &Recorder::Take);
  event.Add(&b, &Recorder::TakeWithArgument, 7);
  for (int value : {1, 2, 3}) event.Post(value);
  EXPECT_TRUE(log.empty());  // nothing runs before the drain
  EXPECT_EQ(GlobalPendingList().Count(), 3);
  EXPECT_EQ(ExecuteAllPending(), 3);
  EXPECT_EQ(log, (std::vector<std::string>{"a1", "b1/7", "a2", "b2/7", "a3", "b3/7"}));
}

// The drain delivers only what was pending when it began.
struct Reposter {
  MEvent<int>* event;
  int rounds = 0;
  void Take(const int& value) {
    ++rounds;
    event->Post(value + 1);
  }
};

TEST_F(MEventTest, ListenerThatPostsAgainRunsAtTheNextDrain) {
  MEvent<int> event;
  Reposter reposter{&event};
  event.Add(&reposter, &Reposter::Take);
  event.Post(0);
  for (int drain = 1; drain <= 3; ++drain) {
    EXPECT_EQ(ExecuteAllPending(), 1);
    EXPECT_EQ(reposter.rounds, drain);
  }
  event.CancelPending();
  EXPECT_EQ(ExecuteAllPending(), 0);
}

TEST_F(MEventTest, FailingListenerDoesNotStopTheNext) {
  struct Case {
    const char* name;
    bool (Recorder::*failing)(const int&);
    bool pending;
  };
  for (const Case& c : {Case{"MException, immediate", &Recorder::Fail, false},
                        Case{"foreign, pending", &Recorder::FailForeign, true}}) {
    SCOPED_TRACE(c.name);
    log.clear();
    MEvent<int> event;
    event.Add(&a, c.failing);
    event.Add(&b, &Recorder::Take);
    event.Add(&a, c.failing);
    event.Add(&a, &Recorder::Peek);
    if (c.pending) {
      event.Post(4);
      EXPECT_EQ(ExecuteAllPending(), 1);
    } else {
      EXPECT_FALSE(event.ExecuteImmediately(4));  // nobody said yes
      log.clear();
      b.answer = true;
      EXPECT_TRUE(event.ExecuteImmediately(4));
      b.answer = false;
    }
    EXPECT_EQ(log, (std::vector<std::string>{"b4", "apeek4"}));
  }
}

TEST_F(MEventTest, EventDestroyedWithPendingEntriesNeverFires) {
  auto doomed = std::make_unique<MEvent<int>>();
  MEvent<int> survivor;
  doomed->Add(&a, &Recorder::Take);
  survivor.Add(&b, &Recorder::Take);
  for (int value : {1, 2, 3, 4}) (value % 2 ? *doomed : survivor).Post(value);
  doomed.reset();
  EXPECT_EQ(GlobalPendingList().Count(), 2);
  EXPECT_EQ(ExecuteAllPending(), 2);
  EXPECT_EQ(log, (std::vector<std::string>{"b2", "b4"}));
}

TEST_F(MEventTest, OwnListsAreDrainedApartAndEntriesFollowTheEvent) {
  MEvent<int> event;
  event.Add(&a, &Recorder::Take);
  {
    MPendingList own;
    event.PostTo(own, 1);
    EXPECT_EQ(GlobalPendingList().Count(), 0);
    // Posting to another list takes the waiting entries along.
    MPendingList other;
    event.PostTo(other, 2);
    EXPECT_EQ(own.Count(), 0);
    EXPECT_EQ(other.ExecuteAll(), 2);
    EXPECT_EQ(log, (std::vector<std::string>{"a1", "a2"}));
    event.PostTo(other, 3);
  }  // the list goes with an entry on it: its payload goes too
  event.Post(4);
  EXPECT_EQ(ExecuteAllPending(), 1);
  EXPECT_EQ(log.back(), "a4");
}

// Posting threads against a draining one: every payload arrives once, and the
// payloads of one thread in their order.
struct Collector {
  std::vector<int> values;
  void Take(const int& value) { values.push_back(value); }
};

TEST_F(MEventTest, PostsFromManyThreadsAllArriveInOrderPerThread) {
  constexpr int kThreads = 4, kPosts = 500;
  MEvent<int> event;
  Collector collector;
  event.Add(&collector, &Collector::Take);
  std::vector<std::thread> posters;
  for (int t = 0; t < kThreads; ++t)
    posters.emplace_back([&event, t] {
      for (int i = 0; i < kPosts; ++i) event.Post(t * kPosts + i);
    });
  while (collector.values.size() < static_cast<size_t>(kThreads * kPosts))
    if (ExecuteAllPending() == 0) std::this_thread::yield();
  for (std::thread& poster : posters) poster.join();
  std::vector<int> next(kThreads, 0);
  for (int value : collector.values)
    ASSERT_EQ(value % kPosts, next[value / kPosts]++) << "thread " << value / kPosts;
  EXPECT_EQ(ExecuteAllPending(), 0);
}

}  // namespace
}  // namespace kx
