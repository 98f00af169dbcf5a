// The list of sessions, and how a session lives (CIOBuffer::Stage):
//
//   opening --List--> open --CloseSession, EndSessions--> closing --BringToRest--> draining --> at rest --> gone
//      |                                                  ^   |                       |      FinishClosing
//      +--OpenSession, when it fails; EndSessions---------+   +----FinishClosing------+--> abandoned
//
//   opening    The interpreter opens the link. The session is in m_opening, only so that it can be asked to stop.
//              It has no handle, and no call can reach it.
//   open       The session is in m_sessions, calls are let in (SessionUse), and the interpreter runs messages.
//   closing    The session is in no list: one caller closes it, and no new call is let in. A blocked read returns,
//              and the close waits for the calls under way.
//   draining   No call is under way. Complete messages still run, for ten seconds at most; then the threads stop.
//   at rest    Interpreter and run thread have ended. The link is still open.
//   gone       The closing thread has closed the link and freed the memory.
//   abandoned  The session was not at rest by the limit at the end of the process, or one of its own threads ends
//              the process. It is left as it is. If it comes to rest after all, it ends by itself.
//
// No acknowledged message is lost, and no freed memory is touched. From closing to at rest a thread of the session's
// own (closer) does the work; skClose only waits for the stage. So a signal handler that has interrupted skClose can
// end the process: it waits for the same stage. The provider is called by the thread that closes or unloads, one
// session after the other, since the provider may need the loader's lock, which that thread holds.
//
// A call notes on its stack which session it uses (Call.h). A signal handler does not wait for the call that it has
// interrupted; that call frees the session's memory when it ends. When a handler closes a session or ends the process,
// and at every exit, all waits have a limit: the interrupted call may hold a lock.
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
  /// Only once no session is left: see EndSessions.
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

/// Lets a call into a session, and keeps the session alive until the call ends.
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

/// Opening for the exports: counts the session as alive, and turns any exception into VI_ERROR_SYSTEM_ERROR.
long OpenSession(const char* name, unsigned int timeout, unsigned long* id);

/// A uniform integer from 1 to `limit`, from a Mersenne twister seeded afresh for each call.
std::uint32_t random_uint32(unsigned int limit);
