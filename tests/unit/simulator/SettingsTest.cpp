// The grammar of resource names, with the message for each mistake.
#include <gtest/gtest.h>

#include "simulator/Settings.h"

namespace {

TEST(Resource, SaysWhatIsWrong) {
  struct Case {
    const char* resource;
    bool is_ours;
    const char* error;  ///< how it starts, empty for a good name
  };
  const Case cases[] = {
      {"SIM0::INSTR", true, ""},
      {"sim12::FW=Oldest,button=0::instr", true, ""},
      {"SIM1::fw=g3,fmin=9e3,points=2-10001,silent=5x2,cut=10@3x1,status=0x8003@0,latency=0.5::INSTR", true, ""},
      {"SIM1::serial=A b/7,model=X::INSTR", true, ""},
      {"TCPIP0::1.2.3.4::INSTR", false, "the simulator's names are SIM<n>::INSTR"},
      {"SIM::INSTR", false, "the simulator's names are"},
      {"SIM-1::INSTR", false, "the simulator's names are"},
      {"SIM1", true, "the name has to end in ::INSTR"},
      {"SIM1::fw=g3", true, "the name has to end in ::INSTR"},
      {"SIM1::fw=g3::rf=4::INSTR", true, "the keys have to be in one group"},
      {"SIM1::::INSTR", true, "\"\" is not of the form key=value"},
      {"SIM1::fw::INSTR", true, "\"fw\" is not of the form key=value"},
      {"SIM1::fmni=5::INSTR", true, "unknown key \"fmni\"; the keys are fw freq rf"},
      {"SIM1::fw=latest::INSTR", true, "key \"fw\" wants one of newest g5 g4"},
      {"SIM1::rf=6::INSTR", true, "key \"rf\" wants one of 0 1 2 3 4 5, not \"6\""},
      {"SIM1::fmin=1GHz::INSTR", true, "key \"fmin\" wants a number from 0 to 1e+14, not \"1GHz\""},
      {"SIM1::fmin=nan::INSTR", true, "key \"fmin\" wants a number"},
      {"SIM1::fmin=2e9,fmax=1e9::INSTR", true, "fmin is above fmax"},
      {"SIM1::points=10-2::INSTR", true, "key \"points\" wants two numbers as in 2-10001"},
      {"SIM1::silent=x2::INSTR", true, "key \"silent\" wants off or PACKETS or PACKETSxTIMES"},
      {"SIM1::silent=5x0::INSTR", true, "key \"silent\" wants off or"},
      {"SIM1::cut=@5::INSTR", true, "key \"cut\" wants off or VALUE@PACKETS"},
      {"SIM1::status=0x18003@0::INSTR", true, "key \"status\" wants off or VALUE@PACKETS"},
      {"SIM1::button=on::INSTR", true, "key \"button\" wants 0 or 1, not \"on\""},
  };
  for (const Case& one : cases) {
    SCOPED_TRACE(one.resource);
    const sim::ParsedResource parsed = sim::ParseResource(one.resource);
    EXPECT_EQ(parsed.is_ours, one.is_ours);
    EXPECT_EQ(parsed.error.substr(0, std::string_view(one.error).size()), one.error);
    EXPECT_EQ(parsed.error.empty(), *one.error == '\0');
  }
}

TEST(Resource, CarriesWhatWasSaid) {
  const sim::Settings settings =
      sim::ParseResource(
          "SIM4::fw=g3,sync=5,points=2-9,cut=10@3x1,status=0x8003@7,silent=4,latency=2.5,clear=nimpl::INSTR")
          .resource.settings;
  EXPECT_EQ(settings.profile.rf_generation, 3);
  EXPECT_FALSE(settings.profile.two_sync_channels);
  EXPECT_EQ(settings.profile.limits.points_high, 9);
  EXPECT_EQ(settings.latency.count(), 2500000);
  EXPECT_EQ(settings.faults.cut.value, 10);
  EXPECT_EQ(settings.faults.status.value, -32765);
  EXPECT_EQ(settings.clear, sim::ClearResult::kNotImplemented);
  struct Case {
    sim::Fault fault;
    std::uint64_t packet;
    bool hits;
  };
  const sim::Faults& faults = settings.faults;
  const Case cases[] = {{faults.cut, 2, false},    {faults.cut, 3, true},       {faults.cut, 4, false},
                        {faults.silent, 3, false}, {faults.silent, 4000, true}, {faults.babble, 0, false}};
  for (const Case& one : cases) EXPECT_EQ(one.fault.Hits(one.packet), one.hits) << one.packet;
}

TEST(ControlKey, RefusesWhatIsFixedAtTheFirstOpen) {
  sim::Settings settings = sim::DefaultSettings();
  EXPECT_EQ(sim::ApplyKey("pll", "0", sim::When::kAnyTime, settings), "");
  EXPECT_FALSE(settings.conditions.pll);
  EXPECT_EQ(sim::ApplyKey("fw", "g3", sim::When::kAnyTime, settings),
            "key \"fw\" can only be given in the resource name, at the first open");
  EXPECT_EQ(settings.profile.name, "newest");
}

}  // namespace
