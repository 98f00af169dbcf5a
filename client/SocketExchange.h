// One program message and its whole answer, as MessageExchange has it, over the raw socket of a running server.
//
// A raw socket has no word for "this message has no answer". So every message is followed by a fence here too: a query
// that is answered at once, and whose answer nothing in the message can give ("*OPC?", or another one after a message
// that asks "*OPC?" itself). What comes before the fence's answer belongs to the message.
#pragma once

#include <chrono>
#include <string>
#include <string_view>

#include "client/MessageExchange.h"

namespace scpi_zlt {

/// One thread at a time per object. States and outcomes are those of MessageExchange.
class SocketExchange {
 public:
  SocketExchange() = default;
  ~SocketExchange();
  SocketExchange(const SocketExchange&) = delete;
  SocketExchange& operator=(const SocketExchange&) = delete;

  /// Connects to "HOST", "HOST:PORT", "[ADDRESS]" or "[ADDRESS]:PORT"; the port is 5025 unless given. Returns what went
  /// wrong, empty if nothing did.
  std::string Connect(const std::string& address, std::chrono::milliseconds timeout);

  Answer Begin(std::string_view message);
  /// kFailed if the connection is gone; LossText() says how.
  Answer Await(std::chrono::milliseconds timeout);
  bool InStep() const { return !m_outstanding; }

  const std::string& LossText() const { return m_loss; }

 private:
  bool Transfer(std::chrono::milliseconds wait);
  void Lose(const std::string& how);

  int m_socket = -1;
  bool m_outstanding = false;
  std::string m_unsent;
  std::string m_received;
  std::string_view m_fence_answer;
  std::string m_loss;
};

}  // namespace scpi_zlt
