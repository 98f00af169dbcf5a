#include "scpi_core/IOBuffer.h"

#include <array>
#include <cctype>
#include <cstring>
#include <mutex>
#include <string_view>

#include "scpi_zlt/scpi_zlt.h"

#include "scpi_core/Call.h"
#include "support/Ascii.h"
#include "support/Clock.h"

namespace {

/// Milliseconds of a signed 32-bit time-out, widened: all ones means for ever.
std::uint64_t Widened(int timeout) {
  return static_cast<std::uint64_t>(static_cast<std::int64_t>(timeout));
}

}  // namespace

CIOBuffer::CIOBuffer() : m_device(CreateDevice(this)) {}

CIOBuffer::~CIOBuffer() {
  StopThreads();
  delete m_device;
}

void CIOBuffer::StopThreads() {
  // Here, while the device is still whole: the interpreter leaves its cycle before any part of the device is touched.
  m_device->ThreadStop(1000);
  m_device->StopRun();
}

void CIOBuffer::CloseLink() {
  try {
    m_device->CloseConnection();
  } catch (...) {
    // The device closes what is still open.
  }
}

long CIOBuffer::Write(const unsigned char* text, unsigned long count, unsigned long* written) {
  if (text == nullptr) count = 0;
  const auto* bytes = reinterpret_cast<const char*>(text);
  const InRings in_rings;
  // The lock is held only for a copy, so it is nearly always free.
  if (!m_device->m_input_lock.TryLock()) {
    const std::int64_t start = support::NowNs();
    const auto timeout = static_cast<std::uint32_t>(m_device->m_timeout.load());
    do {
      if (support::MillisecondsSince(start) > timeout) return VI_ERROR_TMO;
    } while (!m_device->m_input_lock.TryLock());
  }
  unsigned long stored = 0;
  m_input.Write(bytes, count, &stored);
  const bool complete = m_input.CommandComplete();
  if (complete && !m_closing) neosmart::ResetEvent(m_device->m_response_event);
  m_device->m_input_lock.Unlock();
  if (written != nullptr) *written = stored;
  if (!complete) return VI_SUCCESS;
  CheckIEEECommand(bytes, static_cast<int>(stored));
  m_device->m_waits.NoteOtherSide();
  neosmart::SetEvent(m_device->m_command_event);
  return VI_SUCCESS;
}

long CIOBuffer::Read(unsigned char* buffer, unsigned long size, unsigned long* got) {
  if (buffer == nullptr) size = 0;
  const std::uint64_t timeout = Widened(m_device->m_timeout);
  const std::int64_t deadline = support::DeadlineIn(timeout);
  const neosmart::neosmart_event_t event = m_device->m_response_event;
  for (;;) {
    if (m_closing) return VI_ERROR_INV_OBJECT;
    int waited = 0;
    if (!neosmart::IsSet(event)) {
      waited = m_reads.Await([event] { return neosmart::IsSet(event); },
                             [event, deadline] { return neosmart::WaitForEventUntil(event, deadline); });
    }
    if (m_closing) return VI_ERROR_INV_OBJECT;
    if (waited != 0) return VI_ERROR_TMO;
    // One hold for all three tests: meanwhile the interpreter ends no message, and no other reader empties the ring.
    const InRings in_rings;
    const std::lock_guard hold(m_device->m_output_lock);
    if (m_output.CommandComplete()) {
      unsigned long count = 0;
      m_output.Read(reinterpret_cast<char*>(buffer), size, &count);
      if (got != nullptr) *got = count;
      return Classify(buffer, size, count);
    }
    if (IsIdle()) return VI_ERROR_TMO;  // nothing left to read, no message running
    if (!m_closing) neosmart::ResetEvent(event);
  }
}

long CIOBuffer::Classify(const unsigned char* buffer, unsigned long size, unsigned long got) const {
  if (got == 0) return VI_ERROR_TMO;
  // A null buffer counts as one of size 0, so `got` is 0 then. NOLINTNEXTLINE(clang-analyzer-core.NullDereference)
  if (static_cast<char>(buffer[got - 1]) == m_device->m_termchar) return VI_SUCCESS_TERM_CHAR;
  // Odd, and kept: a response that ends otherwise is delivered, and with an error.
  return got == size ? VI_SUCCESS_MAX_CNT : VI_ERROR_IO;
}

long CIOBuffer::OpenConnection(const char* address, unsigned int timeout) {
  m_device->m_open_timeout = timeout;
  const std::string_view name = address;
  if (name.size() >= CGenericDevice::kAddressSize) return VI_ERROR_INV_RSRC_NAME;
  m_device->SetDeviceAddress(name);
  m_device->m_open_result = VI_ERROR_INV_OBJECT;  // the result if the interpreter is stopped before it opens
  neosmart::ResetEvent(m_device->m_open_done_event);
  neosmart::SetEvent(m_device->m_open_event);
  const int waited = neosmart::WaitForEvent(m_device->m_open_done_event, timeout);
  return waited == 0 ? m_device->m_open_result.load() : VI_ERROR_TMO;
}

int CIOBuffer::CloseConnection() {
  neosmart::SetEvent(m_device->m_close_event);
  return neosmart::WaitForEvent(m_device->m_close_done_event, m_device->m_open_timeout);
}

void CIOBuffer::BeginClose() {
  {
    const std::lock_guard hold(m_device->m_input_lock);
    m_closing = true;
  }
  // The event is reset under this lock only, and never once closing is set. So the set below stays.
  { const std::lock_guard hold(m_device->m_output_lock); }
  neosmart::SetEvent(m_device->m_response_event);
}

void CIOBuffer::Drain(std::int64_t deadline_ns) {
  const auto at_rest = [this] {
    const std::lock_guard hold(m_device->m_output_lock);
    return IsIdle();
  };
  while (!at_rest()) {
    const std::int64_t left = deadline_ns - support::NowNs();
    if (left <= 0) return;
    constexpr std::int64_t kMillisecond = 1000000;
    const auto milliseconds = static_cast<std::uint64_t>((left + kMillisecond - 1) / kMillisecond);
    neosmart::WaitForEvent(m_device->m_idle_event, milliseconds);
    neosmart::ResetEvent(m_device->m_idle_event);
  }
}

bool CIOBuffer::CheckIEEECommand(const char* text, int length) {
  constexpr std::size_t kLongest = 6;
  constexpr std::string_view kKnown[] = {"*IDN?\n", "*STB?\n", "*RST\n", "*CLS\n", "*OPC?\n"};
  std::string_view rest(text, static_cast<std::size_t>(length));
  bool captured = false;
  while (!rest.empty()) {
    const std::string_view piece = rest.substr(0, rest.find(';'));
    rest.remove_prefix(std::min(rest.size(), piece.size() + 1));
    const std::size_t star = piece.find('*');
    if (star == std::string_view::npos) continue;
    captured = true;
    std::array<char, kLongest> upper{};
    const std::string_view command = piece.substr(star, kLongest);
    for (std::size_t i = 0; i < command.size(); ++i) {
      upper[i] = Upper(command[i]);
    }
    for (const std::string_view known : kKnown) {
      if (std::string_view(upper.data(), command.size()) != known) continue;
      if (known == "*CLS\n") m_device->SetClsEvent();
      return false;
    }
  }
  return captured;
}
