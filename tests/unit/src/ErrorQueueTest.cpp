#include <gtest/gtest.h>

#include "scpi_zlt/lookups.h"

#include "tests/unit/src/DeviceBench.h"

namespace {

using test::OpenBench;
using test::Status16;

using Strings = std::vector<std::string>;

TEST(ErrorQueue, ClassifiesByNumber) {
  const struct {
    int number;
    int event_register;
  } cases[] = {
      {-500, 4},  {-400, 4},  {-399, 8}, {-350, 8}, {-300, 8},   {-299, 16}, {-200, 16},
      {-199, 32}, {-100, 32}, {-99, 0},  {0, 0},    {100, 0},    {299, 0},   {300, 8},
      {350, 8},   {399, 8},   {400, 0},  {-501, 0}, {-32765, 0}, {20506, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.number);
    test::BenchDevice device;
    EXPECT_EQ(device.RaiseError(c.number, nullptr), 0);
    EXPECT_EQ(device.StatusRegisters().standard_event, c.event_register);
    EXPECT_EQ(device.StatusRegisters().status_byte, 4);
    EXPECT_EQ(device.GetErrCount(), 1);
  }
}

TEST(ErrorQueue, AnswersOldestFirstAndKeepsItsBit) {
  test::ScriptedProvider provider;
  test::BenchDevice device;
  device.RaiseError(-113, "not shown");
  device.RaiseError(-222, "not shown");
  device.RaiseError(20506, "");
  const auto with_text = [](int number) { return std::to_string(number) + ",\"" + GetErrorDescription(number) + "\""; };
  for (const std::string& expected :
       {with_text(-113), with_text(-222), std::string("20506,\"\""), std::string("+0,\"No error\"")}) {
    EXPECT_EQ(device.SCPI_SYST_ERR(), 0);
    EXPECT_EQ(device.TakeResponse(), expected);
  }
  EXPECT_EQ(device.StatusRegisters().status_byte, 4);
  device.SCPI_CLS();
  EXPECT_EQ(device.StatusRegisters().status_byte, 0);
  EXPECT_EQ(device.StatusRegisters().standard_event, 0);
}

TEST(ErrorQueue, AReplyOfNoDescriptorIsASystemError) {
  test::BenchDevice device;
  EXPECT_EQ(device.SendEnum({kBothForms, nullptr, 0}, 0, 0), -310);
  EXPECT_EQ(device.TakeResponse(), "");
}

// Each query of the hardware: what goes out, and what the answer means.
TEST(StateQueries, Answers) {
  using Query = int (*)(CDevice&, bool&);
  const Query button = [](CDevice& d, bool& on) { return d.GetRFButtonState(&on); };
  const Query pll = [](CDevice& d, bool& on) { return d.GetPLLState(on); };
  const Query level = [](CDevice& d, bool& on) { return d.GetLevelState(on); };
  const Query reference = [](CDevice& d, bool& on) { return d.GetERGState(on); };
  const std::string kButton = "GET P_RF_BUTTON 2.0 [0]";
  const std::string kFrequency = "GET P_FREQUENCY 4.0 [0, 0, 0]";
  const std::string kLevel = "GET P_RF_OUT2 6.2 [0, 0, 0, 0, 0]";
  const struct {
    const char* name;
    Query query;
    bool before;
    test::Row reply;
    int result;
    bool answer;
  } cases[] = {
      {"button on", button, false, {kButton, 0, {{1}}}, 0, true},
      {"button off", button, true, {kButton, 0, {{0}}}, 0, false},
      {"button refused, with a value", button, false, {kButton, Status16(0x8003), {{1}}}, 0, true},
      {"button without value", button, true, {kButton, 0, {}, true}, 0, false},
      {"button refused, without value", button, true, {kButton, Status16(0x8002), {}, true}, 0, false},
      {"button silent", button, true, {kButton, {}}, SE_READ_TIMEOUT, true},
      {"locked", pll, false, {kFrequency}, 0, true},
      {"no lock", pll, true, {kFrequency, SK_LO1_NO_PLL}, 0, false},
      {"no lock, without values", pll, true, {kFrequency, SK_LO1_NO_PLL, {}, true}, 0, false},
      {"another refusal", pll, false, {kFrequency, SK_EXTREF_NO_PLL}, 0, true},
      {"lock unknown", pll, true, {kFrequency, {}}, SE_READ_TIMEOUT, true},
      {"leveled", level, false, {kLevel}, 0, true},
      {"unleveled", level, true, {kLevel, SK_UNLEVEL}, 0, false},
      {"reference locked", reference, false, {kFrequency}, 0, true},
      {"reference without lock", reference, true, {kFrequency, SK_EXTREF_NO_PLL}, 0, false},
      {"reference unknown", reference, false, {kFrequency, {}}, SE_READ_TIMEOUT, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    OpenBench bench({c.reply});
    bool answer = c.before;
    EXPECT_EQ(c.query(bench.device, answer), c.result);
    EXPECT_EQ(answer, c.answer);
    EXPECT_EQ(bench.provider.TakeLines().front(), c.reply.request);
  }
}

TEST(StatusRegisters, ShowTheHardware) {
  const test::Row button_on{"GET P_RF_BUTTON", 0, {{1}}};
  const test::Row no_lock{"GET P_FREQUENCY", SK_LO1_NO_PLL};
  const test::Row lock_silent{"GET P_FREQUENCY", {}};
  const struct {
    const char* name;
    bool output;
    std::vector<test::Row> rows;
    int esr_result;
    int esr;
    const char* stb;
  } cases[] = {
      {"off and locked", false, {button_on}, 0, 0, "00000000"},
      {"on and locked", true, {button_on}, 0, 128, "00000100"},
      {"output on, button off", true, {{"GET P_RF_BUTTON", 0, {{0}}}}, 0, 0, "00000000"},
      {"output on, no value of the button", true, {{"GET P_RF_BUTTON", 0, {}, true}}, 0, 0, "00000000"},
      {"no lock", false, {no_lock}, 0, 8, "00000100"},
      {"on, no lock", true, {button_on, no_lock}, 0, 136, "00000100"},
      {"no answer", false, {lock_silent}, SE_READ_TIMEOUT, -1, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    OpenBench bench(c.rows);
    bench.device.SetOutputEnabled(c.output);
    int value = -1;
    EXPECT_EQ(bench.device.SCPI_ESR(value), c.esr_result);
    EXPECT_EQ(value, c.esr);
    EXPECT_EQ(bench.device.SCPI_STB(), c.esr_result);
    EXPECT_EQ(bench.device.TakeResponse(), c.stb);
    EXPECT_EQ(bench.device.StatusRegisters().status_byte, 0);
  }
}

}  // namespace
