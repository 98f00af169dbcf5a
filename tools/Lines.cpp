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
    "  quit, exit         the end\n";

bool IsHelp(const std::string& line) {
  return line == "help" || line.starts_with("help ");
}

std::string HelpText(const std::string& line) {
  const std::size_t start = line.find_first_not_of(' ', 4);
  if (start == std::string::npos) return kHelp;
  const std::string header = line.substr(start, line.find(' ', start) - start);
  const CommandEntry* const entry = FindCommand(header);
  return entry != nullptr ? EntryText(*entry, TerminalWidth())
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
    if (!line || !IsHelp(*line)) return line;
    Print(HelpText(*line));
  }
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
