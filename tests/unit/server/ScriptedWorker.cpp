// server::Worker without a thread and without the library.
#include <algorithm>
#include <stdexcept>
#include <utility>

#include "DrivenServer.h"

namespace server_test {

ScriptedSession session;

void ScriptedSession::Answer(server::Reply reply) {
  if (jobs.empty()) throw std::logic_error("no message is under way");
  const Job job = std::move(jobs.front());
  jobs.pop_front();
  job.done(std::move(reply));
}

}  // namespace server_test

namespace server {

using server_test::session;

Worker::Worker(Loop& loop, WorkerOptions options, OnState on_state)
    : m_loop(loop), m_options(std::move(options)), m_on_state(std::move(on_state)), m_state(WorkerState::kUp) {
  session.jobs.clear();
  session.set_state = [this](WorkerState state) { m_state = state; };
}
Worker::~Worker() = default;

void Worker::Run(std::uint64_t id, std::string message, bool, OnReply done) {
  ++m_pending;
  if (session.on_message) session.on_message(message);
  session.jobs.push_back({id, std::move(message), [this, done = std::move(done)](Reply reply) {
                            m_loop.Post([this, done, reply = std::move(reply)] {
                              --m_pending;
                              done(reply);
                            });
                          }});
}

bool Worker::Withdraw(std::uint64_t id) {
  const auto waiting = session.jobs.empty() ? session.jobs.end() : std::next(session.jobs.begin());
  const auto found = std::find_if(waiting, session.jobs.end(), [id](const auto& job) { return job.id == id; });
  if (found == session.jobs.end()) return false;
  session.jobs.erase(found);
  --m_pending;
  return true;
}

void Worker::AskStatusByte(OnStatusByte done) {
  m_status_byte = session.status_byte;
  m_loop.Post([this, done = std::move(done)] { done(m_status_byte); });
}

void Worker::Stop(Loop::Task) {}

}  // namespace server
