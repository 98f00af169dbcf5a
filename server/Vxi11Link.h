// A VXI-11 link seen as an IEEE 488.2 device: the message that is being written and the answers that wait to be read.
// It knows nothing of RPC and of time.
//
// A message ends at END, or at a line end outside of a definite-length block; either may come in a later write. When a
// new message begins, unread answers are dropped, and so are those still to come: a client that has given up on an
// answer never finds it in front of a later one.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "client/MessageScanner.h"
#include "server/Broker.h"

namespace server {

/// Error codes of VXI-11, clause B.5.2.
enum class Vxi11Error : int {
  kNone = 0,
  kNotAccessible = 3,
  kInvalidLink = 4,
  kParameter = 5,
  kNoChannel = 6,
  kNotSupported = 8,
  kOutOfResources = 9,
  kLocked = 11,
  kNoLockHeld = 12,
  kTimeout = 15,
  kIo = 17,
  kAbort = 23,
};

class Vxi11Link {
 public:
  /// `changed` is called when an answer has come or a message has ended.
  Vxi11Link(Broker& broker, ClientInfo client, std::size_t message_limit, std::function<void()> changed);
  ~Vxi11Link() { End(); }
  Vxi11Link(const Vxi11Link&) = delete;
  Vxi11Link& operator=(const Vxi11Link&) = delete;

  ClientId Client() const { return m_client; }

  /// Begins a write; Pump takes its bytes when there is room.
  void Write(std::string data, bool end);
  /// Takes what there is room for. Returns kNone when all is taken, nothing while the rest has to wait. Any other error
  /// ends the write and drops the unfinished message.
  std::optional<Vxi11Error> Pump();
  /// Bytes of the write taken so far.
  std::size_t Taken() const { return m_taken; }

  /// Messages that have not ended.
  std::size_t Queued() const { return m_queued; }
  bool HasAnswer() const { return !m_answers.empty(); }

  struct Piece {
    Vxi11Error error = Vxi11Error::kNone;
    std::string text;
    bool end = false;  ///< the piece ends the answer
  };
  /// Takes the next bytes of the first answer: up to `size` of them, and up to the first `stop`. There must be one.
  Piece Read(std::size_t size, std::optional<char> stop);

  /// Device clear.
  void Clear();
  /// Leaves the broker and releases its locks; only the destructor may follow.
  void End();

 private:
  struct Answer {
    Vxi11Error error = Vxi11Error::kNone;
    std::string text;
  };

  void Submit();
  void DropAnswers();
  Vxi11Error Refuse(Vxi11Error error);
  void Completed(std::uint64_t generation, Reply reply);

  Broker& m_broker;
  const std::size_t m_message_limit;
  const std::function<void()> m_changed;
  const ClientId m_client;
  bool m_ended = false;

  scpi_zlt::MessageScanner m_scanner;
  std::string m_input;  ///< the part so far of a message that has not ended
  std::string m_data;   ///< data of the write
  std::size_t m_taken = 0;
  bool m_end = false;

  std::size_t m_queued = 0;
  std::uint64_t m_generation = 0;  ///< counts the messages begun; one write may end several
  std::deque<Answer> m_answers;
  std::size_t m_answer_bytes = 0;
  std::size_t m_read = 0;  ///< bytes of the first answer already read
};

}  // namespace server
