#include "visa/GeneratorSession.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

namespace visa {
namespace {

constexpr ViUInt16 kMessageAvailable = 0x10;  // bit 4 of the status byte (IEEE 488.2 section 11.2)
constexpr ViUInt16 kTriggerDefault = 0;
constexpr ViUInt16 kLastRemoteMode = 6;

/// "*STB?" answers eight digits, the lowest bit first. -1 for anything else.
int StatusByteOf(std::string_view digits) {
  while (!digits.empty() && (digits.back() == '\n' || digits.back() == '\0')) digits.remove_suffix(1);
  if (digits.size() != 8) return -1;
  int value = 0;
  for (std::size_t bit = 0; bit < digits.size(); ++bit) {
    if (digits[bit] != '0' && digits[bit] != '1') return -1;
    if (digits[bit] == '1') value |= 1 << bit;
  }
  return value;
}

}  // namespace

GeneratorSession::GeneratorSession(ViObject manager, std::shared_ptr<Instrument> instrument, std::string generator,
                                   std::string_view typed)
    : Object(manager),
      m_instrument(std::move(instrument)),
      m_generator(std::move(generator)),
      m_parts(PartsOf(typed)) {}

GeneratorSession::~GeneratorSession() = default;

ViStatus GeneratorSession::Close() {
  m_instrument->Leave(m_box);
  return kSuccess;
}

Settings GeneratorSession::Current() {
  const std::lock_guard hold(m_lock);
  return m_settings;
}

ViStatus GeneratorSession::Write(std::string_view bytes, ViUInt32* written) {
  if (written != nullptr) *written = 0;
  if (bytes.empty()) return kSuccess;
  if (const ViStatus status = m_instrument->Access(m_box); status != kSuccess) return status;
  const Settings settings = Current();
  ViUInt32 taken = 0;
  const ViStatus status = SendMessages(bytes, settings.send_end != 0, DeadlineAfter(settings.timeout_ms), taken);
  if (written != nullptr) *written = taken;
  return status;
}

/// Cuts `bytes` into messages and sends those that are whole. After a failure what was not sent is forgotten.
ViStatus GeneratorSession::SendMessages(std::string_view bytes, bool end, Deadline deadline, ViUInt32& taken) {
  bool first = true;
  taken = 0;
  while (!bytes.empty()) {
    std::string message;
    std::size_t length = 0;
    {
      const std::lock_guard hold(m_lock);
      length = m_scanner.FindEnd(bytes);
      const bool whole = length != scpi_zlt::MessageScanner::npos;
      if (!whole) length = bytes.size();
      m_unfinished.append(bytes.substr(0, length));
      const bool too_long = m_unfinished.size() > scpi_zlt::kMaximumMessage;
      if (whole || end || too_long) {
        message.swap(m_unfinished);
        m_scanner = {};
      }
    }
    if (!message.empty()) {
      const ViStatus status = m_instrument->Send(m_box, message, !first, deadline);
      if (status != kSuccess) return status;
      first = false;
    }
    bytes.remove_prefix(length);
    taken += static_cast<ViUInt32>(length);
  }
  return kSuccess;
}

ViStatus GeneratorSession::Read(unsigned char* buffer, ViUInt32 count, ViUInt32* got) {
  if (got != nullptr) *got = 0;
  if (count == 0) return kMaxCount;
  if (buffer == nullptr) return kUserBuffer;
  if (const ViStatus status = m_instrument->Access(m_box); status != kSuccess) return status;
  const Settings settings = Current();
  const ReadLimits limits{settings.termination_enabled != 0, static_cast<char>(settings.termination_character),
                          settings.suppress_end != 0};
  const ReadResult result = m_instrument->Read(m_box, buffer, count, limits, DeadlineAfter(settings.timeout_ms));
  if (got != nullptr) *got = result.count;
  return result.status;
}

ViStatus GeneratorSession::ReadStatusByte(ViUInt16& status_byte) {
  if (const ViStatus status = m_instrument->Access(m_box); status != kSuccess) return status;
  std::string answer;
  const ViStatus status = m_instrument->Ask("*STB?", DeadlineAfter(Current().timeout_ms), answer);
  if (status != kSuccess) return status;
  const int value = StatusByteOf(answer);
  // An empty line is what the generator's model answers when the link to the instrument is gone.
  if (value < 0) return kConnectionLost;
  status_byte = static_cast<ViUInt16>(value);
  if (m_instrument->HasAnswer(m_box)) status_byte |= kMessageAvailable;
  return kSuccess;
}

ViStatus GeneratorSession::Trigger() {
  ViUInt32 taken = 0;
  if (const ViStatus status = m_instrument->Access(m_box); status != kSuccess) return status;
  return SendMessages(":TRIG\n", true, DeadlineAfter(Current().timeout_ms), taken);
}

ViStatus GeneratorSession::Clear() {
  if (const ViStatus status = m_instrument->Access(m_box); status != kSuccess) return status;
  m_instrument->Clear(m_box);
  {
    const std::lock_guard hold(m_lock);
    m_unfinished.clear();
    m_scanner = {};
  }
  const std::lock_guard hold(m_buffers_lock);
  m_write_buffer.clear();
  m_read_buffer.clear();
  m_read_ended = true;
  return kSuccess;
}

ViStatus GeneratorSession::Lock(ViUInt32 type, ViUInt32 timeout_ms, const char* requested_key, char* granted_key) {
  if (type != kExclusiveLock && type != kSharedLock) return kInvalidLockType;
  std::string key = type == kSharedLock && requested_key != nullptr ? requested_key : "";
  if (key.size() >= kFindLength) return kInvalidAccessKey;
  const ViStatus status = m_instrument->Lock(m_box, type, key, DeadlineAfter(timeout_ms));
  if (status >= kSuccess && type == kSharedLock && granted_key != nullptr) {
    std::memcpy(granted_key, key.c_str(), key.size() + 1);
  }
  return status;
}

ViStatus GeneratorSession::Unlock() {
  return m_instrument->Unlock(m_box);
}

ViStatus GeneratorSession::ControlRemote(ViUInt16 mode) {
  if (mode > kLastRemoteMode) return kInvalidMode;
  if (const ViStatus status = m_instrument->Access(m_box); status != kSuccess) return status;
  const std::lock_guard hold(m_lock);
  // Modes 0 and 2 take remote enable away, mode 6 leaves it (VPP-4.3 section 6.5.2.1).
  if (mode != kLastRemoteMode) m_settings.remote_enabled = mode == 0 || mode == 2 ? 0 : 1;
  return kSuccess;
}

}  // namespace visa
