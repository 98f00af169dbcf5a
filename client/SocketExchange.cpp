#include "client/SocketExchange.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "scpi_zlt/scpi_zlt.h"

#include "client/MessageScanner.h"

namespace scpi_zlt {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

struct Fence {
  std::string_view query;
  std::string_view answer;
};
constexpr Fence kFence = {"*OPC?\n", "+1\n"};
/// After a message that asks "*OPC?" itself.
constexpr Fence kOtherFence = {":SYST:VERS?\n", "\"1999.0\"\n"};

constexpr const char* kUsualPort = "5025";

struct Address {
  std::string host;
  std::string port = kUsualPort;
};

Address Split(const std::string& text) {
  Address address{text};
  const std::size_t bracket = text.starts_with('[') ? text.find(']') : std::string::npos;
  const std::size_t colon = text.find(':', bracket == std::string::npos ? 0 : bracket);
  // More than one colon and no bracket: a bare IPv6 address.
  const bool bare = bracket == std::string::npos && text.find(':', colon + 1) != std::string::npos;
  if (colon != std::string::npos && !bare) {
    address.host = text.substr(0, colon);
    address.port = text.substr(colon + 1);
  }
  if (bracket != std::string::npos) address.host = text.substr(1, bracket - 1);
  return address;
}

bool WaitFor(int socket, short events, milliseconds timeout) {
  pollfd event{socket, events, 0};
  const auto limit = std::clamp<std::int64_t>(timeout.count(), 0, 3600 * 1000);
  return poll(&event, 1, static_cast<int>(limit)) > 0;
}

/// A connected socket, or -1 with errno.
int Open(const addrinfo& entry, milliseconds timeout) {
  const int fd = socket(entry.ai_family, entry.ai_socktype | SOCK_NONBLOCK | SOCK_CLOEXEC, entry.ai_protocol);
  if (fd < 0) return -1;
  int error = 0;
  if (connect(fd, entry.ai_addr, entry.ai_addrlen) != 0) {
    error = errno;
    if (error == EINPROGRESS) {
      error = ETIMEDOUT;
      socklen_t size = sizeof error;
      if (WaitFor(fd, POLLOUT, timeout)) getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size);
    }
  }
  if (error == 0) {
    const int on = 1;
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    return fd;
  }
  close(fd);
  errno = error;
  return -1;
}

}  // namespace

SocketExchange::~SocketExchange() {
  if (m_socket >= 0) close(m_socket);
}

std::string SocketExchange::Connect(const std::string& text, milliseconds timeout) {
  const Address address = Split(text);
  addrinfo hints{};
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  // Not left to the resolver, so that it works where no file of hosts has it (RFC 6761, 6.3).
  const char* const host = address.host == "localhost" ? nullptr : address.host.c_str();
  if (const int status = getaddrinfo(host, address.port.c_str(), &hints, &found); status != 0) {
    return status == EAI_SERVICE ? "\"" + address.port + "\" is no port" : gai_strerror(status);
  }
  const std::unique_ptr<addrinfo, void (*)(addrinfo*)> owner(found, freeaddrinfo);
  int error = 0;
  for (const addrinfo* entry = found; entry != nullptr && m_socket < 0; entry = entry->ai_next) {
    m_socket = Open(*entry, timeout);
    error = errno;
  }
  return m_socket < 0 ? std::strerror(error) : "";
}

Answer SocketExchange::Begin(std::string_view message) {
  if (m_outstanding) return {Outcome::kBusy, {}, 0};
  bool needs_end = false;
  if (const Outcome refused = Sendable(message, needs_end); refused != Outcome::kComplete) return {refused, {}, 0};
  const Fence& fence = Asks(message, "*OPC?") ? kOtherFence : kFence;
  m_fence_answer = fence.answer;
  m_unsent.assign(message);
  if (needs_end) m_unsent += '\n';
  m_unsent += fence.query;
  m_received.clear();
  m_outstanding = true;
  return {};
}

Answer SocketExchange::Await(milliseconds timeout) {
  if (!m_outstanding) return {};
  const auto end = steady_clock::now() + timeout;
  for (;;) {
    const auto left = std::chrono::duration_cast<milliseconds>(end - steady_clock::now());
    if (!Transfer(left)) return {Outcome::kFailed, {}, VI_ERROR_INV_OBJECT};
    if (m_unsent.empty() && m_received.ends_with(m_fence_answer)) break;
    if (left <= milliseconds(0)) return {Outcome::kTimeout, {}, 0};
  }
  m_outstanding = false;
  m_received.resize(m_received.size() - m_fence_answer.size());
  Answer answer{Outcome::kComplete, {}, 0};
  answer.response.swap(m_received);
  return answer;
}

/// Sends and receives what can be, after waiting for either. False if the connection is gone.
bool SocketExchange::Transfer(milliseconds wait) {
  if (m_socket < 0) return false;
  WaitFor(m_socket, static_cast<short>(m_unsent.empty() ? POLLIN : POLLIN | POLLOUT), wait);
  if (!m_unsent.empty()) {
    const ssize_t sent = send(m_socket, m_unsent.data(), m_unsent.size(), MSG_NOSIGNAL);
    if (sent > 0) m_unsent.erase(0, static_cast<std::size_t>(sent));
  }
  std::array<char, 16384> piece{};
  const ssize_t count = recv(m_socket, piece.data(), piece.size(), 0);
  if (count > 0) {
    m_received.append(piece.data(), static_cast<std::size_t>(count));
  } else if (count == 0) {
    Lose("the server closed the connection: it was stopped, or has lost its instrument");
  } else if (errno != EAGAIN && errno != EINTR) {
    Lose(std::string("the connection to the server broke: ") + std::strerror(errno));
  }
  return m_socket >= 0;
}

void SocketExchange::Lose(const std::string& how) {
  m_loss = how;
  close(m_socket);
  m_socket = -1;
}

}  // namespace scpi_zlt
