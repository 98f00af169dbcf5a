#include "server/HislipDoor.h"

#include <utility>

#include "server/HislipSession.h"

namespace server {
namespace {

using hislip::FatalCode;
using hislip::Type;

/// True for the standard's names for the first device. A port after a comma is for the client only and is ignored.
bool IsSubAddress(std::string_view name) {
  return name.empty() || name.starts_with("hislip") || name.starts_with("HISLIP");
}

class HislipConnection : public Connection {
 public:
  HislipConnection(HislipDoor& door, Wire& wire)
      : m_door(door), m_wire(wire), m_reader(door.Options().message_limit + hislip::kHeaderSize) {}
  ~HislipConnection() override {
    if (m_session) m_session->Gone(m_wire);
  }

  void Receive(std::string_view bytes) override {
    hislip::Message message;
    while (!m_failed) {
      const hislip::Reader::Result result = m_reader.Next(bytes, message);
      if (result == hislip::Reader::Result::kNeedsMore) return;
      if (result == hislip::Reader::Result::kBadHeader) return Fail(FatalCode::kBadHeader, "poorly formed header");
      if (!m_session) {
        Begin(message);
      } else if (m_synchronous) {
        m_session->OnSynchronous(std::move(message));
      } else {
        m_session->OnAsynchronous(std::move(message));
      }
    }
  }
  void Drained() override {
    if (m_session) m_session->Drained(m_wire);
  }
  bool Waiting() const override { return m_session && m_session->Waiting(); }

 private:
  /// The first message says which of the two connections this is.
  void Begin(const hislip::Message& message) {
    if (message.type == Type::kInitialize) return BeginSynchronous(message);
    if (message.type != Type::kAsyncInitialize) {
      return Fail(FatalCode::kBadInitialization, "Initialize or AsyncInitialize comes first");
    }
    const auto session = m_door.Find(static_cast<std::uint16_t>(message.parameter));
    if (!session || !session->Join(m_wire)) {
      return Fail(FatalCode::kBadInitialization, "no session of this number waits for a second connection");
    }
    m_session = session;
  }

  void BeginSynchronous(const hislip::Message& message) {
    if (message.too_large || !IsSubAddress(message.payload)) {
      return Fail(FatalCode::kUnidentified, "there is no device of this sub-address; hislip0 is the one");
    }
    m_synchronous = true;
    m_session = m_door.MakeSession(m_wire);
    if (!m_session) Fail(FatalCode::kTooManyClients, "no session number is free");
  }

  void Fail(FatalCode code, std::string_view text) {
    m_failed = true;
    if (m_session) return m_session->Fail(code, text);
    m_wire.Send(hislip::Encode(Type::kFatalError, static_cast<std::uint8_t>(code), 0, text));
    m_wire.Close();
  }

  HislipDoor& m_door;
  Wire& m_wire;
  hislip::Reader m_reader;
  std::shared_ptr<HislipSession> m_session;
  bool m_synchronous = false;
  bool m_failed = false;
};

}  // namespace

std::unique_ptr<Connection> HislipDoor::Accept(Wire& wire) {
  return std::make_unique<HislipConnection>(*this, wire);
}

std::string HislipDoor::TooManyClients() const {
  return hislip::Encode(Type::kFatalError, static_cast<std::uint8_t>(FatalCode::kTooManyClients), 0,
                        "too many clients");
}

std::shared_ptr<HislipSession> HislipDoor::MakeSession(Wire& synchronous) {
  std::erase_if(m_sessions, [](const auto& session) { return session.second.expired(); });
  if (m_sessions.size() >= 0xFFFF) return nullptr;
  do {
    ++m_last_id;
  } while (m_last_id == 0 || m_sessions.contains(m_last_id));
  auto session = std::make_shared<HislipSession>(*this, m_last_id, synchronous);
  m_sessions[m_last_id] = session;
  session->Open();
  return session;
}

std::shared_ptr<HislipSession> HislipDoor::Find(std::uint16_t id) const {
  const auto found = m_sessions.find(id);
  return found == m_sessions.end() ? nullptr : found->second.lock();
}

}  // namespace server
