// ONC RPC from the client's side, coded by hand from RFC 5531 and RFC 4506, without a socket.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "DrivenServer.h"

namespace server_test {

inline std::string Word(unsigned value) {
  return {static_cast<char>(value >> 24), static_cast<char>(value >> 16), static_cast<char>(value >> 8),
          static_cast<char>(value)};
}

inline std::string Words(const std::vector<unsigned>& values) {
  std::string text;
  for (const unsigned value : values) text += Word(value);
  return text;
}

inline std::string Opaque(const std::string& data) {
  return Word(static_cast<unsigned>(data.size())) + data + std::string((4 - data.size() % 4) % 4, '\0');
}

inline unsigned Number(const std::string& text, std::size_t word) {
  unsigned value = 0;
  for (std::size_t i = 4 * word; i < 4 * word + 4; ++i) value = value << 8 | static_cast<unsigned char>(text.at(i));
  return value;
}

/// One connection: calls out, replies in.
class Peer {
 public:
  explicit Peer(server::Door& door, unsigned program) : m_program(program), m_connection(door.Accept(m_wire)) {}

  void Call(unsigned procedure, const std::string& arguments) {
    Send(Words({7, 0, 2, m_program, 1, procedure, 0, 0, 0, 0}) + arguments);
  }
  void Send(const std::string& message) { Receive(Word(0x80000000 | static_cast<unsigned>(message.size())) + message); }
  void Receive(const std::string& bytes) { m_connection->Receive(bytes); }
  void Drained() { m_connection->Drained(); }
  /// The next reply, after its xid; "" if there is none.
  std::string Reply() {
    if (m_wire.sent.empty()) return "";
    const std::size_t size = Number(m_wire.sent, 0) & 0x7FFFFFFF;
    std::string reply = m_wire.sent.substr(8, size - 4);
    m_wire.sent.erase(0, 4 + size);
    return reply;
  }
  KeptWire& Wire() { return m_wire; }

 private:
  const unsigned m_program;
  KeptWire m_wire;
  std::unique_ptr<server::Connection> m_connection;
};

}  // namespace server_test
