// See ScriptedProvider.h. Decodes requests with code of its own, so that a mistake in the packet classes shows.
#include "tests/unit/src/ScriptedProvider.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <sstream>

#include "scpi_zlt/lookups.h"

#include "protocol/comset.h"
#include "protocol/visa.h"
#include "tests/unit/DrivenClock.h"

namespace test {

namespace {

constexpr std::size_t kHead = 16;
constexpr std::uint64_t kRubbish = 0xDEADBEEF00000000;

ScriptedProvider* current = nullptr;

unsigned Word(std::span<const unsigned char> bytes, std::size_t at) {
  return bytes[at] | static_cast<unsigned>(bytes[at + 1]) << 8;
}

template <class... Arguments>
std::string Format(const char* format, Arguments... arguments) {
  char text[64];
  std::snprintf(text, sizeof text, format, arguments...);
  return text;
}

/// A row of a table of names, up to its blank.
std::string Name(const char* row, std::size_t skipped, unsigned number) {
  if (row == nullptr) return std::to_string(number);
  return std::string(row + skipped, std::strcspn(row + skipped, " "));
}

double ValueAt(std::span<const unsigned char> bytes, std::size_t at, std::size_t size, int fraction) {
  std::int64_t integer = 0;
  for (std::size_t k = 0; k < size; ++k) integer += static_cast<std::int64_t>(std::uint64_t{bytes[at + k]} << 8 * k);
  if (fraction != 0 && size < 8 && bytes[at + size - 1] >= 0x80) integer -= std::int64_t{1} << 8 * size;
  return std::ldexp(static_cast<double>(integer), -8 * fraction);
}

/// The number in full: packets that differ never have the same text.
std::string Digits(double value) {
  char digits[32];
  const bool is_whole = value == std::floor(value) && std::fabs(value) < 1e15;
  const auto end = is_whole ? std::to_chars(digits, std::end(digits), static_cast<std::int64_t>(value))
                            : std::to_chars(digits, std::end(digits), value);
  return {digits, end.ptr};
}

struct NamedStatus {
  const char* name;
  long status;
};
constexpr NamedStatus kStatuses[] = {
    {"0", VI_SUCCESS},
    {"TMO", VI_ERROR_TMO},
    {"CONN_LOST", VI_ERROR_CONN_LOST},
    {"IO", VI_ERROR_IO},
    {"NIMPL", VI_ERROR_NIMPL_OPER},
    {"ABORT", VI_ERROR_ABORT},
    {"RAW_RD_PROT_VIOL", VI_ERROR_RAW_RD_PROT_VIOL},
    {"TERM_CHAR", VI_SUCCESS_TERM_CHAR},
    {"MAX_CNT", VI_SUCCESS_MAX_CNT},
};

}  // namespace

Bytes FromHex(const std::string& text) {
  Bytes bytes;
  int digits = 0;
  for (const char c : text) {
    const char* const hex = "0123456789ABCDEF";
    const char* const found = c == '\0' ? nullptr : std::strchr(hex, c);
    if (found == nullptr) continue;
    if (digits++ % 2 == 0) bytes.push_back(0);
    bytes.back() = static_cast<unsigned char>(bytes.back() << 4 | (found - hex));
  }
  return bytes;
}

std::string ToHex(std::span<const unsigned char> bytes) {
  std::string text;
  for (const unsigned char byte : bytes) text += Format(text.empty() ? "%02X" : " %02X", byte);
  return text;
}

std::string Describe(std::span<const unsigned char> request) {
  if (request.size() < kHead || Word(request, 0) != kSignature || Word(request, 4) != 0x8000 ||
      Word(request, 6) + kHead != request.size()) {
    return "malformed " + ToHex(request);
  }
  std::string line = Name(GetCommandName(static_cast<int>(Word(request, 2))), 3, Word(request, 2));
  const auto body = request.subspan(kHead);
  if (body.empty()) return line;
  const unsigned parameter = Word(body, 0);
  const std::size_t size = request[9] >> 4;
  const int fraction = request[9] & 0x0F;
  line += " " + Name(GetParameterName(static_cast<int>(parameter)), 0, parameter) + Format(" %zu.%d [", size, fraction);
  std::size_t at = 2;
  // A count that does not fit its byte is cut; the body says how many values there are.
  std::size_t count = request[8];
  const std::size_t counted_end = 2 + count * size;
  if (parameter != P_FILE && size != 0 && counted_end + counted_end % 2 != body.size())
    count = (body.size() - 2) / size;
  for (std::size_t index = 0; index < count && at + size <= body.size(); ++index, at += size) {
    line += (index == 0 ? "" : ", ") + Digits(ValueAt(body, at, size, fraction));
  }
  line += "]";
  if (parameter == P_FILE) line += " " + std::string(reinterpret_cast<const char*>(body.data() + at));
  return line;
}

std::string StatusName(long status) {
  const auto bits = static_cast<std::uint32_t>(status);
  for (const NamedStatus& named : kStatuses) {
    if (static_cast<std::uint32_t>(named.status) == bits) return named.name;
  }
  return Format("%X", bits);
}

Bytes Answer(std::span<const unsigned char> request, std::int16_t status) {
  Bytes reply(request.begin(), request.end());
  std::memcpy(reply.data() + 4, &status, sizeof status);
  return reply;
}

Bytes Answer(std::span<const unsigned char> request, std::int16_t status, const std::vector<double>& values) {
  Bytes reply = Answer(request.first(kHead + 2), status);
  const std::size_t size = request[9] >> 4;
  for (const double value : values) {
    const auto integer = static_cast<std::int64_t>(std::llround(std::ldexp(value, 8 * (request[9] & 0x0F))));
    for (std::size_t k = 0; k < size; ++k) reply.push_back(static_cast<unsigned char>(integer >> 8 * k));
  }
  if (reply.size() % 2 != 0) reply.push_back(0);
  reply[8] = static_cast<unsigned char>(values.size());
  const auto length = static_cast<std::uint16_t>(reply.size() - kHead);
  std::memcpy(reply.data() + 6, &length, sizeof length);
  return reply;
}

Bytes BareAnswer(std::span<const unsigned char> request, std::int16_t status) {
  Bytes reply = Answer(request.first(kHead), status);
  reply[6] = reply[7] = 0;
  return reply;
}

ScriptedProvider::ScriptedProvider() {
  current = this;
}

ScriptedProvider::~ScriptedProvider() {
  current = nullptr;
}

void ScriptedProvider::QueueReadsOf(const std::string& trace, const Bytes& reply) {
  std::istringstream words(trace);
  std::size_t from = 0;
  for (std::string word; words >> word;) {
    std::size_t count = 0;
    char name[32];
    if (std::sscanf(word.c_str(), "R%*u:%zu/%31s", &count, name) != 2) continue;
    Bytes bytes(reply.begin() + static_cast<std::ptrdiff_t>(std::min(from, reply.size())), reply.end());
    bytes.resize(count);
    from += count;
    const auto* const named =
        std::find_if(std::begin(kStatuses), std::end(kStatuses),
                     [&](const NamedStatus& candidate) { return candidate.name == std::string(name); });
    QueueRead(bytes, named->status);
  }
}

std::string ScriptedProvider::Trace() const {
  const std::lock_guard lock(m_mutex);
  std::string trace;
  for (const Call& call : m_calls) {
    trace += (trace.empty() ? "" : " ") + call.text;
    if (call.times > 1) trace += "x" + std::to_string(call.times);
  }
  return trace;
}

std::vector<std::string> ScriptedProvider::Lines() const {
  const std::lock_guard lock(m_mutex);
  return m_lines;
}

std::vector<Bytes> ScriptedProvider::Requests() const {
  const std::lock_guard lock(m_mutex);
  return m_requests;
}

std::vector<std::string> ScriptedProvider::TakeLines() {
  const std::lock_guard lock(m_mutex);
  std::vector<std::string> lines(m_lines.begin() + static_cast<std::ptrdiff_t>(m_taken), m_lines.end());
  m_taken = m_lines.size();
  return lines;
}

std::size_t ScriptedProvider::WriteCount() const {
  const std::lock_guard lock(m_mutex);
  return m_lines.size();
}

void ScriptedProvider::Record(const std::string& text, bool repeats) {
  if (repeats && !m_calls.empty() && m_calls.back().text == text) {
    ++m_calls.back().times;
  } else {
    m_calls.push_back({text, 1});
  }
}

void ScriptedProvider::Store(void* out, std::uint64_t value) const {
  std::memcpy(out, &value, wide ? sizeof(std::uint64_t) : sizeof(std::uint32_t));
}

long ScriptedProvider::Status(long status) const {
  return wide ? static_cast<std::int32_t>(status) : static_cast<long>(kRubbish | static_cast<std::uint32_t>(status));
}

long ScriptedProvider::Note(std::string text, long status) {
  const std::lock_guard lock(m_mutex);
  Record(text);
  return Status(status);
}

long ScriptedProvider::Read(std::span<unsigned char> buffer, void* count) {
  std::unique_lock lock(m_mutex);
  const std::string wanted = "R" + std::to_string(buffer.size());
  ReadStep step;
  if (!m_script.empty()) {
    step = m_script.front();
    m_script.pop_front();
    step.status = static_cast<std::int32_t>(step.status);
    Record(wanted + ":" + std::to_string(step.bytes.size()) + "/" + StatusName(step.status));
  } else {
    const auto end = m_stream.begin() + static_cast<std::ptrdiff_t>(std::min(buffer.size(), m_stream.size()));
    step.bytes.assign(m_stream.begin(), end);
    m_stream.erase(m_stream.begin(), end);
    const bool silent = step.bytes.empty() && !buffer.empty();
    step.status = silent ? VI_ERROR_TMO : 0;
    Record(silent ? wanted : wanted + ":" + std::to_string(step.bytes.size()) + "/0", silent);
  }
  std::copy_n(step.bytes.begin(), std::min(buffer.size(), step.bytes.size()), buffer.begin());
  Store(count, step.bytes.size());
  const auto slice = static_cast<std::int64_t>(time_out);
  lock.unlock();
  if (step.status == VI_ERROR_TMO) Advance(slice);
  return Status(step.status);
}

long ScriptedProvider::Write(std::span<const unsigned char> bytes, void* count) {
  Responder responder;
  long status = 0;
  {
    const std::lock_guard lock(m_mutex);
    m_requests.emplace_back(bytes.begin(), bytes.end());
    m_lines.push_back(Describe(bytes));
    Record("W(" + m_lines.back() + ")");
    if (!writes.empty()) {
      status = writes.front();
      writes.pop_front();
    }
    responder = m_responder;
    if (m_watcher) m_watcher(bytes);
  }
  Store(count, bytes.size());
  if (status != 0 || !responder) return Status(status);
  const Bytes reply = responder(bytes);
  const std::lock_guard lock(m_mutex);
  m_stream.insert(m_stream.end(), reply.begin(), reply.end());
  return Status(0);
}

long ScriptedProvider::Clear() {
  const std::lock_guard lock(m_mutex);
  m_stream.clear();
  Record("C");
  if (m_watcher) m_watcher({});
  return Status(clear_status);
}

long ScriptedProvider::SetTimeOut(unsigned long milliseconds) {
  const std::lock_guard lock(m_mutex);
  Record("T" + std::to_string(milliseconds));
  if (static_cast<std::int32_t>(set_status) >= 0) time_out = milliseconds;
  return Status(set_status);
}

}  // namespace test

using test::current;

long viOpenDefaultRM(void* session_out) {
  if (current->open_manager_status == 0) current->Store(session_out, 1);
  return current->Note("OPENRM", current->open_manager_status);
}

long viOpen(unsigned long, const char* name, unsigned long access_mode, unsigned long timeout_ms, void* session_out) {
  if (static_cast<std::int32_t>(current->open_status) >= 0) current->Store(session_out, 2);
  return current->Note(
      "OPEN(" + std::string(name) + "," + std::to_string(access_mode) + "," + std::to_string(timeout_ms) + ")",
      current->open_status);
}

long viClose(unsigned long session) {
  return current->Note("CLOSE(" + std::to_string(session) + ")", current->close_status);
}

long viClear(unsigned long) {
  return current->Clear();
}

long viRead(unsigned long, unsigned char* buffer, unsigned long count, void* count_out) {
  return current->Read({buffer, count}, count_out);
}

long viWrite(unsigned long, const unsigned char* buffer, unsigned long count, void* count_out) {
  return current->Write({buffer, count}, count_out);
}

long viGetAttribute(unsigned long, unsigned long, void* value_out) {
  current->Store(value_out, current->time_out);
  return current->Status(0);
}

long viSetAttribute(unsigned long, unsigned long, unsigned long value) {
  return current->SetTimeOut(value);
}
