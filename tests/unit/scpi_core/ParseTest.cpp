// Whole messages: what goes out ($ is the terminator), which handlers are called with what, which errors are raised.
#include <algorithm>
#include <gtest/gtest.h>
#include <string>

#include "tests/unit/scpi_core/TestTree.h"

namespace {

struct Case {
  std::string message;
  const char* outcome;
};

void Check(std::initializer_list<Case> cases) {
  for (const Case& c : cases) {
    SCOPED_TRACE(c.message);
    test::Talk talk;
    EXPECT_EQ(talk(c.message), c.outcome);
  }
}

using namespace std::string_literals;

TEST(Parse, HeadersAndForms) {
  Check({
      {"*IDN?\n", "<IDN>$|IDN?()|"},
      {"IDN?\n", "<IDN>$|IDN?()|"},
      {"*FREQ 1\n", "|FREQ(1)|"},
      {"SOUR:FREQ 1\n", "|FREQ(1)|"},
      {":SOURCE:FREQUENCY:CW 1\n", "|FREQ(1)|"},
      {"freq:cw 1\n", "|FREQ(1)|"},
      {"FREQU 1\n", "||-113"},
      {"FREQX 1\n", "||-113"},
      {"SOUR\n", "||-113"},
      {"*RST?\n", "$||-113"},
      {"*IDN\n", "||-113"},
      {"*RST:X\n", "||-113"},
      {"*SOUR:FREQ 1\n", "||-113"},
      {"::FREQ 1\n", "||-113"},
      {"*?\n", "$||-113"},
      {"X\n", "||"},
      {"FOO?\n", "$||-113"},
      {"\n", "||"},
      {"FREQ 1:2\n", "||-113"},
      {"FREQ \"1;*RST\n", "||-224"},
  });
}

TEST(Parse, BlanksAndSuffixes) {
  Check({
      {"X FREQ 1\n", "|FREQ(1)|"},
      {": FREQ 1\n", "|FREQ(1)|"},
      {"* RST\n", "|RST()|"},
      {"*IDN ?\n", "$||-113"},
      {"FREQ 1 E9\n", "|FREQ(1000000000)|"},
      {"FREQ 1 E 9\n", "||-131"},
      {"FREQ 1 2\n", "||-108"},
      {"FREQ + 5\n", "||-224"},
      {"LIST:FREQ 1 ,2\n", "||-113"},
      {"LIST:FREQ 1MHZ ,2MHZ\n", "|LFREQ(1000000,2000000)|"},
      {"LIST:FREQ 1MHZ, MAX\n", "||-131"},
      {"OUTP\tON\n", "||-113"},
      {"FREQ \t1\n", "|FREQ(1)|"},
      {"FREQ,1GHZ\n", "|FREQ(1000000000)|"},
      {"LIST:FREQ ,1\n", "|LFREQ(1)|"},
      {"FREQ 1,\n", "||-113"},
      {"*RST!\n", "|RST()|"},
      {"FREQ- 1\n", "|FREQ(1)|"},
      {"FREQ. 1GHZ\n", "|FREQ(1000000000)|"},
      {"*IDN.?\n", "<IDN>$|IDN?()|"},
      {"FREQ :CW 1\n", "|FREQ(1)|"},
      {"SOUR: FREQ 1\n", "||-113"},
      {"FREQ12 1\n", "||-113"},
      {"OUTP2?\n", "<OUTP>$|OUTP?()|"},
      {"FREQ2 1\n", "|FREQ(1)|"},
      {"FREQ\xE9 1\n", "|FREQ(1)|"},  // no letter, so a suffix
      {":?\n", "$||-113"},
  });
}

TEST(Parse, QuestionMarks) {
  Check({
      {"FR?EQ\n", "<FREQ>$|FREQ?()|"},
      {"?FREQ\n", "<FREQ>$|FREQ?()|"},
      {"FREQ?2\n", "<FREQ>$|FREQ?()|"},
      {"OUTP?:STAT\n", "<OUTP>$|OUTP?()|"},
      {"FREQ?MAX\n", "$||-113"},
      {"FREQ? MAX\n", "<FREQ>$|FREQ?(w1)|"},
      {"FREQ2? MAX\n", "$||-113"},
      {"FREQ MAX?\n", "$||-113"},
      {"FREQ 100?\n", "$||-113"},
  });
}

TEST(Parse, Parameters) {
  Check({
      {"FREQ  1  GHZ\n", "|FREQ(1000000000)|"},
      {"FREQ maximum\n", "|FREQ(w1)|"},
      {"FREQ MAXI\n", "||-224"},
      {"FREQ 1XHZ\n", "||-131"},
      {"FREQ 1ABCDEFGHIJKLMNOP\n", "||-131"},
      {"POW 1DBM\n", "||-138"},
      {"POW MAX\n", "||-224"},
      // An error that does not end the matching is overwritten by the next.
      {"POW MAX,1\n", "||-108"},
      {"FREQ #11a,1\n", "||-108"},
      {"DATA 1,2\n", "||-108"},
      {"FREQ 1,2\n", "||-108"},
      {"*RST 1\n", "||-108"},
      {"FREQ\n", "||-109"},
      {"FREQ?\n", "<FREQ>$|FREQ?()|"},
      {"OUTP oN\n", "|OUTP(w1)|"},
      {"OUTP 1\n", "|OUTP(w3)|"},
      {"OUTP O\n", "||-224"},
      {"FREQ 0X10\n", "|FREQ(16)|"},
      {"FREQ INFO\n", "||-131"},
      {"FREQ INF\n", "|FREQ(inf)|"},
      {"FREQ NAN\n", "|FREQ(nan)|"},
      {"FREQ 1e400\n", "|FREQ(inf)|"},
      {"FREQ 1e-400\n", "|FREQ(0)|"},
      {"FREQ .5KHZ\n", "|FREQ(500)|"},
      {"FREQ +5.\n", "|FREQ(5)|"},
      {"LIST:FREQ\n", "|LFREQ()|"},
      {"LIST:FREQ 1MHZ,2MHZ,3GHZ\n", "|LFREQ(1000000,2000000,3000000000)|"},
      {"FREQ #2x1\n", "||-168"},
      {"LIST:FREQ #2x1\n", "|LFREQ(0b)|"},
      {"LIST:FREQ #13a,b,2\n", "|LFREQ(3b,2)|"},
      {"LIST:FREQ #15hello\n", "|LFREQ(5b)|"},
      {"DATA 1\n", "||-161"},
      {"DATA #15\n\n\n\n\n\n", "|DATA(5b)|"},
      {"TEXT\n", "|TEXT()|"},
      {"TEXT \"a;b,c\"\n", "|TEXT(-1'a;b,c')|"},
      {"TEXT bare\n", "|TEXT(-1'bare')|"},
      {"TEXT \"\n", "|TEXT(-1'')|"},
      {"TEXT \"a\",b\n", "||-108"},
  });
}

TEST(Parse, UnitsAndThePath) {
  Check({
      {"SOUR:FREQ:STAR 1;STOP 2\n", "|STAR(1) STOP(2)|"},
      {"FREQ:STAR 1;:STOP 2\n", "|STAR(1) STOP(2)|"},
      {"FREQ 1;OUTP ON\n", "$|FREQ(1) OUTP(w1)|"},
      {"FREQ 1;ABOR\n", "$|FREQ(1) ABOR()|"},
      {"OUTP ON;FREQ 1\n", "|OUTP(w1) FREQ(1)|"},
      {"FREQ:MODE CW;*RST\n", "$|MODE(w0) RST()|"},
      {"FREQ:MODE CW;*OPC?\n", "<OPC>$|MODE(w0) OPC?()|"},
      {"*IDN?;*RST\n", "<IDN>;|IDN?() RST()|"},
      {"FREQ?;*RST\n", "<FREQ>;$|FREQ?() RST()|"},
      {"FREQ?;POW 5\n", "<FREQ>;|FREQ?() POW(5)|"},
      {"FREQ?;*IDN?\n", "<FREQ>;<IDN>$|FREQ?() IDN?()|"},
      {"FREQ?;FOO 1\n", "<FREQ>;|FREQ?()|-113"},
      {"FREQ?;FOO?\n", "<FREQ>;$|FREQ?()|-113"},
      {"LIST:FREQ 1GHZ,2GHZ;:FREQ 5GHZ\n", "|LFREQ(1000000000,2000000000) LFREQ(5000000000)|"},
      {"FREQ:STAR 1;*OPC?;STOP 2\n", "<OPC>;|STAR(1) OPC?()|-113"},
      {"SYST:ERR?;COUN?\n", "<ERR>;<COUN>$|ERR?() COUN?()|"},
      {"FREQ?; ;POW?\n", "<FREQ>;<POW>$|FREQ?() POW?()|"},
      {"FREQ?;   ;POW?\n", "<FREQ>;|FREQ?()|"},
      {"FREQ 1;;POW 2\n", "|FREQ(1)|"},
      {"LIST:FREQ 1;STOP 2\n", "|LFREQ(1)|-113"},
      {"*IDN?;;*OPC?\n", "<IDN>;|IDN?()|"},
      {"*IDN?;\n", "<IDN>;|IDN?()|"},
      {"AB;*RST\n", "|RST()|"},
      {"ABC;*RST\n", "||-113"},
      {"*CLS\0;*RST\n"s, "||-113"},
      {"FREQ:STAR 1;STOP 1XX\n", "|STAR(1)|-113"},
      {"FREQ 1;FREQ 5XX\n", "|FREQ(1)|-131"},
      {"FREQ #15;;;;;;*RST\n", "||-168"},
  });
}

TEST(Parse, RefusalRunsTheHandlerAgainInACompoundMessage) {
  test::Talk talk;
  talk.refusal = -222;
  EXPECT_EQ(talk("FREQ 9\n"), "|FREQ(9)|-222");
  EXPECT_EQ(talk("FREQ 9;\n"), "|FREQ(9) FREQ(9,9)|-222");
  EXPECT_EQ(talk("*IDN?;LIST:FREQ 1,2\n"), "<IDN>;|IDN?() LFREQ(1,2) LFREQ(1,2,1,2)|-222");
  // The second attempt decides: where it finds no row, the handler's refusal is dropped.
  EXPECT_EQ(talk("FREQ:STAR?;STOP 9\n"), "<STAR>;|STAR?() STOP(9)|-113");
  EXPECT_EQ(talk("FREQ:STAR?;:FREQ:STOP 9\n"), "<STAR>;|STAR?() STOP(9)|-222");
  talk.refusal = -365;  // the time-out of a waiting operation ends the message without a word
  EXPECT_EQ(talk("FREQ 9\n"), "|FREQ(9)|");
}

TEST(Parse, ErrorInfoSpeaksFirst) {
  test::Talk talk;
  talk.detail = {-310, "System error"};
  EXPECT_EQ(talk("*CLS\n"), "|CLS()|-310System error");
  EXPECT_EQ(talk("FREQ?\n"), "<FREQ>$|FREQ?()|-310System error");
  talk.refusal = -365;  // not silent when there is another error
  EXPECT_EQ(talk("*CLS\n"), "|CLS()|-310System error");
  talk.detail = {};
  EXPECT_EQ(talk("FREQ 1;*CLS\n"), "|FREQ(1) FREQ(1,1)|");
}

TEST(Parse, RowsThatTheRealTreeLacks) {
  Check({
      {"TWIN CW\n", "|TWIN(w0)|"},
      {"TWIN 5\n", "|TWIN(5)|"},  // an error of the first row does not stop the second
      {"TWIN 5XX\n", "||-138"},
      {"MARK:PEAK 5\n", "|MARK(1,0,5)|"},
      {"MARK2:PEAK3 5\n", "|MARK(2,3,5)|"},
  });
}

TEST(Parse, ManyUnitsAndLongLists) {
  test::Talk talk;
  EXPECT_EQ(talk(std::string(10000, ';') + "\n"), "||");
  std::string list = "LIST:FREQ 1";
  for (int i = 0; i < 9999; ++i) list += ",1";
  talk(list + "\n");
  EXPECT_EQ(std::count(talk.calls.begin(), talk.calls.end(), '1'), 10000);
}

}  // namespace
