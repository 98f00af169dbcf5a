// HiSLIP (IVI-6.1, protocol 1.0, synchronised mode); port 4880 by custom. A session is two connections of one client:
// the synchronous one carries messages and answers, the asynchronous one what must get through beside them.
//
// The states of a session
//
//   half open   Initialize was answered; the asynchronous connection is awaited, for 30 s. Data: FatalError
//   open        both connections stand
//   clearing    between AsyncDeviceClear and DeviceClearComplete: synchronous messages are read and dropped
//   over        either connection is gone: the other one is closed, locks and what had not started are dropped
//
// One answer at a time is handed to the socket, in pieces of the size that the client takes, so a device clear finds
// one piece in flight at the most. An answer that is ready when the client has already sent something further is an
// interrupted one: it is dropped, and both channels say so. The instrument has no error queue entry for that (-410).
#pragma once

#include <cstdint>
#include <map>
#include <memory>

#include "server/Broker.h"
#include "server/Door.h"

namespace server {

struct HislipOptions {
  bool tidy = true;
  std::size_t message_limit = 160144;  ///< bytes of a program message with its line end
};

class HislipSession;

class HislipDoor : public Door {
 public:
  HislipDoor(Loop& loop, Broker& broker, HislipOptions options) : m_loop(loop), m_broker(broker), m_options(options) {}

  const char* Name() const override { return "hislip"; }
  std::unique_ptr<Connection> Accept(Wire& wire) override;

  Loop& EventLoop() { return m_loop; }
  Broker& TheBroker() { return m_broker; }
  const HislipOptions& Options() const { return m_options; }

  /// A session with a number that no live one has; null if all numbers are in use.
  std::shared_ptr<HislipSession> MakeSession(Wire& synchronous);
  /// Null if there is none of this number.
  std::shared_ptr<HislipSession> Find(std::uint16_t id) const;

 private:
  Loop& m_loop;
  Broker& m_broker;
  const HislipOptions m_options;
  std::map<std::uint16_t, std::weak_ptr<HislipSession>> m_sessions;
  std::uint16_t m_last_id = 0;
};

}  // namespace server
