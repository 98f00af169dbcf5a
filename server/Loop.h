// The event loop as doors and the broker see it: one thread, timers, and tasks in the order in which they were posted.
// The server uses AsioLoop; a test drives its own loop by hand.
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

  /// Runs `task` later on the loop's thread, never inside this call. Any thread may post.
  virtual void Post(Task task) = 0;

  /// Runs `task` after `delay`. Call this and Cancel on the loop's thread only. A timer is never 0.
  virtual Timer After(std::chrono::milliseconds delay, Task task) = 0;
  /// The task of a cancelled timer is not run. A timer that has run, or 0, is ignored.
  virtual void Cancel(Timer timer) = 0;
};

}  // namespace server
