#include <atomic>
#include <cerrno>
#include <chrono>
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <thread>
#include <time.h>

#include "support/Clock.h"

namespace {

TEST(Clock, DeadlinesThatDoNotFitAreForEver) {
  EXPECT_EQ(support::DeadlineIn(UINT64_MAX), support::kNever);
  EXPECT_EQ(support::DeadlineIn(INT64_MAX / 1'000'000), support::kNever);
  EXPECT_LT(support::DeadlineIn(0xFFFFFFFF), support::kNever);
}

TEST(Clock, WaitsLastUntilTheirDeadline) {
  const support::Word word = 1;
  EXPECT_TRUE(support::WaitWhile(word, 2, support::kNever));
  const std::int64_t deadline = support::DeadlineIn(20);
  while (support::WaitWhile(word, 1, deadline)) {
  }
  EXPECT_GE(support::NowNs(), deadline);
  EXPECT_LT(support::NowNs(), deadline + 10'000'000'000);
}

TEST(Clock, ACancelledThreadLeavesItsWait) {
  std::atomic<bool> unwound = false;
  std::thread waiter([&] {
    struct Unwind {
      std::atomic<bool>& seen;
      ~Unwind() { seen = true; }
    } const unwind{unwound};
    const support::Word word = 1;
    for (;;) support::WaitWhileOrCancelled(word, 1, support::kNever);
  });
  pthread_cancel(waiter.native_handle());
  waiter.join();
  EXPECT_TRUE(unwound);
}

TEST(Clock, SignalsDoNotCutASleepShort) {
  struct sigaction action {};
  action.sa_handler = [](int) {};
  ASSERT_EQ(sigaction(SIGUSR1, &action, nullptr), 0);
  const pthread_t sleeper = pthread_self();
  std::atomic<bool> done = false;
  std::thread disturber([&] {
    while (!done) {
      pthread_kill(sleeper, SIGUSR1);
      std::this_thread::yield();
    }
  });
  const std::int64_t deadline = support::DeadlineIn(50);
  support::SleepUntil(deadline);
  const std::int64_t woken = support::NowNs();
  done = true;
  disturber.join();
  EXPECT_GE(woken, deadline);
}

TEST(Clock, TicksAreMillisecondsOfTheRealTimeClock) {
  const auto now = [] {
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch());
  };
  const auto before = now().count();
  const auto ticks = GetTickCount();
  EXPECT_GE(ticks, before);
  EXPECT_LE(ticks, now().count() + 1);
}

}  // namespace
