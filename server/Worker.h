// One session of the library and the thread that makes its blocking calls.
//
// A query takes the library a few microseconds, and waking a thread takes far longer. So while the session is idle and
// nothing waits, the loop's thread writes a message itself and looks for its answer for a moment, without sleeping. An
// answer that has not come by then is the worker's to wait for.
//
// States
//
//   kOpening  From the start to the end of the first opening. Messages wait.
//   kUp       The session is open. Messages run, one after the other.
//   kLost     The link is gone or the instrument does not answer. Messages are answered kNoInstrument at once. The
//             session is closed and opened again after 1, 2, 4, 8, 10, 10, ... seconds; then kUp again.
//   kFailed   The first opening failed. It stays so.
//
// How a loss is noticed
//
//   When the link is gone, the library goes on answering queries from its model, and a setting reports nothing. Only
//   "*STB?" and "*ESR?" ask the instrument; without it they answer an empty line. So the worker looks at these answers
//   when a client asks. It asks "*STB?" itself when nobody has asked for a while, and after a message that took very
//   long, as one does when the instrument is silent. Reading the status byte clears the bit of the error queue (bit 2).
//   If the worker's own question has cleared it and errors are left, the client's next "*STB?" shows the bit again.
//
// A session whose message never ends (a response that outgrows its ring) is given up after `give_up`, like a lost one.
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
  std::chrono::milliseconds slow{5000};             ///< after a message that took longer, the worker looks too
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
    bool begun = false;        ///< it was written to the session already
  };
  class Session;

  void ThreadMain();
  bool OpenFirst(Session& session);
  void Serve(Session& session);
  bool Reopen(Session& session);
  void Do(Session& session, Job& job);
  void Queue(Job job);
  void Refuse(Job& job);
  void HandOut(Job& job, Reply reply);
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

  std::mutex m_mutex;  ///< guards what follows; held for a few instructions, and while the loop begins a message
  std::condition_variable m_changed;
  Session* m_idle = nullptr;  ///< the session, while the thread waits for a job
  std::deque<Job> m_jobs;
  bool m_stop = false;
  Loop::Task m_stopped;

  std::thread m_thread;  // last: it uses all of the above
};

}  // namespace server
