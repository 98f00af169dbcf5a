#include <future>
#include <gtest/gtest.h>

#include "scpi_core/Thread.h"
#include "support/Clock.h"

namespace {

/// Ends by itself, or waits for a stop.
class Worker : public CThreadObject {
 public:
  ~Worker() override { ThreadStop(0); }
  void ThreadCycle() override {
    ++cycles;
    if (ends_by_itself) return;
    neosmart::WaitForEvent(StopEvent(), neosmart::kInfinite);
    saw_stop = ThreadShouldStop();
  }
  std::atomic<int> cycles{0};
  std::atomic<bool> ends_by_itself{false};
  std::atomic<bool> saw_stop{false};
};

TEST(Thread, StartsAndStopsAgainAndAgain) {
  Worker worker;
  EXPECT_EQ(worker.ThreadStop(1000), 0);
  for (int round = 1; round <= 3; ++round) {
    EXPECT_EQ(worker.ThreadStart(), 0U);
    EXPECT_EQ(worker.ThreadStart(), 0xFFFFFFFFU);
    EXPECT_TRUE(worker.Active());
    EXPECT_EQ(worker.ThreadStopAsync(), 0);
    EXPECT_TRUE(worker.Active());
    EXPECT_EQ(worker.ThreadStop(1000), 0);
    EXPECT_FALSE(worker.Active());
    EXPECT_FALSE(worker.ThreadShouldStop());
    EXPECT_EQ(worker.cycles, round);
    EXPECT_TRUE(worker.saw_stop.exchange(false));
    EXPECT_EQ(neosmart::WaitForEvent(worker.StopEvent(), 0), neosmart::kTimedOut);
  }
}

TEST(Thread, StoppingTakesItsWholeTime) {
  const struct {
    const char* name;
    bool ends_by_itself;
    unsigned int timeout;
    std::int64_t milliseconds;
  } cases[] = {
      {"running", false, 1000, 1000},
      {"ended already", true, 1500, 1500},
      {"microseconds wrap in 32 bits", true, 4294968, 0},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    Worker worker;
    worker.ends_by_itself = row.ends_by_itself;
    worker.ThreadStart();
    const std::int64_t start = support::NowNs();
    worker.ThreadStop(row.timeout);
    EXPECT_EQ(support::MillisecondsSince(start), row.milliseconds);
  }
}

TEST(SafeObject, LocksAsOftenAsItIsUnlocked) {
  CSafeObject lock;
  const auto free_for_others = [&lock] {
    return std::async(std::launch::async,
                      [&lock] {
                        const bool got = lock.TryLock();
                        if (got) lock.Unlock();
                        return got;
                      })
        .get();
  };
  lock.Lock();
  EXPECT_TRUE(lock.TryLock());
  lock.Unlock();
  EXPECT_FALSE(free_for_others());
  lock.Unlock();
  EXPECT_TRUE(free_for_others());
}

}  // namespace
