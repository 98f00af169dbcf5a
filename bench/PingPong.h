// The bound of every round trip: two threads that pass one token to and fro over two condition variables, notified
// outside their locks. No exchange that wakes another thread and waits for it can be faster on this machine.
#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

namespace bench {

class PingPong {
 public:
  PingPong() : m_thread([this] { Answer(); }) {}
  ~PingPong() {
    Signal(m_ping, kStop);
    m_thread.join();
  }
  PingPong(const PingPong&) = delete;
  PingPong& operator=(const PingPong&) = delete;

  void RoundTrip() {
    Signal(m_ping, kToken);
    Wait(m_pong);
  }

 private:
  enum Content { kEmpty, kToken, kStop };
  struct Side {
    std::mutex mutex;
    std::condition_variable condition;
    Content content = kEmpty;
  };

  static void Signal(Side& side, Content content) {
    {
      const std::lock_guard hold(side.mutex);
      side.content = content;
    }
    side.condition.notify_one();
  }

  static Content Wait(Side& side) {
    std::unique_lock hold(side.mutex);
    side.condition.wait(hold, [&] { return side.content != kEmpty; });
    return std::exchange(side.content, kEmpty);
  }

  void Answer() {
    while (Wait(m_ping) == kToken) Signal(m_pong, kToken);
  }

  Side m_ping;
  Side m_pong;
  std::thread m_thread;
};

}  // namespace bench
