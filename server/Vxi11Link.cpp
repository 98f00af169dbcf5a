#include "server/Vxi11Link.h"

#include <algorithm>
#include <utility>

namespace server {
namespace {

/// Messages that one link may have at the broker; further ones wait in their device_write.
constexpr std::size_t kQueued = 4;
/// Above this many bytes of unread answers a write waits. Only a write with many queries can get there.
constexpr std::size_t kAnswerBytes = 1 << 20;

}  // namespace

Vxi11Link::Vxi11Link(Broker& broker, ClientInfo client, std::size_t message_limit, std::function<void()> changed)
    : m_broker(broker),
      m_message_limit(message_limit),
      m_changed(std::move(changed)),
      m_client(broker.Connect(std::move(client))) {}

void Vxi11Link::Write(std::string data, bool end) {
  m_end = end && !data.empty();
  m_data = std::move(data);
  m_taken = 0;
  if (m_input.empty() && !m_data.empty()) DropAnswers();
}

/// Drops the answers that wait to be read, and those still to come.
void Vxi11Link::DropAnswers() {
  ++m_generation;
  m_answers.clear();
  m_answer_bytes = 0;
  m_read = 0;
}

std::optional<Vxi11Error> Vxi11Link::Pump() {
  while (m_taken < m_data.size()) {
    if (m_queued >= kQueued || m_answer_bytes > kAnswerBytes) return std::nullopt;
    const std::string_view rest = std::string_view(m_data).substr(m_taken);
    const std::size_t end = m_scanner.FindEnd(rest);
    const std::string_view piece = rest.substr(0, end);
    if (piece.size() > m_message_limit - m_input.size()) return Refuse(Vxi11Error::kParameter);
    m_input += piece;
    m_taken += piece.size();
    if (end != scpi_zlt::MessageScanner::npos) Submit();
  }
  if (m_end && m_scanner.InBlock()) return Refuse(Vxi11Error::kParameter);
  if (m_end && !m_input.empty()) Submit();
  m_data = {};
  return Vxi11Error::kNone;
}

Vxi11Error Vxi11Link::Refuse(Vxi11Error error) {
  m_data = {};
  m_input = {};
  m_scanner = {};
  return error;
}

void Vxi11Link::Submit() {
  m_scanner = {};
  ++m_queued;
  m_broker.Submit(m_client, std::exchange(m_input, {}),
                  [this, generation = m_generation](Reply reply) { Completed(generation, std::move(reply)); });
}

void Vxi11Link::Completed(std::uint64_t generation, Reply reply) {
  --m_queued;
  if (generation == m_generation) {
    const bool done = reply.kind == Reply::Kind::kDone;
    if (!done || !reply.response.empty()) {
      m_answer_bytes += reply.response.size();
      m_answers.push_back({done ? Vxi11Error::kNone : Vxi11Error::kIo, std::move(reply.response)});
    }
  }
  m_changed();
}

Vxi11Link::Piece Vxi11Link::Read(std::size_t size, std::optional<char> stop) {
  const Answer& answer = m_answers.front();
  std::string_view text = std::string_view(answer.text).substr(m_read, size);
  if (stop) text = text.substr(0, std::min(text.find(*stop), text.size() - 1) + 1);
  m_read += text.size();
  Piece piece{answer.error, std::string(text), m_read == answer.text.size()};
  if (piece.end || piece.error != Vxi11Error::kNone) {
    m_answer_bytes -= answer.text.size();
    m_answers.pop_front();
    m_read = 0;
  }
  return piece;
}

void Vxi11Link::Clear() {
  m_broker.Clear(m_client);
  m_queued = 0;
  DropAnswers();
  Refuse(Vxi11Error::kNone);
}

void Vxi11Link::End() {
  if (!std::exchange(m_ended, true)) m_broker.Disconnect(m_client);
}

}  // namespace server
