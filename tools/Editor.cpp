#include "tools/Editor.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <unistd.h>

#include "tools/CommandReference.h"

namespace {

constexpr int kRemembered = 1000;

char* Prompt(EditLine*) {
  static char prompt[] = "scpi> ";
  return prompt;
}

/// Empty if nothing says where.
std::string HistoryFile() {
  std::filesystem::path folder;
  if (const char* const state = std::getenv("XDG_STATE_HOME"); state != nullptr && *state != '\0') {
    folder = state;
  } else if (const char* const home = std::getenv("HOME"); home != nullptr && *home != '\0') {
    folder = std::filesystem::path(home) / ".local/state";
  } else {
    return "";
  }
  return folder / "scpi-zlt/history";
}

}  // namespace

Editor::Editor()
    : m_line(el_init("scpi-zlt", stdin, stdout, stderr)), m_history(history_init()), m_history_file(HistoryFile()) {
  HistEvent event;
  history(m_history, &event, H_SETSIZE, kRemembered);
  history(m_history, &event, H_SETUNIQUE, 1);
  if (!m_history_file.empty()) history(m_history, &event, H_LOAD, m_history_file.c_str());
  el_set(m_line, EL_CLIENTDATA, this);
  el_set(m_line, EL_PROMPT, Prompt);
  el_set(m_line, EL_EDITOR, "emacs");
  el_set(m_line, EL_HIST, history, m_history);
  // Signals are blocked and read as events, so the editor must not wait in a read of its own.
  el_set(m_line, EL_SIGNAL, 0);
  el_set(m_line, EL_GETCFN, ReadKey);
  el_set(m_line, EL_ADDFN, "complete", "Completes a header or a word of a parameter", CompleteWord);
  el_set(m_line, EL_BIND, "^I", "complete", nullptr);
}

/// A history that cannot be kept is no reason to complain when somebody leaves.
Editor::~Editor() {
  HistEvent event;
  if (!m_history_file.empty()) {
    std::error_code ignored;
    std::filesystem::create_directories(std::filesystem::path(m_history_file).parent_path(), ignored);
    history(m_history, &event, H_SAVE, m_history_file.c_str());
  }
  history_end(m_history);
  el_end(m_line);
}

int Editor::ReadKey(EditLine* line, wchar_t* key) {
  Editor* editor = nullptr;
  el_get(line, EL_CLIENTDATA, &editor);
  unsigned char byte = 0;
  if (!editor->m_interruption->WaitForInput() || read(STDIN_FILENO, &byte, 1) != 1) return 0;
  *key = byte;
  return 1;
}

/// Puts what is certain, and lists the words where there are several.
unsigned char Editor::CompleteWord(EditLine* line, int) {
  const LineInfo* const info = el_line(line);
  const std::string_view text(info->buffer, static_cast<std::size_t>(info->cursor - info->buffer));
  const Completion completion = Complete(text);
  const std::string typed(text.substr(text.size() - completion.typed));
  const std::string completed = Completed(completion, typed);
  if (completed.size() > typed.size()) {
    el_deletestr(line, static_cast<int>(typed.size()));
    el_insertstr(line, completed.c_str());
    return CC_REFRESH;
  }
  if (completion.words.size() < 2) return CC_REFRESH_BEEP;
  std::string list;
  for (const std::string& word : completion.words) list += "  " + word;
  std::printf("\n%s\n", list.c_str());
  return CC_REDISPLAY;
}

std::optional<std::string> Editor::Next(Interruption& interruption) {
  m_interruption = &interruption;
  int count = 0;
  const char* const text = el_gets(m_line, &count);
  if (text == nullptr || count <= 0 || interruption.Happened()) return std::nullopt;
  std::string line(text, static_cast<std::size_t>(count));
  HistEvent event;
  if (line != "\n") history(m_history, &event, H_ENTER, line.c_str());
  if (line.ends_with('\n')) line.pop_back();
  return line;
}
