#include "server/Vxi11Door.h"

#include <limits>

#include "server/Vxi11Connection.h"

namespace server {
namespace {

class AbortConnection : public RpcConnection {
 public:
  AbortConnection(Vxi11Door& door, Wire& wire) : RpcConnection(door.EventLoop(), wire), m_door(door) {}

 private:
  void Handle(const rpc::Call& call) override {
    if (const std::string refusal = rpc::Refusal(call, DEVICE_ASYNC, 1, 1); !refusal.empty()) return Answer(refusal);
    if (call.procedure == NULLPROC) return Answer(rpc::Reply(call.xid, SUCCESS));
    if (call.procedure != device_abort) return Answer(rpc::Reply(call.xid, PROC_UNAVAIL));
    Device_Link link = 0;
    if (!rpc::Decode(call.arguments, xdr_Device_Link, link)) return Answer(rpc::Reply(call.xid, GARBAGE_ARGS));
    Vxi11Connection* const owner = m_door.Owner(link);
    Device_Error result{static_cast<int>(owner != nullptr ? Vxi11Error::kNone : Vxi11Error::kInvalidLink)};
    // This call is answered first, then the one that it ends.
    Answer(rpc::Reply(call.xid, xdr_Device_Error, result));
    if (owner != nullptr) owner->Abort(link);
  }
  /// Clients open it along with a link and may never use it.
  bool MayRest() const override { return m_door.HasLinks(); }

  Vxi11Door& m_door;
};

}  // namespace

class Vxi11Door::AbortDoor : public Door {
 public:
  explicit AbortDoor(Vxi11Door& door) : m_door(door) {}
  const char* Name() const override { return "vxi11-abort"; }
  std::unique_ptr<Connection> Accept(Wire& wire) override { return std::make_unique<AbortConnection>(m_door, wire); }

 private:
  Vxi11Door& m_door;
};

Vxi11Door::Vxi11Door(Loop& loop, Broker& broker, SessionDoorOptions options)
    : SessionDoor(loop, broker, options), m_abort(std::make_unique<AbortDoor>(*this)) {}
Vxi11Door::~Vxi11Door() = default;

std::unique_ptr<Connection> Vxi11Door::Accept(Wire& wire) {
  return std::make_unique<Vxi11Connection>(*this, wire);
}

Door& Vxi11Door::AbortChannel() {
  return *m_abort;
}

std::int32_t Vxi11Door::NewLink(Vxi11Connection& owner) {
  do {
    m_last_link = m_last_link == std::numeric_limits<std::int32_t>::max() ? 1 : m_last_link + 1;
  } while (!m_links.emplace(m_last_link, &owner).second);
  return m_last_link;
}

Vxi11Connection* Vxi11Door::Owner(std::int32_t link) const {
  const auto found = m_links.find(link);
  return found == m_links.end() ? nullptr : found->second;
}

}  // namespace server
