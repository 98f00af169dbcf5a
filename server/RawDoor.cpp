#include "server/RawDoor.h"

#include <array>
#include <utility>

#include "client/MessageScanner.h"
#include "server/Log.h"

namespace server {
namespace {

/// Messages that one client may have at the broker; further ones wait in its socket.
constexpr std::size_t kQueued = 4;

constexpr std::array<std::string_view, 10> kHttpStarts = {"GET ",     "POST ",  "PUT ",    "HEAD ",  "OPTIONS ",
                                                          "CONNECT ", "PATCH ", "DELETE ", "TRACE ", "Host:"};

class RawConnection : public Connection {
 public:
  RawConnection(Broker& broker, const RawOptions& options, Wire& wire)
      : m_broker(broker),
        m_options(options),
        m_wire(wire),
        m_client(broker.Connect({"raw", wire.Peer(), options.tidy})) {}
  ~RawConnection() override { m_broker.Disconnect(m_client); }

  void Receive(std::string_view bytes) override {
    m_input += bytes;
    Work();
  }
  void Drained() override { Work(); }
  bool EndOfInput() override {
    m_ended = true;
    Work();
    return true;
  }
  bool Waiting() const override { return m_queued > 0; }

 private:
  bool Full() const { return m_queued >= kQueued || m_wire.Unsent() > m_options.unsent_limit; }

  /// Cuts messages out of the input as long as there is room for them, and slows the client down when there is none.
  void Work() {
    if (m_closed) return;
    if (!IsNoHttp()) {
      if (m_ended) HangUp();
      return;
    }
    std::size_t begin = 0;
    while (!Full()) {
      const std::size_t end = m_scanner.FindEnd(std::string_view(m_input).substr(m_scanned));
      if (end == scpi_zlt::MessageScanner::npos) {
        m_scanned = m_input.size();
        break;
      }
      m_scanned += end;
      const bool fits = !m_skipping && m_scanned - begin <= m_options.message_limit;
      if (fits) Submit(m_input.substr(begin, m_scanned - begin));
      m_skipping = false;
      begin = m_scanned;
    }
    m_input.erase(0, begin);
    m_scanned -= begin;
    if (m_scanned > m_options.message_limit) m_skipping = true;
    if (m_skipping) {
      m_input.erase(0, m_scanned);
      m_scanned = 0;
    }
    if (Full()) {
      m_wire.Pause();
    } else {
      m_wire.Resume();
      if (m_ended && m_queued == 0) HangUp();
    }
  }

  void HangUp() {
    m_closed = true;
    m_wire.Close();
  }

  /// True once the first bytes have shown that this is no browser. False before that, and if it is one.
  bool IsNoHttp() {
    if (m_looked) return true;
    for (const std::string_view start : kHttpStarts) {
      if (m_input.starts_with(start)) {
        LogLine("raw " + m_wire.Peer() + ": an HTTP request; dropped, nothing of it was carried out");
        HangUp();
        return false;
      }
      if (start.starts_with(m_input)) return false;
    }
    m_looked = true;
    return true;
  }

  void Submit(std::string message) {
    ++m_queued;
    m_broker.Submit(m_client, std::move(message), [this](const Reply& reply) { Answer(reply); });
  }

  void Answer(const Reply& reply) {
    --m_queued;
    if (m_closed) return;
    if (reply.kind == Reply::Kind::kNoInstrument) {
      HangUp();
      return;
    }
    if (!reply.response.empty()) m_wire.Send(reply.response);
    Work();
  }

  Broker& m_broker;
  const RawOptions& m_options;
  Wire& m_wire;
  const ClientId m_client;
  scpi_zlt::MessageScanner m_scanner;
  std::string m_input;
  std::size_t m_scanned = 0;  ///< bytes of the input that the scanner has seen
  std::size_t m_queued = 0;
  bool m_skipping = false;  ///< inside a message that is too long
  bool m_looked = false;    ///< the check for an HTTP request is done
  bool m_ended = false;     ///< the client will send nothing more; what it sent is still carried out
  bool m_closed = false;
};

}  // namespace

std::unique_ptr<Connection> RawDoor::Accept(Wire& wire) {
  return std::make_unique<RawConnection>(m_broker, m_options, wire);
}

}  // namespace server
