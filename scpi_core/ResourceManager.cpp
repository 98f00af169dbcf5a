#include "scpi_core/ResourceManager.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <random>
#include <thread>

#include "scpi_zlt/scpi_zlt.h"

#include "scpi_core/ListLock.h"
#include "scpi_core/pcore.h"
#include "support/Clock.h"

namespace {

using Stage = CIOBuffer::Stage;

/// How long the remaining messages may run when a session closes, in milliseconds.
constexpr std::uint64_t kDrainLimit = 10000;
/// How long its threads may then take to end, where the wait has a limit.
constexpr std::int64_t kStopLimit = 5000;

struct Table {
  ListLock lock;
  bool ending = false;     ///< no new session can open; guarded by the list lock
  support::Word alive{0};  ///< sessions that are not gone
};

constinit Table table;
constinit std::atomic<bool> forked{false};

/// The list lock, for as long as this lives. In a signal handler that has interrupted this thread's own hold, that hold
/// serves: the interrupted call only looks up its session and counts itself, and code that changes the list blocks
/// signals.
class Hold {
 public:
  explicit Hold(std::int64_t deadline_ns = support::kNever)
      : m_nested(table.lock.IsMine()), m_held(m_nested || table.lock.Lock(deadline_ns)) {}
  ~Hold() {
    if (m_held && !m_nested) table.lock.Unlock();
  }
  Hold(const Hold&) = delete;
  Hold& operator=(const Hold&) = delete;
  explicit operator bool() const { return m_held; }

 private:
  const bool m_nested;
  const bool m_held;
};

void CountGone() {
  --table.alive;
  support::Wake(table.alive, support::kAllWaiters);
}

bool Advance(CIOBuffer* session, Stage from, Stage to) {
  std::uint32_t stage = from;
  return session->stage.compare_exchange_strong(stage, to);
}

/// Waits for the calls under way, but not for those of the closing thread.
void AwaitUsers(CIOBuffer* session, unsigned int own) {
  for (;;) {
    std::uint32_t users = 0;
    {
      const Hold hold;  // a call that has left is outside the lock too
      users = session->users;
    }
    if (users <= own) return;
    support::WaitWhile(session->users, users, support::kNever);
  }
}

/// Frees the session, or leaves that to the last call that still uses it.
void Free(CIOBuffer* session, bool in_use) {
  if (!in_use) {
    delete session;
  } else {
    const Hold hold;
    session->freed_by_last_user = true;
  }
  CountGone();
}

/// Brings the session to rest, on a thread of its own: only the session's messages call the provider here.
void BringToRest(CIOBuffer* session, unsigned int own, std::int64_t drain_deadline) {
  session->BeginClose();
  AwaitUsers(session, own);
  Advance(session, Stage::kClosing, Stage::kDraining);
  session->Drain(drain_deadline);
  session->StopThreads();
  if (Advance(session, Stage::kDraining, Stage::kAtRest)) {
    support::Wake(session->stage, support::kAllWaiters);
    return;
  }
  // No thread waits for it any more, so it ends here.
  session->CloseLink();
  session->closer.detach();
  Free(session, own > 0);
}

void StartClosing(CIOBuffer* session, std::int64_t drain_deadline) {
  const unsigned int own = Call::Uses(session);
  const BlockedSignals blocked;
  try {
    session->closer = std::thread(BringToRest, session, own, drain_deadline);
  } catch (...) {
    BringToRest(session, own, drain_deadline);  // no thread could be started
  }
}

/// Waits until the session is at rest, and ends it on this thread. False: it was not at rest by the limit, or another
/// call is ending it.
bool FinishClosing(CIOBuffer* session, std::int64_t limit_ns, Call* closing) {
  for (std::uint32_t stage = session->stage; stage < Stage::kAtRest; stage = session->stage) {
    if (support::WaitWhile(session->stage, stage, limit_ns)) continue;
    if (session->stage.compare_exchange_strong(stage, Stage::kAbandoned)) return false;
  }
  {
    const BlockedSignals blocked;
    if (!Advance(session, Stage::kAtRest, Stage::kGone)) return false;
    if (session->closer.joinable()) session->closer.join();
  }
  session->CloseLink();
  const BlockedSignals blocked;
  if (closing != nullptr) closing->session = nullptr;
  Free(session, Call::Refers(session));
  return true;
}

/// A call that has interrupted another call of its thread must not wait for it without a limit.
std::int64_t Limit(const Call& call, std::int64_t drain_deadline) {
  return call.interrupted == nullptr ? support::kNever : drain_deadline + kStopLimit * support::kNsPerMillisecond;
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

CIOBuffer* CScpiResManager::MakeSession() {
  auto session = std::make_unique<CIOBuffer>();
  const Hold hold;
  m_opening.push_back(session.get());
  if (table.ending) session->Device().ThreadStopAsync();
  return session.release();
}

bool CScpiResManager::List(CIOBuffer* session, unsigned long* id) {
  session->SetID(random_uint32(0xFFFFFFFF));
  const Hold hold;
  if (table.ending) return false;  // nothing would close it any more
  m_sessions.push_back(session);
  std::erase(m_opening, session);
  session->stage = Stage::kOpen;
  *id = session->GetID();  // from here on another thread may close it
  return true;
}

long CScpiResManager::OpenSession(const char* name, unsigned int timeout, unsigned long* id) {
  // Signals are let in only while this waits, so no handler finds the list or the memory half changed.
  Call call(Call::Kind::kOpen);
  {
    const BlockedSignals blocked;
    try {
      call.session = MakeSession();
    } catch (...) {
      CountGone();
      return VI_ERROR_SYSTEM_ERROR;
    }
  }
  CIOBuffer* const session = call.session;
  long status = session->OpenConnection(name, timeout);
  if (session->Device().ThreadShouldStop()) status = VI_ERROR_INV_OBJECT;
  if (status != VI_SUCCESS) session->CloseConnection();
  {
    const BlockedSignals blocked;
    try {
      if (status == VI_SUCCESS && List(session, id)) {
        call.session = nullptr;
        return VI_SUCCESS;
      }
      if (status == VI_SUCCESS) status = VI_ERROR_INV_OBJECT;
    } catch (...) {
      status = VI_ERROR_SYSTEM_ERROR;
    }
    {
      const Hold hold;
      std::erase(m_opening, session);
    }
    session->stage = Stage::kClosing;
    StartClosing(session, support::NowNs());
  }
  FinishClosing(session, Limit(call, support::NowNs()), &call);
  return status;
}

long CScpiResManager::CloseSession(unsigned long id) {
  if (forked) return VI_ERROR_INV_OBJECT;
  const CancellationOff cancellation_off;
  const std::int64_t deadline = support::DeadlineIn(kDrainLimit);
  Call call(Call::Kind::kClose);
  CIOBuffer* session = nullptr;
  {
    const BlockedSignals blocked;
    {
      const Hold hold;
      if (ScpiResManager != nullptr) session = ScpiResManager->FindSession(id);
      if (session == nullptr) return VI_ERROR_INV_OBJECT;
      std::erase(ScpiResManager->m_sessions, session);
      session->stage = Stage::kClosing;
    }
    call.session = session;
    StartClosing(session, deadline);
  }
  FinishClosing(session, Limit(call, deadline), &call);
  return VI_SUCCESS;
}

void CScpiResManager::Unlist(std::vector<CIOBuffer*>& closing) {
  table.ending = true;
  for (CIOBuffer* session : m_opening) session->Device().ThreadStopAsync();
  for (CIOBuffer* session : m_sessions) {
    const bool can_end = !session->Device().RunsOnThisThread();
    session->stage = can_end ? Stage::kClosing : Stage::kAbandoned;
    if (can_end) closing.push_back(session);
  }
  m_sessions.clear();
  // The session that this thread was opening: its interpreter needs nothing from the interrupted call.
  for (Call* call = Call::Innermost(); call != nullptr; call = call->interrupted) {
    if (call->session == nullptr || std::erase(m_opening, call->session) == 0) continue;
    call->session->stage = Stage::kClosing;
    closing.push_back(call->session);
  }
}

void CScpiResManager::EndSessions() {
  const std::int64_t deadline = support::DeadlineIn(kDrainLimit);
  const std::int64_t limit = deadline + kStopLimit * support::kNsPerMillisecond;
  // In every stage (opening, open, closing) the session of this thread lives as long as the thread.
  std::uint32_t left = CThreadObject::OnAnyThread() ? 1 : 0;
  std::vector<CIOBuffer*> closing;
  {
    const Hold hold(limit);
    if (!hold || table.ending) return;
    Unlist(closing);
  }
  for (CIOBuffer* session : closing) StartClosing(session, deadline);
  // The session that this thread was closing comes to rest by itself.
  for (Call* call = Call::Innermost(); call != nullptr; call = call->interrupted) {
    if (call->kind == Call::Kind::kUse || call->session == nullptr) continue;
    if (std::count(closing.begin(), closing.end(), call->session) == 0) closing.push_back(call->session);
  }
  for (CIOBuffer* session : closing) left += FinishClosing(session, limit, nullptr) ? 0 : 1;
  for (std::uint32_t alive = table.alive; alive > left; alive = table.alive) {
    if (!support::WaitWhile(table.alive, alive, limit)) return;
  }
}

SessionUse::SessionUse(unsigned long id) : m_call(Call::Kind::kUse), m_refusal(VI_ERROR_INV_OBJECT) {
  if (forked) return;
  const Hold hold;
  if (ScpiResManager == nullptr) return;
  CIOBuffer* const session = ScpiResManager->FindSession(id);
  if (session == nullptr) return;
  if (Call::IsInRings(session)) {
    m_refusal = VI_ERROR_TMO;
    return;
  }
  m_call.session = session;  // first: from here on no handler frees it
  ++session->users;
  m_session = session;
}

SessionUse::~SessionUse() {
  if (m_session == nullptr) return;
  bool frees = false;
  {
    const Hold hold;
    const bool last = --m_session->users == 0;
    frees = last && m_session->freed_by_last_user;
    if (m_session->IsClosing() && !frees) support::Wake(m_session->users, support::kAllWaiters);
  }
  if (frees) delete m_session;
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
  if (table.alive > 0) return;  // abandoned sessions end with the process, and may hold the lock
  const Hold hold;
  delete ScpiResManager;
  ScpiResManager = nullptr;
  ReleaseCommandTree();
}

void MarkForked() {
  forked = true;
}

long OpenSession(const char* name, unsigned int timeout, unsigned long* id) {
  if (forked) return VI_ERROR_INV_OBJECT;
  const CancellationOff cancellation_off;
  {
    const BlockedSignals blocked;
    const Hold hold;
    if (ScpiResManager == nullptr || table.ending) return VI_ERROR_INV_OBJECT;
    ++table.alive;
  }
  return ScpiResManager->OpenSession(name, timeout, id);
}
