// Formatted input and output of a session: the buffers between FormatOutput, FormatInput and the messages.
#include <algorithm>
#include <array>
#include <cstring>

#include "visa/FormatInput.h"
#include "visa/FormatOutput.h"
#include "visa/GeneratorSession.h"

namespace visa {
namespace {

// The mask of viFlush (VPP-4.3 table 6.2.4); each operation has a twin on the same buffer.
constexpr ViUInt16 kReadBuffer = 1;
constexpr ViUInt16 kWriteBuffer = 2;
constexpr ViUInt16 kReadDiscard = 4;
constexpr ViUInt16 kWriteDiscard = 8;
constexpr ViUInt16 kInput = 16;
constexpr ViUInt16 kOutput = 32;
constexpr ViUInt16 kInputDiscard = 64;
constexpr ViUInt16 kOutputDiscard = 128;
constexpr ViUInt16 kAllBuffers = 255;

constexpr ViUInt16 kOnAccess = 1;

}  // namespace

/// The read buffer of a session, filled as the scan goes on.
class SessionInput : public ScanInput {
 public:
  explicit SessionInput(GeneratorSession& session) : m_session(session) {}

  bool Ready(bool past_end) override {
    if (m_at < m_session.m_read_buffer.size()) return true;
    if (m_status < kSuccess || (m_session.m_read_ended && !past_end)) return false;
    m_at = 0;
    m_status = m_session.FillReadBuffer();
    return m_at < m_session.m_read_buffer.size();
  }
  char Front() const override { return m_session.m_read_buffer[m_at]; }
  void Pop() override { ++m_at; }
  ViStatus Status() const override { return m_status; }
  ~SessionInput() override { m_session.m_read_buffer.erase(0, m_at); }

 private:
  GeneratorSession& m_session;
  std::size_t m_at = 0;
  ViStatus m_status = kSuccess;
};

ViStatus GeneratorSession::FillReadBuffer() {
  m_read_buffer.resize(Current().read_buffer_size);
  ViUInt32 got = 0;
  const ViStatus status =
      Read(reinterpret_cast<unsigned char*>(m_read_buffer.data()), static_cast<ViUInt32>(m_read_buffer.size()), &got);
  m_read_buffer.resize(got);
  m_read_ended = status != kMaxCount;
  return status;
}

/// Sends the write buffer. What is left of an earlier response is forgotten, as with viWrite.
ViStatus GeneratorSession::SendBuffered(bool end) {
  if (m_write_buffer.empty()) return kSuccess;
  std::string text;
  text.swap(m_write_buffer);
  if (const ViStatus status = m_instrument->Access(m_box); status != kSuccess) return status;
  m_read_buffer.clear();
  m_read_ended = true;
  ViUInt32 taken = 0;
  return SendMessages(text, end, DeadlineAfter(Current().timeout_ms), taken);
}

ViStatus GeneratorSession::Print(const char* format, va_list arguments) {
  const std::lock_guard hold(m_buffers_lock);
  const ViStatus status = FormatOutput(format, arguments, m_write_buffer, [this] { return SendBuffered(true); });
  if (status != kSuccess) return status;
  const Settings settings = Current();
  if (settings.write_buffer_mode == kOnAccess) return SendBuffered(true);
  return m_write_buffer.size() >= settings.write_buffer_size ? SendBuffered(false) : kSuccess;
}

ViStatus GeneratorSession::Scan(const char* format, va_list arguments) {
  const std::lock_guard hold(m_buffers_lock);
  ViStatus status = kSuccess;
  {
    SessionInput input(*this);
    status = FormatInput(format, arguments, input);
  }
  if (Current().read_buffer_mode == kOnAccess) {
    m_read_buffer.clear();
    m_read_ended = true;
  }
  return status;
}

ViStatus GeneratorSession::Query(const char* write_format, const char* read_format, va_list arguments) {
  ViStatus status = Print(write_format, arguments);
  if (status == kSuccess) status = Flush(kWriteBuffer);
  return status == kSuccess ? Scan(read_format, arguments) : status;
}

ViStatus GeneratorSession::BufferedWrite(std::string_view bytes, ViUInt32* written) {
  const std::lock_guard hold(m_buffers_lock);
  m_write_buffer.append(bytes);
  if (written != nullptr) *written = static_cast<ViUInt32>(bytes.size());
  const Settings settings = Current();
  if (settings.write_buffer_mode == kOnAccess) return SendBuffered(true);
  return m_write_buffer.size() >= settings.write_buffer_size ? SendBuffered(false) : kSuccess;
}

ViStatus GeneratorSession::BufferedRead(unsigned char* buffer, ViUInt32 count, ViUInt32* got) {
  if (got != nullptr) *got = 0;
  if (buffer == nullptr) return kUserBuffer;
  const std::lock_guard hold(m_buffers_lock);
  ViUInt32 done = 0;
  while (done < count) {
    ViStatus status = kSuccess;
    if (m_read_buffer.empty()) status = FillReadBuffer();
    const std::size_t length = std::min<std::size_t>(count - done, m_read_buffer.size());
    std::memcpy(buffer + done, m_read_buffer.data(), length);
    m_read_buffer.erase(0, length);
    done += static_cast<ViUInt32>(length);
    if (got != nullptr) *got = done;
    if (status < kSuccess) return status;
    if (m_read_buffer.empty() && m_read_ended) return kSuccess;
  }
  return kMaxCount;
}

ViStatus GeneratorSession::Flush(ViUInt16 mask) {
  for (const ViUInt16 twins : {ViUInt16{kReadBuffer | kReadDiscard}, ViUInt16{kWriteBuffer | kWriteDiscard},
                               ViUInt16{kInput | kInputDiscard}, ViUInt16{kOutput | kOutputDiscard}}) {
    if ((mask & twins) == twins) return kInvalidMask;
  }
  if (mask == 0 || mask > kAllBuffers) return kInvalidMask;
  const std::lock_guard hold(m_buffers_lock);
  ViStatus status = kSuccess;
  if ((mask & kWriteDiscard) != 0) m_write_buffer.clear();
  if ((mask & kWriteBuffer) != 0) status = SendBuffered(true);
  if ((mask & (kReadBuffer | kReadDiscard)) != 0) {
    // The rest of a response that was begun goes too.
    while ((mask & kReadBuffer) != 0 && !m_read_ended && status >= kSuccess) status = FillReadBuffer();
    m_read_buffer.clear();
    m_read_ended = true;
  }
  if ((mask & (kInput | kInputDiscard)) != 0) m_instrument->Clear(m_box);
  return std::min(status, kSuccess);
}

ViStatus GeneratorSession::SetBuffer(ViUInt16 mask, ViUInt32 size) {
  if (mask == 0 || (mask & ~(kReadBuffer | kWriteBuffer | kInput | kOutput)) != 0) return kInvalidMask;
  if (size > scpi_zlt::kMaximumMessage) return kNoMemory;
  if (const ViUInt16 formatted = mask & (kReadBuffer | kWriteBuffer); formatted != 0) {
    if (const ViStatus status = Flush(formatted); status != kSuccess) return status;
    const std::lock_guard hold(m_lock);
    if ((mask & kReadBuffer) != 0) m_settings.read_buffer_size = std::max(size, ViUInt32{1});
    if ((mask & kWriteBuffer) != 0) m_settings.write_buffer_size = size;
  }
  return (mask & (kInput | kOutput)) != 0 ? kWarnBuffer : kSuccess;
}

}  // namespace visa
