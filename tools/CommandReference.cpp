#include "tools/CommandReference.h"

#include <algorithm>
#include <cctype>

namespace {

/// One keyword of a header, or a word of a parameter: "FREQuency".
struct Keyword {
  std::string_view spelled;
  bool optional = false;  ///< in brackets
};

bool IsSmall(char c) {
  return std::islower(static_cast<unsigned char>(c)) != 0;
}

std::string Upper(std::string_view text) {
  std::string upper(text);
  for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return upper;
}

std::string ShortForm(std::string_view spelled) {
  return std::string(spelled.substr(
      0, static_cast<std::size_t>(std::find_if(spelled.begin(), spelled.end(), IsSmall) - spelled.begin())));
}

/// True if `typed` is the keyword in its long or its short form.
bool Is(std::string_view spelled, std::string_view typed) {
  const std::string upper = Upper(typed);
  return upper == Upper(spelled) || upper == ShortForm(spelled);
}

bool BeginsWith(std::string_view spelled, std::string_view typed) {
  return Upper(spelled).starts_with(Upper(typed));
}

std::vector<std::string_view> Split(std::string_view text, std::string_view between) {
  std::vector<std::string_view> parts;
  for (;;) {
    const std::size_t end = text.find(between);
    parts.push_back(text.substr(0, end));
    if (end == std::string_view::npos) return parts;
    text.remove_prefix(end + between.size());
  }
}

/// ":OUTPut[:STATe]" is OUTPut and an optional STATe; "*IDN?" is *IDN.
std::vector<Keyword> Keywords(std::string_view header) {
  std::vector<Keyword> keywords;
  for (std::size_t at = 0; at < header.size() && header[at] != '?';) {
    const bool optional = header[at] == '[';
    const std::size_t start = header.find_first_not_of("[:", at);
    const std::size_t end = std::min(header.find_first_of(":[]?", start), header.size());
    keywords.push_back({header.substr(start, end - start), optional});
    at = end + (optional ? 1 : 0);
  }
  return keywords;
}

/// Where in a header one may be after the keywords that were typed: indices into its keywords.
std::vector<std::size_t> Positions(const std::vector<Keyword>& keywords, std::span<const std::string_view> typed) {
  std::vector<std::size_t> positions{0};
  const auto add_behind_optional = [&keywords](std::vector<std::size_t>& found) {
    for (std::size_t i = 0; i < found.size(); ++i) {
      if (found[i] < keywords.size() && keywords[found[i]].optional) found.push_back(found[i] + 1);
    }
  };
  add_behind_optional(positions);
  for (const std::string_view word : typed) {
    std::vector<std::size_t> next;
    for (const std::size_t at : positions) {
      if (at < keywords.size() && Is(keywords[at].spelled, word)) next.push_back(at + 1);
    }
    add_behind_optional(next);
    positions = next;
  }
  return positions;
}

std::string_view WithoutColon(std::string_view header) {
  return header.starts_with(':') ? header.substr(1) : header;
}

void AddOnce(std::vector<std::string>& words, std::string_view word) {
  if (std::find(words.begin(), words.end(), word) == words.end()) words.emplace_back(word);
}

Completion CompleteHeader(std::string_view header) {
  std::vector<std::string_view> typed = Split(WithoutColon(header), ":");
  const std::string_view last = typed.back();
  typed.pop_back();
  Completion completion{last.size(), {}};
  for (const CommandEntry& entry : CommandEntries()) {
    for (const std::string_view alternative : Split(entry.headers, ", ")) {
      const std::vector<Keyword> keywords = Keywords(alternative);
      for (const std::size_t at : Positions(keywords, typed)) {
        if (at < keywords.size() && BeginsWith(keywords[at].spelled, last)) {
          AddOnce(completion.words, keywords[at].spelled);
        }
      }
    }
  }
  return completion;
}

std::string Wrapped(const std::string& text, const std::string& first, std::size_t width) {
  std::string lines = first;
  std::size_t column = first.size();
  for (const std::string_view word : Split(text, " ")) {
    if (column > 4 && column + word.size() > width) {
      while (lines.ends_with(' ')) lines.pop_back();
      lines += "\n    ";
      column = 4;
    }
    lines += std::string(word) + " ";
    column += word.size() + 1;
  }
  while (lines.ends_with(' ')) lines.pop_back();
  return lines + "\n";
}

}  // namespace

const CommandEntry* FindCommand(std::string_view header) {
  if (header.ends_with('?')) header.remove_suffix(1);
  const std::vector<std::string_view> typed = Split(WithoutColon(header), ":");
  for (const CommandEntry& entry : CommandEntries()) {
    for (const std::string_view alternative : Split(entry.headers, ", ")) {
      const std::vector<Keyword> keywords = Keywords(alternative);
      const std::vector<std::size_t> positions = Positions(keywords, typed);
      if (std::find(positions.begin(), positions.end(), keywords.size()) != positions.end()) return &entry;
    }
  }
  return nullptr;
}

std::string EntryText(const CommandEntry& entry, std::size_t width) {
  std::string text = std::string(entry.headers) + "\n" + Wrapped(entry.does, "  ", width);
  text += Wrapped(entry.forms, "  Forms: ", width) + Wrapped(entry.parameter, "  Parameter: ", width);
  if (*entry.range != '\0') text += Wrapped(entry.range, "  Range: ", width);
  if (*entry.at_open != '\0') text += Wrapped(entry.at_open, "  After opening: ", width);
  return text + Wrapped(entry.example, "  Example: ", width);
}

Completion Complete(std::string_view line) {
  line.remove_prefix(std::min(line.find_last_of(';') + 1, line.size()));
  line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
  if (line.starts_with("help ")) line.remove_prefix(5);
  const std::size_t blank = line.find(' ');
  if (blank == std::string_view::npos) return CompleteHeader(line);

  Completion completion;
  const std::string_view last = line.substr(line.find_last_of(" ,") + 1);
  const CommandEntry* const entry = FindCommand(line.substr(0, blank));
  completion.typed = last.size();
  if (entry == nullptr || *entry->words == '\0') return completion;
  for (const std::string_view word : Split(entry->words, " ")) {
    if (BeginsWith(word, last)) completion.words.emplace_back(word);
  }
  return completion;
}

std::string Completed(const Completion& completion, std::string_view typed) {
  if (completion.words.empty()) return std::string(typed);
  std::string common = Upper(completion.words.front());
  if (completion.words.size() == 1) {
    const std::string short_form = ShortForm(completion.words.front());
    if (typed.size() < short_form.size()) common = short_form;
  }
  for (const std::string& word : completion.words) {
    const std::string upper = Upper(word);
    const auto [end, ignored] = std::mismatch(common.begin(), common.end(), upper.begin(), upper.end());
    common.erase(end, common.end());
  }
  if (!typed.empty() && IsSmall(typed.front())) {
    for (char& c : common) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  return common;
}
