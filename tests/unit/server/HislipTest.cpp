// Sessions of HiSLIP without a socket, over the real broker: each row lists steps and what they must cause.
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <sstream>
#include <string>

#include "DrivenServer.h"
#include "server/HislipDoor.h"
#include "server/HislipMessage.h"

namespace {

using namespace server::hislip;
using server_test::session;
using std::chrono::milliseconds;

constexpr std::size_t kLimit = 40;

const std::map<std::string, Type> kTypes = {{"init", Type::kInitialize},
                                            {"fatal", Type::kFatalError},
                                            {"error", Type::kError},
                                            {"lock", Type::kAsyncLock},
                                            {"data", Type::kData},
                                            {"end", Type::kDataEnd},
                                            {"trigger", Type::kTrigger},
                                            {"cleared", Type::kDeviceClearComplete},
                                            {"clear", Type::kAsyncDeviceClear},
                                            {"stb", Type::kAsyncStatusQuery},
                                            {"info", Type::kAsyncLockInfo},
                                            {"remote", Type::kAsyncRemoteLocalControl},
                                            {"size", Type::kAsyncMaximumMessageSize},
                                            {"unknown", Type{99}},
                                            {"vendor", Type{200}}};

/// Plays steps and writes down what happens. "~" stands for a line end, "_" for a blank.
///
///   a:NAME,CONTROL,PARAMETER,PAYLOAD   session a, opened by its first step, sends on its synchronous connection
///   a<NAME,...                         the same on the asynchronous one
///   a!                                 the synchronous connection is gone
///   =TEXT                              the message under way ends with this answer; =! with the loss of the
///   instrument,
///                                      =# because it ends inside a block
///   +50                                milliseconds pass
///   STEP&                              the next step comes before the loop has run
///
/// Written down: [MESSAGE] is handed to the instrument; a:TYPE/CONTROL/PARAMETER(PAYLOAD) and a<... are sent by the
/// server, with the number of their type; a. is hung up. Texts of errors are left out.
class Play {
 public:
  explicit Play(const std::string& steps) {
    session.status_byte = 4;
    session.on_message = [this](const std::string& message) { Note('[' + message + ']'); };
    std::istringstream words(steps);
    for (std::string step; words >> step;) {
      const bool at_once = step.back() == '&';
      if (at_once) step.pop_back();
      Do(step);
      if (!at_once) Settle();
    }
  }
  ~Play() { session.on_message = nullptr; }

  const std::string& Seen() const { return m_seen; }

 private:
  struct Channel {
    Channel(server::HislipDoor& door) : connection(door.Accept(wire)) {}
    server_test::KeptWire wire;
    std::unique_ptr<server::Connection> connection;
    Reader reader{4096};
    bool took = false;  ///< data since the last Drained
    bool hung_up = false;
  };
  struct Client {
    explicit Client(server::HislipDoor& door) : synchronous(door), asynchronous(door) {}
    Channel synchronous;
    Channel asynchronous;
  };

  void Note(std::string text) {
    for (char& c : text) c = c == '\n' ? '~' : c == ' ' ? '_' : c;
    m_seen += (m_seen.empty() ? "" : " ") + text;
  }
  static std::string Text(std::string text) {
    for (char& c : text) c = c == '~' ? '\n' : c == '_' ? ' ' : c;
    return text;
  }

  void Do(const std::string& step) {
    if (step[0] == '=') {
      if (step == "=#") return session.Answer({server::Reply::Kind::kUnfinished, {}});
      if (step == "=!") return session.Answer({server::Reply::Kind::kNoInstrument, {}});
      return session.Answer({server::Reply::Kind::kDone, Text(step.substr(1))});
    }
    if (step[0] == '+') return m_loop.Advance(milliseconds(std::stoi(step.substr(1))));
    auto& client = m_clients[step[0]];
    if (!client) client = Open(step[0]);
    if (step[1] == '!') {
      client->synchronous.connection.reset();
    } else {
      Send(step[1] == ':' ? client->synchronous : client->asynchronous, step.substr(2));
    }
  }

  std::unique_ptr<Client> Open(char name) {
    auto client = std::make_unique<Client>(m_door);
    client->synchronous.connection->Receive(Encode(Type::kInitialize, 0, 0x01000000, "hislip0"));
    const Message opened = Next(client->synchronous);
    client->asynchronous.connection->Receive(Encode(Type::kAsyncInitialize, 0, opened.parameter & 0xFFFF));
    EXPECT_EQ(Next(client->asynchronous).type, Type::kAsyncInitializeResponse);
    client->synchronous.wire.on_send = [this, name, client = client.get()] { Collect(name, ':', client->synchronous); };
    client->asynchronous.wire.on_send = [this, name, client = client.get()] {
      Collect(name, '<', client->asynchronous);
    };
    return client;
  }

  static void Send(Channel& channel, const std::string& text) {
    std::istringstream parts(text);
    std::string name, control, parameter, payload;
    std::getline(parts, name, ',');
    std::getline(parts, control, ',');
    std::getline(parts, parameter, ',');
    std::getline(parts, payload);
    const auto number = [](const std::string& digits) { return digits.empty() ? 0 : std::stoul(digits, nullptr, 0); };
    payload = name == "size" ? EncodeSize(number(payload)) : Text(payload);
    channel.connection->Receive(Encode(kTypes.at(name), static_cast<std::uint8_t>(number(control)),
                                       static_cast<std::uint32_t>(number(parameter)), payload));
  }

  static Message Next(Channel& channel) {
    Message message;
    std::string_view rest = channel.wire.sent;
    EXPECT_EQ(channel.reader.Next(rest, message), Reader::Result::kMessage);
    channel.wire.sent.erase(0, channel.wire.sent.size() - rest.size());
    return message;
  }

  /// Runs the loop and lets the sockets take what was sent, until nothing more comes.
  void Settle() {
    m_loop.Settle();
    for (auto& [name, client] : m_clients) {
      Drain(name, ':', client->synchronous);
      Drain(name, '<', client->asynchronous);
    }
  }

  void Drain(char name, char side, Channel& channel) {
    while (std::exchange(channel.took, false) && channel.connection) channel.connection->Drained();
    if (channel.wire.closed && !std::exchange(channel.hung_up, true)) Note({name, side, '.'});
  }

  void Collect(char name, char side, Channel& channel) {
    channel.took = true;
    const Message message = Next(channel);
    std::string seen = {name, side};
    seen += std::to_string(static_cast<int>(message.type)) + '/' + std::to_string(message.control);
    if (message.parameter != 0) seen += '/' + std::to_string(message.parameter);
    if (message.type == Type::kData || message.type == Type::kDataEnd) seen += '(' + message.payload + ')';
    Note(seen);
  }

  server_test::DrivenLoop m_loop;
  server::Broker m_broker{m_loop, {}, false, false, nullptr};
  server::HislipDoor m_door{m_loop, m_broker, {true, kLimit}};
  std::map<char, std::unique_ptr<Client>> m_clients;
  std::string m_seen;
};

TEST(Hislip, SessionsFollowTheRules) {
  const struct {
    const char* name;
    const char* steps;
    const char* seen;
  } rows[] = {
      {"an answer has the id of its query", "a:end,0,2,A? =1~ a:end,1,4,B =", "[A?] a:7/0/2(1~) [B]"},
      {"a message in parts, several in one", "a:data,0,2,A a:data,0,4,?~B? a:end,0,6,;C =1~ =2~",
       "[A?~] [B?;C] a<14/0/6 a:13/0/6 a:7/0/6(2~)"},
      {"in pieces of the client's size", "a<size,0,0,20 a:end,0,2,A? =123456~",
       "a<16/0 [A?] a:6/0/2(1234) a:7/0/2(56~)"},
      {"MAV from the answer to its delivery; not after a later message",
       "a<stb a:end,0,2,A? =1~ a<stb,0,2 a<stb,0,4 a<stb,0,8 a<stb,1,2 a<stb,0,2",
       "a<22/4 [A?] a:7/0/2(1~) a<22/20 a<22/20 a<22/4 a<22/4 a<22/4"},
      {"MAV goes with a message that says it has been delivered",
       "a:end,0,2,A? =1~ a:end,1,4,B a<stb,0,4 =", "[A?] a:7/0/2(1~) [B] a<22/0"},
      {"an answer that comes after a further message is interrupted, first on the asynchronous channel",
       "a:end,0,2,A? a:end,0,4,B? =1~ =2~", "[A?] [B?] a<14/0/4 a:13/0/4 a:7/0/4(2~)"},
      {"settings are not interrupted", "a:end,0,2,A a:end,0,4,B? = =2~", "[A] [B?] a:7/0/4(2~)"},
      {"a device clear drops what waits and what comes, and starts afresh",
       "a:end,0,2,A? a:end,0,4,B? a:data,0,6,C a<clear =1~ a:end,0,8,D? a:cleared a:end,0,2,E? =5~ a<stb,0,2",
       "[A?] a<23/0 a:9/0 [E?] a:7/0/2(5~) a<22/20"},
      {"a device clear that is not completed ends in a fatal error", "a<clear +29999 +1", "a<23/0 a:2/0 a<2/0 a:. a<."},
      {"completed out of turn", "a:cleared", "a:3/0"},
      {"locks: one wait, answered by the release, by time, or by a clear",
       "a<lock,1 b<lock,1,50 b<lock,1,50 a<lock,0,2 b<lock,0,2 a<lock,1 b<lock,1,50 +50 b<lock,1,50 b<clear",
       "a<5/1 b<5/3 a<5/1 b<5/1 b<5/1 a<5/1 b<5/0 b<5/0 b<23/0"},
      {"a locked-out client waits, but its status query does not", "a<lock,1 b:end,0,2,A? b<stb,0,2 a<lock,0,0 =1~",
       "a<5/1 b<22/4 [A?] a<5/1 b:7/0/2(1~)"},
      {"shared with a key, and the count of holders",
       "a<lock,1,0,k b<lock,1,0,k b<lock,1,0,l a<lock,1 a<info a<lock,0 b<info",
       "a<5/1 b<5/1 b<5/3 a<5/1 a<25/1/2 a<5/1 b<25/0/2"},
      {"a release waits for its message, two seconds if that never comes",
       "a<lock,1 a:end,0,2,A? a<lock,0,2 a<lock,0,2 =1~ a<lock,1 a<lock,0,4 +1999 +1",
       "a<5/1 [A?] a<5/3 a:7/0/2(1~) a<5/1 a<5/1 a<5/1"},
      {"a lost connection drops locks and messages not yet started",
       "a<lock,1 b<lock,1,50 a:end,0,2,A? a:end,0,4,B? a! =1~", "a<5/1 [A?] b<5/1 a<."},
      {"a trigger has an id", "a:trigger,0,2 = a<stb,0,2", "[:INIT] a<22/4"},
      {"errors, and on which channel",
       "a:unknown a<unknown a:vendor a<vendor a:stb a<end a<remote,7 a<remote,6 a<lock,2 a:error a<error",
       "a:3/1 a<3/1 a:3/3 a<3/3 a:3/1 a<3/1 a<3/2 a<11/0 a<3/2"},
      {"too large for the reader, for the instrument, and the message after",
       "a:end,0,2,12345678901234567890123456789012345678901 a:data,0,4,1234567890123456789012345678901234567890 "
       "a:end,0,6,1~A? "
       "=1~",
       "a:3/4 a:3/4 [A?] a:7/0/6(1~)"},
      {"the instrument is lost", "a:end,0,2,A? =! a:end,0,4,B? =2~", "[A?] a:3/128 [B?] a:7/0/4(2~)"},
      {"a message that ends in a block", "a:end,0,2,X_#15a =# a:end,0,4,B? =2~", "[X_#15a] a:3/0 [B?] a:7/0/4(2~)"},
      {"initialised twice", "a:init", "a:2/3 a<2/3 a:. a<."},
      {"the client's fatal error ends it without a word", "a:fatal", "a:. a<."},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(Play(row.steps).Seen(), row.seen);
  }
}

}  // namespace
