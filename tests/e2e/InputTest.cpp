// Bad input: the exact error, and no change to model or instrument unless the row says so. The program's locale changes
// nothing.
#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

#include "scpi_zlt/scpi_zlt.h"

#include "tests/e2e/Sessions.h"

namespace test {
namespace {

std::string Ask(unsigned long session, const std::string& query) {
  Write(session, query + "\n");
  std::string answer = Read(session);
  if (!answer.empty() && answer.back() == '\n') answer.pop_back();
  return answer;
}

/// The numbers in the error queue, with blanks between them.
std::string Errors(unsigned long session) {
  std::string numbers;
  for (;;) {
    const std::string entry = Ask(session, ":SYST:ERR?");
    if (entry == "+0,\"No error\"" || !entry.ends_with('"')) return numbers;
    numbers += (numbers.empty() ? "" : " ") + entry.substr(0, entry.find(','));
  }
}

int Packets(int instrument) {
  return std::stoi(Held(instrument, "packets"));
}

struct Input {
  const char* message;
  const char* errors;
  const char* query;
  const char* answer;
  int packets = 0;  ///< that the message makes
};

TEST(Input, ExactErrorsAndNothingElse) {
  constexpr int kInstrument = 50;
  const unsigned long session = Open(Simulator(kInstrument));
  const std::string many = [] {
    std::string list = ":LIST:FREQ 1E9";
    for (int i = 1; i <= 2500; ++i) list += ",1E9";
    return list;
  }();
  const Input inputs[] = {
      // Out of range, in each unit, and absurd numbers.
      {":FREQ 99GHZ", "-222", ":FREQ?", "10005000000"},
      {":FREQ 20001MHZ", "-222", ":FREQ?", "10005000000"},
      {":FREQ 9999KHZ", "-222", ":FREQ?", "10005000000"},
      {":FREQ 1HZ", "-222", ":FREQ?", "10005000000"},
      {":FREQ NAN", "-222", ":FREQ?", "10005000000"},
      {":FREQ -INF", "-222", ":FREQ?", "10005000000"},
      {":FREQ 1E400", "-222", ":FREQ?", "10005000000"},
      {":FREQ 1E-400", "-222", ":FREQ?", "10005000000"},
      {":FREQ:STAR -1", "-222", ":FREQ:STAR?", "10000000"},
      {":FREQ:SPAN 20GHZ", "-222", ":FREQ:SPAN?", "19990000000"},
      {":POW 20.001", "-222", ":POW?", "-100"},
      {":POW NAN", "-222", ":POW?", "-100"},
      {":FREQ:SPAN -1", "-222", ":FREQ:SPAN?", "19990000000"},
      {":POW:SPAN -1DB", "-222", ":POW:STOP?", "10"},
      {":POW:SPAN 120.1", "-222", ":POW:SPAN?", "30"},
      {":SWE:POIN 0", "-222", ":SWE:POIN?", "501"},
      {":SWE:POIN 100002", "-222", ":SWE:POIN?", "501"},
      {":SWE:POIN NAN", "-222", ":SWE:POIN?", "501"},
      {":LIST:DWEL 4001MS", "-222", ":SWE:DWEL?", "0"},
      {":LIST:DWEL NAN", "-222", ":SWE:DWEL?", "0"},
      {":PULM:INT:PER 39NS", "-222", ":PULM:INT:PER?", "0"},
      {":PULM:INT:PWID 39NS", "-222", ":PULM:INT:PWID?", "1"},
      {":PULM:INT:PWID NAN", "-222", ":PULM:INT:PWID?", "1"},
      // Words, units and counts.
      {":FREQ 1 PARSEC", "-131", ":FREQ?", "10005000000"},
      {":FREQ INFO", "-131", ":FREQ?", "10005000000"},
      {":POW 1W", "-131", ":POW?", "-100"},
      {":SWE:STEP 300MHZ", "-138", ":SWE:POIN?", "501"},
      {":PHAS 1DEG", "-138", ":PHAS?", "0"},
      {":FREQ ABC", "-224", ":FREQ?", "10005000000"},
      {":FREQ \"1GHZ\"", "-224", ":FREQ?", "10005000000"},
      {":FREQ \"1;:OUTP ON", "-224", ":OUTP?", "OFF"},
      {":TRIG:SOUR FOO", "-224", ":TRIG:SOUR?", "BUS"},
      {":OUTP 2", "-224", ":OUTP?", "OFF"},
      {":POW:ALC OFF", "-224", ":POW:ALC?", "on"},
      {":FREQ #15hello", "-168", ":FREQ?", "10005000000"},
      {":FREQ 1GHZ,2GHZ", "-108", ":FREQ?", "10005000000"},
      {":OUTP ON,OFF", "-108", ":OUTP?", "OFF"},
      {":POW:MODE CW", "-108", ":POW:MODE?", "FIXed"},
      {"*IDN? 1", "-108", ":FREQ?", "10005000000"},
      {":FREQ", "-109", ":FREQ?", "10005000000"},
      {":TRIG:SOUR", "-109", ":TRIG:SOUR?", "BUS"},
      {":PULM:INT:TRA:ONT", "-109", ":FREQ?", "10005000000"},
      {":FREQ 1:2", "-113", ":FREQ?", "10005000000"},
      {":FREQ 1,", "-113", ":FREQ?", "10005000000"},
      {":OUTP\tON", "-113", ":OUTP?", "OFF"},
      {":AM:STAT ON", "-113", ":FREQ?", "10005000000"},
      {"*RST?", "-113", ":FREQ?", "10005000000"},
      {":FREQ 1GHZ\377", "-131", ":FREQ?", "10005000000"},
      {":FR\350Q 1GHZ", "-113", ":FREQ?", "10005000000"},
      {":INIT:CONT ON;:TRIG", "-211", ":INIT:CONT?", "on"},
      {":INIT", "-213", ":INIT:CONT?", "on"},
      {":INIT:CONT OFF", "", ":INIT:CONT?", "off"},
      // Odd answers and keywords.
      {":FOO;:FOO;:FREQ?", "-113", ":SYST:ERR:COUN?", "0"},
      {":POW:ALC", "", ":POW:ATT:AUTO?", "off"},
      {":POW:ALC 0", "", ":UNIT:POW?", "DBM"},
      {":PULM:INT:PER DEF", "", ":PULM:INT:PER?", "2"},
      {":PULM:INT:TRA:OFFT 1,2.5", "", ":PULM:INT:TRA:ONT?", "1,2.5"},
      {":TRIG:AUX 1", "", ":TRIG:AUX?", "ON", 2},
      {":LIST:MODE MAN", "", ":LIST:MODE?", "MANual", 4},
      {":LIST:MODE AUTO", "", ":LIST:MODE?", "AUTO", 4},
      // Lists: empty, with a point outside, longer than the instrument holds, of different lengths.
      {":LIST:FREQ", "", ":LIST:FREQ:POIN?", "0"},
      {":LIST:FREQ 1GHZ,NAN", "-222", ":LIST:FREQ:POIN?", "2"},
      {":LIST:FREQ 1GHZ,99GHZ,2GHZ", "-222", ":LIST:FREQ:POIN?", "3"},
      {":LIST:FREQ #15hello", "-222", ":LIST:FREQ:POIN?", "1"},
      {many.c_str(), "", ":LIST:FREQ:POIN?", "2501"},
      {":LIST:POW -10,-20", "", ":LIST:POW:POIN?", "2"},
      {":FREQ:MODE LIST", "", ":FREQ:MODE?", "LIST",
       17},  // the sixteenth chunk does not fit, and is followed by a reset
      {":POW:MODE LIST", "", ":POW:MODE?", "LIST"},
      {":POW:MODE FIX", "", ":POW:MODE?", "FIXed", 1},
      {":FREQ:MODE FIX", "", ":FREQ:MODE?", "FIXed", 1},
      // Steps and counts that leave nothing to sweep.
      {":SWE:STEP 0", "", ":SWE:POIN?", "0"},
      {":SWE:POIN 1", "", ":SWE:STEP?", "inf", 1},
      {":SWE:POIN DEF", "", ":SWE:POIN?", "100001", 1},
      {":SWE:POIN 501", "", ":SWE:STEP?", "39980000", 1},
      // A logarithmic sweep of far too many points.
      {":FREQ:MODE SWE", "", ":FREQ:MODE?", "SWEep", 1},
      {":SWE:SPAC LOG", "", ":SWE:SPAC?", "LOGarithmic", 1},
      {":SWE:STEP 1", "-310", ":LIST:FREQ:POIN?", "0"},
  };
  for (const Input& input : inputs) {
    SCOPED_TRACE(std::string(input.message).substr(0, 60));
    const int before = Packets(kInstrument);
    Write(session, std::string(input.message) + "\n");
    // A failed query, and a unit that took its second attempt, leave a line end.
    std::string sync = Ask(session, "*OPC?");
    if (sync.empty()) sync = Read(session).substr(0, 2);
    EXPECT_EQ(sync, "+1");
    EXPECT_EQ(Packets(kInstrument) - before, input.packets);
    EXPECT_EQ(Errors(session), input.errors);
    EXPECT_EQ(Ask(session, input.query), input.answer);
  }
  EXPECT_EQ(skClose(session), VI_SUCCESS);
}

TEST(Input, TheProgramsLocaleChangesNothing) {
  const std::filesystem::path folder =
      std::filesystem::path(testing::TempDir()) / ("zlt_input_" + std::to_string(getpid()));
  std::filesystem::create_directories(folder);
  for (const char* locale : {"de_DE", "tr_TR"}) {
    const std::string built = (folder / locale).string();
    if (std::system(("localedef -i " + std::string(locale) + " -f ISO-8859-9 " + built + " 2>/dev/null").c_str()) != 0)
      GTEST_SKIP() << "no localedef, or no sources of " << locale;
  }
  setenv("LOCPATH", folder.c_str(), 1);
  const unsigned long session = Open(Simulator(51));
  for (const char* locale : {"C", "de_DE", "tr_TR"}) {
    SCOPED_TRACE(locale);
    ASSERT_NE(std::setlocale(LC_ALL, locale), nullptr);
    EXPECT_EQ(Ask(session, ":POW -1.5;:POW:STAR -2.5;STAR?"), "-2.5");
    EXPECT_EQ(Ask(session, ":FREQ 1.5ghz;:freq:fixed?"), "1500000000");
    EXPECT_EQ(Ask(session, ":init:cont?"), "off");
    EXPECT_EQ(Ask(session, ":TRIG:SOUR IMM;:TRIG:SOUR?"), "IMMediate");
    EXPECT_EQ(Errors(session), "");
    Write(session, ":FREQ 1,5GHZ\n");
    EXPECT_EQ(Errors(session), "-108");
    Write(session, ":FREQ \335\n");  // a letter there
    EXPECT_EQ(Errors(session), "-224");
  }
  std::setlocale(LC_ALL, "C");
  EXPECT_EQ(skClose(session), VI_SUCCESS);
  std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace test
