// The event loop as doors and the broker see it: one thread, tasks in the order of their posting, timers. The server's
// is AsioLoop; a test drives one of its own by hand.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>

namespace server {

class Loop {
 public:
  using Task = std::function<void()>;
  using Timer = std::uint64_t;

  virtual ~Loop() = default;

  /// Runs `task` on the loop's thread, later, never inside this call. Any thread may post.
  virtual void Post(Task task) = 0;

  /// Runs `task` after `delay`. On the loop's thread only, as is Cancel. A timer is never 0.
  virtual Timer After(std::chrono::milliseconds delay, Task task) = 0;
  /// The task of a cancelled timer is not run. One that has run, or 0, is nothing to cancel.
  virtual void Cancel(Timer timer) = 0;
};

}  // namespace server
