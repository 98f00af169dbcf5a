// Looking before sleeping. A thread that is woken on a processor which has gone idle comes ten times later than either
// side of an exchange takes, so in a busy exchange each side looks for its event for a moment before it sleeps.
#pragma once

#include <algorithm>
#include <atomic>
#include <sched.h>

#include "support/Clock.h"

/// The waits of one side of a session. Looks only when the wait before was a short one, and ever more rarely where it
/// looked in vain: a machine that is busy, or a thread that has one processor, gains nothing by it. Any thread may use
/// it.
class ShortWaits {
 public:
  /// Returns what `sleep` does, which waits until `ready` is true; calls it as soon as that is so.
  template <class Ready, class Sleep>
  auto Await(const Ready& ready, const Sleep& sleep) {
    if (!m_useful) return sleep();
    const std::int64_t start = support::NowNs();
    if (m_was_short) LookFor(ready, start);
    const auto result = sleep();
    m_was_short = support::NowNs() - start < kShortNs;
    return result;
  }

  /// Called by the other side, before it does what these waits wait for.
  void NoteOtherSide() {
    if (m_useful) m_other_side = sched_getcpu();
  }

 private:
  static constexpr std::int64_t kLookNs = 50'000;
  /// A wait of this length may have been the waking alone.
  static constexpr std::int64_t kShortNs = 200'000;
  static constexpr int kMostSkipped = 255;
  static constexpr int kLooksBetweenYields = 50;

  template <class Ready>
  void LookFor(const Ready& ready, std::int64_t start) {
    if (m_skip > 0) {
      --m_skip;
      return;
    }
    // Looking keeps the other side from running where both are on one processor. Now and then it is tried all the
    // same: the scheduler may take them apart then.
    if (m_other_side == sched_getcpu() && ++m_together < kMostSkipped) return;
    m_together = 0;
    do {
      for (int i = 0; i < kLooksBetweenYields; ++i) {
        if (ready()) {
          m_penalty = 0;
          return;
        }
        __builtin_ia32_pause();
      }
    } while (support::NowNs() - start < kLookNs);
    m_penalty = std::min(2 * m_penalty + 1, kMostSkipped);
    m_skip = m_penalty.load();
    m_useful = support::UsableProcessors() > 1;
  }

  std::atomic<bool> m_useful{support::UsableProcessors() > 1};
  std::atomic<bool> m_was_short{false};
  std::atomic<int> m_other_side{-1};  ///< the processor that it stood on
  std::atomic<int> m_together{0};     ///< looks left out since both sides stood on one processor
  std::atomic<int> m_skip{0};         ///< short waits to sleep through before the next look
  std::atomic<int> m_penalty{0};      ///< how many these were last
};
