// Which settings stop a run under way, which start it again, and how often: C cancels, P is a packet (the reset after a
// refusal too), R starts polling, 1 polls once. The second run of a pair costs a second of sleep; callers know that.
#include <gtest/gtest.h>
#include <sstream>

#include "tests/unit/src/SettingsBench.h"

namespace test {
namespace {

using enum Firmware;

struct Pattern {
  const char* pattern;
  const char* scripts;  ///< separated by "|"
};

void RunPatterns(Firmware firmware, const char* before, std::initializer_list<Pattern> patterns) {
  for (const Pattern& p : patterns) {
    std::istringstream scripts(p.scripts);
    for (std::string script; std::getline(scripts, script, '|');) {
      SCOPED_TRACE(script);
      SettingsBench bench(firmware);
      bench.Do(before + script);
      EXPECT_EQ(bench.TakePattern(), p.pattern);
    }
  }
}

TEST(RunPattern, FrequencySweep) {
  RunPatterns(
      kNew, "sweep;",
      {
          // Stored only: the run goes on.
          {"",
           "F.cw 1e9 | SetUnit 1 | SetFreqList 1e9 | SetPwrList 1 | SetModulationSource 1 | SetModulationPolarity 1 "
           "|SetIntModulationType 1 | SetPulseGeneratorWidth 1 3 | SetPulseGeneratorPeriod 1 3 | SetPulmTrainOnArray 1 "
           "|SetTrigSource 7 | SendSoftwareTrigger"},
          // Stopped and started once.
          {"CPR",
           "F.start 1e9 | F.stop 1e9 | F.center 1e9 | F.span 1e9 | F.points 5 | F.step 1e9 | SetFreqMode 2 "
           "|SetFreqSpacing 1 | P.cw 1 | P.start 1 | SetPwrMode 1 | SetPwrMode 2 | SetAtten 1 | SetAttStrategy 2 "
           "|SetOutputEnabled 1 | SetOutputEnabled 0 | HW_SetDwell 1 | SetSyncGenPeriod 1 | SetSyncGenWidth 1 "
           "|SetExtRefGenState 1 | SetExtRefGenFrequency 1 | SetPhaseAdjust 1 | bare INTERVAL 0; SetDwell 1"},
          {"CPPR", "SetSyncInterval 1 | SetSyncOpolarity 1 | SetSyncOutputEnabled 1 | SetSyncOutputDuration 1"},
          {"CPPPP", ":LIST:MODE MAN"},  // two records of two exchanges
          {"CPPPPR", "SetFreqSpacing 1; forget; F.start 1e9"},
          // Started twice.
          {"CPRR",
           "SetDwell 1 | SetModulationEnabled 1 | SetModulationEnabled 0 |SetModulationSource 1; SetModulationEnabled "
           "1 | SetModulationEnabled 1; forget; SetModulationSource 1 |SetModulationEnabled 1; forget; "
           "SetPulseGeneratorWidth 1 3"},
          {"CPPPPPPPPRR", "SetPowControl 1"},
          // Stopped for good.
          {"CPP",
           "SetTrigSource 1 | SetSyncSourceDetection 1 | SetListMode 1 | SetSingleStepEnabled 1 | SetInitContinuous 1"},
          {"PRP1", "SetTrigSource 2; forget; SendSoftwareTrigger"},
          // Refused.
          {"CPPR",
           "answer FREQUENCY 0x8003; F.start 1e9 | answer FREQUENCY 0x8003; SetFreqMode 2 |answer RF_OUT2 0x8003; P.cw "
           "1 | answer INTERVAL 0x8003; SetDwell 1"},
          {"CPP",
           "answer RF_OUT2 0x8003; P.start 1 | answer RF_OUT2 0x8003; SetPwrMode 1 |answer RF_OUT2 0x8003; SetAtten 1 "
           "| answer RF_OUT2 0x8003; SetOutputEnabled 1 |answer MODULATION 0x8003; SetModulationEnabled 1 | answer "
           "GEN_SYNC 0x8003; SetSyncGenPeriod 1 |answer EXT_REF_GEN 0x8003; SetExtRefGenState 1 | answer PHASE 0x8003; "
           "SetPhaseAdjust 1"},
          {"CPPP", "answer SYNC_OUT 0x8003; SetSyncInterval 1 | answer SYNC_IN 0x8003; SetPowControl 1"},
          {"C", "SetPwrMode 3"},  // the sizes of the lists differ
                                  // The link is gone.
          {"C",
           "lost; F.start 1e9 | lost; SetFreqMode 2 | lost; SetDwell 1 | lost; SetFreqSpacing 1; F.start 1e9 |lost; "
           "SetModulationEnabled 1 | lost; SetSyncInterval 1 | lost; SetPhaseAdjust 1"},
          {"CR", "lost; P.cw 1"},
      });
}

TEST(RunPattern, OldestFirmwareStartsTwice) {
  RunPatterns(kOld, "sweep;",
              {
                  {"CPRR", "P.cw 1 | P.start 1 | SetPwrMode 1 | SetAttStrategy 2 | SetOutputEnabled 0"},
                  {"CPR", "SetFreqMode 2"},
                  {"C", "lost; P.start 1 | lost; SetFreqMode 2"},
              });
}

TEST(RunPattern, PowerListAlone) {
  RunPatterns(kNew, "sweep; SetFreqMode 1; SetPwrMode 3; forget;",
              {
                  {"CPR", "F.cw 1e9 | SetPwrList 1 2"},
                  {"CR", "SetPwrList"},
                  {"CPRR", "P.cw 1 | SetPwrMode 3 | SetOutputEnabled 1"},
                  {"CP", "SetPwrMode 1"},  // nothing sweeps any more
                  {"CPPR", "answer FREQUENCY 0x8003; F.cw 1e9 | answer RF_OUT_LIST2 0x8003; SetPwrList 1 2"},
                  {"C", "lost; F.cw 1e9 | lost; SetPwrList 1 2"},
              });
}

TEST(RunPattern, APositiveStatusOfTheLinkIsASuccessWithoutAReply) {
  SettingsBench bench(kNew);
  bench.Do("sweep");
  bench.provider.QueueRead(Bytes(10), ScriptedProvider::kTermChar);
  double dwell = 0.5;
  EXPECT_EQ(bench.device.HW_SetDwell(dwell), 0);
  EXPECT_EQ(dwell, 0.5);
  EXPECT_EQ(bench.TakePattern(), "CP");
}

}  // namespace
}  // namespace test
