#include "server/PortMapper.h"

#include <arpa/inet.h>
#include <iterator>
#include <netinet/in.h>
#include <rpc/pmap_clnt.h>
#include <rpc/pmap_prot.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

#include "server/RpcConnection.h"

namespace server {
namespace {

class PortMapperConnection : public RpcConnection {
 public:
  PortMapperConnection(const PortMapper& mapper, Loop& loop, Wire& wire)
      : RpcConnection(loop, wire), m_mapper(mapper) {}

 private:
  void Handle(const rpc::Call& call) override { Answer(m_mapper.Answer(call)); }

  const PortMapper& m_mapper;
};

pmap ToEntry(const RpcProgram& program) {
  return {program.program, program.version, program.by_tcp ? u_long{IPPROTO_TCP} : u_long{IPPROTO_UDP}, program.port};
}

sockaddr_in Local(std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(port);
  return address;
}

/// True if this host serves the port.
bool IsServed(std::uint16_t port) {
  const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (socket < 0) return true;
  const sockaddr_in address = Local(port);
  const bool served = ::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  ::close(socket);
  return served;
}

}  // namespace

PortMapper::PortMapper(Loop& loop, std::vector<RpcProgram> programs) : m_loop(loop), m_programs(std::move(programs)) {
  m_programs.push_back({PMAPPROG, PMAPVERS, kPortMapperPort, true});
  m_programs.push_back({PMAPPROG, PMAPVERS, kPortMapperPort, false});
}

std::unique_ptr<Connection> PortMapper::Accept(Wire& wire) {
  return std::make_unique<PortMapperConnection>(*this, m_loop, wire);
}

std::string PortMapper::AnswerDatagram(std::string_view datagram) const {
  const std::optional<rpc::Call> call = rpc::ReadCall(datagram);
  return call ? Answer(*call) : std::string();
}

std::string PortMapper::Answer(const rpc::Call& call) const {
  if (std::string refusal = rpc::Refusal(call, PMAPPROG, PMAPVERS, PMAPVERS); !refusal.empty()) return refusal;
  if (call.procedure == PMAPPROC_NULL) return rpc::Reply(call.xid, SUCCESS);
  if (call.procedure == PMAPPROC_DUMP) {
    std::vector<pmaplist> list(m_programs.size());
    for (std::size_t i = 0; i < list.size(); ++i) {
      list[i] = {ToEntry(m_programs[i]), i + 1 < list.size() ? &list[i + 1] : nullptr};
    }
    pmaplist* first = list.data();
    constexpr std::size_t kEntry = 20;
    return rpc::Reply(call.xid, xdr_pmaplist, first, kEntry * list.size());
  }
  if (call.procedure != PMAPPROC_SET && call.procedure != PMAPPROC_UNSET && call.procedure != PMAPPROC_GETPORT) {
    return rpc::Reply(call.xid, PROC_UNAVAIL);
  }
  pmap asked{};
  if (!rpc::Decode(call.arguments, xdr_pmap, asked)) return rpc::Reply(call.xid, GARBAGE_ARGS);
  // For SET and UNSET this is "no", for GETPORT "not there".
  u_long port = 0;
  for (const RpcProgram& program : m_programs) {
    const pmap entry = ToEntry(program);
    const bool match =
        asked.pm_prog == entry.pm_prog && asked.pm_vers == entry.pm_vers && asked.pm_prot == entry.pm_prot;
    if (match && call.procedure == PMAPPROC_GETPORT) port = entry.pm_port;
  }
  return rpc::Reply(call.xid, xdr_u_long, port);
}

bool PortMapperEntry::Register() {
  const auto set = [this] { return pmap_set(m_program.program, m_program.version, IPPROTO_TCP, m_program.port) != 0; };
  m_registered = set();
  if (m_registered) return true;
  sockaddr_in host = Local(kPortMapperPort);
  const std::uint16_t port = pmap_getport(&host, m_program.program, m_program.version, IPPROTO_TCP);
  if (port == 0 || IsServed(port)) return false;
  pmap_unset(m_program.program, m_program.version);
  m_registered = set();
  return m_registered;
}

PortMapperEntry::~PortMapperEntry() {
  if (m_registered) pmap_unset(m_program.program, m_program.version);
}

}  // namespace server
