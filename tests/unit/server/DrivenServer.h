// Replaces the event loop, the network and the library's session below a door and the broker: each runs only when
// the test says so.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>

#include "server/Door.h"
#include "server/Loop.h"
#include "server/Worker.h"

namespace server_test {

class DrivenLoop : public server::Loop {
 public:
  void Post(Task task) override { m_tasks.push_back(std::move(task)); }
  Timer After(std::chrono::milliseconds delay, Task task) override {
    m_timers[{m_now + delay, ++m_last}] = std::move(task);
    return m_last;
  }
  void Cancel(Timer timer) override {
    std::erase_if(m_timers, [timer](const auto& item) { return item.first.second == timer; });
  }

  /// Runs what is posted, and what that posts.
  void Settle() {
    for (; !m_tasks.empty(); m_tasks.pop_front()) std::exchange(m_tasks.front(), nullptr)();
  }
  /// Lets time pass; timers that fall due in it run.
  void Advance(std::chrono::milliseconds time) {
    const auto end = m_now + time;
    while (!m_timers.empty() && m_timers.begin()->first.first <= end) {
      auto timer = m_timers.extract(m_timers.begin());
      m_now = timer.key().first;
      timer.mapped()();
      Settle();
    }
    m_now = end;
  }

 private:
  std::chrono::milliseconds m_now{0};
  Timer m_last = 0;
  std::deque<Task> m_tasks;
  std::map<std::pair<std::chrono::milliseconds, Timer>, Task> m_timers;
};

/// Keeps what was sent.
class KeptWire : public server::Wire {
 public:
  void Send(std::string_view bytes) override {
    sent += bytes;
    if (on_send) on_send();
  }
  std::size_t Unsent() const override { return unsent; }
  void Pause() override { paused = true; }
  void Resume() override { paused = false; }
  void Close() override { closed = true; }
  const std::string& Peer() const override { return m_peer; }

  std::string sent;
  std::function<void()> on_send;
  std::size_t unsent = 0;
  bool paused = false;
  bool closed = false;

 private:
  const std::string m_peer = "test";
};

/// The library's one session, played by the test (ScriptedWorker.cpp has server::Worker's functions).
struct ScriptedSession {
  struct Job {
    std::uint64_t id = 0;
    std::string message;
    std::function<void(server::Reply)> done;
  };
  std::deque<Job> jobs;  ///< the first one is under way
  std::function<void(const std::string&)> on_message;
  std::function<void(server::WorkerState)> set_state;
  std::uint8_t status_byte = 0;

  /// Ends the message under way.
  void Answer(server::Reply reply);
};
extern ScriptedSession session;

}  // namespace server_test
