// One program message and its whole answer, over a session of scpi_zlt.h.
//
// skRead alone cannot tell a message without an answer from one whose answer is late: after a setting it waits for its
// whole time-out. So a message is followed by a fence, "*OPC?", which is answered at once whatever runs.
// When nothing is left to read and nothing is under way, skRead fails at once. What came until then ends with the
// fence's "+1" and LF; everything before that is the answer to the message. A query that is a header and a question
// mark alone needs no fence, which would double its time: its answer is one line. Only if that has not come after a
// tenth of a second, or before a time-out, does a fence follow.
//
//   :FREQ 1GHZ               nothing
//   :FREQ?                   "1000000000\n"
//   :FREQ 1GHZ;:OUTP OFF     "\n"             the second unit leaves a line end
//   :FREQ?;:FREQ 1GHZ        "1000000000;"    a query that is not the last unit has no line end
//   *IDN?                    "Sorvik,ZG-20E,000000\0\n"
//
//   scpi_zlt::MessageExchange exchange(session);                    // a handle from skOpen
//   const auto answer = exchange.Exchange(":FREQ?", std::chrono::seconds(10));
//   if (answer.outcome == scpi_zlt::Outcome::kComplete) Use(answer.response);
//
// States
//
//   in step      No answer is due: the session is idle, its rings are empty. Exchange and Begin send.
//   outstanding  A message was sent and its end has not been seen yet. Await waits for it. A time-out leaves this
//                state as it is: Await returns the late answer, or the next Exchange drops it.
//
// A message that ends inside a definite-length block would swallow its own fence. It is refused and never sent.
//
// Two messages stay outstanding for ever: one whose response outgrows the ring (160144 bytes without a line end), and
// one whose response holds an unfinished block. Nothing that is written afterwards helps; close the session and open
// another one.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace scpi_zlt {

/// The largest program message, and the largest response, in bytes with the line end.
constexpr std::size_t kMaximumMessage = 160144;

/// For a time-out that never ends.
constexpr std::chrono::milliseconds kForever = std::chrono::milliseconds::max();

enum class Outcome {
  kComplete,    ///< the message has run, and `response` is its whole answer, which may be empty
  kTimeout,     ///< the message was sent and still runs; the exchange is outstanding
  kBusy,        ///< not sent: the message before it is still outstanding
  kUnfinished,  ///< not sent: the message ends inside a definite-length block
  kTooLong,     ///< not sent: a message has more than kMaximumMessage bytes with its line end
  kFailed,      ///< the session refused; `status` says how: VI_ERROR_INV_OBJECT once it is closed
};

struct Answer {
  Outcome outcome = Outcome::kComplete;
  std::string response;  ///< bytes as they came, with the line end
  long status = 0;       ///< VISA status, with kFailed
};

/// Takes the answer of a message before its fence has come. False: not now; it comes with the outcome then.
using OnAnswer = std::function<bool(std::string& response)>;

/// One thread at a time per object. While it exists, nothing else writes to the session, reads from it, or sets its
/// attributes: the object keeps VI_ATTR_TMO_VALUE for itself, and VI_ATTR_TERMCHAR has to be LF. Closing the session
/// from another thread is fine: it ends a wait with kFailed.
class MessageExchange {
 public:
  /// `session` is an open handle, idle and with nothing to read. The caller goes on owning it, and closes it.
  explicit MessageExchange(unsigned long session) : m_session(session) {}

  /// Sends one message and waits for its whole answer. A line end is added if it has none. `message` may hold several
  /// messages with their line ends; the answer is then that of all of them. First waits for a message that is still
  /// outstanding, and drops what that answers. `timeout` is the limit for both; 0 waits for a millisecond at most.
  /// `early`, if given, may get the answer of a lone query with a fence as soon as it is whole, while the fence is
  /// still awaited; the response that is returned is empty then.
  Answer Exchange(std::string_view message, std::chrono::milliseconds timeout, const OnAnswer& early = nullptr);

  /// The first half of Exchange: sends and does not wait. kComplete if the message was sent (the exchange is
  /// outstanding then), kBusy at once if another one is outstanding.
  Answer Begin(std::string_view message);

  /// The second half: waits for the answer of what was sent last. kComplete with an empty response if nothing is
  /// outstanding.
  Answer Await(std::chrono::milliseconds timeout, const OnAnswer& early = nullptr);

  /// As Await, but looks for the answer for about `time` and does not sleep. kTimeout if it has not come whole by then,
  /// or if only a wait could show that nothing more comes; Await goes on from there.
  Answer Look(std::chrono::microseconds time);

  /// Sends one more message after an outstanding one and does not wait. The answers of both are of no use then: Await
  /// gives an empty response when all have run. Not while some of the text is still unsent, because the ring is full:
  /// kBusy.
  Answer Append(std::string_view message);

  /// False while a message is outstanding.
  bool InStep() const { return m_step == Step::kInStep; }

 private:
  enum class Step { kInStep, kOutstanding };

  long SendOn();
  long Read(long timeout_ms);
  bool EndHasCome() const;
  void HandOutEarly(const OnAnswer& early);
  Answer Finish();
  Answer Send(std::string_view message);

  unsigned long m_session;
  Step m_step = Step::kInStep;
  bool m_fenced = true;        ///< a fence has gone out, or goes out, after the message
  bool m_appended = false;     ///< the response is that of several messages
  std::string m_unsent;        ///< what the input ring had no room for yet
  std::string m_received;      ///< since the message was sent
  bool m_one_message = false;  ///< what was sent last is one program message, not several
  bool m_lone_query = false;   ///< and that is a single query
  bool m_query = false;        ///< it may ask for an answer
  bool m_handed_out = false;   ///< what has been received was handed out early
  std::array<unsigned char, 4096> m_piece{};
  long m_timeout_ms = -1;  ///< VI_ATTR_TMO_VALUE as last set
};

/// kComplete if `message` may be sent with a fence after it, else kUnfinished or kTooLong. `needs_end` says whether a
/// line end has to be added in between.
Outcome Sendable(std::string_view message, bool& needs_end);

/// Makes an answer of one message as other programs expect it: the zero byte that ends "*IDN?" is cut, and the empty
/// line that a compound setting leaves behind is dropped. An empty answer of a query stays, so that there is one answer
/// for each query.
std::string Tidy(std::string_view message, std::string response);

}  // namespace scpi_zlt
