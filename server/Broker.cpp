#include "server/Broker.h"

#include <algorithm>
#include <utility>

#include "server/Log.h"

namespace server {
namespace {

/// Messages handed to a worker ahead of time, so that it does not wait for the loop between two. Each is from a
/// different client, so a new client waits for at most one message of each other client.
constexpr std::size_t kAhead = 64;

/// What starts an armed run.
constexpr const char* kTriggerMessage = ":INIT";

}  // namespace

Broker::Broker(Loop& loop, WorkerOptions options, bool private_sessions, bool log_messages, Worker::OnState on_state)
    : m_loop(loop), m_options(std::move(options)), m_log_messages(log_messages), m_on_state(std::move(on_state)) {
  if (!private_sessions) m_common = MakeWorker();
}

Broker::~Broker() {
  *m_alive = false;
  // All of them at once: each takes a second or more.
  for (auto& [id, client] : m_clients) client.worker->Stop(nullptr);
}

std::shared_ptr<Worker> Broker::MakeWorker() {
  return std::make_shared<Worker>(m_loop, m_options, m_on_state);
}

ClientId Broker::Connect(ClientInfo info) {
  const ClientId id = ++m_last_id;
  m_clients[id] = {std::move(info), m_common ? m_common : MakeWorker(), {}, {}, false};
  return id;
}

void Broker::Disconnect(ClientId id) {
  const auto found = m_clients.find(id);
  if (found == m_clients.end()) return;
  Clear(id);
  std::erase_if(m_lock_waits, [&](LockWait& wait) {
    if (wait.client == id) m_loop.Cancel(wait.timer);
    return wait.client == id;
  });
  const bool held = m_locks.Drop(id);
  std::erase(m_round, id);
  if (!m_common) Retire(found->second.worker);
  m_clients.erase(found);
  if (held) LocksChanged();
}

/// Lets a private session end without waiting for it.
void Broker::Retire(const std::shared_ptr<Worker>& worker) {
  m_retired.push_back(worker);
  worker->Stop([this, worker = worker.get()] {
    std::erase_if(m_retired, [worker](const auto& retired) { return retired.get() == worker; });
  });
}

Broker::RequestId Broker::Submit(ClientId id, std::string message, OnReply done, std::chrono::milliseconds lock_wait) {
  Client& client = m_clients.at(id);
  const RequestId request = ++m_last_id;
  client.queue.push_back({request, std::move(message), std::move(done), 0});
  if (lock_wait != kForever && !m_locks.MayUse(id)) {
    client.queue.back().lock_timer = m_loop.After(lock_wait, [this, id, request] { LockExpired(id, request); });
  }
  if (!client.in_round) {
    client.in_round = true;
    m_round.push_back(id);
  }
  Schedule();
  return request;
}

Broker::RequestId Broker::Trigger(ClientId client, OnReply done, std::chrono::milliseconds lock_wait) {
  return Submit(client, kTriggerMessage, std::move(done), lock_wait);
}

void Broker::LockExpired(ClientId id, RequestId request) {
  std::deque<Request>& queue = m_clients.at(id).queue;
  const auto found = std::find_if(queue.begin(), queue.end(), [&](const Request& r) { return r.id == request; });
  if (found == queue.end() || m_locks.MayUse(id)) return;
  const OnReply done = std::move(found->done);
  queue.erase(found);
  done({Reply::Kind::kLocked, {}});
}

void Broker::Withdraw(ClientId id, RequestId request) {
  Client& client = m_clients.at(id);
  std::erase_if(client.queue, [&](Request& queued) {
    if (queued.id == request) m_loop.Cancel(queued.lock_timer);
    return queued.id == request;
  });
  if (client.started.erase(request) > 0) client.worker->Withdraw(request);
  Schedule();
}

void Broker::Clear(ClientId id) {
  Client& client = m_clients.at(id);
  for (const Request& queued : client.queue) m_loop.Cancel(queued.lock_timer);
  client.queue.clear();
  for (const auto& [request, done] : client.started) client.worker->Withdraw(request);
  client.started.clear();
  CancelLockWaits(id);
  Schedule();
}

/// Hands messages to the workers, one from each client in turn.
void Broker::Schedule() {
  if (m_finished) return;
  for (std::size_t passed = 0; passed < m_round.size();) {
    const ClientId id = m_round.front();
    Client& client = m_clients.at(id);
    if (m_common && m_common->Pending() >= kAhead) return;
    m_round.pop_front();
    if (client.queue.empty()) {
      client.in_round = false;
      continue;
    }
    m_round.push_back(id);
    if (m_locks.MayUse(id) && client.started.empty() && client.worker->Pending() < kAhead) {
      Start(id, client);
      passed = 0;
    } else {
      ++passed;
    }
  }
}

void Broker::Start(ClientId id, Client& client) {
  Request request = std::move(client.queue.front());
  client.queue.pop_front();
  m_loop.Cancel(request.lock_timer);
  if (m_log_messages) LogMessage(client, "->", request.message);
  client.started[request.id] = std::move(request.done);
  client.worker->Run(request.id, std::move(request.message), client.info.tidy,
                     [this, id, number = request.id](Reply reply) { Completed(id, number, std::move(reply)); });
}

void Broker::Completed(ClientId id, RequestId request, Reply reply) {
  OnReply done;
  const auto client = m_clients.find(id);
  if (client != m_clients.end()) {
    if (m_log_messages) LogMessage(client->second, "<-", reply.response);
    if (auto started = client->second.started.extract(request)) done = std::move(started.mapped());
  }
  Schedule();
  if (done) done(std::move(reply));
  LookForEnd();
}

void Broker::ReadStatusByte(ClientId id, OnStatusByte done) {
  Worker& worker = *m_clients.at(id).worker;
  const auto hand_out = [this, id, done = std::move(done)](std::uint8_t byte) {
    if (m_clients.contains(id)) done(byte);
    Schedule();
  };
  if (worker.Pending() == 0 && worker.State() == WorkerState::kUp) {
    worker.AskStatusByte(hand_out);
  } else {
    PostAlive([hand_out, byte = worker.StatusByte()] { hand_out(byte); });
  }
}

void Broker::LockExclusive(ClientId client, std::chrono::milliseconds timeout, OnLock done) {
  AskForLock({client, LockWait::For::kExclusive, {}, std::move(done), 0}, timeout);
}

void Broker::LockShared(ClientId client, std::string key, std::chrono::milliseconds timeout, OnLock done) {
  AskForLock({client, LockWait::For::kShared, std::move(key), std::move(done), 0}, timeout);
}

void Broker::AwaitUse(ClientId client, std::chrono::milliseconds timeout, OnLock done) {
  AskForLock({client, LockWait::For::kUse, {}, std::move(done), 0}, timeout);
}

LockTable::Request Broker::TryLock(const LockWait& wait) {
  switch (wait.wanted) {
    case LockWait::For::kExclusive:
      return m_locks.AskExclusive(wait.client);
    case LockWait::For::kShared:
      return m_locks.AskShared(wait.client, wait.key);
    case LockWait::For::kUse:
      break;
  }
  return m_locks.MayUse(wait.client) ? LockTable::Request::kGranted : LockTable::Request::kWaiting;
}

void Broker::AskForLock(LockWait wait, std::chrono::milliseconds timeout) {
  const LockTable::Request result = TryLock(wait);
  if (result != LockTable::Request::kWaiting) {
    Answer(wait, result == LockTable::Request::kGranted ? LockResult::kGranted : LockResult::kHeld);
  } else if (timeout.count() <= 0) {
    Answer(wait, LockResult::kTimedOut);
  } else {
    m_lock_waits.push_back(std::move(wait));
    if (timeout == kForever) return;
    const auto at = std::prev(m_lock_waits.end());
    at->timer = m_loop.After(timeout, [this, at] {
      Answer(*at, LockResult::kTimedOut);
      m_lock_waits.erase(at);
    });
  }
}

void Broker::Answer(const LockWait& wait, LockResult result) {
  PostAlive([this, client = wait.client, done = wait.done, result] {
    if (m_clients.contains(client)) done(result);
  });
}

LockTable::Release Broker::Unlock(ClientId client) {
  const LockTable::Release released = m_locks.GiveUp(client);
  if (released != LockTable::Release::kNone) LocksChanged();
  return released;
}

void Broker::CancelLockWaits(ClientId client) {
  std::erase_if(m_lock_waits, [&](LockWait& wait) {
    if (wait.client != client) return false;
    m_loop.Cancel(wait.timer);
    Answer(wait, LockResult::kTimedOut);
    return true;
  });
}

/// Grants the locks that can be granted now, first come, first served, and starts messages that a lock had kept out.
void Broker::LocksChanged() {
  std::erase_if(m_lock_waits, [&](LockWait& wait) {
    const LockTable::Request result = TryLock(wait);
    if (result == LockTable::Request::kWaiting) return false;
    m_loop.Cancel(wait.timer);
    Answer(wait, result == LockTable::Request::kGranted ? LockResult::kGranted : LockResult::kHeld);
    return true;
  });
  Schedule();
}

void Broker::Finish(Loop::Task done) {
  m_finished = std::move(done);
  for (auto& [id, client] : m_clients) {
    std::erase_if(client.started, [&worker = *client.worker](const auto& item) { return worker.Withdraw(item.first); });
  }
  PostAlive([this] { LookForEnd(); });
}

void Broker::LogMessage(const Client& client, const char* direction, std::string_view text) const {
  LogLine(client.info.door + " " + client.info.peer + " " + direction + " " + Printable(text));
}

/// After Finish: reports the end when no message is running any more.
void Broker::LookForEnd() {
  if (!m_finished || m_ended) return;
  for (const auto& [id, client] : m_clients) {
    if (client.worker->Pending() > 0) return;
  }
  m_ended = true;
  m_loop.Post(m_finished);
}

void Broker::PostAlive(Loop::Task task) {
  m_loop.Post([alive = m_alive, task = std::move(task)] {
    if (*alive) task();
  });
}

}  // namespace server
