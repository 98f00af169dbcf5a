// `scpi-zlt serve`: starts the instrument, the broker and the doors that are asked for, and shuts them down in order.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

#include "server/AsioLoop.h"
#include "server/Worker.h"

namespace server {

struct ServerOptions {
  WorkerOptions worker;
  NetLimits net;
  std::string bind = "127.0.0.1";
  std::optional<std::uint16_t> raw;     ///< port; 0 picks a free one
  std::optional<std::uint16_t> hislip;  ///< the same
  std::optional<std::uint16_t> vxi11;   ///< the same, of the core channel
  bool port_mapper = false;             ///< answers on port 111 itself if no other service does
  std::optional<bool> tidy;             ///< unset: what the door's protocol expects
  bool private_sessions = false;
  bool log_messages = false;
  std::size_t message_limit = 160144;
  std::size_t unsent_limit = 1 << 20;
  std::string port_file;  ///< empty: none
};

/// The instrument cannot be opened.
struct NoInstrument : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// The file of ports cannot be written.
struct CannotWrite : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Serves until SIGTERM or SIGINT; a second one ends the process at once. Throws one of these, or another
/// std::runtime_error, with a reason in words if it cannot start.
void Serve(const ServerOptions& options);

}  // namespace server
