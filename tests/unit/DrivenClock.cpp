// See DrivenClock.h. One lock guards time and list. A waiting thread looks at its word under it, so no wake is missed.
#include "tests/unit/DrivenClock.h"

#include <algorithm>
#include <condition_variable>
#include <list>
#include <mutex>

#include "support/Clock.h"

namespace {

using support::kNsPerMillisecond;

/// One thread inside WaitWhile.
struct Waiter {
  const support::Word* word;
  std::int64_t deadline_ns;
  bool woken = false;
  bool timed_out = false;
  std::condition_variable changed{};
};

struct DrivenTime {
  std::mutex mutex;
  std::condition_variable arrived;
  std::list<Waiter> waiters;
  std::int64_t now_ns = 5'000'000'000'000;
  std::int64_t wall_offset_ms = 1'700'000'000'000;

  std::size_t CountTimed() const {
    return static_cast<std::size_t>(std::count_if(
        waiters.begin(), waiters.end(), [](const Waiter& waiter) { return waiter.deadline_ns != support::kNever; }));
  }
};

/// Never destroyed: threads may outlive the statics of the test program.
DrivenTime& Time() {
  static auto* const time = new DrivenTime;
  return *time;
}

void MoveTo(std::int64_t target_ns) {
  DrivenTime& time = Time();
  const std::lock_guard lock(time.mutex);
  time.now_ns = std::max(time.now_ns, target_ns);
  for (Waiter& waiter : time.waiters) {
    if (waiter.deadline_ns > time.now_ns) continue;
    waiter.timed_out = true;
    waiter.changed.notify_one();
  }
}

}  // namespace

namespace test {

void Advance(std::int64_t milliseconds) {
  MoveTo(support::NowNs() + milliseconds * kNsPerMillisecond);
}

void StepWallClock(std::int64_t milliseconds) {
  DrivenTime& time = Time();
  const std::lock_guard lock(time.mutex);
  time.wall_offset_ms += milliseconds;
}

std::size_t Waiters() {
  DrivenTime& time = Time();
  const std::lock_guard lock(time.mutex);
  return time.waiters.size();
}

std::size_t TimedWaiters() {
  DrivenTime& time = Time();
  const std::lock_guard lock(time.mutex);
  return time.CountTimed();
}

void AwaitWaiters(std::size_t count) {
  DrivenTime& time = Time();
  std::unique_lock lock(time.mutex);
  time.arrived.wait(lock, [&] { return time.waiters.size() >= count; });
}

void AwaitTimedWaiters(std::size_t count) {
  DrivenTime& time = Time();
  std::unique_lock lock(time.mutex);
  time.arrived.wait(lock, [&] { return time.CountTimed() >= count; });
}

}  // namespace test

namespace support {

std::int64_t NowNs() {
  DrivenTime& time = Time();
  const std::lock_guard lock(time.mutex);
  return time.now_ns;
}

int UsableProcessors() {
  return 1;
}

void SleepUntil(std::int64_t deadline_ns) {
  MoveTo(deadline_ns);
}

bool WaitWhile(const Word& word, std::uint32_t value, std::int64_t deadline_ns) {
  DrivenTime& time = Time();
  std::unique_lock lock(time.mutex);
  if (word != value) return true;
  if (deadline_ns <= time.now_ns) return false;
  const auto self = time.waiters.emplace(time.waiters.end(), &word, deadline_ns);
  time.arrived.notify_all();
  self->changed.wait(lock, [&] { return self->woken || self->timed_out; });
  const bool woken = self->woken;
  time.waiters.erase(self);
  return woken;
}

bool WaitWhileOrCancelled(const Word& word, std::uint32_t value, std::int64_t deadline_ns) {
  return WaitWhile(word, value, deadline_ns);
}

void Wake(const Word& word, int count) {
  DrivenTime& time = Time();
  const std::lock_guard lock(time.mutex);
  for (Waiter& waiter : time.waiters) {
    if (count == 0) return;
    if (waiter.word != &word || waiter.woken || waiter.timed_out) continue;
    waiter.woken = true;
    waiter.changed.notify_one();
    --count;
  }
}

}  // namespace support

std::int64_t GetTickCount() {
  DrivenTime& time = Time();
  const std::lock_guard lock(time.mutex);
  return time.now_ns / kNsPerMillisecond + time.wall_offset_ms;
}
