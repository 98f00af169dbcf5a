// VXI-11 (VXI-11 1.0, for instruments of IEEE 488.2: VXI-11.3) over ONC RPC. Two programs: the core channel, which
// makes links to the one device "inst0" and works on them, and the abort channel, whose port create_link returns.
//
// A link is a client of the broker: it has its queue, its lock and its answers. Links belong to the connection that
// made them and end with it. The calls of a connection run one after the other; to read the status byte while a read
// waits, a client opens another connection, as the standard advises.
//
//   create_link    -> the link is made; with lockDevice only if the lock is granted in time
//   any call       -> 4 if the connection has no such link; then, while another link, or a client of another door,
//                     holds a lock that excludes this one: 11 at once, or with waitlock after lock_timeout
//   device_write   -> 0 when all is taken: a few messages may wait in the broker; a further one makes the write wait
//   device_read    -> an answer or a part of it; 15 when none comes within io_timeout. It can still be read later,
//                     until a new message begins
//   destroy_link   -> 0 when its messages have run, or after 4 s, when those that have not started are dropped
//   device_abort   -> ends the call that is using the link, if there is one, with 23
//
// There are no service requests, so no interrupt channel is made; clients then ask for the status byte.
#pragma once

#include <cstdint>
#include <map>
#include <memory>

#include "server/SessionDoor.h"

namespace server {

class Vxi11Connection;

class Vxi11Door : public SessionDoor {
 public:
  Vxi11Door(Loop& loop, Broker& broker, SessionDoorOptions options);
  ~Vxi11Door() override;

  const char* Name() const override { return "vxi11"; }
  std::unique_ptr<Connection> Accept(Wire& wire) override;

  /// The abort channel, which has a port of its own. create_link returns that port.
  Door& AbortChannel();
  void SetAbortPort(std::uint16_t port) { m_abort_port = port; }
  std::uint16_t AbortPort() const { return m_abort_port; }

  /// A number that no live link has.
  std::int32_t NewLink(Vxi11Connection& owner);
  void Forget(std::int32_t link) { m_links.erase(link); }
  bool HasLinks() const { return !m_links.empty(); }
  /// Null if there is no such link.
  Vxi11Connection* Owner(std::int32_t link) const;

 private:
  class AbortDoor;

  std::unique_ptr<AbortDoor> m_abort;
  std::uint16_t m_abort_port = 0;
  std::map<std::int32_t, Vxi11Connection*> m_links;
  std::int32_t m_last_link = 0;
};

}  // namespace server
