#include "client/MessageScanner.h"

#include <algorithm>

namespace scpi_zlt {

std::size_t MessageScanner::FindEnd(std::string_view text) {
  std::size_t at = 0;
  while (at < text.size()) {
    if (m_state == State::kData) {
      const std::size_t skipped = std::min<std::size_t>(m_left, text.size() - at);
      m_left -= static_cast<std::uint32_t>(skipped);
      at += skipped;
      if (m_left > 0) break;
      m_state = State::kText;
    } else if (m_state == State::kText) {
      while (at < text.size() && text[at] != '\n' && text[at] != '#') ++at;
    }
    if (at < text.size() && Take(text[at++])) return at;
  }
  return npos;
}

/// Takes one byte that is not data of a block. True if it ends the message.
bool MessageScanner::Take(char c) {
  if (m_state == State::kBehindHash && c >= '1' && c <= '9') {
    m_state = State::kLength;
    m_digits = c - '0';
    m_left = 0;
    return false;
  }
  if (m_state == State::kLength && c >= '0' && c <= '9') {
    m_left = m_left * 10 + static_cast<std::uint32_t>(c - '0');
    if (--m_digits == 0) m_state = State::kData;
    return false;
  }
  m_state = c == '#' ? State::kBehindHash : State::kText;
  return c == '\n';
}

bool IsQuery(std::string_view message) {
  bool quoted = false;
  for (const char c : message) {
    if (c == '"' || c == '\'') quoted = !quoted;
    if (c == '?' && !quoted) return true;
  }
  return false;
}

bool Asks(std::string_view message, std::string_view query) {
  const auto same = [](char a, char b) { return (a >= 'a' && a <= 'z' ? a - 'a' + 'A' : a) == b; };
  return std::search(message.begin(), message.end(), query.begin(), query.end(), same) != message.end();
}

}  // namespace scpi_zlt
