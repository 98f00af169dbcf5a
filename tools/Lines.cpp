#include "tools/Lines.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>
#include <readline/history.h>
#include <readline/readline.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tools/Conversation.h"

namespace {

constexpr const char* kHelp =
    "  :FREQ 1.5GHZ       sets; docs/commands.md lists the commands\n"
    "  :FREQ?             asks; :FREQ? MAX asks for a limit\n"
    "  :OUTP ON           switches the RF output on\n"
    "  # text             is passed over\n"
    "  help, quit, exit   these lines; the end\n";

/// readline's own signal handling would not see blocked signals; its reading does not have to.
Interruption* g_interruption = nullptr;
int ReadKey(FILE* stream) {
  return g_interruption->WaitForInput() ? rl_getc(stream) : EOF;
}

}  // namespace

Lines::Lines(Interruption& interruption) : m_interruption(interruption) {
  struct stat input {};
  if (fstat(STDIN_FILENO, &input) == 0 && S_ISDIR(input.st_mode)) {
    throw ToolError("the standard input is a directory");
  }
  g_interruption = &interruption;
  rl_getc_function = ReadKey;
}

std::optional<std::string> Lines::Next() {
  if (isatty(STDIN_FILENO) != 1) return ReadOn();
  for (;;) {
    std::optional<std::string> line = Type();
    if (line == "quit" || line == "exit") return std::nullopt;
    if (line != "help") return line;
    std::cout << kHelp << std::flush;
  }
}

std::optional<std::string> Lines::Type() {
  const std::unique_ptr<char, void (*)(void*)> line(readline("scpi> "), std::free);
  if (!line || m_interruption.Happened()) return std::nullopt;
  if (*line != '\0') add_history(line.get());
  return line.get();
}

std::optional<std::string> Lines::ReadOn() {
  std::array<char, 4096> piece{};
  std::size_t end = m_read.find('\n');
  while (end == std::string::npos && !m_at_end) {
    if (!m_interruption.WaitForInput()) return std::nullopt;
    const ssize_t count = read(STDIN_FILENO, piece.data(), piece.size());
    if (count < 0 && errno != EINTR && errno != EAGAIN) {
      throw ToolError(std::string("cannot read the standard input: ") + std::strerror(errno));
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
