// A door whose protocol has locks, device clear and time-outs, so it needs timers as well as the broker.
#pragma once

#include "server/Broker.h"
#include "server/Door.h"

namespace server {

struct SessionDoorOptions {
  bool tidy = true;
  std::size_t message_limit = 160144;  ///< bytes of a program message with its line end
};

class SessionDoor : public Door {
 public:
  SessionDoor(Loop& loop, Broker& broker, SessionDoorOptions options)
      : m_loop(loop), m_broker(broker), m_options(options) {}

  Loop& EventLoop() { return m_loop; }
  Broker& TheBroker() { return m_broker; }
  const SessionDoorOptions& Options() const { return m_options; }

 private:
  Loop& m_loop;
  Broker& m_broker;
  const SessionDoorOptions m_options;
};

}  // namespace server
