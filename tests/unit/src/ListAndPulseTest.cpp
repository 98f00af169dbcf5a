// Lists, dwell, pulse modulation, reference and phase.
#include <gtest/gtest.h>
#include <vector>

#include "tests/unit/src/SettingsBench.h"

namespace test {
namespace {

using enum Firmware;

TEST(Settings, Lists) {
  RunSettings({
      {"list waits for its mode", kNew, -1, "SetFreqList 1e9 2e9 3e9; SetPwrList -10 -20; =SetFreqMode 3",
       "FREQUENCY_LIST2 6.0 [0, 3, 1000000000, 2000000000, 3000000000]", "0"},
      {"sizes differ: told and kept", kNew, -1,
       "SetFreqList 1e9 2e9 3e9; SetPwrList -10 -20; SetFreqMode 3; forget; =SetPwrMode 3; GetPwrMode", "", "-226 3"},
      {"sizes differ, other order", kNew, -1,
       "SetFreqList 1e9 2e9 3e9; SetPwrList -10 -20; SetPwrMode 3; forget; =SetFreqMode 3; GetFreqMode", "", "-226 3"},
      {"one point fits any", kNew, -1, "SetFreqList 1e9 2e9; SetPwrList -10; SetFreqMode 3; =SetPwrMode 3",
       "FREQUENCY_LIST2 6.0 [0, 2, 1000000000, 2000000000] | RF_OUT_LIST2 4.2 [0, 0, 0, 0, 0, 1, -10]", "0"},
      {"list against sweep", kNew, -1,
       "F.points 2; SetPwrMode 2; forget; =SetFreqMode 3; SetFreqList 1e9 2e9; forget; =SetFreqMode 3;SetPwrMode 1; "
       "SetFreqMode 2; forget; =SetPwrMode 3; SetPwrList 1 2; forget; =SetPwrMode 3",
       "RF_OUT_LIST2 4.2 [0, 0, 0, 0, 0, 2, 1, 2]", "-226 0 -226 0"},
      {"power list, reply taken", kNew, -1,
       "SetPwrMode 3; forget; answer RF_OUT_LIST2 1 0 0 0 0 0 2 -9 -19; SetPwrList -10 -20; SetPwrMode 3",
       "RF_OUT_LIST2 4.2 [0, 0, 0, 0, 0, 2, -10, -20] | RF_OUT_LIST2 4.2 [0, 0, 0, 0, 0, 2, -9, -19]", ""},
      {"empty lists get a point, an empty argument sends none", kNew, -1,
       "SetFreqMode 3; forget; =SetFreqList; SetFreqMode 3; SetPwrList; SetPwrMode 3",
       "FREQUENCY_LIST2 6.0 [0, 1, 10000000] | RF_OUT_LIST2 4.2 [0, 0, 0, 0, 0, 1, -60]", "0"},
      {"list answers a part", kNew, -1,
       "SetFreqMode 3; forget; answer FREQUENCY_LIST2 1 0 2 7; =SetFreqList 1e9 2e9; answer FREQUENCY_LIST2 0 0 2 7; "
       "=SetFreqMode 3; =SetFreqMode 3",
       "FREQUENCY_LIST2 6.0 [0, 2, 1000000000, 2000000000] | FREQUENCY_LIST2 6.0 [0, 2, 1000000000, 2000000000] | "
       "FREQUENCY_LIST2 6.0 [0, 2, 1000000000, 2000000000]",
       "0 -32763 0"},
      {"point out of range leaves zeros", kNew, -1,
       "=SetFreqList 1e7 2e10; =SetFreqList 1e9 99e9; =SetFreqList nan; =SetFreqList 1e9 2e9 1; GetFreqListPointsCnt "
       "3; SetFreqMode 3",
       "FREQUENCY_LIST2 6.0 [0, 3, 0, 0, 0]", "0 -222 -222 -222 3"},
      {"logarithmic spacing sends in any mode", kNew, -1, "SetFreqSpacing 1; forget; SetFreqList 1e9 2e9",
       "FREQUENCY_LIST2 6.0 [0, 2, 1000000000, 2000000000]", ""},
      {"counts", kNew, -1,
       "GetFreqListPointsCnt 0; GetFreqListPointsCnt 1; GetFreqListPointsCnt 2; GetPwrListPointsCnt "
       "1;GetPwrListPointsCnt 3",
       "", "0 2500 101 2500 1"},
      {"dwell", kNew, -1,
       "=SetDwell 0.25; GetDwell; SetDwell 5; GetDwell; SetDwell 1.00000000019; SetDwell 0.99999999996; SetDwell nan",
       "INTERVAL 4.0 [0, 250000000] | INTERVAL 4.0 [0, 705032704] | INTERVAL 4.0 [0, 1000000000] | INTERVAL 4.0 [0, "
       "1000000000] | INTERVAL 4.0 [0, 858993408]",
       "0 0.25 0.705032704"},
      {"dwell refused, short, corrected", kNew, -1,
       "SetDwell 1; answer INTERVAL 0x8003 0 7; =SetDwell 2; bare INTERVAL 0; =SetDwell 2; GetDwell;answer INTERVAL 1 "
       "0 3; =SetDwell 2; GetDwell",
       "INTERVAL 4.0 [0, 1000000000] | INTERVAL 4.0 [0, 2000000000] | RESET | INTERVAL 4.0 [0, 2000000000] | INTERVAL "
       "4.0 [0, 2000000000]",
       "-32765 -32763 1 1 3e-09"},
  });
}

TEST(Settings, SoftwareTriggerResendsTheWholeState) {
  SettingsBench bench(kMiddle);
  EXPECT_EQ(bench.Do("=SendSoftwareTrigger; answer RF_OUT2 0x8003; =SendSoftwareTrigger"), "0 -32765");
  EXPECT_EQ(bench.TakeLog(),
            "FREQUENCY 6.0 [10005000000] | RF_OUT2 4.2 [0, 0, 0, 0, -100] | FREQUENCY 6.0 [10005000000] | RF_OUT2 4.2 "
            "[0, 0, 0, 0, -100] | RESET");
  EXPECT_EQ(bench.Do("SetTrigSource 0; forget; =SendSoftwareTrigger"), "0");
  EXPECT_EQ(bench.TakeLog(), "");
}

TEST(Settings, FrequencyListsGoOutInChunksAndOnlyTheLastStatusCounts) {
  SettingsBench bench(kNew);
  std::vector<double> frequencies(331, 1e9);
  bench.Do("SetFreqMode 3; bare FREQUENCY_LIST2 0; answer FREQUENCY_LIST2 0x8003; forget");
  EXPECT_EQ(bench.device.SetFreqList(frequencies), 0);
  EXPECT_EQ(bench.TakePattern(), "PPPP");  // a bare success asks for no reset, the refusal does
  bench.Do("lost");
  EXPECT_EQ(bench.device.SetFreqList(frequencies), 20506);
  EXPECT_EQ(bench.TakePattern(), "");
}

TEST(Settings, PowerListsGoOutInChunks) {
  SettingsBench powers(kNew);
  powers.Do("SetPwrMode 3; forget");
  powers.device.SetPwrList(std::vector<double>(245, -20));
  EXPECT_EQ(powers.TakePattern(), "P");
  powers.Do("answer RF_OUT_LIST2 0; answer RF_OUT_LIST2 0x8003");
  EXPECT_EQ(powers.device.SetPwrList(std::vector<double>(246, -20)), -32765);
  EXPECT_EQ(powers.TakePattern(), "PPP");
}

TEST(Settings, Pulse) {
  RunSettings({
      {"one pulse", kNew, -1, "SetPulseGeneratorPeriod 2 3; SetPulseGeneratorWidth 1 3; =SetModulationEnabled 1",
       "MODULATION 4.0 [2, 3, 0, 0, 1, 1, 1]", "0"},
      {"polarity field goes for good, this reply keeps its places", kNew, -1,
       "SetPulseGeneratorPeriod 2 3; SetModulationPolarity 1; answer MODULATION 2 2 2 0 0 1 5 6;=SetModulationEnabled "
       "1; GetPulseGeneratorWidth; GetPulseGeneratorPeriod; GetModulationSource;SetModulationEnabled 1",
       "MODULATION 4.0 [2, 3, 1, 0, 1, 1, 1] | MODULATION 4.0 [2, 2, 0, 1, 0, 0]", "0 5 11 1"},
      {"off and on around a change", kNew, -1,
       "SetPulseGeneratorPeriod 2 3; SetModulationEnabled 1; forget; SetModulationEnabled 0;SetPulseGeneratorPeriod 4 "
       "3; SetModulationEnabled 1; GetPulseGeneratorPeriod",
       "MODULATION 4.0 [0, 3, 0, 0, 1, 0, 0] | MODULATION 4.0 [2, 3, 0, 0, 1, 1, 3]", "4"},
      {"a microsecond is nothing", kNew, -1,
       "SetPulseGeneratorPeriod 4 3; SetPulseGeneratorWidth 1e-6 3; SetModulationEnabled 1; GetPulseGeneratorWidth",
       "MODULATION 4.0 [2, 3, 0, 0, 1, 0, 4]", "0"},
      {"width above period", kNew, -1,
       "SetPulseGeneratorPeriod 2 3; SetPulseGeneratorWidth 3 3; SetModulationEnabled 1; GetPulseGeneratorPeriod",
       "MODULATION 4.0 [2, 3, 0, 0, 1, 3, 0]", "3"},
      {"square", kNew, -1, "SetPulseGeneratorPeriod 2 3; SetIntModulationType 1; SetModulationEnabled 1",
       "MODULATION 4.0 [2, 3, 0, 0, 1, 1, 1]", ""},
      {"external, and a source that there is not", kNew, -1,
       "SetModulationSource 1; answer MODULATION 0 2 3 0 0 1 0 0; SetModulationEnabled 1; "
       "GetModulationSource;SetModulationSource 5; GetModulationSource",
       "MODULATION 4.0 [2, 2, 0, 0, 1, 0, 0] | MODULATION 4.0 [0, 0, 0, 0, 1, 0, 0]", "1 5"},
      {"train is stored, not started", kNew, -1,
       "SetModulationEnabled 1; SetModulationEnabled 0; forget; SetIntModulationType 2; =SetModulationEnabled "
       "1;GetModulationEnabled; =SetPulmTrainOffArray 1 2.5; SetPulmTrainOnArray 7 8; =SetPulmTrainRepArray "
       "9;GetPulmTrainOnArray; GetPulmTrainOffArray; GetPulmTrainRepArray",
       "", "-224 1 -224 -224 1,2.5 1,2.5 1,2.5"},
      {"keywords and refusals", kNew, -1,
       "=SetPulseGeneratorWidth -1 3; =SetPulseGeneratorPeriod -1 0; SetPulseGeneratorWidth 9 0; "
       "GetPulseGeneratorWidth;SetPulseGeneratorPeriod 9 1; GetPulseGeneratorPeriod; SetPulseGeneratorPeriod 2 2; "
       "GetPulseGeneratorPeriod;GetPulseGeneratorWidth 1; GetPulseGeneratorPeriod 0",
       "", "-224 -224 2e-08 4 2 4 4e-08"},
      {"DEF is 2 s; a train needs modulation that switches off", kNew, -1,
       ":PULM:INT:PER DEF; :PULM:INT:PWID DEF; GetPulseGeneratorPeriod; GetPulseGeneratorWidth; :PULM:STAT ON;answer "
       "MODULATION 0xFF20; :PULM:INT:TRA:OFFT 1; GetModulationEnabled; GetPulmTrainOffArray",
       "MODULATION 4.0 [2, 3, 0, 0, 1, 2, 0] | MODULATION 4.0 [0, 3, 0, 0, 1, 0, 0] | RESET", "2 2 -224 0"},
      {"refused, short: told, model as it was", kNew, -1,
       "SetPulseGeneratorPeriod 2 3; answer MODULATION 0x8003 2 2 0 0 1 5 5; =SetModulationEnabled 1;bare MODULATION "
       "0; =SetModulationPolarity 1; GetPulseGeneratorWidth; GetModulationSource;GetModulationPolarity; bare "
       "MODULATION 2; =SetModulationEnabled 0; SetModulationEnabled 0",
       "MODULATION 4.0 [2, 3, 0, 0, 1, 1, 1] | RESET | MODULATION 4.0 [2, 3, 1, 0, 1, 1, 1] | MODULATION 4.0 [0, 3, 1, "
       "0, 1, 0, 0] | MODULATION 4.0 [0, 3, 0, 1, 0, 0]",
       "-32765 -32763 1 0 1 0"},
  });
}

TEST(Settings, ManyPulsesGoOutInChunks) {
  SettingsBench bench(kNew);
  std::vector<double> widths(124, 1), gaps(124, 2);
  int source = 1;
  bench.Do("answer MODULATION 0; answer MODULATION 0 2 3 0 123 1 8 9");
  EXPECT_EQ(bench.device.HW_SetModulationPulse(2, source, widths.data(), gaps.data(), 124, false), 0);
  const std::string log = bench.TakeLog();
  EXPECT_TRUE(log.starts_with("MODULATION 4.0 [2, 2, 0, 0, 123, 1, 2, ")) << log;
  EXPECT_TRUE(log.ends_with(" | MODULATION 4.0 [2, 2, 0, 123, 1, 1, 2]")) << log;
  EXPECT_EQ(widths[123], 8);
  EXPECT_EQ(gaps[123], 9);
  EXPECT_EQ(source, 0);
}

TEST(Settings, ReferenceAndPhase) {
  RunSettings({
      {"pair", kNew, -1,
       "SetExtRefGenState 1; GetExtRefGenState; SetExtRefGenFrequency 1; SetExtRefGenFrequency "
       "5e9;GetExtRefGenFrequency; GetExtRefGenState",
       "EXT_REF_GEN 4.0 [1, 10000000] | EXT_REF_GEN 4.0 [1, 1] | EXT_REF_GEN 4.0 [1, 705032704]", "1 705032704 1"},
      {"corrected pair", kNew, -1,
       "answer EXT_REF_GEN 1 1 20; =SetExtRefGenFrequency 7; GetExtRefGenFrequency; GetExtRefGenState",
       "EXT_REF_GEN 4.0 [0, 7]", "0 20 1"},
      {"refused pair stays", kNew, -1,
       "answer EXT_REF_GEN 0x8003 1 20; =SetExtRefGenFrequency 7; answer EXT_REF_GEN 0x8003 1 20;=SetExtRefGenState 1; "
       "bare EXT_REF_GEN 0; =SetExtRefGenState 1; GetExtRefGenFrequency; GetExtRefGenState",
       "EXT_REF_GEN 4.0 [0, 7] | RESET | EXT_REF_GEN 4.0 [1, 10000000] | RESET | EXT_REF_GEN 4.0 [1, 10000000]",
       "-32765 -32765 -32763 10000000 0"},
      {"phase", kNew, -1,
       "=SetPhaseAdjust 90.25; answer PHASE 0x8003 7; =SetPhaseAdjust -90.25; GetPhaseAdjust;answer PHASE 1 7; "
       "=SetPhaseAdjust 8; GetPhaseAdjust",
       "PHASE 4.2 [90.25] | PHASE 4.2 [-90.25] | RESET | PHASE 4.2 [8]", "0 -32765 -90.25 0 7"},
  });
  SettingsBench bench(kNew);
  bool external = true;
  EXPECT_EQ(bench.device.set_ext_ref_gen_state(&external), 0);
  EXPECT_FALSE(external);
  bench.Do("answer EXT_REF_GEN 1 0");
  EXPECT_EQ(bench.device.set_ext_ref_gen_state(&external), 1);
  EXPECT_TRUE(external);
}

}  // namespace
}  // namespace test
