#include "scpi_core/ResourceManager.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <pthread.h>
#include <random>
#include <thread>

#include "scpi_zlt/scpi_zlt.h"

#include "scpi_core/pcore.h"
#include "support/Clock.h"

namespace {

/// What is left to run when a session closes may take this long, in milliseconds.
constexpr std::uint64_t kDrainLimit = 10000;

/// L, with the counts it guards. Plain data: it works from the first to the last moment of the process.
struct TableLock {
  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
  pthread_cond_t changed = PTHREAD_COND_INITIALIZER;
  bool ending = false;         ///< no session opens any more
  unsigned int alive = 0;      ///< sessions that are opening, open or closing
  unsigned int abandoned = 0;  ///< of these, the ones whose own thread ends the process: nobody can close them
};

constinit TableLock table;
constinit std::atomic<bool> forked{false};

/// This thread is in a call into a session, and into which if that is listed. Only the handler of a signal can find
/// itself there: one that ends the process must not wait for the call that it has interrupted.
constinit thread_local bool in_call = false;
constinit thread_local const CIOBuffer* called = nullptr;

class Hold {
 public:
  Hold() { pthread_mutex_lock(&table.mutex); }
  ~Hold() { pthread_mutex_unlock(&table.mutex); }
  Hold(const Hold&) = delete;
  Hold& operator=(const Hold&) = delete;

  /// Waits, with the lock let go of meanwhile, until a count has changed.
  void Wait() { pthread_cond_wait(&table.changed, &table.mutex); }
  void Notify() { pthread_cond_broadcast(&table.changed); }
};

/// A call is out of a session.
void Leave(CIOBuffer* session) {
  Hold hold;
  in_call = false;
  called = nullptr;
  if (--session->users == 0 && session->IsClosing()) hold.Notify();
}

}  // namespace

constinit CScpiResManager* ScpiResManager = nullptr;

std::uint32_t random_uint32(unsigned int limit) {
  std::random_device device("default");
  std::mt19937 generator(device());
  return std::uniform_int_distribution<std::uint32_t>(1, limit)(generator);
}

CIOBuffer* CScpiResManager::FindSession(unsigned long id) const {
  const auto found = std::find_if(m_sessions.begin(), m_sessions.end(),
                                  [id](const CIOBuffer* session) { return session->GetID() == id; });
  return found == m_sessions.end() ? nullptr : *found;
}

long CScpiResManager::OpenSession(const char* name, CIOBuffer** out, unsigned int timeout) {
  *out = nullptr;
  auto owner = std::make_unique<CIOBuffer>();
  CIOBuffer* session = owner.get();
  {
    const Hold hold;
    m_opening.push_back(session);
    if (table.ending) session->Device().ThreadStopAsync();
  }
  const auto no_longer_opening = [this, session] { std::erase(m_opening, session); };
  try {
    const long status = session->OpenConnection(name, timeout);
    if (status == VI_SUCCESS) {
      session->SetID(random_uint32(0xFFFFFFFF));
      const Hold hold;
      no_longer_opening();
      if (table.ending) return VI_ERROR_INV_OBJECT;  // nobody would close it any more
      m_sessions.push_back(session);
      session->users = 1;  // the opener's own use: from here on another thread may close the session
      *out = owner.release();
      return VI_SUCCESS;
    }
    session->CloseConnection();
    const Hold hold;
    no_longer_opening();
    return status;
  } catch (...) {
    const Hold hold;
    no_longer_opening();
    throw;
  }
}

long CScpiResManager::CloseSession(unsigned long id) {
  if (forked) return VI_ERROR_INV_OBJECT;
  CIOBuffer* session = nullptr;
  {
    const Hold hold;
    if (ScpiResManager != nullptr) session = ScpiResManager->FindSession(id);
    if (session == nullptr) return VI_ERROR_INV_OBJECT;
    std::erase(ScpiResManager->m_sessions, session);
    in_call = true;
  }
  Finish(session, support::DeadlineIn(kDrainLimit));
  return VI_SUCCESS;
}

void CScpiResManager::Finish(CIOBuffer* session, std::int64_t drain_deadline) {
  session->BeginClose();
  {
    Hold hold;
    while (session->users > 0) hold.Wait();
  }
  session->Drain(drain_deadline);
  delete session;
  Hold hold;
  in_call = false;
  --table.alive;
  hold.Notify();
}

void CScpiResManager::EndSessions() {
  const auto is_own = [](CIOBuffer* session) { return session == called || session->Device().RunsOnThisThread(); };
  std::vector<CIOBuffer*> sessions;
  {
    const Hold hold;
    if (!table.ending) {
      // Wherever that session stands, opening, open or closing, it stays alive as long as this thread.
      table.abandoned = in_call || CThreadObject::OnAnyThread() ? 1 : 0;
      std::erase_if(m_sessions, is_own);
    }
    table.ending = true;
    for (CIOBuffer* session : m_opening) session->Device().ThreadStopAsync();
    sessions.swap(m_sessions);
  }
  const std::int64_t deadline = support::DeadlineIn(kDrainLimit);
  std::vector<std::thread> closers;
  // The last one on this thread: at unload a thread of our own may have to wait for a lock that the loader holds.
  CIOBuffer* const last = sessions.empty() ? nullptr : sessions.back();
  for (CIOBuffer* session : sessions) {
    if (session == last) break;
    try {
      closers.emplace_back([session, deadline] { Finish(session, deadline); });
    } catch (...) {
      Finish(session, deadline);  // no thread to be had: one after the other then
    }
  }
  if (last != nullptr) Finish(last, deadline);
  for (std::thread& closer : closers) closer.join();
  Hold hold;
  while (table.alive > table.abandoned) hold.Wait();
}

SessionUse::SessionUse(unsigned long id) {
  if (forked) return;
  const Hold hold;
  if (ScpiResManager == nullptr) return;
  m_session = ScpiResManager->FindSession(id);
  if (m_session == nullptr) return;
  ++m_session->users;
  in_call = true;
  called = m_session;
}

SessionUse::~SessionUse() {
  if (m_session != nullptr) Leave(m_session);
}

void CreateResManager() {
  auto manager = std::make_unique<CScpiResManager>();
  const Hold hold;
  ScpiResManager = manager.release();
}

void EndResManager() {
  if (forked || ScpiResManager == nullptr) return;
  ScpiResManager->EndSessions();
}

void DeleteResManager() {
  if (forked) return;
  const Hold hold;
  if (table.alive > 0) return;  // a session whose own thread ends the process; its memory goes with it
  delete ScpiResManager;
  ScpiResManager = nullptr;
  ReleaseCommandTree();
}

void MarkForked() {
  forked = true;
}

long OpenSession(const char* name, unsigned int timeout, unsigned long* id) {
  if (forked) return VI_ERROR_INV_OBJECT;
  {
    const Hold hold;
    if (ScpiResManager == nullptr || table.ending) return VI_ERROR_INV_OBJECT;
    ++table.alive;
    in_call = true;
  }
  CIOBuffer* session = nullptr;
  long status = VI_ERROR_SYSTEM_ERROR;
  try {
    status = ScpiResManager->OpenSession(name, &session, timeout);
  } catch (...) {
    status = VI_ERROR_SYSTEM_ERROR;
  }
  if (session != nullptr) {
    *id = session->GetID();
    Leave(session);
    return VI_SUCCESS;
  }
  Hold hold;
  --table.alive;
  in_call = false;
  hold.Notify();
  return status;
}
