#include "server/Vxi11Connection.h"

#include <algorithm>
#include <utility>

namespace server {
namespace {

using std::chrono::milliseconds;

/// Bits of the flags, and of the reason why a read ends (VXI-11 clauses B.5.3 and B.6.4).
constexpr int kWaitLock = 0x01;
constexpr int kEnd = 0x08;
constexpr int kTermCharSet = 0x80;
constexpr int kReasonCount = 0x01;
constexpr int kReasonChar = 0x02;
constexpr int kReasonEnd = 0x04;

constexpr std::uint8_t kMessageAvailable = 1 << 4;
/// The maxRecvSize that links are given: the least that the standard allows. Some clients cut messages at maxRecvSize
/// but set END only on pieces of at most 1024 bytes. Longer writes are accepted all the same.
constexpr unsigned kMaxRecvSize = 1024;
/// The longest piece of an answer, in bytes.
constexpr std::size_t kLargestPiece = 1 << 20;
constexpr std::size_t kLinksOfConnection = 16;
/// Milliseconds that a link being destroyed waits for its messages. Some clients give up after five seconds.
constexpr std::uint32_t kDestroyPatience = 4000;

/// Where long data of the parameters is decoded into; null if there is none.
template <typename Parameters>
char** DataOf(Parameters&) {
  return nullptr;
}
char** DataOf(Device_WriteParms& parameters) {
  return &parameters.data.data_val;
}
char** DataOf(Device_DocmdParms& parameters) {
  return &parameters.data_in.data_in_val;
}

bool IsDevice(std::string name) {
  std::transform(name.begin(), name.end(), name.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? c + 32 : c; });
  return name.empty() || name == "inst0";
}

}  // namespace

Vxi11Connection::~Vxi11Connection() {
  EventLoop().Cancel(m_deadline);
  for (const auto& [id, link] : m_links) m_door.Forget(id);
}

void Vxi11Connection::Handle(const rpc::Call& call) {
  if (const std::string refusal = rpc::Refusal(call, DEVICE_CORE, 1, 1); !refusal.empty()) return Answer(refusal);
  m_xid = call.xid;
  using Self = Vxi11Connection;
  switch (call.procedure) {
    case NULLPROC:
      return Answer(rpc::Reply(m_xid, SUCCESS));
    case create_link:
      return With(call, xdr_Create_LinkParms, &Self::CreateLink);
    case device_write:
      return With(call, xdr_Device_WriteParms, &Self::Write);
    case device_read:
      return With(call, xdr_Device_ReadParms, &Self::Read);
    case device_readstb:
      return With(call, xdr_Device_GenericParms, &Self::ReadStatusByte);
    case device_trigger:
      return With(call, xdr_Device_GenericParms, &Self::Trigger);
    case device_clear:
      return With(call, xdr_Device_GenericParms, &Self::Clear);
    case device_remote:
    case device_local:
      return With(call, xdr_Device_GenericParms, &Self::RemoteLocal);
    case device_lock:
      return With(call, xdr_Device_LockParms, &Self::Lock);
    case device_unlock:
      return With(call, xdr_Device_Link, &Self::Unlock);
    case device_enable_srq:
      return With(call, xdr_Device_EnableSrqParms, &Self::EnableSrq);
    case device_docmd:
      return With(call, xdr_Device_DocmdParms, &Self::Docmd);
    case destroy_link:
      return With(call, xdr_Device_Link, &Self::DestroyLink);
    case create_intr_chan:
      return With(call, xdr_Device_RemoteFunc, &Self::CreateIntrChan);
    case destroy_intr_chan:
      return AnswerError(Vxi11Error::kNoChannel);
    default:
      return Answer(rpc::Reply(m_xid, PROC_UNAVAIL));
  }
}

/// Decodes the parameters of the call and calls the method with them.
template <typename Parameters>
void Vxi11Connection::With(const rpc::Call& call, rpc::Xdr<Parameters> xdr,
                           void (Vxi11Connection::*method)(Parameters&)) {
  Parameters parameters{};
  char** const data = DataOf(parameters);
  // Otherwise the decoder would allocate the length that the client claims, which may be false.
  std::string room(data != nullptr ? call.arguments.size() : 0, '\0');
  if (data != nullptr) *data = room.data();
  if (rpc::Decode(call.arguments, xdr, parameters)) {
    (this->*method)(parameters);
  } else {
    Answer(rpc::Reply(m_xid, GARBAGE_ARGS));
  }
  if (data != nullptr) *data = nullptr;
  rpc::Free(xdr, parameters);
}

template <typename Results>
void Vxi11Connection::AnswerWith(rpc::Xdr<Results> xdr, Results results, std::size_t room) {
  Answer(rpc::Reply(m_xid, xdr, results, room));
}

void Vxi11Connection::AnswerError(Vxi11Error error) {
  AnswerWith(xdr_Device_Error, Device_Error{static_cast<int>(error)});
}

// The course of a call.

Vxi11Link* Vxi11Connection::Find(std::int32_t link) const {
  const auto found = m_links.find(link);
  return found == m_links.end() ? nullptr : found->second.get();
}

/// True while the instrument does not answer and the broker is trying to open it again.
bool Vxi11Connection::Lost(const Vxi11Link& link) const {
  const WorkerState state = m_door.TheBroker().State(link.Client());
  return state == WorkerState::kLost || state == WorkerState::kFailed;
}

/// A callback for the broker that does nothing once the current operation has ended.
template <typename Function>
auto Vxi11Connection::WhileThisRuns(Function function) {
  return [this, number = m_operations, function = std::move(function)](const auto& result) {
    if (number == m_operations) function(result);
  };
}

void Vxi11Connection::Start(Operation operation) {
  m_operation = std::move(operation);
}

/// Runs a call that the locks of others can keep out.
void Vxi11Connection::Run(Operation operation, int flags, std::uint32_t lock_timeout) {
  const Vxi11Link* const link = Find(operation.link);
  if (link == nullptr) return operation.fail(Vxi11Error::kInvalidLink);
  Start(std::move(operation));
  Broker& broker = m_door.TheBroker();
  if (broker.Locks().MayUse(link->Client())) return Begin();
  if ((flags & kWaitLock) == 0) return Finish(Vxi11Error::kLocked);
  broker.AwaitUse(link->Client(), milliseconds(lock_timeout), WhileThisRuns([this](LockResult result) {
                    result == LockResult::kGranted ? Begin() : Finish(Vxi11Error::kLocked);
                  }));
}

void Vxi11Connection::Begin() {
  m_deadline = EventLoop().After(milliseconds(m_operation.io_timeout), [this] { Finish(Vxi11Error::kTimeout); });
  const auto begin = std::move(m_operation.begin);
  begin();
}

void Vxi11Connection::GoOn() {
  // A copy, because the operation, and go_on with it, may end inside the call.
  if (const auto go_on = m_operation.go_on) go_on();
}

void Vxi11Connection::Finish(Vxi11Error error) {
  if (error != Vxi11Error::kNone && m_operation.withdraw) m_operation.withdraw();
  const auto fail = m_operation.fail;
  Finish([&] { fail(error); });
}

/// The next call may begin inside `answer`.
void Vxi11Connection::Finish(const std::function<void()>& answer) {
  EventLoop().Cancel(m_deadline);
  ++m_operations;
  m_operation = {};
  answer();
}

void Vxi11Connection::Abort(std::int32_t link) {
  if (m_operation.link != link || !m_operation.may_abort) return;
  m_door.TheBroker().CancelLockWaits(Find(link)->Client());
  Finish(Vxi11Error::kAbort);
}

// Links.

void Vxi11Connection::CreateLink(Create_LinkParms& parameters) {
  if (!IsDevice(parameters.device)) return AnswerLink(0, Vxi11Error::kNotAccessible);
  if (m_links.size() >= kLinksOfConnection) return AnswerLink(0, Vxi11Error::kOutOfResources);
  Broker& broker = m_door.TheBroker();
  const std::int32_t id = m_door.NewLink(*this);
  m_links[id] = std::make_unique<Vxi11Link>(broker, ClientInfo{m_door.Name(), Peer(), m_door.Options().tidy},
                                            m_door.Options().message_limit, [this, id] {
                                              if (m_operation.link == id) GoOn();
                                            });
  if (parameters.lockDevice == FALSE) return AnswerLink(id, Vxi11Error::kNone);
  broker.LockExclusive(m_links[id]->Client(), milliseconds(parameters.lock_timeout), [this, id](LockResult result) {
    AnswerLink(id, result == LockResult::kGranted ? Vxi11Error::kNone : Vxi11Error::kLocked);
  });
}

void Vxi11Connection::AnswerLink(std::int32_t link, Vxi11Error error) {
  const bool made = error == Vxi11Error::kNone;
  if (!made) Drop(link);
  AnswerWith(xdr_Create_LinkResp, Create_LinkResp{static_cast<int>(error), made ? link : 0,
                                                  made ? m_door.AbortPort() : u_short{0}, made ? kMaxRecvSize : 0});
}

/// The link leaves the broker at once. It is destroyed when none of its calls can be running.
void Vxi11Connection::Drop(std::int32_t link) {
  auto node = m_links.extract(link);
  if (node.empty()) return;
  m_door.Forget(link);
  node.mapped()->End();
  EventLoop().Post([gone = std::shared_ptr<Vxi11Link>(std::move(node.mapped()))] {});
}

void Vxi11Connection::DestroyLink(Device_Link& link) {
  if (Find(link) == nullptr) return AnswerError(Vxi11Error::kInvalidLink);
  Operation operation;
  operation.link = link;
  operation.may_abort = false;
  operation.io_timeout = kDestroyPatience;
  operation.fail = [this, id = link](Vxi11Error) {
    Drop(id);
    AnswerError(Vxi11Error::kNone);
  };
  operation.begin = [this, id = link] {
    m_operation.go_on = [this, id] {
      if (Find(id)->Queued() == 0) Finish(Vxi11Error::kNone);
    };
    GoOn();
  };
  Start(std::move(operation));
  Begin();
}

// Messages and answers.

void Vxi11Connection::Write(Device_WriteParms& parameters) {
  Operation operation;
  operation.link = parameters.lid;
  operation.io_timeout = parameters.io_timeout;
  operation.fail = [this, id = parameters.lid](Vxi11Error error) {
    const Vxi11Link* const link = Find(id);
    AnswerWith(xdr_Device_WriteResp,
               Device_WriteResp{static_cast<int>(error), link ? static_cast<u_int>(link->Taken()) : 0});
  };
  operation.begin = [this, id = parameters.lid, data = std::string(parameters.data.data_val, parameters.data.data_len),
                     end = (parameters.flags & kEnd) != 0] {
    Vxi11Link& link = *Find(id);
    link.Write(data, end);
    if (Lost(link)) return Finish(Vxi11Error::kIo);
    m_operation.go_on = [this] { GoOnWriting(); };
    GoOn();
  };
  Run(std::move(operation), parameters.flags, parameters.lock_timeout);
}

void Vxi11Connection::GoOnWriting() {
  const std::optional<Vxi11Error> result = Find(m_operation.link)->Pump();
  if (result) Finish(*result);
}

void Vxi11Connection::Read(Device_ReadParms& parameters) {
  Operation operation;
  operation.link = parameters.lid;
  operation.io_timeout = parameters.io_timeout;
  operation.fail = [this](Vxi11Error error) {
    AnswerWith(xdr_Device_ReadResp, Device_ReadResp{static_cast<int>(error), 0, {}});
  };
  operation.begin = [this, parameters] {
    m_operation.go_on = [this, parameters] { GoOnReading(parameters); };
    GoOn();
  };
  Run(std::move(operation), parameters.flags, parameters.lock_timeout);
}

void Vxi11Connection::GoOnReading(const Device_ReadParms& parameters) {
  Vxi11Link& link = *Find(parameters.lid);
  Vxi11Link::Piece piece;
  std::optional<char> stop;
  if ((parameters.flags & kTermCharSet) != 0) stop = parameters.termChar;
  if (parameters.requestSize > 0) {
    if (!link.HasAnswer()) {
      if (Lost(link)) Finish(Vxi11Error::kIo);
      return;
    }
    piece = link.Read(std::min<std::size_t>(parameters.requestSize, kLargestPiece), stop);
  }
  if (piece.error != Vxi11Error::kNone) return Finish(piece.error);
  const int reason = (piece.text.size() == parameters.requestSize ? kReasonCount : 0) |
                     (stop && piece.text.ends_with(*stop) ? kReasonChar : 0) | (piece.end ? kReasonEnd : 0);
  Finish([&] {
    Device_ReadResp results{0, reason, {static_cast<u_int>(piece.text.size()), piece.text.data()}};
    AnswerWith(xdr_Device_ReadResp, results, piece.text.size());
  });
}

// The other calls.

void Vxi11Connection::ReadStatusByte(Device_GenericParms& parameters) {
  const auto answer = [this](Vxi11Error error, std::uint8_t byte) {
    AnswerWith(xdr_Device_ReadStbResp, Device_ReadStbResp{static_cast<int>(error), byte});
  };
  Operation operation;
  operation.link = parameters.lid;
  operation.io_timeout = parameters.io_timeout;
  operation.fail = [answer](Vxi11Error error) { answer(error, 0); };
  operation.begin = [this, id = parameters.lid, answer] {
    if (Lost(*Find(id))) return Finish(Vxi11Error::kIo);
    m_door.TheBroker().ReadStatusByte(
        Find(id)->Client(), WhileThisRuns([this, id, answer](std::uint8_t byte) {
          const std::uint8_t available = Find(id)->HasAnswer() ? kMessageAvailable : 0;
          Finish([&] { answer(Vxi11Error::kNone, static_cast<std::uint8_t>(byte | available)); });
        }));
  };
  Run(std::move(operation), parameters.flags, parameters.lock_timeout);
}

void Vxi11Connection::Trigger(Device_GenericParms& parameters) {
  Operation operation;
  operation.link = parameters.lid;
  operation.io_timeout = parameters.io_timeout;
  operation.fail = [this](Vxi11Error error) { AnswerError(error); };
  operation.begin = [this, id = parameters.lid] {
    if (Lost(*Find(id))) return Finish(Vxi11Error::kIo);
    Broker& broker = m_door.TheBroker();
    const ClientId client = Find(id)->Client();
    const auto request =
        broker.Trigger(client, WhileThisRuns([this](const Reply& reply) {
                         Finish(reply.kind == Reply::Kind::kDone ? Vxi11Error::kNone : Vxi11Error::kIo);
                       }));
    m_operation.withdraw = [&broker, client, request] { broker.Withdraw(client, request); };
  };
  Run(std::move(operation), parameters.flags, parameters.lock_timeout);
}

void Vxi11Connection::Clear(Device_GenericParms& parameters) {
  Operation operation;
  operation.link = parameters.lid;
  operation.fail = [this](Vxi11Error error) { AnswerError(error); };
  operation.begin = [this, id = parameters.lid] {
    Find(id)->Clear();
    Finish(Vxi11Error::kNone);
  };
  Run(std::move(operation), parameters.flags, parameters.lock_timeout);
}

/// The instrument has no local control that remote would switch off, so there is nothing to do but to answer.
void Vxi11Connection::RemoteLocal(Device_GenericParms& parameters) {
  Operation operation;
  operation.link = parameters.lid;
  operation.fail = [this](Vxi11Error error) { AnswerError(error); };
  operation.begin = [this] { Finish(Vxi11Error::kNone); };
  Run(std::move(operation), parameters.flags, parameters.lock_timeout);
}

void Vxi11Connection::Lock(Device_LockParms& parameters) {
  const Vxi11Link* const link = Find(parameters.lid);
  if (link == nullptr) return AnswerError(Vxi11Error::kInvalidLink);
  Operation operation;
  operation.link = parameters.lid;
  operation.fail = [this](Vxi11Error error) { AnswerError(error); };
  Start(std::move(operation));
  const milliseconds wait((parameters.flags & kWaitLock) != 0 ? parameters.lock_timeout : 0);
  Broker& broker = m_door.TheBroker();
  broker.LockExclusive(link->Client(), wait,
                       [this, &broker, client = link->Client(), number = m_operations](LockResult result) {
                         const bool granted = result == LockResult::kGranted;
                         if (number == m_operations) return Finish(granted ? Vxi11Error::kNone : Vxi11Error::kLocked);
                         // The call that asked was aborted meanwhile.
                         if (granted) broker.Unlock(client);
                       });
}

void Vxi11Connection::Unlock(Device_Link& id) {
  const Vxi11Link* const link = Find(id);
  if (link == nullptr) return AnswerError(Vxi11Error::kInvalidLink);
  const bool held = m_door.TheBroker().Unlock(link->Client()) != LockTable::Release::kNone;
  AnswerError(held ? Vxi11Error::kNone : Vxi11Error::kNoLockHeld);
}

void Vxi11Connection::EnableSrq(Device_EnableSrqParms& parameters) {
  AnswerError(Find(parameters.lid) == nullptr ? Vxi11Error::kInvalidLink : Vxi11Error::kNotSupported);
}

void Vxi11Connection::Docmd(Device_DocmdParms& parameters) {
  Operation operation;
  operation.link = parameters.lid;
  operation.fail = [this](Vxi11Error error) {
    AnswerWith(xdr_Device_DocmdResp, Device_DocmdResp{static_cast<int>(error), {}});
  };
  operation.begin = [this] { Finish(Vxi11Error::kNotSupported); };
  Run(std::move(operation), parameters.flags, parameters.lock_timeout);
}

void Vxi11Connection::CreateIntrChan(Device_RemoteFunc&) {
  AnswerError(Vxi11Error::kNotSupported);
}

}  // namespace server
