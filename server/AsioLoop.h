// The event loop over Boost.Asio: timers, tasks, signals, and the sockets of the doors. All of Asio is compiled in
// AsioLoop.cpp alone.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "server/Door.h"
#include "server/Loop.h"

namespace server {

/// Limits of the network side, the same for all doors.
struct NetLimits {
  std::size_t clients = 64;        ///< connections at a time, over all doors
  std::chrono::seconds idle{0};    ///< a connection that is silent for this long is closed; 0: never
  std::vector<std::string> allow;  ///< "ADDRESS/BITS" or "ADDRESS"; empty: every client that can reach the port
};

class AsioLoop : public Loop {
 public:
  explicit AsioLoop(NetLimits limits);
  ~AsioLoop() override;
  AsioLoop(const AsioLoop&) = delete;
  AsioLoop& operator=(const AsioLoop&) = delete;

  void Post(Task task) override;
  Timer After(std::chrono::milliseconds delay, Task task) override;
  void Cancel(Timer timer) override;

  /// Opens a TCP port for a door and returns its number; `port` 0 picks a free one. Throws std::runtime_error with the
  /// reason in words. The door must outlive Run.
  std::uint16_t Listen(Door& door, const std::string& address, std::uint16_t port);

  /// Answers datagrams: `handler` gets a datagram and its sender's address, and returns the reply, empty for none.
  /// Ports and errors are as in Listen.
  using DatagramHandler = std::function<std::string(std::string_view datagram, const std::string& peer)>;
  std::uint16_t ListenDatagrams(DatagramHandler handler, const std::string& address, std::uint16_t port);

  /// `handler` runs on the loop's thread for each SIGTERM and SIGINT from now on.
  void OnTermination(Task handler);

  /// Accepts no new connections and reads nothing more from the open ones.
  void StopReading();
  /// Closes each connection when everything queued for it has been sent.
  void CloseAll();
  std::size_t Connections() const;

  /// Runs until Stop.
  void Run();
  void Stop();

 private:
  class Impl;
  std::unique_ptr<Impl> m_impl;
};

/// True for an address that only this machine can reach. Throws std::runtime_error if it is not an address.
bool IsLoopback(const std::string& address);

}  // namespace server
