// Events as other systems know them, on POSIX threads: auto-reset and manual-reset, with a wait on one, any or all of a
// set. Times in milliseconds, on the clock of support/Clock.h; 0 tests and does not block, kInfinite waits for ever.
//
// A wait on one event takes no lock, so a thread that a signal handler has interrupted there holds none. Waits on
// several have one lock order: an event's mutex, then a wait record's. SetEvent keeps a reference to the record,
// releases every lock, signals, and then drops the reference: waking a thread into a held lock would triple the round
// trip.
#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <pthread.h>

#include "support/Clock.h"

namespace neosmart {

/// One call of WaitForMultipleEvents, shared by the waiting thread and the events in whose queues it is. The last
/// reference to go frees it.
struct neosmart_wfmo_t_ {
  pthread_mutex_t Mutex;
  support::Word Progress;  ///< kAwake, kAsleep or kComplete; the waiter sleeps on it
  std::atomic<std::int32_t> RefCount;
  union {
    std::int32_t FiredEvent;  ///< wait on any: index of the event that fired, -1 while none has
    std::int32_t EventsLeft;  ///< wait on all: events still due
  } Status;
  bool WaitAll;
  bool StillWaiting;               ///< cleared by the firing of a wait on any, and by the waiter when it leaves
  neosmart_wfmo_t_* NextToSignal;  ///< chain of one SetEvent; only the call that completes a wait puts it on a chain
};

struct neosmart_wfmo_info_t_ {
  neosmart_wfmo_t_* Waiter;
  std::int32_t WaitIndex;
};

struct neosmart_event_t_ {
  pthread_mutex_t Mutex;  ///< guards the queue
  bool AutoReset;
  support::Word State;     ///< 1 when signalled; waiters on this event alone sleep on it
  support::Word Sleepers;  ///< how many of these there are
  std::deque<neosmart_wfmo_info_t_> WaitQueue;
};

using neosmart_event_t = neosmart_event_t_*;

/// Result of a wait that timed out.
inline constexpr int kTimedOut = 110;
inline constexpr std::uint64_t kInfinite = ~std::uint64_t{0};

/// The caller destroys the event, once no thread waits on it or is inside SetEvent.
neosmart_event_t CreateEvent(bool manual_reset, bool initial_state);
int DestroyEvent(neosmart_event_t event);

/// An auto-reset event goes to one waiter, first to a waiter on several events, in the order of waiting; a manual-reset
/// event to all.
int SetEvent(neosmart_event_t event);
int ResetEvent(neosmart_event_t event);
/// Tests without consuming; takes no lock.
inline bool IsSet(neosmart_event_t event) {
  return event->State != 0;
}

/// 0 or kTimedOut. With 0 ms a busy event counts as not signalled.
int WaitForEvent(neosmart_event_t event, std::uint64_t milliseconds);
/// The same up to a deadline of support/Clock.h, for several waits under one time limit.
int WaitForEventUntil(neosmart_event_t event, std::int64_t deadline_ns);

/// 0 or kTimedOut. In a wait on any `wait_index` is the position of the event that fired, the lowest one if several are
/// signalled, or -1; in a wait on all the number of events still due. An event may be in the array only once.
int WaitForMultipleEvents(neosmart_event_t* events, int count, bool wait_all, std::uint64_t milliseconds,
                          int& wait_index);
int WaitForMultipleEvents(neosmart_event_t* events, int count, bool wait_all, std::uint64_t milliseconds);

}  // namespace neosmart
