// The poller's cycle. Each poll and each query of the RF button is one exchange inside the gate; between two of them a
// waiter at the gate gets its turn.
//
// A poll that is cancelled, by CancelRun or at the request of a waiter at the gate, leaves the states as they were. So
// does one that failed.
#include "src/Device/RunThread.h"

#include <cstring>
#include <exception>

#include "src/LinkExchange.h"
#include "src/PacketTypes.h"
#include "src/Provider.h"
#include "support/Clock.h"

namespace {

constexpr unsigned int kStopForRestartMs = 1000;
constexpr unsigned int kStopForCancelMs = 1500;
constexpr std::int64_t kButtonPeriodMs = 1000;
/// The body of a run reply: records of this size, then a status of 2 bytes.
constexpr int kRecordSize = 12;

/// The lock of a CSafeObject, if it was free.
class TriedLock {
 public:
  explicit TriedLock(CSafeObject& object) : m_object(object), m_locked(object.TryLock()) {}
  ~TriedLock() {
    if (m_locked) m_object.Unlock();
  }
  TriedLock(const TriedLock&) = delete;
  TriedLock& operator=(const TriedLock&) = delete;
  explicit operator bool() const { return m_locked; }

 private:
  CSafeObject& m_object;
  bool m_locked;
};

bool IsStateWord(int status) {
  return status == SK_UNLEVEL || status == SK_LO1_NO_PLL || status == SK_EXTREF_NO_PLL;
}

/// The status that names a state: the head's, else the word after whole records at the end of the body. 0 for none.
int StateWord(const CDevCommand& reply) {
  if (IsStateWord(reply.Status())) return reply.Status();
  const auto body = reply.BodyBytes();
  if (body.size() < 2 || (static_cast<int>(body.size()) - 2) % kRecordSize != 0) return 0;
  std::int16_t word = 0;
  std::memcpy(&word, body.data() + body.size() - sizeof(word), sizeof(word));
  return IsStateWord(word) ? word : 0;
}

}  // namespace

CRunThread::CRunThread(ExchangeGate& gate)
    : CThreadObject(0), m_gate(gate), m_opc_event(neosmart::CreateEvent(true, true)) {}

CRunThread::~CRunThread() {
  ThreadStop(kStopForRestartMs);
  neosmart::ResetEvent(m_opc_event);
  neosmart::DestroyEvent(m_opc_event);
}

void CRunThread::SetParams(SParameters parameters) {
  m_button = parameters.system.rf_button;
  m_pll = parameters.system.pll;
  m_level = parameters.system.level;
  m_reference = parameters.system.reference;
}

void CRunThread::SetSession(unsigned long session) {
  m_session = session;
}

void CRunThread::Run(int count) {
  if (Active()) ThreadStop(kStopForRestartMs);
  m_run_count = count;
  m_gate.ClearGiveUp();
  neosmart::ResetEvent(m_opc_event);
  try {
    ThreadStart();
  } catch (const std::exception&) {
    // No thread could be started: the run stays inactive, and a wait for its start must not last for ever.
  }
  neosmart::SetEvent(m_opc_event);
}

void CRunThread::CancelRun() {
  m_run_count = 0;
  if (Active()) ThreadStop(kStopForCancelMs);
}

void CRunThread::ThreadCycle() {
  try {
    std::int64_t last_check = support::NowNs();
    const int count = m_run_count;
    int polls_left = count == 0 ? 1 : count;
    if (polls_left < 0) return;
    while (!MustEnd()) {
      if (!Poll(polls_left)) return;
      if (support::MillisecondsSince(last_check) > kButtonPeriodMs && !MustEnd()) {
        PollButton();
        last_check = support::NowNs();
      }
      if (polls_left == 0) return;
    }
  } catch (const std::exception&) {
    // Out of memory: the run ends as if it had failed.
  }
}

bool CRunThread::MustEnd() const {
  return ThreadShouldStop() || m_gate.GiveUpAsked();
}

StopTest CRunThread::MakeStopTest() const {
  return {[](const void* thread) { return static_cast<const CRunThread*>(thread)->MustEnd(); }, this};
}

long CRunThread::ExchangePacket(CDevCommand& packet, bool& connected) {
  packet.SetTimeOut(static_cast<unsigned int>(GetTimeout()));
  return ProcessDevCommand(m_session, &packet, MakeStopTest(), connected, packet.GetTimeOut() != kNoTimeOut);
}

bool CRunThread::Poll(int& polls_left) {
  const TriedLock lock(*this);
  if (!lock) return true;
  CDevCommand packet(SK_RUN, 0, 0, 0, 0, 0);
  {
    const GateHold turn(m_gate, m_gate.Enter(StopEvent(), ExchangeGate::kForEver));
    if (!turn || MustEnd()) return false;
    bool connected = true;
    const long result = ExchangePacket(packet, connected);
    // Recognised by the mark of our own stop, because a provider may end a read with the same status.
    if (result == VI_ERROR_ABORT && packet.Status() == SE_OPERATION_CANCELED && MustEnd()) return false;
    if (result != 0) {
      ClearDevice(m_session, true, connected, MakeStopTest());
      // However a poll ended, after a stop the instrument must not go on sweeping.
      const long reset = ResetDevice(m_session, connected, MakeStopTest());
      if (reset == VI_ERROR_ABORT && MustEnd()) ResetAfterRun(m_session);
    } else if (packet.Status() != SE_OPERATION_CANCELED || !MustEnd()) {
      TakeStates(packet);
    }
  }
  if (static_cast<std::uint16_t>(packet.Status()) > kLastStatusOfARun) return false;
  if (m_run_count > 0) --polls_left;
  return true;
}

// Odd, and kept: no reply sets the reference state to true, so while a sweep runs it is false.
void CRunThread::TakeStates(const CDevCommand& reply) {
  switch (StateWord(reply)) {
    case SK_UNLEVEL:
      m_level = false;
      break;
    case SK_LO1_NO_PLL:
      m_pll = false;
      break;
    case SK_EXTREF_NO_PLL:
      m_reference = false;
      break;
    default:
      m_level = true;
      m_pll = true;
      break;
  }
}

void CRunThread::PollButton() {
  m_button = false;
  CDevParameter packet(P_RF_BUTTON, 1, 2, 0, SK_GET);
  const GateHold turn(m_gate, m_gate.Enter(StopEvent(), ExchangeGate::kForEver));
  if (!turn || MustEnd()) return;
  bool connected = true;
  const long result = ExchangePacket(packet, connected);
  if (result == 0 && packet.CarriesValues(1)) m_button = packet.CarriedValue(0) != 0.0;
}
