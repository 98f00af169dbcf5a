// Opening and closing the link, and the way of every exchange through the gate. A stop request that is up lets nothing
// out any more; one that comes up during an exchange cancels it.
//
// What was opened is closed once: a handle that has been closed is 0, and 0 is never closed.
#include <algorithm>
#include <cstdint>
#include <exception>
#include <string>

#include "src/Device.h"
#include "src/Provider.h"
#include "support/Clock.h"

namespace {

constexpr unsigned long kOpenAccessMode = 1;
constexpr unsigned long kSessionTimeOutMs = 1000;
constexpr unsigned int kFirstResetTimeOutMs = 5000;

long CloseHandle(unsigned long& handle) {
  if (handle == 0) return 0;
  const unsigned long open = handle;
  handle = 0;
  return provider::Close(open);
}

long Refused(CDevCommand* packet, short status, long result) {
  packet->SetStatus(status);
  return result;
}

}  // namespace

long CDevice::OpenConnection(const char* resource, unsigned int open_timeout) {
  try {
    m_address = resource;
    const std::size_t marker = m_address.find("::ZLT");
    if (marker == std::string::npos) return provider::kErrorInvalidObject;
    m_mode_word = 1;
    m_address.resize(marker);

    long result = provider::OpenDefaultRM(m_resource_manager);
    if (result != 0) {
      if (result < 0) m_resource_manager = 0;
      m_link_connected = false;
      return result;
    }
    result = provider::Open(m_resource_manager, m_address.c_str(), kOpenAccessMode, open_timeout, m_instrument);
    if (result != 0) {
      CloseHandle(m_instrument);
      m_link_connected = false;
      return result;
    }
    provider::SetTimeOut(m_instrument, kSessionTimeOutMs);
    return ResetAndProbe();
  } catch (const std::exception&) {
    return provider::kErrorSystem;
  }
}

long CDevice::ResetAndProbe() {
  CDevCommand reset(SK_RESET, 0, 0, 0, 0, 0);
  reset.SetTimeOut(kFirstResetTimeOutMs);
  const long result = ProcessCommand(&reset, false);
  if (result == 0 && reset.Command() == SK_RESET && reset.Status() == SK_NO_ERROR) {
    m_link_connected = true;
    return IsFailure(Init()) ? provider::kErrorResourceNotFound : 0;
  }
  CloseHandle(m_instrument);
  m_link_connected = false;
  if (result == 0) return provider::kErrorRawReadViolation;
  if (result == provider::kErrorConnectionLost || result == provider::kErrorTimeOut) {
    return provider::kErrorResourceNotFound;
  }
  return result;
}

long CDevice::CloseConnection() {
  CloseHandle(m_instrument);
  const long result = CloseHandle(m_resource_manager);
  m_link_connected = false;
  m_connection_status = 0;
  return result;
}

long CDevice::ProcessParameter(CDevParameter* packet, bool no_limit) {
  if (m_instrument != 0 && !m_link_connected) {
    return Refused(packet, SE_CONNECTION_LOST, provider::kErrorConnectionLost);
  }
  packet->SetStatus(SK_CRITICAL_ERROR);
  return ProcessCommand(packet, no_limit);
}

long CDevice::ProcessCommand(CDevCommand* packet, bool no_limit) {
  if (ThreadShouldStop()) return Refused(packet, SE_OPERATION_CANCELED, provider::kErrorAbort);
  const GateHold turn(m_gate, AwaitTurn());
  if (turn.GetResult() == ExchangeGate::Result::kStopped) {
    return Refused(packet, SE_OPERATION_CANCELED, provider::kErrorAbort);
  }
  if (turn.GetResult() == ExchangeGate::Result::kTimedOut) {
    return Refused(packet, SE_READ_TIMEOUT, provider::kErrorTimeOut);
  }
  return ProcessDevCommand(m_instrument, packet, MakeStopTest(), m_link_connected, no_limit);
}

long CDevice::Clear(bool probe) {
  const GateHold turn(m_gate, AwaitTurn());
  if (!turn) return provider::kErrorAbort;
  return ClearDevice(m_instrument, probe, m_link_connected, MakeStopTest());
}

long CDevice::Reset() {
  const GateHold turn(m_gate, AwaitTurn());
  if (!turn) return provider::kErrorAbort;
  return ResetDevice(m_instrument, m_link_connected, MakeStopTest());
}

long CDevice::Send(CBasePacket* packet) {
  return SendToDevice(m_instrument, packet, m_link_connected);
}

long CDevice::Recv(CDevCommand* packet, bool cancel, unsigned int timeout) {
  if (ThreadShouldStop()) return Refused(packet, SE_OPERATION_CANCELED, provider::kErrorAbort);
  // A read that gives up after its first slice needs no look at the stop request.
  if (cancel) return RecvFromDevice(m_instrument, packet, true, timeout, false, m_link_connected);
  return RecvFromDevice(m_instrument, packet, MakeStopTest(), timeout, m_link_connected);
}

StopTest CDevice::MakeStopTest() const {
  return {[](const void* device) { return static_cast<const CDevice*>(device)->ThreadShouldStop(); }, this};
}

ExchangeGate::Result CDevice::AwaitTurn() {
  if (!m_turn_budget) return m_gate.EnterAheadOfPoll(StopEvent());
  const std::int64_t start = support::NowNs();
  const ExchangeGate::Result result = m_gate.Enter(StopEvent(), static_cast<std::uint64_t>(m_turn_budget->left_ms));
  m_turn_budget->left_ms = std::max<std::int64_t>(0, m_turn_budget->left_ms - support::MillisecondsSince(start));
  m_turn_budget->missed = m_turn_budget->missed || result == ExchangeGate::Result::kTimedOut;
  return result;
}
