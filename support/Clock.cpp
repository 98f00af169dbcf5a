// The real clock: CLOCK_MONOTONIC for everything that waits, CLOCK_REALTIME for GetTickCount alone.
#include "support/Clock.h"

#include <cerrno>
#include <linux/futex.h>
#include <pthread.h>
#include <sched.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

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

long Futex(const Word& word, std::uint32_t value, std::int64_t deadline_ns) {
  static_assert(sizeof(Word) == sizeof(std::uint32_t) && Word::is_always_lock_free);
  const timespec deadline = ToTimespec(deadline_ns);
  return syscall(SYS_futex, &word, FUTEX_WAIT_BITSET | FUTEX_PRIVATE_FLAG, value,
                 deadline_ns == kNever ? nullptr : &deadline, nullptr, FUTEX_BITSET_MATCH_ANY);
}

}  // namespace

std::int64_t NowNs() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * kNsPerSecond + now.tv_nsec;
}

int UsableProcessors() {
  cpu_set_t set;
  return sched_getaffinity(0, sizeof set, &set) == 0 ? CPU_COUNT(&set) : 1;
}

void SleepUntil(std::int64_t deadline_ns) {
  const timespec deadline = ToTimespec(deadline_ns);
  while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &deadline, nullptr) == EINTR) {
  }
}

bool WaitWhile(const Word& word, std::uint32_t value, std::int64_t deadline_ns) {
  return Futex(word, value, deadline_ns) == 0 || errno != ETIMEDOUT;
}

// As the waits of the C library do it: the cancellation takes effect also when it comes while the thread sleeps. No
// object with a destructor may live here. AddressSanitizer does not see a cancelled thread leave a frame, so it must
// have marked nothing in this one.
[[gnu::no_sanitize_address]] bool WaitWhileOrCancelled(const Word& word, std::uint32_t value,
                                                       std::int64_t deadline_ns) {
  int type = PTHREAD_CANCEL_DEFERRED;
  pthread_setcanceltype(PTHREAD_CANCEL_ASYNCHRONOUS, &type);
  const bool woken = Futex(word, value, deadline_ns) == 0 || errno != ETIMEDOUT;
  pthread_setcanceltype(type, nullptr);
  return woken;
}

void Wake(const Word& word, int count) {
  syscall(SYS_futex, &word, FUTEX_WAKE | FUTEX_PRIVATE_FLAG, count, nullptr, nullptr, 0);
}

}  // namespace support

std::int64_t GetTickCount() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return TruncToInt64(static_cast<double>(now.tv_sec) * 1000.0 + static_cast<double>(now.tv_nsec) / 1e6);
}
