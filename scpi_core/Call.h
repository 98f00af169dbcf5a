// The calls into this library that a thread is in, noted on its stack. Only the handler of a signal can find a call
// under way on its own thread: it must not wait for the call that it has interrupted, nor free memory that this call
// will touch again.
#pragma once

#include <pthread.h>

class CIOBuffer;

/// One call of this thread; the notes form a chain from the innermost to the first. Each is put back as it was.
class Call {
 public:
  enum class Kind { kUse, kOpen, kClose };

  explicit Call(Kind what) : kind(what), interrupted(innermost) { innermost = this; }
  ~Call() { innermost = interrupted; }
  Call(const Call&) = delete;
  Call& operator=(const Call&) = delete;

  static Call* Innermost() { return innermost; }
  /// Calls of this thread that use the session.
  static unsigned int Uses(const CIOBuffer* session) {
    unsigned int uses = 0;
    for (const Call* call = innermost; call != nullptr; call = call->interrupted) {
      uses += call->kind == Kind::kUse && call->session == session ? 1 : 0;
    }
    return uses;
  }
  /// A call of this thread will touch the session again.
  static bool Refers(const CIOBuffer* session) {
    for (const Call* call = innermost; call != nullptr; call = call->interrupted) {
      if (call->session == session) return true;
    }
    return false;
  }
  /// One of them may hold a lock of the session's rings.
  static bool IsInRings(const CIOBuffer* session) {
    for (const Call* call = innermost; call != nullptr; call = call->interrupted) {
      if (call->session == session && call->in_rings) return true;
    }
    return false;
  }

  const Kind kind;
  CIOBuffer* session = nullptr;  ///< null before it is known
  bool in_rings = false;
  Call* const interrupted;

 private:
  __attribute__((tls_model("initial-exec"))) static inline constinit thread_local Call* innermost = nullptr;
};

/// Marks the innermost call while it may hold a lock of the rings.
class InRings {
 public:
  InRings() : m_call(Call::Innermost()) {
    if (m_call != nullptr) m_call->in_rings = true;
  }
  ~InRings() {
    if (m_call != nullptr) m_call->in_rings = false;
  }
  InRings(const InRings&) = delete;
  InRings& operator=(const InRings&) = delete;

 private:
  Call* m_call;
};

/// While one of these lives, a cancellation of the thread (pthread_cancel) is put off.
class CancellationOff {
 public:
  CancellationOff() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_before); }
  ~CancellationOff() { pthread_setcancelstate(m_before, nullptr); }
  CancellationOff(const CancellationOff&) = delete;
  CancellationOff& operator=(const CancellationOff&) = delete;

 private:
  int m_before = PTHREAD_CANCEL_ENABLE;
};
