// A clock that a test drives: the same functions as support/Clock.h, but time passes only when a test advances it,
// so that a time-out of 10 s costs nothing and comes out exact. Linked in place of the real clock, never together with
// it.
//
// SleepUntil moves the time to its deadline by itself and returns. A wait ends when it is woken or when the driven time
// reaches its deadline. To let another thread run into a time-out: AwaitTimedWaiters(1), then Advance(limit).
#pragma once

#include <cstddef>
#include <cstdint>

namespace test {

/// Moves the time on and wakes every wait whose deadline is reached; none can miss it.
void Advance(std::int64_t milliseconds);

/// Steps GetTickCount alone, in either direction, as setting the wall clock does.
void StepWallClock(std::int64_t milliseconds);

/// Threads inside WaitWhile: all of them / those with a deadline.
std::size_t Waiters();
std::size_t TimedWaiters();

/// Blocks until at least `count` threads are inside WaitWhile.
void AwaitWaiters(std::size_t count);

/// The same, counting only waits with a deadline.
void AwaitTimedWaiters(std::size_t count);

}  // namespace test
