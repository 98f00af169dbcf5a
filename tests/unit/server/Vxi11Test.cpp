// The calls of VXI-11 without a socket, over the real broker: each row lists steps and what they must cause. Calls are
// encoded here by hand, from the standard's tables.
#include <cstdlib>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "DrivenServer.h"
#include "RpcPeer.h"
#include "server/Vxi11Door.h"

namespace {

using namespace std::string_literals;
using server_test::Number;
using server_test::Opaque;
using server_test::Peer;
using server_test::session;
using server_test::Word;
using server_test::Words;
using std::chrono::milliseconds;

constexpr unsigned kIoTimeout = 100;
constexpr unsigned kLockTimeout = 50;
constexpr unsigned kCore = 0x0607AF;
constexpr unsigned kAbort = 0x0607B0;
constexpr std::size_t kLimit = 40;

/// Plays steps and writes down what happens. "~" stands for a line end, "_" for a blank.
///
///   a:OP,LINK,FLAGS,...  connection a calls: link (FLAGS: lock it), write (data), read (size, termination character),
///                        stb, trigger, clear, remote, lock, unlock, docmd, srq, intr, nointr, destroy; x:abort
///   a!                   connection a is gone
///   =TEXT                the message under way ends with this answer; =! with the loss of the instrument
///   +50                  milliseconds pass
///   STEP&                the next step comes before the loop has run
///   lost, back           the broker knows that the instrument is lost, or back
///
/// Written down: [MESSAGE] is handed to the instrument; a:ERROR/..., a call is answered: with link and size of what may
/// be written at once, bytes taken, reason and (data), status byte.
class Play {
 public:
  explicit Play(const std::string& steps) {
    session.status_byte = 4;
    session.on_message = [this](const std::string& message) { Note('[' + message + ']'); };
    m_door.SetAbortPort(9);
    std::istringstream words(steps);
    for (std::string step; words >> step;) {
      const bool at_once = step.back() == '&';
      if (at_once) step.pop_back();
      try {
        Do(step);
      } catch (const std::exception& error) {
        ADD_FAILURE() << "step " << step << " after \"" << m_seen << "\": " << error.what();
        return;
      }
      if (!at_once) m_loop.Settle();
    }
  }
  ~Play() { session.on_message = nullptr; }

  const std::string& Seen() const { return m_seen; }

 private:
  void Note(std::string text) {
    for (char& c : text) c = c == '\n' ? '~' : c == ' ' ? '_' : c;
    m_seen += (m_seen.empty() ? "" : " ") + text;
  }

  void Do(const std::string& step) {
    if (step[0] == '=') {
      session.Answer({step == "=!" ? server::Reply::Kind::kNoInstrument : server::Reply::Kind::kDone,
                      step == "=!" ? "" : Text(step.substr(1))});
    } else if (step[0] == '+') {
      m_loop.Advance(milliseconds(std::stoi(step.substr(1))));
    } else if (step == "lost" || step == "back") {
      session.set_state(step == "lost" ? server::WorkerState::kLost : server::WorkerState::kUp);
    } else if (step[1] == '!') {
      m_peers.erase(step[0]);
    } else {
      Call(step[0], step.substr(2));
    }
  }

  static std::string Text(std::string text) {
    for (char& c : text) c = c == '~' ? '\n' : c == '_' ? ' ' : c;
    return text;
  }

  void Call(char name, const std::string& call) {
    std::istringstream parts(call);
    std::string operation, link_text, flags_text, data, last;
    std::getline(parts, operation, ',');
    std::getline(parts, link_text, ',');
    std::getline(parts, flags_text, ',');
    std::getline(parts, data, ',');
    std::getline(parts, last, ',');
    const auto number = [](const std::string& text) { return static_cast<unsigned>(std::atoi(text.c_str())); };
    const unsigned link = number(link_text);
    const unsigned flags = number(flags_text);
    const std::string generic = Words({link, flags, kLockTimeout, kIoTimeout});
    const std::map<std::string, std::pair<unsigned, std::string>> calls = {
        {"link", {10, Words({1, flags, kLockTimeout}) + Opaque(data)}},
        {"write", {11, Words({link, kIoTimeout, kLockTimeout, flags}) + Opaque(Text(data))}},
        {"read",
         {12, Words({link, number(data), kIoTimeout, kLockTimeout, flags, static_cast<unsigned char>(Text(last)[0])})}},
        {"stb", {13, generic}},
        {"trigger", {14, generic}},
        {"clear", {15, generic}},
        {"remote", {16, generic}},
        {"lock", {18, Words({link, flags, kLockTimeout})}},
        {"unlock", {19, Word(link)}},
        {"srq", {20, Words({link, 1, 0})}},
        {"docmd", {22, Words({link, flags, kIoTimeout, kLockTimeout, 1, 0, 0, 0})}},
        {"destroy", {23, Word(link)}},
        {"intr", {25, Words({1, 2, 3, 4, 0})}},
        {"nointr", {26, ""}},
        {"abort", {1, Word(link)}},
    };
    auto& peer = m_peers[name];
    if (!peer) {
      const bool abort = name == 'x';
      peer = std::make_unique<Peer>(abort ? m_door.AbortChannel() : m_door, abort ? kAbort : kCore);
      peer->Wire().on_send = [this, name] { Collect(name, *m_peers.at(name)); };
    }
    m_called[name] = operation;
    const auto& [procedure, arguments] = calls.at(operation);
    peer->Call(procedure, arguments);
  }

  void Collect(char name, Peer& peer) {
    std::string reply = peer.Reply();
    ASSERT_EQ(reply.substr(0, 20), Words({1, 0, 0, 0, 0})) << "accepted, success";
    reply.erase(0, 20);
    const std::string& operation = m_called[name];
    std::string seen = std::string(1, name) + ':' + std::to_string(Number(reply, 0));
    if (operation == "link") {
      seen += '/' + std::to_string(Number(reply, 1)) + '/' + std::to_string(Number(reply, 3));
    } else if (operation == "read") {
      seen += '/' + std::to_string(Number(reply, 1)) + '(' + reply.substr(12, Number(reply, 2)) + ')';
    } else if (operation == "write" || operation == "stb") {
      seen += '/' + std::to_string(Number(reply, 1));
    }
    Note(seen);
  }

  server_test::DrivenLoop m_loop;
  server::Broker m_broker{m_loop, {}, false, false, nullptr};
  server::Vxi11Door m_door{m_loop, m_broker, {true, kLimit}};
  std::map<char, std::unique_ptr<Peer>> m_peers;
  std::map<char, std::string> m_called;
  std::string m_seen;
};

TEST(Vxi11, CallsFollowTheRules) {
  const struct {
    const char* name;
    const char* steps;
    const char* seen;
  } rows[] = {
      {"a query", "a:link a:write,1,8,*IDN? a:read,1,0,100 =ZG~", "a:0/1/1024 [*IDN?] a:0/5 a:0/4(ZG~)"},
      {"device names", "a:link,0,0,INST0 a:link,0,0,inst1 a:link,0,0,gpib0 a:destroy,7",
       "a:0/1/1024 a:3/0/0 a:3/0/0 a:4"},
      {"no such link, or another connection's", "a:link b:write,1,8,X b:read,2,0,9 b:stb,3 b:unlock,1 b:lock,1 b:srq,1",
       "a:0/1/1024 b:4/0 b:4/0() b:4/0 b:4 b:4 b:4"},
      {"what is not offered", "a:link a:srq,1 a:docmd,1 a:intr a:nointr a:remote,1", "a:0/1/1024 a:8 a:8 a:8 a:6 a:0"},
      {"a message in pieces, several in one write",
       "a:link a:write,1,0,:FR a:write,1,0,EQ_1 a:write,1,8,GHZ a:write,1,8,A?~B?~ = =1~ =2~ a:read,1,0,9 a:read,1,0,9",
       "a:0/1/1024 a:0/3 a:0/4 [:FREQ_1GHZ] a:0/3 a:0/6 [A?~] [B?~] a:0/4(1~) a:0/4(2~)"},
      {"a line end in a block ends nothing, the end of the write in one is an error",
       "a:link a:write,1,8,X_#15a~bcd~ = a:write,1,8,X_#19abc a:write,1,8,Y",
       "a:0/1/1024 [X_#15a~bcd~] a:0/11 a:5/8 [Y] a:0/1"},
      {"a message above the limit is dropped, the next write begins another one",
       "a:link a:write,1,0,123456789012345678901234567890 a:write,1,8,12345678901 a:write,1,8,X",
       "a:0/1/1024 a:0/30 a:5/0 [X] a:0/1"},
      {"an empty write does nothing", "a:link a:write,1,0,AB a:write,1,8, a:write,1,8,C",
       "a:0/1/1024 a:0/2 a:0/0 [ABC] a:0/1"},
      {"an answer in pieces, by count, by character, by both, to its end",
       "a:link a:write,1,8,A? =12;45~ a:read,1,0,0 a:read,1,0,1 a:read,1,128,9,; a:read,1,128,1,4 a:read,1,128,9,; "
       "a:read,1,0,9 +100",
       "a:0/1/1024 [A?] a:0/2 a:0/1() a:0/1(1) a:0/2(2;) a:0/3(4) a:0/4(5~) a:15/0()"},
      {"a read that ends for two reasons reports both", "a:link a:write,1,8,A? =1~ a:read,1,128,2,~ a:write,1,8,A?",
       "a:0/1/1024 [A?] a:0/2 a:0/7(1~) [A?] a:0/2"},
      {"a read that has timed out finds the answer later", "a:link a:write,1,8,A? a:read,1,0,9 +100 =1~ a:read,1,0,9",
       "a:0/1/1024 [A?] a:0/2 a:15/0() a:0/4(1~)"},
      {"but not after another message, come or still to come",
       "a:link a:write,1,8,A? a:read,1,0,9 +100 a:write,1,8,B? =1~ =2~ a:write,1,8,C? =3~ a:read,1,0,9",
       "a:0/1/1024 [A?] a:0/2 a:15/0() a:0/2 [B?] [C?] a:0/2 a:0/4(3~)"},
      {"a setting has no answer", "a:link a:write,1,8,A = a:read,1,0,9 +99 +1", "a:0/1/1024 [A] a:0/1 a:15/0()"},
      {"a fifth message waits in its write, and takes what it can",
       "a:link a:write,1,8,A~B~C~D~ a:write,1,8,E~F~ = +100 = = = = a:read,1,0,9 +100",
       "a:0/1/1024 [A~] a:0/8 [B~] a:15/2 [C~] [D~] [E~] a:15/0()"},
      {"status byte: MAV while an answer waits; a device clear drops it, and what was queued",
       "a:link a:stb,1 a:write,1,8,A?~B?~C?~ a:stb,1 =1~ a:stb,1 a:clear,1 = a:stb,1 a:write,1,8,D? a:read,1,0,9 =4~",
       "a:0/1/1024 a:0/4 [A?~] a:0/9 a:0/4 [B?~] a:0/20 a:0 a:0/4 [D?] a:0/2 a:0/4(4~)"},
      {"a device clear forgets half a message", "a:link a:write,1,0,#15 a:clear,1 a:write,1,8,X",
       "a:0/1/1024 a:0/3 a:0 [X] a:0/1"},
      {"a trigger is done when it has run, or is withdrawn at its time-out",
       "a:link a:trigger,1 = a:write,1,8,A~B~ a:trigger,1 +100 = = a:write,1,8,C",
       "a:0/1/1024 [:INIT] a:0 [A~] a:0/4 a:15 [B~] [C] a:0/1"},
      {"locks keep other links out, at once or after the wait",
       "a:link b:link a:lock,1 b:write,2,8,X b:read,2,0,9 b:stb,2 b:trigger,2 b:clear,2 b:remote,2 b:docmd,2 b:lock,2 "
       "b:write,2,9,Y +49 +1 a:write,1,8,Z",
       "a:0/1/1024 b:0/2/1024 a:0 b:11/0 b:11/0() b:11/0 b:11 b:11 b:11 b:11 b:11 b:11/0 [Z] a:0/1"},
      {"until it is released", "a:link b:link a:lock,1 a:lock,1 b:write,2,9,X a:unlock,1 a:unlock,1 b:unlock,2",
       "a:0/1/1024 b:0/2/1024 a:0 a:11 a:0 [X] b:0/1 a:12 b:12"},
      {"a lock goes with its link, and with its connection",
       "a:link,0,1 b:link b:lock,2,1 a:destroy,1 c:link c:lock,3,1 b! d:link,0,1 +50 d:link,0,0",
       "a:0/1/1024 b:0/2/1024 a:0 b:0 c:0/3/1024 c:0 d:11/0/0 d:0/5/1024"},
      {"a destroyed link has its messages carried out", "a:link a:write,1,8,A~B~C~ a:destroy,1 = = = a:stb,1",
       "a:0/1/1024 [A~] a:0/6 [B~] [C~] a:0 a:4/0"},
      {"for at most four seconds", "a:link a:write,1,8,A~B~C~ a:destroy,1 +4000 = b:link",
       "a:0/1/1024 [A~] a:0/6 a:0 b:0/2/1024"},
      {"a client disconnects: messages not yet started are dropped",
       "a:link a:write,1,8,A~B~C~ a! = b:link b:write,2,8,D", "a:0/1/1024 [A~] a:0/6 b:0/2/1024 [D] b:0/1"},
      {"abort is answered first, then the call that it ends",
       "a:link a:write,1,8,A? a:read,1,0,9 x:abort,1 =1~ a:read,1,0,9 x:abort,1 x:abort,5",
       "a:0/1/1024 [A?] a:0/2 x:0 a:23/0() a:0/4(1~) x:0 x:4"},
      {"abort ends waits for locks, but not a destroy_link",
       "a:link,0,1 b:link b:lock,2,1 x:abort,2 b:read,2,1,9 x:abort,2 a:unlock,1 b:write,2,8,A b:destroy,2 x:abort,2 =",
       "a:0/1/1024 b:0/2/1024 x:0 b:23 x:0 b:23/0() a:0 [A] b:0/1 x:0 b:0"},
      {"a lock granted to a call just as it is aborted is released",
       "a:link,0,1 b:link b:lock,2,1 a:unlock,1& x:abort,2 c:link c:lock,3",
       "a:0/1/1024 b:0/2/1024 a:0 x:0 b:23 c:0/3/1024 c:0"},
      {"calls on one connection wait for each other, those on another do not",
       "a:link b:link a:write,1,8,A? a:read,1,0,9 a:read,1,0,9 b:stb,2 =1~ +100",
       "a:0/1/1024 b:0/2/1024 [A?] a:0/2 b:0/0 a:0/4(1~) a:15/0()"},
      {"the instrument is lost under a message, then known to be",
       "a:link a:write,1,8,A? =! a:read,1,0,9 lost a:write,1,8,X a:read,1,0,9 a:stb,1 a:trigger,1 a:clear,1 back "
       "a:write,1,8,B? =2~ a:read,1,0,9",
       "a:0/1/1024 [A?] a:0/2 a:17/0() a:17/0 a:17/0() a:17/0 a:17 a:0 [B?] a:0/2 a:0/4(2~)"},
      {"sixteen links a connection",
       "a:link a:link a:link a:link a:link a:link a:link a:link a:link a:link a:link a:link a:link a:link a:link "
       "a:link "
       "a:link a:destroy,3 a:link",
       "a:0/1/1024 a:0/2/1024 a:0/3/1024 a:0/4/1024 a:0/5/1024 a:0/6/1024 a:0/7/1024 a:0/8/1024 a:0/9/1024 "
       "a:0/10/1024 a:0/11/1024 a:0/12/1024 a:0/13/1024 a:0/14/1024 a:0/15/1024 a:0/16/1024 a:9/0/0 a:0 a:0/17/1024"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(Play(row.steps).Seen(), row.seen);
  }
}

}  // namespace
