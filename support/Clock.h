// Time as this library measures it: every wait, sleep and "milliseconds gone" of our own runs on the monotonic clock,
// so that a step of the wall clock neither hangs nor cuts anything short. Two bodies exist for these declarations: the
// real one (Clock.cpp) and one that a test drives (tests/unit/DrivenClock.cpp); whoever links decides. What follows
// from NowNs alone stands here.
#pragma once

#include <cstdint>
#include <pthread.h>

namespace support {

/// Deadline of a wait without end.
inline constexpr std::int64_t kNever = INT64_MAX;
inline constexpr std::int64_t kNsPerMillisecond = 1'000'000;

/// Nanoseconds on the monotonic clock.
std::int64_t NowNs();

/// The deadline that lies `milliseconds` ahead; kNever when that does not fit.
inline std::int64_t DeadlineIn(std::uint64_t milliseconds) {
  const std::int64_t now = NowNs();
  const auto fitting = static_cast<std::uint64_t>((kNever - now) / kNsPerMillisecond);
  return milliseconds >= fitting ? kNever : now + static_cast<std::int64_t>(milliseconds) * kNsPerMillisecond;
}

/// Whole milliseconds gone since `start_ns`, a value of NowNs.
inline std::int64_t MillisecondsSince(std::int64_t start_ns) {
  return (NowNs() - start_ns) / kNsPerMillisecond;
}

/// Sleeps the whole time; a signal does not cut it short.
void SleepUntil(std::int64_t deadline_ns);

/// Makes a condition variable that WaitUntil can wait on. Returns the result of pthread_cond_init.
int InitCondition(pthread_cond_t* condition);

/// Waits on `condition` with `mutex` held until woken (0) or until the deadline (ETIMEDOUT). Wakes may be spurious.
int WaitUntil(pthread_cond_t* condition, pthread_mutex_t* mutex, std::int64_t deadline_ns);

}  // namespace support

/// Milliseconds of the real-time clock, seconds x 1000.0 + nanoseconds / 1e6, truncated. For callers; nothing of our
/// own waits on it.
std::int64_t GetTickCount();
