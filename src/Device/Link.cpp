#include "src/Device/Link.h"

#include <algorithm>

#include "src/Provider.h"
#include "support/Clock.h"

namespace {

constexpr unsigned long kOpenAccessMode = 1;
constexpr unsigned long kSessionTimeOutMs = 1000;

long CloseHandle(unsigned long& handle) {
  if (handle == 0) return VI_SUCCESS;
  const unsigned long open = handle;
  handle = 0;
  return provider::Close(open);
}

long Refused(CDevCommand& packet, short status, long result) {
  packet.SetStatus(status);
  return result;
}

}  // namespace

long Link::Open(const char* name, unsigned int open_timeout) {
  m_connected = false;
  long result = provider::OpenDefaultRM(m_resource_manager);
  if (result != VI_SUCCESS) {
    if (result < 0) m_resource_manager = 0;
    return result;
  }
  result = provider::Open(m_resource_manager, name, kOpenAccessMode, open_timeout, m_session);
  if (result != VI_SUCCESS) {
    CloseSession();
    return result;
  }
  provider::SetTimeOut(m_session, kSessionTimeOutMs);
  return VI_SUCCESS;
}

void Link::CloseSession() {
  CloseHandle(m_session);
  m_connected = false;
}

long Link::Close() {
  CloseSession();
  return CloseHandle(m_resource_manager);
}

long Link::ProcessParameter(CDevParameter& packet, bool no_limit) {
  if (m_session != 0 && !m_connected) return Refused(packet, SE_CONNECTION_LOST, VI_ERROR_CONN_LOST);
  packet.SetStatus(SK_CRITICAL_ERROR);
  return ProcessCommand(packet, no_limit);
}

long Link::ProcessCommand(CDevCommand& packet, bool no_limit) {
  if (m_user.ThreadShouldStop()) return Refused(packet, SE_OPERATION_CANCELED, VI_ERROR_ABORT);
  const GateHold turn(m_gate, AwaitTurn());
  if (turn.GetResult() == ExchangeGate::Result::kStopped) {
    return Refused(packet, SE_OPERATION_CANCELED, VI_ERROR_ABORT);
  }
  if (turn.GetResult() == ExchangeGate::Result::kTimedOut) return Refused(packet, SE_READ_TIMEOUT, VI_ERROR_TMO);
  return ProcessDevCommand(m_session, &packet, MakeStopTest(), m_connected, no_limit);
}

long Link::Clear(bool probe) {
  const GateHold turn(m_gate, AwaitTurn());
  if (!turn) return VI_ERROR_ABORT;
  return ClearDevice(m_session, probe, m_connected, MakeStopTest());
}

long Link::Reset() {
  const GateHold turn(m_gate, AwaitTurn());
  if (!turn) return VI_ERROR_ABORT;
  return ResetDevice(m_session, m_connected, MakeStopTest());
}

long Link::Send(CBasePacket& packet) {
  return SendToDevice(m_session, &packet, m_connected);
}

long Link::Recv(CDevCommand& packet, bool cancel, unsigned int timeout) {
  if (m_user.ThreadShouldStop()) return Refused(packet, SE_OPERATION_CANCELED, VI_ERROR_ABORT);
  // A read that gives up after its first slice needs no stop test.
  if (cancel) return RecvFromDevice(m_session, &packet, true, timeout, false, m_connected);
  return RecvFromDevice(m_session, &packet, MakeStopTest(), timeout, m_connected);
}

StopTest Link::MakeStopTest() const {
  return {[](const void* user) { return static_cast<const CThreadObject*>(user)->ThreadShouldStop(); }, &m_user};
}

ExchangeGate::Result Link::AwaitTurn() {
  if (m_budget == nullptr) return m_gate.EnterAheadOfPoll(m_user.StopEvent());
  const std::int64_t start = support::NowNs();
  const ExchangeGate::Result result = m_gate.Enter(m_user.StopEvent(), static_cast<std::uint64_t>(m_budget->m_left_ms));
  m_budget->m_left_ms = std::max<std::int64_t>(0, m_budget->m_left_ms - support::MillisecondsSince(start));
  m_budget->m_missed = m_budget->m_missed || result == ExchangeGate::Result::kTimedOut;
  return result;
}
