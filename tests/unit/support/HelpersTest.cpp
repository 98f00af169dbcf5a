#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <string>

#include "scpi_zlt/helpers.h"

namespace {

std::wstring Widen(const std::string& text) {
  return std::wstring(text.begin(), text.end());
}

TEST(Helpers, ReadIntegersNarrowAndWide) {
  const struct {
    const char* text;
    int expected;
  } cases[] = {
      {"abc-12", -12},
      {"0x1F", 31},
      {"0x1f", 1},
      {"0xg", 0},
      {"", 0},
      {"no number", 0},
      {"-", 0},
      {"-0x10", 0},
      {"0X1F", 0},
      {"a-b5", 0},
      {"-4294967295", 1},
      {"2147483648", INT_MIN},
      {"--5", 0},
      {" = -32768", -32768},
      {"0xFFFFFFFFF", -1},
      {"7abc", 7},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(str2int(c.text), c.expected);
    EXPECT_EQ(wcs2int(Widen(c.text).c_str()), c.expected);
  }
}

TEST(Helpers, RoundByADecimalDigit) {
  constexpr auto kOther = static_cast<EDigitRoundMode>(7);
  const struct {
    double value;
    int digit;
    EDigitRoundMode mode;
    double expected;
  } cases[] = {
      {-2.5, 0, kRoundNearest, -3},   {2.5, 0, kRoundNearest, 3},          {2.5, 0, kRoundDown, 2},
      {2.1, 0, kRoundUp, 3},          {-2.1, 0, kRoundDown, -3},           {-2.9, 0, kRoundUp, -2},
      {1250, 2, kRoundNearest, 1300}, {1.23456, -3, kRoundNearest, 1.235}, {1249, 2, kOther, 1249},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.value);
    EXPECT_DOUBLE_EQ(round_to(c.value, c.digit, c.mode), c.expected);
  }
  EXPECT_TRUE(std::isnan(round_to(std::numeric_limits<double>::quiet_NaN(), 0, kRoundUp)));
}

TEST(Helpers, UpperCaseStopsAtTheCountOrTheEnd) {
  const struct {
    int count;
    const char* expected;
  } cases[] = {{0, "abc1z"}, {2, "ABc1z"}, {99, "ABC1Z"}, {-1, "ABC1Z"}};
  for (const auto& c : cases) {
    char text[] = "abc1z";
    EXPECT_EQ(ToUpper(text, c.count), text);
    EXPECT_STREQ(text, c.expected);
  }
}

TEST(Helpers, FieldsOfAText) {
  const struct {
    const char* text;
    int index;
    const char* field;
    int count;
  } cases[] = {{"", 0, "", 1},     {"a,b", 0, "a", 2}, {"a,b", 1, "b", 2}, {"a,b", 2, "", 2},
               {"a,,c", 1, "", 3}, {"a,b,", 2, "", 3}, {"a,b", -1, "", 2}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(get_parameter(c.text, c.index, ','), c.field);
    EXPECT_EQ(stdex::get_parameterW(Widen(c.text).c_str(), L',', c.index), Widen(c.field));
    EXPECT_EQ(get_parameter_count(c.text, ','), c.count);
    EXPECT_EQ(stdex::get_parameter_countW(Widen(c.text).c_str(), L','), c.count);
  }
}

TEST(Helpers, PathsAreCutAtPointsAndSlashes) {
  const struct {
    const char* path;
    const char* name;
    const char* extension;
    const char* full;
  } cases[] = {
      {"/x/a.tar.gz", "a", "gz", "a.gz"},
      {"/x/a", "a", "/x/a", "a./x/a"},
      {"d.x/f", "f", "x/f", "f.x/f"},
      {"/x/.h", "", "h", ".h"},
      {"", "", "", "."},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.path);
    EXPECT_EQ(stdex::ExtractFileName(c.path), c.name);
    EXPECT_EQ(stdex::ExtractFileExt(c.path), c.extension);
    EXPECT_EQ(stdex::ExtractFullFileName(c.path), c.full);
    EXPECT_EQ(stdex::ExtractFullFileNameW(Widen(c.path).c_str()), Widen(c.full));
  }
}

TEST(Helpers, SplitTrimReplaceAndPrint) {
  using Parts = std::vector<std::string>;
  EXPECT_EQ(stdex::split("a::b:::", "::"), (Parts{"a", "b", ":"}));
  EXPECT_EQ(stdex::split("a::", "::"), (Parts{"a", ""}));
  EXPECT_EQ(stdex::split("abc", ""), (Parts{"abc"}));
  Parts parts{"old"};
  EXPECT_EQ(ParseAddress("TCPIP0::1.2::INSTR", &parts), parts);
  EXPECT_EQ(parts, (Parts{"TCPIP0", "1.2", "INSTR"}));

  EXPECT_EQ(stdex::trim_left(" \ta b ", " \t"), "a b ");
  EXPECT_EQ(stdex::trim_right(" a b\t ", " \t"), " a b");
  EXPECT_EQ(stdex::wtrim(L"  a b ", L" "), L"a b");
  EXPECT_EQ(stdex::trim("   ", " "), "");

  EXPECT_EQ(stdex::replace<char>("aaa", "a", "aa"), "aaaaaa");
  EXPECT_EQ(stdex::replace<wchar_t>(L"a,b", L",", L"."), L"a.b");
  EXPECT_EQ(stdex::replace<char>("abc", "", "x"), "abc");
  EXPECT_EQ(stdex::toupper(std::wstring(L"gHz1")), L"GHZ1");

  EXPECT_EQ(stdex::itos(255, 16), "0255");
  EXPECT_EQ(stdex::itos(255, 10), "255");
  EXPECT_EQ(stdex::itos(-12, 16), "0-12");
  EXPECT_EQ(stdex::itow(-5, 16), L"-5");
  unsigned char bytes[] = {0x00, 0xAB, 0x5F};
  EXPECT_EQ(hex_byte(bytes, 3), "00AB5F");
  EXPECT_EQ(hex_byte(bytes, 0), "");
}

TEST(Helpers, FloatsPrintInAFieldOfSix) {
  const struct {
    double value;
    TFloatFormat format;
    int precision;
    std::wstring expected;
  } cases[] = {
      {0.5, kFloatGeneral, 12, L"   0.5"},
      {1.0 / 3, kFloatGeneral, 12, L"0.333333333333"},
      {1e12, kFloatGeneral, -4, L" 1e+12"},
      {-2.5, kFloatExponent, 1, L"-2.5e+00"},
      {65.9, kFloatCharacter, 3, L"     A"},
      {7.9, kFloatInteger, 3, L"   007"},
      {1e300, kFloatInteger, 0, L"-2147483648"},
      {2, static_cast<TFloatFormat>(9), 3, L"     2"},
      {1, kFloatExponent, 2'000'000'000, L"1." + std::wstring(509, L'0')},
  };
  for (const auto& c : cases) EXPECT_EQ(FloatToStrF(c.value, c.format, c.precision, 12), c.expected);
}

TEST(AssertionsDeathTest, TellAndAbort) {
  __M_Assert("a == b", true, "file", 1, "no");
  EXPECT_DEATH(__M_Assert("a == b", false, "src/File", 411, "wrong"),
               "^wrong\nExpected:\ta == b\nSource:\t\tsrc/File, line 411\n$");
  EXPECT_DEATH(__D_Assert("n", false, "f", 2, "bad", "abcdef", 3),
               "^bad\nData:\nabc\nSize:\t\t3\nExpected:\tn\nSource:\t\tf, line 2\n$");
  EXPECT_DEATH(__D_Assert("n", false, "f", 2, "bad", "a\0b", 3), "Data:\na\nSize:\t\t3\n");
}

}  // namespace
