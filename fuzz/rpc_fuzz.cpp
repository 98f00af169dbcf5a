// libFuzzer harness of ONC RPC, VXI-11 and the port mapper over the real broker, with a session, a loop and a network
// that this drives. Whatever comes: each call is answered once at the most and in its order, by whole records; a stream
// means the same in whatever pieces it comes; and nothing of a client is left when it is gone.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "server/Log.h"
#include "server/PortMapper.h"
#include "server/Vxi11Door.h"
#include "tests/unit/server/RpcPeer.h"

namespace {

using server_test::session;
using server_test::Word;
using std::chrono::milliseconds;

constexpr unsigned kCore = 0x0607AF;

/// The input, byte by byte; zeros after its end.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : m_left(reinterpret_cast<const char*>(data), size) {}
  bool Empty() const { return m_left.empty(); }
  unsigned Byte() {
    if (m_left.empty()) return 0;
    const auto byte = static_cast<unsigned char>(m_left.front());
    m_left.remove_prefix(1);
    return byte;
  }
  std::string Bytes(std::size_t count) {
    const std::string text(m_left.substr(0, count));
    m_left.remove_prefix(text.size());
    return text;
  }

 private:
  std::string_view m_left;
};

class World {
 public:
  World() { m_door.SetAbortPort(7); }

  void Run(Input input) {
    while (!input.Empty()) {
      const unsigned choice = input.Byte();
      if (choice < 0x20) {
        Ask(m_clients.at(choice % 2), choice);
      } else if (choice < 0xA0) {
        Call(m_clients.at(choice % m_clients.size()), input.Byte(), input);
      } else if (choice < 0xC0) {
        if (!session.jobs.empty()) session.Answer({choice == 0xA0 ? Kind::kNoInstrument : Kind::kDone, Text(choice)});
      } else if (choice < 0xE0) {
        m_loop.Advance(milliseconds(choice - 0xC0) * 40);
      } else if (choice < 0xF0) {
        m_clients.at(choice % m_clients.size()) = {};
      } else {
        session.set_state(choice % 2 == 0 ? server::WorkerState::kUp : server::WorkerState::kLost);
      }
      if (choice % 16 != 15) m_loop.Settle();
      for (Client& client : m_clients) Read(client);
    }
    for (Client& client : m_clients) client = {};
    m_loop.Settle();
    if (m_broker.Clients() != 0 || m_door.HasLinks() || m_broker.Locks().Holders() != 0) std::abort();
  }

 private:
  using Kind = server::Reply::Kind;
  struct Client {
    std::unique_ptr<server_test::Peer> peer;
    unsigned called = 0;
    unsigned answered = 0;
    bool spoilt = false;  ///< raw bytes were sent: they may hold a call of any number
  };

  static std::string Text(unsigned choice) { return std::string(choice % 8, ';') + '\n'; }

  /// Mostly well-formed: words that are small, then data; now and then a wrong head, a wrong length, or raw bytes.
  void Call(Client& client, unsigned shape, Input& input) {
    const bool core = &client != &m_clients.back();
    const unsigned program = core ? kCore : 0x0607B0;
    if (!client.peer) Connect(client, core, program);
    const unsigned procedure = input.Byte() % 28;
    std::string arguments;
    // The first one is mostly a link, and there are few.
    for (unsigned word = 0; word < shape % 8; ++word) arguments += Word(word == 0 ? input.Byte() % 8 : input.Byte());
    const std::string data = input.Bytes(shape >> 3 & 7);
    if (!data.empty()) arguments += Word((shape & 0x40) != 0 ? 0xFFFFFFF0u : static_cast<unsigned>(data.size()));
    arguments += data + std::string((4 - data.size() % 4) % 4, '\0');
    if ((shape & 0x80) != 0 && procedure == 0) {
      client.spoilt = true;
      return client.peer->Receive(arguments);
    }
    const unsigned version = (shape & 0x80) != 0 && procedure == 1 ? 2 : 1;
    Send(client, program, version, procedure, arguments);
  }

  /// A write or a read as they should be.
  void Ask(Client& client, unsigned choice) {
    if (!client.peer) Connect(client, true, kCore);
    const unsigned link = choice >> 3;
    const std::string arguments = (choice & 4) != 0 ? server_test::Words({link, 9, 9, 8}) + server_test::Opaque("A?\nA")
                                                    : server_test::Words({link, 1 + choice / 16, 9, 9, 0x80, ';'});
    Send(client, kCore, 1, (choice & 4) != 0 ? 11 : 12, arguments);
  }

  static void Send(Client& client, unsigned program, unsigned version, unsigned procedure,
                   const std::string& arguments) {
    ++client.called;
    client.peer->Send(server_test::Words({client.called, 0, 2, program, version, procedure, 0, 0, 0, 0}) + arguments);
  }

  /// A client of the core channel makes a link before all else.
  void Connect(Client& client, bool core, unsigned program) {
    client.peer = std::make_unique<server_test::Peer>(core ? m_door : m_door.AbortChannel(), program);
    if (!core) return;
    Send(client, program, 1, 10, server_test::Words({1, 0, 0, 0}));
  }

  static void Read(Client& client) {
    if (!client.peer) return;
    while (!client.peer->Wire().sent.empty()) {
      const std::string& sent = client.peer->Wire().sent;
      if (sent.size() < 16 || (server_test::Number(sent, 0) >> 31) != 1) std::abort();
      // The number that the call had.
      const unsigned number = server_test::Number(sent, 1);
      if (!client.spoilt && (number <= client.answered || number > client.called)) std::abort();
      client.answered = number;
      client.peer->Reply();
    }
  }

  server_test::DrivenLoop m_loop;
  server::Broker m_broker{m_loop, {}, false, false, nullptr};
  server::Vxi11Door m_door{m_loop, m_broker, {true, 20}};
  std::array<Client, 3> m_clients;  ///< two of the core channel, one of the abort channel
};

/// A call of the port mapper.
std::string Question(Input& input) {
  using server_test::Words;
  const unsigned shape = input.Byte();
  std::string arguments;
  for (unsigned word = 0; word < shape % 8; ++word) {
    const unsigned value = input.Byte();
    arguments += Word(value == 1 ? 395183 : value == 2 ? 100000 : value % 32);
  }
  const std::string call = Words({shape, 0, 2, 100000, shape < 16 ? 3u : 2u, input.Byte() % 8, 0, 0, 0, 0}) + arguments;
  return Word(0x80000000 | static_cast<unsigned>(call.size())) + call;
}

/// What a door sends for a stream that comes in pieces.
std::string Stream(server::Door& door, server_test::DrivenLoop& loop, const std::string& text, std::size_t piece) {
  server_test::KeptWire wire;
  const auto connection = door.Accept(wire);
  for (std::size_t at = 0; at < text.size() && !wire.closed; at += piece) {
    connection->Receive(std::string_view(text).substr(at, piece));
    loop.Settle();
  }
  return wire.sent + (wire.closed ? "!" : "");
}

}  // namespace

// The log would drown all else.
namespace server {
void LogLine(std::string_view) {}
std::string Printable(std::string_view text, std::size_t) {
  return std::string(text);
}
}  // namespace server

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const unsigned choice = input.Byte() % 8;
  if (choice > 1) {
    World().Run(input);
    return 0;
  }
  // Whatever it is, or calls with these arguments.
  std::string text = choice == 0 ? input.Bytes(size) : "";
  while (!input.Empty()) text += Question(input);
  server_test::DrivenLoop loop;
  server::PortMapper mapper(loop, {{395183, 1, 3002}});
  mapper.AnswerDatagram(text);
  const std::string whole = Stream(mapper, loop, text, text.size() + 1);
  for (const std::size_t piece : {1u, 5u, 16u}) {
    if (Stream(mapper, loop, text, piece) != whole) std::abort();
  }
  return 0;
}
