// The server's raw socket and HiSLIP, each against a prediction: the time of a bare echo on the same loop plus that of
// the library called directly. Also misrouted answers, latency beside bad clients, and memory. All in one process, with
// clients on blocking sockets.
//
//   server_bench [QUERIES_PER_CLIENT]     for the count of misrouted answers; 2000 unless given
#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <optional>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

#include "scpi_zlt/scpi_zlt.h"

#include "server/AsioLoop.h"
#include "server/Broker.h"
#include "server/HislipDoor.h"
#include "server/HislipMessage.h"
#include "server/RawDoor.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kResource = "SIM20::INSTR::ZLT";
constexpr auto kRun = std::chrono::milliseconds(300);
constexpr int kRepetitions = 5;
constexpr std::size_t kClients = 32;

/// A loop and a socket without an instrument: sends back what comes.
class EchoDoor : public server::Door {
 public:
  const char* Name() const override { return "echo"; }
  std::unique_ptr<server::Connection> Accept(server::Wire& wire) override { return std::make_unique<Echo>(wire); }

 private:
  class Echo : public server::Connection {
   public:
    explicit Echo(server::Wire& wire) : m_wire(wire) {}
    void Receive(std::string_view bytes) override { m_wire.Send(bytes); }

   private:
    server::Wire& m_wire;
  };
};

class Client {
 public:
  explicit Client(std::uint16_t port) : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) std::abort();
  }
  Client(Client&& other) noexcept : m_socket(std::exchange(other.m_socket, -1)) {}
  ~Client() {
    if (m_socket >= 0) ::close(m_socket);
  }

  void Send(std::string_view text) const {
    if (::send(m_socket, text.data(), text.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(text.size())) std::abort();
  }
  /// As much as the socket takes at once.
  bool TrySend(std::string_view text) const {
    return ::send(m_socket, text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT) > 0;
  }
  std::string Receive() const {
    std::string answer;
    while (answer.empty() || answer.back() != '\n') {
      std::array<char, 4096> piece;
      const ssize_t count = ::recv(m_socket, piece.data(), piece.size(), 0);
      if (count <= 0) std::abort();
      answer.append(piece.data(), static_cast<std::size_t>(count));
    }
    return answer;
  }
  /// A header of HiSLIP.
  std::string ReceiveHeader() const {
    std::string header(16, '\0');
    if (::recv(m_socket, header.data(), header.size(), MSG_WAITALL) != static_cast<ssize_t>(header.size()))
      std::abort();
    return header;
  }
  void BreakOff() {
    const linger now{1, 0};
    ::setsockopt(m_socket, SOL_SOCKET, SO_LINGER, &now, sizeof now);
    ::close(std::exchange(m_socket, -1));
  }
  int Socket() const { return m_socket; }

 private:
  int m_socket;
};

struct Ports {
  std::uint16_t raw;
  std::uint16_t hislip;
  std::uint16_t echo;
};

double Median(std::vector<double> values, double quantile = 0.5) {
  std::sort(values.begin(), values.end());
  return values[static_cast<std::size_t>(quantile * static_cast<double>(values.size() - 1))];
}

/// How to ask a question through one door.
struct Protocol {
  const char* name;
  std::string question;
  bool hislip = false;
};

constexpr std::size_t kHislipHeader = 16;

/// With RMT-delivered, as after an answer that was read.
std::string HislipQuestion(std::string_view text) {
  return server::hislip::Encode(server::hislip::Type::kDataEnd, 1, 0xFFFFFF00, text);
}

/// The second connection of a HiSLIP session; once it is open, the first one takes questions.
Client OpenHislip(std::uint16_t port, const Client& synchronous) {
  using namespace server::hislip;
  synchronous.Send(Encode(Type::kInitialize, 0, 0x01000000, "hislip0"));
  const std::string header = synchronous.ReceiveHeader();
  const std::uint32_t id = static_cast<unsigned char>(header[6]) << 8 | static_cast<unsigned char>(header[7]);
  Client asynchronous(port);
  asynchronous.Send(Encode(Type::kAsyncInitialize, 0, id));
  asynchronous.ReceiveHeader();
  return asynchronous;
}

void AskDirectly(unsigned long session) {
  std::string question = ":FREQ?\n";
  std::array<unsigned char, 256> answer;
  unsigned long count = 0;
  skWrite(session, reinterpret_cast<unsigned char*>(question.data()), question.size(), &count);
  if (skRead(session, answer.data(), answer.size(), &count) != VI_SUCCESS_TERM_CHAR) std::abort();
}

/// Questions per second of `count` clients, each with one question under way. With a session, the library is asked
/// directly after each answer too.
double Rate(std::uint16_t port, std::size_t count, const std::string& question, bool hislip,
            std::optional<unsigned long> session = {}) {
  std::vector<Client> clients;
  std::vector<Client> asynchronous;
  std::vector<pollfd> polls;
  for (std::size_t i = 0; i < count; ++i) {
    polls.push_back({clients.emplace_back(port).Socket(), POLLIN, 0});
    if (hislip) asynchronous.push_back(OpenHislip(port, clients.back()));
  }
  for (const Client& client : clients) client.Send(question);
  const auto start = Clock::now();
  double answers = 0;
  while (Clock::now() - start < kRun) {
    ::poll(polls.data(), polls.size(), 1000);
    for (std::size_t i = 0; i < count; ++i) {
      if ((polls[i].revents & POLLIN) == 0) continue;
      clients[i].Receive();
      if (session) AskDirectly(*session);
      ++answers;
      clients[i].Send(question);
    }
  }
  const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
  for (const Client& client : clients) client.Receive();
  return answers / seconds;
}

double DirectRate(unsigned long session) {
  double answers = 0;
  const auto start = Clock::now();
  while (Clock::now() - start < kRun) {
    AskDirectly(session);
    ++answers;
  }
  return answers / std::chrono::duration<double>(Clock::now() - start).count();
}

/// Twice against echo and library: measured apart, where the library's threads never sleep between two questions, and
/// one after the other, where they do as they do in the server.
void PrintRates(const Protocol& protocol, std::uint16_t port, std::uint16_t echo, unsigned long session) {
  for (const std::size_t clients : {std::size_t{1}, kClients}) {
    std::vector<double> rates;
    std::vector<double> apart;
    std::vector<double> in_turn;
    for (int i = 0; i < kRepetitions; ++i) {
      const double direct = DirectRate(session);
      const double bare = Rate(echo, clients, protocol.question, false);
      const double both = Rate(echo, clients, protocol.question, false, session);
      rates.push_back(Rate(port, clients, protocol.question, protocol.hislip));
      apart.push_back(rates.back() * (1 / direct + 1 / bare));
      in_turn.push_back(rates.back() / both);
    }
    std::printf(
        "%-6s %2zu clients: %9.0f questions/s; of what echo and library predict %.2f, asked in turn %.2f (goal 0.7)\n",
        protocol.name, clients, Median(rates), Median(apart), Median(in_turn));
  }
}

/// One client's part of CountMisrouted: returns how many answers were not its own.
long AskLabelled(const Ports& ports, std::size_t number, int queries) {
  const bool by_hislip = number % 2 == 1;
  const Client client(by_hislip ? ports.hislip : ports.raw);
  std::optional<Client> asynchronous;
  if (by_hislip) asynchronous.emplace(OpenHislip(ports.hislip, client));
  std::string question = "*OPC?";
  std::string answer = "+1";
  for (std::size_t k = 0; k < number; ++k) {
    question += ";*OPC?";
    answer += ";+1";
  }
  question += '\n';
  answer += '\n';
  if (by_hislip) question = HislipQuestion(question);
  long wrong = 0;
  for (int k = 0; k < queries; ++k) {
    client.Send(question);
    if (client.Receive().substr(by_hislip ? kHislipHeader : 0) != answer) ++wrong;
  }
  return wrong;
}

/// Each client asks for its own number of "+1", so no other client has the same answer.
void CountMisrouted(const Ports& ports, int queries) {
  std::atomic<bool> done{false};
  std::thread churn([&] {
    while (!done) {
      Client client(ports.raw);
      client.Send("*IDN?\n*IDN?\n*IDN?\n");
      client.BreakOff();
      std::this_thread::sleep_for(std::chrono::milliseconds(100));  // ten times a second
    }
  });
  std::atomic<long> wrong{0};
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < kClients; ++i) {
    threads.emplace_back([&, i] { wrong += AskLabelled(ports, i, queries); });
  }
  for (std::thread& thread : threads) thread.join();
  done = true;
  churn.join();
  std::printf("%zu clients by both doors, %d questions each, one more that connects and dies: %ld misrouted\n",
              kClients, queries, wrong.load());
}

void MeasureLatencies(std::uint16_t raw, std::vector<double>& result) {
  const Client client(raw);
  for (int i = 0; i < 1000; ++i) {
    const auto start = Clock::now();
    client.Send(":FREQ?\n");
    client.Receive();
    result.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
  }
}

/// Sends as much as the server takes, and reads what comes, until the end.
class Flood {
 public:
  Flood(std::uint16_t raw, const std::string& burst)
      : m_thread([this, raw, &burst] {
          const Client client(raw);
          while (!m_done) {
            client.TrySend(burst);
            std::array<char, 65536> answers;
            while (::recv(client.Socket(), answers.data(), answers.size(), MSG_DONTWAIT) > 0) continue;
            // Far more is queued than the server answers in that time. The flood should keep the server busy, not a
            // processor.
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
          }
        }) {}
  ~Flood() {
    m_done = true;
    m_thread.join();
  }

 private:
  std::atomic<bool> m_done{false};
  std::thread m_thread;
};

/// Asks for long answers and never reads one. Returns when the server reads nothing more from it.
Client Stall(std::uint16_t raw) {
  std::string question = ":FREQ?";
  for (int i = 1; i < 2500; ++i) question += ";:FREQ?";
  question += '\n';
  std::string burst;
  for (int i = 0; i < 10; ++i) burst += question;
  Client client(raw);
  constexpr int kQuietMs = 100;
  for (int quiet = 0; quiet < kQuietMs; ++quiet) {
    if (client.TrySend(burst)) quiet = 0;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return client;
}

/// In turns, so that other load on the machine affects all three alike.
void PrintLatencies(std::uint16_t raw) {
  std::string burst;
  for (int i = 0; i < 500; ++i) burst += ":FREQ?\n";
  std::vector<double> alone;
  std::vector<double> beside_stalled;
  std::vector<double> beside_both;
  for (int round = 0; round < kRepetitions; ++round) {
    MeasureLatencies(raw, alone);
    const Client stalled = Stall(raw);
    MeasureLatencies(raw, beside_stalled);
    const Flood flood(raw, burst);
    MeasureLatencies(raw, beside_both);
  }
  const auto print = [&](const char* name, const std::vector<double>& values) {
    std::printf("%-40s median %6.1f us (%.2f), 99 %% %6.1f us (%.2f)\n", name, Median(values),
                Median(values) / Median(alone), Median(values, 0.99), Median(values, 0.99) / Median(alone, 0.99));
  };
  print("latency alone", alone);
  print("beside a client that never reads", beside_stalled);
  print("beside that and one that floods (goal 2)", beside_both);
}

long ResidentKiB() {
  std::ifstream status("/proc/self/statm");
  long size = 0;
  long resident = 0;
  status >> size >> resident;
  return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

/// Connects, asks once, and returns the connections of one client.
std::vector<Client> ConnectAndAsk(std::uint16_t port, bool hislip) {
  std::vector<Client> client;
  client.emplace_back(port);
  if (hislip) client.push_back(OpenHislip(port, client[0]));
  client[0].Send(hislip ? HislipQuestion("*OPC?\n") : "*OPC?\n");
  client[0].Receive();
  return client;
}

void PrintMemory(const char* door, std::uint16_t port, bool hislip) {
  constexpr int kConnected = 400;
  const long before = ResidentKiB();
  {
    std::vector<std::vector<Client>> clients;
    for (int i = 0; i < kConnected; ++i) clients.push_back(ConnectAndAsk(port, hislip));
    std::printf("%-6s memory per connected client %6.1f KiB", door,
                static_cast<double>(ResidentKiB() - before) / kConnected);
  }
  const long connected = ResidentKiB();
  for (int i = 0; i < 10000; ++i) ConnectAndAsk(port, hislip);
  std::printf(", after 10000 clients %ld KiB more\n", ResidentKiB() - connected);
}

}  // namespace

int main(int argc, char** argv) {
  const int queries = argc > 1 ? std::atoi(argv[1]) : 2000;
  // Otherwise the log of connections would be measured too.
  if (std::freopen("/dev/null", "w", stderr) == nullptr) return 1;
  server::NetLimits limits;
  limits.clients = 1000;
  server::AsioLoop loop(limits);
  std::atomic<bool> open{false};
  server::WorkerOptions options;
  options.resource = kResource;
  server::Broker broker(loop, options, false, false, [&](server::WorkerState, const std::string&) { open = true; });
  server::RawDoor raw(broker, {});
  server::HislipDoor hislip(loop, broker, {});
  EchoDoor echo;
  const Ports ports{loop.Listen(raw, "127.0.0.1", 0), loop.Listen(hislip, "127.0.0.1", 0),
                    loop.Listen(echo, "127.0.0.1", 0)};
  std::thread runner([&] { loop.Run(); });

  unsigned long session = 0;
  if (skOpen(0, "SIM21::INSTR::ZLT", 0, 20000, &session) != VI_SUCCESS) return 1;
  Client(ports.raw).Send("*OPC?\n");
  PrintRates({"raw", ":FREQ?\n"}, ports.raw, ports.echo, session);
  PrintRates({"hislip", HislipQuestion(":FREQ?\n"), true}, ports.hislip, ports.echo, session);
  CountMisrouted(ports, queries);
  PrintLatencies(ports.raw);
  PrintMemory("raw", ports.raw, false);
  PrintMemory("hislip", ports.hislip, true);
  skClose(session);
  loop.Stop();
  runner.join();
  return open ? 0 : 1;
}
