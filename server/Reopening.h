// When to try again to open an instrument that was lost: after a pause that grows from attempt to attempt, so that one
// that comes back soon is served soon, and one that stays away is not asked all the time.
#pragma once

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>

namespace server {

/// Tries after 1, 2, 4, 8, 10, 10, ... seconds, each counted from the end of the attempt before.
/// `stopped_within(pause)` waits; true if it was told to stop. `open()` is one attempt. True once an attempt has
/// succeeded, false after a stop.
template <typename StoppedWithin, typename Open>
bool OpenAgain(const StoppedWithin& stopped_within, const Open& open) {
  using std::chrono::seconds;
  constexpr std::array kPauses = {seconds(1), seconds(2), seconds(4), seconds(8), seconds(10)};
  for (std::size_t attempt = 0;; ++attempt) {
    if (stopped_within(kPauses[std::min(attempt, kPauses.size() - 1)])) return false;
    if (open()) return true;
  }
}

}  // namespace server
