// Every command of the reference, as query and as set form, in long, short and mixed case, with and without the nodes
// that may be left out. And the reverse: every header in the parser's tree is in the reference.
#include <algorithm>
#include <cctype>
#include <cstring>
#include <gtest/gtest.h>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "scpi_core/pcore.h"
#include "src/Device.h"
#include "src/plib/CommandSentences.h"
#include "src/plib/CommandTable.h"
#include "tests/unit/src/ScriptedProvider.h"

namespace {

using scpi_lib::SCommandRow;
using scpi_lib::SCommandSentence;

const SCommandSentence& SentenceOf(const SCommandRow& row) {
  for (const SCommandSentence& sentence : scpi_lib::CommandSentences()) {
    if (sentence.handler == row.handler) return sentence;
  }
  throw std::logic_error(std::string("no sentence for ") + row.header);
}

/// Whether the reference says that a command has a form, "query" or "set"; "none (-113)" holds neither word.
bool SaysForm(const SCommandRow& row, EForms form) {
  const char* exception = SentenceOf(row).forms;
  if (exception == nullptr) return (row.forms & form) != 0;
  return std::strstr(exception, form == kQueryForm ? "query" : "set") != nullptr;
}

/// The parameter of a set form: that of the example, or else the first keyword.
std::string ParameterOf(const SCommandRow& row) {
  if (row.parameter == nullptr) return "";
  const std::string example = SentenceOf(row).example;
  const std::size_t blank = example.find(' ');
  if (blank != std::string::npos) return example.substr(blank);
  return std::string(" ") + row.parameter->mnemonics[0].name;
}

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

/// Every way to leave out bracketed nodes.
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
  for (const SCommandRow& row : scpi_lib::Commands()) {
    for (const std::string& header : WithAndWithout(row.header)) {
      for (const Spelling spelling : {Spelling::kLong, Spelling::kShort, Spelling::kMixed}) {
        const std::string text = Spelled(header, spelling);
        SCOPED_TRACE(text);
        EXPECT_EQ(IsUndefined(generator, text + "?"), !SaysForm(row, kQueryForm));
        EXPECT_EQ(IsUndefined(generator, text + ParameterOf(row)), !SaysForm(row, kSetForm));
      }
    }
  }
}

/// The header of a node of the tree as the reference writes it.
std::string HeaderOf(std::size_t level, const sCommandTreeNode& node) {
  std::string word = node.name;
  const std::size_t capitals = node.short_length == kNoShortForm ? word.size() : std::size_t(node.short_length);
  for (std::size_t i = 0; i < capitals; ++i) word[i] = static_cast<char>(std::toupper(word[i]));
  if (node.id == -1) return "*" + word;
  word = node.optional ? "[:" + word + "]" : ":" + word;
  if (level == 0) return word;
  const STree& above = CommandTree[level - 1];
  for (int i = 0; i < above.count; ++i) {
    if (above.rows[i].id == node.parent) return HeaderOf(level - 1, above.rows[i]) + word;
  }
  return "without a parent: " + word;
}

bool GoesOnWith(std::size_t level, const sCommandTreeNode& node) {
  if (level + 1 == CommandTree.size() || node.id == -1) return false;
  const STree& below = CommandTree[level + 1];
  return std::any_of(below.rows, below.rows + below.count, [&](const sCommandTreeNode& child) {
    return child.parent == node.id && child.optional && child.handler == node.handler;
  });
}

TEST(CommandSet, TheTreeHoldsTheHeadersOfTheRowsAndNoOther) {
  scpi_lib::RegisterCommandTree();
  std::multiset<std::string> of_rows;
  std::multiset<std::string> of_tree;
  for (const SCommandRow& row : scpi_lib::Commands()) of_rows.insert(row.header);
  for (std::size_t level = 0; level < CommandTree.size(); ++level) {
    for (int i = 0; i < CommandTree[level].count; ++i) {
      const sCommandTreeNode& node = CommandTree[level].rows[i];
      if (node.handler != nullptr && !GoesOnWith(level, node)) of_tree.insert(HeaderOf(level, node));
    }
  }
  EXPECT_EQ(of_tree, of_rows);
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
