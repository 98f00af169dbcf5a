// The command reference at the prompt: what each command does, and how a header goes on. The table is written by
// gen_commands from the tables that the parser walks, as docs/commands.md is.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

struct CommandEntry {
  const char* headers;    ///< ":SYSTem:ERRor[:NEXT]?"; several with ", " between them
  const char* does;       ///< a sentence or more
  const char* forms;      ///< "set, query"
  const char* parameter;  ///< in words
  const char* words;      ///< that the parameter may be, as "MINimum MAXimum"
  const char* range;      ///< empty if the words say all
  const char* at_open;    ///< what a query answers right after opening, empty if there is none
  const char* example;    ///< one message
};

/// In the order of the reference.
std::span<const CommandEntry> CommandEntries();

/// The command with this header, in its long or short form, with or without a question mark; null if there is none.
const CommandEntry* FindCommand(std::string_view header);

/// The entry of the reference as lines, none longer than `width` where words allow it.
std::string EntryText(const CommandEntry& entry, std::size_t width);

/// How the last word of a line may go on.
struct Completion {
  std::size_t typed = 0;           ///< characters at the end of the line that each candidate replaces
  std::vector<std::string> words;  ///< spelled as in the reference: capitals are the short form
};

/// For a line up to the cursor: the keywords of a header (also after "help"), or the words of a parameter.
Completion Complete(std::string_view line);

/// What to put in place of `typed`: as much as all words have in common. Of one word the short form first; when that is
/// there already, the long form. Small letters if `typed` begins with one.
std::string Completed(const Completion& completion, std::string_view typed);
