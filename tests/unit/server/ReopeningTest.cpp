// The pauses before a lost instrument is opened again, on a clock that the test turns.
#include <chrono>
#include <gtest/gtest.h>
#include <vector>

#include "server/Reopening.h"

namespace {

using std::chrono::seconds;

/// An instrument that comes back at a time, and a server that may be stopped at one.
struct Bench {
  seconds now{0};
  seconds back{0};
  seconds stop = seconds::max();
  seconds attempt{0};  ///< how long an attempt takes that fails
  std::vector<long> attempts{};

  bool Reopen() {
    return server::OpenAgain(
        [this](seconds pause) {
          const bool stopped = now + pause >= stop;
          now = stopped ? stop : now + pause;
          return stopped;
        },
        [this] {
          attempts.push_back(now.count());
          if (now >= back) return true;
          now += attempt;
          return false;
        });
  }
};

TEST(Reopening, PausesGrowToTenSecondsAndStartAgainAfterEachLoss) {
  Bench bench{.back = seconds(50)};
  EXPECT_TRUE(bench.Reopen());
  EXPECT_EQ(bench.attempts, (std::vector<long>{1, 3, 7, 15, 25, 35, 45, 55}));
  bench.attempts.clear();
  bench.back = seconds(58);
  EXPECT_TRUE(bench.Reopen()) << "lost once more";
  EXPECT_EQ(bench.attempts, (std::vector<long>{56, 58}));
}

TEST(Reopening, CountsFromTheEndOfAnAttemptAndStopsInAPause) {
  Bench bench{.back = seconds::max(), .stop = seconds(260), .attempt = seconds(60)};
  EXPECT_FALSE(bench.Reopen());
  EXPECT_EQ(bench.attempts, (std::vector<long>{1, 63, 127, 195}));
  EXPECT_EQ(bench.now, seconds(260)) << "no attempt after the stop";
}

}  // namespace
