// A connection of the core channel; Vxi11Door.h has the rules.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>

#include "server/RpcConnection.h"
#include "server/Vxi11Door.h"
#include "server/Vxi11Link.h"
#include "vxi11.h"

namespace server {

class Vxi11Connection : public RpcConnection {
 public:
  Vxi11Connection(Vxi11Door& door, Wire& wire) : RpcConnection(door.EventLoop(), wire), m_door(door) {}
  ~Vxi11Connection() override;

  /// Ends the call in progress if it uses this link and can be aborted.
  void Abort(std::int32_t link);

 private:
  /// The call in progress.
  struct Operation {
    std::int32_t link = 0;
    std::function<void(Vxi11Error)> fail;  ///< answers the call with an error
    std::function<void()> begin;           ///< called when no lock of others keeps it out
    std::uint32_t io_timeout = 0;          ///< in milliseconds, from begin on
    bool may_abort = true;
    std::function<void()> go_on;     ///< set by begin: called when the link has changed
    std::function<void()> withdraw;  ///< set by begin: called when the operation ends with an error
  };

  void Handle(const rpc::Call& call) override;
  bool MayRest() const override { return !m_links.empty(); }

  template <typename Parameters>
  void With(const rpc::Call& call, rpc::Xdr<Parameters> xdr, void (Vxi11Connection::*method)(Parameters&));
  template <typename Results>
  void AnswerWith(rpc::Xdr<Results> xdr, Results results, std::size_t room = 0);
  void AnswerError(Vxi11Error error);

  void CreateLink(Create_LinkParms& parameters);
  void AnswerLink(std::int32_t link, Vxi11Error error);
  void Write(Device_WriteParms& parameters);
  void Read(Device_ReadParms& parameters);
  void ReadStatusByte(Device_GenericParms& parameters);
  void Trigger(Device_GenericParms& parameters);
  void Clear(Device_GenericParms& parameters);
  void RemoteLocal(Device_GenericParms& parameters);
  void Lock(Device_LockParms& parameters);
  void Unlock(Device_Link& link);
  void EnableSrq(Device_EnableSrqParms& parameters);
  void Docmd(Device_DocmdParms& parameters);
  void DestroyLink(Device_Link& link);
  void CreateIntrChan(Device_RemoteFunc& parameters);

  Vxi11Link* Find(std::int32_t link) const;
  void Run(Operation operation, int flags, std::uint32_t lock_timeout);
  void Start(Operation operation);
  void Begin();
  void GoOn();
  void Finish(Vxi11Error error);
  void Finish(const std::function<void()>& answer);
  void Drop(std::int32_t link);
  bool Lost(const Vxi11Link& link) const;
  void GoOnWriting();
  void GoOnReading(const Device_ReadParms& parameters);
  template <typename Function>
  auto WhileThisRuns(Function function);

  Vxi11Door& m_door;
  std::map<std::int32_t, std::unique_ptr<Vxi11Link>> m_links;
  std::uint32_t m_xid = 0;
  std::uint64_t m_operations = 0;
  Operation m_operation;  ///< its link is 0 while there is none
  Loop::Timer m_deadline = 0;
};

}  // namespace server
