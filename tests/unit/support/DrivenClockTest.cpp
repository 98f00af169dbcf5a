#include <atomic>
#include <cerrno>
#include <gtest/gtest.h>
#include <pthread.h>
#include <thread>

#include "support/Clock.h"
#include "tests/unit/DrivenClock.h"

namespace {

struct Gate {
  Gate() { support::InitCondition(&condition); }
  ~Gate() { pthread_cond_destroy(&condition); }

  int Wait(std::int64_t deadline_ns) {
    pthread_mutex_lock(&mutex);
    int result = 0;
    while (!open && result == 0) result = support::WaitUntil(&condition, &mutex, deadline_ns);
    pthread_mutex_unlock(&mutex);
    return result;
  }

  void Open() {
    pthread_mutex_lock(&mutex);
    open = true;
    pthread_cond_broadcast(&condition);
    pthread_mutex_unlock(&mutex);
  }

  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
  pthread_cond_t condition{};
  bool open = false;
};

TEST(DrivenClock, SleepingMovesTheTime) {
  const std::int64_t start = support::NowNs();
  const std::int64_t tick = GetTickCount();
  support::SleepUntil(support::DeadlineIn(2500));
  EXPECT_EQ(support::MillisecondsSince(start), 2500);
  EXPECT_EQ(GetTickCount() - tick, 2500);
  test::StepWallClock(-100);
  EXPECT_EQ(GetTickCount() - tick, 2400);
  EXPECT_EQ(support::MillisecondsSince(start), 2500);
  EXPECT_EQ(support::DeadlineIn(UINT64_MAX), support::kNever);
}

TEST(DrivenClock, WaitsEndAtTheirDeadlinesOrWhenWoken) {
  Gate gate;
  const std::int64_t first = support::DeadlineIn(100);
  const std::int64_t second = support::DeadlineIn(300);
  std::atomic<int> early = -1, late = -1, endless = -1;
  std::thread early_thread([&] { early = gate.Wait(first); });
  std::thread late_thread([&] { late = gate.Wait(second); });
  std::thread endless_thread([&] { endless = gate.Wait(support::kNever); });
  test::AwaitWaiters(3);
  test::AwaitTimedWaiters(2);
  test::Advance(99);
  EXPECT_EQ(early, -1);
  test::Advance(1);
  early_thread.join();
  EXPECT_EQ(early, ETIMEDOUT);
  // They share one condition: the other two woke with the first and may be on their way back into the wait.
  test::AwaitWaiters(2);
  gate.Open();
  late_thread.join();
  endless_thread.join();
  EXPECT_EQ(late, 0);
  EXPECT_EQ(endless, 0);
  EXPECT_EQ(gate.Wait(first), 0);
}

// A waiter may stand anywhere between its look at the time and its wait when the time moves: a lost wake-up hangs here.
TEST(DrivenClock, NoWakeUpIsLost) {
  for (int round = 0; round < 2000; ++round) {
    Gate gate;
    const std::int64_t deadline = support::DeadlineIn(10);
    int result = -1;
    std::thread waiter([&] { result = gate.Wait(deadline); });
    test::Advance(10);
    waiter.join();
    ASSERT_EQ(result, ETIMEDOUT);
  }
}

}  // namespace
