#include "tools/ToolError.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <string_view>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

/// no-color.org: any value but an empty one.
bool Coloured() {
  const char* const forbidden = std::getenv("NO_COLOR");
  const char* const terminal = std::getenv("TERM");
  if (forbidden != nullptr && *forbidden != '\0') return false;
  return isatty(STDERR_FILENO) == 1 && terminal != nullptr && std::string_view(terminal) != "dumb";
}

}  // namespace

std::size_t TerminalWidth(int stream) {
  winsize size{};
  return ioctl(stream, TIOCGWINSZ, &size) == 0 && size.ws_col > 1 ? size.ws_col - 1U : 79;
}

void Warn(const std::string& text) {
  const std::string line = "scpi-zlt: " + text;
  std::cerr << (Coloured() ? "\033[31m" + line + "\033[0m\n" : line + "\n") << std::flush;
}

void Print(const std::string& text) {
  errno = 0;
  if (!(std::cout << text << std::flush)) {
    throw ToolError(std::string("cannot write the answer: ") + std::strerror(errno), kFileFailed);
  }
}

void WriteFile(const std::string& file, const std::string& text) {
  errno = 0;
  std::ofstream stream(file);
  if (!(stream << text << std::flush)) throw ToolError(file + ": cannot write: " + std::strerror(errno), kFileFailed);
}

bool ShowsProgress() {
  return isatty(STDERR_FILENO) == 1;
}

void ShowProgress(const std::string& text) {
  if (ShowsProgress()) std::cerr << "\r\033[K" << text.substr(0, TerminalWidth(STDERR_FILENO)) << std::flush;
}
