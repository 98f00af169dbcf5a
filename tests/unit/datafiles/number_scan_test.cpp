// The scanner against the stream that it replaces.
#include <algorithm>
#include <bit>
#include <cstdio>
#include <gtest/gtest.h>
#include <locale>
#include <random>
#include <sstream>
#include <vector>

#include "datafiles/LineNumbers.h"
#include "datafiles/NumberScan.h"

namespace {

using datafiles::CommaRule;

std::vector<std::uint64_t> FromStream(std::wstring text, wchar_t comma) {
  std::replace(text.begin(), text.end(), L',', comma);
  std::wistringstream stream(text);
  stream.imbue(std::locale::classic());
  std::vector<std::uint64_t> numbers;
  for (double value = 0.0; stream >> value;) {
    numbers.push_back(std::bit_cast<std::uint64_t>(value));
  }
  return numbers;
}

template <CommaRule rule, class Char>
std::vector<std::uint64_t> FromScanner(const std::basic_string<Char>& text) {
  std::vector<std::uint64_t> numbers;
  datafiles::ScanText<rule>(std::basic_string_view<Char>(text),
                            [&](double value) { numbers.push_back(std::bit_cast<std::uint64_t>(value)); });
  return numbers;
}

void ExpectSame(const std::string& text) {
  const std::wstring wide(text.begin(), text.end());
  const auto point = FromStream(wide, L'.');
  const auto blank = FromStream(wide, L'\t');
  ASSERT_EQ(FromScanner<CommaRule::kPoint>(text), point) << text;
  ASSERT_EQ(FromScanner<CommaRule::kPoint>(wide), point) << text;
  ASSERT_EQ(FromScanner<CommaRule::kBlank>(text), blank) << text;
  ASSERT_EQ(FromScanner<CommaRule::kBlank>(wide), blank) << text;
}

TEST(NumberScan, NamedPlaces) {
  for (const char* text : {"+5",
                           "1e",
                           "1e+",
                           "inf",
                           "nan",
                           "1e-400",
                           "1e400",
                           "1 1e400 2",
                           "1.5.3",
                           "1-2",
                           "1+2j",
                           "5dB",
                           "0x10",
                           ".",
                           "-",
                           ".5 5. 007",
                           "1,,2",
                           ",1,2",
                           "- 5",
                           "+-5",
                           "1e5.3",
                           ".e5",
                           "1.e5",
                           "-0",
                           "-0.0e-999999999999999999999",
                           "1e99999999999999999999",
                           "0e99999999999999999999",
                           "1\v2\f3\r4",
                           "4.9e-324 2.4e-324 2.5e-324",
                           "1e22 1e23 1e-22",
                           "9007199254740993 9007199254740992e1 123456789012345678901234567890",
                           "1234567: 1234567",
                           "1234567/ 1234567",
                           "1.7976931348623158e308 1 1.7976931348623159e308"}) {
    ExpectSame(text);
  }
  ExpectSame("0." + std::string(400, '0') + "1e401 " + std::string(400, '9') + "e-399 " + std::string(400, '9'));
  ExpectSame("1." + std::string(5000, '0') + "1 0." + std::string(30, '0') + "12345 9007199254740993." +
             std::string(800, '0') + "1");
}

TEST(NumberScan, GeneratedText) {
  std::mt19937_64 random(1);
  constexpr std::string_view kCharacters = "00123456789999..,+-eE  \t\rxin";
  for (int i = 0; i < 200'000; ++i) {
    std::string text(random() % 24, ' ');
    for (char& c : text) {
      c = kCharacters[random() % kCharacters.size()];
    }
    ExpectSame(text);
  }
}

TEST(NumberScan, GeneratedNumbers) {
  std::mt19937_64 random(2);
  constexpr const char* kForms[] = {"%.17g", "%.12g", "%.6g", "%.25e", "%.3f"};
  for (int i = 0; i < 100'000; ++i) {
    char text[512];
    std::snprintf(text, sizeof text, kForms[random() % 5], std::bit_cast<double>(random()));
    ExpectSame(text);
  }
}

}  // namespace
