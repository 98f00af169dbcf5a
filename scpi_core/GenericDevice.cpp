#include "scpi_core/GenericDevice.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <locale.h>
#include <mutex>
#include <new>
#include <utility>

#include "scpi_zlt/scpi_errors.h"
#include "scpi_zlt/scpi_zlt.h"

#include "scpi_core/IOBuffer.h"
#include "scpi_core/pcore.h"
#include "support/LogHooks.h"

namespace {

/// Numbers are read and answered with "." whatever locale the program has set: the thread lives under the "C" locale.
class CLocale {
 public:
  CLocale() : m_locale(newlocale(LC_ALL_MASK, "C", nullptr)) {
    if (m_locale != nullptr) uselocale(m_locale);
  }
  ~CLocale() {
    uselocale(LC_GLOBAL_LOCALE);
    if (m_locale != nullptr) freelocale(m_locale);
  }
  CLocale(const CLocale&) = delete;
  CLocale& operator=(const CLocale&) = delete;

 private:
  locale_t m_locale;
};

}  // namespace

CGenericDevice::CGenericDevice() = default;

CGenericDevice::CGenericDevice(CIOBuffer* io_buffer)
    : m_io_buffer(io_buffer), m_message(new char[CCharBuff::kCapacity + 1]) {
  try {
    CreateEvents();
    ThreadStart([](CThreadObject& self) { static_cast<CGenericDevice&>(self).CGenericDevice::ThreadCycle(); });
  } catch (...) {
    DestroyEvents();
    throw;
  }
}

CGenericDevice::~CGenericDevice() {
  ThreadStop(1000);
  DestroyEvents();
}

void CGenericDevice::CreateEvents() {
  using neosmart::CreateEvent;
  m_response_event = CreateEvent(true, false);
  m_command_event = CreateEvent(true, false);
  m_open_event = CreateEvent(false, false);
  m_close_event = CreateEvent(false, false);
  m_open_done_event = CreateEvent(false, false);
  m_close_done_event = CreateEvent(false, false);
  m_ready_event = CreateEvent(true, true);
  m_cls_event = CreateEvent(true, false);
  m_idle_event = CreateEvent(true, false);
  m_wait_events[0] = m_command_event;
  m_wait_events[1] = m_open_event;
  m_wait_events[2] = m_close_event;
  m_wait_events[3] = StopEvent();
}

void CGenericDevice::DestroyEvents() {
  for (const neosmart::neosmart_event_t event :
       {m_command_event, m_response_event, m_open_event, m_close_event, m_open_done_event, m_close_done_event,
        m_ready_event, m_cls_event, m_idle_event}) {
    if (event != nullptr) neosmart::DestroyEvent(event);
  }
}

int CGenericDevice::SendResponse(const char* text, int length) {
  unsigned long stored = 0;
  if (m_io_buffer != nullptr && length > 0) {
    const std::lock_guard hold(m_output_lock);
    m_io_buffer->m_output.Write(text, static_cast<unsigned long>(length), &stored);
    if (m_io_buffer->m_output.CommandComplete()) m_answered = true;
  }
  return static_cast<int>(stored);
}

int CGenericDevice::SendEnd() {
  const char end = m_termchar;
  return SendResponse(&end, 1);
}

void CGenericDevice::ThreadCycle() {
  Serve();
  // No answer will come any more: wakes callers that wait for an open or a close.
  neosmart::SetEvent(m_open_done_event);
  neosmart::SetEvent(m_close_done_event);
}

void CGenericDevice::Serve() {
  const CLocale locale;
  while (!ThreadShouldStop()) {
    int index = -1;
    try {
      m_waits.Await(
          [this] { return std::any_of(m_wait_events, m_wait_events + 4, neosmart::IsSet); },
          [&] { return neosmart::WaitForMultipleEvents(m_wait_events, 4, false, neosmart::kInfinite, index); });
    } catch (const std::bad_alloc&) {
      // No memory for a wait on several events. A wait on one needs none, and gives other threads time to free some.
      neosmart::WaitForEvent(StopEvent(), 10);
    }
    if (index == 0 && m_connected) {
      TakeMessage();
    } else if (index == 1) {
      Open();
    } else if (index == 2) {
      Close();
    } else if (index == 3) {
      return;
    }
  }
}

void CGenericDevice::Open() {
  long result = VI_ERROR_SYSTEM_ERROR;
  try {
    result = OpenConnection(m_device_address, m_open_timeout);
  } catch (...) {
    result = VI_ERROR_SYSTEM_ERROR;
  }
  m_open_result = result;
  m_connected = result == 0;
  neosmart::SetEvent(m_open_done_event);
}

void CGenericDevice::Close() {
  try {
    CloseConnection();
  } catch (...) {
    // The device closes what is still open.
  }
  neosmart::SetEvent(m_close_done_event);
  m_connected = false;
}

void CGenericDevice::TakeMessage() {
  unsigned long length = 0;
  {
    const std::lock_guard hold(m_input_lock);
    CCharBuff& input = m_io_buffer->m_input;
    if (input.CommandComplete()) {
      m_message_running = true;
      input.Read(m_message.get(), CCharBuff::kCapacity, &length);
    }
    if (!input.CommandComplete()) neosmart::ResetEvent(m_command_event);
  }
  m_io_buffer->m_reads.NoteOtherSide();
  if (length > 0) Interpret(static_cast<int>(length));
  // A reader may have taken the response before the message ended; it then waits for the end. It holds the lock while
  // it tests whether a message runs, so it either sees the end or is woken by it.
  bool complete = false;
  {
    const std::lock_guard hold(m_output_lock);
    complete = std::exchange(m_answered, false) || m_io_buffer->m_output.CommandComplete();
    m_message_running = false;
  }
  if (complete) neosmart::SetEvent(m_response_event);
  if (m_io_buffer->m_closing) neosmart::SetEvent(m_idle_event);
}

void CGenericDevice::Interpret(int length) {
  m_message[static_cast<std::size_t>(length)] = '\0';
  try {
    Parse(m_message.get(), length, this, this, m_unit);
  } catch (...) {
    // Some handlers let exceptions pass. The message ends here, and the session goes on.
    LogMessageGD("Interpret", "exception");
    try {
      RaiseError(scpi_error::kSystemError, "");
    } catch (...) {
      // No memory for the error either.
    }
  }
}

void CGenericDevice::SetDeviceAddress(std::string_view address) {
  const std::size_t length = std::min(address.size(), kAddressSize - 1);
  std::memcpy(m_device_address, address.data(), length);
  m_device_address[length] = '\0';
}

long CGenericDevice::GetAttribute(unsigned long id, void* result) {
  if (result == nullptr) return VI_ERROR_NSUP_ATTR_STATE;
  std::int32_t value = 0;
  if (id == VI_ATTR_TERMCHAR) {
    value = static_cast<signed char>(m_termchar.load());
  } else if (id == VI_ATTR_TMO_VALUE) {
    value = m_timeout;
  } else {
    return VI_ERROR_NSUP_ATTR;
  }
  std::memcpy(result, &value, sizeof value);
  return VI_SUCCESS;
}

long CGenericDevice::SetAttribute(unsigned long id, unsigned long state) {
  constexpr unsigned long kFirstPossibleAddress = 4096;
  if (id == VI_ATTR_TERMCHAR) {
    if (state < kFirstPossibleAddress) return VI_ERROR_NSUP_ATTR_STATE;
    std::int32_t word = 0;
    std::memcpy(&word, reinterpret_cast<const void*>(state), sizeof word);
    m_termchar = static_cast<char>(word);
    return VI_SUCCESS;
  }
  if (id == VI_ATTR_TMO_VALUE) {
    m_timeout = static_cast<std::int32_t>(static_cast<std::uint32_t>(state));
    return VI_SUCCESS;
  }
  return VI_ERROR_NSUP_ATTR;
}
