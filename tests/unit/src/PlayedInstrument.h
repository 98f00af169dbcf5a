// A generator model over an instrument of one of three firmware generations, opened by its own start-up probing.
// Messages and replies come from a transcript (transcripts/README.md); everything that goes out is kept as text.
//
// The run thread is played: it polls nothing, so that "(stops the run)" and "(starts a run)" appear in the log where
// they happen.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "tests/unit/src/DeviceBench.h"

namespace test {

/// kNew: four-field frequency, ten-value sync, generation 5. kMiddle: three fields of six bytes, five-value sync,
/// generation 2. kOld: three fields of four bytes, five-value sync, generation 0.
enum class Firmware { kNew, kMiddle, kOld };

/// How a packet is answered. Without values: with those of the request.
struct Reply {
  std::int16_t status = 0;
  std::vector<double> values;
  bool is_bare = false;  ///< a head alone
  bool is_lost = false;  ///< the write finds the link gone
};

/// A device whose run is played.
class PlayedDevice : public BenchDevice {
 public:
  explicit PlayedDevice(std::vector<std::string>& log) : m_log(log) {}

 protected:
  std::unique_ptr<CRunThread> MakeRunThread(ExchangeGate& gate) override;

 private:
  std::vector<std::string>& m_log;
};

class PlayedInstrument {
  std::vector<std::string> m_log;

 public:
  /// `generation` of RF output; below 0: that of the firmware.
  explicit PlayedInstrument(Firmware firmware, int generation = -1);

  /// Answers of the next packets, in order. Later packets are taken unchanged.
  void Answers(std::deque<Reply> replies);
  /// Writes a message. Returns its response, without line ends, and the entries that it left in the error queue.
  std::string Say(std::string message, std::vector<std::string>& errors);
  /// What went out since the last look: "SET P_FREQUENCY 6.0 [1000000000]", and what happened to run and link, in
  /// brackets. With `bytes` each packet is followed by its bytes.
  std::vector<std::string> TakeLog(bool bytes = false);

  ScriptedProvider provider;
  PlayedDevice device{m_log};

 private:
  Bytes Respond(std::span<const unsigned char> request);
  Bytes Probe(const std::string& line, std::span<const unsigned char> request) const;

  Firmware m_firmware;
  int m_generation;
  bool m_probing = true;
  std::deque<Reply> m_replies;
};

/// Calls an operation of the model by its name in Device.h; returns its status, a getter's value. Throws
/// std::out_of_range for a name that is not in the table.
double CallOperation(CDevice& device, const std::string& name, const std::vector<double>& arguments);

}  // namespace test
