// A generator model over a scripted provider: an instrument given as a table of request lines and replies, which
// accepts everything without a row. No interpreter thread runs; a test that needs one starts it with a body of its own.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "src/Device.h"
#include "tests/unit/src/ScriptedProvider.h"

namespace test {

/// Answers requests whose line begins with `request`. No `status`: silence. `values`: in the request's format; none:
/// those of the request. `bare`: a head alone.
struct Row {
  std::string request;
  std::optional<std::int16_t> status = 0;
  std::optional<std::vector<double>> values = {};
  bool bare = false;
};

inline std::int16_t Status16(unsigned code) {
  return static_cast<std::int16_t>(code);
}

inline ScriptedProvider::Responder Instrument(std::vector<Row> rows) {
  return [rows = std::move(rows)](std::span<const unsigned char> request) {
    const std::string line = Describe(request);
    for (const Row& row : rows) {
      if (!line.starts_with(row.request)) continue;
      if (!row.status) return Bytes{};
      if (row.bare) return BareAnswer(request, *row.status);
      return row.values ? Answer(request, *row.status, *row.values) : Answer(request, *row.status);
    }
    return Answer(request);
  };
}

class BenchDevice : public CDevice {
 public:
  std::string response;
  std::function<void()> body;

  int SendResponse(const char* text, int length) override {
    response.append(text, static_cast<std::size_t>(length));
    return length;
  }
  void ThreadCycle() override { body(); }
  std::string TakeResponse() { return std::exchange(response, {}); }
};

/// An open session with an instrument that takes everything; its start-up packets are forgotten.
class OpenBench {
 public:
  explicit OpenBench(std::vector<Row> rows = {}) {
    provider.Respond(Instrument({}));
    device.OpenConnection("TCPIP0::1::INSTR::ZLT", 2000);
    provider.Respond(Instrument(std::move(rows)));
    provider.TakeLines();
  }
  ScriptedProvider provider;
  BenchDevice device;
};

}  // namespace test
