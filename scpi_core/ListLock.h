// The list lock, which guards the list of sessions.
#pragma once

#include <cstdint>

#include "support/Clock.h"

/// A lock of one word, which knows its owner: a signal handler that interrupts the owner goes on under the owner's
/// hold. It needs no constructor at run time and is never destroyed, so it works from the start of the process to its
/// end.
class ListLock {
 public:
  constexpr ListLock() = default;
  ListLock(const ListLock&) = delete;
  ListLock& operator=(const ListLock&) = delete;

  /// False at the deadline of support/Clock.h.
  bool Lock(std::int64_t deadline_ns);
  void Unlock();
  /// True if this thread holds it.
  bool IsMine() const;

 private:
  support::Word m_owner{0};  ///< a thread's number, and a bit when others wait
};
