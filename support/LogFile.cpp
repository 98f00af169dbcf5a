// The time-stamped text log. It takes its milliseconds from the clock that callers see.
#include <array>
#include <time.h>

#include "scpi_zlt/helpers.h"

#include "support/Clock.h"

namespace {

std::string LocalTime(const char* format) {
  const time_t now = time(nullptr);
  tm local{};
  localtime_r(&now, &local);
  std::array<char, 128> text{};
  return std::string(text.data(), strftime(text.data(), text.size(), format, &local));
}

std::uint64_t Tick() {
  return static_cast<std::uint64_t>(GetTickCount());
}

}  // namespace

CLogFile::CLogFile(const char* file_name) : m_last_tick(Tick()) {
  const std::string path = std::string("/tmp/") + (file_name != nullptr ? file_name : "");
  m_stream = std::make_unique<std::ofstream>(path, std::ios::out | std::ios::trunc);
  if (!m_stream->is_open()) return;
  *m_stream << "\r\n\r\n------------------- Log started " << GetDateStamp() << " [" << GetTimeStamp() << "]"
            << " ----------------------------";
}

CLogFile::~CLogFile() {
  if (!m_stream->is_open()) return;
  *m_stream << "\r\n---------------------------- Log closed ----------------------------" << std::flush;
}

void CLogFile::AddString(const char* text) {
  if (text == nullptr) return;
  const std::uint64_t tick = Tick();
  const std::uint64_t gone_ms = tick > m_last_tick ? tick - m_last_tick : 0;
  m_last_tick = tick;
  *m_stream << "\r\n[" << GetTimeStamp() << " - " << stdex::itos(static_cast<int>(gone_ms), 10) << " ms after"
            << "] " << text << std::flush;
}

void CLogFile::AddDateTimeString(const char* text) {
  *m_stream << "\r\n"
            << GetDateStamp() << " [" << GetTimeStamp() << "] " << (text != nullptr ? text : "") << std::flush;
}

std::string CLogFile::GetTimeStamp() const {
  return LocalTime("%T");
}

std::string CLogFile::GetDateStamp() const {
  return LocalTime("%x");
}

void CLogFile::Flush() {
  m_stream->flush();
}

CLogFile& CLogFile::operator<<(const std::string& text) {
  *m_stream << text;
  return *this;
}

CLogFile& CLogFile::operator<<(int value) {
  *m_stream << stdex::itos(value, 10);
  return *this;
}

CLogFile::operator std::ofstream&() {
  return *m_stream;
}
