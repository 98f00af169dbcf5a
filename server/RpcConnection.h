// One connection of an RPC client, whatever the program: its calls, one after the other, each answered before the next
// one begins.
#pragma once

#include <string>
#include <string_view>

#include "server/Door.h"
#include "server/Loop.h"
#include "server/Rpc.h"

namespace server {

class RpcConnection : public Connection {
 public:
  RpcConnection(Loop& loop, Wire& wire);
  ~RpcConnection() override { m_loop.Cancel(m_patience); }
  RpcConnection(const RpcConnection&) = delete;
  RpcConnection& operator=(const RpcConnection&) = delete;

  void Receive(std::string_view bytes) override;
  void Drained() override { Work(); }
  bool Waiting() const override { return m_busy || MayRest(); }

 protected:
  /// Carries the call out and calls Answer once, now or later. `call` is valid only inside this function.
  virtual void Handle(const rpc::Call& call) = 0;
  void Answer(const std::string& reply);
  /// True if the client may be silent for as long as it likes; else half a minute without a call closes it.
  virtual bool MayRest() const { return false; }

  Loop& EventLoop() { return m_loop; }
  const std::string& Peer() const { return m_wire.Peer(); }

 private:
  void Work();
  void HangUp(const char* reason);
  void AwaitCall();

  Loop& m_loop;
  Wire& m_wire;
  rpc::RecordReader m_reader;
  std::string m_input;  ///< what came after the call that is being carried out
  Loop::Timer m_patience = 0;
  bool m_busy = false;    ///< a call is being carried out
  bool m_called = false;  ///< a call has come since m_patience was set
  bool m_working = false;
  bool m_closed = false;
};

}  // namespace server
