// The session table, and how sessions begin and end.
//
// Nothing that was acknowledged is lost and nothing that is freed is touched: closing unlinks the session first (one
// caller wins), lets calls under way out, runs what was written for at most ten seconds, and only then stops the
// interpreter and frees. One lock guards the table; it is never held during a call. The lock and the pointer below are
// constant-initialised and never destroyed, so the exports work, and refuse, before the library's load hook and after
// its unload hook.
#pragma once

#include <cstdint>
#include <vector>

#include "scpi_core/IOBuffer.h"

class CScpiResManager {
 public:
  CScpiResManager() = default;
  /// Only when no session is left: see EndSessions.
  ~CScpiResManager() = default;
  CScpiResManager(const CScpiResManager&) = delete;
  CScpiResManager& operator=(const CScpiResManager&) = delete;

  /// Opens a session and stores it in `*out`, with one use counted that the caller gives back; null there and a status
  /// on failure, which leaves nothing behind and takes a second. `timeout` in milliseconds. May throw.
  long OpenSession(const char* name, CIOBuffer** out, unsigned int timeout);
  /// VI_SUCCESS, or VI_ERROR_INV_OBJECT for a handle that no session has. Takes a second or more.
  static long CloseSession(unsigned long id);
  /// The session with this handle, or null. Under the lock of the table.
  CIOBuffer* FindSession(unsigned long id) const;
  /// Closes all sessions side by side with one limit for what is left to run, and waits until no session is alive that
  /// another thread is opening or closing. A session whose own thread calls this is skipped.
  void EndSessions();

 private:
  static void Finish(CIOBuffer* session, std::int64_t drain_deadline);

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

 private:
  CIOBuffer* m_session = nullptr;
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
