// One exchange at a time per session. CDevice owns the gate and hands it to the run thread. Both take it around each
// exchange, and neither holds it across CancelRun.
//
// Leaving hands the gate to the waiter that came first. So the poller, which comes back at once, lets a setting pass
// between two polls. A poll that waits for its trigger may hold the gate for long: a waiter asks it to give up after 1
// s.
#pragma once

#include <atomic>
#include <cstdint>

#include "scpi_core/pevents.h"

class ExchangeGate {
 public:
  enum class Result { kEntered, kStopped, kTimedOut };
  static constexpr std::uint64_t kForEver = UINT64_MAX;
  /// How long a poll may keep others waiting.
  static constexpr std::uint64_t kPatienceMs = 1000;

  ExchangeGate();
  ~ExchangeGate();
  ExchangeGate(const ExchangeGate&) = delete;
  ExchangeGate& operator=(const ExchangeGate&) = delete;

  /// Waits until the gate is free, `stop` is set (null: there is none) or the time is over. Not recursive.
  Result Enter(neosmart::neosmart_event_t stop, std::uint64_t timeout_ms);
  /// As Enter without limit; after 1 s the poll that holds the gate is asked to give up.
  Result EnterAheadOfPoll(neosmart::neosmart_event_t stop);
  void Leave();

  /// The request to the poll, which tests it as its stop request. Stays up until the next run clears it.
  void AskToGiveUp() { m_give_up = true; }
  bool GiveUpAsked() const { return m_give_up; }
  void ClearGiveUp() { m_give_up = false; }

 private:
  neosmart::neosmart_event_t m_free;  ///< auto-reset; set when no exchange is inside
  std::atomic<bool> m_give_up{false};
};

/// Leaves the gate at the end of its scope, if it was entered.
class GateHold {
 public:
  GateHold(ExchangeGate& gate, ExchangeGate::Result entered) : m_gate(gate), m_result(entered) {}
  ~GateHold() {
    if (m_result == ExchangeGate::Result::kEntered) m_gate.Leave();
  }
  GateHold(const GateHold&) = delete;
  GateHold& operator=(const GateHold&) = delete;

  explicit operator bool() const { return m_result == ExchangeGate::Result::kEntered; }
  ExchangeGate::Result GetResult() const { return m_result; }

 private:
  ExchangeGate& m_gate;
  ExchangeGate::Result m_result;
};
