// Time as this library measures it: every wait, sleep and "milliseconds gone" of our own runs on the monotonic clock,
// so that a step of the wall clock neither hangs nor cuts anything short. Two bodies exist for these declarations: the
// real one (Clock.cpp) and one that a test drives (tests/unit/DrivenClock.cpp); the program that links them chooses.
// Whatever NowNs alone is enough for is defined here.
#pragma once

#include <atomic>
#include <cstdint>

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

/// How many processors this thread may run on; one on a clock that a test drives, where looking before sleeping is no
/// use.
int UsableProcessors();

/// Sleeps the whole time; a signal does not cut it short.
void SleepUntil(std::int64_t deadline_ns);

/// A word that threads wait on. A thread that changes it calls Wake. It has no lock, so a thread whose wait is
/// interrupted by a signal handler holds none.
using Word = std::atomic<std::uint32_t>;

/// Waits while `word` holds `value`, until woken or until the deadline. False at the deadline; true may come early, and
/// the caller looks again.
bool WaitWhile(const Word& word, std::uint32_t value, std::int64_t deadline_ns);
/// The same; a thread that is cancelled (pthread_cancel) ends here.
bool WaitWhileOrCancelled(const Word& word, std::uint32_t value, std::int64_t deadline_ns);

/// Wakes at most `count` threads that wait on the word, the longest-waiting first. The word may be gone already.
void Wake(const Word& word, int count);
inline constexpr int kAllWaiters = INT32_MAX;

}  // namespace support

/// Milliseconds of the real-time clock, seconds x 1000.0 + nanoseconds / 1e6, truncated. For callers; nothing of our
/// own waits on it.
std::int64_t GetTickCount();
