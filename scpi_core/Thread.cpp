#include "scpi_core/Thread.h"

#include <cassert>
#include <cstdint>

#include "support/Clock.h"

namespace {

__attribute__((tls_model("initial-exec"))) constinit thread_local bool on_thread_object = false;

}  // namespace

bool CThreadObject::OnAnyThread() {
  return on_thread_object;
}

CSafeObject::CSafeObject() {
  pthread_mutexattr_t attributes;
  pthread_mutexattr_init(&attributes);
  pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
  pthread_mutex_init(&m_mutex, &attributes);
  pthread_mutexattr_destroy(&attributes);
}

CSafeObject::~CSafeObject() {
  pthread_mutex_destroy(&m_mutex);
}

void CSafeObject::Lock() {
  pthread_mutex_lock(&m_mutex);
}

void CSafeObject::Unlock() {
  pthread_mutex_unlock(&m_mutex);
}

bool CSafeObject::TryLock() {
  return pthread_mutex_trylock(&m_mutex) == 0;
}

BlockedSignals::BlockedSignals() {
  sigset_t all;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &m_before);
}

BlockedSignals::~BlockedSignals() {
  pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
}

CThreadObject::CThreadObject(int) : m_stop_event(neosmart::CreateEvent(true, false)) {
  assert(m_stop_event != nullptr);
}

CThreadObject::~CThreadObject() {
  ThreadStop(1000);
  neosmart::DestroyEvent(m_stop_event);
  if (m_thread.joinable()) std::terminate();
}

unsigned int CThreadObject::ThreadStart() {
  return ThreadStart([](CThreadObject& self) { self.ThreadCycle(); });
}

unsigned int CThreadObject::ThreadStart(void (*body)(CThreadObject& self)) {
  if (Active()) return 0xFFFFFFFF;
  neosmart::ResetEvent(m_stop_event);
  m_should_stop = false;
  const BlockedSignals blocked;
  m_thread = std::thread([this, body] {
    m_thread_id = std::this_thread::get_id();
    on_thread_object = true;
    m_running = true;
    body(*this);
    m_running = false;
    m_thread_id = std::thread::id();
  });
  return 0;
}

int CThreadObject::ThreadStop(unsigned int timeout) {
  if (!Active()) return 0;
  ThreadStopAsync();
  const std::uint32_t microseconds = timeout * 1000u;
  // The whole grace period passes, also when the thread has ended by itself. Odd, and kept: closing takes this long.
  support::SleepUntil(support::NowNs() + std::int64_t{1000} * microseconds);
  m_thread.join();
  m_should_stop = false;
  neosmart::ResetEvent(m_stop_event);
  return 0;
}

int CThreadObject::ThreadStopAsync() {
  if (Active()) {
    m_should_stop = true;
    neosmart::SetEvent(m_stop_event);
  }
  return 0;
}
