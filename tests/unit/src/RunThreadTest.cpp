#include <algorithm>
#include <gtest/gtest.h>
#include <semaphore>
#include <thread>

#include "tests/unit/DrivenClock.h"
#include "tests/unit/src/DeviceBench.h"

namespace {

using test::Bytes;
using Strings = std::vector<std::string>;
using Request = std::span<const unsigned char>;

/// Says when a run is over.
class WatchedRun : public CRunThread {
 public:
  using CRunThread::CRunThread;
  ~WatchedRun() override { ThreadStop(0); }
  void ThreadCycle() override {
    CRunThread::ThreadCycle();
    over.release();
  }
  std::binary_semaphore over{0};
};

struct States {
  bool level, pll, reference;
  bool operator==(const States&) const = default;
};

Bytes RunReply(Request request, int status, std::size_t body_length, int last_word) {
  Bytes reply = test::Answer(request, static_cast<std::int16_t>(status));
  reply.resize(16 + body_length);
  reply[6] = static_cast<unsigned char>(body_length);
  if (body_length >= 2) {
    reply[reply.size() - 2] = static_cast<unsigned char>(last_word);
    reply[reply.size() - 1] = static_cast<unsigned char>(last_word >> 8);
  }
  return reply;
}

TEST(RunThread, OnePoll) {
  constexpr bool kGoesOn = true;
  constexpr bool kReset = true;
  const struct {
    const char* name;
    int status;
    std::size_t body_length;
    int last_word;
    States states;  // all true before
    bool reset;
    bool goes_on;
  } cases[] = {
      {"unlevel", 6, 0, 0, {false, true, true}, !kReset, kGoesOn},
      {"no lock", 0x8007, 0, 0, {true, false, true}, kReset, !kGoesOn},
      {"no reference", 0x801C, 0, 0, {true, true, false}, kReset, !kGoesOn},
      {"unlevel at the end of one record", 0, 14, 6, {false, true, true}, !kReset, kGoesOn},
      {"unlevel without records", 0, 2, 6, {false, true, true}, !kReset, kGoesOn},
      {"no lock at the end", 0, 14, 0x8007, {true, false, true}, kReset, kGoesOn},
      {"no reference at the end", 0, 26, 0x801C, {true, true, false}, kReset, kGoesOn},
      {"not whole records", 0, 15, 0x8007, {true, true, true}, kReset, kGoesOn},
      {"empty", 0, 0, 0, {true, true, true}, !kReset, kGoesOn},
      {"head before body", 6, 14, 0x8007, {false, true, true}, !kReset, kGoesOn},
      {"the last harmless status", 20000, 0, 0, {true, true, true}, !kReset, kGoesOn},
      {"above it", 20480, 0, 0, {true, true, true}, !kReset, !kGoesOn},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    test::ScriptedProvider provider;
    ExchangeGate gate;
    WatchedRun run(gate);
    SParameters parameters;
    parameters.system.level = parameters.system.pll = parameters.system.reference = true;
    run.SetParams(parameters);
    run.SetSession(2);
    const auto states = [&run] { return States{run.GetLevelState(), run.GetPLLState(), run.GetERGState()}; };
    int polls = 0;
    std::optional<States> at_second;
    provider.Respond([&](Request request) {
      if (test::Describe(request) != "RUN") return test::Answer(request);
      if (++polls == 2) at_second = states();
      return polls == 1 ? RunReply(request, c.status, c.body_length, c.last_word) : test::Answer(request);
    });
    run.Run(2);
    run.over.acquire();
    EXPECT_EQ(at_second.value_or(states()), c.states);
    Strings lines = {"RUN"};
    if (c.reset) lines.push_back("RESET");
    if (c.goes_on) lines.push_back("RUN");
    EXPECT_EQ(provider.Lines(), lines);
    EXPECT_EQ(polls == 2, c.goes_on);
    EXPECT_EQ(test::ToHex(provider.Requests().front()), "AA 55 06 00 00 80 00 00 00 00 00 00 00 00 00 00");
    // A run that has ended by itself counts as active until it is cancelled.
    EXPECT_TRUE(run.Active());
    EXPECT_EQ(neosmart::WaitForEvent(run.GetOPCHandle(), 0), 0);
    EXPECT_TRUE(run.TryLock());
    run.CancelRun();
    EXPECT_FALSE(run.Active());
    run.Unlock();
  }
}

TEST(RunThread, FailedPollClearsResetsAndEnds) {
  test::ScriptedProvider provider;
  ExchangeGate gate;
  WatchedRun run(gate);
  run.SetSession(2);
  provider.Respond(test::Instrument({{"RUN", {}}}));
  run.Run(0);
  run.over.acquire();
  EXPECT_EQ(provider.Lines(), (Strings{"RUN", "GET P_MODE 2.0 [0]", "GET P_MODE 2.0 [0]", "RESET"}));
  EXPECT_FALSE(run.GetLevelState());

  // A body that breaks off leaves the reply's own status, and the run goes on.
  provider.TakeLines();
  int polls = 0;
  provider.Respond([&](Request request) {
    if (test::Describe(request) != "RUN" || ++polls > 1) return test::Answer(request);
    provider.QueueRead(RunReply(request, 0, 14, 6));
    provider.QueueRead({}, VI_ERROR_IO);
    return Bytes{};
  });
  run.Run(2);
  run.over.acquire();
  EXPECT_EQ(provider.TakeLines(), (Strings{"RUN", "GET P_MODE 2.0 [0]", "RESET", "RUN"}));
}

TEST(RunThread, LooksAtTheButtonOnceASecond) {
  test::ScriptedProvider provider;
  ExchangeGate gate;
  WatchedRun run(gate);
  run.SetSession(2);
  int polls = 0;
  provider.Respond([&](Request request) {
    const std::string line = test::Describe(request);
    if (line != "RUN") return test::Answer(request, 0, {1});
    test::Advance(++polls == 2 ? 501 : 500);
    return test::Answer(request);
  });
  run.Run(3);
  run.over.acquire();
  EXPECT_EQ(provider.Lines(), (Strings{"RUN", "RUN", "GET P_RF_BUTTON 2.0 [0]", "RUN"}));
  EXPECT_TRUE(run.GetButtonState());
  run.CancelRun();
  provider.TakeLines();
  run.Run(-1);
  run.over.acquire();
  EXPECT_EQ(provider.TakeLines(), Strings{});
}

/// An open session whose instrument waits for a trigger: polls are not answered.
class WaitingRun : public testing::Test {
 protected:
  WaitingRun() {
    bench.device.SetOutputEnabled(true);
    bench.provider.Respond([this](Request request) {
      if (test::Describe(request) != "RUN") return test::Answer(request);
      polling.release();
      return Bytes{};
    });
    bench.provider.TakeLines();
    bench.device.Start(0);
    polling.acquire();
  }
  test::OpenBench bench;
  std::counting_semaphore<> polling{0};
};

TEST_F(WaitingRun, StatusByteAnswersFromTheCopy) {
  EXPECT_EQ(bench.device.SCPI_STB(), 0);
  // No poll has been answered yet, so no lock is known.
  EXPECT_EQ(bench.device.TakeResponse(), "00000100");
  int events = 0;
  EXPECT_EQ(bench.device.SCPI_ESR(events), 0);
  EXPECT_EQ(events, 8);
  bool state = true;
  EXPECT_EQ(bench.device.GetLevelState(state), 0);
  EXPECT_FALSE(state);
  EXPECT_EQ(bench.device.WaitOPC(-1), 0);
  EXPECT_EQ(bench.provider.Lines().back(), "RUN");
}

TEST_F(WaitingRun, AnotherExchangeMakesItGiveUp) {
  bool on = false;
  EXPECT_EQ(bench.device.GetRFButtonState(&on), 0);
  EXPECT_TRUE(bench.device.IsSweeping());
  bool state = true;
  EXPECT_EQ(bench.device.GetLevelState(state), 0);
  EXPECT_FALSE(state);  // unchanged: a cancelled poll reports nothing
  EXPECT_EQ(bench.device.SCPI_STB(), 0);
  EXPECT_EQ(bench.provider.TakeLines(), (Strings{"RUN", "RESET", "GET P_RF_BUTTON 2.0 [0]", "GET P_RF_BUTTON 2.0 [0]",
                                                 "GET P_FREQUENCY 4.0 [0, 0, 0]"}));
  // The request to give up does not outlive the run.
  bench.device.Start(0);
  polling.acquire();
  EXPECT_EQ(bench.device.Stop(), 0);
  EXPECT_EQ(bench.provider.TakeLines(), (Strings{"RUN", "RESET"}));
}

TEST_F(WaitingRun, CancelledPollResetsOnce) {
  EXPECT_EQ(bench.device.Stop(), 0);
  EXPECT_FALSE(bench.device.IsSweeping());
  EXPECT_EQ(bench.provider.TakeLines(), (Strings{"RUN", "RESET"}));
  EXPECT_EQ(bench.device.Reset(), 0);
  EXPECT_EQ(bench.provider.TakeLines(), (Strings{"RESET"}));
  // A link that can't be cleared is no reason to leave the instrument waiting.
  bench.provider.clear_status = VI_ERROR_NIMPL_OPER;
  bench.device.Start(0);
  polling.acquire();
  EXPECT_EQ(bench.device.Stop(), 0);
  EXPECT_EQ(bench.provider.TakeLines(), (Strings{"RUN", "RESET"}));
}

/// Leaves list mode for a sweep.
void SweepAfterAList(CDevice& device) {
  device.SetFreqList(std::vector<double>(1000, 1.0));
  device.SetFreqMode(kModeList);
  device.SetFreqMode(kModeSweep);
}

TEST(RunThread, TimeOutFollowsTheSettings) {
  constexpr int kEndless = 8;
  static const std::vector<double> list(1000, 1.0);
  const struct {
    const char* name;
    void (*set)(CDevice&);  // after an immediate trigger and a dwell of 2 s
    int reads;              // of a poll that is not answered
  } cases[] = {
      {"501 points", [](CDevice&) {}, 4},
      {"short dwell", [](CDevice& d) { d.SetDwell(0.002); }, 3},
      {"external trigger", [](CDevice& d) { d.SetTrigSource(kTriggerExternal); }, kEndless},
      {"points", [](CDevice& d) { d.SetFrequency(1000, kValuePoints, kDefaultPlain); }, 7},
      {"lists that wait for their modes", [](CDevice& d) { d.SetFreqList(list), d.SetPwrList(list); }, 4},
      {"frequency list", [](CDevice& d) { d.SetFreqList(list), d.SetFreqMode(kModeList); }, 7},
      {"power list", [](CDevice& d) { d.SetPwrList(list), d.SetPwrMode(kModeList); }, 7},
      // A range sent with its mode keeps the time-out of the list; later packets do not.
      {"sweep after a list", SweepAfterAList, 7},
      {"range", [](CDevice& d) { SweepAfterAList(d), d.HW_SendFrequencyRange(); }, 4},
      {"CW", [](CDevice& d) { SweepAfterAList(d), d.SetFreqMode(kModeFixed); }, 4},
      {"frequency list, not sent", [](CDevice& d) { SweepAfterAList(d), d.SetFreqList({1.0}); }, 4},
      {"power list, not sent", [](CDevice& d) { SweepAfterAList(d), d.SetPwrList({1.0}); }, 4},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    test::OpenBench bench;
    bench.device.SetTrigSource(kTriggerImmediate);
    bench.device.SetDwell(2.0);
    c.set(bench.device);
    bench.provider.Respond(
        [](Request request) { return test::Describe(request) == "RUN" ? Bytes{} : test::Answer(request); });
    bench.device.Start(1);
    int reads = 0;
    for (std::string poll; reads < kEndless && poll.find(" C") == std::string::npos;) {
      const std::string trace = bench.provider.Trace();
      poll = trace.substr(std::min(trace.find("W(RUN) T500 R16x"), trace.size()));
      if (!poll.empty()) reads = std::min(kEndless, std::stoi(poll.substr(16)));
      std::this_thread::yield();
    }
    EXPECT_EQ(reads, c.reads);
    bench.device.Stop();
  }
}

}  // namespace
