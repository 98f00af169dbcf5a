// See PlayedInstrument.h.
#include "tests/unit/src/PlayedInstrument.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "protocol/visa.h"
#include "scpi_core/pcore.h"
#include "src/plib/CommandTable.h"

namespace test {
namespace {

/// Active from Run to CancelRun, as the real one is.
class PlayedRun : public CRunThread {
 public:
  PlayedRun(ExchangeGate& gate, std::vector<std::string>& log) : CRunThread(gate), m_log(log) {}
  ~PlayedRun() override { ThreadStop(0); }
  void Run(int count) override {
    ThreadStop(0);
    m_log.push_back(count == 0 ? "(starts a run)" : "(starts a run of " + std::to_string(count) + ")");
    ThreadStart();
  }
  void CancelRun() override {
    m_log.emplace_back("(stops the run)");
    ThreadStop(0);
  }
  void ThreadCycle() override {}

 private:
  std::vector<std::string>& m_log;
};

}  // namespace

std::unique_ptr<CRunThread> PlayedDevice::MakeRunThread(ExchangeGate& gate) {
  return std::make_unique<PlayedRun>(gate, m_log);
}

PlayedInstrument::PlayedInstrument(Firmware firmware, int generation) : m_firmware(firmware), m_generation(generation) {
  constexpr int kGenerations[] = {5, 2, 0};
  if (m_generation < 0) m_generation = kGenerations[static_cast<int>(firmware)];
  scpi_lib::RegisterCommandTree();
  provider.Respond([this](std::span<const unsigned char> request) { return Respond(request); });
  device.OpenConnection("TCPIP0::1::INSTR::ZLT", 2000);
  m_probing = false;
  provider.Watch([this](std::span<const unsigned char> request) {
    m_log.push_back(request.empty() ? "(clears the link)" : Describe(request));
    if (!request.empty()) m_log.push_back(ToHex(request));
  });
}

void PlayedInstrument::Answers(std::deque<Reply> replies) {
  provider.writes.clear();
  for (const Reply& reply : replies) provider.writes.push_back(reply.is_lost ? VI_ERROR_CONN_LOST : 0);
  std::erase_if(replies, [](const Reply& reply) { return reply.is_lost; });
  m_replies = std::move(replies);
}

std::string PlayedInstrument::Say(std::string message, std::vector<std::string>& errors) {
  message += '\n';
  Parse(message.data(), static_cast<int>(message.size()), &device, &device);
  std::string answer = device.TakeResponse();
  std::erase(answer, '\n');
  while (device.GetErrCount() > 0) {
    device.SCPI_SYST_ERR();
    errors.push_back(device.TakeResponse());
  }
  return answer;
}

std::vector<std::string> PlayedInstrument::TakeLog(bool bytes) {
  if (!bytes) std::erase_if(m_log, [](const std::string& line) { return line.starts_with("AA 55"); });
  return std::exchange(m_log, {});
}

Bytes PlayedInstrument::Respond(std::span<const unsigned char> request) {
  if (m_probing) return Probe(Describe(request), request);
  Reply reply;
  if (!m_replies.empty()) {
    reply = std::move(m_replies.front());
    m_replies.pop_front();
  }
  if (reply.is_bare) return BareAnswer(request, reply.status);
  // The fields of a channel are told apart, and its second one is no flag yet.
  if (reply.values.empty() && reply.status == 0 && Describe(request).starts_with("GET P_SYNC_"))
    reply.values = {11, 12, 13, 14, 15, 16, 17, 18, 19, 20};
  return reply.values.empty() ? Answer(request, reply.status) : Answer(request, reply.status, reply.values);
}

Bytes PlayedInstrument::Probe(const std::string& line, std::span<const unsigned char> request) const {
  const auto starts = [&](const char* text) { return line.starts_with(text); };
  if (starts("GET P_FILE")) return Answer(request, Status16(0x8103));
  double start = 0, count = 0, step = 0, stop = 0;
  if (std::sscanf(line.c_str(), "SET P_FREQUENCY 6.0 [%lf, %lf, %lf, %lf]", &start, &count, &step, &stop) == 4) {
    const std::int16_t status[] = {0, 2, Status16(0x8003)};
    return Answer(request, status[static_cast<int>(m_firmware)],
                  {std::max(start, 1e7), std::clamp(count, 1.0, 100001.0), step, std::min(stop, 2e10)});
  }
  if (starts("SET P_FREQUENCY 6.0") && m_firmware == Firmware::kOld) return Answer(request, Status16(0x8003));
  if (starts("SET P_SYNC_OUT") && m_firmware != Firmware::kNew) return Answer(request, 2);
  if ((starts("SET P_RF_OUT2 6.2") && m_generation != 3 && m_generation != 5) ||
      (starts("SET P_RF_OUT2 4.2") && m_generation < 2) || (starts("SET P_RF_OUT 4.2") && m_generation == 0)) {
    return Answer(request, Status16(0x8002));
  }
  const bool is_eight = line.find(", 1, 0, ") != std::string::npos;
  if (is_eight) return Answer(request, m_generation < 4 ? 2 : 0);
  const double power = starts("SET P_RF_OUT") ? std::stod(line.substr(line.find_last_of(",[") + 1)) : 0.0;
  if (starts("SET P_RF_OUT2 ")) return Answer(request, 1, {0, 0, 0, 0, std::clamp(power, -100.0, 18.0)});
  if (starts("SET P_RF_OUT ")) return Answer(request, 1, {0, std::clamp(power, -100.0, 18.0)});
  return Answer(request);
}

}  // namespace test
