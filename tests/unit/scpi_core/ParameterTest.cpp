// Numbers as the parser reads them: exactly as strtod does in the "C" locale, but never past the token.
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <string>

#include "scpi_core/pcore.h"

namespace {

const sFParam kBare = {kKindNumeric, nullptr, 0, nullptr, 0, kForSet};

TEST(Numbers, NeverReadPastTheToken) {
  const std::string text = "1234567";
  sNumValue number;
  EXPECT_EQ(GetNumValue(text.data(), 3, kBare, number), 0);
  EXPECT_EQ(number.value, 123.0);
  EXPECT_STREQ(number.unit, "");
}

TEST(Numbers, AgreeWithStrtod) {
  std::mt19937_64 random(11);
  const char alphabet[] = "0123456789..eE+-xXinfa \t";
  for (int round = 0; round < 50000; ++round) {
    std::string text;
    const std::size_t size = 1 + random() % 12;
    for (std::size_t i = 0; i < size; ++i) text += alphabet[random() % (sizeof alphabet - 1)];
    SCOPED_TRACE(text);
    char* end = nullptr;
    const double expected = std::strtod(text.c_str(), &end);
    const std::string rest = end;
    sNumValue number;
    const bool invalid = GetNumValue(text.data(), static_cast<int>(text.size()), kBare, number) != 0;
    ASSERT_EQ(invalid, end == text.c_str());
    if (invalid) continue;
    ASSERT_EQ(std::memcmp(&number.value, &expected, sizeof expected) == 0 || std::isnan(expected), true);
    ASSERT_EQ(std::string(number.unit).size(), std::min<std::size_t>(rest.size(), 11));
  }
}

TEST(Numbers, LastMatchingMnemonicWins) {
  const sMnemonicRow words[] = {{"maximum", 0, 3}, {"max", 0, -1}, {"minimum", 0, 3}};
  const sFParam parameter = {kKindNumeric, words, 3, nullptr, 0, kForSet | kTakesWords};
  sNumValue number;
  EXPECT_EQ(GetNumValue("MAX", 3, parameter, number), 0);
  EXPECT_TRUE(number.mnemonic);
  EXPECT_EQ(number.value, 1.0);
  EXPECT_EQ(GetNumValue("MAXI", 4, parameter, number), 1);
}

}  // namespace
