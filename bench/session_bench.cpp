// Round trips, settings, memory and opening of the shared library over the simulated generator, each against a bound in
// the same process. bench/engine_bench.cpp measures what is below a session.
#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <fstream>
#include <sched.h>
#include <string>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

#include "scpi_zlt/scpi_zlt.h"

#include "bench/PingPong.h"
#include "bench/Ratios.h"
#include "client/MessageExchange.h"
#include "protocol/visa.h"

namespace {

constexpr const char* kResource = "SIM0::INSTR::ZLT";

class Session {
 public:
  explicit Session(const char* resource = kResource) {
    if (skOpen(0, resource, 0, 20000, &m_session) != VI_SUCCESS) std::abort();
    skSetAttribute(m_session, VI_ATTR_TMO_VALUE, 20000);
  }
  ~Session() { skClose(m_session); }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  void Write(const std::string& text) const {
    unsigned long count = 0;
    skWrite(m_session, reinterpret_cast<unsigned char*>(const_cast<char*>(text.data())), text.size(), &count);
  }
  void Read() const {
    std::array<unsigned char, 256> answer;
    unsigned long count = 0;
    if (skRead(m_session, answer.data(), answer.size(), &count) != VI_SUCCESS_TERM_CHAR) std::abort();
  }
  unsigned long Handle() const { return m_session; }
  void SetTimeOut(unsigned long milliseconds) const { skSetAttribute(m_session, VI_ATTR_TMO_VALUE, milliseconds); }
  void ReadNothing() const {
    unsigned char byte = 0;
    if (skRead(m_session, &byte, 1, nullptr) != VI_ERROR_TMO) std::abort();
  }

 private:
  unsigned long m_session = 0;
};

Session& Shared() {
  static Session session;
  return session;
}

void PingPongBound(benchmark::State& state) {
  bench::PingPong pair;
  for (auto _ : state) pair.RoundTrip();
}

void Query(benchmark::State& state, const std::string& query) {
  const Session& session = Shared();
  for (auto _ : state) {
    session.Write(query);
    session.Read();
  }
}

void OpcQuery(benchmark::State& state) {
  Query(state, "*OPC?\n");
}
void VersionQuery(benchmark::State& state) {
  Query(state, ":SYST:VERS?\n");
}
void FrequencyQuery(benchmark::State& state) {
  Query(state, ":FREQ?\n");
}

/// A query, then a fence that shows where its answer ends.
void FencedQuery(benchmark::State& state) {
  const Session session("SIM4::INSTR::ZLT");
  scpi_zlt::MessageExchange exchange(session.Handle());
  for (auto _ : state) {
    if (exchange.Exchange(":FREQ?", std::chrono::seconds(20)).response.empty()) std::abort();
  }
}

void FrequencySetting(benchmark::State& state) {
  const Session& session = Shared();
  long step = 0;
  for (auto _ : state) {
    session.Write(":FREQ " + std::to_string(1000000000 + (++step % 1000)) + "\n*OPC?\n");
    session.Read();
  }
}

/// A session with the provider itself: an exchange without the library.
class BareLink {
 public:
  BareLink() {
    viOpenDefaultRM(&m_manager);
    viOpen(m_manager, "SIM1::INSTR", 1, 2000, &m_session);
  }
  ~BareLink() {
    viClose(m_session);
    viClose(m_manager);
  }
  BareLink(const BareLink&) = delete;
  BareLink& operator=(const BareLink&) = delete;

  /// Sends a packet and reads head and body of its reply into the same buffer.
  void Exchange(std::vector<unsigned char>& packet) const {
    std::uint64_t count = 0;
    viWrite(m_session, packet.data(), packet.size(), &count);
    viRead(m_session, packet.data(), 16, &count);
    const std::size_t body = static_cast<std::size_t>(packet[6] + 256 * packet[7]);
    packet.resize(16 + body);
    viRead(m_session, packet.data() + 16, body, &count);
  }

 private:
  unsigned long m_manager = 0;
  unsigned long m_session = 0;
};

void PutInteger(unsigned char* at, std::int64_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) at[i] = static_cast<unsigned char>(static_cast<std::uint64_t>(value) >> (8 * i));
}

/// A SET packet with six-byte whole values.
std::vector<unsigned char> Packet(int parameter, const std::int64_t* values, int count, int head_count) {
  const int body = 2 + 6 * count;
  std::vector<unsigned char> packet(static_cast<std::size_t>(16 + body + body % 2));
  PutInteger(packet.data(), 0x55AA, 2);
  PutInteger(packet.data() + 2, 3, 2);
  PutInteger(packet.data() + 4, 0x8000, 2);
  PutInteger(packet.data() + 6, body + body % 2, 2);
  packet[8] = static_cast<unsigned char>(head_count);
  packet[9] = 0x60;
  PutInteger(packet.data() + 16, parameter, 2);
  for (int i = 0; i < count; ++i) PutInteger(packet.data() + 18 + 6 * i, values[i], 6);
  return packet;
}

void BareExchange(benchmark::State& state) {
  const BareLink link;
  std::int64_t frequency = 1000000000;
  for (auto _ : state) {
    std::vector<unsigned char> packet = Packet(0, &frequency, 1, 1);
    link.Exchange(packet);
    ++frequency;
  }
}

std::string ListText(int points) {
  std::string text = ":LIST:FREQ ";
  for (int i = 0; i < points; ++i) text += (i == 0 ? "" : ",") + std::to_string(1000000000 + 1000 * i);
  return text;
}

/// A list, sent because list mode is on, until an answer shows that the last packet was acknowledged.
void ListSetting(benchmark::State& state) {
  const Session session("SIM2::INSTR::ZLT");
  session.Write(":FREQ:MODE LIST\n");
  const std::string message = ListText(2500) + "\n*OPC?\n";
  for (auto _ : state) {
    session.Write(message);
    session.Read();
  }
}

void BareList(benchmark::State& state) {
  const BareLink link;
  const std::string text = ListText(2500);
  for (auto _ : state) {
    std::vector<std::int64_t> values;
    const char* at = text.data() + std::strlen(":LIST:FREQ ");
    const char* end = text.data() + text.size();
    while (at < end) {
      double value = 0.0;
      at = std::from_chars(at, end, value).ptr + 1;
      values.push_back(static_cast<std::int64_t>(value));
    }
    std::vector<double> taken(values.size());
    for (std::size_t first = 0; first < values.size(); first += 165) {
      const std::size_t count = std::min<std::size_t>(165, values.size() - first);
      std::vector<std::int64_t> fields = {static_cast<std::int64_t>(first), static_cast<std::int64_t>(count)};
      fields.insert(fields.end(), values.begin() + static_cast<long>(first),
                    values.begin() + static_cast<long>(first + count));
      std::vector<unsigned char> packet = Packet(2, fields.data(), static_cast<int>(fields.size()), 0);
      link.Exchange(packet);
      for (std::size_t i = 0; i < count; ++i) {
        std::uint64_t raw = 0;
        std::memcpy(&raw, packet.data() + 18 + 6 * (i + 2), 6);
        taken[first + i] = static_cast<double>(raw);
      }
    }
    benchmark::DoNotOptimize(taken);
  }
}

long ResidentKiB() {
  std::ifstream status("/proc/self/statm");
  long size = 0;
  long resident = 0;
  status >> size >> resident;
  return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

double ProcessorSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& t) {
    return static_cast<double>(t.tv_sec) + 1e-6 * static_cast<double>(t.tv_usec);
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

void PrintMemoryAndOpening() {
  const Session first;
  first.Write("*OPC?\n");
  first.Read();
  const long before = ResidentKiB();
  std::vector<std::unique_ptr<Session>> sessions;
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < 64; ++i) sessions.push_back(std::make_unique<Session>());
  const std::chrono::duration<double, std::milli> opening = std::chrono::steady_clock::now() - start;
  for (const auto& session : sessions) {
    session->Write("*OPC?\n");
    session->Read();
  }
  std::printf("%-44s %9ld KiB (goal 1024)\n", "resident memory per further session", (ResidentKiB() - before) / 64);
  std::printf("%-44s %9.2f ms (goal 50)\n", "opening a session", opening.count() / 64);
  std::vector<std::thread> closers;
  for (auto& session : sessions) closers.emplace_back([&session] { session.reset(); });
  for (std::thread& closer : closers) closer.join();
}

void PrintIdlePoller() {
  const Session session("SIM3::INSTR::ZLT");
  session.Write(":FREQ:MODE SWE\n");
  session.Write(":TRIG:SOUR EXT\n");
  session.Write(":INIT\n");
  session.Write("*OPC?\n");
  session.Read();
  const double before = ProcessorSeconds();
  std::this_thread::sleep_for(std::chrono::seconds(10));  // the measurement itself: processor time over ten seconds
  std::printf("%-44s %9.3f %% of a core (goal 2)\n", "poller with a trigger awaited",
              100.0 * (ProcessorSeconds() - before) / 10.0);
}

struct Spread {
  double median;
  double most;  ///< 99 of 100 take less
};

/// Each round trip timed by itself, in microseconds.
template <class RoundTrip>
Spread Measure(const RoundTrip& round_trip) {
  constexpr std::size_t kRounds = 20000;
  std::vector<double> times;
  for (std::size_t i = 0; i < kRounds; ++i) {
    const auto start = std::chrono::steady_clock::now();
    round_trip();
    times.push_back(std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count());
  }
  std::sort(times.begin(), times.end());
  return {times[kRounds / 2], times[kRounds * 99 / 100]};
}

void PrintRoundTrips(const char* where, double goal) {
  const Session session;
  bench::PingPong pair;
  for (int run = 0; run < 3; ++run) {
    const Spread bound = Measure([&pair] { pair.RoundTrip(); });
    const Spread query = Measure([&session] {
      session.Write("*OPC?\n");
      session.Read();
    });
    std::printf(
        "*OPC?, %-37s %6.2f us (99 %%: %6.2f) bound %6.2f us (99 %%: %6.2f) ratio %5.2f (99 %%: %5.2f) goal %.1f\n",
        where, query.median, query.most, bound.median, bound.most, query.median / bound.median, query.most / bound.most,
        goal);
  }
}

/// Two loops that never sleep keep the processors busy.
void PrintRoundTripsUnderLoad() {
  std::atomic<bool> stop{false};
  const auto spin = [&stop] {
    while (!stop) {
    }
  };
  std::thread first(spin);
  std::thread second(spin);
  PrintRoundTrips("free threads, two busy loops beside", 1.0);
  stop = true;
  first.join();
  second.join();
}

/// What a session costs while nothing happens, after a busy exchange.
void PrintIdle(const char* what, bool reads) {
  const Session session;
  for (int i = 0; i < 1000; ++i) {
    session.Write("*OPC?\n");
    session.Read();
  }
  if (reads) session.Write("*CLS\n");
  const double before = ProcessorSeconds();
  if (reads) {
    session.SetTimeOut(5000);
    session.ReadNothing();
  } else {
    std::this_thread::sleep_for(std::chrono::seconds(5));  // the measurement itself: processor time over five seconds
  }
  std::printf("%-44s %9.3f %% of a core\n", what, 100.0 * (ProcessorSeconds() - before) / 5.0);
}

}  // namespace

// Round trips are timed in many short runs, because the scheduler can spoil a single run.
#define ROUND_TRIP(function) \
  BENCHMARK(function)->UseRealTime()->MinTime(0.05)->Repetitions(41)->ReportAggregatesOnly(true)
ROUND_TRIP(PingPongBound);
ROUND_TRIP(OpcQuery);
ROUND_TRIP(VersionQuery);
ROUND_TRIP(FrequencyQuery);
ROUND_TRIP(FencedQuery);
ROUND_TRIP(BareExchange);
ROUND_TRIP(FrequencySetting);
ROUND_TRIP(BareList);
ROUND_TRIP(ListSetting);

/// All threads on one processor. There a round trip costs the same every time. On two, waking an idle processor takes
/// ten times the work of either side and hides it.
void StayOnOneProcessor() {
  cpu_set_t one;
  CPU_ZERO(&one);
  CPU_SET(sched_getcpu(), &one);
  sched_setaffinity(0, sizeof one, &one);
}

int main(int argc, char** argv) {
  PrintRoundTrips("free threads", 1.0);
  PrintRoundTripsUnderLoad();
  PrintIdle("an idle session", false);
  PrintIdle("a reader that waits for long", true);
  StayOnOneProcessor();
  PrintRoundTrips("one processor", 1.4);
  const int result = bench::Main(argc, argv,
                                 {{"OpcQuery", {"PingPongBound"}, 1.5},
                                  {"VersionQuery", {"PingPongBound"}, 1.5},
                                  {"FrequencyQuery", {"OpcQuery"}, 1.1},
                                  {"FencedQuery", {"FrequencyQuery"}, 2.0},
                                  {"FrequencySetting", {"PingPongBound", "BareExchange"}, 1.5},
                                  {"ListSetting", {"BareList"}, 3.0}});
  if (result != 0) return result;
  PrintMemoryAndOpening();
  PrintIdlePoller();
  return 0;
}
