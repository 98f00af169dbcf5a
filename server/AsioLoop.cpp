#include "server/AsioLoop.h"

#include <array>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/network_v4.hpp>
#include <boost/asio/ip/network_v6.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ip/udp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>
#include <list>
#include <malloc.h>
#include <map>
#include <netinet/tcp.h>
#include <optional>
#include <stdexcept>
#include <sys/socket.h>
#include <utility>

#include "server/Log.h"

namespace server {
namespace {

namespace asio = boost::asio;
using asio::ip::tcp;
using asio::ip::udp;
using boost::system::error_code;

asio::ip::address ParseAddress(const std::string& text) {
  error_code error;
  asio::ip::address address = asio::ip::make_address(text, error);
  if (error) throw std::runtime_error("\"" + text + "\" is no IP address");
  return address;
}

/// The IPv4 address inside an IPv4-mapped IPv6 address; any other address as it is.
asio::ip::address Plain(const asio::ip::address& address) {
  if (!address.is_v6() || !address.to_v6().is_v4_mapped()) return address;
  return asio::ip::make_address_v4(asio::ip::v4_mapped, address.to_v6());
}

/// A network of addresses: ADDRESS/BITS, or ADDRESS alone.
class Network {
 public:
  explicit Network(const std::string& text) {
    const std::size_t slash = text.find('/');
    m_address = ParseAddress(text.substr(0, slash));
    const unsigned width = m_address.is_v4() ? 32 : 128;
    m_bits = width;
    if (slash == std::string::npos) return;
    const std::string bits = text.substr(slash + 1);
    std::size_t used = 0;
    try {
      m_bits = static_cast<unsigned>(std::stoul(bits, &used));
    } catch (const std::exception&) {
      used = 0;
    }
    if (used == 0 || used != bits.size() || m_bits > width) throw std::runtime_error("\"" + text + "\" is no network");
  }

  bool Has(const asio::ip::address& address) const {
    if (address.is_v4() != m_address.is_v4()) return false;
    return address.is_v4() ? Agree(address.to_v4().to_bytes(), m_address.to_v4().to_bytes())
                           : Agree(address.to_v6().to_bytes(), m_address.to_v6().to_bytes());
  }

 private:
  template <std::size_t kBytes>
  bool Agree(const std::array<unsigned char, kBytes>& a, const std::array<unsigned char, kBytes>& b) const {
    for (unsigned bit = 0; bit < m_bits; ++bit) {
      const unsigned mask = 0x80u >> bit % 8;
      if (((a[bit / 8] ^ b[bit / 8]) & mask) != 0) return false;
    }
    return true;
  }

  asio::ip::address m_address;
  unsigned m_bits = 0;
};

std::string Text(const tcp::endpoint& endpoint) {
  const asio::ip::address address = Plain(endpoint.address());
  const std::string text = address.to_string();
  return (address.is_v6() ? "[" + text + "]" : text) + ":" + std::to_string(endpoint.port());
}

/// A peer whose machine or network is gone closes nothing. It is asked for after a minute of silence, and given up half
/// a minute later; its locks end with it.
void NoticeVanishing(tcp::socket& socket) {
  constexpr std::array<std::array<int, 3>, 4> kOptions = {{{SOL_SOCKET, SO_KEEPALIVE, 1},
                                                           {IPPROTO_TCP, TCP_KEEPIDLE, 60},
                                                           {IPPROTO_TCP, TCP_KEEPINTVL, 10},
                                                           {IPPROTO_TCP, TCP_KEEPCNT, 3}}};
  for (const auto& [level, option, value] : kOptions) {
    ::setsockopt(socket.native_handle(), level, option, &value, sizeof value);
  }
}

[[noreturn]] void CannotOpen(const std::string& what, const std::string& address, std::uint16_t port,
                             const error_code& error) {
  throw std::runtime_error("cannot open " + what + " on " + address + " port " + std::to_string(port) + ": " +
                           error.message());
}

}  // namespace

class AsioLoop::Impl {
 public:
  class Socket;

  explicit Impl(const NetLimits& net_limits) : limits(net_limits), signals(io) {
    for (const std::string& network : limits.allow) allowed.emplace_back(network);
  }

  struct Port {
    Door& door;
    tcp::acceptor acceptor;
    asio::steady_timer retry;
  };
  struct DatagramPort {
    DatagramHandler handler;
    udp::socket socket;
    udp::endpoint sender;
    std::array<char, 65536> buffer{};
  };

  void AcceptNext(Port& port);
  void Admit(Door& door, tcp::socket socket);
  void GiveMemoryBack();
  bool Allowed(const asio::ip::address& address) const;
  void ReceiveNext(DatagramPort& port);
  void AwaitSignal(const Task& handler);

  const NetLimits limits;
  std::vector<Network> allowed;
  asio::io_context io{1};
  asio::signal_set signals;
  std::list<Port> ports;
  std::list<std::unique_ptr<DatagramPort>> datagram_ports;
  std::map<Socket*, std::shared_ptr<Socket>> sockets;
  std::map<Timer, asio::steady_timer> timers;
  Timer last_timer = 0;
  std::size_t ended = 0;  ///< connections since memory was given back
  bool reading = true;
};

/// One peer's TCP connection: the Wire of its door.
class AsioLoop::Impl::Socket : public Wire, public std::enable_shared_from_this<Socket> {
 public:
  Socket(Impl& impl, const char* door, tcp::socket socket, std::string peer)
      : m_impl(impl), m_door(door), m_socket(std::move(socket)), m_peer(std::move(peer)), m_idle(impl.io) {}

  /// False if the door refuses the peer.
  bool Start(Door& door) {
    m_connection = door.Accept(*this);
    if (!m_connection) return false;
    RestartIdle();
    Read();
    AwaitBreak();
    return true;
  }

  void Send(std::string_view bytes) override {
    if (m_gone || bytes.empty()) return;
    m_unsent += bytes;
    if (m_sending.empty()) Write();
  }
  std::size_t Unsent() const override { return m_sending.size() + m_unsent.size(); }
  void Pause() override { m_paused = true; }
  void Resume() override {
    if (!std::exchange(m_paused, false)) return;
    // Not from inside the door's call.
    asio::post(m_impl.io, [self = shared_from_this()] { self->Read(); });
  }
  void Close() override {
    m_closing = true;
    if (m_sending.empty() && m_unsent.empty()) Fail();
  }
  const std::string& Peer() const override { return m_peer; }

  /// Ends the connection, whichever side closed it. The door's half is destroyed from the loop.
  void Fail() {
    if (std::exchange(m_gone, true)) return;
    m_idle.cancel();
    asio::post(m_impl.io, [self = shared_from_this()] {
      error_code ignored;
      self->m_socket.shutdown(tcp::socket::shutdown_both, ignored);
      self->m_socket.close(ignored);
      self->m_connection.reset();
      LogLine(std::string(self->m_door) + " " + self->m_peer + ": disconnected");
      self->m_impl.sockets.erase(self.get());
      self->m_impl.GiveMemoryBack();
    });
  }

 private:
  void Read() {
    if (m_reading || m_paused || m_ended || m_closing || m_gone || !m_impl.reading) return;
    m_reading = true;
    m_socket.async_read_some(asio::buffer(m_buffer),
                             [self = shared_from_this()](const error_code& error, std::size_t count) {
                               self->m_reading = false;
                               if (self->m_gone) return;
                               if (error == asio::error::eof) return self->EndOfInput();
                               if (error) return self->Fail();
                               if (self->m_closing) return;
                               self->RestartIdle();
                               self->m_connection->Receive({self->m_buffer.data(), count});
                               self->Read();
                             });
  }

  /// Notices a peer that breaks off while nothing is read from it.
  void AwaitBreak() {
    m_socket.async_wait(tcp::socket::wait_error, [self = shared_from_this()](const error_code& cancelled) {
      if (cancelled || self->m_gone) return;
      int reason = 0;
      socklen_t size = sizeof reason;
      ::getsockopt(self->m_socket.native_handle(), SOL_SOCKET, SO_ERROR, &reason, &size);
      // Urgent data wakes it too. It would do so without end, so nothing waits again then.
      if (reason != 0) self->Fail();
    });
  }

  void EndOfInput() {
    m_ended = true;
    if (m_closing || !m_connection->EndOfInput()) Fail();
  }

  void Write() {
    m_sending.swap(m_unsent);
    m_unsent.clear();
    asio::async_write(m_socket, asio::buffer(m_sending),
                      [self = shared_from_this()](const error_code& error, std::size_t) {
                        if (self->m_gone) return;
                        if (error) return self->Fail();
                        self->m_sending.clear();
                        if (self->m_sending.capacity() > kKeptCapacity) self->m_sending.shrink_to_fit();
                        self->RestartIdle();
                        if (!self->m_unsent.empty()) return self->Write();
                        if (self->m_closing) return self->Fail();
                        self->m_connection->Drained();
                      });
  }

  /// Closes a peer that neither sends nor takes anything within the idle limit, unless it waits for an answer.
  void RestartIdle() {
    if (m_impl.limits.idle.count() == 0) return;
    m_idle.expires_after(m_impl.limits.idle);
    m_idle.async_wait([self = shared_from_this()](const error_code& error) {
      if (error || self->m_gone) return;
      if (self->m_connection->Waiting()) return self->RestartIdle();
      LogLine(std::string(self->m_door) + " " + self->m_peer + ": silent for too long");
      self->Fail();
    });
  }

  static constexpr std::size_t kKeptCapacity = 65536;

  Impl& m_impl;
  const char* m_door;
  tcp::socket m_socket;
  const std::string m_peer;
  asio::steady_timer m_idle;
  std::unique_ptr<Connection> m_connection;
  std::array<char, 16384> m_buffer{};
  std::string m_sending;  ///< being sent
  std::string m_unsent;   ///< sent next
  bool m_reading = false;
  bool m_paused = false;
  bool m_ended = false;    ///< the peer will send nothing more
  bool m_closing = false;  ///< the door has hung up
  bool m_gone = false;
};

/// The allocator keeps what many clients at a time have used, for good, because something newer lies above it.
void AsioLoop::Impl::GiveMemoryBack() {
  constexpr std::size_t kMany = 100;
  if (++ended < kMany) return;
  ended = 0;
  ::malloc_trim(0);
}

bool AsioLoop::Impl::Allowed(const asio::ip::address& address) const {
  if (allowed.empty()) return true;
  for (const Network& network : allowed) {
    if (network.Has(address)) return true;
  }
  return false;
}

void AsioLoop::Impl::AcceptNext(Port& port) {
  port.acceptor.async_accept([this, &port](const error_code& error, tcp::socket socket) {
    if (error == asio::error::operation_aborted || !reading) return;
    if (!error) {
      Admit(port.door, std::move(socket));
      AcceptNext(port);
      return;
    }
    // Out of descriptors, for example: try again when other connections may have closed.
    port.retry.expires_after(std::chrono::milliseconds(100));
    port.retry.async_wait([this, &port](const error_code& cancelled) {
      if (!cancelled) AcceptNext(port);
    });
  });
}

void AsioLoop::Impl::Admit(Door& door, tcp::socket socket) {
  error_code error;
  const tcp::endpoint peer = socket.remote_endpoint(error);
  if (error) return;
  const std::string name = std::string(door.Name()) + " " + Text(peer);
  if (!Allowed(Plain(peer.address()))) return LogLine(name + ": refused, its address is not allowed");
  if (sockets.size() >= limits.clients) {
    socket.non_blocking(true, error);
    socket.write_some(asio::buffer(door.TooManyClients()), error);
    return LogLine(name + ": refused, too many clients");
  }
  socket.set_option(tcp::no_delay(true), error);
  NoticeVanishing(socket);
  const auto added = std::make_shared<Socket>(*this, door.Name(), std::move(socket), Text(peer));
  if (!added->Start(door)) return LogLine(name + ": refused");
  sockets[added.get()] = added;
  LogLine(name + ": connected");
}

void AsioLoop::Impl::ReceiveNext(DatagramPort& port) {
  port.socket.async_receive_from(
      asio::buffer(port.buffer), port.sender, [this, &port](const error_code& error, std::size_t count) {
        if (error == asio::error::operation_aborted) return;
        if (!error && Allowed(Plain(port.sender.address()))) {
          const std::string reply = port.handler({port.buffer.data(), count}, port.sender.address().to_string());
          error_code ignored;
          if (!reply.empty()) {
            port.socket.send_to(asio::buffer(reply), port.sender, 0, ignored);
          }
        }
        ReceiveNext(port);
      });
}

void AsioLoop::Impl::AwaitSignal(const Task& handler) {
  signals.async_wait([this, handler](const error_code& error, int) {
    if (error) return;
    handler();
    AwaitSignal(handler);
  });
}

AsioLoop::AsioLoop(NetLimits limits) : m_impl(std::make_unique<Impl>(limits)) {}
AsioLoop::~AsioLoop() = default;

void AsioLoop::Post(Task task) {
  asio::post(m_impl->io, std::move(task));
}

Loop::Timer AsioLoop::After(std::chrono::milliseconds delay, Task task) {
  // The clock counts nanoseconds in 64 bits: a wait of a year is as good as an endless one.
  constexpr std::chrono::hours kLongest{24 * 365};
  const Timer number = ++m_impl->last_timer;
  asio::steady_timer& timer = m_impl->timers.emplace(number, m_impl->io).first->second;
  timer.expires_after(std::min<std::chrono::milliseconds>(delay, kLongest));
  timer.async_wait([this, number, task = std::move(task)](const error_code&) {
    if (m_impl->timers.erase(number) > 0) task();
  });
  return number;
}

void AsioLoop::Cancel(Timer timer) {
  m_impl->timers.erase(timer);
}

std::uint16_t AsioLoop::Listen(Door& door, const std::string& address, std::uint16_t port) {
  const tcp::endpoint endpoint(ParseAddress(address), port);
  tcp::acceptor acceptor(m_impl->io);
  error_code error;
  acceptor.open(endpoint.protocol(), error);
  if (!error) acceptor.set_option(tcp::acceptor::reuse_address(true), error);
  if (!error) acceptor.bind(endpoint, error);
  if (!error) acceptor.listen(tcp::acceptor::max_listen_connections, error);
  if (error) CannotOpen(door.Name(), address, port, error);
  Impl::Port& added = m_impl->ports.emplace_back(Impl::Port{door, std::move(acceptor), asio::steady_timer(m_impl->io)});
  m_impl->AcceptNext(added);
  return added.acceptor.local_endpoint().port();
}

std::uint16_t AsioLoop::ListenDatagrams(DatagramHandler handler, const std::string& address, std::uint16_t port) {
  const udp::endpoint endpoint(ParseAddress(address), port);
  udp::socket socket(m_impl->io);
  error_code error;
  socket.open(endpoint.protocol(), error);
  if (!error) socket.bind(endpoint, error);
  if (error) CannotOpen("UDP", address, port, error);
  m_impl->datagram_ports.push_back(
      std::unique_ptr<Impl::DatagramPort>(new Impl::DatagramPort{std::move(handler), std::move(socket), {}, {}}));
  Impl::DatagramPort& added = *m_impl->datagram_ports.back();
  m_impl->ReceiveNext(added);
  return added.socket.local_endpoint().port();
}

void AsioLoop::OnTermination(Task handler) {
  m_impl->signals.add(SIGTERM);
  m_impl->signals.add(SIGINT);
  m_impl->AwaitSignal(handler);
}

void AsioLoop::StopReading() {
  m_impl->reading = false;
  for (Impl::Port& port : m_impl->ports) port.acceptor.close();
  for (const auto& port : m_impl->datagram_ports) port->socket.close();
}

void AsioLoop::CloseAll() {
  const auto sockets = m_impl->sockets;
  for (const auto& [key, socket] : sockets) socket->Close();
}

std::size_t AsioLoop::Connections() const {
  return m_impl->sockets.size();
}

void AsioLoop::Run() {
  m_impl->io.run();
}

void AsioLoop::Stop() {
  m_impl->io.stop();
}

bool IsLoopback(const std::string& address) {
  return Plain(ParseAddress(address)).is_loopback();
}

}  // namespace server
