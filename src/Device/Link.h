// The session with the instrument: its handles, whether it is connected, and the path of every exchange through the
// gate. When the thread that uses the link is asked to stop, nothing more is sent, and an exchange under way is
// cancelled.
//
// Each handle is closed once: a closed handle is 0, and 0 is never closed.
#pragma once

#include <cstdint>

#include "scpi_core/Thread.h"
#include "src/Device/ExchangeGate.h"
#include "src/LinkExchange.h"
#include "src/PacketTypes.h"

class TurnBudget;

class Link {
 public:
  /// `user` is the thread that makes all calls. It outlives the link.
  explicit Link(const CThreadObject& user) : m_user(user) {}
  Link(const Link&) = delete;
  Link& operator=(const Link&) = delete;

  /// Opens the resource manager and a session. 0, or the status of the provider; then no session is open.
  long Open(const char* name, unsigned int open_timeout);
  void CloseSession();
  /// Closes session and resource manager. Returns the status of closing the resource manager.
  long Close();

  bool Connected() const { return m_connected; }
  void SetConnected() { m_connected = true; }
  unsigned long Session() const { return m_session; }
  ExchangeGate& Gate() { return m_gate; }

  // Each is one exchange, inside the gate. Returns a VISA status; 0 means that the packet has a status of its own.
  /// Refuses at once when the link is lost.
  long ProcessParameter(CDevParameter& packet, bool no_limit);
  long ProcessCommand(CDevCommand& packet, bool no_limit);
  long Clear(bool probe);
  long Reset();
  // Without the gate: a caller that pairs the two enters it.
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

/// The result of a sender: the status for its caller, and whether the instrument replied at all. A positive status of
/// the provider is 0 here, and still no reply.
struct Sent {
  Sent(int found) : status(found) {}  // NOLINT: without an exchange of its own a sender has only a status
  Sent(int found, bool has_reply) : status(found), replied(has_reply) {}

  int status;
  bool replied = true;
};

/// While it lives, the exchanges of a link wait for their turn for that long in all, and after that not at all.
class TurnBudget {
 public:
  TurnBudget(Link& link, std::int64_t milliseconds) : m_link(link), m_left_ms(milliseconds) { link.m_budget = this; }
  ~TurnBudget() { m_link.m_budget = nullptr; }
  TurnBudget(const TurnBudget&) = delete;
  TurnBudget& operator=(const TurnBudget&) = delete;

  /// True if an exchange did not get its turn.
  bool Missed() const { return m_missed; }

 private:
  friend class Link;

  Link& m_link;
  std::int64_t m_left_ms;
  bool m_missed = false;
};
