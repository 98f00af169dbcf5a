// A lock and a thread that can be stopped: the base of sessions and of the sweep poller.
#pragma once

#include <atomic>
#include <csignal>
#include <pthread.h>
#include <thread>

#include "scpi_core/pevents.h"

/// A recursive lock: a thread may lock it twice and has to unlock it as often.
class CSafeObject {
 public:
  CSafeObject();
  virtual ~CSafeObject();
  CSafeObject(const CSafeObject&) = delete;
  CSafeObject& operator=(const CSafeObject&) = delete;

  void Lock();
  void Unlock();
  /// True if it got the lock.
  bool TryLock();

  // For std::lock_guard.
  void lock() { Lock(); }
  void unlock() { Unlock(); }

 private:
  pthread_mutex_t m_mutex;
};

/// Blocks every signal on this thread, and so on threads that it starts, as long as it lives.
class BlockedSignals {
 public:
  BlockedSignals();
  ~BlockedSignals();
  BlockedSignals(const BlockedSignals&) = delete;
  BlockedSignals& operator=(const BlockedSignals&) = delete;

 private:
  sigset_t m_before;
};

/// A thread whose body is ThreadCycle, and which can be asked to stop. Every signal is blocked on it: a signal that the
/// program reads with signalfd must not be delivered here and kill the process.
///
/// Start, stop and Active belong to one thread at a time, the owner's; ThreadStopAsync and ThreadShouldStop to any.
class CThreadObject {
 public:
  explicit CThreadObject(int = 0);
  /// Stops the thread. A subclass whose ThreadCycle uses members of its own stops it in its own destructor.
  virtual ~CThreadObject();
  virtual void ThreadCycle() {}
  CThreadObject(const CThreadObject&) = delete;
  CThreadObject& operator=(const CThreadObject&) = delete;

  /// 0, or 0xFFFFFFFF if the thread is active. Throws std::system_error if no thread can be had.
  unsigned int ThreadStart();
  /// Asks the thread to stop, sleeps the whole time-out in milliseconds whether or not it has ended by then, and joins
  /// it, for as long as that takes. Returns 0.
  int ThreadStop(unsigned int timeout);
  /// Asks the thread to stop and returns at once. Either the stop is set already, or the caller keeps the thread alive.
  int ThreadStopAsync();
  bool ThreadShouldStop() const { return m_should_stop; }
  bool Active() const { return m_thread.joinable(); }
  /// True on a thread of any CThreadObject.
  static bool OnAnyThread();
  /// True on the thread itself.
  bool IsThisThread() const { return m_thread_id.load() == std::this_thread::get_id(); }
  /// Signalled while a stop is asked for. Waits that a stop must end include this event.
  neosmart::neosmart_event_t StopEvent() const { return m_stop_event; }

 protected:
  /// As ThreadStart, with a body that calls no virtual function: for constructors, where the object is not whole yet.
  unsigned int ThreadStart(void (*body)(CThreadObject& self));

 private:
  std::atomic<bool> m_running{false};
  std::atomic<bool> m_should_stop{false};
  std::atomic<std::thread::id> m_thread_id{};
  std::thread m_thread;
  neosmart::neosmart_event_t m_stop_event;
};
