// A generator model over a scripted instrument of one of three firmware generations, opened by its own start-up
// probing, and driven by lines of text, so that a test is a table. Everything that goes out is kept as text too.
//
// The run thread is played (SettingsBench.cpp): it polls nothing, so that "CANCEL" and "RUN 0" stand in the log at the
// places where they fall.
#pragma once

#include <cstdint>
#include <deque>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/unit/src/DeviceBench.h"

namespace test {

/// kNew: four-field frequency, ten-value sync, generation 5. kMiddle: three fields of six bytes, five-value sync,
/// generation 2. kOld: three fields of four bytes, five-value sync, generation 0.
enum class Firmware { kNew, kMiddle, kOld };

/// A device whose run is played.
class PlayedDevice : public BenchDevice {
 public:
  explicit PlayedDevice(std::vector<std::string>& log) : m_log(log) {}

 protected:
  std::unique_ptr<CRunThread> MakeRunThread(ExchangeGate& gate) override;

 private:
  std::vector<std::string>& m_log;
};

class SettingsBench {
 public:
  explicit SettingsBench(Firmware firmware, int generation = -1);

  /// Calls of CDevice, separated by ";", each a name and numbers: "SetFreqMode 2; SetDwell 0.25". Returns what was
  /// asked for, with blanks between.
  ///   =SetFreqMode 2        the status of a call
  ///   F.start 1e9           SetFrequency with a plain value; P.start likewise SetPower
  ///   F? start stop         GetFrequency; P? likewise GetPower
  ///   SetX? / GetX          a getter answers its value
  ///   :FREQ 1GHZ           a message; answers its response, then the numbers of its errors
  ///   answer MODE 2 7 8     the next SK_SET of P_MODE (GET_MODE: SK_GET) gets this status and these values
  ///   bare MODE 2           the same without a body
  ///   lost                  the next write finds the link gone
  ///   sweep                 a frequency sweep under way, triggered immediately; forgets the log
  ///   forget                forgets the log
  std::string Do(const std::string& script);
  /// What went out since the last look, joined by " | ": "MODE 2.0 [1]" for an SK_SET, "GET MODE", "RESET".
  std::string TakeLog();
  /// The same as letters: P a packet, C a cancelled run, R a run without end, 1 a run of one poll.
  std::string TakePattern();

  std::vector<std::string> m_log;
  ScriptedProvider provider;
  PlayedDevice device{m_log};

 private:
  using Words = std::vector<std::string>;
  struct Exception {
    std::string line;
    std::int16_t status;
    std::vector<double> values;
    bool bare;
  };
  std::string Say(std::string message);
  std::string DoOne(const Words& words);
  Bytes Respond(std::span<const unsigned char> request);
  Bytes Probe(const std::string& line, std::span<const unsigned char> request) const;

  Firmware m_firmware;
  int m_generation;
  bool m_probing = true;
  std::deque<Exception> m_exceptions;
};

struct SettingsCase {
  const char* name;
  Firmware firmware;
  int generation;  ///< -1: that of the firmware
  const char* script;
  const char* packets;
  const char* model;  ///< what the script answers
};
void RunSettings(std::initializer_list<SettingsCase> cases);

}  // namespace test
