// Frequency and power: which packets a setting sends, which it only stores, and what the model holds afterwards.
#include <gtest/gtest.h>

#include "tests/unit/src/SettingsBench.h"

namespace test {
namespace {

using enum Firmware;

#define ONE_TO_TWO "F.start 1e9; F.stop 2e9;"
#define SWEEP_ONE_TO_TWO ONE_TO_TWO "SetFreqMode 2; forget;"
#define SEVEN ONE_TO_TWO "F.points 7; SetFreqMode 2; F? stop step; F.start 1e9; F? step"
#define FALLING "F.start 2e9; F.stop 1e9; SetFreqMode 2; F? stop step; SetFreqCommon"

TEST(Settings, Frequency) {
  RunSettings({
      {"cw is whole Hz", kNew, -1, "F.cw 1000000000.7; F? cw", "FREQUENCY 6.0 [1000000000]", "1000000000"},
      {"keywords", kNew, -1,
       "SetFrequency 0 0 2; SetFrequency 0 0 1; SetFrequency 0 1 2; F? cw start; SetFrequency 5 4 0; F? span",
       "FREQUENCY 6.0 [10000000] | FREQUENCY 6.0 [20000000000]", "20000000000 0 0"},
      {"range waits for its mode", kNew, -1, ONE_TO_TWO "F? step; SetFreqMode 2; F.cw 5e9; F? cw",
       "FREQUENCY 6.0 [1000000000, 501, 2000000, 2000000000]", "2000000 5000000000"},
      {"seven points, two encoders", kNew, -1, SEVEN,
       "FREQUENCY 6.0 [1000000000, 7, 166666666, 2000000000] | FREQUENCY 6.0 [1000000000, 7, 166666667, 2000000000]",
       "2000000000 166666666 166666666.667"},
      {"seven points, six bytes", kMiddle, -1, SEVEN,
       "FREQUENCY 6.0 [1000000000, 7, 166666666] | FREQUENCY 6.0 [1000000000, 7, 166666666, 1999999996]",
       "1999999996 166666666 166666666"},
      {"seven points, four bytes", kOld, -1, SEVEN,
       "FREQUENCY 4.0 [1000000000, 7, 166666666] | FREQUENCY 6.0 [1000000000, 7, 166666666, 1999999996]",
       "1999999996 166666666 166666666"},
      {"one point", kNew, -1, SWEEP_ONE_TO_TWO "F.points 1; F? step; SetFreqMode 2; F? step",
       "FREQUENCY 6.0 [1000000000] | FREQUENCY 6.0 [1000000000, 1, 0, 2000000000]", "inf 0"},
      {"one point over the full range is two", kNew, -1, "F.points 1; SetFreqMode 2; F? points",
       "FREQUENCY 6.0 [10000000, 2, 19990000000, 20000000000]", "1"},
      {"step of zero", kNew, -1, SWEEP_ONE_TO_TWO "F.step 0; F? points; SetFreqMode 2",
       "FREQUENCY 6.0 [1000000000] | FREQUENCY 6.0 [1000000000, 1, 0, 2000000000]", "0"},
      {"step rounds the points, cw recomputes it", kNew, -1, ONE_TO_TWO "F.step 3e8; F? points step; F.cw 1e9; F? step",
       "FREQUENCY 6.0 [1000000000]", "4 300000000 333333333.333"},
      {"falling", kNew, -1, FALLING,
       "FREQUENCY 6.0 [2000000000, 501, 2.81474974711e+14, 1000000000] | FREQUENCY 6.0 [2000000000, 1, 0, 1000000000]",
       "1000000000 2.81474974711e+14"},
      {"falling, six bytes", kMiddle, -1, FALLING,
       "FREQUENCY 6.0 [2000000000, 501, 2.81474974711e+14] | FREQUENCY 6.0 [2000000000, 2, 18000000000]",
       "1.40737489355e+17 2.81474974711e+14"},
      {"falling, four bytes", kOld, -1, FALLING,
       "FREQUENCY 4.0 [2000000000, 501, 4292967296] | FREQUENCY 4.0 [2000000000, 5, 205032704]",
       "2.148483648e+12 4292967296"},
      {"centre cuts both sides", kNew, -1,
       ONE_TO_TWO "F.center 5e8; F? start stop span center; F.center 19.8e9; F? start stop center", "",
       "10000000 990000000 980000000 500000000 19600000000 20000000000 19800000000"},
      {"span cuts both sides", kNew, -1, ONE_TO_TWO "F.span 4e9; F? start stop span center; F.span 2e10; F? start stop",
       "", "10000000 2990000000 2980000000 1500000000 10000000 2990000000"},
      {"centre of zero", kNew, -1, "SetFreqMode 2; forget; F.center 0; F? start stop step",
       "FREQUENCY 6.0 [10000000, 501, 2.81474976671e+14, 2.81474966711e+14]", "10000000 -10000000 -40000"},
      {"spacing sends the old one", kNew, -1, SWEEP_ONE_TO_TWO "SetFreqSpacing 1; GetFreqSpacing",
       "FREQUENCY 6.0 [1000000000, 501, 2000000, 2000000000]", "1"},
      {"spacing in fixed mode, refused", kNew, -1,
       "answer FREQUENCY 0x8003; =SetFreqSpacing 1; GetFreqSpacing; forget; answer FREQUENCY 2; =SetFreqSpacing 1;"
       "GetFreqSpacing; answer FREQUENCY 2; =SetFreqMode 1",
       "FREQUENCY 6.0 [10005000000] | FREQUENCY 6.0 [10005000000]", "-32765 0 2 1 0"},
      {"logarithmic sweep is a list", kNew, -1,
       "F.start 1e9; F.stop 16e9; F.points 5; SetFreqMode 2; SetFreqSpacing 1; forget; F.start "
       "1e9;GetFreqListPointsCnt 3",
       "FREQUENCY_LIST2 6.0 [0, 5, 1000000000, 1741101127, 3031433133, 5278031643, 16000000000]", "5"},
      {"logarithmic from zero, one point", kNew, -1,
       "SetFreqMode 2; F.start 0; F.points 3; SetFreqSpacing 1; forget; SetFreqCommon; F.points 1;GetFreqListPointsCnt "
       "3",
       "FREQUENCY_LIST2 6.0 [0, 3, 10000000, 125992105, 20000000000]", "0"},
      {"corrected range is taken", kNew, -1,
       SWEEP_ONE_TO_TWO
       "answer FREQUENCY 1 1.1e9 11 5e7 9e9; F.start 1e9; F? start points step stop;answer FREQUENCY 1 1e9 3 5e8; "
       "F.start 1.1e9; F? stop; answer FREQUENCY 2 7 7 7 7; =SetFrequency 3e9 2 3; F? start stop",
       "FREQUENCY 6.0 [1000000000, 501, 2000000, 2000000000] | FREQUENCY 6.0 [1100000000, 11, 50000000, 1600000000] | "
       "FREQUENCY 6.0 [1000000000, 3, 1000000000, 3000000000]",
       "1100000000 11 50000000 1600000000 2000000000 0 1000000000 3000000000"},
      {"refused range is no error, corrected cw is not taken", kNew, -1,
       "answer FREQUENCY 1 4e9; F.cw 3e9; bare FREQUENCY 0; =SetFrequency 3e9 0 3;" SWEEP_ONE_TO_TWO
       "answer FREQUENCY 0x8003 7 7 7 7; =SetFrequency 3e9 2 3; F? stop cw",
       "FREQUENCY 6.0 [1000000000, 501, 4000000, 3000000000] | RESET", "0 0 3000000000 3000000000"},
      {"refused mode is kept and told", kNew, -1,
       "answer FREQUENCY 0x8003 7 7 7 7; =SetFreqMode 2; GetFreqMode; F? start stop; answer FREQUENCY 2 2e7 3 5e6 "
       "3e7;=SetFreqMode 2; F? start stop step points",
       "FREQUENCY 6.0 [10000000, 1, 0, 20000000000] | RESET | FREQUENCY 6.0 [10000000, 1, 0, 20000000000]",
       "-32765 2 10000000 20000000000 0 20000000 30000000 5000000 501"},
      {"reply beyond 64 bits wraps", kMiddle, -1,
       "answer FREQUENCY 0 1e9 140737488355328 140737488355328; =SetFreqMode 2; F? stop",
       "FREQUENCY 6.0 [10000000, 1, 0]", "0 -1.40736488355e+14"},
      {"a step keeps its sign, a start its fraction", kNew, -1,
       "F.step -1e300; SetFreqMode 2; F? step; F.start 10000000.9; F.stop 10000002; F.step 0.5; forget; SetFreqMode 2",
       "FREQUENCY 6.0 [10000000, 3, 1, 10000002]", "0"},
      {"continuous first, then a sweep", kNew, -1, ":INIT:CONT ON; :FREQ:MODE SWE",
       "FREQUENCY 6.0 [10000000, 1, 0, 20000000000] | RUN 0", ""},
      {"logarithmic sweep beyond all measure", kNew, -1,
       ":FREQ:MODE SWE; :SWE:SPAC LOG; F.start 0; forget; :SWE:STEP 1; :LIST:FREQ:POIN?; :SWE:POIN?; lost; "
       "F.points 16777216; GetFreqListPointsCnt 3",
       "", "-310 0 2820130817 16777216"},
      {"points refused by the frequency never reach the power", kNew, -1,
       ":FREQ:MODE SWE; :SWE:SPAC LOG; forget; answer FREQUENCY_LIST2 0xFF22; :SWE:POIN 2",
       "FREQUENCY_LIST2 6.0 [0, 2, 10000000, 20000000000] | RESET", "-222"},
      {"short replies", kNew, -1,
       "bare FREQUENCY 0; =SetFreqMode 2; bare FREQUENCY 1; =SetFrequency 1e9 1 3; F? start points",
       "FREQUENCY 6.0 [10000000, 1, 0, 20000000000] | FREQUENCY 6.0 [1000000000, 501, 38000000, 20000000000]",
       "-32763 0 1000000000 501"},
      {"no number is out of range", kNew, -1,
       ":FREQ NAN; :FREQ:SPAN NAN; :POW NAN; :SWE:POIN NAN; :LIST:DWEL NAN; :PULM:INT:PER NAN", "",
       "-222 -222 -222 -222 -222 -222"},
      {"no number, no room", kNew, -1,
       "F.cw nan; SetFreqMode 2; forget; F.points nan; F.step 1e300; F.stop -1e300; F? cw points",
       "FREQUENCY 6.0 [10000000] | FREQUENCY 6.0 [10000000] | FREQUENCY 6.0 [10000000]", "-9.22337203685e+18 1"},
  });
}

TEST(Settings, LimitsAnswerTheKeywords) {
  struct Row {
    const char* type;
    const char* frequency;
    const char* power;
  };
  SettingsBench bench(kNew);
  for (const Row& row : {
           Row{"0", "10000000 20000000000 10000000", "-100 18 -100"},
           Row{"1", "10000000 20000000000 10000000", "-100 18 -100"},
           Row{"2", "10000000 20000000000 20000000000", "-100 18 18"},
           Row{"3", "10000000 20000000000 10005000000", "-100 18 -41"},
           Row{"4", "0 19990000000 19990000000", "0 118 118"},
           Row{"5", "1 100001 501", "1 100001 501"},
           Row{"6", "199898.00102 19990000000 39900199.6008", "0.00117998820012 118 0.235528942116"},
       }) {
    SCOPED_TRACE(row.type);
    const auto keywords = [&](const std::string& getter) {
      const std::string call = getter + row.type;
      return bench.Do(call + " 0;" + call + " 1;" + call + " 2");
    };
    EXPECT_EQ(keywords("GetFrequency "), row.frequency);
    EXPECT_EQ(keywords("GetPower "), row.power);
  }
  EXPECT_EQ(bench.TakeLog(), "");
}

#define CW_AND_OUTPUT "P.cw -10.5; P? cw; SetOutputEnabled 1"
#define POWER_SWEEP "P.start -20; P.stop 10; forget; SetPwrMode 2; P? start stop;"
#define SWEEP_PACKET "RF_OUT2 6.2 [0, 0, 0, 0, -20, 501, 0.0599975585938"

TEST(Settings, Power) {
  RunSettings({
      {"cw, generation 4", kNew, 4, CW_AND_OUTPUT, "RF_OUT2 4.2 [0, 0, 0, 0, -10.5] | RF_OUT2 4.2 [1, 0, 0, 0, -10.5]",
       "-10.5"},
      {"cw, generation 5", kNew, 5, CW_AND_OUTPUT, "RF_OUT2 6.2 [0, 0, 0, 0, -10.5] | RF_OUT2 6.2 [1, 0, 0, 0, -10]",
       "-10"},
      {"sweep, generation 0: the stop is rounded all the same", kOld, 0,
       "P.start -20; P.stop 10.001; forget; SetPwrMode 2; P? stop", "", "10.01"},
      {"the stop is rounded though the send failed", kMiddle, -1,
       "P.start -20; P.stop 10.001; forget; lost; =SetPwrMode 2; P? stop", "", "20506 10.01"},
      {"warnings of a mode and of a sweep", kMiddle, -1,
       "answer RF_OUT2 2; =SetPwrMode 1; SetPwrMode 2; answer RF_OUT2 2; =SetAtten 0; forget", "", "0 0"},
      {"keywords count for nothing", kMiddle, -1, "SetPower 0 0 0; P? cw", "RF_OUT2 4.2 [0, 0, 0, 0, 0]", "0"},
      {"start in fixed mode resends the cw power", kNew, -1, "P.start -20; P? start stop",
       "RF_OUT2 6.2 [0, 0, 0, 0, -100]", "-20 10"},
      {"off always sends the cw packet", kNew, -1, POWER_SWEEP "forget; SetOutputEnabled 0; SetOutputEnabled 1",
       "RF_OUT2 6.2 [0, 0, 0, 0, -100] | RF_OUT2 6.2 [1, 0, 0, 0, -20, 501, 0.0599975585938, 10]", "-20 10"},
      {"stop is rounded up to 0.01 dB", kNew, 3,
       POWER_SWEEP "answer RF_OUT2 1 0 0 0 0 0 4 1.1111; P.start 0; P? start stop; F? points",
       SWEEP_PACKET "] | RF_OUT2 6.2 [0, 0, 0, 0, 0, 501, 0.0200042724609]", "-20 10 0 3.34 4"},
      {"one point: no step, stop is start", kMiddle, -1, POWER_SWEEP "forget; F.points 1; P.points 1; P? start stop",
       "RF_OUT2 4.2 [0, 0, 0, 0, -20, 1, 0]", "-20 10 -20 -20"},
      {"centre, span, falling", kNew, -1,
       POWER_SWEEP "P.center 0; P.span 10; P? start stop center span; forget; P.span -10; P? start stop",
       "RF_OUT2 6.2 [0, 0, 0, 0, 5, 501, -0.0200042724609, -5]", "-20 10 -5 5 0 10 5 -5"},
      {"refusals: cw swallowed, sweep told, replies taken", kMiddle, -1,
       "answer RF_OUT2 0x8003 0 0 0 0 -3; =SetPower 5 0 3; answer RF_OUT2 0x8003 0 0 0 0 -4; =SetPower 5 1 3;bare "
       "RF_OUT2 0; =SetAttStrategy 3; P? cw start",
       "RF_OUT2 4.2 [0, 0, 0, 0, 5] | RESET | RF_OUT2 4.2 [0, 0, 0, 0, -3] | RESET | RF_OUT2 4.2 [0, 3, 0, 0, -4]",
       "0 -32765 -32763 -4 5"},
      {"whole dBm toward zero", kNew, -1,
       "answer RF_OUT2 1 0 0 0 0 -4.75; P.cw -5; P? cw; answer RF_OUT2 1 0 0 0 0 4.75; P.cw 5; P? cw",
       "RF_OUT2 6.2 [0, 0, 0, 0, -5] | RF_OUT2 6.2 [0, 0, 0, 0, 5]", "-4 4"},
      {"attenuator, unfolded", kNew, -1,
       "SetAttStrategy 2; answer RF_OUT2 1 0 4 20 0 -100; =SetAtten 30; GetAttStrategy; GetAtten",
       "RF_OUT2 6.2 [0, 2, 0, 0, -100] | RF_OUT2 6.2 [0, 2, 30, 0, -100]", "1 4 20"},
      {"output that is refused stays on", kMiddle, -1, "answer RF_OUT2 0x8003; =SetOutputEnabled 1; GetOutputEnabled",
       "RF_OUT2 4.2 [1, 0, 0, 0, -100] | RESET", "-32765 1"},
      {"lost link", kMiddle, -1,
       "lost; =SetFrequency 1e9 0 3; =SetOutputEnabled 1; =SetFreqMode 2; =SetFrequency 1e9 1 3; =SetPhaseAdjust 1", "",
       "20506 20506 20506 20506 20506"},
      {"lost link, silent in six bytes", kNew, -1, "lost; =SetFreqMode 2; =SetOutputEnabled 1; =SetAtten 1", "",
       "20506 0 226"},
  });
}

TEST(Settings, PowerUnitTouchesOnlyWhatIsPrinted) {
  SettingsBench bench(kMiddle);
  EXPECT_EQ(bench.Do("SetUnit 1; P.cw 0; P? cw"), "0");
  const CDevice& device = bench.device;
  EXPECT_DOUBLE_EQ(device.ConvertPower(0, -1, false), 0.001);
  EXPECT_DOUBLE_EQ(device.ConvertPower(-300, -1, false), 1e-33);
  EXPECT_DOUBLE_EQ(device.ConvertPower(5, 1, false), 5);
  EXPECT_DOUBLE_EQ(device.ConvertPower(1, -1, true), 30);
  EXPECT_DOUBLE_EQ(device.ConvertPower(1, 1, true), 30);
  EXPECT_DOUBLE_EQ(device.ConvertPower(7, 0, true), 7);
}

TEST(Settings, OutputThatIsOffClearsTheBitOfActiveRf) {
  SettingsBench bench(kMiddle);
  bench.device.StatusRegisters().SetRegBit(0, 7, true);
  bench.Do("SetOutputEnabled 1; answer RF_OUT2 0 1 0 0 0 0; SetOutputEnabled 0");
  EXPECT_EQ(bench.device.StatusRegisters().standard_event, 0x80);
  bench.Do("answer RF_OUT2 0 0 0 0 0 0; SetOutputEnabled 1");
  EXPECT_EQ(bench.device.StatusRegisters().standard_event, 0);
}

TEST(Settings, AbortClearsTheLink) {
  SettingsBench bench(kNew);
  bench.Do("sweep; :ABOR");
  EXPECT_EQ(bench.TakeLog(), "CANCEL");
  EXPECT_TRUE(bench.provider.Trace().ends_with(" C"));
}

}  // namespace
}  // namespace test
