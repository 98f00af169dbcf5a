// See DrivenClock.h. One lock guards time and list; a waiting thread takes it with its own mutex held, so Advance,
// which needs both the other way round, only tries the waiter's mutex and starts again when it is taken.
#include "tests/unit/DrivenClock.h"

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <list>
#include <mutex>
#include <sched.h>

#include "support/Clock.h"

namespace {

using support::kNsPerMillisecond;

/// One thread inside WaitUntil. Its mutex and condition live at least as long as it is listed.
struct Waiter {
  pthread_cond_t* condition;
  pthread_mutex_t* mutex;
  std::int64_t deadline_ns;
  bool timed_out;
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

/// Wakes the waits that are due. False when the mutex of one of them is taken: its thread may stand between its look at
/// the time and its wait, where a signal would be lost.
bool WakeDue(DrivenTime& time) {
  bool all_woken = true;
  for (Waiter& waiter : time.waiters) {
    if (waiter.timed_out || waiter.deadline_ns > time.now_ns) continue;
    if (pthread_mutex_trylock(waiter.mutex) != 0) {
      all_woken = false;
      continue;
    }
    waiter.timed_out = true;
    pthread_cond_broadcast(waiter.condition);
    pthread_mutex_unlock(waiter.mutex);
  }
  return all_woken;
}

void MoveTo(std::int64_t target_ns) {
  DrivenTime& time = Time();
  {
    const std::lock_guard lock(time.mutex);
    time.now_ns = std::max(time.now_ns, target_ns);
  }
  for (;;) {
    {
      const std::lock_guard lock(time.mutex);
      if (WakeDue(time)) return;
    }
    sched_yield();
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

void SleepUntil(std::int64_t deadline_ns) {
  MoveTo(deadline_ns);
}

int InitCondition(pthread_cond_t* condition) {
  return pthread_cond_init(condition, nullptr);
}

int WaitUntil(pthread_cond_t* condition, pthread_mutex_t* mutex, std::int64_t deadline_ns) {
  DrivenTime& time = Time();
  std::unique_lock lock(time.mutex);
  if (deadline_ns <= time.now_ns) {
    // A real wait, too, lets others in before it times out.
    lock.unlock();
    pthread_mutex_unlock(mutex);
    sched_yield();
    pthread_mutex_lock(mutex);
    return ETIMEDOUT;
  }
  const auto self = time.waiters.insert(time.waiters.end(), Waiter{condition, mutex, deadline_ns, false});
  time.arrived.notify_all();
  lock.unlock();
  const int result = pthread_cond_wait(condition, mutex);
  lock.lock();
  const bool timed_out = self->timed_out;
  time.waiters.erase(self);
  return timed_out ? ETIMEDOUT : result;
}

}  // namespace support

std::int64_t GetTickCount() {
  DrivenTime& time = Time();
  const std::lock_guard lock(time.mutex);
  return time.now_ns / kNsPerMillisecond + time.wall_offset_ms;
}
