// A line at a prompt: edited, completed by Tab, and with a history that is kept.
#pragma once

#include <histedit.h>
#include <optional>
#include <string>

#include "tools/Interruption.h"

class Editor {
 public:
  /// The history is kept in scpi-zlt/history below XDG_STATE_HOME, ~/.local/state unless set.
  Editor();
  ~Editor();
  Editor(const Editor&) = delete;
  Editor& operator=(const Editor&) = delete;

  /// The next line without its end; nothing at the end or when interrupted.
  std::optional<std::string> Next(Interruption& interruption);

 private:
  static int ReadKey(EditLine* line, wchar_t* key);
  static unsigned char CompleteWord(EditLine* line, int key);

  EditLine* m_line;
  History* m_history;
  std::string m_history_file;
  Interruption* m_interruption = nullptr;
};
