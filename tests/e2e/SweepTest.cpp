// Sweeps by SCPI text alone: what every command does to a run that waits for its trigger, how each run ends, and how
// long the caller waits at most. Cases run side by side, each on an instrument of its own.
#include <future>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

#include "scpi_zlt/scpi_zlt.h"

#include "tests/e2e/Sessions.h"

namespace test {
namespace {

/// A frequency sweep, armed. `start` is ":INIT" or ":INIT:CONT ON".
unsigned long OpenSweep(int instrument, const std::string& trigger, const std::string& start) {
  const unsigned long session = Open(Simulator(instrument, "record=1"));
  skSetAttribute(session, VI_ATTR_TMO_VALUE, 60000);
  for (const std::string& message : {std::string(":FREQ:MODE SWE"), ":TRIG:SOUR " + trigger, start}) {
    Write(session, message + "\n");
  }
  return session;
}

void Control(int instrument, const std::string& command) {
  EXPECT_EQ(simControl(("SIM" + std::to_string(instrument) + " " + command).c_str()), 0) << command;
}

/// Sends a message and waits until it has run. The answer, if it was a query.
std::string Ask(unsigned long session, const std::string& message) {
  Write(session, message + "\n");
  const std::string answer = message.back() == '?' ? Read(session) : "";
  Write(session, "*OPC?\n");
  EXPECT_EQ(Read(session), "+1\n");
  return answer;
}

/// How often SK_RUN went out since the last mark.
int Polls(int instrument) {
  std::string text(1 << 16, '\0');
  text.resize(static_cast<std::size_t>(simQuery(("SIM" + std::to_string(instrument) + " requests").c_str(), text.data(),
                                                static_cast<int>(text.size()))));
  std::istringstream lines(text);
  int polls = 0;
  for (std::string line; std::getline(lines, line);) polls += line.starts_with("RUN") ? 1 : 0;
  return polls;
}

/// True if nothing is sent but what is asked for. The output is off, and then "*STB?" is one packet.
bool IsQuiet(int instrument, unsigned long session) {
  const int before = std::stoi(Held(instrument, "packets"));
  for (int i = 0; i < 5; ++i) Ask(session, "*STB?");
  return std::stoi(Held(instrument, "packets")) == before + 5;
}

enum class Fate { kGoesOn, kStartsAgain, kEnds };

struct Touch {
  Fate fate;
  const char* messages;  ///< separated by "|"; each meets a run of its own
};

// A restart costs 1.5 s, and one second more where a setting restarts twice.
TEST(Sweep, APollThatWaitsForItsTriggerAndEveryCommand) {
  const Touch touches[] = {
      {Fate::kGoesOn,
       "*IDN?|*OPC?|*ESR?|*STB?|*CLS|:SYST:ERR?|:FREQ 1GHZ|:FREQ?|:UNIT:POW W|:LIST:FREQ 1GHZ,2GHZ|:LIST:POW -10,-20|"
       ":PULM:SOUR EXT|:PULM:SOUR:INT SQU|:PULM:POL INV|:PULM:INT:PER 2|:PULM:INT:PWID 1|:PULM:INT:TRA:ONT 1,2|"
       ":TRIG|:INIT|:FREQ:STAR 99GHZ|:SWE:SPAC?|:POW:ATT 10|:FOO"},
      {Fate::kStartsAgain,
       ":FREQ:STAR 1GHZ|:FREQ:STOP 2GHZ|:FREQ:CENT 1GHZ|:FREQ:SPAN 1GHZ|:FREQ:MODE SWE|:SWE:POIN 11|:SWE:STEP 1E6|"
       ":SWE:DWEL 0.25|:LIST:DWEL 1|:SWE:SPAC LOG|:POW -10|:POW:STAR -10|:POW:STOP 0|:POW:MODE SWE|:POW:MODE FIX|"
       ":POW:ATT:MODE OPT|:POW:CONT EXT|:OUTP ON|:OUTP OFF|:TRIG:AUX ON|:TRIG:AUX:INT PULS|"
       ":TRIG:AUX:OPOL NEG|:TRIG:AUX:DUR 5US|:TRIG:AUX:PULS:PER 1US|:TRIG:AUX:PULS:WIDT 1US|:PULM:STAT ON|"
       ":ROSC:SOUR EXT|:ROSC:EXT:FREQ 1E7|:PHAS 90|:INIT:CONT ON"},
      {Fate::kEnds, ":ABOR|*RST|:FREQ:MODE FIX|:TRIG:SOUR IMM|:TRIG:SLOP NEG|:LIST:MODE MAN|:INIT:CONT OFF"},
  };
  std::vector<std::future<void>> talks;
  int instrument = 100;
  for (const Touch& touch : touches) {
    std::istringstream messages(touch.messages);
    for (std::string message; std::getline(messages, message, '|');) {
      talks.push_back(std::async(std::launch::async, [message, number = ++instrument, fate = touch.fate] {
        SCOPED_TRACE(message);
        const unsigned long session = OpenSweep(number, "EXT", ":INIT:CONT ON");
        Control(number, "await=held");
        Control(number, "mark");
        const auto start = Clock::now();
        Ask(session, message);
        EXPECT_LT(SecondsSince(start), fate == Fate::kGoesOn ? 5.0 : 10.0);
        if (fate == Fate::kStartsAgain) Control(number, "await=held");
        EXPECT_EQ(Held(number, "held"), fate == Fate::kEnds ? "0" : "1");
        EXPECT_EQ(Polls(number) > 0, fate == Fate::kStartsAgain);
        EXPECT_EQ(skClose(session), VI_SUCCESS);
        EXPECT_EQ(Held(number, "held"), "0");
      }));
    }
  }
  for (auto& talk : talks) talk.get();
}

struct End {
  const char* name;
  const char* trigger;
  const char* start;
  const char* await;    ///< before it happens
  const char* control;  ///< what happens at the instrument, if anything
  const char* after;    ///< what is awaited there next
  const char* message;  ///< what the caller sends then
  double seconds;       ///< the caller waits no longer than this for it
  bool quiet;           ///< no run is left
  const char* error;    ///< of ":OUTP ON" after it; empty where the link works
};

TEST(Sweep, EveryWayItEnds) {
  constexpr const char* kLost = "20506,\"\"\n";
  // Odd, and kept: once a setting has found the link lost, this firmware's power setting reports nothing.
  constexpr const char* kSilence = "+0,\"No error\"\n";
  constexpr const char* kOnce = ":INIT";
  constexpr const char* kForEver = ":INIT:CONT ON";
  const End ends[] = {
      {"finished", "IMM", kOnce, "await=passes:1", "", "", ":FREQ?", 5, true, ""},
      {"triggered", "EXT", kOnce, "await=held", "input=1", "await=passes:1", ":FREQ?", 5, true, ""},
      {"aborted between two passes", "IMM", kForEver, "await=passes:5", "", "", ":ABOR", 10, true, ""},
      {"aborted in the wait for its trigger", "EXT", kOnce, "await=held", "", "", ":ABOR", 10, true, ""},
      {"set to another trigger", "EXT", kForEver, "await=held", "", "", ":TRIG:SOUR IMM", 10, true, ""},
      {"set to another range", "IMM", kForEver, "await=passes:5", "", "", ":FREQ:STAR 1GHZ", 10, false, ""},
      {"link lost between two passes", "IMM", kForEver, "await=passes:5", "lost=0", "", ":ABOR", 10, false, kLost},
      {"link lost in the wait for its trigger", "EXT", kOnce, "await=held", "lost=0", "", ":ABOR", 10, false, kLost},
      {"link lost, then set", "IMM", kForEver, "await=passes:5", "lost=0", "", ":FREQ:STAR 1GHZ", 10, false, kSilence},
      {"silent in the wait for its trigger", "EXT", kOnce, "await=held", "silent=0x1", "", ":ABOR", 10, true, ""},
      {"silent for good", "EXT", kOnce, "await=held", "silent=0", "", ":ABOR", 10, false, "20486,\"\"\n"},
  };
  std::vector<std::future<void>> talks;
  int instrument = 300;
  for (const End& end : ends) {
    talks.push_back(std::async(std::launch::async, [end, number = ++instrument] {
      SCOPED_TRACE(end.name);
      const unsigned long session = OpenSweep(number, end.trigger, end.start);
      Control(number, end.await);
      if (*end.control != '\0') Control(number, end.control);
      if (*end.after != '\0') Control(number, end.after);
      const auto start = Clock::now();
      Ask(session, end.message);
      EXPECT_LT(SecondsSince(start), end.seconds);
      if (end.quiet) {
        EXPECT_TRUE(IsQuiet(number, session));
      }
      if (*end.error != '\0') {
        Ask(session, ":OUTP ON");
        EXPECT_EQ(Ask(session, ":SYST:ERR?"), end.error);
      }
      EXPECT_EQ(skClose(session), VI_SUCCESS);
      EXPECT_EQ(Held(number, "links"), "0");
    }));
  }
  for (auto& talk : talks) talk.get();
}

}  // namespace
}  // namespace test
