// What the command reference says of a command that is not in the tables: a sentence, the range, the value after
// opening, an example. Only the program that writes docs/commands.md links this.
#pragma once

#include <span>

#include "src/plib/Handlers.h"

namespace scpi_lib {

struct SCommandSentence {
  Handler* handler;
  const char* does;
  const char* range;            ///< of the parameter, empty for words
  const char* at_open;          ///< what a query answers right after opening, empty if there is none
  const char* example;          ///< one message
  const char* forms = nullptr;  ///< where the handler refuses a form that the table has
};

/// In the order of the reference.
std::span<const SCommandSentence> CommandSentences();

/// A chapter of the reference; it ends where the next one begins.
struct SCommandGroup {
  const char* title;
  Handler* first;
};
std::span<const SCommandGroup> CommandGroups();

}  // namespace scpi_lib
