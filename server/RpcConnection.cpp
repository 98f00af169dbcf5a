#include "server/RpcConnection.h"

#include <optional>
#include <utility>

#include "server/Log.h"

namespace server {
namespace {

/// The longest call. It is well above the instrument's longest message, so that one which is somewhat too long still
/// gets the protocol's own error.
constexpr std::size_t kLongestRecord = 1 << 20;
/// Bytes that a client may send ahead while a call is being carried out. Reading goes on meanwhile, because otherwise
/// the server would not notice that the client is gone.
constexpr std::size_t kAhead = 65536;
/// Bytes of replies that a client may leave unread; above that its next call waits.
constexpr std::size_t kUnsent = 65536;
/// How long to wait for the first call, and for each further one of a client that may not rest.
constexpr std::chrono::seconds kPatience{30};

}  // namespace

RpcConnection::RpcConnection(Loop& loop, Wire& wire) : m_loop(loop), m_wire(wire), m_reader(kLongestRecord) {
  AwaitCall();
}

void RpcConnection::AwaitCall() {
  m_called = false;
  m_patience = m_loop.After(kPatience, [this] { m_called || Waiting() ? AwaitCall() : HangUp("no call came"); });
}

void RpcConnection::HangUp(const char* reason) {
  if (std::exchange(m_closed, true)) return;
  LogLine("rpc " + m_wire.Peer() + ": " + reason);
  m_wire.Close();
}

void RpcConnection::Receive(std::string_view bytes) {
  m_input += bytes;
  Work();
}

void RpcConnection::Answer(const std::string& reply) {
  m_busy = false;
  m_wire.Send(rpc::ToRecord(reply));
  Work();
}

void RpcConnection::Work() {
  if (std::exchange(m_working, true)) return;
  std::string_view rest = m_input;
  while (!m_closed && !m_busy && m_wire.Unsent() <= kUnsent) {
    std::string record;
    const rpc::RecordReader::Result result = m_reader.Next(rest, record);
    if (result == rpc::RecordReader::Result::kNeedsMore) break;
    if (result == rpc::RecordReader::Result::kTooLarge) {
      HangUp("a record that is too long");
      break;
    }
    const std::optional<rpc::Call> call = rpc::ReadCall(record);
    if (!call) {
      HangUp("no call");
      break;
    }
    m_busy = m_called = true;
    Handle(*call);
  }
  m_input.erase(0, m_input.size() - rest.size());
  m_working = false;
  if (m_closed || m_input.size() > kAhead) {
    m_wire.Pause();
  } else {
    m_wire.Resume();
  }
}

}  // namespace server
