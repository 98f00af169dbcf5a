#include "server/Log.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <unistd.h>

namespace server {

void LogLine(std::string_view text) {
  const auto now = std::chrono::system_clock::now();
  const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count();
  const std::time_t seconds = static_cast<std::time_t>(milliseconds / 1000);
  std::tm fields{};
  localtime_r(&seconds, &fields);
  std::array<char, 40> stamp{};
  const std::size_t length = std::strftime(stamp.data(), stamp.size(), "%F %T", &fields);
  std::snprintf(stamp.data() + length, stamp.size() - length, ".%03d ", static_cast<int>(milliseconds % 1000));
  std::string line = stamp.data();
  line += text;
  line += '\n';
  // One call for the line, so that lines of two threads do not mix. A log that cannot be written is no reason to stop.
  [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, line.data(), line.size());
}

std::string Printable(std::string_view text, std::size_t limit) {
  std::string result;
  for (const char c : text.substr(0, limit)) {
    if (c == '\n') {
      result += "\\n";
    } else if (c == '\0') {
      result += "\\0";
    } else if (c >= ' ' && c <= '~') {
      result += c;
    } else {
      std::array<char, 8> escaped{};
      std::snprintf(escaped.data(), escaped.size(), "\\x%02X", static_cast<unsigned>(static_cast<unsigned char>(c)));
      result += escaped.data();
    }
  }
  if (text.size() > limit) result += "... (" + std::to_string(text.size()) + " bytes)";
  return result;
}

}  // namespace server
