// Writes docs/commands.md to standard output, from the tables that the parser itself walks and the sentences beside
// them; with "--table" the same entries as rows of C++, for the command line. A command without a sentence, or a
// sentence without a command, ends the program with an error.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <iostream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "src/plib/CommandSentences.h"
#include "src/plib/CommandTable.h"
#include "src/plib/Descriptors.h"

namespace {

using namespace scpi_lib;

std::string Spelled(const char* name, int short_length) {
  std::string text = name;
  const std::size_t capitals = short_length < 0 ? text.size() : static_cast<std::size_t>(short_length);
  for (std::size_t i = 0; i < capitals; ++i)
    text[i] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[i])));
  return text;
}

std::string Join(const std::vector<std::string>& parts, const char* between) {
  std::string text;
  for (const std::string& part : parts) text += (text.empty() ? "" : between) + part;
  return text;
}

std::vector<std::string> Words(const sFParam& parameter) {
  std::vector<std::string> words;
  for (int i = 0; i < parameter.mnemonic_count; ++i) {
    words.push_back(Spelled(parameter.mnemonics[i].name, parameter.mnemonics[i].short_length));
  }
  return words;
}

std::string Parameter(const sFParam* row) {
  if (row == nullptr) return "none";
  const sFParam& parameter = *row;
  const std::vector<std::string> words = Words(parameter);
  if (parameter.kind == kKindCharacter) return Join(words, ", ");
  std::string text = parameter.kind == kKindNumericList ? "numbers" : "number";
  std::vector<std::string> units;
  for (int i = 0; i < parameter.unit_count; ++i) units.push_back(Spelled(parameter.units[i].name, -1));
  if (!units.empty()) text += " with " + Join(units, ", ") + " or none";
  const bool takes_words = (parameter.flags & kTakesWords) != 0 && !words.empty();
  return takes_words ? text + "; " + Join(words, ", ") : text;
}

std::string Forms(EForms forms) {
  switch (forms) {
    case kQueryForm:
      return "query";
    case kSetForm:
      return "set";
    default:
      return "set, query";
  }
}

/// A sentence with the rows that it is about; they differ in their headers only.
struct Entry {
  const SCommandSentence* sentence;
  const SCommandRow* row;
  std::string headers;
};

Entry Describe(const SCommandSentence& sentence) {
  Entry entry{&sentence, nullptr, ""};
  for (const SCommandRow& row : Commands()) {
    if (row.handler != sentence.handler) continue;
    entry.row = &row;
    entry.headers += (entry.headers.empty() ? "" : ", ") + std::string(row.header);
    if (row.forms == kQueryForm) entry.headers += '?';
  }
  return entry;
}

std::string EntryForms(const Entry& entry) {
  return entry.sentence->forms != nullptr ? entry.sentence->forms : Forms(entry.row->forms);
}

/// What a page viewer makes of a heading: letters and digits, and a hyphen for each blank.
std::string Anchor(const std::string& heading) {
  std::string anchor;
  for (const char c : heading) {
    const auto letter = static_cast<unsigned char>(c);
    if (std::isalnum(letter) != 0) anchor += static_cast<char>(std::tolower(letter));
    if (c == ' ') anchor += '-';
  }
  return anchor;
}

const char* GroupThatBeginsWith(Handler* handler) {
  for (const SCommandGroup& group : CommandGroups()) {
    if (group.first == handler) return group.title;
  }
  return nullptr;
}

void PrintIndex(std::span<const Entry> entries) {
  for (const Entry& entry : entries) {
    if (const char* title = GroupThatBeginsWith(entry.sentence->handler)) std::cout << "\n**" << title << "**\n\n";
    std::cout << "- [`" << entry.headers << "`](#" << Anchor(entry.headers) << ")\n";
  }
}

void Print(const Entry& entry) {
  const SCommandSentence& sentence = *entry.sentence;
  if (const char* title = GroupThatBeginsWith(sentence.handler)) std::cout << "\n## " << title << "\n";
  std::cout << "\n### " << entry.headers << "\n\n" << sentence.does << "\n\n";
  std::cout << "- Forms: " << EntryForms(entry) << "\n- Parameter: " << Parameter(entry.row->parameter) << "\n";
  if (*sentence.range != '\0') std::cout << "- Range: " << sentence.range << "\n";
  if (*sentence.at_open != '\0') std::cout << "- After opening: `" << sentence.at_open << "`\n";
  std::cout << "- Example: `" << sentence.example << "`\n";
}

/// A text as C++ has it.
std::string Literal(const std::string& text) {
  std::string literal = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') literal += '\\';
    literal += c;
  }
  return literal + '"';
}

void PrintRow(const Entry& entry) {
  const SCommandSentence& sentence = *entry.sentence;
  const sFParam* const parameter = entry.row->parameter;
  const std::string words = parameter != nullptr ? Join(Words(*parameter), " ") : "";
  std::string row;
  for (const std::string& text :
       {entry.headers, std::string(sentence.does), EntryForms(entry), Parameter(parameter), words,
        std::string(sentence.range), std::string(sentence.at_open), std::string(sentence.example)}) {
    row += (row.empty() ? "    {" : ", ") + Literal(text);
  }
  std::cout << row << "},\n";
}

/// The source of the table declared in tools/CommandReference.h.
void PrintTable(std::span<const Entry> entries) {
  std::cout << "#include \"tools/CommandReference.h\"\n\n"
               "namespace {\n\nconstexpr CommandEntry kEntries[] = {\n";
  for (const Entry& entry : entries) PrintRow(entry);
  std::cout << "};\n\n}  // namespace\n\n"
               "std::span<const CommandEntry> CommandEntries() {\n  return kEntries;\n}\n";
}

bool HasSentence(const SCommandRow& row) {
  const auto sentences = CommandSentences();
  return std::any_of(sentences.begin(), sentences.end(),
                     [&](const SCommandSentence& sentence) { return sentence.handler == row.handler; });
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<Entry> entries;
  for (const SCommandSentence& sentence : CommandSentences()) {
    entries.push_back(Describe(sentence));
    if (entries.back().row != nullptr) continue;
    std::cerr << "a sentence without a command: " << sentence.example << '\n';
    return 1;
  }
  for (const SCommandRow& row : Commands()) {
    if (HasSentence(row)) continue;
    std::cerr << "a command without a sentence: " << row.header << '\n';
    return 1;
  }
  if (argc > 1 && argv[1] == std::string_view("--table")) {
    PrintTable(entries);
    return 0;
  }
  std::cout
      << "# Commands\n\n"
         "Written by `gen_commands` from the tables that the parser walks; do not edit. Capitals are the short form,\n"
         "brackets may be left out, case does not matter. \"After opening\" is what a query answers right after\n"
         "`skOpen`. Errors go to the queue that `:SYST:ERR?` reads. What surprises is in `surprises.md`.\n";
  PrintIndex(entries);
  for (const Entry& entry : entries) Print(entry);
  return 0;
}
