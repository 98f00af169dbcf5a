#include "client/MessageExchange.h"

#include <algorithm>

#include "scpi_zlt/scpi_zlt.h"

#include "client/MessageScanner.h"

namespace scpi_zlt {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr std::string_view kFence = "*OPC?\n";
constexpr std::string_view kFenceAnswer = "+1\n";

/// The longest single wait; a longer time-out is a sequence of them.
constexpr milliseconds kLongestWait{3600 * 1000};
/// How long an answer is awaited before a fence goes out after it all the same.
constexpr milliseconds kUnfencedWait{100};

/// True for a header with its question mark and nothing else: such a query answers one line, whatever comes of it. Not
/// for "*IDN?", whose text is the instrument's own and may hold a line end.
bool AnswersOneLine(std::string_view message) {
  if (message.ends_with('\n')) message.remove_suffix(1);
  const auto in_header = [](char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' || c == ':' ||
           c == '*';
  };
  if (message.size() < 2 || message.back() != '?' || Asks(message, "*IDN?")) return false;
  return std::all_of(message.begin(), message.end() - 1, in_header);
}

}  // namespace

Outcome Sendable(std::string_view message, bool& needs_end) {
  MessageScanner scanner;
  std::string_view rest = message;
  needs_end = true;
  while (!rest.empty()) {
    const std::size_t end = scanner.FindEnd(rest);
    if (std::min(end, rest.size() + 1) > kMaximumMessage) return Outcome::kTooLong;
    if (end == MessageScanner::npos) break;
    rest.remove_prefix(end);
    needs_end = !rest.empty();
  }
  return scanner.InBlock() ? Outcome::kUnfinished : Outcome::kComplete;
}

Answer MessageExchange::Exchange(std::string_view message, milliseconds timeout, const OnAnswer& early) {
  const auto start = steady_clock::now();
  if (!InStep()) {
    Answer late = Await(timeout);
    if (late.outcome == Outcome::kTimeout) late.outcome = Outcome::kBusy;
    if (late.outcome != Outcome::kComplete) return late;
  }
  Answer sent = Begin(message);
  if (sent.outcome != Outcome::kComplete) return sent;
  if (timeout != kForever) timeout -= std::chrono::duration_cast<milliseconds>(steady_clock::now() - start);
  return Await(timeout, early);
}

Answer MessageExchange::Begin(std::string_view message) {
  if (!InStep()) return {Outcome::kBusy, {}, 0};
  m_received.clear();
  m_appended = false;
  m_query = message.find('?') != std::string_view::npos;
  m_one_message = message.find('\n') >= message.size() - 1;
  m_handed_out = false;
  m_fenced = !AnswersOneLine(message);
  m_lone_query = m_query && m_one_message && m_fenced && message.find_first_of(";#") == std::string_view::npos;
  return Send(message);
}

Answer MessageExchange::Append(std::string_view message) {
  if (InStep()) return Begin(message);
  if (!m_unsent.empty()) return {Outcome::kBusy, {}, 0};
  m_fenced = true;
  Answer sent = Send(message);
  if (sent.outcome == Outcome::kComplete) m_appended = true;
  return sent;
}

Answer MessageExchange::Send(std::string_view message) {
  bool needs_end = false;
  const Outcome refused = Sendable(message, needs_end);
  if (refused != Outcome::kComplete) return {refused, {}, 0};

  m_unsent.assign(message);
  if (needs_end) m_unsent += '\n';
  if (m_fenced) m_unsent += kFence;
  m_step = Step::kOutstanding;
  if (const long status = SendOn(); status != VI_SUCCESS) return {Outcome::kFailed, {}, status};
  return {};
}

Answer MessageExchange::Await(milliseconds timeout, const OnAnswer& early) {
  if (InStep()) return {};
  const auto start = steady_clock::now();
  for (;;) {
    if (const long status = SendOn(); status != VI_SUCCESS) return {Outcome::kFailed, {}, status};
    const auto before = steady_clock::now();
    const auto used = std::chrono::duration_cast<milliseconds>(before - start);
    // No event says when the ring has room again, so it is tried every millisecond.
    const milliseconds longest = !m_unsent.empty() ? milliseconds(1) : m_fenced ? kLongestWait : kUnfencedWait;
    const milliseconds left = std::clamp(timeout - used, milliseconds(1), longest);
    const long status = Read(left.count());
    if (status >= VI_SUCCESS || status == VI_ERROR_IO) {
      if (EndHasCome()) return Finish();
      if (early) HandOutEarly(early);
      continue;
    }
    if (status != VI_ERROR_TMO) return {Outcome::kFailed, {}, status};
    const auto now = steady_clock::now();
    if (!m_fenced) {
      m_fenced = true;
      m_unsent += kFence;
      if (const long sent = SendOn(); sent != VI_SUCCESS) return {Outcome::kFailed, {}, sent};
    } else if (now - before < left && m_unsent.empty()) {
      // A time-out at once means that nothing is under way; one after the whole wait means nothing.
      return Finish();
    }
    if (now - start >= timeout) return {Outcome::kTimeout, {}, 0};
  }
}

Answer MessageExchange::Look(std::chrono::microseconds time) {
  if (InStep()) return {};
  const auto until = steady_clock::now() + time;
  while (m_unsent.empty() && steady_clock::now() < until) {
    const long status = Read(0);
    if (EndHasCome()) return Finish();
    if (status < VI_SUCCESS && status != VI_ERROR_IO && status != VI_ERROR_TMO) return {Outcome::kFailed, {}, status};
  }
  return {Outcome::kTimeout, {}, 0};
}

/// True if nothing can come after what was received last: it is the line of a query without a fence, or can only be the
/// answer of the fence. Otherwise only reading on shows it; that takes longer.
bool MessageExchange::EndHasCome() const {
  if (!m_fenced) return m_received.ends_with('\n');
  if (!m_unsent.empty() || m_appended || !m_received.ends_with(kFenceAnswer)) return false;
  if (!m_query) return true;
  // One message has one line at the most, so a second one is the fence's.
  const std::size_t before = m_received.size() - kFenceAnswer.size();
  return m_handed_out || (m_one_message && before > 0 && m_received[before - 1] == '\n');
}

/// The answer of a lone query is one line. A line like that of the fence may be the fence's.
void MessageExchange::HandOutEarly(const OnAnswer& early) {
  if (!m_lone_query || m_appended || m_handed_out || !m_received.ends_with('\n') || m_received == kFenceAnswer) return;
  m_handed_out = early(m_received);
  if (m_handed_out) m_received.clear();
}

/// Everything has come: cuts the answer of the fence off.
Answer MessageExchange::Finish() {
  m_step = Step::kInStep;
  if (m_appended || m_handed_out) m_received.clear();
  if (m_fenced && m_received.ends_with(kFenceAnswer)) m_received.resize(m_received.size() - kFenceAnswer.size());
  Answer answer{Outcome::kComplete, {}, 0};
  answer.response.swap(m_received);
  return answer;
}

/// Writes as much as the input ring has room for.
long MessageExchange::SendOn() {
  if (m_unsent.empty()) return VI_SUCCESS;
  unsigned long stored = 0;
  const long status = skWrite(m_session, reinterpret_cast<unsigned char*>(m_unsent.data()), m_unsent.size(), &stored);
  m_unsent.erase(0, stored);
  // The ring was locked for the whole time-out, which may be a millisecond: it is tried again.
  return status == VI_ERROR_TMO ? VI_SUCCESS : status;
}

long MessageExchange::Read(long timeout_ms) {
  if (timeout_ms != m_timeout_ms) {
    m_timeout_ms = timeout_ms;
    skSetAttribute(m_session, VI_ATTR_TMO_VALUE, static_cast<unsigned long>(timeout_ms));
  }
  unsigned long count = 0;
  const long status = skRead(m_session, m_piece.data(), m_piece.size(), &count);
  m_received.append(reinterpret_cast<const char*>(m_piece.data()), count);
  return status;
}

std::string Tidy(std::string_view message, std::string response) {
  if (response.ends_with(std::string_view("\0\n", 2))) response.erase(response.size() - 2, 1);
  if (response == "\n" && !IsQuery(message)) response.clear();
  return response;
}

}  // namespace scpi_zlt
