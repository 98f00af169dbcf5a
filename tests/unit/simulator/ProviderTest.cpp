// The vi functions over the simulated instruments, as a program meets them: reads and their statuses, faults, runs that
// wait for triggers, control calls, the log. Each test uses instruments of its own numbers.
#include <algorithm>
#include <chrono>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

#include "protocol/visa.h"
#include "simulator/control.h"
#include "tests/unit/simulator/Packets.h"

namespace {

class Session {
 public:
  explicit Session(const std::string& resource, unsigned long timeout_ms = 5000) {
    viOpenDefaultRM(&m_manager);
    m_status = viOpen(m_manager, resource.c_str(), 1, 0, &m_session);
    viSetAttribute(m_session, VI_ATTR_TMO_VALUE, timeout_ms);
  }
  ~Session() { viClose(m_manager); }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  long Status() const { return m_status; }
  unsigned long Handle() const { return m_session; }

  long Write(const std::string& words) const {
    const sim::Bytes packet = FromWords(words);
    unsigned long count = 0;
    return viWrite(m_session, packet.data(), packet.size(), &count);
  }

  /// What one read of `count` bytes brought.
  sim::Bytes Read(unsigned long count, long& status) const {
    sim::Bytes bytes(count);
    unsigned long got = 0;
    status = viRead(m_session, bytes.data(), count, &got);
    bytes.resize(got);
    return bytes;
  }

  /// Writes, reads head and body; the text of the reply, or of what went wrong.
  std::string Ask(const std::string& words) const {
    if (const long status = Write(words); status != 0)
      return status == VI_ERROR_CONN_LOST ? "write: lost" : "write failed";
    return ReadReply();
  }

  std::string ReadReply() const {
    long status = 0;
    sim::Bytes bytes = Read(16, status);
    if (status == VI_ERROR_CONN_LOST) return "head: lost";
    if (status == VI_ERROR_INV_OBJECT) return "head: closed";
    if (status != 0) return "head: " + std::to_string(bytes.size()) + " bytes";
    const unsigned long length = sim::ReadWord(bytes, 6);
    const sim::Bytes body = Read(length, status);
    bytes.insert(bytes.end(), body.begin(), body.end());
    if (status != 0) return "body: " + std::to_string(body.size()) + " bytes";
    return sim::ReplyText(bytes);
  }

 private:
  unsigned long m_manager = 0;
  unsigned long m_session = 0;
  long m_status = 0;
};

std::string Query(const std::string& what) {
  std::string text(4096, '\0');
  const int length = simQuery(what.c_str(), text.data(), static_cast<int>(text.size()));
  if (length < 0) return "none";
  text.resize(static_cast<std::size_t>(length));
  return text;
}

TEST(Provider, FaultsStrikeWhenTold) {
  struct Case {
    const char* name;
    const char* keys;
    std::vector<const char*> replies;
  };
  const char* const good = "SET P_MODE 2.0 [1] SK_NO_ERROR";
  const Case cases[] = {
      {"none", "gap=1", {good, good}},
      {"silent after one, for one", "silent=1x1", {good, "head: 0 bytes", good}},
      {"lost after one", "lost=1", {good, "write: lost", "write: lost"}},
      {"dropped while the reply is awaited", "drop=1", {good, "head: lost", "write: lost"}},
      {"cut in the head", "cut=10@0x1", {"head: 10 bytes", good}},
      {"cut in the body", "cut=18@1x1", {good, "body: 2 bytes", good}},
      {"babble", "babble=0x1", {"(wrong signature) SET P_MODE 2.0 [1] SK_NO_ERROR", good}},
      {"pieces that take too long", "pieces=10@0x1,gap=100000", {"head: 10 bytes", good}},
      {"pieces that come in time", "pieces=10@0,gap=1", {good, good}},
      {"wrong status", "status=6@0x1", {"SET P_MODE 2.0 [1] SK_UNLEVEL", good}},
      {"failing status", "status=0x8003@0x1", {"SET P_MODE 2.0 [1] SK_PARAMETER_INCORRECT", good}},
      {"latency beyond the time-out", "latency=10000", {"head: 0 bytes"}},
  };
  int number = 100;
  for (const Case& one : cases) {
    SCOPED_TRACE(one.name);
    const Session session("SIM" + std::to_string(number++) + "::" + one.keys + "::INSTR", 30);
    ASSERT_EQ(session.Status(), 0);
    for (const char* const reply : one.replies) {
      EXPECT_EQ(session.Ask("SET P_MODE 2.0 1"), reply);
      viClear(session.Handle());
    }
  }
}

TEST(Provider, AFailingStatusCarriesNothingOut) {
  const Session session("SIM130::status=0x8003@1x1::INSTR");
  session.Ask("SET P_FREQUENCY 6.0 1e9");
  session.Ask("SET P_FREQUENCY 6.0 2e9");
  EXPECT_EQ(Query("SIM130 P_FREQUENCY"), "1000000000 1 0 1000000000");
  EXPECT_EQ(Query("SIM130 status P_FREQUENCY"), "-32765");
  EXPECT_EQ(Query("SIM130 status P_PHASE"), "none");
}

TEST(Provider, ReadsGiveWhatWasAskedFor) {
  const Session session("SIM131::INSTR", 0);
  long status = 0;
  EXPECT_EQ(session.Read(16, status).size(), 0U);
  EXPECT_EQ(status, VI_ERROR_TMO);
  session.Write("SET P_MODE 2.0 1");
  EXPECT_EQ(session.Read(10, status).size(), 10U);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(session.Read(0, status).size(), 0U);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(session.Read(100, status).size(), 10U);
  EXPECT_EQ(status, VI_ERROR_TMO);
  session.Write("SET P_MODE 2.0 1");
  EXPECT_EQ(viClear(session.Handle()), 0);
  EXPECT_EQ(session.Read(1, status).size(), 0U);
  unsigned long value = 77;
  EXPECT_EQ(viGetAttribute(session.Handle(), VI_ATTR_TMO_VALUE, &value), 0);
  EXPECT_EQ(value, 0U);
  EXPECT_EQ(viSetAttribute(session.Handle(), 1, 0), VI_ERROR_NSUP_ATTR);
}

TEST(Provider, NarrowOneSpeaks32Bits) {
  const Session session("SIM132::width=32::INSTR", 0);
  unsigned char byte = 0;
  unsigned long count = 0xFFFFFFFFFFFFFFFF;
  EXPECT_EQ(viRead(session.Handle(), &byte, 1, &count), VI_ERROR_TMO & 0xFFFFFFFFL);
  EXPECT_EQ(count, 0xFFFFFFFF00000000UL);
}

TEST(Provider, RefusesNamesAndHandlesThatAreNone) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(Session("SIM133::fmni=1::INSTR").Status(), VI_ERROR_INV_RSRC_NAME);
  EXPECT_EQ(Session("SIM133::fmni=1::INSTR").Status(), VI_ERROR_INV_RSRC_NAME);
  EXPECT_EQ(Session("GPIB0::5::INSTR").Status(), VI_ERROR_RSRC_NFOUND);
  const std::string said = testing::internal::GetCapturedStderr();
  EXPECT_TRUE(said.starts_with("simulator: \"SIM133::fmni=1::INSTR\": unknown key \"fmni\"; the keys are fw")) << said;
  EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 2) << said;
  EXPECT_EQ(viClose(123456), VI_ERROR_INV_OBJECT);
  EXPECT_EQ(viClear(0), VI_ERROR_INV_OBJECT);
}

TEST(Provider, TheNumberIsTheInstrument) {
  const Session first("SIM134::model=A,fw=oldest::INSTR");
  const Session second("SIM134::INSTR");
  first.Ask("SET P_FREQUENCY 4.0 2e9 501 4292967296");
  EXPECT_EQ(second.Ask("GET P_FREQUENCY 6.0 0"), "GET P_FREQUENCY 6.0 [2000000000] SK_NO_ERROR");
  EXPECT_EQ(Query("SIM134 P_FREQUENCY"), "2000000000 501 -2000000 1000000000");
  EXPECT_EQ(Query("SIM134 links"), "2");
  first.Write("GET P_MODE 2.0 0");
  EXPECT_EQ(second.Ask("GET P_RF_BUTTON 2.0 0"), "GET P_RF_BUTTON 2.0 [1] SK_NO_ERROR");
  EXPECT_EQ(first.ReadReply(), "GET P_MODE 2.0 [0] SK_NO_ERROR");
  EXPECT_EQ(simControl("SIM134 forget"), 0);
  const Session third("SIM134::INSTR");
  EXPECT_EQ(third.Ask("GET P_FREQUENCY 6.0 0"), "GET P_FREQUENCY 6.0 [10000000] SK_NO_ERROR");
}

TEST(Provider, ControlAndQuestions) {
  const Session session("SIM135::INSTR");
  EXPECT_EQ(simControl("SIM135 button=0 pll=0"), 0);
  EXPECT_EQ(Query("SIM135 state"), "button=0 pll=0 ref=1 level=1 input=0");
  EXPECT_EQ(session.Ask("GET P_RF_BUTTON 2.0 0"), "GET P_RF_BUTTON 2.0 [0] SK_NO_ERROR");
  EXPECT_EQ(session.Ask("RUN"), "RUN SK_LO1_NO_PLL SK_NO_ERROR");
  EXPECT_EQ(simControl("SIM135 pll=1 silent=0x1"), 0);
  viSetAttribute(session.Handle(), VI_ATTR_TMO_VALUE, 0);
  EXPECT_EQ(session.Ask("RESET"), "head: 0 bytes");
  EXPECT_EQ(simControl("SIM135 mark lost=1"), 0);
  EXPECT_EQ(session.Ask("SET P_FREQUENCY 6.0 1e9"), "SET P_FREQUENCY 6.0 [1000000000] SK_NO_ERROR");
  EXPECT_EQ(session.Ask("RESET"), "write: lost");
  EXPECT_EQ(viClear(session.Handle()), VI_ERROR_CONN_LOST);
  EXPECT_EQ(simControl("SIM135 heal"), 0);
  EXPECT_EQ(session.Ask("RESET"), "RESET SK_NO_ERROR");
  EXPECT_EQ(Query("SIM135 requests"), "SET P_FREQUENCY 6.0 [1000000000]\nRESET\n");
  EXPECT_EQ(Query("SIM135 packets"), "6");
  EXPECT_EQ(Query("SIM135 weather"), "none");
  EXPECT_EQ(Query("SIM999 packets"), "none");
  EXPECT_EQ(simQuery("SIM135 packets", nullptr, 0), 1);
  const char* const wrong[] = {"SIM135 fw=g3", "SIM135 trigger=0", "SIM135 await=rain", "SIM999 pll=0", "pll=0", ""};
  testing::internal::CaptureStderr();
  for (const char* const command : wrong) EXPECT_EQ(simControl(command), -1) << command;
  const std::string said = testing::internal::GetCapturedStderr();
  EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 6) << said;
  EXPECT_EQ(simControl(nullptr), -1);
}

TEST(Provider, RunsTakeTheirTimeAndWaitForTriggers) {
  struct Case {
    const char* name;
    const char* sync_in;
    std::vector<const char*> releases;  ///< after each but the last, the run is still held
    bool still_held;
  };
  const Case cases[] = {
      {"immediate", "SET P_SYNC_IN 1.0 0 0 0 0 2", {}, false},
      {"external", "SET P_SYNC_IN 1.0 1 0 0 0 2", {"trigger"}, false},
      {"external, rising edge", "SET P_SYNC_IN 1.0 1 0 0 0 2", {"input=1"}, false},
      {"external, falling edge", "SET P_SYNC_IN 1.0 1 1 0 0 2", {"input=1", "input=0"}, false},
      {"bus under external levelling", "SET P_SYNC_IN 1.0 4 0 1 0 3", {"trigger"}, false},
      {"point by point", "SET P_SYNC_IN 1.0 2 0 0 0 2", {"trigger", "trigger=1", "trigger"}, false},
      {"point by point, one missing", "SET P_SYNC_IN 1.0 3 0 0 0 2", {"trigger=2"}, true},
  };
  int number = 140;
  for (const Case& one : cases) {
    SCOPED_TRACE(one.name);
    const std::string name = "SIM" + std::to_string(number++);
    const Session session(name + "::pass=0::INSTR");
    session.Ask("SET P_FREQUENCY 6.0 1e9 3 1e8 1.2e9");
    session.Ask("SET P_INTERVAL 4.0 0 2000000");
    session.Ask(one.sync_in);
    const auto start = std::chrono::steady_clock::now();
    session.Write("RUN");
    for (const char* const release : one.releases) {
      EXPECT_EQ(Query(name + " held"), "1");
      EXPECT_EQ(simControl((name + " " + release).c_str()), 0);
    }
    EXPECT_EQ(Query(name + " held"), one.still_held ? "1" : "0");
    if (one.still_held) {
      EXPECT_EQ(session.Ask("RESET"), "RESET SK_NO_ERROR");
      EXPECT_EQ(Query(name + " held"), "0");
      EXPECT_EQ(Query(name + " passes"), "0");
      continue;
    }
    EXPECT_EQ(session.ReadReply(), "RUN SK_NO_ERROR SK_NO_ERROR");
    if (std::string(one.name) == "immediate") {
      EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(5));
    }
    EXPECT_EQ(Query(name + " passes"), "1");
  }
}

TEST(Provider, WakesWhoReads) {
  struct Case {
    const char* name;
    void (*wake)(unsigned long session);
    const char* reply;
  };
  const Case cases[] = {
      {"trigger", [](unsigned long) { simControl("SIM150 trigger"); }, "RUN SK_NO_ERROR SK_NO_ERROR"},
      {"cable pulled", [](unsigned long) { simControl("SIM150 lost=0"); }, "head: lost"},
      {"closed", [](unsigned long session) { viClose(session); }, "head: closed"},
  };
  for (const Case& one : cases) {
    SCOPED_TRACE(one.name);
    const Session session("SIM150::INSTR", 0xFFFFFFFF);
    session.Ask("SET P_SYNC_IN 1.0 1 0 0 0 2");
    std::string reply;
    std::thread reader([&] { reply = session.Ask("RUN"); });
    ASSERT_EQ(simControl("SIM150 await=held"), 0);
    one.wake(session.Handle());
    reader.join();
    EXPECT_EQ(reply, one.reply);
    simControl("SIM150 heal");
  }
}

}  // namespace
