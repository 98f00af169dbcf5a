// The real clock: CLOCK_MONOTONIC for everything that waits, CLOCK_REALTIME for GetTickCount alone.
#include "support/Clock.h"

#include <cerrno>
#include <time.h>

#include "support/Integers.h"

namespace support {
namespace {

constexpr std::int64_t kNsPerSecond = 1'000'000'000;

timespec ToTimespec(std::int64_t ns) {
  timespec time{};
  time.tv_sec = ns / kNsPerSecond;
  time.tv_nsec = ns % kNsPerSecond;
  return time;
}

}  // namespace

std::int64_t NowNs() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * kNsPerSecond + now.tv_nsec;
}

void SleepUntil(std::int64_t deadline_ns) {
  const timespec deadline = ToTimespec(deadline_ns);
  while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &deadline, nullptr) == EINTR) {
  }
}

int InitCondition(pthread_cond_t* condition) {
  pthread_condattr_t attributes;
  if (const int result = pthread_condattr_init(&attributes); result != 0) return result;
  int result = pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
  if (result == 0) result = pthread_cond_init(condition, &attributes);
  pthread_condattr_destroy(&attributes);
  return result;
}

int WaitUntil(pthread_cond_t* condition, pthread_mutex_t* mutex, std::int64_t deadline_ns) {
  if (deadline_ns == kNever) return pthread_cond_wait(condition, mutex);
  const timespec deadline = ToTimespec(deadline_ns);
  return pthread_cond_timedwait(condition, mutex, &deadline);
}

}  // namespace support

std::int64_t GetTickCount() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return TruncToInt64(static_cast<double>(now.tv_sec) * 1000.0 + static_cast<double>(now.tv_nsec) / 1e6);
}
