#include "visa/Instrument.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <utility>

#include "scpi_zlt/scpi_zlt.h"

#include "client/MessageScanner.h"
#include "visa/Names.h"

namespace visa {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

/// The generators that are open, opening or closing, by comparable name.
struct Registry {
  std::mutex lock;
  std::condition_variable changed;
  std::map<std::string, std::shared_ptr<Instrument>> instruments;  ///< null while it opens or closes
};

/// Never destroyed: threads may still be in it when the process ends.
Registry& TheRegistry() {
  static auto* const registry = new Registry;
  return *registry;
}

milliseconds Left(Deadline deadline) {
  if (deadline == Deadline::max()) return scpi_zlt::kForever;
  return std::max(milliseconds(0), std::chrono::ceil<milliseconds>(deadline - steady_clock::now()));
}

/// Statuses of the library as they are, with two that mean something else in front of it.
ViStatus OpenStatus(long status) {
  if (status > VI_SUCCESS) return kResourceNotFound;       // the provider's warning; nothing is open
  if (status == VI_ERROR_INV_OBJECT) return kSystemError;  // the process is ending
  return static_cast<ViStatus>(status);
}

ViStatus StatusOf(const scpi_zlt::Answer& answer) {
  switch (answer.outcome) {
    case scpi_zlt::Outcome::kComplete:
      return kSuccess;
    case scpi_zlt::Outcome::kTimeout:
    case scpi_zlt::Outcome::kBusy:
      return kTimeout;
    case scpi_zlt::Outcome::kUnfinished:
      return kRawWriteViolation;
    case scpi_zlt::Outcome::kTooLong:
      return kInvalidLength;
    case scpi_zlt::Outcome::kFailed:
      return static_cast<ViStatus>(answer.status);
  }
  return kSystemError;
}

}  // namespace

Deadline DeadlineAfter(ViUInt32 milliseconds_from_now) {
  return milliseconds_from_now == kNoTimeout ? Deadline::max()
                                             : steady_clock::now() + milliseconds(milliseconds_from_now);
}

ViStatus Instrument::Open(const std::string& name, ViUInt32 timeout_ms, std::shared_ptr<Instrument>& instrument) {
  const Deadline deadline = DeadlineAfter(timeout_ms);
  const std::string key = Comparable(name.substr(0, name.size() - kMark.size()));
  Registry& registry = TheRegistry();
  Hold hold(registry.lock);
  for (;;) {
    const auto found = registry.instruments.find(key);
    if (found == registry.instruments.end()) break;
    if (found->second != nullptr) {
      instrument = found->second;
      ++instrument->m_users;
      return kSuccess;
    }
    if (registry.changed.wait_until(hold, deadline) == std::cv_status::timeout) return kTimeout;
  }
  registry.instruments[key] = nullptr;
  hold.unlock();
  std::shared_ptr<Instrument> opened(new Instrument(key));
  const long status =
      opened->m_session.Open(name, deadline == Deadline::max() ? milliseconds(0xFFFFFFFF) : Left(deadline));
  hold.lock();
  registry.changed.notify_all();
  if (status != VI_SUCCESS) {
    registry.instruments.erase(key);
    return OpenStatus(status);
  }
  opened->m_exchange = std::make_unique<scpi_zlt::MessageExchange>(opened->m_session.Handle());
  opened->m_users = 1;
  registry.instruments[key] = opened;
  instrument = std::move(opened);
  return kSuccess;
}

void Instrument::Leave(Mailbox& box) {
  {
    const Hold hold(m_lock);
    box.closed = true;
    box.Clear();
    if (m_owner == &box) m_owner = nullptr;
    Unlocked(box);
    m_changed.notify_all();
  }
  Registry& registry = TheRegistry();
  {
    const Hold hold(registry.lock);
    if (--m_users > 0) return;
    registry.instruments[m_key] = nullptr;
  }
  m_session.Close();
  const Hold hold(registry.lock);
  registry.instruments.erase(m_key);
  registry.changed.notify_all();
}

/// Waits for the end of the outstanding message with the exchange to itself, and delivers its answer.
ViStatus Instrument::Settle(Hold& hold, Deadline deadline) {
  m_busy = true;
  hold.unlock();
  scpi_zlt::Answer answer = m_exchange->Await(Left(deadline));
  hold.lock();
  m_busy = false;
  m_changed.notify_all();
  if (answer.outcome != scpi_zlt::Outcome::kComplete) return StatusOf(answer);
  m_outstanding = false;
  std::string response = scpi_zlt::Tidy(m_message, std::move(answer.response));
  // A query that is not the last unit leaves a ";" and no line end, also when nothing follows, as in ":POW?;".
  if (response.ends_with(';')) response.back() = '\n';
  if (m_owner != nullptr && !response.empty()) m_owner->answers.push_back(std::move(response));
  m_owner = nullptr;
  return kSuccess;
}

/// Waits until nothing is outstanding and nobody has the exchange.
ViStatus Instrument::Idle(Hold& hold, Deadline deadline) {
  for (;;) {
    if (m_busy) {
      if (m_changed.wait_until(hold, deadline) == std::cv_status::timeout && m_busy) return kTimeout;
    } else if (m_outstanding) {
      if (const ViStatus status = Settle(hold, deadline); status != kSuccess) return status;
    } else {
      return kSuccess;
    }
  }
}

ViStatus Instrument::Send(Mailbox& box, std::string_view message, bool keep_answers, Deadline deadline) {
  Hold hold(m_lock);
  if (box.closed) return kInvalidObject;
  if (!keep_answers) {
    box.Clear();
    if (m_owner == &box) m_owner = nullptr;
  }
  const bool query = scpi_zlt::IsQuery(message);
  scpi_zlt::Answer sent{scpi_zlt::Outcome::kBusy, {}, 0};
  // A setting need not wait for what runs, unless somebody waits for the answer of that.
  if (m_outstanding && !m_busy && m_owner == nullptr && !query) sent = m_exchange->Append(message);
  if (sent.outcome == scpi_zlt::Outcome::kBusy) {
    if (const ViStatus status = Idle(hold, deadline); status != kSuccess) return status;
    if (box.closed) return kInvalidObject;
    sent = m_exchange->Begin(message);
  }
  if (sent.outcome != scpi_zlt::Outcome::kComplete) return StatusOf(sent);
  m_outstanding = true;
  m_owner = query ? &box : nullptr;
  m_message = message;
  m_changed.notify_all();
  return kSuccess;
}

ReadResult Instrument::Read(Mailbox& box, unsigned char* buffer, ViUInt32 count, ReadLimits limits, Deadline deadline) {
  ViUInt32 got = 0;
  Hold hold(m_lock);
  for (;;) {
    if (box.closed) return {kInvalidObject, got};
    if (!box.answers.empty()) {
      const std::string_view answer = std::string_view(box.answers.front()).substr(box.taken);
      std::size_t length = std::min<std::size_t>(answer.size(), count - got);
      bool stopped = false;
      if (limits.stop_at_character) {
        const std::size_t at = answer.substr(0, length).find(limits.character);
        stopped = at != std::string_view::npos;
        if (stopped) length = at + 1;
      }
      std::memcpy(buffer + got, answer.data(), length);
      got += static_cast<ViUInt32>(length);
      const bool ended = length == answer.size();
      box.taken = ended ? 0 : box.taken + length;
      if (ended) box.answers.pop_front();
      if (ended && !limits.ignore_end) return {kSuccess, got};
      if (stopped) return {kTermChar, got};
      if (got == count) return {kMaxCount, got};
    } else if (m_outstanding && m_owner == &box && !m_busy) {
      if (const ViStatus status = Settle(hold, deadline); status != kSuccess) return {status, got};
    } else if (m_changed.wait_until(hold, deadline) == std::cv_status::timeout && box.answers.empty()) {
      return {kTimeout, got};
    }
  }
}

ViStatus Instrument::Ask(std::string_view question, Deadline deadline, std::string& answer) {
  Hold hold(m_lock);
  if (const ViStatus status = Idle(hold, deadline); status != kSuccess) return status;
  Mailbox box;
  const scpi_zlt::Answer sent = m_exchange->Begin(question);
  if (sent.outcome != scpi_zlt::Outcome::kComplete) return StatusOf(sent);
  m_outstanding = true;
  m_owner = &box;
  m_message = question;
  while (m_owner == &box) {
    if (m_busy) {
      if (m_changed.wait_until(hold, deadline) != std::cv_status::timeout) continue;
    } else if (const ViStatus status = Settle(hold, deadline); status != kTimeout) {
      if (status == kSuccess) continue;
      m_owner = nullptr;
      return status;
    }
    if (m_owner != &box) break;
    m_owner = nullptr;
    return kTimeout;
  }
  answer = box.answers.empty() ? std::string() : box.answers.front();
  return kSuccess;
}

void Instrument::Clear(Mailbox& box) {
  const Hold hold(m_lock);
  box.Clear();
  if (m_owner == &box) m_owner = nullptr;
}

bool Instrument::HasAnswer(Mailbox& box) {
  const Hold hold(m_lock);
  return !box.answers.empty();
}

bool Instrument::MayLock(const Mailbox& box, ViUInt32 type) const {
  if (m_exclusive != nullptr) return m_exclusive == &box;
  if (type == kSharedLock) return true;
  return m_shared_holders == 0 || box.shared_locks > 0;
}

ViStatus Instrument::GrantLock(Mailbox& box, ViUInt32 type, std::string& key) {
  if (type == kExclusiveLock) {
    m_exclusive = &box;
    return ++box.exclusive_locks > 1 ? kNestedExclusive : kSuccess;
  }
  if (m_shared_holders == 0) {
    // A key that was not asked for has to be one that nobody else comes upon.
    static std::atomic<int> made = 0;
    m_shared_key = !key.empty() ? key : "zlt-" + m_key + "-" + std::to_string(++made);
  }
  key = m_shared_key;
  if (++box.shared_locks > 1) return kNestedShared;
  ++m_shared_holders;
  return kSuccess;
}

ViStatus Instrument::Lock(Mailbox& box, ViUInt32 type, std::string& key, Deadline deadline) {
  Hold hold(m_lock);
  const bool at_once = deadline <= steady_clock::now();
  for (;;) {
    if (box.closed) return kInvalidObject;
    if (MayLock(box, type)) {
      const bool other_key = type == kSharedLock && m_shared_holders > 0 && key != m_shared_key;
      // A holder need not say its own key again.
      if (other_key && !(key.empty() && box.shared_locks > 0)) return kInvalidAccessKey;
      return GrantLock(box, type, key);
    }
    if (at_once) return kResourceLocked;
    if (m_changed.wait_until(hold, deadline) == std::cv_status::timeout && !MayLock(box, type)) return kTimeout;
  }
}

ViStatus Instrument::Unlock(Mailbox& box) {
  const Hold hold(m_lock);
  if (box.exclusive_locks > 0) {
    if (--box.exclusive_locks == 0) m_exclusive = nullptr;
  } else if (box.shared_locks > 0) {
    if (--box.shared_locks == 0) --m_shared_holders;
  } else {
    return kNotLocked;
  }
  m_changed.notify_all();
  if (box.exclusive_locks > 0) return kNestedExclusive;
  return box.shared_locks > 0 ? kNestedShared : kSuccess;
}

/// Gives up all locks of a session that closes.
void Instrument::Unlocked(Mailbox& box) {
  if (m_exclusive == &box) m_exclusive = nullptr;
  if (box.shared_locks > 0) --m_shared_holders;
  box.exclusive_locks = box.shared_locks = 0;
}

ViStatus Instrument::Access(const Mailbox& box) {
  const Hold hold(m_lock);
  if (m_exclusive != nullptr) return m_exclusive == &box ? kSuccess : kResourceLocked;
  return m_shared_holders == 0 || box.shared_locks > 0 ? kSuccess : kResourceLocked;
}

ViUInt32 Instrument::LockState() {
  const Hold hold(m_lock);
  if (m_exclusive != nullptr) return kExclusiveLock;
  return m_shared_holders > 0 ? kSharedLock : 0;
}

}  // namespace visa
