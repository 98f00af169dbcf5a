// A door is one protocol: it turns bytes into requests to the broker, and answers into bytes. It knows no socket, so a
// test can feed it bytes. The event loop owns sockets and connections and calls everything here on its own thread.
//
//   A peer connects          Door::Accept makes a Connection and gives it the Wire.
//   Bytes come               Connection::Receive, in pieces of any size.
//   The door is busy         Wire::Pause: no further Receive, so the socket fills and slows the peer down.
//                            Wire::Resume: Receive again.
//   An answer is ready       Wire::Send: queued, and sent as fast as the peer takes it.
//   Everything has been sent Connection::Drained, only if something was waiting.
//   The door hangs up        Wire::Close: what is queued still goes out, then the Connection is destroyed. No Receive
//                            after it.
//   The peer is gone         The Connection is destroyed.
//
// A Connection is never destroyed inside one of its own calls or inside a call to its Wire, so a door may still use its
// members after either. The Wire lives as long as the Connection.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace server {

/// One peer's socket as its door uses it.
class Wire {
 public:
  virtual ~Wire() = default;
  virtual void Send(std::string_view bytes) = 0;
  /// Bytes passed to Send and not yet taken by the socket. A door that lets this grow without a bound lets a peer that
  /// never reads fill the memory: pause above some limit, resume in Connection::Drained.
  virtual std::size_t Unsent() const = 0;
  virtual void Pause() = 0;
  virtual void Resume() = 0;
  virtual void Close() = 0;
  /// Address and port of the peer, for the log: "192.168.1.7:50312", "[::1]:50312".
  virtual const std::string& Peer() const = 0;
};

class Connection {
 public:
  virtual ~Connection() = default;
  virtual void Receive(std::string_view bytes) = 0;
  virtual void Drained() {}
  /// The peer will send nothing more, but may still read. True: the door still has answers and hangs up after them.
  /// False: the connection is closed as if the peer were gone.
  virtual bool EndOfInput() { return false; }
  /// True while the peer may be silent: an answer is due to it, or its session is open and may rest. The idle limit
  /// does not apply then.
  virtual bool Waiting() const { return false; }
};

class Door {
 public:
  virtual ~Door() = default;
  /// One word for the log and the port file: "raw", "hislip", "vxi11".
  virtual const char* Name() const = 0;
  /// What the protocol says to a peer that comes when all connections are in use; it is then hung up on.
  virtual std::string TooManyClients() const { return {}; }
  /// Returns null to refuse the peer; its socket is then closed at once.
  virtual std::unique_ptr<Connection> Accept(Wire& wire) = 0;
};

}  // namespace server
