// See LinkExchange.h. The public functions differ only in what may interrupt them. Manner carries that through the
// exchange and everything nested in it.
#include "src/LinkExchange.h"

#include <array>
#include <cstring>
#include <optional>
#include <span>

#include "src/Provider.h"
#include "support/Clock.h"

namespace {

constexpr unsigned int kSliceMs = 500;
constexpr unsigned int kReceiveLimitMs = 5000;
constexpr unsigned int kExchangeLimitMs = 10000;
constexpr unsigned int kShortResetMs = 1000;
/// When the head reports a read time-out, the body counts as whole from this many bytes on. Odd, and kept: a shorter
/// one is a time-out even if it is whole.
constexpr unsigned int kReportedTimeOutLimit = 555;

/// What an exchange may do beside its request and reply.
struct Manner {
  StopTest stop;
  bool may_probe = true;
  bool may_resend = true;
};

long Process(unsigned long session, CDevCommand& packet, bool stopping, bool& connected, bool no_limit,
             const Manner& manner);

long Clear(unsigned long session, bool probe, bool connected, const Manner& manner) {
  const long result = provider::Clear(session);
  if (!probe || !manner.may_probe || !connected || result != VI_SUCCESS || manner.stop.Up()) return result;
  CDevParameter mode(P_MODE, 1, 2, 0, SK_GET);
  Manner probing = manner;
  probing.may_probe = false;
  // The result of the probe is not passed on: the next exchange finds the state of the link by itself.
  bool probe_connected = connected;
  Process(session, mode, false, probe_connected, false, probing);
  return result;
}

long Reset(unsigned long session, bool connected, unsigned int timeout, const Manner& manner) {
  CDevCommand reset(SK_RESET, 0, 0, 0, 0, 0);
  reset.SetTimeOut(timeout);
  return Process(session, reset, false, connected, false, manner);
}

long Aborted(CDevCommand& packet) {
  packet.SetStatus(SE_OPERATION_CANCELED);
  return VI_ERROR_ABORT;
}

/// One reply: its head, then its body, each in slices.
class Reception {
 public:
  Reception(unsigned long session, CDevCommand& packet, bool cancel, unsigned int timeout, bool& connected,
            const Manner& manner)
      : m_session(session),
        m_packet(packet),
        m_cancel(cancel),
        m_timeout(timeout == kDefaultTimeOut ? kReceiveLimitMs : timeout),
        m_connected(connected),
        m_manner(manner) {}

  long Run(bool stopping);

 private:
  /// Empty: go on with the bytes of the head. A value: the reception is over with this result.
  std::optional<long> ReadHead();
  long ReadBody();
  long BodyTimedOut();
  /// Ends a body after an error or a time-out. With `limit` bytes received it counts as whole all the same.
  long EndBody(unsigned int limit);
  long EndRestored();
  long CancelExit();

  bool Cancelled() const { return m_cancel || m_manner.stop.Up(); }
  bool TimeLeft() const { return m_timeout == kNoTimeOut || support::MillisecondsSince(m_start_ns) <= m_timeout; }
  long Cleared(bool probe) { return Clear(m_session, probe, m_connected, m_manner); }
  /// After a read that ended in an error other than the slice.
  void NoteReadError(long status);
  /// After a time-out on a link that can't be cleared either.
  void NoteLost(long clear_status);

  const unsigned long m_session;
  CDevCommand& m_packet;
  const bool m_cancel;
  const unsigned int m_timeout;
  bool& m_connected;
  const Manner& m_manner;

  std::int64_t m_start_ns = support::NowNs();
  unsigned long m_saved_timeout = 0;
  std::array<unsigned char, kHeadSize> m_head{};
  unsigned int m_received = 0;
  long m_last_status = VI_SUCCESS;
};

long Reception::Run(bool stopping) {
  if (m_session == 0) return VI_ERROR_CONN_LOST;
  // Afterwards a provider that can't say its time-out gets the slice: with 0 the next write would fail at once.
  if (provider::GetTimeOut(m_session, m_saved_timeout) < 0) m_saved_timeout = kSliceMs;
  if (const long status = provider::SetTimeOut(m_session, kSliceMs); status < 0) {
    m_packet.SetStatus(SE_READ_TIMEOUT);
    return status;
  }
  if (!stopping) {
    if (const std::optional<long> result = ReadHead()) return *result;
  }
  CHead head;
  std::memcpy(static_cast<void*>(&head), m_head.data(), kHeadSize);
  if (head.Signature != kSignature) return VI_ERROR_RAW_RD_PROT_VIOL;
  m_packet.SetBlockSize(head.BodyLength + kHeadSize);
  std::memcpy(m_packet.Block(), m_head.data(), kHeadSize);
  return ReadBody();
}

std::optional<long> Reception::ReadHead() {
  for (;;) {
    unsigned int got = 0;
    m_last_status = provider::Read(m_session, std::span(m_head).subspan(m_received), got);
    m_received += got;
    // Odd, and kept: a short head counts too, with zeros for its missing bytes.
    if (m_last_status == VI_SUCCESS) return std::nullopt;
    if (m_last_status != VI_ERROR_TMO) {
      NoteReadError(m_last_status);
      break;
    }
    if (m_received == kHeadSize) return std::nullopt;
    if (Cancelled()) return CancelExit();
    if (TimeLeft()) continue;
    const long cleared = Cleared(true);
    if (cleared == VI_SUCCESS || cleared == VI_ERROR_NIMPL_OPER) {
      m_packet.SetStatus(SE_READ_TIMEOUT);
    } else {
      NoteLost(cleared);
    }
    break;
  }
  if (m_received == kHeadSize) return std::nullopt;
  Cleared(false);
  return m_last_status;
}

long Reception::ReadBody() {
  m_received = 0;
  // A body without bytes is read all the same; the provider sees the end of the reply by it.
  for (;;) {
    unsigned int got = 0;
    m_last_status = provider::Read(m_session, m_packet.BodyBytes().subspan(m_received), got);
    m_received += got;
    const bool whole = m_received == m_packet.BodyLength();
    const bool reported_time_out = m_packet.Status() == SE_READ_TIMEOUT;
    if (m_last_status == VI_SUCCESS) {
      if (!reported_time_out) return EndRestored();
    } else if (m_last_status != VI_ERROR_TMO) {
      NoteReadError(m_last_status);
      return EndBody(m_packet.BodyLength());
    } else if (whole) {
      return EndBody(m_packet.BodyLength());
    }
    if (Cancelled()) return CancelExit();
    // Without a limit, a whole reply that reports a time-out would be read for ever.
    const bool read_on = m_timeout == kNoTimeOut ? !(reported_time_out && whole) : TimeLeft() && !reported_time_out;
    if (!read_on) return BodyTimedOut();
  }
}

long Reception::BodyTimedOut() {
  unsigned int limit = m_packet.BodyLength();
  if (m_packet.Status() == SE_READ_TIMEOUT) {
    limit = kReportedTimeOutLimit;
    m_last_status = VI_ERROR_TMO;
  }
  // Odd, and kept: with a provider that has no viClear the link is lost after a time-out in the body, though not after
  // one in the head.
  if (const long cleared = Cleared(true); cleared == VI_SUCCESS) {
    m_packet.SetStatus(SE_READ_TIMEOUT);
  } else {
    NoteLost(cleared);
  }
  return EndBody(limit);
}

long Reception::EndBody(unsigned int limit) {
  if (limit <= m_received) return EndRestored();
  Cleared(false);
  return m_last_status;
}

long Reception::EndRestored() {
  provider::SetTimeOut(m_session, m_saved_timeout);
  return VI_SUCCESS;
}

long Reception::CancelExit() {
  const long cleared = Cleared(false);
  m_packet.SetStatus(SE_OPERATION_CANCELED);
  return cleared;
}

void Reception::NoteReadError(long status) {
  if (status != VI_ERROR_CONN_LOST) return;
  m_connected = false;
  m_packet.SetStatus(SE_CONNECTION_LOST);
}

void Reception::NoteLost(long clear_status) {
  m_packet.SetStatus(clear_status == VI_ERROR_CONN_LOST ? SE_CONNECTION_LOST : SE_READ_TIMEOUT);
  m_connected = false;
  m_last_status = VI_ERROR_CONN_LOST;
}

long Process(unsigned long session, CDevCommand& packet, bool stopping, bool& connected, bool no_limit,
             const Manner& manner) {
  const unsigned short request = packet.Command();
  unsigned int timeout = packet.GetTimeOut();
  long result = VI_SUCCESS;
  bool sent = false;
  for (;;) {
    if (manner.stop.Up()) {
      // A run was sent, and its reply could not be read: the instrument may still wait for its trigger.
      if (sent && request == SK_RUN) ResetAfterRun(session);
      return Aborted(packet);
    }
    result = SendToDevice(session, &packet, connected);
    sent = sent || result == VI_SUCCESS;
    if (result == VI_SUCCESS) {
      if (timeout == kDefaultTimeOut) timeout = no_limit ? kNoTimeOut : kExchangeLimitMs;
      result = Reception(session, packet, false, timeout, connected, manner).Run(stopping);
    }
    if (result != VI_ERROR_RAW_RD_PROT_VIOL) break;
    // Out of step: flush the bytes under way and send the same request again.
    Clear(session, false, connected, manner);
    if (!manner.may_resend) break;
  }
  if (result != VI_SUCCESS) return result;

  const std::int16_t status = GetCommandStatus(&packet);
  const bool failed = status < 0 || status > kLastStatusWithoutReset;
  if (failed && request != SK_RESET && packet.Command() != SK_RESET) {
    const long reset = Reset(session, connected, kDefaultTimeOut, manner);
    if (reset == VI_ERROR_ABORT && request == SK_RUN && manner.stop.Up()) {
      ResetAfterRun(session);
    }
  }
  return VI_SUCCESS;
}

}  // namespace

long SendToDevice(unsigned long session, CBasePacket* packet, bool& connected) {
  if (session == 0) return VI_ERROR_CONN_LOST;
  auto* const command = dynamic_cast<CDevCommand*>(packet);
  if (command == nullptr) return VI_ERROR_INV_OBJECT;
  const long status = provider::Write(session, std::span(command->Block(), command->Size()));
  if (status == VI_ERROR_CONN_LOST) {
    command->SetStatus(SE_CONNECTION_LOST);
    connected = false;
  } else if (status != VI_SUCCESS) {
    command->SetStatus(SE_WRITE_TIMEOUT);
  }
  return status;
}

long RecvFromDevice(unsigned long session, CDevCommand* packet, bool cancel, unsigned int timeout, bool stopping,
                    bool& connected) {
  const Manner manner;
  return Reception(session, *packet, cancel, timeout, connected, manner).Run(stopping);
}

long RecvFromDevice(unsigned long session, CDevCommand* packet, const StopTest& stop, unsigned int timeout,
                    bool& connected) {
  if (stop.Up()) return Aborted(*packet);
  const Manner manner{.stop = stop};
  return Reception(session, *packet, false, timeout, connected, manner).Run(false);
}

long ProcessDevCommand(unsigned long session, CDevCommand* packet, bool stopping, bool& connected, bool no_limit) {
  return Process(session, *packet, stopping, connected, no_limit, Manner{});
}

long ProcessDevCommand(unsigned long session, CDevCommand* packet, const StopTest& stop, bool& connected,
                       bool no_limit) {
  return Process(session, *packet, false, connected, no_limit, Manner{.stop = stop});
}

long ClearDevice(unsigned long session, bool probe, bool connected) {
  return Clear(session, probe, connected, Manner{});
}

long ClearDevice(unsigned long session, bool probe, bool connected, const StopTest& stop) {
  return Clear(session, probe, connected, Manner{.stop = stop});
}

long ResetAfterRun(unsigned long session) {
  return Reset(session, true, kShortResetMs, Manner{.stop = {}, .may_probe = false, .may_resend = false});
}

long ResetDevice(unsigned long session, bool connected) {
  return Reset(session, connected, kDefaultTimeOut, Manner{});
}

long ResetDevice(unsigned long session, bool connected, const StopTest& stop) {
  return Reset(session, connected, kDefaultTimeOut, Manner{.stop = stop});
}

std::int16_t GetCommandStatus(const CDevCommand* packet) {
  std::int16_t status = packet->Status();
  const auto body = packet->BodyBytes();
  const std::size_t length = packet->BodyLength();
  if (packet->Command() == SK_RUN && status == SK_NO_ERROR && length >= sizeof status && length <= body.size()) {
    std::memcpy(&status, body.data() + length - sizeof status, sizeof status);
  }
  return status;
}

std::int16_t ConvertErrorVisaToSorvs(long status) {
  switch (status) {
    case VI_SUCCESS:
    case VI_SUCCESS_TERM_CHAR:
    case VI_SUCCESS_MAX_CNT:
      return SK_NO_ERROR;
    case VI_ERROR_CONN_LOST:
      return SE_CONNECTION_LOST;
    case VI_ERROR_TMO:
      return SE_READ_TIMEOUT;
    case VI_ERROR_ABORT:
      return SE_OPERATION_CANCELED;
    default:
      return SE_UNKNOWN_ERROR;
  }
}
