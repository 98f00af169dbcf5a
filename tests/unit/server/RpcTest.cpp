// ONC RPC below VXI-11: records, heads of calls, the port mapper, and connections that misbehave.
#include <functional>
#include <gtest/gtest.h>
#include <string>

#include "RpcPeer.h"
#include "server/PortMapper.h"
#include "server/RpcConnection.h"

namespace {

using namespace std::string_literals;
using server_test::Peer;
using server_test::Words;

TEST(RpcRecord, IsCutOutOfWhateverPiecesCome) {
  const struct {
    const char* name;
    std::string bytes;
    const char* seen;
  } rows[] = {
      {"two records", "\x80\0\0\3abc\x80\0\0\1d"s, "abc.d."},
      {"of several fragments, an empty one too", "\0\0\0\2ab\0\0\0\0\x80\0\0\1c\x80\0\0\0"s, "abc.."},
      {"half a mark, half a fragment", "\x80\0\0\1a\0\0\0\3xy"s, "a."},
      {"the longest", "\0\0\0\4abcd\x80\0\0\4efgh"s, "abcdefgh."},
      {"a byte more, in two fragments", "\0\0\0\5abcde\x80\0\0\4fghi"s, "!"},
      {"2 GiB", "\xFF\xFF\xFF\xFF"s, "!"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    for (const std::size_t piece : {1u, 3u, 100u}) {
      server::rpc::RecordReader reader(8);
      std::string seen, record;
      for (std::size_t at = 0; at < row.bytes.size() && !seen.ends_with('!'); at += piece) {
        std::string_view rest = std::string_view(row.bytes).substr(at, piece);
        for (auto result = reader.Next(rest, record); result != server::rpc::RecordReader::Result::kNeedsMore;
             result = reader.Next(rest, record)) {
          seen += result == server::rpc::RecordReader::Result::kRecord ? record + '.' : "!";
          if (seen.ends_with('!')) break;
        }
      }
      EXPECT_EQ(seen, row.seen);
    }
  }
}

TEST(PortMapper, AnswersByTheTable) {
  server_test::DrivenLoop loop;
  const server::PortMapper mapper(loop, {{395183, 1, 3002}});
  const auto getport = [](unsigned program, unsigned version, unsigned protocol) {
    return Words({9, 0, 2, 100000, 2, 3, 0, 0, 0, 0, program, version, protocol, 0});
  };
  const std::string credentials = Words({1, 8, 0x61626364, 5, 0, 0});
  const struct {
    const char* name;
    std::string call;
    std::string reply;
  } rows[] = {
      {"null", Words({9, 0, 2, 100000, 2, 0, 0, 0, 0, 0}), Words({9, 1, 0, 0, 0, 0})},
      {"a port", getport(395183, 1, 6), Words({9, 1, 0, 0, 0, 0, 3002})},
      {"not by UDP", getport(395183, 1, 17), Words({9, 1, 0, 0, 0, 0, 0})},
      {"not this version", getport(395183, 2, 6), Words({9, 1, 0, 0, 0, 0, 0})},
      {"its own", getport(100000, 2, 17), Words({9, 1, 0, 0, 0, 0, 111})},
      {"with credentials", Words({9, 0, 2, 100000, 2, 0}) + credentials, Words({9, 1, 0, 0, 0, 0})},
      {"all", Words({9, 0, 2, 100000, 2, 4, 0, 0, 0, 0}),
       Words({9, 1, 0, 0, 0, 0, 1, 395183, 1, 6, 3002, 1, 100000, 2, 6, 111, 1, 100000, 2, 17, 111, 0})},
      {"nobody else's entry is taken", Words({9, 0, 2, 100000, 2, 1, 0, 0, 0, 0, 395183, 1, 6, 80}),
       Words({9, 1, 0, 0, 0, 0, 0})},
      {"nor is one taken out", Words({9, 0, 2, 100000, 2, 2, 0, 0, 0, 0, 395183, 1, 6, 0}),
       Words({9, 1, 0, 0, 0, 0, 0})},
      {"calls for others", Words({9, 0, 2, 100000, 2, 5, 0, 0, 0, 0}), Words({9, 1, 0, 0, 0, 3})},
      {"another version", Words({9, 0, 2, 100000, 4, 3, 0, 0, 0, 0}), Words({9, 1, 0, 0, 0, 2, 2, 2})},
      {"another program", Words({9, 0, 2, 100005, 1, 0, 0, 0, 0, 0}), Words({9, 1, 0, 0, 0, 1})},
      {"another RPC", Words({9, 0, 3}), Words({9, 1, 1, 0, 2, 2})},
      {"arguments cut off", Words({9, 0, 2, 100000, 2, 3, 0, 0, 0, 0, 395183, 1}), Words({9, 1, 0, 0, 0, 4})},
      {"a head cut off", Words({9, 0, 2, 100000, 2, 3, 0}), ""},
      {"credentials that are too long", Words({9, 0, 2, 100000, 2, 0, 1, 0xFFFFFFF0, 0, 0}), ""},
      {"a reply", Words({9, 1, 0, 0, 0, 0}), ""},
      {"nothing", "", ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(mapper.AnswerDatagram(row.call), row.reply);
  }
}

/// A connection whose calls are answered when the test says so.
class Slow : public server::RpcConnection {
 public:
  using RpcConnection::Answer;
  using RpcConnection::RpcConnection;
  int calls = 0;

 private:
  void Handle(const server::rpc::Call&) override { ++calls; }
};

class SlowDoor : public server::Door {
 public:
  explicit SlowDoor(server::Loop& loop) : m_loop(loop) {}
  const char* Name() const override { return "slow"; }
  std::unique_ptr<server::Connection> Accept(server::Wire& wire) override {
    auto made = std::make_unique<Slow>(m_loop, wire);
    connection = made.get();
    return made;
  }
  Slow* connection = nullptr;

 private:
  server::Loop& m_loop;
};

class RpcConnections : public ::testing::Test {
 protected:
  server_test::DrivenLoop m_loop;
  SlowDoor m_door{m_loop};
  Peer m_peer{m_door, 1};
};

TEST_F(RpcConnections, AClientThatRunsAheadIsSlowedDown) {
  for (int i = 0; i < 2000; ++i) m_peer.Call(0, "");
  EXPECT_EQ(m_door.connection->calls, 1) << "one at a time";
  EXPECT_TRUE(m_peer.Wire().paused) << "88000 bytes wait";
  for (int i = 0; i < 1000; ++i) m_door.connection->Answer("1234");
  EXPECT_EQ(m_door.connection->calls, 1001);
  EXPECT_FALSE(m_peer.Wire().paused);
}

TEST_F(RpcConnections, AClientThatDoesNotReadIsNotServedOn) {
  m_peer.Call(0, "");
  m_peer.Wire().unsent = 1 << 20;
  m_door.connection->Answer("1234");
  m_peer.Call(0, "");
  EXPECT_EQ(m_door.connection->calls, 1);
  m_peer.Wire().unsent = 0;
  m_peer.Drained();
  EXPECT_EQ(m_door.connection->calls, 2);
}

TEST_F(RpcConnections, EndForHalfAMinuteWithoutACall) {
  const struct {
    const char* name;
    std::function<void()> step;
    bool closed;
  } steps[] = {
      {"a call is under way", [this] { m_peer.Call(0, ""); }, false},
      {"it was answered in the half minute", [this] { m_door.connection->Answer("1234"), m_peer.Call(0, ""); }, false},
      {"another one", [this] { m_door.connection->Answer("1234"); }, true},
  };
  for (const auto& step : steps) {
    SCOPED_TRACE(step.name);
    step.step();
    m_loop.Advance(std::chrono::seconds(30));
    m_loop.Advance(std::chrono::seconds(30));
    EXPECT_EQ(m_peer.Wire().closed, step.closed);
  }
}

TEST_F(RpcConnections, EndForWhatIsNoCall) {
  const std::string bytes[] = {"\x7F\xFF\xFF\xFF"s, "\x80\0\0\4abcd"s, "\x80\x10\0\1"s};
  for (const std::string& text : bytes) {
    Peer peer(m_door, 1);
    peer.Receive(text);
    EXPECT_TRUE(peer.Wire().closed);
    peer.Call(0, "");
    EXPECT_EQ(m_door.connection->calls, 0) << "nothing after it is looked at";
  }
}

}  // namespace
