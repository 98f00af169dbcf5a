// The parser and the packets on one thread: nanoseconds per message, per list value and per packet, with ratios to bare
// number scanning. Allocations per message are counted, not guessed.
#include <atomic>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <new>
#include <string>
#include <unordered_map>
#include <vector>

#include "bench/Ratios.h"
#include "scpi_core/pcore.h"
#include "scpi_core/types.h"
#include "src/PacketTypes.h"
#include "src/plib/CommandTable.h"

namespace {

std::atomic<long> allocations{0};

}  // namespace

// Not inlined: otherwise the compiler sees free() called on memory from new, and warns.
[[gnu::noinline]] void* operator new(std::size_t size) {
  ++allocations;
  if (void* memory = std::malloc(size)) return memory;
  throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
  std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}

namespace {

/// Replaces a session: drops what is sent.
class NullStream : public IResponseStream {
 public:
  int SendResponse(const char*, int length) override { return length; }
  int RaiseError(int code, const char*) override {
    std::fprintf(stderr, "unexpected error %d\n", code);
    std::abort();
  }
  int SendEnd() override { return 0; }
};

/// Replaces every handler: the measurement ends where a handler is called.
int Handle(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo*) {
  benchmark::DoNotOptimize(parameters.data());
  if (query) static_cast<NullStream*>(device)->SendResponse("1", 1);
  return 0;
}

/// The command tree as it is shipped, except for its handlers.
void RegisterTree() {
  scpi_lib::RegisterCommandTree();
  static std::vector<std::vector<sCommandTreeNode>> levels;
  for (const STree& level : CommandTree) levels.emplace_back(level.rows, level.rows + level.count);
  int depth = 0;
  for (std::vector<sCommandTreeNode>& level : levels) {
    for (sCommandTreeNode& row : level) {
      if (row.handler != nullptr) row.handler = Handle;
    }
    AddTreeLevel(depth++, level.data(), level.size());
  }
}

const std::string kMessages[] = {
    "*IDN?\n",
    ":FREQ?\n",
    ":FREQ 1GHZ\n",
    ":POW -12.5\n",
    ":OUTP ON\n",
    ":SYST:ERR?\n",
    ":SOURCE:POWER:LEVEL:IMMEDIATE:AMPLITUDE -10 DBM\n",
    ":FREQ:STAR 1GHZ;STOP 2GHZ;:SWE:POIN 101\n",
    ":LIST:FREQ 1GHZ,1.1GHZ,1.2GHZ,1.3GHZ,1.4GHZ\n",
};

void ParseMessage(benchmark::State& state, const std::string& message) {
  NullStream stream;
  sUnitCommand unit;
  std::string copy = message;
  const long before = allocations;
  for (auto _ : state) Parse(copy.data(), static_cast<int>(copy.size()), &stream, &stream, unit);
  state.counters["allocations"] =
      benchmark::Counter(static_cast<double>(allocations - before), benchmark::Counter::kAvgIterations);
}

/// All messages in turn, so that the processor cannot learn the branches of one.
void AllMessages(benchmark::State& state) {
  NullStream stream;
  sUnitCommand unit;
  std::vector<std::string> copies(std::begin(kMessages), std::end(kMessages));
  for (auto _ : state) {
    for (std::string& copy : copies) Parse(copy.data(), static_cast<int>(copy.size()), &stream, &stream, unit);
  }
}

/// The least work that can distinguish these messages: one hashing pass and a table look-up.
void HashMessages(benchmark::State& state) {
  std::unordered_map<std::uint64_t, int> table;
  const auto hash = [](const std::string& message) {
    std::uint64_t value = 14695981039346656037u;
    for (const char c : message) value = (value ^ static_cast<unsigned char>(c)) * 1099511628211u;
    return value;
  };
  for (const std::string& message : kMessages) table.emplace(hash(message), static_cast<int>(table.size()));
  for (auto _ : state) {
    for (const std::string& message : kMessages) benchmark::DoNotOptimize(table.find(hash(message))->second);
  }
}

std::string Numbers(int count) {
  std::string text;
  for (int i = 0; i < count; ++i) text += (i == 0 ? "" : ",") + std::to_string(1000000000 + 12345 * i);
  return text;
}

constexpr int kLong = 10000;
constexpr int kShort = 100;

void ParseList(benchmark::State& state, int repeats, int count) {
  NullStream stream;
  sUnitCommand unit;
  std::string message = ":LIST:FREQ " + Numbers(count) + "\n";
  for (auto _ : state) {
    for (int i = 0; i < repeats; ++i) Parse(message.data(), static_cast<int>(message.size()), &stream, &stream, unit);
  }
}

// Each of these handles 10,000 values an iteration, so that their times compare directly.
void LongList(benchmark::State& state) {
  ParseList(state, 1, kLong);
}
void ShortLists(benchmark::State& state) {
  ParseList(state, kLong / kShort, kShort);
}

template <class Scan>
void ScanNumbers(benchmark::State& state, Scan scan) {
  const std::string text = Numbers(kLong);
  std::vector<double> values;
  for (auto _ : state) {
    values.clear();
    const char* at = text.c_str();
    const char* end = at + text.size();
    while (at < end) {
      double value = 0.0;
      at = scan(at, end, value) + 1;
      values.push_back(value);
    }
    benchmark::DoNotOptimize(values.data());
  }
}

void FromChars(benchmark::State& state) {
  ScanNumbers(state,
              [](const char* at, const char* end, double& value) { return std::from_chars(at, end, value).ptr; });
}

void StrToD(benchmark::State& state) {
  ScanNumbers(state, [](const char* at, const char*, double& value) {
    char* next = nullptr;
    value = std::strtod(at, &next);
    return next;
  });
}

/// Builds a packet with eight values, and reads them back as from a reply; the values have to survive.
void PacketRoundTrip(benchmark::State& state, unsigned char size, unsigned char fraction) {
  const double values[] = {0, 1, 2, 3, 5, 8, 13, 21};
  double sum = 0.0;
  for (auto _ : state) {
    const auto packet = std::make_unique<CDevParameter>(std::uint16_t{0}, 8u, size, fraction, std::uint16_t{3});
    for (unsigned i = 0; i < 8; ++i) packet->SetValue(i, values[i]);
    for (unsigned i = 0; i < 8; ++i) sum += packet->Value(i);
    if (packet->Size() != 16u + 2u + 8u * size) std::abort();
  }
  if (sum != 53.0 * static_cast<double>(state.iterations())) std::abort();
}

void Packet10(benchmark::State& state) {
  PacketRoundTrip(state, 1, 0);
}
void Packet20(benchmark::State& state) {
  PacketRoundTrip(state, 2, 0);
}
void Packet21(benchmark::State& state) {
  PacketRoundTrip(state, 2, 1);
}
void Packet40(benchmark::State& state) {
  PacketRoundTrip(state, 4, 0);
}
void Packet42(benchmark::State& state) {
  PacketRoundTrip(state, 4, 2);
}
void Packet60(benchmark::State& state) {
  PacketRoundTrip(state, 6, 0);
}
void Packet62(benchmark::State& state) {
  PacketRoundTrip(state, 6, 2);
}
void Packet8F(benchmark::State& state) {
  PacketRoundTrip(state, 8, 15);
}

}  // namespace

#define MEASURE(function) BENCHMARK(function)->MinTime(0.1)->Repetitions(5)->ReportAggregatesOnly(true)
MEASURE(AllMessages);
MEASURE(HashMessages);
MEASURE(LongList);
MEASURE(ShortLists);
MEASURE(FromChars);
MEASURE(StrToD);
MEASURE(Packet10);
MEASURE(Packet20);
MEASURE(Packet21);
MEASURE(Packet40);
MEASURE(Packet42);
MEASURE(Packet60);
MEASURE(Packet62);
MEASURE(Packet8F);

int main(int argc, char** argv) {
  RegisterTree();
  for (const std::string& message : kMessages) {
    const std::string name = message.substr(0, message.size() - 1);
    benchmark::RegisterBenchmark(name.c_str(), ParseMessage, message)
        ->MinTime(0.1)
        ->Repetitions(5)
        ->ReportAggregatesOnly(true);
  }
  return bench::Main(argc, argv,
                     {{"AllMessages", {"HashMessages"}, 16.0},
                      {"LongList", {"ShortLists"}, 1.5},
                      {"LongList", {"FromChars"}, 2.0},
                      {"LongList", {"StrToD"}, 4.0}},
                     bench::Clock::kProcessor);
}
