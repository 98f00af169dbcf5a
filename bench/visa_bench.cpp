// What a call through the VISA library in front costs more than the library's own, in one process, on simulated
// generators that answer at once. Usage: visa_bench FRONT. The two take turns, so that changes of
// the machine's speed affect both.
#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <functional>
#include <string_view>
#include <vector>

#include "scpi_zlt/scpi_zlt.h"

#include "client/MessageExchange.h"

namespace {

constexpr std::string_view kQuestion = ":FREQ?\n";
constexpr int kTurns = 200;
constexpr int kCallsPerTurn = 200;

/// The functions of the front, with the standard's own types.
struct Front {
  template <typename... Arguments>
  std::int32_t Call(const char* name, Arguments... arguments) const {
    return reinterpret_cast<std::int32_t (*)(Arguments...)>(dlsym(library, name))(arguments...);
  }
  void* library;
};

double MicrosecondsPerCall(const std::function<void()>& call) {
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < kCallsPerTurn; ++i) call();
  return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count() / kCallsPerTurn;
}

double Median(std::vector<double>& values) {
  std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2), values.end());
  return values[values.size() / 2];
}

void Compare(const char* what, const std::function<void()>& front, const std::function<void()>& own) {
  std::vector<double> front_times;
  std::vector<double> own_times;
  for (int turn = 0; turn < kTurns; ++turn) {
    front_times.push_back(MicrosecondsPerCall(front));
    own_times.push_back(MicrosecondsPerCall(own));
  }
  const double through_front = Median(front_times);
  const double without = Median(own_times);
  std::printf("%-52s %8.3f us %8.3f us %+8.3f us\n", what, through_front, without, through_front - without);
}

void Require(bool fine) {
  if (!fine) std::abort();
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) return 2;
  const Front front{dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL)};
  Require(front.library != nullptr);
  std::uint32_t manager = 0;
  std::uint32_t vi = 0;
  Require(front.Call("viOpenDefaultRM", &manager) == 0);
  Require(front.Call("viOpen", manager, "SIM1::INSTR::ZLT", 0U, 0U, &vi) == 0);
  unsigned long session = 0;
  unsigned long bare = 0;
  Require(skOpen(0, "SIM2::INSTR::ZLT", 0, 10000, &session) == VI_SUCCESS);
  Require(skOpen(0, "SIM3::INSTR::ZLT", 0, 10000, &bare) == VI_SUCCESS);
  scpi_zlt::MessageExchange exchange(session);

  using Write = std::int32_t (*)(std::uint32_t, const unsigned char*, std::uint32_t, std::uint32_t*);
  using Read = std::int32_t (*)(std::uint32_t, unsigned char*, std::uint32_t, std::uint32_t*);
  using Get = std::int32_t (*)(std::uint32_t, std::uint32_t, void*);
  const auto write = reinterpret_cast<Write>(dlsym(front.library, "viWrite"));
  const auto read = reinterpret_cast<Read>(dlsym(front.library, "viRead"));
  const auto get = reinterpret_cast<Get>(dlsym(front.library, "viGetAttribute"));
  std::array<unsigned char, 256> answer{};
  const auto* const question = reinterpret_cast<const unsigned char*>(kQuestion.data());

  const auto front_query = [&] {
    std::uint32_t got = 0;
    Require(write(vi, question, static_cast<std::uint32_t>(kQuestion.size()), &got) == 0);
    Require(read(vi, answer.data(), static_cast<std::uint32_t>(answer.size()), &got) == 0);
  };
  const auto exchanged = [&] { Require(!exchange.Exchange(kQuestion, std::chrono::seconds(10)).response.empty()); };
  const auto bare_query = [&] {
    unsigned long done = 0;
    skWrite(bare, const_cast<unsigned char*>(question), kQuestion.size(), &done);
    Require(skRead(bare, answer.data(), answer.size(), &done) == VI_SUCCESS_TERM_CHAR);
  };
  const auto front_attribute = [&] {
    std::uint32_t value = 0;
    Require(get(vi, VI_ATTR_TMO_VALUE, &value) == 0);
  };
  const auto bare_attribute = [&] {
    std::uint32_t value = 0;
    Require(skGetAttribute(bare, VI_ATTR_TMO_VALUE, &value) == VI_SUCCESS);
  };

  std::printf("%-52s %11s %11s %11s\n", "median of calls", "front", "library", "more");
  Compare("an attribute", front_attribute, bare_attribute);
  Compare("\":FREQ?\" and its answer, the library's by an exchange", front_query, exchanged);
  Compare("\":FREQ?\" and its answer, the library's bare", front_query, bare_query);
  front.Call("viClose", manager);
  skClose(session);
  skClose(bare);
  return 0;
}
