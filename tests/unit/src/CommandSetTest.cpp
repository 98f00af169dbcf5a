// Every command of the reference, as query and as set form, in long, short and mixed case, with and without the nodes
// that may be left out. Written down apart from the table that the parser walks.
#include <cctype>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "scpi_core/pcore.h"
#include "src/Device.h"
#include "src/plib/CommandTable.h"
#include "tests/unit/src/ScriptedProvider.h"

namespace {

enum Forms { kNone = 0, kQuery = 1, kSet = 2, kBoth = 3 };

/// Capitals are the short form, brackets may be left out. kNone: known words that are refused in both forms.
struct Command {
  const char* header;
  Forms forms;
  const char* parameter;
};

const Command kCommands[] = {
    {"*IDN", kQuery, ""},
    {"*STB", kQuery, ""},
    {"*ESR", kQuery, ""},
    {"*OPC", kQuery, ""},
    {"*RST", kSet, ""},
    {"*CLS", kSet, ""},
    {":SYSTem:ERRor[:NEXT]", kQuery, ""},
    {":SYSTem:ERRor:COUNt", kQuery, ""},
    {":SYSTem:VERSion", kQuery, ""},
    {":UNIT:POWer", kBoth, " DBM"},
    {":ABORt", kSet, ""},
    {":INITiate[:IMMediate][:ALL]", kSet, ""},
    {":INITiate:CONTinuous[:ALL]", kBoth, " OFF"},
    {":TRIGger[:SEQuence][:IMMediate]", kSet, ""},
    {":TRIGger[:SEQuence]:SOURce", kBoth, " IMM"},
    {":TRIGger[:SEQuence]:SLOPe", kBoth, " POS"},
    {":TRIGger:AUXiliary[:OUTPut][:ENABle]", kBoth, " OFF"},
    {":TRIGger:AUXiliary:INTerval", kBoth, " SWE"},
    {":TRIGger:AUXiliary:OPOLarity", kBoth, " POS"},
    {":TRIGger:AUXiliary:PULSe:PERiod", kBoth, " 1MS"},
    {":TRIGger:AUXiliary:PULSe:WIDTh", kBoth, " 1MS"},
    {":TRIGger:AUXiliary:DURation", kBoth, " 1MS"},
    {":OUTPut[:STATe]", kBoth, " OFF"},
    {"[:SOURce]:FREQuency[:CW]", kBoth, " 1GHZ"},
    {"[:SOURce]:FREQuency[:FIXed]", kBoth, " 1GHZ"},
    {"[:SOURce]:FREQuency:MODE", kBoth, " FIX"},
    {"[:SOURce]:FREQuency:STARt", kBoth, " 1GHZ"},
    {"[:SOURce]:FREQuency:STOP", kBoth, " 1GHZ"},
    {"[:SOURce]:FREQuency:CENTer", kBoth, " 1GHZ"},
    {"[:SOURce]:FREQuency:SPAN", kBoth, " 1GHZ"},
    {"[:SOURce]:POWer[:LEVel][:IMMediate][:AMPLitude]", kBoth, " -10"},
    {"[:SOURce]:POWer:MODE", kBoth, " FIX"},
    {"[:SOURce]:POWer:STARt", kBoth, " -10"},
    {"[:SOURce]:POWer:STOP", kBoth, " -10"},
    {"[:SOURce]:POWer:CENTer", kBoth, " -10"},
    {"[:SOURce]:POWer:SPAN", kBoth, " 3DB"},
    {"[:SOURce]:POWer:ALC[:STATe]", kBoth, " ON"},
    {"[:SOURce]:POWer:ATTenuation", kQuery, " 0"},
    {"[:SOURce]:POWer:ATTenuation:AUTO", kQuery, " OFF"},
    {"[:SOURce]:POWer:ATTenuation:MODE", kBoth, " OPT"},
    {"[:SOURce]:POWer:CONTrol", kBoth, " INT"},
    {"[:SOURce]:SWEep:DWELl", kBoth, " 1MS"},
    {"[:SOURce]:SWEep:STEP", kBoth, " 1"},
    {"[:SOURce]:SWEep:POINts", kBoth, " 11"},
    {"[:SOURce]:SWEep:SPACing", kBoth, " LIN"},
    {"[:SOURce]:ROSCillator:EXTernal:FREQuency", kBoth, " 1GHZ"},
    {"[:SOURce]:ROSCillator:SOURce", kBoth, " INT"},
    {"[:SOURce]:PHASe[:ADJust]", kBoth, " 45"},
    {"[:SOURce]:LIST:FREQuency", kSet, " 1GHZ,2GHZ"},
    {"[:SOURce]:LIST:FREQuency:POINts", kQuery, " MAX"},
    {"[:SOURce]:LIST:POWer", kSet, " 1,2"},
    {"[:SOURce]:LIST:POWer:POINts", kQuery, " MAX"},
    {"[:SOURce]:LIST:DWELl", kBoth, " 1MS"},
    {"[:SOURce]:LIST:DWELl:POINts", kQuery, " MAX"},
    {"[:SOURce]:LIST:MODE", kBoth, " AUTO"},
    {"[:SOURce][:MODulation]:PULM:STATe", kBoth, " OFF"},
    {"[:SOURce][:MODulation]:PULM:POLarity", kBoth, " NORM"},
    {"[:SOURce][:MODulation]:PULM:SOURce", kBoth, " INT"},
    {"[:SOURce][:MODulation]:PULM:SOURce:INTernal", kBoth, " FRUN"},
    {"[:SOURce][:MODulation]:PULM:MODE", kNone, " FIX"},
    {"[:SOURce][:MODulation]:PULM:INTernal:PERiod", kBoth, " 1MS"},
    {"[:SOURce][:MODulation]:PULM:INTernal:PWIDth", kBoth, " 1MS"},
    {"[:SOURce][:MODulation]:PULM:INTernal:TRAin:OFFTime", kBoth, " 1S,2S"},
    {"[:SOURce][:MODulation]:PULM:INTernal:TRAin:ONTime", kBoth, " 1S,2S"},
    {"[:SOURce][:MODulation]:PULM:INTernal:TRAin:REPetition", kBoth, " 1,2"},
    {"[:SOURce][:MODulation]:AM[:DEPTh]", kNone, " 1"},
    {"[:SOURce][:MODulation]:AM:EXTernal:COUPling", kNone, " AC"},
    {"[:SOURce][:MODulation]:AM:INTernal:FREQuency", kNone, " 1GHZ"},
    {"[:SOURce][:MODulation]:AM:SOURce", kNone, " INT"},
    {"[:SOURce][:MODulation]:AM:STATe", kNone, " OFF"},
};

/// A generator that was never opened: refuses every exchange, which no handler turns into "undefined header".
class Generator : public CDevice {
 public:
  int RaiseError(int number, const char*) override {
    errors.push_back(number);
    return 0;
  }
  std::vector<int> errors;
};

bool IsUndefined(Generator& generator, std::string message) {
  generator.errors.clear();
  message += '\n';
  Parse(message.data(), static_cast<int>(message.size()), &generator, &generator);
  return !generator.errors.empty() && generator.errors.front() == -113;
}

/// All ways to leave bracketed nodes out.
std::vector<std::string> WithAndWithout(const std::string& header) {
  const std::size_t open = header.find('[');
  if (open == std::string::npos) return {header};
  const std::size_t close = header.find(']');
  std::vector<std::string> all;
  const std::string inside = header.substr(open + 1, close - open - 1);
  for (const std::string& node : {inside, std::string()}) {
    for (const std::string& rest : WithAndWithout(header.substr(close + 1)))
      all.push_back(header.substr(0, open) + node + rest);
  }
  return all;
}

enum class Spelling { kLong, kShort, kMixed };

std::string Spelled(const std::string& header, Spelling spelling) {
  std::string text;
  for (const char c : header) {
    const bool lower = std::islower(static_cast<unsigned char>(c)) != 0;
    if (spelling == Spelling::kShort && lower) continue;
    const bool raise = spelling == Spelling::kMixed ? text.size() % 2 == 0 : lower;
    text += static_cast<char>(raise ? std::toupper(static_cast<unsigned char>(c))
                                    : std::tolower(static_cast<unsigned char>(c)));
  }
  return text;
}

TEST(CommandSet, EveryHeaderInEverySpelling) {
  scpi_lib::RegisterCommandTree();
  const test::ScriptedProvider provider;
  Generator generator;
  for (const Command& command : kCommands) {
    for (const std::string& header : WithAndWithout(command.header)) {
      for (const Spelling spelling : {Spelling::kLong, Spelling::kShort, Spelling::kMixed}) {
        const std::string text = Spelled(header, spelling);
        SCOPED_TRACE(text);
        EXPECT_EQ(IsUndefined(generator, text + "?"), (command.forms & kQuery) == 0);
        EXPECT_EQ(IsUndefined(generator, text + command.parameter), (command.forms & kSet) == 0);
      }
    }
  }
}

TEST(CommandSet, NothingBetweenShortAndLong) {
  scpi_lib::RegisterCommandTree();
  const test::ScriptedProvider provider;
  Generator generator;
  for (const char* header :
       {":FREQU", ":SOURC:FREQ", ":TRIGG:SOUR", ":POWE", ":SYST:VERSI", ":OUTPU", ":FREQ:CW:FIX", ":SYSTEM", ":UNIT",
        ":SOURCE", ":SWE", ":LIST", ":ROSC", ":MOD", ":PULM", ":AM:EXT", ":TRIG:AUX:PULS", ":MOD:INT"}) {
    SCOPED_TRACE(header);
    EXPECT_TRUE(IsUndefined(generator, std::string(header) + "?"));
    EXPECT_TRUE(IsUndefined(generator, std::string(header) + " 1"));
  }
}

}  // namespace
