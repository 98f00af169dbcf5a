#include <gtest/gtest.h>

#include "tests/unit/src/DeviceBench.h"

namespace {

using test::Row;
using test::Status16;
using Strings = std::vector<std::string>;

const Row kNoFiles{"GET P_FILE", Status16(0x8103)};
const Strings kFirst = {"RESET", "GET P_FILE 4.0 [0, 64000] \\fram\\type.txt",
                        "RESET", "GET P_FILE 4.0 [0, 64000] \\fram\\serial.txt",
                        "RESET", "SET P_MODE 2.0 [1]"};

/// What instruments of three generations are sent at start-up, and what is learnt about them.
TEST(Probing, InstrumentsOfAllAges) {
  const std::string kSync = "P_SYNC_OUT 1.0 [0, 0, 0, 0, 0, 0, 0, 0, 0, 0]";
  const std::string kSyncSet = "SET P_SYNC_OUT 1.0 [0, 0, 10, 0, 0, 0, 0, 0, 0, 0]";
  const struct {
    const char* name;
    std::vector<Row> rows;
    Strings lines;
    sLimits limits;
    const char* sweep_form;   // what a power sweep is sent as
    const char* range_form;   // and a frequency range
    std::size_t sync_values;  // and the trigger output
  } cases[] = {
      {"newest",
       {kNoFiles,
        {"SET P_FREQUENCY 6.0 [0, 2, 100000000000,", 1, {{1e5, 2, 2e10, 2e10}}},
        {"SET P_FREQUENCY 6.0 [100000, 0,", 1, {{1e5, 2, 2e10, 2e10}}},
        {"SET P_FREQUENCY 6.0 [100000, 100001,", 1, {{1e5, 10001, 2e10, 2e10}}},
        {"SET P_RF_OUT2 6.2 [0, 0, 0, 0, 35]", 1, {{0, 0, 0, 0, 18.5}}},
        {"SET P_RF_OUT2 6.2 [0, 0, 0, 0, -300]", 1, {{0, 0, 0, 0, -110}}}},
       {"SET P_FREQUENCY 6.0 [0, 2, 100000000000, 100000000000]",
        "SET P_FREQUENCY 6.0 [100000, 0, 20000000000, 20000000000]",
        "SET P_FREQUENCY 6.0 [100000, 100001, 20000000000, 20000000000]",
        "SET P_FREQUENCY 6.0 [100000, 10001, 20000000000, 20000000000]", "GET " + kSync, kSyncSet,
        "SET P_RF_OUT2 6.2 [0, 0, 0, 0, -20]", "SET P_RF_OUT2 6.2 [0, 0, 0, 0, -20, 1, 0, -20]",
        "SET P_RF_OUT2 6.2 [0, 0, 0, 0, 35]", "SET P_RF_OUT2 6.2 [0, 0, 0, 0, -300]"},
       {1e5, 2e10, -110, 18, 2, 10001},
       "SET P_RF_OUT2 6.2 [0, 0, 0, 0, -20, 501, 0, 10]",
       "SET P_FREQUENCY 6.0 [1000000, 2, 1000000, 2000000]",
       10},
      {"middle",
       {kNoFiles,
        {"SET P_FREQUENCY 6.0 [0, 2, 100000000000, ", 2},
        {"SET P_FREQUENCY 6.0 [0, 0,", 2},
        {"SET P_FREQUENCY 6.0 [0, 100001,", 2},
        {"SET P_RF_OUT2 6.2", Status16(0x8002)},
        {"SET P_RF_OUT2 4.2 [0, 0, 0, 0, -20, 1,", 2},
        {"SET P_RF_OUT2 4.2 [0, 0, 0, 0, 35]", 1, {{0, 0, 0, 0, 18.5}}}},
       {"SET P_FREQUENCY 6.0 [0, 2, 100000000000, 100000000000]",
        "SET P_FREQUENCY 6.0 [0, 0, 100000000000, 100000000000]",
        "SET P_FREQUENCY 6.0 [0, 100001, 100000000000, 100000000000]", "SET P_FREQUENCY 6.0 [0, 2, 100000000000]",
        "GET " + kSync, kSyncSet, "SET P_RF_OUT2 6.2 [0, 0, 0, 0, -20]", "RESET", "SET P_RF_OUT2 4.2 [0, 0, 0, 0, -20]",
        "SET P_RF_OUT2 4.2 [0, 0, 0, 0, -20, 1, 0, -20]", "SET P_RF_OUT2 4.2 [0, 0, 0, 0, 35]",
        "SET P_RF_OUT2 4.2 [0, 0, 0, 0, -300]"},
       {0, 1e11, -300, 18.5, 0, 100001},
       "SET P_RF_OUT2 4.2 [0, 0, 0, 0, -20, 501, 0]",
       "SET P_FREQUENCY 6.0 [1000000, 2, 1000000]",
       10},
      {"oldest",
       {kNoFiles,
        {"SET P_FREQUENCY 6.0", Status16(0x8003)},
        {"GET P_SYNC_OUT", 0, {{0, 0, 0, 0, 0}}},
        {"SET P_RF_OUT2", Status16(0x8002)},
        {"SET P_RF_OUT 4.2", Status16(0x8002)}},
       {"SET P_FREQUENCY 6.0 [0, 2, 100000000000, 100000000000]", "RESET",
        "SET P_FREQUENCY 6.0 [0, 0, 100000000000, 100000000000]", "RESET",
        "SET P_FREQUENCY 6.0 [0, 100001, 100000000000, 100000000000]", "RESET",
        "SET P_FREQUENCY 6.0 [0, 2, 100000000000]", "RESET", "SET P_FREQUENCY 4.0 [0, 2, 4001000000]", "GET " + kSync,
        "SET P_RF_OUT2 6.2 [0, 0, 0, 0, -20]", "RESET", "SET P_RF_OUT2 4.2 [0, 0, 0, 0, -20]", "RESET",
        "SET P_RF_OUT 4.2 [0, -20]", "RESET", "SET P_RF_OUT 2.1 [0, -20]", "SET P_RF_OUT 2.1 [0, 35]",
        "SET P_RF_OUT 2.1 [0, -44]"},
       {0, 1e11, -44, 35, 0, 100001},
       "",
       "SET P_FREQUENCY 4.0 [1000000, 2, 1000000]",
       5},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    test::ScriptedProvider provider;
    test::BenchDevice device;
    provider.Respond(test::Instrument(c.rows));
    ASSERT_EQ(device.OpenConnection("A::ZLT", 1), 0);
    Strings lines = kFirst;
    lines.insert(lines.end(), c.lines.begin(), c.lines.end());
    EXPECT_EQ(provider.TakeLines(), lines);

    const sLimits& limits = device.Limits();
    EXPECT_EQ(limits.low_frequency, c.limits.low_frequency);
    EXPECT_EQ(limits.high_frequency, c.limits.high_frequency);
    EXPECT_EQ(limits.low_power, c.limits.low_power);
    EXPECT_EQ(limits.high_power, c.limits.high_power);
    EXPECT_EQ(limits.min_sweep_points, c.limits.min_sweep_points);
    EXPECT_EQ(limits.max_sweep_points, c.limits.max_sweep_points);
    double value = 0;
    device.GetPower(value, kValueCW, kDefaultPlain);
    EXPECT_EQ(value, limits.low_power);
    device.GetFrequency(value, kValueCW, kDefaultPlain);
    EXPECT_EQ(value, (limits.low_frequency + limits.high_frequency) / 2);

    device.set_power_sweep();
    const Strings sweep = provider.TakeLines();
    EXPECT_EQ(sweep, *c.sweep_form == '\0' ? Strings{} : Strings{c.sweep_form});
    double start = 1e6, stop = 2e6, step = 1e6;
    device.set_freq_range_and_step(start, stop, step);
    EXPECT_EQ(provider.TakeLines().front(), c.range_form);
    device.SetSyncOpolarity(1);
    const auto request = provider.Requests().back();
    EXPECT_EQ(request[8], c.sync_values);
  }
}

TEST(Probing, RFOutForms) {
  const std::string k62 = "SET P_RF_OUT2 6.2 [0, 0, 0, 0, -20]";
  const std::string k62Stop = "SET P_RF_OUT2 6.2 [0, 0, 0, 0, -20, 1, 0, -20]";
  const std::string k42 = "SET P_RF_OUT2 4.2 [0, 0, 0, 0, -20]";
  const std::string k42Stop = "SET P_RF_OUT2 4.2 [0, 0, 0, 0, -20, 1, 0, -20]";
  const std::string kOld = "SET P_RF_OUT 4.2 [0, -20]";
  const std::string kOldest = "SET P_RF_OUT 2.1 [0, -20]";
  const Row no62{"SET P_RF_OUT2 6.2", Status16(0x8002)};
  const Row no42{"SET P_RF_OUT2 4.2", Status16(0x8002)};
  const Row old_refused{"SET P_RF_OUT 4.2", Status16(0x8002)};
  // By generation: what a CW power is sent as, and how many values a power sweep has.
  const char* const cw_forms[] = {"SET P_RF_OUT 2.1",  "SET P_RF_OUT 4.2",  "SET P_RF_OUT2 4.2",
                                  "SET P_RF_OUT2 6.2", "SET P_RF_OUT2 4.2", "SET P_RF_OUT2 6.2"};
  const unsigned sweep_values[] = {0, 4, 7, 7, 8, 8};
  const struct {
    const char* name;
    std::vector<Row> rows;
    Strings lines;
    int result;
    int generation;  // 5 before
  } cases[] = {
      {"5", {}, {k62, k62Stop}, 0, 5},
      {"3", {{k62Stop, 2}}, {k62, k62Stop}, 2, 3},
      {"4", {no62}, {k62, "RESET", k42, k42Stop}, 0, 4},
      {"2", {no62, {k42Stop, 2}}, {k62, "RESET", k42, k42Stop}, 2, 2},
      {"1", {no62, no42}, {k62, "RESET", k42, "RESET", kOld}, 0, 1},
      {"0", {no62, no42, old_refused}, {k62, "RESET", k42, "RESET", kOld, "RESET", kOldest}, 0, 0},
      {"refused by name to the end",
       {{"SET P_RF_OUT", Status16(0x8002)}},
       {k62, "RESET", k42, "RESET", kOld, "RESET", kOldest, "RESET"},
       SK_UNKNOWN_PARAMETER,
       5},
      {"refused otherwise",
       {{"SET P_RF_OUT", Status16(0x8003)}},
       {k62, "RESET", k62Stop, "RESET"},
       SK_PARAMETER_INCORRECT,
       5},
      {"silent at the second", {{k62Stop, {}}}, {k62, k62Stop, "GET P_MODE 2.0 [0]"}, SE_READ_TIMEOUT, 3},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    test::OpenBench bench(c.rows);
    EXPECT_EQ(bench.device.InitRFOut(0, -20.0, 0, 0, 0), c.result);
    EXPECT_EQ(bench.provider.TakeLines(), c.lines);
    bench.provider.Respond(test::Instrument({}));
    bench.device.SendRFOut();
    EXPECT_TRUE(bench.provider.TakeLines().front().starts_with(cw_forms[c.generation]));
    bench.device.set_power_sweep();
    const auto sweep = bench.provider.TakeLines();
    EXPECT_EQ(sweep.empty() ? 0U : bench.provider.Requests().back()[8], sweep_values[c.generation]);
  }
}

TEST(Probing, RFOutDeadEndSendsNothingMore) {
  test::OpenBench bench;
  // A refusal without its body.
  bench.provider.Respond([&](std::span<const unsigned char> request) {
    if (request[8] == 8) {
      test::Bytes head = test::Answer(request, Status16(0x8003));
      head.resize(16);
      bench.provider.QueueRead(head);
      bench.provider.QueueRead({}, VI_ERROR_IO);
      return test::Bytes{};
    }
    return test::Answer(request);
  });
  EXPECT_EQ(bench.device.InitRFOut(0, -20.0, 0, 0, 0), SE_UNKNOWN_ERROR);
  EXPECT_EQ(bench.provider.TakeLines().size(), 2U);
  bench.provider.Respond(test::Instrument({}));
  bench.device.set_power_sweep();
  EXPECT_EQ(bench.provider.Requests().back()[8], 8U);  // generation 5, as before
}

}  // namespace
