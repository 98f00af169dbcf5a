// The session with the instrument: its handles, whether it is connected, and the way of every exchange through the
// gate. A stop request of the thread that uses the link lets nothing out any more; one that comes up during an exchange
// cancels it.
//
// What was opened is closed once: a handle that has been closed is 0, and 0 is never closed.
#pragma once

#include <cstdint>

#include "scpi_core/Thread.h"
#include "src/Device/ExchangeGate.h"
#include "src/LinkExchange.h"
#include "src/PacketTypes.h"

class TurnBudget;

class Link {
 public:
  /// `user` is the thread that calls all this. It outlives the link.
  explicit Link(const CThreadObject& user) : m_user(user) {}
  Link(const Link&) = delete;
  Link& operator=(const Link&) = delete;

  /// Opens the resource manager and a session. 0, or what the provider returned; then no session is left open.
  long Open(const char* name, unsigned int open_timeout);
  void CloseSession();
  /// Closes what is open; what the provider returned for the resource manager.
  long Close();

  bool Connected() const { return m_connected; }
  void SetConnected() { m_connected = true; }
  unsigned long Session() const { return m_session; }
  ExchangeGate& Gate() { return m_gate; }

  // Each is one exchange, inside the gate. A VISA status; 0 means: read the packet's status.
  /// Refuses at once when the link is lost.
  long ProcessParameter(CDevParameter& packet, bool no_limit);
  long ProcessCommand(CDevCommand& packet, bool no_limit);
  long Clear(bool probe);
  long Reset();
  // Without the gate: whoever pairs them enters it.
  long Send(CBasePacket& packet);
  long Recv(CDevCommand& packet, bool cancel, unsigned int timeout);

 private:
  friend class TurnBudget;

  ExchangeGate::Result AwaitTurn();
  StopTest MakeStopTest() const;

  const CThreadObject& m_user;
  unsigned long m_resource_manager = 0;
  unsigned long m_session = 0;
  bool m_connected = false;
  ExchangeGate m_gate;
  TurnBudget* m_budget = nullptr;
};

/// What a sender reports: the status for its caller, and whether the instrument replied at all. A positive status of
/// the provider is 0 here, and yet no reply.
struct Sent {
  Sent(int found) : status(found) {}  // NOLINT: what has no exchange of its own reports a status alone
  Sent(int found, bool has_reply) : status(found), replied(has_reply) {}

  int status;
  bool replied = true;
};

/// While it lives, the exchanges of a link wait for their turn that long in all, and then go without.
class TurnBudget {
 public:
  TurnBudget(Link& link, std::int64_t milliseconds) : m_link(link), m_left_ms(milliseconds) { link.m_budget = this; }
  ~TurnBudget() { m_link.m_budget = nullptr; }
  TurnBudget(const TurnBudget&) = delete;
  TurnBudget& operator=(const TurnBudget&) = delete;

  /// True if an exchange went without its turn.
  bool Missed() const { return m_missed; }

 private:
  friend class Link;

  Link& m_link;
  std::int64_t m_left_ms;
  bool m_missed = false;
};
