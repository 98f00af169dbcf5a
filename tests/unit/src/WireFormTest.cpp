// Every packet form once, to the byte, put together by hand: head (signature, command, status 0x8000, body length,
// count, format, zeros), then the parameter's number and its values, low bytes first.
#include <gtest/gtest.h>
#include <vector>

#include "tests/unit/src/SettingsBench.h"

namespace test {
namespace {

using enum Firmware;

struct Form {
  const char* name;
  Firmware firmware;
  int generation;
  const char* script;
  const char* head;  ///< body length, count, format
  const char* body;
};

#define POWER_SWEEP_OF "P.start -20; P.stop 10; SetPwrMode 2"

TEST(WireForm, ToTheByte) {
  const std::string list_of_166 = [] {
    std::string script = "SetFreqMode 3; SetFreqList";
    for (int i = 0; i < 166; ++i) script += " 1e9";
    return script;
  }();
  for (const Form& form : {
           Form{"mode", kNew, -1, "HW_SetMode 1", "04 00 01 20", "03 00 01 00"},
           Form{"cw", kNew, -1, "F.cw 1000000000.7", "08 00 01 60", "00 00 00 CA 9A 3B 00 00"},
           Form{"sweep, four fields", kNew, -1, "F.start 1e9; F.stop 2e9; SetFreqMode 2", "1A 00 04 60",
                "00 00 00 CA 9A 3B 00 00 F5 01 00 00 00 00 80 84 1E 00 00 00 00 94 35 77 00 00"},
           Form{"sweep, three fields of six", kMiddle, -1, "F.start 1e9; F.stop 2e9; SetFreqMode 2", "14 00 03 60",
                "00 00 00 CA 9A 3B 00 00 F5 01 00 00 00 00 80 84 1E 00 00 00"},
           Form{"sweep, three fields of four", kOld, -1, "F.start 1e9; F.stop 2e9; SetFreqMode 2", "0E 00 03 40",
                "00 00 00 CA 9A 3B F5 01 00 00 80 84 1E 00"},
           Form{"range, falling step", kNew, -1, "F.start 2e9; SetFreqMode 2; F.stop 1e9", "1A 00 04 60",
                "00 00 00 94 35 77 00 00 F5 01 00 00 00 00 80 7B E1 FF FF FF 00 CA 9A 3B 00 00"},
           Form{"range of one point", kNew, -1, "SetFreqMode 2; F.points 1", "08 00 01 60", "00 00 80 96 98 00 00 00"},
           Form{"power 2.1", kOld, 0, "P.cw -10.5", "06 00 02 21", "0C 00 00 00 80 F5"},
           Form{"power 4.2", kOld, 1, "P.cw -10.5", "0A 00 02 42", "0C 00 00 00 00 00 00 80 F5 FF"},
           Form{"second power 4.2", kMiddle, 2, "SetAttStrategy 2; SetAtten 3; P.cw -10.5", "16 00 05 42",
                "4F 00 00 00 00 00 00 00 02 00 00 00 03 00 00 00 00 00 00 80 F5 FF"},
           Form{"second power 6.2", kNew, 3, "SetAttStrategy 2; SetAtten 3; P.cw -10.5", "20 00 05 62",
                "4F 00 00 00 00 00 00 00 00 00 02 00 00 00 00 00 03 00 00 00 00 00 00 00 00 00 00 80 F5 FF FF FF"},
           Form{"power sweep, four fields", kOld, 1, POWER_SWEEP_OF, "12 00 04 42",
                "0C 00 00 00 00 00 00 00 EC FF 00 00 F5 01 5C 0F 00 00"},
           Form{"power sweep, seven of four", kMiddle, 2, POWER_SWEEP_OF, "1E 00 07 42",
                "4F 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 EC FF 00 00 F5 01 5C 0F 00 00"},
           Form{"power sweep, seven of six", kNew, 3, POWER_SWEEP_OF, "2C 00 07 62",
                "4F 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 EC FF FF FF 00 00 "
                "F5 01 00 00 5C 0F 00 00 00 00"},
           Form{
               "power sweep, eight of four", kNew, 4, POWER_SWEEP_OF, "22 00 08 42",
               "4F 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 EC FF 00 00 F5 01 5C 0F 00 00 00 00 0A 00"},
           Form{"power sweep, eight of six", kNew, 5, POWER_SWEEP_OF, "32 00 08 62",
                "4F 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 EC FF FF FF 00 00 "
                "F5 01 00 00 5C 0F 00 00 00 00 00 00 0A 00 00 00"},
           Form{"dwell", kNew, -1, "SetDwell 0.25", "0A 00 02 40", "05 00 00 00 00 00 80 B2 E6 0E"},
           Form{"frequency list", kNew, -1, list_of_166.c_str(), "14 00 00 60",
                "02 00 A5 00 00 00 00 00 01 00 00 00 00 00 00 CA 9A 3B 00 00"},
           Form{
               "power list", kNew, -1, "SetPwrMode 3; SetPwrList -10 -20", "22 00 04 42",
               "4C 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 02 00 00 00 F6 FF 00 00 EC FF"},
           Form{"pulse", kNew, -1, "SetPulseGeneratorPeriod 2 3; SetModulationEnabled 1", "1E 00 03 40",
                "1F 00 02 00 00 00 03 00 00 00 00 00 00 00 00 00 00 00 01 00 00 00 01 00 00 00 01 00 00 00"},
           Form{"pulse without polarity", kNew, -1,
                "answer MODULATION 2; SetPulseGeneratorPeriod 2 3; SetModulationEnabled 1; SetModulationEnabled 1",
                "1A 00 02 40", "1F 00 02 00 00 00 03 00 00 00 00 00 00 00 01 00 00 00 01 00 00 00 01 00 00 00"},
           Form{"sync in, one channel", kMiddle, -1, "SetTrigSource 1", "08 00 05 10", "07 00 01 00 00 00 02 00"},
           Form{"sync out, one channel", kMiddle, -1, "SetSyncOutputDuration 300e-6", "08 00 05 10",
                "08 00 00 00 2C 00 00 00"},
           Form{"sync in, two channels", kNew, -1, "SetTrigSource 1", "0C 00 0A 10",
                "07 00 01 00 00 00 02 10 01 12 13 14"},
           Form{"sync out, two channels", kNew, -1, "SetSyncOutputEnabled 1", "0C 00 0A 10",
                "08 00 01 00 01 00 00 10 01 12 13 14"},
           Form{"sync generator", kNew, -1, "SetSyncGenPeriod 1e-6", "0E 00 03 40",
                "25 00 32 00 00 00 B6 03 00 00 00 00 00 00"},
           Form{"reference", kNew, -1, "SetExtRefGenState 1", "0A 00 02 40", "11 00 01 00 00 00 80 96 98 00"},
           Form{"phase", kNew, -1, "SetPhaseAdjust 90.25", "06 00 01 42", "5C 00 00 40 5A 00"},
       }) {
    SCOPED_TRACE(form.name);
    SettingsBench bench(form.firmware, form.generation);
    bench.Do(form.script);
    const Bytes last = bench.provider.Requests().back();
    EXPECT_EQ(ToHex(last), std::string("AA 55 03 00 00 80 ") + form.head + " 00 00 00 00 00 00 " + form.body);
  }
}

TEST(WireForm, WithoutACallerOfTheirOwn) {
  SettingsBench bench(kNew);
  bool external = true;
  bench.device.HW_set_ext_ref_gen_state(&external);
  EXPECT_EQ(ToHex(bench.provider.Requests().back()), "AA 55 03 00 00 80 04 00 01 10 00 00 00 00 00 00 11 00 01 00");
  double powers[] = {-10.5, 3};
  EXPECT_EQ(bench.device.set_rf_out_list(powers, 2), 0);
  EXPECT_EQ(ToHex(bench.provider.Requests().back()),
            "AA 55 03 00 00 80 06 00 02 21 00 00 00 00 00 00 1A 00 80 F5 00 03");
  bench.Do("SetTrigSource 1");
  EXPECT_EQ(ToHex(bench.provider.Requests().end()[-2]),
            "AA 55 04 00 00 80 0C 00 0A 10 00 00 00 00 00 00 07 00 00 00 00 00 00 00 00 00 00 00");
}

}  // namespace
}  // namespace test
