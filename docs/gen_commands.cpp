// Writes docs/commands.md to standard output, from the tables that the parser itself walks and the sentences beside
// them. A command without a sentence, or a sentence without a command, ends the program with an error.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <iostream>
#include <span>
#include <string>
#include <vector>

#include "src/plib/CommandSentences.h"
#include "src/plib/CommandTable.h"
#include "src/plib/Descriptors.h"

namespace {

using namespace scpi_lib;

using Level = std::span<const sCommandTreeNode>;
const Level kLevels[] = {Level0, Level1, Level2, Level3, Level4, Level5};

struct Command {
  std::vector<std::string> headers;
  const sCommandTreeNode* row = nullptr;
};

std::string Spelled(const char* name, int short_length) {
  std::string text = name;
  const std::size_t capitals = short_length < 0 ? text.size() : static_cast<std::size_t>(short_length);
  for (std::size_t i = 0; i < capitals; ++i)
    text[i] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[i])));
  return text;
}

/// All ways to write the headers whose command is `handler`, default nodes in brackets.
void Collect(std::size_t level, const sCommandTreeNode& row, const std::string& above, SCPI_Handler handler,
             Command& command) {
  const bool common = level == 0 && row.id == -1;
  std::string header = common ? "*" : above;
  const std::string word = Spelled(row.name, row.short_length);
  header += common ? word : row.optional ? "[:" + word + "]" : ":" + word;
  bool longer = false;
  if (level + 1 < std::size(kLevels) && !common) {
    for (const sCommandTreeNode& child : kLevels[level + 1]) {
      if (child.parent != row.id) continue;
      longer |= child.optional && child.handler == row.handler;
      Collect(level + 1, child, header, handler, command);
    }
  }
  if (row.handler == handler && !longer) {
    command.headers.push_back(header);
    command.row = &row;
  }
}

std::string Join(const std::vector<std::string>& parts, const char* between) {
  std::string text;
  for (const std::string& part : parts) text += (text.empty() ? "" : between) + part;
  return text;
}

std::string Parameter(const sFunctionCallInfo& info) {
  if (info.count == 0) return "none";
  const sFParam& parameter = *info.parameters;
  std::vector<std::string> words;
  for (int i = 0; i < parameter.mnemonic_count; ++i) {
    words.push_back(Spelled(parameter.mnemonics[i].name, parameter.mnemonics[i].short_length));
  }
  if (parameter.kind == kKindCharacter) return Join(words, ", ");
  std::string text = parameter.kind == kKindNumericList ? "numbers" : "number";
  std::vector<std::string> units;
  for (int i = 0; i < parameter.unit_count; ++i) units.push_back(Spelled(parameter.units[i].name, -1));
  if (!units.empty()) text += " with " + Join(units, ", ") + " or none";
  const bool takes_words = (parameter.flags & kTakesWords) != 0 && !words.empty();
  return takes_words ? text + "; " + Join(words, ", ") : text;
}

std::string Forms(const sFunctionCallInfo& info) {
  switch (info.flags) {
    case kQueryForm:
      return "query";
    case kSetForm:
      return "set";
    default:
      return "set, query";
  }
}

void Print(const Command& command, const SCommandSentence& sentence) {
  const sFunctionCallInfo& info = command.row->call_info;
  const std::string mark = info.flags == kQueryForm ? "?" : "";
  std::cout << "### " << Join(command.headers, mark.empty() ? ", " : "?, ") << mark << "\n\n"
            << sentence.does << "\n\n";
  std::cout << "- Forms: " << (sentence.forms != nullptr ? sentence.forms : Forms(info))
            << "\n- Parameter: " << Parameter(info) << "\n";
  if (*sentence.range != '\0') std::cout << "- Range: " << sentence.range << "\n";
  if (*sentence.at_open != '\0') std::cout << "- After opening: `" << sentence.at_open << "`\n";
  std::cout << "- Example: `" << sentence.example << "`\n\n";
}

std::size_t CountHandlers() {
  std::vector<SCPI_Handler> handlers;
  for (const Level level : kLevels) {
    for (const sCommandTreeNode& row : level) {
      if (row.handler != nullptr) handlers.push_back(row.handler);
    }
  }
  std::sort(handlers.begin(), handlers.end());
  return static_cast<std::size_t>(std::unique(handlers.begin(), handlers.end()) - handlers.begin());
}

}  // namespace

int main() {
  std::cout
      << "# Commands\n\n"
         "Written by `gen_commands` from the tables that the parser walks; do not edit. Capitals are the short form,\n"
         "brackets may be left out, case does not matter. \"After opening\" is what a query answers right after\n"
         "`skOpen`. Errors go to the queue that `:SYST:ERR?` reads. What surprises is in `surprises.md`.\n\n";
  for (const SCommandSentence& sentence : CommandSentences()) {
    Command command;
    for (const sCommandTreeNode& row : Level0) Collect(0, row, "", sentence.handler, command);
    if (command.row == nullptr) {
      std::cerr << "a sentence without a command: " << sentence.example << '\n';
      return 1;
    }
    Print(command, sentence);
  }
  if (CountHandlers() != CommandSentences().size()) {
    std::cerr << "the table has " << CountHandlers() << " commands, " << CommandSentences().size()
              << " have a sentence\n";
    return 1;
  }
  return 0;
}
