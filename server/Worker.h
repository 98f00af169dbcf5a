// One session of the library and the thread that makes its blocking calls.
//
// A query takes the library a few microseconds, and waking a thread takes far longer. So while the session is idle and
// nothing waits, the loop's thread writes a message itself and looks for its answer for a moment, without sleeping. For
// an answer that has not come by then the worker's thread waits.
//
// States
//
//   kOpening  From the start to the end of the first opening. Messages wait.
//   kUp       The session is open. Messages run, one after the other.
//   kLost     The link is gone or the instrument does not answer. Messages are answered kNoInstrument at once. The
//             session is closed and opened again after pauses that grow to ten seconds (Reopening.h); then kUp again.
//   kFailed   The first opening failed. The worker stays in this state.
//
// How a loss is noticed
//
//   When the link is gone, the library goes on answering queries from its model, and a setting reports nothing. Only
//   "*STB?" and "*ESR?" ask the instrument; without it they answer an empty line. So the worker checks these answers
//   when a client asks. It asks "*STB?" itself when no client has for a while, and after a message that took very
//   long, as messages do when the instrument is silent. Reading the status byte clears the bit of the error queue
//   (bit 2). If the worker's own question has cleared it and errors are left, the client's next "*STB?" shows it again.
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
  std::chrono::milliseconds check_interval{10000};  ///< between two checks of an instrument that no client asks
  std::chrono::milliseconds slow{5000};             ///< the worker also checks after a message that took longer
  std::chrono::milliseconds give_up{120000};        ///< for one message
};

struct Reply {
  enum class Kind {
    kDone,          ///< the message has run; `response` is its whole answer, maybe empty
    kLocked,        ///< not run: others held the lock for as long as the request could wait
    kNoInstrument,  ///< not run or cut short: the link is lost or the instrument does not answer
    kUnfinished,    ///< not run: the message ends inside a definite-length block
    kTooLong,       ///< not run: longer than the library takes (160144 bytes with the line end)
  };
  Kind kind = Kind::kDone;
  std::string response;
};

enum class WorkerState { kOpening, kUp, kLost, kFailed };

/// All public functions are called on the loop's thread. Callbacks run there too, never inside one of those calls.
class Worker {
 public:
  using OnReply = std::function<void(Reply)>;
  using OnStatusByte = std::function<void(std::uint8_t)>;
  /// Called with a new state, and with a reason in words if there is one.
  using OnState = std::function<void(WorkerState, const std::string&)>;

  Worker(Loop& loop, WorkerOptions options, OnState on_state);
  /// Stops and waits for the end. No callback runs after that.
  ~Worker();
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  /// Queues a message. `id` is the caller's, for Withdraw.
  void Run(std::uint64_t id, std::string message, bool tidy, OnReply done);
  /// True if the message had not started: it never will, and its callback does not run. A running message goes on.
  bool Withdraw(std::uint64_t id);
  /// Asks for the status byte between messages.
  void AskStatusByte(OnStatusByte done);
  /// The status byte that was read last.
  std::uint8_t StatusByte() const { return m_status_byte; }

  /// Messages and status questions queued or running.
  std::size_t Pending() const { return m_pending; }
  WorkerState State() const { return m_state; }

  /// Waits for the running message, closes the session, and runs `stopped`.
  void Stop(Loop::Task stopped);

 private:
  struct Job {
    std::uint64_t id = 0;
    std::string message;
    bool tidy = false;
    OnReply done;
    OnStatusByte status_done;  ///< if set, the job only asks for the status byte
    bool begun = false;        ///< the message was written to the session already
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

  std::size_t m_pending = 0;  ///< used on the loop's thread only
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
