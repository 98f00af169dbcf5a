#include "tools/Session.h"

#include <array>
#include <cstdio>

#include "scpi_zlt/scpi_zlt.h"

namespace {

std::string Hex(long status) {
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), "0x%08lX", static_cast<unsigned long>(status) & 0xFFFFFFFFUL);
  return text.data();
}

bool Is(long status, unsigned long code) {
  return (static_cast<unsigned long>(status) & 0xFFFFFFFFUL) == code;
}

std::string OpenFailure(const std::string& resource, long status, unsigned timeout_ms) {
  const std::string head = "cannot open \"" + resource + "\": ";
  if (Is(status, 0xBFFF000E)) {
    return head + "a resource name has to end in ::ZLT, as in SIM0::INSTR::ZLT";
  }
  if (Is(status, 0xBFFF0012)) return head + "the provider does not understand this name, or it is too long";
  if (Is(status, 0xBFFF0011)) return head + "there is no such instrument, or it does not answer";
  if (Is(status, 0xBFFF0015)) {
    return head + "not ready within " + std::to_string(timeout_ms) + " ms (--open-timeout gives it longer)";
  }
  if (Is(status, 0xBFFF0035)) return head + "what answers there does not speak this generator's protocol";
  return head + "VISA status " + Hex(status);
}

}  // namespace

Session::Session(const std::string& resource, unsigned open_timeout_ms, unsigned answer_timeout_ms) {
  const long status = skOpen(0, resource.c_str(), 0, open_timeout_ms, &m_session);
  if (status != VI_SUCCESS) throw ToolError(OpenFailure(resource, status, open_timeout_ms));
  skSetAttribute(m_session, VI_ATTR_TMO_VALUE, answer_timeout_ms);
}

Session::~Session() {
  skClose(m_session);
}

void Session::Send(std::string_view message) {
  std::string line(message);
  line += '\n';
  unsigned long written = 0;
  const long status = skWrite(m_session, reinterpret_cast<unsigned char*>(line.data()), line.size(), &written);
  if (status != VI_SUCCESS) throw ToolError("the message was not taken: VISA status " + Hex(status));
  if (written != line.size()) {
    throw ToolError("the message is too long: " + std::to_string(written) + " of " + std::to_string(line.size()) +
                    " bytes were taken, and the session waits for its end for ever");
  }
}

std::optional<std::string> Session::Ask(std::string_view query) {
  Send(query);
  std::optional<std::string> answer = Read();
  // An empty response is a left-over line end, or the answer of a query that has none: a second read fails at once
  // then.
  while (answer && answer->empty()) {
    std::optional<std::string> next = Read();
    if (!next) break;
    answer = std::move(next);
  }
  return answer;
}

std::optional<std::string> Session::Read() {
  std::string answer;
  std::array<unsigned char, 4096> piece{};
  long status = VI_SUCCESS_MAX_CNT;
  while (Is(status, VI_SUCCESS_MAX_CNT)) {
    unsigned long count = 0;
    status = skRead(m_session, piece.data(), piece.size(), &count);
    answer.append(reinterpret_cast<const char*>(piece.data()), count);
  }
  if (!Is(status, VI_SUCCESS_TERM_CHAR)) return std::nullopt;
  answer.pop_back();
  if (!answer.empty() && answer.back() == '\0') answer.pop_back();  // "*IDN?" ends in a zero byte
  return answer;
}

bool IsQuery(std::string_view message) {
  bool quoted = false;
  for (const char c : message) {
    if (c == '"' || c == '\'') quoted = !quoted;
    if (c == '?' && !quoted) return true;
  }
  return false;
}
