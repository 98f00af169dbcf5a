// The model: exact bytes for each form, then whole start-up dialogues and the state after them, in words.
#include <gtest/gtest.h>

#include "simulator/GeneratorModel.h"
#include "simulator/Settings.h"
#include "tests/unit/simulator/Packets.h"

namespace {

sim::GeneratorModel MakeModel(const std::string& keys) {
  const std::string group = keys.empty() ? "" : keys + "::";
  const sim::ParsedResource parsed = sim::ParseResource("SIM0::" + group + "INSTR");
  EXPECT_EQ(parsed.error, "");
  const sim::Settings& settings = parsed.resource.settings;
  sim::GeneratorModel model(settings.profile, settings.model.value_or("MODEL"), settings.serial.value_or("0123456789"),
                            settings.files);
  model.States() = settings.conditions;
  return model;
}

struct ByteCase {
  const char* name;
  const char* keys;
  const char* request;
  const char* reply;
};

TEST(GeneratorModel, AnswersByteByByte) {
  const ByteCase cases[] = {
      {"reset", "", "AA55 0100 0080 0000 0000 0000 0000 0000", "AA55 0100 0000 0000 0000 0000 0000 0000"},
      {"run", "", "AA55 0600 0080 0000 0000 0000 0000 0000", "AA55 0600 0000 0200 0000 0000 0000 0000 0000"},
      {"run unlevelled", "level=0", "AA55 0600 0080 0000 0000 0000 0000 0000",
       "AA55 0600 0000 0200 0000 0000 0000 0000 0600"},
      {"mode", "", "AA55 0300 0080 0400 0120 0000 0000 0000 0300 0100",
       "AA55 0300 0000 0400 0120 0000 0000 0000 0300 0100"},
      {"button", "", "AA55 0400 0080 0400 0120 0000 0000 0000 2200 0000",
       "AA55 0400 0000 0400 0120 0000 0000 0000 2200 0100"},
      {"CW 1 GHz", "", "AA55 0300 0080 0800 0160 0000 0000 0000 0000 00CA 9A3B 0000",
       "AA55 0300 0000 0800 0160 0000 0000 0000 0000 00CA 9A3B 0000"},
      {"range query", "fmin=1e5",
       "AA55 0300 0080 1A00 0460 0000 0000 0000 0000 0000 0000 0000 0200 0000 0000 00E8 7648 1700 00E8 7648 1700",
       "AA55 0300 0100 1A00 0460 0000 0000 0000 0000 A086 0100 0000 0200 0000 0000 00C8 17A8 0400 00C8 17A8 0400"},
      {"range query without a body in the refusal", "fw=middle,body=none",
       "AA55 0300 0080 1A00 0460 0000 0000 0000 0000 0000 0000 0000 0200 0000 0000 00E8 7648 1700 00E8 7648 1700",
       "AA55 0300 0200 0000 0460 0000 0000 0000"},
      {"falling sweep", "",
       "AA55 0300 0080 1A00 0460 0000 0000 0000 0000 0094 3577 0000 F501 0000 0000 807B E1FF FFFF 00CA 9A3B 0000",
       "AA55 0300 0000 1A00 0460 0000 0000 0000 0000 0094 3577 0000 F501 0000 0000 807B E1FF FFFF 00CA 9A3B 0000"},
      {"narrow range", "fw=oldest,fmax=4e9",
       "AA55 0300 0080 0E00 0340 0000 0000 0000 0000 0000 0000 0200 0000 406A 7AEE",
       "AA55 0300 0100 0E00 0340 0000 0000 0000 0000 8096 9800 0200 0000 0028 6BEE"},
      {"power 6.2", "",
       "AA55 0300 0080 2000 0562 0000 0000 0000 4F00 0000 0000 0000 0000 0000 0000 0000 0000 0000 0000 0000 0000 0000 "
       "EBFF FFFF",
       "AA55 0300 0000 2000 0562 0000 0000 0000 4F00 0000 0000 0000 0000 0000 0000 0000 0000 0000 0000 0000 0000 0000 "
       "EBFF FFFF"},
      {"power 2.1", "fw=oldest", "AA55 0300 0080 0600 0221 0000 0000 0000 0C00 0001 80F5",
       "AA55 0300 0000 0600 0221 0000 0000 0000 0C00 0001 80F5"},
      {"power 4.2 rounded to a tenth", "fw=g1", "AA55 0300 0080 0A00 0242 0000 0000 0000 0C00 0000 0100 00C0 EBFF",
       "AA55 0300 0100 0A00 0242 0000 0000 0000 0C00 0000 0100 33B3 EBFF"},
      {"power form of a later firmware", "fw=middle",
       "AA55 0300 0080 2000 0562 0000 0000 0000 4F00 0000 0000 0000 0000 0000 0000 0000 0000 0000 0000 0000 0000 0000 "
       "EBFF FFFF",
       "AA55 0300 0280 2000 0562 0000 0000 0000 4F00 0000 0000 0000 0000 0000 0000 0000 0000 0000 0000 0000 0000 0000 "
       "EBFF FFFF"},
      {"sync in, odd length", "", "AA55 0300 0080 0800 0510 0000 0000 0000 0700 0100 0000 0200",
       "AA55 0300 0000 0800 0510 0000 0000 0000 0700 0100 0000 0200"},
      {"dwell", "", "AA55 0300 0080 0A00 0240 0000 0000 0000 0500 0000 0000 80B2 E60E",
       "AA55 0300 0000 0A00 0240 0000 0000 0000 0500 0000 0000 80B2 E60E"},
      {"phase 90.25", "", "AA55 0300 0080 0600 0142 0000 0000 0000 5C00 0040 5A00",
       "AA55 0300 0000 0600 0142 0000 0000 0000 5C00 0040 5A00"},
      {"phase 400 clamped", "", "AA55 0300 0080 0600 0142 0000 0000 0000 5C00 0000 9001",
       "AA55 0300 0100 0600 0142 0000 0000 0000 5C00 0000 6801"},
      {"one power point", "",
       "AA55 0300 0080 1E00 0442 0000 0000 0000 4C00 0000 0000 0000 0000 0000 0000 0000 0000 0000 0000 0000 0100 0000 "
       "ECFF",
       "AA55 0300 0000 1E00 0442 0000 0000 0000 4C00 0000 0000 0000 0000 0000 0000 0000 0000 0000 0000 0000 0100 0000 "
       "ECFF"},
      {"frequency point clamped", "",
       "AA55 0300 0080 1400 0060 0000 0000 0000 0200 0000 0000 0000 0100 0000 0000 0100 0000 0000",
       "AA55 0300 0100 1400 0060 0000 0000 0000 0200 0000 0000 0000 0100 0000 0000 8096 9800 0000"},
      {"list longer than the packet", "",
       "AA55 0300 0080 1400 0060 0000 0000 0000 0200 0000 0000 0000 0200 0000 0000 00CA 9A3B 0000",
       "AA55 0300 0580 1400 0060 0000 0000 0000 0200 0000 0000 0000 0200 0000 0000 00CA 9A3B 0000"},
      {"file", "",
       "AA55 0400 0080 1A00 0240 0000 0000 0000 0A00 0200 0000 00FA 0000 5C66 7261 6D5C 7479 7065 2E74 7874 0000",
       "AA55 0400 0000 1C00 0240 0000 0000 0000 0A00 0200 0000 0300 0000 5C66 7261 6D5C 7479 7065 2E74 7874 0044 454C"},
      {"file at its end", "",
       "AA55 0400 0080 1A00 0240 0000 0000 0000 0A00 0500 0000 00FA 0000 5C66 7261 6D5C 7479 7065 2E74 7874 0000",
       "AA55 0400 0100 1A00 0240 0000 0000 0000 0A00 0500 0000 0000 0000 5C66 7261 6D5C 7479 7065 2E74 7874 0000"},
      {"no files", "files=0,body=none",
       "AA55 0400 0080 1A00 0240 0000 0000 0000 0A00 0000 0000 00FA 0000 5C66 7261 6D5C 7479 7065 2E74 7874 0000",
       "AA55 0400 0381 0000 0240 0000 0000 0000"},
      {"unknown parameter", "body=none", "AA55 0300 0080 0400 0120 0000 0000 0000 0900 0100",
       "AA55 0300 0280 0000 0120 0000 0000 0000"},
      {"unknown command", "", "AA55 0700 0080 0400 0120 0000 0000 0000 0300 0100",
       "AA55 0700 0180 0000 0120 0000 0000 0000"},
      {"swapped signature", "", "55AA 0100 0080 0000 0000 0000 0000 0000", "AA55 0100 0E80 0000 0000 0000 0000 0000"},
      {"wrong length", "", "AA55 0300 0080 0600 0120 0000 0000 0000 0300 0100",
       "AA55 0300 0D80 0000 0120 0000 0000 0000"},
      {"set without a parameter", "", "AA55 0300 0080 0000 0000 0000 0000 0000",
       "AA55 0300 0480 0000 0000 0000 0000 0000"},
      {"half a head", "", "AA55 0100", "AA55 0100 0D80 0000 0000 0000 0000 0000"},
  };
  for (const ByteCase& one : cases) {
    SCOPED_TRACE(one.name);
    EXPECT_EQ(ToHex(MakeModel(one.keys).Answer(FromHex(one.request))), one.reply);
  }
}

struct Exchange {
  const char* request;
  const char* reply;  ///< values and status, as the log shows them after the parameter's name
};

struct Dialogue {
  const char* name;
  const char* keys;
  std::vector<Exchange> exchanges;
};

void Hold(const Dialogue& dialogue) {
  SCOPED_TRACE(dialogue.name);
  sim::GeneratorModel model = MakeModel(dialogue.keys);
  for (const Exchange& exchange : dialogue.exchanges) {
    SCOPED_TRACE(exchange.request);
    const std::string request = exchange.request;
    const std::size_t name_end = request.find(' ', request.find(' ') + 1);
    const std::string prefix = request.substr(0, name_end) + " ";
    std::string reply = sim::ReplyText(model.Answer(FromWords(request)));
    if (reply.starts_with(prefix)) reply.erase(0, prefix.size());
    EXPECT_EQ(reply, exchange.reply);
  }
}

TEST(GeneratorModel, IsFoundOutAtStartUp) {
  const Dialogue dialogues[] = {
      {"newest",
       "fmin=1e5,points=2-10001,pmin=-110,pmax=18.5",
       {{"SET P_MODE 2.0 1", "2.0 [1] SK_NO_ERROR"},
        {"SET P_FREQUENCY 6.0 0 2 1e11 1e11", "6.0 [100000, 2, 20000000000, 20000000000] SK_PARAMETER_CORRECTED"},
        {"SET P_FREQUENCY 6.0 1e5 0 2e10 2e10", "6.0 [100000, 2, 20000000000, 20000000000] SK_PARAMETER_CORRECTED"},
        {"SET P_FREQUENCY 6.0 1e5 100001 2e10 2e10",
         "6.0 [100000, 10001, 20000000000, 20000000000] SK_PARAMETER_CORRECTED"},
        {"SET P_FREQUENCY 6.0 1e5 10001 2e10 2e10", "6.0 [100000, 10001, 20000000000, 20000000000] SK_NO_ERROR"},
        {"GET P_SYNC_OUT 1.0 0 0 0 0 0 0 0 0 0 0", "1.0 [0, 0, 0, 0, 0, 0, 0, 0, 0, 0] SK_NO_ERROR"},
        {"SET P_SYNC_OUT 1.0 0 0 10 0 0 0 0 0 0 0", "1.0 [0, 0, 10, 0, 0, 0, 0, 0, 0, 0] SK_NO_ERROR"},
        {"SET P_RF_OUT2 6.2 0 0 0 0 -20", "6.2 [0, 0, 0, 0, -20] SK_NO_ERROR"},
        {"SET P_RF_OUT2 6.2 0 0 0 0 -20 1 0 -20", "6.2 [0, 0, 0, 0, -20, 1, 0, -20] SK_NO_ERROR"},
        {"SET P_RF_OUT2 6.2 0 0 0 0 35", "6.2 [0, 0, 0, 0, 18.5] SK_PARAMETER_CORRECTED"},
        {"SET P_RF_OUT2 6.2 0 0 0 0 -300", "6.2 [0, 0, 0, 0, -110] SK_PARAMETER_CORRECTED"}}},
      {"middle, values echoed when refused",
       "fw=middle,sync=10,body=echo",
       {{"SET P_FREQUENCY 6.0 0 2 1e11 1e11", "6.0 [0, 2, 100000000000, 100000000000] SK_PARAMETER_IGNORED"},
        {"SET P_FREQUENCY 6.0 0 0 1e11 1e11", "6.0 [0, 0, 100000000000, 100000000000] SK_PARAMETER_IGNORED"},
        {"SET P_FREQUENCY 6.0 0 100001 1e11 1e11", "6.0 [0, 100001, 100000000000, 100000000000] SK_PARAMETER_IGNORED"},
        {"SET P_FREQUENCY 6.0 0 2 1e11", "6.0 [10000000, 2, 20000000000] SK_PARAMETER_CORRECTED"},
        {"GET P_SYNC_OUT 1.0 0 0 0 0 0 0 0 0 0 0", "1.0 [0, 0, 0, 0, 0, 0, 0, 0, 0, 0] SK_NO_ERROR"},
        {"SET P_RF_OUT2 6.2 0 0 0 0 -20", "6.2 [0, 0, 0, 0, -20] SK_UNKNOWN_PARAMETER"},
        {"SET P_RF_OUT2 4.2 0 0 0 0 -20", "4.2 [0, 0, 0, 0, -20] SK_NO_ERROR"},
        {"SET P_RF_OUT2 4.2 0 0 0 0 -20 1 0 -20", "4.2 [0, 0, 0, 0, -20, 1, 0, -20] SK_PARAMETER_IGNORED"}}},
      {"middle, limits told when refused",
       "fw=middle",
       {{"SET P_FREQUENCY 6.0 0 2 1e11 1e11", "6.0 [10000000, 2, 20000000000, 20000000000] SK_PARAMETER_IGNORED"},
        {"SET P_FREQUENCY 6.0 1e7 0 2e10 2e10", "6.0 [10000000, 1, 20000000000, 20000000000] SK_PARAMETER_IGNORED"},
        {"GET P_SYNC_OUT 1.0 0 0 0 0 0 0 0 0 0 0", "1.0 [0, 0, 0, 0, 0] SK_PARAMETER_IGNORED"}}},
      {"oldest",
       "fw=oldest,body=echo",
       {{"SET P_FREQUENCY 6.0 0 2 1e11 1e11", "6.0 [0, 2, 100000000000, 100000000000] SK_PARAMETER_INCORRECT"},
        {"SET P_FREQUENCY 6.0 0 2 1e11", "6.0 [0, 2, 100000000000] SK_PARAMETER_INCORRECT"},
        {"SET P_FREQUENCY 4.0 0 2 4001000000", "4.0 [10000000, 2, 4001000000] SK_PARAMETER_CORRECTED"},
        {"SET P_RF_OUT2 6.2 0 0 0 0 -20", "6.2 [0, 0, 0, 0, -20] SK_UNKNOWN_PARAMETER"},
        {"SET P_RF_OUT2 4.2 0 0 0 0 -20", "4.2 [0, 0, 0, 0, -20] SK_UNKNOWN_PARAMETER"},
        {"SET P_RF_OUT 4.2 0 -20", "4.2 [0, -20] SK_UNKNOWN_PARAMETER"},
        {"SET P_RF_OUT 2.1 0 -20", "2.1 [0, -20] SK_NO_ERROR"},
        {"SET P_RF_OUT 2.1 0 35", "2.1 [0, 20] SK_PARAMETER_CORRECTED"},
        {"SET P_RF_OUT 2.1 0 -300", "2.1 [0, -44] SK_NO_ERROR"}}},
      {"the sixth generation's third",
       "fw=g3",
       {{"SET P_RF_OUT2 6.2 0 0 0 0 -20", "6.2 [0, 0, 0, 0, -20] SK_NO_ERROR"},
        {"SET P_RF_OUT2 6.2 0 0 0 0 -20 1 0 -20", "6.2 [0, 0, 0, 0, -20, 1, 0, -20] SK_PARAMETER_IGNORED"}}},
      {"everything unknown",
       "refuserf=incorrect,rf=0,refuse=unknown,freq=wide",
       {{"SET P_FREQUENCY 6.0 0 2 1e11 1e11", "6.0 [10000000, 2, 20000000000, 20000000000] SK_UNKNOWN_PARAMETER"},
        {"SET P_RF_OUT2 6.2 0 0 0 0 -20", "6.2 [0, 0, 0, 0, -20] SK_PARAMETER_INCORRECT"}}},
  };
  for (const Dialogue& dialogue : dialogues) Hold(dialogue);
}

TEST(GeneratorModel, AnswersInEveryFormWhatItHolds) {
  const Dialogue dialogues[] = {
      {"frequency",
       "",
       {{"SET P_FREQUENCY 6.0 1e9 11 1e8 2e9", "6.0 [1000000000, 11, 100000000, 2000000000] SK_NO_ERROR"},
        {"GET P_FREQUENCY 4.0 0 0 0", "4.0 [1000000000, 11, 100000000] SK_NO_ERROR"},
        {"SET P_FREQUENCY 6.0 3e9 5 -1e8", "6.0 [3000000000, 5, -100000000] SK_NO_ERROR"},
        {"GET P_FREQUENCY 6.0 0 0 0 0", "6.0 [3000000000, 5, -100000000, 2600000000] SK_NO_ERROR"},
        {"SET P_FREQUENCY 6.0 4e9", "6.0 [4000000000] SK_NO_ERROR"},
        {"GET P_FREQUENCY 6.0 0 0 0 0", "6.0 [4000000000, 1, 0, 4000000000] SK_NO_ERROR"}}},
      {"narrow step, falling",
       "fw=oldest",
       {{"SET P_FREQUENCY 4.0 2e9 501 4292967296", "4.0 [2000000000, 501, 4292967296] SK_NO_ERROR"}}},
      {"the known part of a refused form is taken",
       "fw=middle",
       {{"SET P_FREQUENCY 6.0 1e9 11 1e8 3e9", "6.0 [1000000000, 11, 100000000, 3000000000] SK_PARAMETER_IGNORED"},
        {"GET P_FREQUENCY 6.0 0 0 0", "6.0 [1000000000, 11, 100000000] SK_NO_ERROR"}}},
      {"nothing of a rejected form is taken",
       "fw=oldest",
       {{"SET P_FREQUENCY 6.0 1e9 11 1e8 3e9", "6.0 [1000000000, 11, 100000000, 3000000000] SK_PARAMETER_INCORRECT"},
        {"GET P_FREQUENCY 4.0 0 0 0", "4.0 [10000000, 1, 0] SK_NO_ERROR"}}},
      {"power",
       "",
       {{"SET P_RF_OUT2 6.2 1 2 0 0 -20 11 3 10", "6.2 [1, 2, 0, 0, -20, 11, 3, 10] SK_NO_ERROR"},
        {"GET P_RF_OUT 2.1 0 0", "2.1 [1, -20] SK_NO_ERROR"},
        {"SET P_RF_OUT2 6.2 1 9 0 0 -20", "6.2 [1, 5, 0, 0, -20] SK_PARAMETER_CORRECTED"},
        {"GET P_RF_OUT2 6.2 0 0 0 0 0 0 0 0", "6.2 [1, 5, 0, 0, -20, 1, 0, -20] SK_NO_ERROR"}}},
      {"two synchronisation channels",
       "",
       {{"SET P_SYNC_IN 1.0 2 1 0 0 2", "1.0 [2, 1, 0, 0, 2] SK_NO_ERROR"},
        {"SET P_SYNC_IN 1.0 2 1 0 0 2 5 0 1 1 0", "1.0 [2, 1, 0, 0, 2, 5, 0, 1, 1, 0] SK_NO_ERROR"},
        {"GET P_SYNC_IN 1.0 0 0 0 0 0 0 0 0 0 0", "1.0 [2, 1, 0, 0, 2, 5, 0, 1, 1, 0] SK_NO_ERROR"}}},
      {"frequency list in chunks",
       "list=3",
       {{"SET P_FREQUENCY_LIST2 6.0 #0 0 2 1e9 2e9", "6.0 [0, 2, 1000000000, 2000000000] SK_NO_ERROR"},
        {"SET P_FREQUENCY_LIST2 6.0 #0 2 1 3e9", "6.0 [2, 1, 3000000000] SK_NO_ERROR"},
        {"GET P_FREQUENCY_LIST2 6.0 #0 1 2", "6.0 [1, 2, 2000000000, 3000000000] SK_NO_ERROR"},
        {"SET P_FREQUENCY_LIST2 6.0 #0 3 1 4e9", "6.0 [3, 1, 4000000000] SK_PARAMETER_INCORRECT"},
        {"SET P_FREQUENCY_LIST2 6.0 #0 0 1 5e9", "6.0 [0, 1, 5000000000] SK_NO_ERROR"},
        {"GET P_FREQUENCY_LIST2 6.0 #0 0 0", "6.0 [0, 1, 5000000000] SK_NO_ERROR"},
        {"SET P_FREQUENCY_LIST2 6.0 #0 2 1 5e9", "6.0 [2, 1, 5000000000] SK_PARAMETER_INCORRECT"}}},
      {"power list",
       "",
       {{"SET P_RF_OUT_LIST2 4.2 #4 1 2 0 0 0 2 -10 99", "4.2 [1, 2, 0, 0, 0, 2, -10, 20] SK_PARAMETER_CORRECTED"},
        {"GET P_RF_OUT_LIST 2.1", "2.1 [-10, 20] SK_NO_ERROR"},
        {"GET P_RF_OUT_LIST2 4.2 #4", "4.2 [1, 2, 0, 0, 0, 2, -10, 20] SK_NO_ERROR"},
        {"SET P_RF_OUT_LIST 2.1 -1 -2 -3", "2.1 [-1, -2, -3] SK_NO_ERROR"},
        {"GET P_RF_OUT_LIST2 4.2 #4 0 0 0 0 2 1", "4.2 [1, 2, 0, 0, 2, 1, -3] SK_NO_ERROR"}}},
      {"pulses with polarity",
       "",
       {{"SET P_MODULATION 4.0 #3 2 3 1 0 2 1 1 5 7", "4.0 [2, 3, 1, 0, 2, 1, 1, 5, 7] SK_NO_ERROR"},
        {"SET P_MODULATION 4.0 #3 2 3 1 2 1 8 9", "4.0 [2, 3, 1, 2, 1, 8, 9] SK_NO_ERROR"},
        {"GET P_MODULATION 4.0 #2 0 0 1", "4.0 [2, 3, 0, 3, 1, 1, 5, 7, 8, 9] SK_NO_ERROR"},
        {"SET P_MODULATION 4.0 #3 0 3 0 0 1 0 0", "4.0 [0, 3, 0, 0, 1, 0, 0] SK_NO_ERROR"},
        {"SET P_MODULATION 4.0 #3 2 3 0 0 9 1 1", "4.0 [2, 3, 0, 0, 9, 1, 1] SK_SMALL_SIZE"}}},
      {"pulses without polarity",
       "pol=0",
       {{"SET P_MODULATION 4.0 #3 2 3 1 0 1 4 5", "4.0 [2, 3, 1, 0, 1, 4, 5] SK_PARAMETER_IGNORED"},
        {"SET P_MODULATION 4.0 #2 2 2 0 1 6 7", "4.0 [2, 2, 0, 1, 6, 7] SK_NO_ERROR"}}},
      {"states ride on queries",
       "pll=0,level=0",
       {{"GET P_FREQUENCY 4.0 0 0 0", "4.0 [10000000, 1, 0] SK_LO1_NO_PLL"},
        {"GET P_RF_OUT2 6.2 0 0 0 0 0", "6.2 [0, 0, 0, 0, -100] SK_UNLEVEL"},
        {"SET P_FREQUENCY 6.0 1e9", "6.0 [1000000000] SK_NO_ERROR"}}},
  };
  for (const Dialogue& dialogue : dialogues) Hold(dialogue);
}

/// Any bytes get one well-formed reply, and nothing crashes.
TEST(GeneratorModel, AnswersRubbish) {
  const char* const keys[] = {"", "fw=g3", "fw=middle", "fw=oldest,body=none"};
  std::uint32_t random = 12345;
  const auto next = [&random] { return random = random * 1664525 + 1013904223, random >> 16; };
  for (const char* const one : keys) {
    sim::GeneratorModel model = MakeModel(one);
    for (int i = 0; i < 20000; ++i) {
      sim::Bytes request(next() % 80);
      for (std::uint8_t& byte : request) byte = static_cast<std::uint8_t>(next());
      if (request.size() >= 18) {
        const sim::Bytes head{0xAA, 0x55, static_cast<std::uint8_t>(3 + next() % 2), 0};
        std::copy(head.begin(), head.end(), request.begin());
        sim::WriteWord(request, 6, static_cast<std::uint16_t>(request.size() - 16));
        sim::WriteWord(request, 16, static_cast<std::uint16_t>(next() % 100));
      }
      const sim::Bytes reply = model.Answer(request);
      ASSERT_GE(reply.size(), 16U);
      ASSERT_EQ(reply.size(), 16U + sim::ReadWord(reply, 6));
      ASSERT_FALSE(sim::ReplyText(reply).empty());
    }
  }
}

}  // namespace
