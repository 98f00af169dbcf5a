// The server's log: one line at a time on the error stream, with its time; any thread.
#pragma once

#include <string>
#include <string_view>

namespace server {

void LogLine(std::string_view text);

/// Text for a log line: unprintable bytes are written as \n, \0 or \x1B, and what exceeds `limit` bytes is cut off.
std::string Printable(std::string_view text, std::size_t limit = 200);

}  // namespace server
