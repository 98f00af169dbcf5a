#include <array>
#include <future>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

#include "scpi_core/pevents.h"
#include "tests/unit/DrivenClock.h"

namespace {

using namespace neosmart;

/// Events from a text, two characters each: "a" auto-reset or "m" manual-reset, "+" signalled or "-" not.
struct Events {
  explicit Events(const std::string& text) {
    for (std::size_t i = 0; i + 1 < text.size(); i += 2)
      list.push_back(CreateEvent(text[i] == 'm', text[i + 1] == '+'));
  }
  ~Events() {
    for (neosmart_event_t event : list) DestroyEvent(event);
  }
  Events(const Events&) = delete;
  Events& operator=(const Events&) = delete;
  int Count() const { return static_cast<int>(list.size()); }
  /// "+" or "-" for each; auto-reset events are consumed by the look.
  std::string States() {
    std::string states;
    for (neosmart_event_t event : list) states += WaitForEvent(event, 0) == 0 ? '+' : '-';
    return states;
  }
  std::vector<neosmart_event_t> list;
};

std::future<std::array<int, 2>> WaitInThread(Events& events, bool all, std::uint64_t milliseconds) {
  return std::async(std::launch::async, [&events, all, milliseconds] {
    int index = -2;
    const int result = WaitForMultipleEvents(events.list.data(), events.Count(), all, milliseconds, index);
    return std::array{result, index};
  });
}

TEST(Event, LookAtSeveral) {
  const struct {
    const char* name;
    const char* events;
    bool all;
    int result;
    int index;
    const char* states;
  } cases[] = {
      {"any takes the first and leaves the rest", "a-a+m+a+", false, 0, 1, "--++"},
      {"any, manual reset stays", "m+a+", false, 0, 0, "++"},
      {"any, none", "a-m-", false, kTimedOut, -1, "--"},
      {"all", "a+m+a+", true, 0, 0, "-+-"},
      {"all, one due: what was set is consumed", "a+m-a+", true, kTimedOut, 1, "---"},
      {"all, two due", "a-m-", true, kTimedOut, 2, "--"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    Events events(row.events);
    int index = -2;
    EXPECT_EQ(WaitForMultipleEvents(events.list.data(), events.Count(), row.all, 0, index), row.result);
    EXPECT_EQ(index, row.index);
    EXPECT_EQ(events.States(), row.states);
  }
}

TEST(Event, OneIsKeptForTheNextWaiterAfterATimedOutWait) {
  Events events("a-m-");
  EXPECT_EQ(WaitForMultipleEvents(events.list.data(), 2, false, 0), kTimedOut);
  SetEvent(events.list[0]);  // finds the dead entry and drops it
  EXPECT_EQ(WaitForEvent(events.list[0], 0), 0);
  EXPECT_EQ(WaitForEvent(events.list[0], 0), kTimedOut);
}

TEST(Event, BusyCountsAsNotSet) {
  Events events("m+");
  pthread_mutex_lock(&events.list[0]->Mutex);
  const int busy = std::async(std::launch::async, [&] { return WaitForEvent(events.list[0], 0); }).get();
  pthread_mutex_unlock(&events.list[0]->Mutex);
  EXPECT_EQ(busy, kTimedOut);
  EXPECT_EQ(WaitForEvent(events.list[0], 0), 0);
}

TEST(Event, GoesToTheWaiterOnSeveralFirst) {
  Events events("m-a-");
  auto single = std::async(std::launch::async, [&] { return WaitForEvent(events.list[1], kInfinite); });
  test::AwaitWaiters(1);
  auto several = WaitInThread(events, false, kInfinite);
  test::AwaitWaiters(2);
  SetEvent(events.list[1]);
  EXPECT_EQ(several.get(), (std::array{0, 1}));
  EXPECT_EQ(test::Waiters(), 1U);
  SetEvent(events.list[1]);
  EXPECT_EQ(single.get(), 0);
  EXPECT_EQ(events.States(), "--");
}

TEST(Event, ManualResetReleasesAll) {
  Events events("a-m-");
  auto any = WaitInThread(events, false, kInfinite);
  auto all = WaitInThread(events, true, kInfinite);
  auto single = std::async(std::launch::async, [&] { return WaitForEvent(events.list[1], kInfinite); });
  test::AwaitWaiters(3);
  SetEvent(events.list[1]);
  EXPECT_EQ(any.get(), (std::array{0, 1}));
  EXPECT_EQ(single.get(), 0);
  SetEvent(events.list[0]);  // passes the dead entry of the wait on any
  EXPECT_EQ(all.get(), (std::array{0, 0}));
  EXPECT_EQ(events.States(), "-+");
}

TEST(Event, TimesOutAtItsDeadline) {
  for (const bool all : {false, true}) {
    SCOPED_TRACE(all ? "all" : "any");
    Events events("a-m-");
    auto wait = WaitInThread(events, all, 1000);
    test::AwaitTimedWaiters(1);
    test::StepWallClock(-3600000);
    test::Advance(999);
    EXPECT_EQ(test::TimedWaiters(), 1U);
    test::Advance(1);
    EXPECT_EQ(wait.get(), (std::array{kTimedOut, all ? 2 : -1}));
  }
}

TEST(Event, NoneIsLostOrTakenTwice) {
  Events events("a-a-m-");
  const neosmart_event_t taken = CreateEvent(false, false);
  std::thread producer([&] {
    for (int i = 0; i < 20000; ++i) {
      SetEvent(events.list[static_cast<std::size_t>(i % 2)]);
      WaitForEvent(taken, kInfinite);
    }
    SetEvent(events.list[2]);
  });
  int wrong = 0;
  int rounds = 0;
  for (int i = 0, index = -1; index != 2; ++i) {
    const int result = WaitForMultipleEvents(events.list.data(), 3, false, i % 3 == 0 ? kInfinite : 0, index);
    if ((result == 0) != (index >= 0)) ++wrong;
    if (index < 0 || index == 2) continue;
    if (index != rounds++ % 2) ++wrong;
    SetEvent(taken);
  }
  producer.join();
  DestroyEvent(taken);
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(rounds, 20000);
}

}  // namespace
