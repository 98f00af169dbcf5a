// The pieces below whole messages: blocks, units, trimming, suffixes, tokens.
#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "scpi_core/pcore.h"

namespace {

TEST(Tokeniser, BlockSizes) {
  struct {
    const char* text;
    unsigned whole, header, data;
  } const cases[] = {{"#210abcdefghij", 14, 4, 10},
                     {"#2x1", 0, 4, 0},
                     {"#9", 0, 11, 0},
                     {"#10", 3, 3, 0},
                     {"#0abc", 0, 0, 0},
                     {"#a", 0, 0, 0},
                     {"#", 0, 0, 0},
                     {"15", 0, 0, 0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    const int length = static_cast<int>(std::string(c.text).size());
    EXPECT_EQ(BinaryBlockSize(c.text, length, kBlockWhole), c.whole);
    EXPECT_EQ(BinaryBlockSize(c.text, length, kBlockHeader), c.header);
    EXPECT_EQ(BinaryBlockSize(c.text, length, kBlockData), c.data);
  }
}

TEST(Tokeniser, CountsUnits) {
  struct {
    std::string text;
    int count;
  } const cases[] = {{"", 1},
                     {"\n", 1},
                     {"A;B;", 3},
                     {"\"A;B\";C", 2},
                     {"it's;B", 1},
                     {"#13;;;;B\n", 2},
                     {std::string("A\0;B", 4), 1},
                     {"A;\n;B", 2}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(GetComCount(c.text.data(), static_cast<int>(c.text.size())), c.count);
  }
}

TEST(Tokeniser, Trims) {
  struct {
    const char* text;
    const char* trimmed;
  } const cases[] = {
      {"A BC", "BC"},
      {"A B", ""},
      {" A BC", "A BC"},
      {"1 ,2", ",2"},
      {"A", ""},
      {" AB\r\n", "AB"},
      {"FREQ  1  GHZ", "FREQ 1GHZ"},
      {"FREQ 1000 MHZ", "FREQ 1000MHZ"},
      {"ON, OFF", "ON, OFF"},
      {"LIST 1, 2", "LIST 1,2"},
      {"FREQ? MAX", "FREQ? MAX"},
      {"TEXT \"a  b\"", "TEXT \"a  b\""},
      {"DD #13a b", "DD #13a b"},
      {"DD    #13 bc,1", "DD #13 bc,1"},
      {"AB\tC", "AB\tC"},
      {"AB ,C", "AB,C"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    std::string text = c.text;
    int length = static_cast<int>(text.size());
    Trim(text.data(), length);
    EXPECT_EQ(text.substr(0, static_cast<std::size_t>(length)), c.trimmed);
  }
}

TEST(Tokeniser, ChannelsMeetInTheMiddle) {
  struct {
    const char* token;
    int channel, length;
  } const cases[] = {{"", -1, 0},       {"OUTP", 0, 4},     {"OUTP2", 2, 4}, {"OUTP12", 1, 5}, {"ABC12", 1, 4},
                     {"ABC123", 12, 4}, {"ABC1234", 12, 5}, {"1AB", -1, 3},  {"OUTP-1", 0, 5}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.token);
    int length = static_cast<int>(std::string(c.token).size());
    EXPECT_EQ(GetChannel(c.token, length), c.channel);
    EXPECT_EQ(length, c.length);
  }
  const std::string many = "A" + std::string(100, '9');
  int length = static_cast<int>(many.size());
  EXPECT_EQ(GetChannel(many.data(), length), 2147483647);
  EXPECT_EQ(length, 81);  // twenty characters at most come off
}

// The same scans a character at a time, without short cuts: the reference for the fast ones.
struct Literal {
  const std::string& text;

  int Size() const { return static_cast<int>(text.size()); }
  char At(int at) const { return at >= 0 && at < Size() ? text[static_cast<std::size_t>(at)] : '\0'; }
  int Block(int at) const {
    const auto whole = static_cast<int>(BinaryBlockSize(text.data() + at, Size() - at, kBlockWhole));
    return std::min(whole, Size() - at);
  }

  int Units() const {
    int count = 1;
    bool quoted = false;
    for (int at = 0; at < Size() && At(at) != '\n' && At(at) != '\0'; at += std::max(Block(at), 1)) {
      if (At(at) == '"' || At(at) == '\'') quoted = !quoted;
      count += At(at) == ';' && !quoted;
    }
    return count;
  }

  /// Each delimiter in turn, from the cursor to the end.
  void Next(SubStringParams& cursor, const char* delimiters) const {
    if (cursor.length != 0) cursor.position = std::min(cursor.position + cursor.length + 1, Size());
    for (const char* delimiter = delimiters; *delimiter != '\0'; ++delimiter) {
      bool quoted = false;
      int at = cursor.position;
      for (; at < Size(); at += std::max(Block(at), 1)) {
        if (At(at) == '"' || At(at) == '\'') quoted = !quoted;
        if (At(at) == *delimiter && !quoted) break;
      }
      cursor.length = at - cursor.position;
      if (at < Size()) return;
    }
  }

  std::vector<std::string> Pieces() const {
    std::vector<std::string> pieces;
    SubStringParams cursor;
    while (cursor.position + cursor.length < Size()) {
      Next(cursor, ": ,");
      if (cursor.length == 0) return {};
      pieces.push_back(text.substr(static_cast<std::size_t>(cursor.position), static_cast<std::size_t>(cursor.length)));
    }
    return pieces;
  }

  std::string Trimmed() const {
    int first = 0, last = 0;
    for (int at = 0; at < Size(); at += std::max(Block(at), 1)) {
      const bool white = std::string("\t\n\r ").find(At(at)) != std::string::npos;
      if (!white) last = at + std::max(Block(at), 1) - 1;
      if (white && last == 0) first = at + 1;
    }
    std::string kept;
    if (first >= last) return kept;
    const std::string ends = text.substr(0, static_cast<std::size_t>(last) + 1);
    const Literal source{ends};
    const auto letter = [](char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); };
    bool quoted = false;
    for (int at = first; at <= last; at += std::max(source.Block(at), 1)) {
      const char c = source.At(at), x = source.At(at + 1);
      const char p = Literal{kept}.At(static_cast<int>(kept.size()) - 1);
      const char pp = Literal{kept}.At(static_cast<int>(kept.size()) - 2);
      if (c == '"' || c == '\'') quoted = !quoted;
      bool drop = x == ' ';
      if (letter(p)) {
        drop = drop || x == ',';
      } else if (letter(pp) || !letter(x)) {
        drop = drop || (p == ',' && !letter(x));
      } else {
        drop = p != '?';
      }
      if (c == ' ' && !quoted && drop) continue;
      kept += ends.substr(static_cast<std::size_t>(at), static_cast<std::size_t>(std::max(source.Block(at), 1)));
    }
    return kept;
  }
};

TEST(Tokeniser, FastScansAgreeWithTheLiteralOnes) {
  std::mt19937 random(7);
  // Long runs of plain text and short ones full of quotes and blocks; both occur at a session.
  const std::string alphabets[] = {"A1:, \"'#13;?\n", "AB1,; ", "A1, :'"};
  for (int round = 0; round < 60000; ++round) {
    const std::string& alphabet = alphabets[round % 3];
    std::string text;
    const std::size_t size = random() % 24;
    for (std::size_t i = 0; i < size; ++i) text += alphabet[random() % alphabet.size()];
    const Literal literal{text};
    const auto length = static_cast<int>(text.size());
    SCOPED_TRACE(text);
    ASSERT_EQ(GetComCount(text.data(), length), literal.Units());

    for (const char* const delimiters : {";", ": ,"}) {
      SubStringParams fast{.delimiters = delimiters}, slow;
      for (int piece = 0; piece < 4; ++piece) {
        FindSubString(text.data(), length, fast);
        literal.Next(slow, delimiters);
        ASSERT_EQ(std::pair(fast.position, fast.length), std::pair(slow.position, slow.length));
      }
    }

    std::string trimmed = text;
    int left = length;
    Trim(trimmed.data(), left);
    trimmed.resize(static_cast<std::size_t>(left));
    ASSERT_EQ(trimmed, literal.Trimmed());

    text = "A" + text;  // a leading "*" or ":" is no part of the scan, and a text without tokens is refused
    sCommand command;
    GetSubStrings(text.data(), length + 1, &command);
    std::vector<std::string> pieces;
    for (const sSubString& token : command.substrings) {
      pieces.push_back(text.substr(static_cast<std::size_t>(token.offset), static_cast<std::size_t>(token.length)));
    }
    if (command.error != 0) pieces.clear();
    std::vector<std::string> expected = literal.Pieces();
    for (std::size_t header = 0; header < std::min<std::size_t>(expected.size(), command.level_count); ++header) {
      int left_of_it = static_cast<int>(expected[header].size());
      GetChannel(expected[header].data(), left_of_it);
      expected[header].resize(static_cast<std::size_t>(left_of_it));
    }
    ASSERT_EQ(pieces, expected);
  }
}

TEST(Tokeniser, CommandsOwnAndCopyDeeply) {
  std::string text = ":SOUR:LIST #13abc";
  auto command = std::make_unique<sUnitCommand>();
  GetCommandInstance(text.data(), static_cast<int>(text.size()), *command);
  EXPECT_EQ(command->level_count, 2);
  ASSERT_EQ(command->substring_count, 3);
  EXPECT_EQ(command->substrings[0].offset, 1);
  EXPECT_EQ(command->GetChar(1, 0), 'l');
  EXPECT_EQ(command->GetChar(1, 4), '\0');
  EXPECT_EQ(command->GetChar(9, 0), '\0');
  const sFParam list = {kKindNumericList, nullptr, 0, nullptr, 0, kForSet};
  FindParameters({kBothForms, &list, 1}, &list, command.get());
  const sCommand copy(*command);
  command.reset();
  EXPECT_EQ(std::string(copy.parameters.at(0).data, 3), "abc");
  EXPECT_STREQ(copy.error_info->text, "No error");
}

TEST(Tokeniser, ShowPrintsACommand) {
  struct {
    std::string text;
    int error;
    const char* tokens;
    const char* end;
  } const cases[] = {
      {"FREQ 1GHZ", 0, "type: none\t0\ntype: parameter\t0\n", "parameters: 1000000000 \n"},
      // A number without a unit is not marked as consumed, so it shows as an error.
      {"FREQ 1", 0, "type: none\t0\ntype: none\t0\n", "parameters: \nerror: IllegalParameterValue 1\n"},
      {"FREQ2 X", -224, "type: none\t2\ntype: none\t0\n", "parameters: \nerror: IllegalParameterValue 1\n"},
      {"FREQ 1XX", -131, "type: none\t0\ntype: none\t0\n", "</command_info>\n"},
  };
  const std::string rule(55, '-');
  const sUnitRow hertz[] = {{"ghz", 1e9}};
  const sFParam number = {kKindNumeric, nullptr, 0, hertz, 1, kForSet};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    std::string text = c.text;
    sUnitCommand command;
    GetCommandInstance(text.data(), static_cast<int>(text.size()), command);
    FindParameters({kBothForms, &number, 1}, &number, &command);
    EXPECT_EQ(command.error, c.error);
    testing::internal::CaptureStdout();
    Show(command);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "<command_info>\nlevel count: 1\nquery: false\nsubstring count: 2\n<<list of substrings>>\n" + rule +
                  "\nText\tLength\tIsNode\tIsParameter\tChannel\n" + rule + "\n" + c.tokens + rule + "\n\n" + c.end);
  }
}

}  // namespace
