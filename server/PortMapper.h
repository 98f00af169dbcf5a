// How VXI-11 clients find the core channel: they ask port 111 of the host (RFC 1833 clause 3, version 2) for the port
// of a program. Either this server answers there itself, by TCP and UDP, or it registers with the service that does.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "server/Door.h"
#include "server/Loop.h"
#include "server/Rpc.h"

namespace server {

struct RpcProgram {
  std::uint32_t program = 0;
  std::uint32_t version = 0;
  std::uint16_t port = 0;
  bool by_tcp = true;  ///< else by UDP
};

constexpr std::uint16_t kPortMapperPort = 111;

/// A port mapper that knows only itself and the programs it is made with: it refuses SET and UNSET, and has no CALLIT.
class PortMapper : public Door {
 public:
  PortMapper(Loop& loop, std::vector<RpcProgram> programs);

  const char* Name() const override { return "portmapper"; }
  std::unique_ptr<Connection> Accept(Wire& wire) override;

  /// The reply to a call that came as a datagram; empty if it was not a call.
  std::string AnswerDatagram(std::string_view datagram) const;
  std::string Answer(const rpc::Call& call) const;

 private:
  Loop& m_loop;
  std::vector<RpcProgram> m_programs;
};

/// Entries at the port mapper that runs on this host, removed at the end. The calls block.
class PortMapperEntry {
 public:
  explicit PortMapperEntry(RpcProgram program) : m_program(program) {}
  ~PortMapperEntry();
  PortMapperEntry(const PortMapperEntry&) = delete;
  PortMapperEntry& operator=(const PortMapperEntry&) = delete;

  /// False if no port mapper runs, or if it refuses because another server has registered and serves this program. An
  /// entry that a killed server has left behind is replaced.
  bool Register();

 private:
  const RpcProgram m_program;
  bool m_registered = false;
};

}  // namespace server
