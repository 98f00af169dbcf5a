// A HiSLIP session: what its two connections share. HislipDoor.h has the states.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>

#include "client/MessageScanner.h"
#include "server/Broker.h"
#include "server/Door.h"
#include "server/HislipDoor.h"
#include "server/HislipMessage.h"

namespace server {

class HislipSession : public std::enable_shared_from_this<HislipSession> {
 public:
  HislipSession(HislipDoor& door, std::uint16_t id, Wire& synchronous);
  ~HislipSession() { End(); }
  HislipSession(const HislipSession&) = delete;
  HislipSession& operator=(const HislipSession&) = delete;

  /// False if there is an asynchronous connection already.
  bool Join(Wire& asynchronous);
  void OnSynchronous(hislip::Message message);
  void OnAsynchronous(hislip::Message message);
  /// The socket of this connection has taken everything.
  void Drained(Wire& wire);
  /// Sends FatalError on both connections and ends the session.
  void Fail(hislip::FatalCode code, std::string_view text);
  /// One of the connections is gone; the other one is closed.
  void Gone(const Wire& wire);
  /// An answer is due, or the session may rest.
  bool Waiting() const { return m_asynchronous != nullptr; }

 private:
  using RequestId = Broker::RequestId;
  struct Answer {
    std::uint32_t message_id = 0;
    std::string text;
    std::size_t sent = 0;
  };
  struct Release {
    std::uint32_t message_id = 0;
    bool answered = true;  ///< false: its answer is not sent, as after a device clear
  };

  void Open();
  void End();
  void Send(hislip::Type type, std::uint8_t control, std::uint32_t parameter, std::string_view payload = {});
  void SendAsync(hislip::Type type, std::uint8_t control, std::uint32_t parameter, std::string_view payload = {});
  void Complain(bool synchronous, hislip::ErrorCode code, std::string_view text);
  void Refuse(bool synchronous, const hislip::Message& message);

  void Data(const hislip::Message& message);
  void Trigger(const hislip::Message& message);
  void NoteMessage(const hislip::Message& message);
  void Submit(std::string text, std::uint32_t message_id);
  void Completed(std::uint32_t message_id, Reply reply);
  void SendOn();
  void Throttle();

  void Lock(const hislip::Message& message);
  void TryRelease();
  bool IsBehind(std::uint32_t message_id) const;
  void StatusQuery(const hislip::Message& message);
  void RemoteLocal(const hislip::Message& message);
  void MaximumMessageSize(const hislip::Message& message);
  void DeviceClear();
  void DeviceClearComplete();

  HislipDoor& m_door;
  Broker& m_broker;
  const std::uint16_t m_id;
  Wire* m_synchronous;
  Wire* m_asynchronous = nullptr;
  ClientId m_client;
  Loop::Timer m_deadline = 0;  ///< for the asynchronous connection, or for the end of a device clear
  bool m_ended = false;
  bool m_clearing = false;

  scpi_zlt::MessageScanner m_scanner;
  std::string m_input;                     ///< the part so far of a program message that has not ended
  bool m_skipping = false;                 ///< in a program message that is too long
  std::optional<std::uint32_t> m_last_id;  ///< id of the last Data, DataEND or Trigger
  std::size_t m_queued = 0;                ///< messages at the broker
  std::deque<Answer> m_answers;
  std::size_t m_piece;       ///< bytes of payload that the client accepts in one message
  bool m_available = false;  ///< MAV: a response was sent and the client has not confirmed it whole
  bool m_waits_for_lock = false;
  std::optional<Release> m_release;
  Loop::Timer m_release_timer = 0;

  friend class HislipDoor;
};

}  // namespace server
