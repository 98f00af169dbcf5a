// One session of the library and the thread that makes its blocking calls.
//
// States
//
//   kOpening  from the start to the end of the first opening; messages wait
//   kUp       the session is open; messages run, one after the other
//   kLost     the link is gone or the instrument does not answer; messages are answered kNoInstrument at once. The
//   session
//             is closed and opened again after 1, 2, 4, 8, 10, 10, ... seconds; then kUp again
//   kFailed   the first opening failed; stays so
//
// How a loss is noticed
//
//   The library goes on answering queries from its model when the link is gone, and a setting tells nothing. Only
//   "*STB?" and "*ESR?" ask the instrument; they answer an empty line when it does not. So the worker looks at these
//   answers when a client asks; it asks "*STB?" itself when nothing was asked for a while, and behind a message that
//   took very long, as one does when the instrument is silent. Reading the status byte clears the bit of the error
//   queue (bit 2); where the worker's own question has eaten it, the answer of the client's next "*STB?" has it again,
//   if errors are left.
//
// A session whose message never ends (a response that outgrows its ring) is given up after `give_up`, as a lost one.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

#include "server/Loop.h"

namespace server {

struct WorkerOptions {
  std::string resource;  ///< VISA resource name followed by ::ZLT
  std::chrono::milliseconds open_timeout{60000};
  std::chrono::milliseconds check_interval{10000};  ///< between two looks at an instrument that nobody asks
  std::chrono::milliseconds slow{5000};             ///< behind a message that took longer, the worker looks too
  std::chrono::milliseconds give_up{120000};        ///< for one message
};

struct Reply {
  enum class Kind {
    kDone,          ///< the message has run; `response` is its whole answer, maybe empty
    kLocked,        ///< others held the lock for as long as the request would wait; not run
    kNoInstrument,  ///< the link is lost or the instrument does not answer; not run, or cut short
    kUnfinished,    ///< not run: the message ends inside a definite-length block
    kTooLong,       ///< not run: longer than the library takes (160144 bytes with the line end)
  };
  Kind kind = Kind::kDone;
  std::string response;
};

enum class WorkerState { kOpening, kUp, kLost, kFailed };

/// All public functions on the loop's thread; all callbacks there too, and never inside a call.
class Worker {
 public:
  using OnReply = std::function<void(Reply)>;
  using OnStatusByte = std::function<void(std::uint8_t)>;
  /// A new state, with a reason in words where there is one.
  using OnState = std::function<void(WorkerState, const std::string&)>;

  Worker(Loop& loop, WorkerOptions options, OnState on_state);
  /// Stop, and waits for its end. No callback runs any more.
  ~Worker();
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  /// Queues a message. `id` is the caller's, for Withdraw.
  void Run(std::uint64_t id, std::string message, bool tidy, OnReply done);
  /// True if the message had not started: it never will, and its callback is not run. One that runs goes on.
  bool Withdraw(std::uint64_t id);
  /// Asks for the status byte between messages.
  void AskStatusByte(OnStatusByte done);
  /// The status byte as last read.
  std::uint8_t StatusByte() const { return m_status_byte; }

  /// Messages and questions queued or under way.
  std::size_t Pending() const { return m_pending; }
  WorkerState State() const { return m_state; }

  /// Lets the message under way end, closes the session, and runs `stopped`.
  void Stop(Loop::Task stopped);

 private:
  struct Job {
    std::uint64_t id = 0;
    std::string message;
    bool tidy = false;
    OnReply done;
    OnStatusByte status_done;  ///< set: a question for the status byte, nothing else
  };
  class Session;

  void ThreadMain();
  bool OpenFirst(Session& session);
  void Serve(Session& session);
  bool Reopen(Session& session);
  void Do(Session& session, Job& job);
  void Queue(Job job);
  void Refuse(Job& job);
  void Complete(Job& job, Reply reply);
  void CompleteStatus(Job& job);
  void SetState(WorkerState state, const std::string& reason);
  void PostToLoop(Loop::Task task);

  Loop& m_loop;
  const WorkerOptions m_options;
  const OnState m_on_state;

  std::size_t m_pending = 0;  ///< loop's thread
  std::shared_ptr<bool> m_alive = std::make_shared<bool>(true);

  std::atomic<std::uint8_t> m_status_byte{0};
  std::atomic<WorkerState> m_state{WorkerState::kOpening};

  std::mutex m_mutex;  ///< guards what follows; held for a few instructions
  std::condition_variable m_changed;
  std::deque<Job> m_jobs;
  bool m_stop = false;
  Loop::Task m_stopped;

  std::thread m_thread;  // last: it uses all of the above
};

}  // namespace server
