// What no transcript can show: operations that return through their arguments, replies in a format other than the
// request's, states that no message sets.
#include <gtest/gtest.h>
#include <vector>

#include "tests/unit/src/PlayedInstrument.h"

namespace test {
namespace {

using enum Firmware;

TEST(Settings, UnitsOfPower) {
  PlayedInstrument instrument(kMiddle);
  const CDevice& device = instrument.device;
  instrument.device.SetUnit(kUnitWatt);
  EXPECT_DOUBLE_EQ(device.ConvertPower(0, -1, false), 0.001);
  EXPECT_DOUBLE_EQ(device.ConvertPower(-300, -1, false), 1e-33);
  EXPECT_DOUBLE_EQ(device.ConvertPower(5, 1, false), 5);
  EXPECT_DOUBLE_EQ(device.ConvertPower(1, -1, true), 30);
  EXPECT_DOUBLE_EQ(device.ConvertPower(1, 1, true), 30);
  EXPECT_DOUBLE_EQ(device.ConvertPower(7, 0, true), 7);
}

TEST(Settings, OutputThatIsOffClearsTheBitOfActiveRf) {
  PlayedInstrument instrument(kMiddle);
  CDevice& device = instrument.device;
  device.StatusRegisters().SetRegBit(0, 7, true);
  device.SetOutputEnabled(true);
  instrument.Answers({{.values = {1, 0, 0, 0, 0}}});
  device.SetOutputEnabled(false);
  EXPECT_EQ(device.StatusRegisters().standard_event, 0x80);
  instrument.Answers({{.values = {0, 0, 0, 0, 0}}});
  device.SetOutputEnabled(true);
  EXPECT_EQ(device.StatusRegisters().standard_event, 0);
}

TEST(Settings, AnInputCodeBelowZeroIsRefused) {
  PlayedInstrument instrument(kMiddle);
  instrument.provider.QueueRead(FromHex("AA 55 03 00 00 00 0C 00 05 21 00 00 00 00 00 00"));
  instrument.provider.QueueRead(FromHex("07 00 00 FF 00 01 00 00 00 00 00 02"));
  EXPECT_EQ(instrument.device.SetTrigSource(kTriggerExternal), -1);
  ETrigger source{};
  instrument.device.GetTrigSource(source);
  EXPECT_EQ(source, kTriggerExternal);
}

TEST(Settings, ManyPulsesGoOutInParts) {
  PlayedInstrument instrument(kNew);
  std::vector<double> widths(124, 1), gaps(124, 2);
  int source = 1;
  instrument.Answers({{}, {.values = {2, 3, 0, 123, 1, 8, 9}}});
  EXPECT_EQ(instrument.device.HW_SetModulationPulse(2, source, widths.data(), gaps.data(), 124, false), 0);
  const std::vector<std::string> log = instrument.TakeLog();
  ASSERT_EQ(log.size(), 2U);
  EXPECT_TRUE(log[0].starts_with("SET P_MODULATION 4.0 [2, 2, 0, 0, 123, 1, 2, ")) << log[0];
  EXPECT_EQ(log[1], "SET P_MODULATION 4.0 [2, 2, 0, 123, 1, 1, 2]");
  EXPECT_EQ(widths[123], 8);
  EXPECT_EQ(gaps[123], 9);
  EXPECT_EQ(source, 0);
}

TEST(Settings, SendersWithoutASetter) {
  PlayedInstrument instrument(kNew);
  CDevice& device = instrument.device;
  const auto last = [&] { return ToHex(instrument.provider.Requests().back()); };
  bool external = true;
  device.HW_set_ext_ref_gen_state(&external);
  EXPECT_EQ(last(), "AA 55 03 00 00 80 04 00 01 10 00 00 00 00 00 00 11 00 01 00");
  external = true;
  EXPECT_EQ(device.set_ext_ref_gen_state(&external), 0);
  EXPECT_FALSE(external);
  instrument.Answers({{.status = 1, .values = {0}}});
  EXPECT_EQ(device.set_ext_ref_gen_state(&external), 1);
  EXPECT_TRUE(external);
  double powers[] = {-10.5, 3};
  EXPECT_EQ(device.set_rf_out_list(powers, 2), 0);
  EXPECT_EQ(last(), "AA 55 03 00 00 80 06 00 02 21 00 00 00 00 00 00 1A 00 80 F5 00 03");
}

TEST(Settings, APositiveStatusOfTheLinkIsASuccessWithoutAReply) {
  PlayedInstrument instrument(kNew);
  instrument.provider.QueueRead(Bytes(10), VI_SUCCESS_TERM_CHAR);
  double dwell = 0.5;
  EXPECT_EQ(instrument.device.HW_SetDwell(dwell), 0);
  EXPECT_EQ(dwell, 0.5);
  EXPECT_EQ(instrument.TakeLog(), (std::vector<std::string>{"SET P_INTERVAL 4.0 [0, 500000000]", "(clears the link)"}));
}

}  // namespace
}  // namespace test
