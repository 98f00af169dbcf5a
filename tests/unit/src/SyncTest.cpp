// Trigger input, auxiliary output, synchronisation generator, external leveling: what goes out, and what the codes of
// the reply make of the model.
#include <gtest/gtest.h>

#include "tests/unit/src/SettingsBench.h"

namespace test {
namespace {

using enum Firmware;

#define ASK_IN "GET SYNC_IN | "
#define ASK_OUT "GET SYNC_OUT | "
// What the bench's instrument holds in the channel that is not written.
#define KEPT_0 "11, 1, 13, 14, 15"
#define KEPT_1 "16, 1, 18, 19, 20"
#define MANUAL "SetTrigSource 1; SetSingleStepEnabled 0; SetListMode 1; forget;"

TEST(Settings, TriggerInput) {
  RunSettings({
      {"external", kMiddle, -1, "=SetTrigSource 1; GetTrigSource", "SYNC_IN 1.0 [1, 0, 0, 0, 2]", "0 1"},
      {"external, two channels", kNew, -1, "SetTrigSource 1; GetTrigSource",
       ASK_IN "SYNC_IN 1.0 [1, 0, 0, 0, 2, " KEPT_1 "]", "1"},
      {"bus sends nothing of itself and stays", kMiddle, -1, "SetTrigSource 2; GetTrigSource",
       "SYNC_IN 1.0 [0, 0, 0, 0, 2]", "2"},
      {"the reply decides", kMiddle, -1,
       "answer SYNC_IN 0 0 0 0 0 2; SetTrigSource 1; GetTrigSource; answer SYNC_IN 1 3 1 0 0 2; SetTrigSource "
       "0;GetTrigSource; GetSingleStepEnabled; GetSyncSourceDetection; SetTrigSource 1; answer SYNC_IN 0 4 0 0 0 "
       "2;SetTrigSource 0; GetTrigSource",
       "SYNC_IN 1.0 [1, 0, 0, 0, 2] | SYNC_IN 1.0 [0, 0, 0, 0, 2] | SYNC_IN 1.0 [1, 1, 0, 0, 2] | SYNC_IN 1.0 [0, 1, "
       "0, 0, 2]",
       "0 1 1 1 2"},
      {"a code above 4 is refused", kMiddle, -1,
       "answer SYNC_IN 0 5 1 0 0 2; =SetTrigSource 1; GetTrigSource; GetSyncSourceDetection",
       "SYNC_IN 1.0 [1, 0, 0, 0, 2]", "-1 1 0"},
      {"a source that there is not", kMiddle, -1, "=SetTrigSource 3; =SetTrigSource -1", "", "-1 -1"},
      {"refused, short, lost", kNew, -1,
       "answer SYNC_IN 0x8003; =SetTrigSource 1; bare SYNC_IN 0; =SetTrigSource 0; bare GET_SYNC_IN 0;lost; "
       "=SetTrigSource 2; GetTrigSource",
       ASK_IN "SYNC_IN 1.0 [1, 0, 0, 0, 2, " KEPT_1 "] | RESET | " ASK_IN "SYNC_IN 1.0 [0, 0, 0, 0, 2, " KEPT_1 "]",
       "-32765 -32763 20506 2"},
      {"manual toggles", kMiddle, -1,
       MANUAL "SetTrigSource 1; GetSingleStepEnabled; SetTrigSource 2; GetSingleStepEnabled; SetTrigSource 1; "
              "GetSingleStepEnabled;SetTrigSource 1; GetSingleStepEnabled",
       "SYNC_IN 1.0 [2, 0, 0, 0, 2] | SYNC_IN 1.0 [0, 0, 0, 0, 2] | SYNC_IN 1.0 [2, 0, 0, 0, 2] | SYNC_IN 1.0 [1, 0, "
       "0, 0, 2]",
       "1 0 1 0"},
      {"code 1 clears the flag", kMiddle, -1,
       "SetTrigSource 1; SetListMode 1; forget; answer SYNC_IN 0 1 0 0 0 2; =SetSingleStepEnabled 1; "
       "GetSingleStepEnabled",
       "SYNC_IN 1.0 [2, 0, 0, 0, 2]", "0 0"},
      {"failed source in manual mode", kMiddle, -1,
       MANUAL "answer SYNC_IN 0x8003; =SetTrigSource 1; GetSingleStepEnabled; =SetTrigSource 1; GetSingleStepEnabled",
       "SYNC_IN 1.0 [2, 0, 0, 0, 2] | RESET | SYNC_IN 1.0 [1, 0, 0, 0, 2]", "-32765 1 0 0"},
      {"immediate leaves the flag", kMiddle, -1,
       MANUAL "SetTrigSource 1; forget; SetTrigSource 0; GetSingleStepEnabled", "SYNC_IN 1.0 [0, 0, 0, 0, 2]", "1"},
      {"list mode by message", kMiddle, -1,
       ":LIST:MODE MAN; :LIST:MODE?; :TRIG:SOUR IMM; GetSingleStepEnabled; :LIST:MODE?; :LIST:MODE MAN;"
       "GetSingleStepEnabled; forget",
       "", "MANual 1 AUTO 0"},
      {"step form comes from the reply", kMiddle, -1,
       MANUAL "answer SYNC_IN 0 3 0 0 0 2; SetTrigSource 1; =SetListMode 1; =SetSingleStepEnabled 0; "
              "=SetSyncSourceDetection 1",
       "SYNC_IN 1.0 [2, 0, 0, 0, 2] | SYNC_IN 1.0 [3, 0, 0, 0, 2] | SYNC_IN 1.0 [1, 0, 0, 0, 2] | SYNC_IN 1.0 [1, 1, "
       "0, 0, 2]",
       "0 0 0"},
      {"continuous", kMiddle, -1,
       "=SetInitContinuous 1; SetFreqMode 2; forget; =SetInitContinuous 0; SetSingleStepEnabled 1; "
       "forget;=SetInitContinuous 1; GetSingleStepEnabled",
       "", "0 0 0 1"},
  });
}

TEST(Settings, AnInputCodeBelowZeroIsRefused) {
  SettingsBench bench(kMiddle);
  bench.provider.QueueRead(FromHex("AA 55 03 00 00 00 0C 00 05 21 00 00 00 00 00 00"));
  bench.provider.QueueRead(FromHex("07 00 00 FF 00 01 00 00 00 00 00 02"));
  EXPECT_EQ(bench.Do("=SetTrigSource 1; GetTrigSource; GetSyncSourceDetection"), "-1 1 0");
}

TEST(Settings, AuxiliaryOutput) {
  RunSettings({
      {"pulse, disabled", kMiddle, -1, "=SetSyncInterval 3; GetSyncInterval; GetSyncOutputEnabled",
       "SYNC_OUT 1.0 [0, 0, 1, 0, 0]", "0 3 0"},
      {"pulse, disabled, two channels", kNew, -1, "SetSyncInterval 3; GetSyncInterval",
       ASK_OUT "SYNC_OUT 1.0 [0, 0, 1, 0, 0, " KEPT_1 "] | " ASK_IN "SYNC_IN 1.0 [" KEPT_0 ", 0, 0, 1, 1, 0] | " ASK_OUT
               "SYNC_OUT 1.0 [" KEPT_0 ", 0, 1, 1, 1, 0]",
       "3"},
      {"pulse, enabled, agreed", kNew, -1, "SetSyncOutputEnabled 1; forget; SetSyncInterval 3; GetSyncOutputEnabled",
       ASK_OUT "SYNC_OUT 1.0 [5, 0, 1, 0, 0, " KEPT_1 "]", "1"},
      {"pulse, enabled, answered 0", kNew, -1,
       "SetSyncOutputEnabled 1; forget; answer SYNC_OUT 1 0 0 9 0 0 0 0 0 0 0; =SetSyncInterval 3; "
       "GetSyncInterval;GetSyncOutputEnabled; GetSyncOutputDuration",
       ASK_OUT "SYNC_OUT 1.0 [5, 0, 1, 0, 0, " KEPT_1 "] | " ASK_IN "SYNC_IN 1.0 [" KEPT_0 ", 0, 0, 1, 1, 0] | " ASK_OUT
               "SYNC_OUT 1.0 [" KEPT_0 ", 0, 1, 1, 1, 0]",
       "0 3 0 9e-06"},
      {"pulse answered for something else", kNew, -1,
       "SetSyncOutputEnabled 1; forget; answer SYNC_OUT 0 5 1 2 0 0 0 0 0 0 0; answer SYNC_IN 0 0 0 0 0 0 4 1 0 0 0; "
       "answer "
       "SYNC_OUT 0 0 0 0 0 0 7 0 3 0 0; SetSyncInterval 1; GetSyncInterval; GetSyncOpolarity; GetSyncOutputDuration; "
       "GetSyncOutputEnabled",
       ASK_OUT "SYNC_OUT 1.0 [1, 0, 1, 0, 0, " KEPT_1 "] | " ASK_IN "SYNC_IN 1.0 [" KEPT_0 ", 5, 0, 1, 1, 0] | " ASK_OUT
               "SYNC_OUT 1.0 [" KEPT_0 ", 5, 1, 1, 1, 0]",
       "2 1 2e-06 1"},
      {"second channel refused", kNew, -1,
       "SetSyncOutputEnabled 1; forget; answer SYNC_OUT 0 0 1 2 0 0 0 0 0 0 0; answer SYNC_IN 0 0 0 0 0 0 4 1 0 0 0; "
       "answer "
       "SYNC_OUT 0x8003; =SetSyncInterval 1; GetSyncInterval; GetSyncOpolarity; GetSyncOutputDuration; "
       "GetSyncOutputEnabled",
       ASK_OUT "SYNC_OUT 1.0 [1, 0, 1, 0, 0, " KEPT_1 "] | " ASK_IN "SYNC_IN 1.0 [" KEPT_0 ", 0, 0, 1, 1, 0] | " ASK_OUT
               "SYNC_OUT 1.0 [" KEPT_0 ", 0, 1, 1, 1, 0] | RESET",
       "-32765 1 0 1e-06 1"},
      {"on", kMiddle, -1, "=SetSyncOutputEnabled 1; GetSyncInterval", "SYNC_OUT 1.0 [1, 0, 1, 0, 0]", "0 1"},
      {"disagreement switches off, older firmware has one channel", kMiddle, -1,
       "answer SYNC_OUT 0 0 0 1 0 0; SetSyncOutputEnabled 1; GetSyncOutputEnabled; GetSyncInterval",
       "SYNC_OUT 1.0 [1, 0, 1, 0, 0]", "0 1"},
      {"unknown rows and codes", kMiddle, -1,
       "SetSyncInterval 9; SetSyncInterval -1; GetSyncInterval; SetSyncOutputEnabled 1; forget;answer SYNC_OUT 0 6 0 1 "
       "0 0; SetSyncInterval 5; GetSyncInterval",
       "SYNC_OUT 1.0 [4, 0, 1, 0, 0]", "1 0"},
      {"duration is a byte", kMiddle, -1,
       "SetSyncOutputDuration 300e-6; GetSyncOutputDuration; SetSyncOutputDuration 1; "
       "GetSyncOutputDuration;SetSyncOutputDuration 5e-6; GetSyncOutputDuration; SetSyncOutputDuration nan",
       "SYNC_OUT 1.0 [0, 0, 44, 0, 0] | SYNC_OUT 1.0 [0, 0, 64, 0, 0] | SYNC_OUT 1.0 [0, 0, 5, 0, 0] | SYNC_OUT 1.0 "
       "[0, 0, 0, 0, 0]",
       "4.4e-05 6.4e-05 5e-06"},
      {"polarity, refused", kMiddle, -1,
       "answer SYNC_OUT 0x8003 0 0 9 0 0; =SetSyncOpolarity 1; GetSyncOpolarity; GetSyncOutputDuration",
       "SYNC_OUT 1.0 [0, 1, 1, 0, 0] | RESET", "-32765 1 1e-06"},
      {"generator answers one value", kNew, -1,
       "answer GEN_SYNC 0 7; =SetSyncGenPeriod 1e-6; answer GEN_SYNC 1 7; =SetSyncGenPeriod 1e-6; GetSyncGenWidth; "
       "GetSyncGenPeriod",
       "GEN_SYNC 4.0 [50, 950, 0] | GEN_SYNC 4.0 [50, 950, 0]", "-32763 0 5e-08 1e-06"},
      {"generator", kMiddle, -1,
       "=SetSyncGenPeriod 1e-6; GetSyncGenPeriod; SetSyncGenPeriod 0; GetSyncGenPeriod; SetSyncGenWidth "
       "2e-6;GetSyncGenPeriod; answer GEN_SYNC 0x8003; =SetSyncGenPeriod 5; GetSyncGenPeriod; SetSyncGenPeriod "
       "5;GetSyncGenPeriod",
       "GEN_SYNC 4.0 [50, 950, 0] | GEN_SYNC 4.0 [50, 0, 0] | GEN_SYNC 4.0 [2000, 0, 0] | GEN_SYNC 4.0 [2000, "
       "705030704, 0] | RESET | GEN_SYNC 4.0 [2000, 705030704, 0]",
       "0 1e-06 5e-08 2e-06 -32765 5 0.705032704"},
  });
}

TEST(Settings, ExternalLeveling) {
  RunSettings({
      {"on, off", kMiddle, -1, "=SetPowControl 1; GetTrigSource; GetPowControl; =SetPowControl 0; GetTrigSource",
       "SYNC_IN 1.0 [4, 0, 1, 0, 3] | SYNC_OUT 1.0 [1, 0, 1, 1, 0] | SYNC_IN 1.0 [0, 0, 0, 0, 2] | SYNC_OUT 1.0 [0, 0, "
       "1, 0, 0]",
       "0 2 1 0 0"},
      {"two channels", kNew, -1, "SetPowControl 1; GetSyncInterval",
       ASK_IN "SYNC_IN 1.0 [4, 0, 1, 0, 3, " KEPT_1 "] | " ASK_OUT "SYNC_OUT 1.0 [1, 0, 1, 1, 0, " KEPT_1 "] | " ASK_IN
              "SYNC_IN 1.0 [" KEPT_0 ", 0, 0, 1, 1, 0] | " ASK_OUT "SYNC_OUT 1.0 [" KEPT_0 ", 0, 1, 1, 1, 0]",
       "1"},
      {"a warning at the input does not stop external leveling", kNew, -1,
       "answer SYNC_IN 1 4 0 1 0 3 0 0 0 0 0; =SetPowControl 1",
       ASK_IN "SYNC_IN 1.0 [4, 0, 1, 0, 3, " KEPT_1 "] | " ASK_OUT "SYNC_OUT 1.0 [1, 0, 1, 1, 0, " KEPT_1 "] | " ASK_IN
              "SYNC_IN 1.0 [" KEPT_0 ", 0, 0, 1, 1, 0] | " ASK_OUT "SYNC_OUT 1.0 [" KEPT_0 ", 0, 1, 1, 1, 0]",
       "0"},
      {"external source under leveling", kMiddle, -1, "SetPowControl 1; forget; SetTrigSource 1; SetTrigSource 0",
       "SYNC_IN 1.0 [1, 0, 1, 0, 3] | SYNC_IN 1.0 [0, 0, 1, 0, 3]", ""},
      {"refused at the input, at the output", kMiddle, -1,
       "answer SYNC_IN 0x8003; =SetPowControl 1; GetPowControl; GetTrigSource;answer SYNC_OUT 0x8003; =SetPowControl "
       "2; GetTrigSource",
       "SYNC_IN 1.0 [4, 0, 1, 0, 3] | RESET | SYNC_IN 1.0 [0, 0, 0, 0, 2] | SYNC_OUT 1.0 [0, 0, 1, 0, 0] | RESET",
       "-32765 1 2 -32765 0"},
  });
}

TEST(Settings, AShortAnswerToTheQuestionEndsATenValueSender) {
  SettingsBench bench(kNew);
  int code = 1, duration = 2, leveling = 0, reserved = 0;
  bool polarity = true;
  bench.Do("answer GET_SYNC_OUT 0 1 2 3");
  EXPECT_EQ(bench.device.HW_set_sync_out10p(&code, &polarity, &duration, &leveling, &reserved, 1), -32763);
  bench.Do("bare GET_SYNC_OUT 2");
  EXPECT_EQ(bench.device.HW_set_sync_out10p(&code, &polarity, &duration, &leveling, &reserved, 1), 2);
  EXPECT_EQ(bench.TakeLog(), ASK_OUT "GET SYNC_OUT");
  EXPECT_EQ(code, 1);
}

}  // namespace
}  // namespace test
