// The broker: one session of the library, shared by many clients of all doors.
//
// Each session of the library holds its own model of the instrument and answers queries from it. Two sessions would
// show two clients two different instruments. So there is one session, and all messages go through it, one after the
// other. (With private sessions each client has a worker and a session of its own instead.)
//
// Threads
//
//   Everything of this class is called on the loop's thread and calls back on that thread; there are no locks. Only a
//   worker's thread waits in a call of the library (Worker.h). A callback never runs inside the call that asked for
//   it, so a door may finish its own bookkeeping after that call.
//
// The life of a client
//
//   Connect      Registers the client. The instrument is not asked anything.
//   Submit       A message (one program message of IEEE 488.2) joins the client's queue, and the client joins
//                the round if it is not in it. A client's messages run in order; clients take turns, one message each.
//                The callback gets the whole answer, which may be empty.
//   Disconnect   Drops messages not yet started, locks and waits for locks. The message that is running finishes;
//                its answer is dropped.
//
// How many messages a client may queue is up to its door, which knows how to slow its protocol down: the raw socket
// stops reading after a few. No door queues without a bound.
//
// What a callback gets
//
//   Exactly one reply for each Submit, unless Withdraw, Clear or Disconnect dropped the request: then its callback
//   never runs. So an answer that comes after its client has given up is dropped, and is never taken for the answer
//   to a later message of that client.
//
// Locks
//
//   One table for all doors (LockTable.h). While another client's lock keeps a client out, its messages wait in its
//   queue; those with a time limit are answered kLocked when it is over. Messages already started go on. A lock ends
//   with its client. Waits for a lock are served first come, first served.
//
// The instrument
//
//   kOpening -> kUp when the session is open. kUp -> kLost when the link is gone or the instrument does not answer;
//   the session is then closed and opened again, with pauses that grow to ten seconds. While the session is not up,
//   messages are answered kNoInstrument at once, except those that wait for the first opening. Worker.h says how a
//   loss is noticed.
//
// Not here, because the instrument has nothing of the kind: service requests, and a switch between local and remote
// control (doors acknowledge it and do nothing). The library has no "*TRG", and ":TRIG" starts nothing
// (docs/surprises.md), so Trigger sends ":INIT", which starts an armed run as a bus trigger does elsewhere.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "server/LockTable.h"
#include "server/Loop.h"
#include "server/Worker.h"

namespace server {

/// A wait without a limit.
constexpr std::chrono::milliseconds kForever = std::chrono::milliseconds::max();

/// What the broker and its log know of a client.
struct ClientInfo {
  std::string door;   ///< Door::Name
  std::string peer;   ///< Wire::Peer
  bool tidy = false;  ///< answers without the empty line of a compound setting and the zero byte of "*IDN?"
};

enum class LockResult {
  kGranted,
  kTimedOut,  ///< other clients held it for as long as the request waited
  kHeld,      ///< an error: the client holds this kind already
};

class Broker {
 public:
  using RequestId = std::uint64_t;
  using OnReply = std::function<void(Reply)>;
  using OnLock = std::function<void(LockResult)>;
  using OnStatusByte = std::function<void(std::uint8_t)>;

  /// With `private_sessions` each client gets a session of its own when it connects; otherwise the common session
  /// starts to open here. `on_state` hears of each change of a session's state;
  /// `log_messages` logs every message and answer.
  Broker(Loop& loop, WorkerOptions options, bool private_sessions, bool log_messages, Worker::OnState on_state);
  /// Closes the sessions, which takes a second or more. No callback runs after that.
  ~Broker();
  Broker(const Broker&) = delete;
  Broker& operator=(const Broker&) = delete;

  ClientId Connect(ClientInfo info);
  void Disconnect(ClientId client);
  std::size_t Clients() const { return m_clients.size(); }

  /// `message` may come with or without its line end and may contain any bytes. `lock_wait` is how long it may wait for
  /// other clients' locks.
  RequestId Submit(ClientId client, std::string message, OnReply done, std::chrono::milliseconds lock_wait = kForever);
  /// Drops one request: its callback is not run. If it has not started, it never will; if it is running, it finishes.
  void Withdraw(ClientId client, RequestId request);
  /// Device clear, IEEE 488.2 clause 5.8: drops all requests of the client, and its waits for locks (answered kTimedOut
  /// from the loop). Settings, status registers and locks stay.
  void Clear(ClientId client);
  /// Submits the message that starts an armed run.
  RequestId Trigger(ClientId client, OnReply done, std::chrono::milliseconds lock_wait = kForever);

  /// The status byte of IEEE 488.2 clause 11.2 without MAV (bit 4) and RQS (bit 6), which are the door's. The
  /// instrument is asked between messages; while one is running, the byte last read is the answer at once. Locks do not
  /// apply. The callback runs once, also after Clear, but never after Disconnect.
  void ReadStatusByte(ClientId client, OnStatusByte done);

  /// Asks for a lock and waits for it for at most `timeout` (0: not at all).
  void LockExclusive(ClientId client, std::chrono::milliseconds timeout, OnLock done);
  void LockShared(ClientId client, std::string key, std::chrono::milliseconds timeout, OnLock done);
  /// Waits for at most `timeout` until no other client's lock keeps this client out. It takes no lock itself.
  void AwaitUse(ClientId client, std::chrono::milliseconds timeout, OnLock done);
  /// Releases the exclusive lock if the client holds it, else the shared one.
  LockTable::Release Unlock(ClientId client);
  /// Ends all waits of the client for locks at once, with kTimedOut.
  void CancelLockWaits(ClientId client);
  const LockTable& Locks() const { return m_locks; }

  /// The state of the session that the client's messages go to.
  WorkerState State(ClientId client) const { return m_clients.at(client).worker->State(); }

  /// Starts no further messages; runs `done` when the running one has ended.
  void Finish(Loop::Task done);

 private:
  struct Request {
    RequestId id = 0;
    std::string message;
    OnReply done;
    Loop::Timer lock_timer = 0;
  };
  struct Client {
    ClientInfo info;
    std::shared_ptr<Worker> worker;        ///< the client's own with private sessions, else the common one
    std::deque<Request> queue;             ///< not started
    std::map<RequestId, OnReply> started;  ///< handed to the worker
    bool in_round = false;
  };
  struct LockWait {
    enum class For { kExclusive, kShared, kUse };
    ClientId client = 0;
    For wanted = For::kUse;
    std::string key;
    OnLock done;
    Loop::Timer timer = 0;
  };

  void Schedule();
  void Start(ClientId id, Client& client);
  void Completed(ClientId client, RequestId request, Reply reply);
  void LockExpired(ClientId client, RequestId request);
  void AskForLock(LockWait wait, std::chrono::milliseconds timeout);
  LockTable::Request TryLock(const LockWait& wait);
  void Answer(const LockWait& wait, LockResult result);
  void LocksChanged();
  void LookForEnd();
  void LogMessage(const Client& client, const char* direction, std::string_view text) const;
  void PostAlive(Loop::Task task);
  std::shared_ptr<Worker> MakeWorker();
  void Retire(const std::shared_ptr<Worker>& worker);

  Loop& m_loop;
  const WorkerOptions m_options;
  const bool m_log_messages;
  const Worker::OnState m_on_state;
  std::shared_ptr<bool> m_alive = std::make_shared<bool>(true);
  std::shared_ptr<Worker> m_common;
  std::list<std::shared_ptr<Worker>> m_retired;  ///< private sessions that are closing
  std::map<ClientId, Client> m_clients;
  std::deque<ClientId> m_round;  ///< clients with something to start, in the order of their turns
  LockTable m_locks;
  std::list<LockWait> m_lock_waits;
  std::uint64_t m_last_id = 0;
  Loop::Task m_finished;  ///< when set, no message is started
  bool m_ended = false;
};

}  // namespace server
