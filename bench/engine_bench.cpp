// The parser and the packets on one thread: nanoseconds per message, per list value and per packet, with ratios to bare
// number scanning. Allocations per message are counted, not guessed.
#include <atomic>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "bench/Ratios.h"
#include "scpi_core/pcore.h"
#include "scpi_core/types.h"
#include "src/PacketTypes.h"
#include "src/plib/Descriptors.h"

namespace {

std::atomic<long> allocations{0};

}  // namespace

// Not inlined: the compiler would see free() called on what new gave, and warn.
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

/// Takes the place of a session: drops what is sent.
class NullStream : public IResponseStream {
 public:
  int SendResponse(const char*, int length) override { return length; }
  int RaiseError(int code, const char*) override {
    std::fprintf(stderr, "unexpected error %d\n", code);
    std::abort();
  }
  int SendEnd() override { return 0; }
};

int Answer(std::vector<sParamInfo>, bool, void* device, sComErrorInfo*) {
  static_cast<NullStream*>(device)->SendResponse("1", 1);
  return 0;
}

int Take(std::vector<sParamInfo> parameters, bool, void*, sComErrorInfo*) {
  benchmark::DoNotOptimize(parameters.data());
  return 0;
}

using namespace scpi_lib;

// Rows shaped like the real ones, with handlers that do nothing.
const sCommandTreeNode kLevel0[] = {
    {"system", 4, 0, 0, false, 1, nullptr, {kBoth, nullptr, 0}},
    {"source", 4, 0, 3, true, 1, nullptr, {kBoth, nullptr, 0}},
    {"idn", -1, 0, -1, false, 1, Answer, {kQuery, nullptr, 0}},
};
const sCommandTreeNode kLevel1[] = {
    {"error", 3, 0, 0, false, 1, Answer, {kQuery, nullptr, 0}},
    {"frequency", 4, 3, 4, false, 1, Take, {kBoth, &FreqParams, 1}},
    {"list", -1, 3, 8, false, 1, nullptr, {kBoth, nullptr, 0}},
};
const sCommandTreeNode kLevel2[] = {
    {"cw", -1, 4, 3, true, 1, Take, {kBoth, &FreqParams, 1}},
    {"frequency", 4, 8, 25, false, 1, Take, {kBoth, &FreqListParams, 1}},
};

void RegisterRows() {
  AddTreeLevel(0, kLevel0, std::size(kLevel0));
  AddTreeLevel(1, kLevel1, std::size(kLevel1));
  AddTreeLevel(2, kLevel2, std::size(kLevel2));
}

void ParseMessage(benchmark::State& state, const std::string& message) {
  NullStream stream;
  std::string copy = message;
  const long before = allocations;
  for (auto _ : state) Parse(copy.data(), static_cast<int>(copy.size()), &stream, &stream);
  state.counters["allocations"] =
      benchmark::Counter(static_cast<double>(allocations - before), benchmark::Counter::kAvgIterations);
}

void ParseIdentity(benchmark::State& state) {
  ParseMessage(state, "*IDN?\n");
}
void ParseError(benchmark::State& state) {
  ParseMessage(state, ":SYST:ERR?\n");
}
void ParseFrequency(benchmark::State& state) {
  ParseMessage(state, ":SOUR:FREQ:CW 1.5 GHZ\n");
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
  std::string message = "LIST:FREQ " + Numbers(count) + "\n";
  for (auto _ : state) {
    for (int i = 0; i < repeats; ++i) Parse(message.data(), static_cast<int>(message.size()), &stream, &stream);
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
MEASURE(ParseIdentity);
MEASURE(ParseError);
MEASURE(ParseFrequency);
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
  RegisterRows();
  return bench::Main(
      argc, argv, {{"LongList", {"ShortLists"}, 1.5}, {"LongList", {"FromChars"}, 4.0}, {"LongList", {"StrToD"}, 4.0}});
}
