#include "server/HislipSession.h"

#include <algorithm>
#include <utility>

namespace server {
namespace {

using hislip::ErrorCode;
using hislip::FatalCode;
using hislip::kHeaderSize;
using hislip::Message;
using hislip::Type;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr std::uint32_t kVersion = 0x0100;
constexpr std::uint32_t kVendor = 0x5A4C;  // "ZL"
constexpr std::uint8_t kRmtDelivered = 1;
constexpr std::uint8_t kMessageAvailable = 1 << 4;
/// Bytes of payload sent to a client that has not named its own limit.
constexpr std::size_t kFirstPiece = 256;
/// Messages that one client may have at the broker; further ones wait in its socket.
constexpr std::size_t kQueued = 4;
/// How long to wait for the second connection, and for the end of a device clear.
constexpr seconds kPatience{30};
/// How long a release waits for a message that it has overtaken.
constexpr seconds kOvertaken{2};
/// The largest piece of an answer.
constexpr std::size_t kLargestPiece = 1 << 20;
/// Bytes that a client may leave untaken before nothing more is read from it: a piece and many errors.
constexpr std::size_t kUnsent = kLargestPiece + 65536;
/// The id of the message "before the first one".
constexpr std::uint32_t kNoMessageYet = 0xFFFFFEFE;

/// Control codes of AsyncLockResponse.
enum LockAnswer : std::uint8_t { kFailure = 0, kSuccess = 1, kError = 3 };
enum ReleaseAnswer : std::uint8_t { kExclusiveReleased = 1, kSharedReleased = 2, kNoneHeld = 3 };

std::uint8_t Code(LockResult result) {
  switch (result) {
    case LockResult::kGranted:
      return kSuccess;
    case LockResult::kTimedOut:
      return kFailure;
    case LockResult::kHeld:
      break;
  }
  return kError;
}

std::uint8_t Code(LockTable::Release release) {
  switch (release) {
    case LockTable::Release::kExclusive:
      return kExclusiveReleased;
    case LockTable::Release::kShared:
      return kSharedReleased;
    case LockTable::Release::kNone:
      break;
  }
  return kNoneHeld;
}

}  // namespace

HislipSession::HislipSession(HislipDoor& door, std::uint16_t id, Wire& synchronous)
    : m_door(door),
      m_broker(door.TheBroker()),
      m_id(id),
      m_synchronous(&synchronous),
      m_client(m_broker.Connect({door.Name(), synchronous.Peer(), door.Options().tidy})),
      m_piece(kFirstPiece) {}

void HislipSession::Open() {
  Send(Type::kInitializeResponse, 0, kVersion << 16 | m_id);
  m_deadline = m_door.EventLoop().After(kPatience, [weak = weak_from_this()] {
    if (const auto session = weak.lock()) {
      session->Fail(FatalCode::kNotBothUp, "no asynchronous connection came");
    }
  });
}

bool HislipSession::Join(Wire& asynchronous) {
  if (m_ended || m_asynchronous != nullptr) return false;
  m_door.EventLoop().Cancel(m_deadline);
  m_asynchronous = &asynchronous;
  SendAsync(Type::kAsyncInitializeResponse, 0, kVendor);
  return true;
}

void HislipSession::Fail(FatalCode code, std::string_view text) {
  if (m_ended) return;
  Send(Type::kFatalError, static_cast<std::uint8_t>(code), 0, text);
  SendAsync(Type::kFatalError, static_cast<std::uint8_t>(code), 0, text);
  End();
}

void HislipSession::Gone(const Wire& wire) {
  if (&wire == m_synchronous) m_synchronous = nullptr;
  if (&wire == m_asynchronous) m_asynchronous = nullptr;
  End();
}

/// No callback of the broker comes after this.
void HislipSession::End() {
  if (std::exchange(m_ended, true)) return;
  m_door.EventLoop().Cancel(m_deadline);
  m_door.EventLoop().Cancel(m_release_timer);
  m_broker.Disconnect(m_client);
  if (m_synchronous != nullptr) m_synchronous->Close();
  if (m_asynchronous != nullptr) m_asynchronous->Close();
}

void HislipSession::Send(Type type, std::uint8_t control, std::uint32_t parameter, std::string_view payload) {
  if (m_synchronous != nullptr) m_synchronous->Send(hislip::Encode(type, control, parameter, payload));
}

void HislipSession::SendAsync(Type type, std::uint8_t control, std::uint32_t parameter, std::string_view payload) {
  if (m_asynchronous == nullptr) return;
  m_asynchronous->Send(hislip::Encode(type, control, parameter, payload));
  if (m_asynchronous->Unsent() > kUnsent) m_asynchronous->Pause();
}

void HislipSession::Complain(bool synchronous, ErrorCode code, std::string_view text) {
  const auto control = static_cast<std::uint8_t>(code);
  synchronous ? Send(Type::kError, control, 0, text) : SendAsync(Type::kError, control, 0, text);
  Throttle();
}

/// Answers a message that is unknown or does not belong on this connection.
void HislipSession::Refuse(bool synchronous, const Message& message) {
  if (message.type == Type::kError) return;
  if (message.type == Type::kFatalError) return End();
  if (message.type == Type::kInitialize || message.type == Type::kAsyncInitialize) {
    return Fail(FatalCode::kBadInitialization, "this connection is initialised already");
  }
  const bool vendor = message.type >= Type::kFirstOfVendors;
  Complain(synchronous, vendor ? ErrorCode::kUnknownVendorType : ErrorCode::kUnknownType,
           vendor ? "unknown vendor message" : "unknown message type");
}

// The synchronous connection.

void HislipSession::OnSynchronous(Message message) {
  if (m_ended) return;
  if (m_asynchronous == nullptr && message.type != Type::kFatalError) {
    return Fail(FatalCode::kNotBothUp, "the asynchronous connection comes first");
  }
  if (m_clearing && message.type != Type::kDeviceClearComplete && message.type != Type::kFatalError) return;
  switch (message.type) {
    case Type::kData:
    case Type::kDataEnd:
      return Data(message);
    case Type::kTrigger:
      return Trigger(message);
    case Type::kDeviceClearComplete:
      return DeviceClearComplete();
    default:
      return Refuse(true, message);
  }
}

void HislipSession::Data(const Message& message) {
  NoteMessage(message);
  if (message.too_large) {
    m_input.clear();
    m_scanner = {};
    m_skipping = message.type == Type::kData;
    return Complain(true, ErrorCode::kTooLarge, "the message is larger than this server takes");
  }
  std::string_view rest = message.payload;
  while (!rest.empty()) {
    const std::size_t end = m_scanner.FindEnd(rest);
    const std::string_view taken = rest.substr(0, std::min(end, rest.size()));
    rest.remove_prefix(taken.size());
    if (!m_skipping && m_input.size() + taken.size() > m_door.Options().message_limit) {
      m_skipping = true;
      Complain(true, ErrorCode::kTooLarge, "the message is larger than the instrument takes");
    }
    if (m_skipping) {
      m_input.clear();
    } else {
      m_input += taken;
    }
    if (end == scpi_zlt::MessageScanner::npos) break;
    if (!std::exchange(m_skipping, false)) Submit(std::exchange(m_input, {}), message.parameter);
  }
  if (message.type == Type::kDataEnd) {
    m_scanner = {};
    m_skipping = false;
    if (!m_input.empty()) Submit(std::exchange(m_input, {}), message.parameter);
  }
  TryRelease();
  Throttle();
}

void HislipSession::Trigger(const Message& message) {
  NoteMessage(message);
  ++m_queued;
  m_broker.Trigger(m_client, [this, id = message.parameter](Reply reply) { Completed(id, std::move(reply)); });
  TryRelease();
  Throttle();
}

/// A new message ends the wait for the answer to the one before: the client drops an answer that it has not read, and
/// so does the server.
void HislipSession::NoteMessage(const Message& message) {
  m_last_id = message.parameter;
  m_answers.clear();
  if ((message.control & kRmtDelivered) != 0) m_available = false;
}

void HislipSession::Submit(std::string text, std::uint32_t message_id) {
  ++m_queued;
  m_broker.Submit(m_client, std::move(text),
                  [this, message_id](Reply reply) { Completed(message_id, std::move(reply)); });
}

void HislipSession::Completed(std::uint32_t message_id, Reply reply) {
  --m_queued;
  if (reply.kind == Reply::Kind::kNoInstrument) {
    Complain(true, ErrorCode::kNoInstrument, "the instrument does not answer; the server tries to open it again");
  } else if (reply.kind == Reply::Kind::kUnfinished) {
    Complain(true, ErrorCode::kUnidentified, "the message ends inside a definite-length block");
  } else if (reply.kind == Reply::Kind::kTooLong) {
    Complain(true, ErrorCode::kTooLarge, "the message is larger than the instrument takes");
  } else if (!reply.response.empty()) {
    if (m_last_id != message_id) {
      // The client has sent another message since, and would take this answer for that one's. IVI-6.1 clause
      // 3.1.1: Interrupted goes first on the asynchronous channel.
      SendAsync(Type::kAsyncInterrupted, 0, *m_last_id);
      Send(Type::kInterrupted, 0, *m_last_id);
    } else {
      m_answers.push_back({message_id, std::move(reply.response), 0});
    }
  }
  SendOn();
  TryRelease();
  Throttle();
}

/// One piece at a time: the next one goes out when the socket has taken this one.
void HislipSession::SendOn() {
  if (m_synchronous == nullptr || m_answers.empty() || m_synchronous->Unsent() > 0) return;
  Answer& answer = m_answers.front();
  const std::string_view piece = std::string_view(answer.text).substr(answer.sent, m_piece);
  answer.sent += piece.size();
  const bool last = answer.sent == answer.text.size();
  const std::uint32_t id = answer.message_id;
  m_available = true;
  const std::string text(piece);
  if (last) m_answers.pop_front();
  Send(last ? Type::kDataEnd : Type::kData, 0, id, text);
}

void HislipSession::Drained(Wire& wire) {
  if (m_ended) return;
  if (&wire == m_asynchronous) return wire.Resume();
  SendOn();
  Throttle();
}

void HislipSession::Throttle() {
  if (m_synchronous == nullptr) return;
  const bool busy = !m_clearing && (m_queued >= kQueued || m_answers.size() >= kQueued);
  const bool full = busy || m_synchronous->Unsent() > kUnsent;
  full ? m_synchronous->Pause() : m_synchronous->Resume();
}

// The asynchronous connection.

void HislipSession::OnAsynchronous(Message message) {
  if (m_ended) return;
  if (message.too_large) return Complain(false, ErrorCode::kTooLarge, "the message is too large");
  switch (message.type) {
    case Type::kAsyncLock:
      return Lock(message);
    case Type::kAsyncLockInfo:
      return SendAsync(Type::kAsyncLockInfoResponse, m_broker.Locks().Exclusive() ? 1 : 0,
                       static_cast<std::uint32_t>(m_broker.Locks().Holders()));
    case Type::kAsyncStatusQuery:
      return StatusQuery(message);
    case Type::kAsyncRemoteLocalControl:
      return RemoteLocal(message);
    case Type::kAsyncMaximumMessageSize:
      return MaximumMessageSize(message);
    case Type::kAsyncDeviceClear:
      return DeviceClear();
    default:
      return Refuse(false, message);
  }
}

void HislipSession::Lock(const Message& message) {
  if (message.control > 1) return Complain(false, ErrorCode::kUnknownControlCode, "neither lock nor release");
  if (m_release) return SendAsync(Type::kAsyncLockResponse, kError, 0);
  if (message.control == 0) {
    m_release = Release{message.parameter};
    m_release_timer = m_door.EventLoop().After(kOvertaken, [weak = weak_from_this()] {
      const auto session = weak.lock();
      if (!session || !session->m_release) return;
      session->m_release->message_id = kNoMessageYet;
      session->TryRelease();
    });
    return TryRelease();
  }
  // One wait at a time: otherwise their number would have no bound.
  if (std::exchange(m_waits_for_lock, true)) return SendAsync(Type::kAsyncLockResponse, kError, 0);
  const auto answer = [this](LockResult result) {
    m_waits_for_lock = false;
    SendAsync(Type::kAsyncLockResponse, Code(result), 0);
  };
  // The standard knows no infinite time-out; VISA's arrives as the largest one.
  const milliseconds timeout = message.parameter == 0xFFFFFFFF ? kForever : milliseconds(message.parameter);
  if (message.payload.empty()) {
    m_broker.LockExclusive(m_client, timeout, answer);
  } else {
    m_broker.LockShared(m_client, message.payload, timeout, answer);
  }
}

/// True once the message of this id has come. Always true before the first message, and for the id that means none.
bool HislipSession::IsBehind(std::uint32_t message_id) const {
  if (!m_last_id || message_id == kNoMessageYet) return true;
  return static_cast<std::int32_t>(message_id - *m_last_id) <= 0;
}

/// A release takes effect when the message that it names is complete.
void HislipSession::TryRelease() {
  if (!m_release || m_queued > 0 || !IsBehind(m_release->message_id)) return;
  const bool answered = m_release->answered;
  m_release.reset();
  m_door.EventLoop().Cancel(m_release_timer);
  const LockTable::Release released = m_broker.Unlock(m_client);
  if (answered) SendAsync(Type::kAsyncLockResponse, Code(released), 0);
}

void HislipSession::StatusQuery(const Message& message) {
  if ((message.control & kRmtDelivered) != 0) m_available = false;
  // Some clients give the id of the message that they will send next.
  const std::uint32_t last = m_last_id.value_or(kNoMessageYet);
  const bool current = message.parameter == last || message.parameter == last + 2;
  m_broker.ReadStatusByte(m_client, [this, current](std::uint8_t byte) {
    const bool available = current && m_available;
    SendAsync(Type::kAsyncStatusResponse, static_cast<std::uint8_t>(byte | (available ? kMessageAvailable : 0)), 0);
  });
}

/// The instrument has no local control that remote would switch off, so there is nothing to do but to answer.
void HislipSession::RemoteLocal(const Message& message) {
  constexpr std::uint8_t kLastRequest = 6;
  if (message.control > kLastRequest) {
    return Complain(false, ErrorCode::kUnknownControlCode, "no such remote or local request");
  }
  SendAsync(Type::kAsyncRemoteLocalResponse, 0, 0);
}

void HislipSession::MaximumMessageSize(const Message& message) {
  // The standard does not say whether the size counts the header. So a piece with its header stays within the client's
  // size, a payload from the client may have the whole size, and the instrument's longest message fits with its header.
  const std::uint64_t size = hislip::DecodeSize(message.payload);
  const std::uint64_t piece = size > kHeaderSize ? size - kHeaderSize : 1;
  m_piece = static_cast<std::size_t>(std::min<std::uint64_t>(piece, kLargestPiece));
  SendAsync(Type::kAsyncMaximumMessageSizeResponse, 0, 0,
            hislip::EncodeSize(m_door.Options().message_limit + kHeaderSize));
}

void HislipSession::DeviceClear() {
  m_clearing = true;
  m_broker.Clear(m_client);
  m_queued = 0;
  m_answers.clear();
  m_input.clear();
  m_scanner = {};
  m_skipping = false;
  // The message that it waits for will not come any more.
  if (m_release) m_release = Release{kNoMessageYet, false};
  TryRelease();
  Throttle();
  m_door.EventLoop().Cancel(m_deadline);
  m_deadline = m_door.EventLoop().After(kPatience, [weak = weak_from_this()] {
    if (const auto session = weak.lock()) session->Fail(FatalCode::kUnidentified, "the device clear was not completed");
  });
  // The broker answers the lock requests that this has ended from the loop; this must come after those answers.
  m_door.EventLoop().Post([weak = weak_from_this()] {
    if (const auto session = weak.lock()) session->SendAsync(Type::kAsyncDeviceClearAcknowledge, 0, 0);
  });
}

void HislipSession::DeviceClearComplete() {
  if (!std::exchange(m_clearing, false)) {
    return Complain(true, ErrorCode::kUnidentified, "no device clear is under way");
  }
  m_door.EventLoop().Cancel(m_deadline);
  m_last_id.reset();
  m_available = false;
  Send(Type::kDeviceClearAcknowledge, 0, 0);
}

}  // namespace server
