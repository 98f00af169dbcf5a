// One generator that the program has open, shared by all sessions on its name: opening it twice would set it up twice,
// output off, and two models of one instrument would contradict each other. So sessions of one name take turns message
// by message, each gets its own answers, and locks (VPP-4.3 section 3.6) hold between them.
//
// client/MessageExchange.h finds the end of each message's answer. While a message runs, the instrument is
// `outstanding` for the session that sent it; the next to send first waits for its end. Answers wait in their session's
// Mailbox until they are read, or until that session begins the next message: a late answer is never taken for a new
// one.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "client/MessageExchange.h"
#include "client/Session.h"
#include "visa/VisaTypes.h"

namespace visa {

using Deadline = std::chrono::steady_clock::time_point;

/// The point of time that many milliseconds from now; kNoTimeout never comes.
Deadline DeadlineAfter(ViUInt32 milliseconds);

/// A session's place at the instrument. Only the Instrument looks into it, under its lock.
struct Mailbox {
  std::deque<std::string> answers;  ///< one response each, tidy
  std::size_t taken = 0;            ///< bytes of the first that were read
  bool closed = false;
  int exclusive_locks = 0;
  int shared_locks = 0;

  void Clear() {
    answers.clear();
    taken = 0;
  }
};

/// What ended a read, and how many bytes came.
struct ReadResult {
  ViStatus status;
  ViUInt32 count;
};

struct ReadLimits {
  bool stop_at_character = false;
  char character = '\n';
  bool ignore_end = false;
};

class Instrument {
 public:
  /// Opens the generator whose name, with ::ZLT, that is, or joins the sessions that have it open in any spelling.
  /// Waits while another thread opens or closes it.
  static ViStatus Open(const std::string& name, ViUInt32 timeout_ms, std::shared_ptr<Instrument>& instrument);
  /// The other half of Open. The last one closes the generator, which takes a second or more.
  void Leave(Mailbox& box);

  /// Sends one whole message. `keep_answers` leaves those that were not read yet. kTimeout: not sent.
  ViStatus Send(Mailbox& box, std::string_view message, bool keep_answers, Deadline deadline);
  /// Copies from the answers of `box`; waits for the first byte.
  ReadResult Read(Mailbox& box, unsigned char* buffer, ViUInt32 count, ReadLimits limits, Deadline deadline);
  /// Asks without any session's knowledge: no answer of theirs is dropped.
  ViStatus Ask(std::string_view question, Deadline deadline, std::string& answer);
  /// Forgets unread answers, also one that is still to come.
  void Clear(Mailbox& box);
  bool HasAnswer(Mailbox& box);

  /// Statuses of viLock and viUnlock. `key` comes in as asked for (may be empty) and goes out as granted.
  ViStatus Lock(Mailbox& box, ViUInt32 type, std::string& key, Deadline deadline);
  ViStatus Unlock(Mailbox& box);
  /// kResourceLocked while the locks of other sessions keep this one out.
  ViStatus Access(const Mailbox& box);
  /// 0 none, kExclusiveLock or kSharedLock, no matter which session holds it.
  ViUInt32 LockState();

 private:
  using Hold = std::unique_lock<std::mutex>;

  explicit Instrument(std::string key) : m_key(std::move(key)) {}
  ViStatus Settle(Hold& hold, Deadline deadline);
  ViStatus Idle(Hold& hold, Deadline deadline);
  bool MayLock(const Mailbox& box, ViUInt32 type) const;
  ViStatus GrantLock(Mailbox& box, ViUInt32 type, std::string& key);
  void Unlocked(Mailbox& box);

  const std::string m_key;  ///< one form for all spellings of its name
  scpi_zlt::Session m_session;
  std::unique_ptr<scpi_zlt::MessageExchange> m_exchange;

  std::mutex m_lock;
  std::condition_variable m_changed;  ///< an answer came, the exchange or a lock is free, a session closed
  int m_users = 0;                    ///< under the lock of all instruments
  bool m_busy = false;                ///< one thread has the exchange
  bool m_outstanding = false;         ///< a message was sent and its end has not been seen
  Mailbox* m_owner = nullptr;         ///< whose message that is; null: drop its answer
  std::string m_message;

  Mailbox* m_exclusive = nullptr;
  int m_shared_holders = 0;
  std::string m_shared_key;
};

}  // namespace visa
