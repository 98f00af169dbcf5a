#include "tools/Lines.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

#include "tools/CommandReference.h"
#include "tools/Editor.h"
#include "tools/ToolError.h"

namespace {

constexpr const char* kHelp =
    "  :FREQ 1.5GHZ       sets\n"
    "  :FREQ?             asks; :FREQ? MAX asks for a limit\n"
    "  :OUTP ON           switches the RF output on\n"
    "  # text             is passed over\n"
    "  help HEADER        says what a command does; Tab completes\n"
    "  save [FILE]        writes the settings as SCPI text, which \"scpi-zlt load\" plays back\n"
    "  quit, exit         the end\n";

/// What follows a word for the prompt itself, without the blanks around it; nothing if the line begins otherwise.
std::optional<std::string> After(const std::string& word, const std::string& line) {
  if (!line.starts_with(word)) return std::nullopt;
  if (line.size() > word.size() && line[word.size()] != ' ') return std::nullopt;
  const std::size_t start = line.find_first_not_of(' ', word.size());
  return start == std::string::npos ? "" : line.substr(start, line.find_last_not_of(' ') + 1 - start);
}

std::string HelpText(const std::string& subject) {
  if (subject.empty()) return kHelp;
  const std::string header = subject.substr(0, subject.find(' '));
  const CommandEntry* const entry = FindCommand(header);
  return entry != nullptr ? EntryText(*entry, TerminalWidth(STDOUT_FILENO))
                          : "no command \"" + header + "\"; Tab shows those that there are\n";
}

}  // namespace

Lines::Lines() {
  struct stat input {};
  if (fstat(STDIN_FILENO, &input) == 0 && S_ISDIR(input.st_mode)) {
    throw ToolError("the standard input is a directory", kFileFailed);
  }
  if (isatty(STDIN_FILENO) == 1) m_editor = std::make_unique<Editor>();
}

Lines::~Lines() = default;

std::optional<std::string> Lines::Next() {
  if (!m_editor) return ReadOn();
  for (;;) {
    std::optional<std::string> line = m_editor->Next(*m_interruption);
    if (line == "quit" || line == "exit") return std::nullopt;
    const std::optional<std::string> subject = line ? After("help", *line) : std::nullopt;
    if (!subject) return line;
    Print(HelpText(*subject));
  }
}

std::optional<std::string> Lines::FileToSave(const std::string& line) const {
  return m_editor ? After("save", line) : std::nullopt;
}

std::optional<std::string> Lines::ReadOn() {
  std::array<char, 4096> piece{};
  std::size_t end = m_read.find('\n');
  while (end == std::string::npos && !m_at_end) {
    if (!m_interruption->WaitForInput()) return std::nullopt;
    const ssize_t count = read(STDIN_FILENO, piece.data(), piece.size());
    if (count < 0 && errno != EINTR && errno != EAGAIN) {
      throw ToolError(std::string("cannot read the standard input: ") + std::strerror(errno), kFileFailed);
    }
    m_at_end = count == 0;
    const std::size_t searched = m_read.size();
    if (count > 0) m_read.append(piece.data(), static_cast<std::size_t>(count));
    end = m_read.find('\n', searched);
  }
  if (m_read.empty()) return std::nullopt;
  std::string line = m_read.substr(0, end);
  m_read.erase(0, end == std::string::npos ? end : end + 1);
  return line;
}
