#include <gtest/gtest.h>
#include <string>

#include "tools/CommandReference.h"

namespace {

TEST(Completion, GoesOnInShortThenLongForm) {
  // A line up to the cursor, what the line is after Tab, and the choices that were shown.
  struct Case {
    const char* line;
    const char* completed;
    const char* words;
  };
  const Case cases[] = {
      {":FR", ":FREQ", "FREQuency"},
      {":FREQ", ":FREQUENCY", "FREQuency"},
      {":FREQUENCY", ":FREQUENCY", "FREQuency"},
      {":freq:star", ":freq:start", "STARt"},
      {":Freq:st", ":Freq:st", "STARt STOP"},
      {"sour:pow:att:", "sour:pow:att:", "AUTO MODE"},
      {":POW:LEV:IMM:", ":POW:LEV:IMM:AMPL", "AMPLitude"},
      {":OUTP ON;:SWE:SP", ":OUTP ON;:SWE:SPAC", "SPACing"},
      {"help :outp:s", "help :outp:stat", "STATe"},
      {"*ID", "*IDN", "*IDN"},
      {":FREQ:MODE s", ":FREQ:MODE swe", "SWEep"},
      {":FREQ:MODE ", ":FREQ:MODE ", "CW FIXed SWEep LIST"},
      {":FREQ? M", ":FREQ? M", "MINimum MAXimum"},
      {":TRIG:SOUR I", ":TRIG:SOUR IMM", "IMMediate"},
      {":SYST:VERS ", ":SYST:VERS ", ""},
      {":BOGUS:FR", ":BOGUS:FR", ""},
      {":BOGUS O", ":BOGUS O", ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.line);
    const std::string line = c.line;
    const Completion completion = Complete(line);
    const std::string typed = line.substr(line.size() - completion.typed);
    EXPECT_EQ(c.completed, line.substr(0, line.size() - typed.size()) + Completed(completion, typed));
    std::string words;
    for (const std::string& word : completion.words) words += (words.empty() ? "" : " ") + word;
    EXPECT_EQ(c.words, words);
  }
}

TEST(Completion, EachExampleOfTheReferenceFindsItsEntry) {
  EXPECT_GT(CommandEntries().size(), 50U);
  for (const CommandEntry& entry : CommandEntries()) {
    const std::string example = entry.example;
    EXPECT_EQ(&entry, FindCommand(example.substr(0, example.find(' ')))) << example;
  }
}

}  // namespace
