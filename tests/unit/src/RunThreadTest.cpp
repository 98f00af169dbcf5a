#include <cstring>
#include <gtest/gtest.h>
#include <semaphore>

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
    // A run that has ended by itself counts as active until it is cancelled.
    EXPECT_TRUE(run.Active());
    EXPECT_EQ(neosmart::WaitForEvent(run.GetOPCHandle(), 0), 0);
    run.CancelRun();
    EXPECT_FALSE(run.Active());
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
  // No poll has been answered yet, so there is no lock that is known of.
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
}

TEST(RunThread, TimeOutFollowsTheSettings) {
  const struct {
    const char* name;
    double dwell;
    std::vector<double> frequencies;
    std::vector<double> powers;
    const char* reads;  // of a poll that is not answered
  } cases[] = {
      {"short", 0.002, {}, {}, "R16x3 C"},
      {"501 points", 2.0, {}, {}, "R16x4 C"},
      {"a longer list", 2.0, std::vector<double>(1000, 1e9), {}, "R16x7 C"},
      {"power list", 2.0, {}, std::vector<double>(1000, -10.0), "R16x7 C"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    test::OpenBench bench;
    bench.device.SetTrigSource(kTriggerImmediate);
    if (!c.frequencies.empty()) bench.device.SetFreqMode(kModeList);
    if (!c.powers.empty()) bench.device.SetPwrMode(kModeList);
    bench.device.SetDwell(c.dwell);
    if (!c.frequencies.empty()) bench.device.SetFreqList(c.frequencies);
    if (!c.powers.empty()) bench.device.SetPwrList(c.powers);
    bench.device.UpdateTimeout();
    std::binary_semaphore probed{0};
    bench.provider.Respond([&](Request request) {
      if (test::Describe(request) == "RUN") return Bytes{};
      probed.release();
      return test::Answer(request);
    });
    bench.device.Start(1);
    probed.acquire();
    const std::string trace = bench.provider.Trace();
    EXPECT_EQ(trace.substr(trace.find("W(RUN)")).substr(7 + 5, std::strlen(c.reads)), c.reads);
    bench.device.Stop();
  }
}

}  // namespace
