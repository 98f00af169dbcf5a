// HiSLIP (IVI-6.1, protocol 1.0, synchronised mode); port 4880 by custom. A session is two connections of one client:
// the synchronous one carries messages and answers, the asynchronous one what must not wait for them.
//
// The states of a session
//
//   half open   Initialize was answered; the asynchronous connection must follow within 30 s. Data gets FatalError
//   open        both connections are there
//   clearing    between AsyncDeviceClear and DeviceClearComplete: synchronous messages are read and dropped
//   over        either connection is gone: the other one is closed; locks and messages not started are dropped
//
// One answer at a time is handed to the socket, in pieces of the size that the client takes, so a device clear finds
// at most one piece in flight. An answer that becomes ready after the client has sent its next message is interrupted:
// it is dropped, and both channels say so. The instrument puts no error (-410) into its queue for that.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "server/SessionDoor.h"

namespace server {

class HislipSession;

class HislipDoor : public SessionDoor {
 public:
  using SessionDoor::SessionDoor;

  const char* Name() const override { return "hislip"; }
  std::string TooManyClients() const override;
  std::unique_ptr<Connection> Accept(Wire& wire) override;

  /// A new session with a free number; null if all numbers are in use.
  std::shared_ptr<HislipSession> MakeSession(Wire& synchronous);
  /// Null if no session has this number.
  std::shared_ptr<HislipSession> Find(std::uint16_t id) const;

 private:
  std::map<std::uint16_t, std::weak_ptr<HislipSession>> m_sessions;
  std::uint16_t m_last_id = 0;
};

}  // namespace server
