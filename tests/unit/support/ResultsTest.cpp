#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <limits>
#include <locale.h>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <unistd.h>

#include "scpi_zlt/lookups.h"

#include "support/ErrorInfo.h"
#include "support/ResultFormat.h"

namespace {

std::string Convert(void* data, int type) {
  char out[256];
  std::memset(out, '#', sizeof out);
  ConvertOutputData(data, type, out, true);
  return out;
}

std::string ConvertDouble(double value, int type = 2) {
  return Convert(&value, type);
}

std::string Printed(double value) {
  char text[128];
  std::snprintf(text, sizeof text, "%.12g", value);
  return text;
}

TEST(Results, Doubles) {
  const struct {
    double value;
    const char* expected;
  } cases[] = {
      {1000000000.0, "1000000000"},
      {40000000000.0, "40000000000"},
      {1e12, "1e+12"},
      {0.001, "0.001"},
      {1e-09, "1e-09"},
      {2.5e-08, "2.5e-08"},
      {-0.0, "-0"},
      {100.10, "100.1"},
      {std::numeric_limits<double>::infinity(), "inf"},
  };
  for (const auto& c : cases) EXPECT_EQ(ConvertDouble(c.value), c.expected);
}

// The fast path and the C library must agree on every bit pattern, NaNs included.
TEST(Results, DoublesAreThoseOfPrintf) {
  std::mt19937_64 random(12345);
  for (int i = 0; i < 200000; ++i) {
    const std::uint64_t bits = random();
    double value;
    std::memcpy(&value, &bits, sizeof value);
    ASSERT_EQ(ConvertDouble(value), Printed(value));
    const double usual = static_cast<double>(bits % 40'000'000'000'000) / 1000.0;
    ASSERT_EQ(ConvertDouble(usual), Printed(usual));
  }
}

TEST(Results, OtherTypes) {
  int number = -42;
  char text[] = "text";
  EXPECT_EQ(Convert(reinterpret_cast<void*>(std::uintptr_t{0xFFFFFFFF0000002A}), 0), "0x2A");
  for (const int type : {1, 4}) EXPECT_EQ(Convert(&number, type), "-42");
  for (const int type : {3, 5, 6, 8, 1000, -1}) EXPECT_EQ(Convert(text, type), "text");
  EXPECT_EQ(ConvertDouble(-1.23456e-05, 7), "-1.23456");
  EXPECT_EQ(ConvertDouble(0.5, 7), "0.5");

  double half = 0.5;
  char out[12] = "###########";
  ConvertOutputData(&half, 7, out, false);
  EXPECT_EQ(std::string(out, 11), std::string("0.5\0\0\0\0\0###", 11));
  ConvertOutputData(text, 3, out, false);
  EXPECT_EQ(out[4], '\0');
  ConvertOutputData(&half, 2, out + 1, false);
  EXPECT_EQ(std::string(out, 5), std::string("t0.5\0", 5));
}

/// Prints on standard error what a thread in a locale with a decimal comma gets: a double, a whole number, whether its
/// locale is back afterwards, and a double under the locale from before.
[[noreturn]] void ConvertUnderLocale(const std::string& folder) {
  setenv("LOCPATH", folder.c_str(), 1);
  const locale_t german = newlocale(LC_ALL_MASK, "de_DE", nullptr);
  const locale_t before = uselocale(german);
  int number = 1234567;
  const std::string half = ConvertDouble(0.5);
  const std::string whole = Convert(&number, 4);
  const bool kept = uselocale(before) == german;
  std::fprintf(stderr, "%s %s %s %s", half.c_str(), whole.c_str(), kept ? "kept" : "lost", ConvertDouble(0.5).c_str());
  std::_Exit(0);
}

// The double takes the point of the thread's locale; whole numbers go through an installed "english" and back. In a
// child process, because the places where locales are looked for belong to the process.
TEST(ResultsDeathTest, FollowTheLocaleOfTheThread) {
  const std::filesystem::path folder =
      std::filesystem::path(testing::TempDir()) / ("zlt_locales_" + std::to_string(getpid()));
  std::filesystem::remove_all(folder);
  std::filesystem::create_directories(folder);
  const std::string command = "localedef -i de_DE -f UTF-8 " + (folder / "de_DE").string() + " >/dev/null 2>&1";
  if (std::system(command.c_str()) != 0) GTEST_SKIP() << "no localedef, or no sources of locales";
  std::filesystem::copy(folder / "de_DE", folder / "english", std::filesystem::copy_options::recursive);
  EXPECT_EXIT(ConvertUnderLocale(folder), testing::ExitedWithCode(0), "^0,5 1234567 kept 0\\.5$");
  std::filesystem::remove_all(folder);
}

TEST(ErrorTable, HoldsEveryNumberOnce) {
  std::set<int> numbers;
  int commands = 0;
  for (const sErrorInfoRow& row : ErrorInfo) {
    SCOPED_TRACE(row.ScpiCode);
    EXPECT_TRUE(numbers.insert(row.ScpiCode).second);
    EXPECT_STREQ(GetErrorDescription(row.ScpiCode), row.Text);
    EXPECT_EQ(row.CommandClass, row.ScpiCode <= -108 && row.ScpiCode >= -224 ? 1 : 0);
    commands += row.CommandClass;
  }
  EXPECT_EQ(commands, 17);
}

TEST(ErrorTable, Descriptions) {
  const struct {
    int code;
    const char* text;
  } cases[] = {
      {0, "No error"},
      {-113, "Undefined header"},
      {20486, ""},
      {317, ""},
      {118, "Data flow is logicaly broken"},
      {333, "External reference oscillator no powerL"},
      {-365, "Time out error"},
      {593, "Parameters changed by user"},
      {-310, "System error"},
  };
  for (const auto& c : cases) EXPECT_STREQ(GetErrorDescription(c.code), c.text);
}

TEST(ErrorTable, OnlyItsNumbersAreErrors) {
  const struct {
    int status;
    bool known;
    int code;
    const char* text;
  } cases[] = {
      {-222, true, -222, "Data out of range"},
      {0, false, 0, "No error"},
      {20506, false, 0, "No error"},
      {-32766, false, 0, "No error"},
      {593, true, 593, "Parameters changed by user"},
      {static_cast<int>(0xBFFF0015), false, 0, "No error"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.status);
    sComErrorInfo info;
    int status = c.status;
    EXPECT_EQ(CheckErr(status, nullptr, &info), c.known);
    EXPECT_EQ(info.code, c.code);
    EXPECT_STREQ(info.text, c.text);
    // The table's own text, so that it outlives whatever held the number.
    if (c.known) {
      EXPECT_EQ(info.text, GetErrorDescription(c.code));
    }
  }
  sComErrorInfo info;
  std::runtime_error error("lost");
  EXPECT_EQ(CatchErr(error, nullptr, &info), -310);
  EXPECT_EQ(info.code, -310);
  EXPECT_STREQ(info.text, "System error");
}

TEST(ErrorTable, DeviceStatusesBecomeNumbers) {
  const struct {
    short status;
    int expected;
  } cases[] = {{0, 0},    {-1, 33067}, {-32763, 305}, {-32767, 301}, {-32768, -300}, {1, 101},
               {99, 199}, {100, -300}, {20480, -300}, {20481, 201},  {20486, 206},   {32767, 12487}};
  for (const auto& c : cases) EXPECT_EQ(ConvertErrorSorvsToScpi(c.status), c.expected) << c.status;
}

}  // namespace
