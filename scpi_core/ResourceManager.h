// The list of sessions, and how a session lives (CIOBuffer::Stage):
//
//   opening --List--> open --CloseSession, EndSessions--> closing --BringToRest--> draining --> at rest --> gone
//      |                                                  ^   |                       |      FinishClosing
//      +--OpenSession, when it fails; EndSessions---------+   +----FinishClosing------+--> abandoned
//
//   opening    its interpreter opens the link; in m_opening, only to be asked to stop; no handle, no calls
//   open       in m_sessions, and calls are let in (SessionUse); the interpreter runs what is written
//   closing    in no list, so one caller closes it and no call is let in; a blocked read comes back, and calls under
//   way
//              are let out first
//   draining   no calls are under way; what was written still runs, for ten seconds at most; then its threads are
//   stopped at rest    interpreter and run thread have ended; the link is still open gone       the link is closed, by
//   the thread that closes, and the memory freed abandoned  was not at rest by the limit at the end of the process, or
//   one of its own threads ends the process: it is
//              left as it is. Should it come to rest after all, it ends by itself.
//
// Nothing that was acknowledged is lost and nothing that is freed is touched. From closing to at rest the work is done
// by a thread of the session's own (closer); who closes only waits for the stage. So the handler of a signal that has
// interrupted skClose can end the process: it waits for the same stage. The provider is called by the thread that
// closes or unloads, one session after the other, since a provider may need the lock that the loader holds then.
//
// A call notes on its stack what it is in (Call.h). A thread waits for no use that its own handler has interrupted; the
// memory of such a session is freed by that use, when it comes out. Where a handler closes or ends the process, and at
// every exit, all waits have a limit: the interrupted call may hold a lock.
//
// The list lock guards both lists, `ending` and the count of users. It is never held during a call. It, the counts and
// the pointer below are constant-initialised and never destroyed, so the exports work, and refuse, before the library's
// load hook and after its unload hook.
#pragma once

#include <cstdint>
#include <vector>

#include "scpi_core/Call.h"
#include "scpi_core/IOBuffer.h"

class CScpiResManager {
 public:
  CScpiResManager() = default;
  /// Only when no session is left: see EndSessions.
  ~CScpiResManager() = default;
  CScpiResManager(const CScpiResManager&) = delete;
  CScpiResManager& operator=(const CScpiResManager&) = delete;

  /// Opens a session that was counted as alive, and stores its handle; a status on failure, which leaves nothing behind
  /// and takes a second. `timeout` in milliseconds.
  long OpenSession(const char* name, unsigned int timeout, unsigned long* id);
  /// VI_SUCCESS, or VI_ERROR_INV_OBJECT for a handle that no session has. Takes a second or more.
  static long CloseSession(unsigned long id);
  /// The session with this handle, or null. Under the list lock.
  CIOBuffer* FindSession(unsigned long id) const;
  /// Closes all sessions side by side with one limit for what is left to run, and waits until no session is alive that
  /// another thread is opening or closing. A session whose own thread calls this is abandoned.
  void EndSessions();

 private:
  /// A session that is opening. May throw.
  CIOBuffer* MakeSession();
  /// From opening to open. False once the process is ending. May throw.
  bool List(CIOBuffer* session, unsigned long* id);
  /// Under the list lock: takes all sessions that can be closed off the lists.
  void Unlist(std::vector<CIOBuffer*>& closing);

  std::vector<CIOBuffer*> m_sessions;  ///< in order of opening
  std::vector<CIOBuffer*> m_opening;   ///< not listed yet; here only to be asked to stop
};

/// The one manager; null before the load hook, after the unload hook.
extern constinit CScpiResManager* ScpiResManager;

/// Lets a call into a session, and keeps the session alive until the call is out.
class SessionUse {
 public:
  explicit SessionUse(unsigned long id);
  ~SessionUse();
  SessionUse(const SessionUse&) = delete;
  SessionUse& operator=(const SessionUse&) = delete;

  /// Null if there is no such session, or none can be used (a forked child, a library that is unloading).
  CIOBuffer* operator->() const { return m_session; }
  explicit operator bool() const { return m_session != nullptr; }
  /// Why it is null: VI_ERROR_INV_OBJECT; or VI_ERROR_TMO in the handler of a signal, where the interrupted call may
  /// hold a lock of the same session.
  long Refusal() const { return m_refusal; }

 private:
  Call m_call;
  CIOBuffer* m_session = nullptr;
  long m_refusal;
};

// The hooks of the shared library's load and unload.
void CreateResManager();
/// Idempotent: at exit and at unload, whichever comes first.
void EndResManager();
void DeleteResManager();
/// In a forked child no session can be used, and none is closed.
void MarkForked();

/// Opening for the exports: counts the session as alive, and turns what is thrown into VI_ERROR_SYSTEM_ERROR.
long OpenSession(const char* name, unsigned int timeout, unsigned long* id);

/// A uniform integer from 1 to `limit`, from a Mersenne twister seeded afresh for each call.
std::uint32_t random_uint32(unsigned int limit);
