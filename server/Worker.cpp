#include "server/Worker.h"

#include <algorithm>
#include <cctype>
#include <optional>
#include <utility>

#include "scpi_zlt/scpi_zlt.h"

#include "client/MessageExchange.h"
#include "client/Session.h"
#include "server/Reopening.h"

namespace server {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

/// How long the loop's thread looks for an answer before it leaves the wait to the worker's thread. A query of an idle
/// session takes a few microseconds, less than it takes to wake a thread.
constexpr std::chrono::microseconds kLook{20};
/// How long the worker's own question may take.
constexpr milliseconds kCheckLimit{5000};
constexpr std::size_t kQueueBit = 2;

/// A message's only command in capitals, without its line end and the blanks around it.
std::string Normalised(std::string_view message) {
  std::string text;
  if (message.size() > 32) return text;
  for (const char c : message) {
    if (std::isspace(static_cast<unsigned char>(c)) == 0) text += static_cast<char>(std::toupper(c));
  }
  return text;
}

/// Parses eight binary digits, bit 0 first.
std::optional<std::uint8_t> ParseStatusByte(std::string_view digits) {
  if (digits.size() < 8) return std::nullopt;
  unsigned value = 0;
  for (std::size_t bit = 0; bit < 8; ++bit) {
    if (digits[bit] != '0' && digits[bit] != '1') return std::nullopt;
    if (digits[bit] == '1') value |= 1u << bit;
  }
  return static_cast<std::uint8_t>(value);
}

/// "*STB?" and "*ESR?": their answers show whether the instrument is there.
bool AsksInstrument(const std::string& command) {
  return command == "*STB?" || command == "*ESR?";
}

Reply::Kind KindOf(scpi_zlt::Outcome outcome) {
  switch (outcome) {
    case scpi_zlt::Outcome::kComplete:
      return Reply::Kind::kDone;
    case scpi_zlt::Outcome::kUnfinished:
      return Reply::Kind::kUnfinished;
    case scpi_zlt::Outcome::kTooLong:
      return Reply::Kind::kTooLong;
    default:
      return Reply::Kind::kNoInstrument;
  }
}

}  // namespace

/// The open session as the worker's thread uses it.
class Worker::Session {
 public:
  long Open(const WorkerOptions& options) {
    m_exchange.reset();
    m_begun.reset();
    m_queue_bit_eaten = false;
    const long status = m_session.Open(options.resource, options.open_timeout);
    if (status == VI_SUCCESS) m_exchange.emplace(m_session.Handle());
    m_last_heard = steady_clock::now();
    return status;
  }
  void Close() {
    m_exchange.reset();
    m_session.Close();
  }

  /// Writes a message and looks for its whole answer without waiting. If it has not come, Exchange of the same message
  /// waits for it. False, with nothing written, if Exchange has to write the message too.
  bool Begin(std::string_view message, std::optional<std::string>& response) {
    if (!m_exchange->InStep() || AsksInstrument(Normalised(message))) return false;
    m_begun_at = steady_clock::now();
    m_begun = m_exchange->Begin(message);
    if (m_begun->outcome != scpi_zlt::Outcome::kComplete) return true;
    scpi_zlt::Answer answer = m_exchange->Look(kLook);
    if (answer.outcome != scpi_zlt::Outcome::kComplete) return true;
    m_begun.reset();
    response = std::move(answer.response);
    return true;
  }

  /// Runs one message of a client. Sets `lost` to the reason if it shows that the instrument is not there. `early` gets
  /// the parts of the answer that need no check before the message is over.
  scpi_zlt::Answer Exchange(std::string_view message, const WorkerOptions& options, std::string& lost,
                            const std::function<void(std::string)>& early) {
    const auto start = m_begun ? m_begun_at : steady_clock::now();
    const std::string command = Normalised(message);
    const bool asks_instrument = AsksInstrument(command);
    const auto hand_out = [&](std::string& response) {
      if (asks_instrument || steady_clock::now() - start >= options.slow) return false;
      early(std::move(response));
      return true;
    };
    scpi_zlt::Answer answer = !m_begun ? m_exchange->Exchange(message, options.give_up, hand_out)
                              : m_begun->outcome == scpi_zlt::Outcome::kComplete
                                  ? m_exchange->Await(options.give_up, hand_out)
                                  : *m_begun;
    m_begun.reset();
    const bool slow = steady_clock::now() - start >= options.slow;
    if (answer.outcome == scpi_zlt::Outcome::kTimeout) lost = "a message did not end in time: it is given up";
    if (answer.outcome == scpi_zlt::Outcome::kFailed) lost = scpi_zlt::StatusText(answer.status);
    if (answer.outcome != scpi_zlt::Outcome::kComplete) return answer;
    if (asks_instrument) {
      if (answer.response == "\n") lost = "the link is lost, or the instrument does not answer";
      if (!lost.empty()) return answer;
      m_last_heard = steady_clock::now();
      if (command == "*STB?") GiveBackQueueBit(answer.response);
    } else if (slow) {
      lost = Check();
    }
    return answer;
  }

  /// Asks the instrument for its status byte. Returns the reason if it is lost, else nothing.
  std::string Check() {
    const scpi_zlt::Answer answer = m_exchange->Exchange("*STB?", kCheckLimit);
    const std::optional<std::uint8_t> byte = ParseStatusByte(answer.response);
    if (!byte) {
      return answer.outcome == scpi_zlt::Outcome::kComplete ? "the link is lost, or the instrument does not answer"
                                                            : "the instrument does not answer";
    }
    m_last_heard = steady_clock::now();
    m_read = *byte;
    if ((*byte >> kQueueBit & 1) != 0) m_queue_bit_eaten = true;
    return {};
  }

  /// The status byte that Check read last. Reading clears the bit of the error queue in the library; it is added here
  /// while errors are left.
  std::uint8_t StatusByte() {
    if (m_queue_bit_eaten && !ErrorsAreLeft()) m_queue_bit_eaten = false;
    return static_cast<std::uint8_t>(m_read | (m_queue_bit_eaten ? 1u << kQueueBit : 0u));
  }

  steady_clock::time_point LastHeard() const { return m_last_heard; }

 private:
  bool ErrorsAreLeft() {
    const scpi_zlt::Answer answer = m_exchange->Exchange(":SYST:ERR:COUN?", kCheckLimit);
    return answer.outcome == scpi_zlt::Outcome::kComplete && answer.response != "0\n";
  }

  void GiveBackQueueBit(std::string& digits) {
    if (m_queue_bit_eaten && digits.size() > kQueueBit && ErrorsAreLeft()) digits[kQueueBit] = '1';
    m_queue_bit_eaten = false;
  }

  scpi_zlt::Session m_session;
  std::optional<scpi_zlt::MessageExchange> m_exchange;
  std::optional<scpi_zlt::Answer> m_begun;  ///< result of writing the message that was begun
  steady_clock::time_point m_begun_at;
  steady_clock::time_point m_last_heard;
  std::uint8_t m_read = 0;
  bool m_queue_bit_eaten = false;
};

Worker::Worker(Loop& loop, WorkerOptions options, OnState on_state)
    : m_loop(loop),
      m_options(std::move(options)),
      m_on_state(std::move(on_state)),
      m_thread([this] { ThreadMain(); }) {}

Worker::~Worker() {
  *m_alive = false;
  Stop(nullptr);
  m_thread.join();
}

void Worker::Run(std::uint64_t id, std::string message, bool tidy, OnReply done) {
  Queue({id, std::move(message), tidy, std::move(done), nullptr});
}

void Worker::AskStatusByte(OnStatusByte done) {
  Queue({0, {}, false, nullptr, std::move(done)});
}

void Worker::Queue(Job job) {
  ++m_pending;
  {
    const std::lock_guard hold(m_mutex);
    if (m_state == WorkerState::kLost || m_state == WorkerState::kFailed) return Refuse(job);
    if (job.done && m_idle != nullptr && m_jobs.empty() && !m_stop) {
      std::optional<std::string> response;
      job.begun = m_idle->Begin(job.message, response);
      if (response) return HandOut(job, {Reply::Kind::kDone, std::move(*response)});
    }
    m_jobs.push_back(std::move(job));
  }
  // Notified without the mutex: otherwise the thread would wake up only to find it held.
  m_changed.notify_one();
}

/// Answers a job without the instrument.
void Worker::Refuse(Job& job) {
  if (job.done) {
    Complete(job, {Reply::Kind::kNoInstrument, {}});
  } else {
    CompleteStatus(job);
  }
}

bool Worker::Withdraw(std::uint64_t id) {
  const std::lock_guard hold(m_mutex);
  const auto found =
      std::find_if(m_jobs.begin(), m_jobs.end(), [id](const Job& job) { return job.id == id && !job.begun; });
  if (found == m_jobs.end()) return false;
  m_jobs.erase(found);
  --m_pending;
  return true;
}

void Worker::Stop(Loop::Task stopped) {
  const std::lock_guard hold(m_mutex);
  m_stop = true;
  m_stopped = std::move(stopped);
  m_changed.notify_one();
}

void Worker::PostToLoop(Loop::Task task) {
  m_loop.Post([alive = m_alive, task = std::move(task)] {
    if (*alive) task();
  });
}

void Worker::SetState(WorkerState state, const std::string& reason) {
  const std::lock_guard hold(m_mutex);
  m_state = state;
  if (state != WorkerState::kUp) {
    for (Job& job : m_jobs) Refuse(job);
    m_jobs.clear();
  }
  PostToLoop([this, state, reason] { m_on_state(state, reason); });
}

void Worker::HandOut(Job& job, Reply reply) {
  if (job.tidy) reply.response = scpi_zlt::Tidy(job.message, std::move(reply.response));
  Complete(job, std::move(reply));
}

void Worker::Complete(Job& job, Reply reply) {
  PostToLoop([this, done = std::move(job.done), reply = std::move(reply)]() mutable {
    --m_pending;
    done(std::move(reply));
  });
}

void Worker::CompleteStatus(Job& job) {
  PostToLoop([this, done = std::move(job.status_done)] {
    --m_pending;
    done(m_status_byte);
  });
}

void Worker::ThreadMain() {
  {
    Session session;
    if (OpenFirst(session)) {
      do Serve(session);
      while (Reopen(session));
    }
  }
  const std::lock_guard hold(m_mutex);
  if (m_stopped) PostToLoop(std::move(m_stopped));
}

bool Worker::OpenFirst(Session& session) {
  const long status = session.Open(m_options);
  if (status == VI_SUCCESS) {
    SetState(WorkerState::kUp, "");
    return true;
  }
  SetState(WorkerState::kFailed, scpi_zlt::OpenFailureText(m_options.resource, status, m_options.open_timeout));
  return false;
}

/// Runs messages until the instrument is lost or a stop is asked for.
void Worker::Serve(Session& session) {
  std::string lost;
  while (lost.empty()) {
    Job job;
    {
      std::unique_lock lock(m_mutex);
      const auto look = session.LastHeard() + m_options.check_interval;
      m_idle = &session;
      m_changed.wait_until(lock, look, [this] { return m_stop || !m_jobs.empty(); });
      m_idle = nullptr;
      if (m_stop && (m_jobs.empty() || !m_jobs.front().begun)) return;
      if (!m_jobs.empty()) {
        job = std::move(m_jobs.front());
        m_jobs.pop_front();
      }
    }
    if (job.done) {
      scpi_zlt::Answer answer = session.Exchange(job.message, m_options, lost, [&](std::string response) {
        HandOut(job, {Reply::Kind::kDone, std::move(response)});
      });
      const Reply::Kind kind = lost.empty() ? KindOf(answer.outcome) : Reply::Kind::kNoInstrument;
      if (job.done) HandOut(job, {kind, std::move(answer.response)});
    } else {
      lost = session.Check();
      if (lost.empty()) m_status_byte = session.StatusByte();
      if (job.status_done) CompleteStatus(job);
    }
    if (!lost.empty()) SetState(WorkerState::kLost, lost);
  }
}

/// Closes the session and opens it again, with pauses. False if a stop is asked for.
bool Worker::Reopen(Session& session) {
  const auto stopped_within = [this](seconds pause) {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, pause, [this] { return m_stop; });
  };
  const auto open = [&] {
    session.Close();
    return session.Open(m_options) == VI_SUCCESS;
  };
  if (!OpenAgain(stopped_within, open)) return false;
  SetState(WorkerState::kUp, "");
  return true;
}

}  // namespace server
