// The raw socket: lines of SCPI text in, answers out, byte for byte; port 5025 by custom.
//
// A message ends at a LF outside of a definite-length block. An unfinished message is kept, up to the size that the
// library takes; a longer one is skipped up to its end without an answer: the protocol has no error for it.
// A web page can make a browser send to this port, which begins with an HTTP request; such a connection is dropped
// before any of its lines is carried out. When the instrument is not there, the connection is closed: the protocol
// has no other way to say so.
#pragma once

#include "server/Broker.h"
#include "server/Door.h"

namespace server {

struct RawOptions {
  bool tidy = false;
  std::size_t message_limit = 160144;  ///< bytes with the line end
  std::size_t unsent_limit = 1 << 20;  ///< bytes of answers that a client may leave unread before it is paused
};

class RawDoor : public Door {
 public:
  RawDoor(Broker& broker, RawOptions options) : m_broker(broker), m_options(options) {}

  const char* Name() const override { return "raw"; }
  std::unique_ptr<Connection> Accept(Wire& wire) override;

 private:
  Broker& m_broker;
  const RawOptions m_options;
};

}  // namespace server
