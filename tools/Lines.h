// The lines that a person types or a pipe gives.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "tools/Interruption.h"

class Editor;

class Lines {
 public:
  /// Throws ToolError if the standard input is a directory.
  Lines();
  ~Lines();

  /// Lets `interruption` end a wait for the next line.
  void Watch(Interruption& interruption) { m_interruption = &interruption; }

  /// The next line without its end; nothing at the end or when interrupted. At a prompt, with a history, "quit" and
  /// "exit" end and "help" helps. Throws ToolError when reading fails.
  std::optional<std::string> Next();

  /// FILE of "save FILE", typed at a prompt; empty for "save" alone, nothing for any other line.
  std::optional<std::string> FileToSave(const std::string& line) const;

 private:
  std::optional<std::string> ReadOn();

  Interruption* m_interruption = nullptr;
  std::unique_ptr<Editor> m_editor;  ///< at a prompt
  std::string m_read;                ///< of a pipe, and not yet handed out
  bool m_at_end = false;
};
