// Touchstone files through the exported functions.
#include "scpi_zlt/touchstone.h"

#include <cmath>
#include <gtest/gtest.h>
#include <random>

#include "tests/unit/datafiles/Files.h"

using namespace datafiles_test;

namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

}  // namespace

void datafiles_test::ExpectNetworksLoad() {
  const std::string nine = "1 1 0 1 0 1 0 1 0\n2 1 0 1 0 1 0 1 0\n";
  const std::string nine_values = "{1e+09,1,0,1,0,1,0,1,0}{2e+09,1,0,1,0,1,0,1,0}";
  const std::string zeros = "{0,0,0,0,0,0,0,0,0}{0,0,0,0,0,0,0,0,0}";
  struct {
    const char* name;
    std::string text;
    std::string expected;
  } cases[] = {
      {"MA", "# GHZ S MA R 50\n1 0.5 90", "0 {1e+09,3.061616997868383e-17,0.5}"},
      {"dB", "# HZ S DB R 50\n1 -6.0206 0", "0 {1,0.4999999950079739,0}"},
      {"no option line", "1 .5 -.25", "0 {1,0.5,-0.25}"},
      {"no blank after the mark", "#GHZ S MA R 50\n1 .5 90", "-5 {1,0.5,90}"},
      {"blank before the mark", " # GHZ S MA R 50\n1 .5 90", "0 {1,0.5,90}"},
      {"unit second", "# S GHZ MA R 50\n1 .5 90", "-5 {1,0.5,90}"},
      {"unknown unit", "# MM S MA\n1 .5 90", "-5 {1,0.5,90}"},
      {"unknown format", "# GHZ S XX R 50\n1 .5 90", "-5 {1e+09,0.5,90}"},
      {"unit alone", "# GHZ\n1 .5 90", "-5 {1e+09,0.5,90}"},
      {"bare mark", "# GHZ S MA\n#\n1 .5 90", "0 {1,0.5,90}"},
      {"small letters, other impedance", "# mhz s ri r 75\n1 .5 90", "0 {1e+06,0.5,90}"},
      {"option line after the data", "1 0.5 0\n# kHz S MA R 50", "0 {1000,0.5,0}"},
      {"last option line holds", "# kHz S MA\n1 0.5 0\n# THz S RI", "0 {1e+12,0.5,0}"},
      {"falling frequency", "1 1 1\n3 1 1\n2 1 1", "-5 {0,0,0}{0,0,0}"},
      {"equal frequencies", "1 1 1\n1 2 2", "0 {1,1,1}{1,2,2}"},
      {"comment in a row", "1 .1 .2 ! S11 0.7", "0 {1,0.1,0.2}"},
      {"commas as separators", "1, 0.1, 0.2", "-5 "},
      {"decimal commas", "1,5 0,1 0,2", "0 {1.5,0.1,0.2}"},
      {"lone CR", "! a\r# GHZ S MA R 50\r1 .5 90\r", "-5 "},
      {"five values", "1 1 1 1 1", "-5 "},
      {"unequal", "1 1 1\n2 1 1 1", "-3 "},
      {"empty", "", "-5 "},
      {"words", "[a]\nabc\n", "-5 "},
      {"noise", "# GHZ S MA R 50\n" + nine + "1 3 0.5 90 0.2",
       "0 " + nine_values + " noise {1e+09,1.9952623149688795,0.5,90,0.2}"},
      {"noise goes on above", "# GHZ S RI R 50\n" + nine + "1 0 1 1 1\n3 0 1 1 1",
       "0 " + nine_values + " noise {1e+09,1,1,1,1}{3e+09,1,1,1,1}"},
      {"noise of four", "# GHZ S RI R 50\n" + nine + "1 3 0.5 90", "-5 " + zeros},
      {"noise row above the data", "# GHZ S RI R 50\n" + nine + "3 3 0.5 90 0.2", "-3 "},
      {"unequal noise", "# GHZ S RI R 50\n" + nine + "1 3 0.5 90 0.2\n1 3", "-3 "},
      {"three ports", "1 1 2 3 4 5 6 7 8 9 1 2 3 4 5 6 7 8 9", "-5 "},
      {"only comments", "! a\n!b\n", "-5 "},
      {"binary", std::string("\0\1\2\n1\0002\n\xFF\xFE\n", 11), "-5 "},
      {"CR LF", "# GHZ S RI R 50\r\n1 .5 .25\r\n\r\n2 1 1\r\n", "0 {1e+09,0.5,0.25}{2e+09,1,1}"},
      {"huge exponents", "1 1e-400 -1e-400\n1e400 1 1\n2 1e400 1", "-3 "},
      {"UTF-8 mark", "\xEF\xBB\xBF# GHZ S RI\n1 2 3", "0 {1e+09,2,3}"},
      {"NaN cuts its row", "1 .1 nan", "-5 "},
  };
  Folder folder;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    WriteBytes(folder / "n", c.text);
    EXPECT_EQ(LoadNetwork(folder / "n"), c.expected);
  }
  WriteBytes(folder / "n", "# GHZ S RI R 50\n" + nine + "1 3 0.5 90 \n");
  CSimpleMatrix matrix;
  EXPECT_EQ(LoadTouchstone((folder / "n").wstring().c_str(), &matrix, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(Text(matrix), nine_values);
  EXPECT_EQ(LoadTouchstone(L"/nowhere", nullptr, nullptr, nullptr, nullptr), -6);
}

namespace {

TEST(Touchstone, Load) {
  ExpectNetworksLoad();
}

TEST(Touchstone, CommentBuffer) {
  Folder folder;
  WriteBytes(folder / "n", "! a\n1 2 3\n! b\r\n");
  const std::wstring name = (folder / "n").wstring();
  CSimpleMatrix matrix;
  wchar_t buffer[32] = L"xx";
  for (const int start : {2, 0}) {
    int length = start;
    EXPECT_EQ(LoadTouchstone(name.c_str(), &matrix, buffer, &length, nullptr), 0);
    EXPECT_EQ(buffer, std::wstring(L"xx", static_cast<std::size_t>(start)) + L"! a! b\r");
    EXPECT_EQ(length, start + 8);
  }
  int length = -1;
  EXPECT_EQ(LoadTouchstone(name.c_str(), &matrix, buffer, &length, nullptr), 0);
  EXPECT_EQ(length, -1);
  EXPECT_EQ(buffer[0], L'!');
}

TEST(Touchstone, NoiseThatTheFileDoesNotHaveStays) {
  Folder folder;
  WriteBytes(folder / "n", "# GHZ S RI R 50\n1 2 3\n");
  CSimpleMatrix matrix;
  CSimpleMatrix noise = MakeMatrix({{1, 3, 0, 0, 0}});
  EXPECT_EQ(LoadTouchstone((folder / "n").wstring().c_str(), &matrix, nullptr, nullptr, &noise), 0);
  EXPECT_EQ(Text(noise), "{1,3,0,0,0}");
}

TEST(Touchstone, WordsOfAnEarlierLoadHold) {
  Folder folder;
  CSimpleMatrix matrix;
  SParamMatrix wrapper(&matrix);
  WriteBytes(folder / "n", "# KHZ S RI R 50\n1 2 3\n");
  EXPECT_EQ(wrapper.Load((folder / "n").wstring().c_str(), nullptr, nullptr, nullptr), 0);
  WriteBytes(folder / "n", "1 2 3\n");
  EXPECT_EQ(wrapper.Load((folder / "n").wstring().c_str(), nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(Text(matrix), "{1000,2,3}");
  matrix = MakeMatrix({{1, 20, 0, 6}});
  WriteBytes(folder / "db", "# HZ S DB R 50\n");
  EXPECT_EQ(wrapper.Load((folder / "db").wstring().c_str(), nullptr, nullptr, nullptr), -5);
  EXPECT_TRUE(wrapper.ChangeMatrix(nullptr));
  EXPECT_EQ(Text(matrix), "{1000,20,0,6}");  // the option line of a file without rows is not taken over
  WriteBytes(folder / "db", "# HZ S DB R 50\n1 2 3\n");
  EXPECT_EQ(wrapper.Load((folder / "db").wstring().c_str(), nullptr, nullptr, nullptr), 0);
  matrix = MakeMatrix({{1, 20, 0, 20}});
  EXPECT_TRUE(wrapper.ChangeMatrix(nullptr));
  EXPECT_EQ(Text(matrix), "{1,10,0,20}");  // only whole pairs are converted
}

/// What follows the option line, blanks as points.
std::string Rows(const std::string& bytes) {
  const std::size_t option = bytes.find("# Hz S ");
  std::string rows = bytes.substr(bytes.find('\n', option) + 1);
  for (char& c : rows) {
    c = c == ' ' ? '.' : c;
  }
  return rows;
}

TEST(Touchstone, Save) {
  struct {
    const char* name;
    std::vector<double> row;
    ETouchstoneFormat format;
    const char* expected;
  } cases[] = {
      {"RI", {1e9, .5, -.25}, kTouchstoneRi, "1000000000......0.5...........-0.25\n"},
      {"MA", {1e9, .5, -.25}, kTouchstoneMa, "1000000000...0.559016994375..-26.5650511771\n"},
      {"dB", {1e9, .5, -.25}, kTouchstoneDb, "1000000000..-5.0514997832....-26.5650511771\n"},
      {"angle 0", {1e9, .5, 0}, kTouchstoneMa, "1000000000......0.5................0\n"},
      {"angle -180", {1e9, -.5, -0.0}, kTouchstoneMa, "1000000000......0.5............-180\n"},
      {"minus zero", {1e9, -0.0, .5}, kTouchstoneRi, "1000000000.......-0..............0.5\n"},
      {"zero pair", {1e9, 0, 0}, kTouchstoneRi, "1000000000..-200.0\n"},
      {"half a pair", {1e9, .5}, kTouchstoneRi, "1000000000..-200.0\n"},
      {"missing pairs",
       {1e9, .1, .2, .3},
       kTouchstoneRi,
       "1000000000......0.1..............0.2..........-200.0.-200.0.-200.0\n"},
      {"13 digits", {123456789012345, 1, 1}, kTouchstoneRi, "1.234567890123e+14.......1................1\n"},
      {"a tenth", {1234567890.5, 1, 1}, kTouchstoneRi, "1234567890.5.......1................1\n"},
      {"NaN", {1, kNan, 1}, kTouchstoneRi, "1...............nan................1\n"},
  };
  Folder folder;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    CSimpleMatrix matrix = MakeMatrix({c.row});
    ASSERT_EQ(SaveTouchstone((folder / "n.x").wstring().c_str(), &matrix, nullptr, nullptr, c.format), 0);
    EXPECT_EQ(Rows(ReadBytes(folder / "n.x")), c.expected);
  }
  CSimpleMatrix matrix = MakeMatrix({{1, 1, 1}});
  CSimpleMatrix noise = MakeMatrix({{5e8, 2, .5, 90, .25}, {6e8, 1, 1, -1.23456789012345e-300, 1.23456789012345e-300}});
  ASSERT_EQ(SaveTouchstone((folder / "n.x").wstring().c_str(), &matrix, L" \nfirst\r\nsecond\nthird\n", &noise,
                           kTouchstoneRi),
            0);
  const std::string bytes = ReadBytes(folder / "n.x");
  EXPECT_NE(bytes.find("\n! first\n! second\n! third\n# Hz S RI R 50\n"), bytes.npos);
  EXPECT_TRUE(bytes.starts_with("! Sorvik, Research & Production Company\n! Date: 2"));
  EXPECT_EQ(Rows(bytes),
            "1.................1................1\n!.NOISE.PARAMETERS\n!.Frequency.NF(dB).REFL.PHASE.ENR\n"
            "500000000....3.01029995664.......0.5...............90...........0.25\n"
            "600000000.........0................1..........-1.234567890123e-300.1.234567890123e-300\n");
  noise = MakeMatrix({{1, -2}, {2, 0}});
  ASSERT_EQ(SaveTouchstone((folder / "n.x").wstring().c_str(), &matrix, nullptr, &noise, kTouchstoneRi), 0);
  EXPECT_NE(Rows(ReadBytes(folder / "n.x"))
                .find("\n1............3.01029995664...-200.0.-200.0.-200.0\n"
                      "2............-1000...........-200.0.-200.0.-200.0\n"),
            bytes.npos);
}

TEST(Touchstone, NamesAndRefusals) {
  struct {
    unsigned int columns;
    const char* extension;  // null: -5
  } cases[] = {{2, ".s1p"},  {3, ".s1p"},  {4, ".s2p"},  {9, ".s2p"},  {10, ".s3p"},
               {19, ".s3p"}, {20, ".s4p"}, {33, ".s4p"}, {34, nullptr}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.columns);
    char folder[] = "/tmp/datafilesXXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    CSimpleMatrix matrix;
    matrix.SetSize(c.columns, 1);
    const std::filesystem::path path = std::filesystem::path(folder) / "name";
    EXPECT_EQ(SaveTouchstone(path.wstring().c_str(), &matrix, nullptr, nullptr, kTouchstoneRi), c.extension ? 0 : -5);
    EXPECT_EQ(std::filesystem::is_empty(folder), c.extension == nullptr);
    EXPECT_TRUE(c.extension == nullptr || std::filesystem::exists(path.string() + c.extension));
    const auto no_format = static_cast<ETouchstoneFormat>(c.columns % 2 != 0 ? 3 : -1);
    EXPECT_EQ(SaveTouchstone(path.wstring().c_str(), &matrix, nullptr, nullptr, no_format), -5);
    std::filesystem::remove_all(folder);
  }
  CSimpleMatrix matrix = MakeMatrix({{1}});
  EXPECT_EQ(SaveTouchstone(L"/nowhere/x.y", &matrix, nullptr, nullptr, static_cast<ETouchstoneFormat>(3)), -6);
  EXPECT_EQ(SaveTouchstone(L"/nowhere/x.y", nullptr, nullptr, nullptr, kTouchstoneRi), -6);
}

TEST(Touchstone, SaveLoadSaveGivesTheSameBytes) {
  std::mt19937_64 random(4);
  std::uniform_real_distribution<double> values(-1.0, 1.0);
  Folder folder;
  const std::wstring name = (folder / "n.x").wstring();
  for (int turn = 0; turn < 60; ++turn) {
    SCOPED_TRACE(turn);
    const auto format = static_cast<ETouchstoneFormat>(turn / 2 % 3);
    CSimpleMatrix matrix;
    matrix.SetSize(turn % 2 == 0 ? 3 : 9, 30);
    for (unsigned row = 0; row < matrix.Rows(); ++row) {
      for (unsigned column = 0; column < matrix.Cols(); ++column) {
        matrix.SetValue(column, row, column == 0 ? 1e9 + row * 1e6 : values(random));
      }
    }
    CSimpleMatrix noise = MakeMatrix({{5e8, 2, .5, 90, .25}});
    ASSERT_EQ(SaveTouchstone(name.c_str(), &matrix, nullptr, &noise, format), 0);
    const std::string bytes = Rows(ReadBytes(folder / "n.x"));
    ASSERT_EQ(LoadTouchstone(name.c_str(), &matrix, nullptr, nullptr, &noise), 0);
    ASSERT_EQ(SaveTouchstone(name.c_str(), &matrix, nullptr, &noise, format), 0);
    ASSERT_EQ(Rows(ReadBytes(folder / "n.x")), bytes);
  }
  // Not read back exactly: decibels near 0, and a pair that is zero.
  WriteBytes(folder / "n.x", "# Hz S DB\n1 -7.16936649342e-05 30\n");
  CSimpleMatrix matrix;
  ASSERT_EQ(LoadTouchstone(name.c_str(), &matrix, nullptr, nullptr, nullptr), 0);
  ASSERT_EQ(SaveTouchstone(name.c_str(), &matrix, nullptr, nullptr, kTouchstoneDb), 0);
  EXPECT_TRUE(Rows(ReadBytes(folder / "n.x")).find("-7.16936649342e-05") == std::string::npos);
  matrix = MakeMatrix({{1, 0, 0}});
  ASSERT_EQ(SaveTouchstone(name.c_str(), &matrix, nullptr, nullptr, kTouchstoneRi), 0);
  EXPECT_EQ(LoadNetwork(folder / "n.x"), "0 {1,-200,0}");
}

}  // namespace
