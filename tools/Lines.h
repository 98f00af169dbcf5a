// The lines that a person types or a pipe gives.
#pragma once

#include <optional>
#include <string>

#include "tools/Interruption.h"

class Lines {
 public:
  /// Throws ToolError if the standard input is a directory.
  explicit Lines(Interruption& interruption);

  /// The next line without its end; nothing at the end or when interrupted. At a prompt, with a history, "quit" and
  /// "exit" end and "help" helps. Throws ToolError when reading fails.
  std::optional<std::string> Next();

 private:
  std::optional<std::string> Type();
  std::optional<std::string> ReadOn();

  Interruption& m_interruption;
  std::string m_read;  ///< of a pipe, and not yet handed out
  bool m_at_end = false;
};
