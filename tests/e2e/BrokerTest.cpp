// The broker and the raw socket's protocol over the simulated generator, without a socket: the test turns the loop.
#include <algorithm>
#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "server/Broker.h"
#include "server/RawDoor.h"
#include "tests/e2e/Sessions.h"

namespace {

using server::Broker;
using server::ClientId;
using server::Reply;
using server::WorkerState;
using std::chrono::milliseconds;
using namespace std::string_literals;

class HandLoop : public server::Loop {
 public:
  void Post(Task task) override {
    const std::lock_guard hold(m_mutex);
    m_tasks.push_back(std::move(task));
    m_changed.notify_one();
  }
  Timer After(milliseconds delay, Task task) override {
    const Timer number = ++m_last;
    m_timers[number] = {test::Clock::now() + delay, std::move(task)};
    return number;
  }
  void Cancel(Timer timer) override { m_timers.erase(timer); }

  /// Turns until `done` holds; false after half a minute.
  bool Until(const std::function<bool()>& done) {
    const auto limit = test::Clock::now() + std::chrono::seconds(30);
    while (!done()) {
      const auto due = std::min_element(m_timers.begin(), m_timers.end(),
                                        [](const auto& a, const auto& b) { return a.second.at < b.second.at; });
      const auto next = due == m_timers.end() ? limit : std::min(limit, due->second.at);
      Task task;
      {
        std::unique_lock lock(m_mutex);
        m_changed.wait_until(lock, next, [this] { return !m_tasks.empty(); });
        if (!m_tasks.empty()) {
          task = std::move(m_tasks.front());
          m_tasks.pop_front();
        }
      }
      if (task) {
        task();
      } else if (due != m_timers.end() && test::Clock::now() >= due->second.at) {
        task = std::move(due->second.task);
        m_timers.erase(due);
        task();
      } else if (test::Clock::now() >= limit) {
        return false;
      }
    }
    return true;
  }

 private:
  struct Due {
    test::Clock::time_point at;
    Task task;
  };
  std::mutex m_mutex;
  std::condition_variable m_changed;
  std::deque<Task> m_tasks;
  std::map<Timer, Due> m_timers;
  Timer m_last = 0;
};

class TestWire : public server::Wire {
 public:
  void Send(std::string_view bytes) override { sent += bytes; }
  std::size_t Unsent() const override { return unsent; }
  void Pause() override { paused = true; }
  void Resume() override { paused = false; }
  void Close() override { closed = true; }
  const std::string& Peer() const override { return m_peer; }

  std::string sent;
  std::size_t unsent = 0;
  bool paused = false;
  bool closed = false;

 private:
  const std::string m_peer = "test:1";
};

class BrokerOverSimulator : public testing::Test {
 protected:
  void Open(int instrument, const std::string& keys = "", bool private_sessions = false) {
    server::WorkerOptions options;
    options.resource = test::Simulator(instrument, keys) + "::ZLT";
    options.check_interval = milliseconds(200);
    broker.emplace(loop, options, private_sessions, false,
                   [this](WorkerState now, const std::string&) { states.push_back(now); });
    if (!private_sessions) Await(WorkerState::kUp);
  }
  void Await(WorkerState state) {
    EXPECT_TRUE(loop.Until([&] { return !states.empty() && states.back() == state; }));
  }
  ClientId Connect(bool tidy = false) { return broker->Connect({"test", "here", tidy}); }
  /// The answer is appended to `log`, after the label.
  Broker::RequestId Submit(ClientId client, const std::string& message, const std::string& label,
                           milliseconds lock_wait = server::kForever) {
    return broker->Submit(
        client, message,
        [this, label](const Reply& reply) {
          log += label + (reply.kind == Reply::Kind::kLocked         ? "locked "
                          : reply.kind == Reply::Kind::kNoInstrument ? "none "
                                                                     : reply.response);
        },
        lock_wait);
  }
  std::string Ask(ClientId client, const std::string& message) {
    std::optional<Reply> got;
    broker->Submit(client, message, [&](const Reply& reply) { got = reply; });
    EXPECT_TRUE(loop.Until([&] { return got.has_value(); })) << message;
    return got ? got->response : "";
  }
  int StatusByte(ClientId client) {
    int byte = -1;
    broker->ReadStatusByte(client, [&](std::uint8_t read) { byte = read; });
    EXPECT_TRUE(loop.Until([&] { return byte >= 0; }));
    return byte;
  }
  bool UntilLog(const std::string& expected) {
    loop.Until([&] { return log.size() >= expected.size(); });
    EXPECT_EQ(log, expected);
    return log == expected;
  }

  HandLoop loop;
  std::vector<WorkerState> states;
  std::string log;
  std::optional<Broker> broker;
};

TEST_F(BrokerOverSimulator, TakesTurnsAndDropsWhatNobodyAwaits) {
  Open(75, "latency=20");
  const ClientId one = Connect();
  const ClientId two = Connect(true);
  for (int i = 0; i < 6; ++i) Submit(one, ":FREQ 1GHZ;:FREQ?", "1");
  Submit(two, ":FREQ 2GHZ;:FREQ?", "2");
  EXPECT_TRUE(loop.Until([&] { return log.find("22000000000\n") != std::string::npos; }));
  EXPECT_LE(std::count(log.begin(), log.end(), '\n'), 4) << "the second client waits for no more than its turn";

  broker->Clear(one);
  log.clear();
  Submit(one, "*OPC?", "after clear ");
  UntilLog("after clear +1\n");

  log.clear();
  const int packets = std::stoi(test::Held(75, "packets"));
  const Broker::RequestId running = Submit(one, ":FREQ 3GHZ;:FREQ?", "withdrawn ");
  const Broker::RequestId waiting = Submit(one, ":FREQ 4GHZ", "withdrawn ");
  Submit(one, ":FREQ 5GHZ", "withdrawn ");
  Submit(one, ":FREQ 6GHZ", "withdrawn ");
  simControl(("SIM75 await=packets:" + std::to_string(packets + 1)).c_str());
  broker->Withdraw(one, waiting);
  broker->Withdraw(one, running);
  broker->Disconnect(one);
  EXPECT_EQ(Ask(two, ":FREQ?"), "3000000000\n") << "what runs finishes, what waits is dropped";
  EXPECT_EQ(log, "");
  EXPECT_EQ(Ask(two, ":FREQ 1GHZ;:OUTP OFF"), "");
  EXPECT_EQ(Ask(two, "*IDN?"), "Sorvik,ZG-20E,000075\n");
}

TEST_F(BrokerOverSimulator, KeepsLocksAcrossClients) {
  Open(76);
  const ClientId one = Connect();
  const ClientId two = Connect();
  const ClientId three = Connect();
  const auto note = [this](const std::string& label) {
    return
        [this, label](server::LockResult result) { log += label + "gth"[static_cast<int>(result)] + std::string(" "); };
  };
  broker->LockExclusive(one, milliseconds(0), note("1"));
  broker->LockExclusive(one, milliseconds(0), note("1"));
  broker->LockExclusive(two, milliseconds(0), note("2"));
  UntilLog("1g 1h 2t ");

  log.clear();
  Submit(two, ":FREQ?", "refused ", milliseconds(0));
  UntilLog("refused locked ");
  Submit(two, ":FREQ 2GHZ;:FREQ?", "waited ");
  broker->LockShared(two, "key", milliseconds(50), note("late "));
  UntilLog("refused locked late t ");
  EXPECT_EQ(Ask(one, ":FREQ 1GHZ;:FREQ?"), "1000000000\n");
  EXPECT_GE(StatusByte(two), 0) << "no lock keeps the status byte from anybody";

  log.clear();
  broker->LockShared(three, "key", server::kForever, note("3"));
  broker->LockExclusive(two, server::kForever, note("2"));
  broker->CancelLockWaits(two);
  UntilLog("2t ");
  broker->Disconnect(one);
  UntilLog("2t 3g ");
  EXPECT_EQ(broker->Unlock(three), server::LockTable::Release::kShared);
  UntilLog("2t 3g waited 2000000000\n");
}

TEST_F(BrokerOverSimulator, ReportsALostInstrumentAndServesAgain) {
  Open(77);
  const ClientId client = Connect();
  EXPECT_EQ(Ask(client, ":NONSENSE"), "");
  EXPECT_EQ(StatusByte(client) & 4, 4);
  EXPECT_EQ(Ask(client, "*STB?")[2], '1') << "what the broker's own question cleared is given back";
  EXPECT_EQ(Ask(client, ":SYST:ERR?"), "-113,\"Undefined header\"\n");

  simControl("SIM77 lost=0");
  Await(WorkerState::kLost);
  Submit(client, ":FREQ?", "");
  UntilLog("none ");
  simControl("SIM77 heal=1");
  Await(WorkerState::kUp);
  EXPECT_EQ(Ask(client, ":FREQ 3GHZ;:FREQ?"), "3000000000\n");
  EXPECT_EQ(states.size(), 3U);

  bool finished = false;
  Submit(client, ":FREQ 4GHZ", "");
  broker->Finish([&] { finished = true; });
  EXPECT_TRUE(loop.Until([&] { return finished; }));
}

TEST_F(BrokerOverSimulator, GivesEachClientASessionOfItsOwnWhenAsked) {
  Open(78, "", true);
  const ClientId one = Connect();
  const ClientId two = Connect();
  EXPECT_EQ(Ask(one, ":FREQ 3GHZ;:FREQ?"), "3000000000\n");
  EXPECT_EQ(Ask(two, ":FREQ 4GHZ;:FREQ?"), "4000000000\n");
  EXPECT_EQ(Ask(one, ":FREQ?"), "3000000000\n");
  broker->Disconnect(one);
  EXPECT_EQ(Ask(two, ":FREQ?"), "4000000000\n");
}

TEST_F(BrokerOverSimulator, TakesLinesOfTheRawSocket) {
  Open(79);
  server::RawDoor door(*broker, {false, 100, 1000});
  const struct {
    const char* name;
    std::string text;
    std::string sent;
    bool closed;
  } cases[] = {
      {"several in one piece", ":FREQ 1GHZ\n:FREQ?\n*OPC?\n", "1000000000\n+1\n", false},
      {"line ends in a block", "DATA #15\n\n\n\n\n\n*OPC?\n", "+1\n", false},
      {"byte for byte", ":FREQ 1GHZ;:OUTP OFF\n*OPC?\n", "\n+1\n", false},
      {"too long, and the one after it", std::string(300, ' ') + "\n*OPC?\n", "+1\n", false},
      {"a browser", "POST / HTTP/1.1\r\n*OPC?\n", "", true},
      {"a browser without a request line", "Host: x\r\n*OPC?\n", "", true},
      {"a beginning that only looks like one", "GE\n*OPC?\n", "+1\n", false},
  };
  for (const auto& row : cases) {
    for (const std::size_t piece : {row.text.size(), std::size_t{1}}) {
      SCOPED_TRACE(row.name);
      TestWire wire;
      const auto connection = door.Accept(wire);
      for (std::size_t at = 0; at < row.text.size() && !wire.closed; at += piece) {
        // A paused wire hands nothing on.
        EXPECT_TRUE(loop.Until([&] { return !wire.paused; }));
        connection->Receive(std::string_view(row.text).substr(at, piece));
      }
      EXPECT_TRUE(loop.Until([&] { return wire.closed || wire.sent.size() >= row.sent.size(); }));
      EXPECT_EQ(wire.sent, row.sent);
      EXPECT_EQ(wire.closed, row.closed);
    }
  }
  TestWire wire;
  const auto connection = door.Accept(wire);
  wire.unsent = 2000;
  connection->Receive("*OPC?\n");
  EXPECT_TRUE(wire.paused) << "the server reads nothing from a client that does not read";
  wire.unsent = 0;
  connection->Drained();
  EXPECT_TRUE(connection->EndOfInput());
  EXPECT_TRUE(loop.Until([&] { return wire.closed; }));
  EXPECT_EQ(wire.sent, "+1\n") << "what was sent before the end is still carried out";
}

}  // namespace
