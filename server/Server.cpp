#include "server/Server.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fstream>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "server/Broker.h"
#include "server/HislipDoor.h"
#include "server/Log.h"
#include "server/PortMapper.h"
#include "server/RawDoor.h"
#include "server/Vxi11Door.h"
#include "vxi11.h"

namespace server {
namespace {

/// How long a running message may take after the first signal: as long as the library gives it when it closes.
constexpr std::chrono::seconds kFinishLimit{10};

/// Reports a state to the service manager, as sd_notify does: one datagram to the socket that it names, nothing if
/// it names none.
void Notify(std::string_view state) {
  const char* path = std::getenv("NOTIFY_SOCKET");
  if (path == nullptr) return;
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::size_t length = std::strlen(path);
  if (length == 0 || length >= sizeof address.sun_path) return;
  std::memcpy(address.sun_path, path, length);
  if (path[0] == '@') address.sun_path[0] = '\0';  // an abstract name
  const int socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (socket < 0) return;
  const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length);
  // A manager that does not listen is no reason to stop serving.
  [[maybe_unused]] const ssize_t sent =
      ::sendto(socket, state.data(), state.size(), MSG_NOSIGNAL, reinterpret_cast<const sockaddr*>(&address), size);
  ::close(socket);
}

class Server {
 public:
  explicit Server(const ServerOptions& options)
      : m_options(options),
        m_loop(options.net),
        m_broker(m_loop, options.worker, options.private_sessions, options.log_messages,
                 [this](WorkerState state, const std::string& reason) { StateChanged(state, reason); }) {}

  void Run() {
    if (IsOpenToOthers()) {
      LogLine("listening on " + m_options.bind + ": anyone who can reach these ports controls the instrument");
    }
    m_loop.OnTermination([this] { Terminate(); });
    if (m_options.private_sessions) m_loop.Post([this] { OpenDoors(); });
    m_loop.Run();
    if (m_failure) std::rethrow_exception(m_failure);
  }

 private:
  bool IsOpenToOthers() const { return !IsLoopback(m_options.bind); }

  void StateChanged(WorkerState state, const std::string& reason) {
    if (state == WorkerState::kFailed) {
      if (m_options.private_sessions) return LogLine(reason);
      m_failure = std::make_exception_ptr(NoInstrument(reason));
      m_loop.Stop();
    } else if (state == WorkerState::kLost) {
      LogLine("instrument lost: " + reason + "; trying to open it again");
    } else if (!m_serving) {
      OpenDoors();
    } else if (!m_options.private_sessions) {
      LogLine("instrument open again");
    }
  }

  /// Returns the port.
  std::uint16_t Open(Door& door, std::uint16_t port) {
    const std::uint16_t opened = m_loop.Listen(door, m_options.bind, port);
    m_ports.emplace_back(door.Name(), opened);
    std::cout << "serving " << m_options.worker.resource << " by " << door.Name() << " on " << m_options.bind
              << " port " << opened << std::endl;
    return opened;
  }

  void OpenVxi11() {
    m_vxi11.emplace(m_loop, m_broker, SessionDoorOptions{m_options.tidy.value_or(true), m_options.message_limit});
    const std::uint16_t abort_port = m_loop.Listen(m_vxi11->AbortChannel(), m_options.bind, 0);
    m_vxi11->SetAbortPort(abort_port);
    const std::uint16_t port = Open(*m_vxi11, *m_options.vxi11);
    const RpcProgram core{DEVICE_CORE, DEVICE_CORE_VERSION, port};
    const std::string refused = m_options.port_mapper ? StartPortMapper(core, abort_port) : "none was asked for";
    if (refused.empty()) return;
    m_port_mapper_entry.emplace(core);
    if (m_port_mapper_entry->Register()) return LogLine("vxi11: registered with the port mapper of this host");
    m_port_mapper_entry.reset();
    if (m_options.port_mapper)
      throw std::runtime_error(refused + "; nor does a port mapper of this host take an entry");
    LogLine(
        "vxi11: this host's port mapper takes no entry, or there is none: clients that look there do not find port " +
        std::to_string(port) + " (--portmapper answers there)");
  }

  /// Empty on success, else the reason why this process cannot answer on port 111. A broadcast reaches only a
  /// socket that is bound to the wildcard address.
  std::string StartPortMapper(const RpcProgram& core, std::uint16_t abort_port) {
    m_port_mapper.emplace(m_loop, std::vector{core, RpcProgram{DEVICE_ASYNC, DEVICE_ASYNC_VERSION, abort_port}});
    try {
      m_loop.ListenDatagrams(
          [this](std::string_view datagram, const std::string&) { return m_port_mapper->AnswerDatagram(datagram); },
          IsOpenToOthers() ? "0.0.0.0" : m_options.bind, kPortMapperPort);
    } catch (const std::runtime_error& error) {
      return error.what();
    }
    Open(*m_port_mapper, kPortMapperPort);
    return {};
  }

  void OpenDoors() {
    m_serving = true;
    try {
      if (m_options.raw) {
        m_raw.emplace(m_broker,
                      RawOptions{m_options.tidy.value_or(false), m_options.message_limit, m_options.unsent_limit});
        Open(*m_raw, *m_options.raw);
      }
      if (m_options.hislip) {
        m_hislip.emplace(m_loop, m_broker, SessionDoorOptions{m_options.tidy.value_or(true), m_options.message_limit});
        Open(*m_hislip, *m_options.hislip);
      }
      if (m_options.vxi11) OpenVxi11();
      WritePortFile();
      Notify("READY=1\nSTATUS=Serving " + m_options.worker.resource);
    } catch (const std::exception&) {
      m_failure = std::current_exception();
      m_loop.Stop();
    }
  }

  /// Writes {"raw": 5025}. The file appears whole, so a script that sees it can read it.
  void WritePortFile() const {
    if (m_options.port_file.empty()) return;
    const std::string draft = m_options.port_file + ".new";
    std::ofstream file(draft);
    file << '{';
    const char* separator = "";
    for (const auto& [name, port] : m_ports) {
      file << separator << '"' << name << "\": " << port;
      separator = ", ";
    }
    file << "}\n";
    file.close();
    if (!file || std::rename(draft.c_str(), m_options.port_file.c_str()) != 0) {
      throw CannotWrite(m_options.port_file + ": cannot write: " + std::strerror(errno));
    }
  }

  void Terminate() {
    if (std::exchange(m_ending, true)) {
      LogLine("second signal: ending at once");
      std::_Exit(EXIT_FAILURE);
    }
    LogLine("ending: messages under way finish");
    Notify("STOPPING=1");
    m_loop.StopReading();
    m_loop.After(kFinishLimit, [this] { m_loop.Stop(); });
    m_broker.Finish([this] {
      m_loop.CloseAll();
      AwaitSockets();
    });
  }

  /// Lets the last answers go out, then ends the loop. Terminate's limit holds for a client that does not take them.
  void AwaitSockets() {
    if (m_loop.Connections() == 0) return m_loop.Stop();
    m_loop.After(std::chrono::milliseconds(5), [this] { AwaitSockets(); });
  }

  const ServerOptions& m_options;
  AsioLoop m_loop;
  Broker m_broker;
  std::optional<RawDoor> m_raw;
  std::optional<HislipDoor> m_hislip;
  std::optional<Vxi11Door> m_vxi11;
  std::optional<PortMapper> m_port_mapper;
  std::optional<PortMapperEntry> m_port_mapper_entry;
  std::vector<std::pair<std::string, std::uint16_t>> m_ports;
  std::exception_ptr m_failure;
  bool m_serving = false;
  bool m_ending = false;
};

}  // namespace

void Serve(const ServerOptions& options) {
  Server server(options);
  server.Run();
}

}  // namespace server
