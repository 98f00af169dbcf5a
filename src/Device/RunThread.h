// The poller of a sweep: the instrument sweeps only while it gets SK_RUN over and over. From the replies it keeps the
// last states of PLL, level, reference and RF button, so that status queries need not disturb the sweep.
//
// It does not know CDevice, which hands session, gate and time-out to it. The lock of CSafeObject is never held when a
// cycle ends, and CancelRun unlocks nothing that it did not lock.
#pragma once

#include <atomic>
#include <cstdint>

#include "scpi_core/Thread.h"
#include "scpi_core/pevents.h"
#include "src/Device/ExchangeGate.h"
#include "src/DeviceRecords.h"
#include "src/LinkExchange.h"
#include "src/PacketTypes.h"

class CRunThread : public CThreadObject, public CSafeObject {
 public:
  explicit CRunThread(ExchangeGate& gate);
  ~CRunThread() override;

  /// Takes the four states of the hardware. Nothing in this library calls it.
  void SetParams(SParameters parameters);
  void SetSession(unsigned long session);
  /// Milliseconds for the answer to a poll; 0 waits as long as it takes.
  void SetTimeout(int timeout) { m_timeout = timeout; }
  int GetTimeout() const { return m_timeout; }

  /// Starts polling: `count` polls, 0 means until CancelRun. Odd, and kept: the OPC event is set as soon as the thread
  /// is started, not when the polls are over, so "*OPC?" answers while a sweep runs. If no thread can be started, the
  /// run stays inactive.
  virtual void Run(int count);
  /// Stops polling. Takes 1.5 s if the thread was active, even if it has ended by itself.
  virtual void CancelRun();

  neosmart::neosmart_event_t GetOPCHandle() const { return m_opc_event; }
  bool GetLevelState() const { return m_level; }
  bool GetPLLState() const { return m_pll; }
  bool GetERGState() const { return m_reference; }
  bool GetButtonState() const { return m_button; }

  void ThreadCycle() override;

 private:
  /// True once the run is cancelled, or a waiter at the gate has asked the poll to give up.
  bool MustEnd() const;
  StopTest MakeStopTest() const;
  long ExchangePacket(CDevCommand& packet, bool& connected);
  /// Sends one SK_RUN and counts down. False: the run is over.
  bool Poll(int& polls_left);
  void TakeStates(const CDevCommand& reply);
  void PollButton();

  ExchangeGate& m_gate;
  std::atomic<int> m_run_count{0};
  std::atomic<int> m_timeout{1000};
  std::atomic<bool> m_button{false};
  std::atomic<bool> m_pll{false};
  std::atomic<bool> m_level{false};
  std::atomic<bool> m_reference{false};
  unsigned long m_session = 0;
  neosmart::neosmart_event_t m_opc_event;
};
