// libFuzzer harness of the raw socket's framing. However the bytes are cut into pieces and however late the answers
// are, the door passes on exactly the messages of the whole text, in order, and nothing of a browser's request.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "client/MessageScanner.h"
#include "server/Broker.h"
#include "server/RawDoor.h"

namespace {

constexpr std::size_t kLimit = 64;

std::vector<std::string> submitted;
std::vector<server::Broker::OnReply> waiting;

class NoLoop : public server::Loop {
  void Post(Task) override {}
  Timer After(std::chrono::milliseconds, Task) override { return 1; }
  void Cancel(Timer) override {}
};

class FuzzWire : public server::Wire {
 public:
  void Send(std::string_view) override {}
  std::size_t Unsent() const override { return 0; }
  void Pause() override { paused = true; }
  void Resume() override { paused = false; }
  void Close() override { closed = true; }
  const std::string& Peer() const override { return m_peer; }

  bool paused = false;
  bool closed = false;

 private:
  const std::string m_peer = "fuzz";
};

void AnswerAll() {
  while (!waiting.empty()) {
    const server::Broker::OnReply done = std::move(waiting.front());
    waiting.erase(waiting.begin());
    done({server::Reply::Kind::kDone, "1\n"});
  }
}

std::vector<std::string> Expected(std::string text) {
  std::vector<std::string> messages;
  scpi_zlt::MessageScanner scanner;
  for (std::size_t end; (end = scanner.FindEnd(text)) != scpi_zlt::MessageScanner::npos; text.erase(0, end)) {
    if (end <= kLimit) messages.push_back(text.substr(0, end));
  }
  return messages;
}

}  // namespace

// A broker for this harness only: it keeps what it gets.
namespace server {
Broker::Broker(Loop& loop, WorkerOptions, bool, bool log_messages, Worker::OnState)
    : m_loop(loop), m_log_messages(log_messages) {}
Broker::~Broker() = default;
Worker::~Worker() = default;
ClientId Broker::Connect(ClientInfo) {
  return 1;
}
void Broker::Disconnect(ClientId) {}
Broker::RequestId Broker::Submit(ClientId, std::string message, OnReply done, std::chrono::milliseconds) {
  submitted.push_back(std::move(message));
  waiting.push_back(std::move(done));
  return 1;
}
}  // namespace server

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  const std::size_t piece = data[0] % 64 + 1;
  const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
  submitted.clear();
  waiting.clear();
  NoLoop loop;
  server::Broker broker(loop, {}, false, false, nullptr);
  server::RawDoor door(broker, {false, kLimit, 1000});
  FuzzWire wire;
  const auto connection = door.Accept(wire);
  for (std::size_t at = 0; at < text.size() && !wire.closed; at += piece) {
    if (wire.paused) AnswerAll();
    connection->Receive(std::string_view(text).substr(at, piece));
  }
  AnswerAll();
  const std::vector<std::string> expected = wire.closed ? std::vector<std::string>() : Expected(text);
  // The door keeps back a beginning that may become a browser's request.
  if (submitted != expected && !(submitted.empty() && text.size() < 8)) std::abort();
  return 0;
}
