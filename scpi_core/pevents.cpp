#include "scpi_core/pevents.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <mutex>

namespace neosmart {
namespace {

/// A failed lock, or a count below zero, means a broken program.
void Require(bool condition, const char* expected) {
  if (condition) return;
  std::fprintf(stderr, "pevents: assertion failed: %s\n", expected);
  std::abort();
}

void Lock(pthread_mutex_t& mutex) {
  Require(pthread_mutex_lock(&mutex) == 0, "result == 0");
}
void Unlock(pthread_mutex_t& mutex) {
  Require(pthread_mutex_unlock(&mutex) == 0, "result == 0");
}

/// Releases the mutex also when memory runs out under it.
class Held {
 public:
  explicit Held(pthread_mutex_t& mutex) : m_mutex(mutex) { Lock(m_mutex); }
  Held(pthread_mutex_t& mutex, std::adopt_lock_t) : m_mutex(mutex) {}
  ~Held() { Unlock(m_mutex); }
  Held(const Held&) = delete;
  Held& operator=(const Held&) = delete;

 private:
  pthread_mutex_t& m_mutex;
};

/// Drops one reference and frees the record with the last.
void Release(neosmart_wfmo_t_* record) {
  const std::int32_t left = record->RefCount.fetch_sub(1) - 1;
  Require(left >= 0, "wfmo->RefCount >= 0");
  if (left > 0) return;
  Require(pthread_mutex_destroy(&record->Mutex) == 0, "result == 0");
  delete record;
}

/// The values of a wait record's Progress.
enum : std::uint32_t { kAwake, kAsleep, kComplete };

/// Counts a signalled event in, with the record's mutex held. True if that completes the wait of a sleeping thread.
bool Fire(neosmart_wfmo_t_& record, std::int32_t index) {
  if (record.WaitAll) {
    --record.Status.EventsLeft;
    Require(record.Status.EventsLeft >= 0, "wfmo->Status.EventsLeft >= 0");
    if (record.Status.EventsLeft > 0) return false;
  } else {
    record.Status.FiredEvent = index;
    record.StillWaiting = false;
  }
  return record.Progress.exchange(kComplete) == kAsleep;
}

/// Consumes the event if it is signalled.
bool Take(neosmart_event_t_& event) {
  if (!event.AutoReset) return event.State != 0;
  std::uint32_t signalled = 1;
  return event.State.compare_exchange_strong(signalled, 0);
}

/// Takes the front entry off the queue, with the event's mutex held. Returns true if a live waiter took the event; its
/// record is put on `chain` (which then owns the entry's reference) if it has to be woken.
bool PopWaiter(neosmart_event_t_& event, neosmart_wfmo_t_*& chain) {
  const neosmart_wfmo_info_t_ entry = event.WaitQueue.front();
  event.WaitQueue.pop_front();
  neosmart_wfmo_t_* record = entry.Waiter;
  Lock(record->Mutex);
  const bool live = record->StillWaiting;
  const bool asleep = live && Fire(*record, entry.WaitIndex);
  Unlock(record->Mutex);
  if (asleep) {
    record->NextToSignal = chain;
    chain = record;
  } else {
    Release(record);
  }
  return live;
}

/// Wakes the waiters of a chain; no lock is held.
void SignalChain(neosmart_wfmo_t_* chain) {
  while (chain != nullptr) {
    neosmart_wfmo_t_* record = chain;
    chain = record->NextToSignal;
    support::Wake(record->Progress, 1);
    Release(record);
  }
}

/// True for a queue entry whose waiter has left; drops its reference then. A busy record is in use and is kept.
bool RemoveExpiredWaitHelper(const neosmart_wfmo_info_t_& entry) {
  if (pthread_mutex_trylock(&entry.Waiter->Mutex) != 0) return false;
  const bool live = entry.Waiter->StillWaiting;
  Unlock(entry.Waiter->Mutex);
  if (live) return false;
  Release(entry.Waiter);
  return true;
}

void Prune(neosmart_event_t_& event) {
  std::erase_if(event.WaitQueue, RemoveExpiredWaitHelper);
}

neosmart_wfmo_t_* NewRecord(int count, bool wait_all) {
  auto* record = new neosmart_wfmo_t_;
  record->RefCount = 1;
  record->Progress = wait_all && count == 0 ? kComplete : kAwake;
  record->WaitAll = wait_all;
  record->StillWaiting = true;
  record->NextToSignal = nullptr;
  if (wait_all) {
    record->Status.EventsLeft = count;
  } else {
    record->Status.FiredEvent = -1;
  }
  Require(pthread_mutex_init(&record->Mutex, nullptr) == 0, "result == 0");
  return record;
}

/// Consumes the event if it is signalled, otherwise queues the record on it. Returns true if no other event need be
/// tested: a wait on any has its event.
bool Register(neosmart_event_t_& event, neosmart_wfmo_t_* record, std::int32_t index) {
  const Held event_held(event.Mutex);
  Prune(event);
  const Held record_held(record->Mutex);
  // An event registered before may have fired meanwhile; a later one is not consumed then.
  const bool done = !record->WaitAll && record->Status.FiredEvent != -1;
  if (!done && Take(event)) {
    Fire(*record, index);
  } else if (!done) {
    event.WaitQueue.push_back({record, index});
    ++record->RefCount;
  }
  return !record->WaitAll && record->Status.FiredEvent != -1;
}

/// The waiter's own reference to its record. Its destructor ends the wait, also after an exception.
class Waiting {
 public:
  explicit Waiting(neosmart_wfmo_t_* record) : m_record(record) {}
  ~Waiting() {
    if (!m_over) {
      const Held held(m_record->Mutex);
      m_record->StillWaiting = false;
    }
    Release(m_record);
  }
  /// With the record's mutex held since the last test, so that no event fires into a wait that is over.
  void End() {
    m_record->StillWaiting = false;
    m_over = true;
  }
  Waiting(const Waiting&) = delete;
  Waiting& operator=(const Waiting&) = delete;

 private:
  neosmart_wfmo_t_* m_record;
  bool m_over = false;
};

/// Counts a thread that is about to sleep on the event, also when it is cancelled there.
class Sleeper {
 public:
  explicit Sleeper(neosmart_event_t_& event) : m_event(event) { ++m_event.Sleepers; }
  ~Sleeper() { --m_event.Sleepers; }
  Sleeper(const Sleeper&) = delete;
  Sleeper& operator=(const Sleeper&) = delete;

 private:
  neosmart_event_t_& m_event;
};

}  // namespace

neosmart_event_t CreateEvent(bool manual_reset, bool initial_state) {
  auto* event = new neosmart_event_t_;
  event->AutoReset = !manual_reset;
  event->State = initial_state ? 1 : 0;
  event->Sleepers = 0;
  Require(pthread_mutex_init(&event->Mutex, nullptr) == 0, "result == 0");
  return event;
}

int DestroyEvent(neosmart_event_t event) {
  Lock(event->Mutex);
  Prune(*event);
  Unlock(event->Mutex);
  Require(pthread_mutex_destroy(&event->Mutex) == 0, "result == 0");
  delete event;
  return 0;
}

int SetEvent(neosmart_event_t event) {
  neosmart_wfmo_t_* chain = nullptr;
  const bool auto_reset = event->AutoReset;
  Lock(event->Mutex);
  // Before a waiter is woken, which may reset it again. An auto-reset event that a waiter takes is never set.
  if (!auto_reset) event->State = 1;
  bool taken = false;
  while (!event->WaitQueue.empty() && !taken) taken = PopWaiter(*event, chain) && auto_reset;
  if (auto_reset && !taken) event->State = 1;
  const bool wakes = !taken && event->Sleepers != 0;
  Unlock(event->Mutex);
  if (wakes) support::Wake(event->State, auto_reset ? 1 : support::kAllWaiters);
  SignalChain(chain);
  return 0;
}

int ResetEvent(neosmart_event_t event) {
  event->State = 0;
  return 0;
}

int WaitForEvent(neosmart_event_t event, std::uint64_t milliseconds) {
  if (milliseconds != 0) return WaitForEventUntil(event, support::DeadlineIn(milliseconds));
  if (pthread_mutex_trylock(&event->Mutex) != 0) return kTimedOut;
  const Held held(event->Mutex, std::adopt_lock);
  return Take(*event) ? 0 : kTimedOut;
}

int WaitForEventUntil(neosmart_event_t event, std::int64_t deadline_ns) {
  if (Take(*event)) return 0;
  const Sleeper sleeper(*event);
  bool in_time = true;
  while (!Take(*event)) {
    if (!in_time) return kTimedOut;
    in_time = support::WaitWhileOrCancelled(event->State, 0, deadline_ns);
  }
  return 0;
}

int WaitForMultipleEvents(neosmart_event_t* events, int count, bool wait_all, std::uint64_t milliseconds,
                          int& wait_index) {
  wait_index = -1;
  // The first event comes before all others, so if it is set, nothing has to be queued.
  if (!wait_all && count > 0 && WaitForEvent(events[0], 0) == 0) {
    wait_index = 0;
    return 0;
  }
  neosmart_wfmo_t_* const record = NewRecord(count, wait_all);
  Waiting waiting(record);
  for (int i = 0; i < count; ++i) {
    if (Register(*events[i], record, i)) break;
  }
  const std::int64_t deadline = milliseconds == 0 ? 0 : support::DeadlineIn(milliseconds);
  bool in_time = milliseconds != 0;
  while (in_time && record->Progress != kComplete) {
    std::uint32_t awake = kAwake;
    record->Progress.compare_exchange_strong(awake, kAsleep);
    in_time = support::WaitWhileOrCancelled(record->Progress, kAsleep, deadline);
  }
  // An event may have fired after the time-out and before this thread got the lock.
  const Held held(record->Mutex);
  const int result = record->Progress == kComplete ? 0 : kTimedOut;
  waiting.End();
  wait_index = wait_all ? record->Status.EventsLeft : record->Status.FiredEvent;
  return result;
}

int WaitForMultipleEvents(neosmart_event_t* events, int count, bool wait_all, std::uint64_t milliseconds) {
  int wait_index = -1;
  return WaitForMultipleEvents(events, count, wait_all, milliseconds, wait_index);
}

}  // namespace neosmart
