// The list lock, which guards the list of sessions.
#pragma once

#include <cstdint>

#include "support/Clock.h"

/// A lock of one word, which knows whose it is: the handler of a signal may interrupt a holder, and goes on under the
/// hold that it finds. Needs no constructor to run and is never destroyed, so it works from the first to the last
/// moment of the process.
class ListLock {
 public:
  constexpr ListLock() = default;
  ListLock(const ListLock&) = delete;
  ListLock& operator=(const ListLock&) = delete;

  /// False at the deadline of support/Clock.h.
  bool Lock(std::int64_t deadline_ns);
  void Unlock();
  /// This thread holds it.
  bool IsMine() const;

 private:
  support::Word m_owner{0};  ///< a thread's number, and a bit when others wait
};
