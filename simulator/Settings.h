// What a resource name or a control call can set on an instrument, and how it is written. docs/simulator.md is the page
// for users; the table of keys in Settings.cpp decides.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "simulator/GeneratorModel.h"
#include "simulator/Profile.h"

namespace sim {

/// A fault that leaves the first `after` packets alone and hits the next `times`.
struct Fault {
  bool on = false;
  std::uint64_t after = 0;
  std::uint64_t times = UINT64_MAX;
  std::int64_t value = 0;

  bool Hits(std::uint64_t packet) const { return on && packet >= after && packet - after < times; }
};

struct Faults {
  Fault silent;  ///< takes the packet and does nothing
  Fault lost;    ///< the link is gone at the write
  Fault drop;    ///< the write succeeds, the link is lost while the reply is awaited
  Fault cut;     ///< only the first `value` bytes of the reply come
  Fault babble;  ///< the reply starts with a wrong signature
  Fault pieces;  ///< the first `value` bytes of the reply come, the rest after the gap
  Fault status;  ///< the reply has the status `value`; below 0 the request is not carried out
};

enum class ClearResult { kWorks, kNotImplemented, kFails };

struct Settings {
  Profile profile;
  std::optional<std::string> model;   ///< that of the profile if not set
  std::optional<std::string> serial;  ///< made from the number of the instrument if not set
  bool files = true;
  Conditions conditions;
  bool input = false;
  std::chrono::nanoseconds latency{0};
  std::chrono::nanoseconds shortest_pass{1000000};
  std::chrono::nanoseconds gap{600000000};
  Faults faults;
  ClearResult clear = ClearResult::kWorks;
  bool narrow = false;  ///< sessions, counts and attributes in 32 bits, statuses without their sign extended
  bool record = false;
};

Settings DefaultSettings();

/// When a key may be given: at the first open only, or also on an instrument in use.
enum class When { kFirstOpen, kAnyTime };

/// Puts one "key=value" into `settings`. Returns what is wrong, in words for a person; empty if nothing is.
std::string ApplyKey(std::string_view key, std::string_view value, When when, Settings& settings);

struct Resource {
  int number = 0;
  std::string keys;  ///< as written, to see whether a later open gives others
  Settings settings;
};

/// "SIM<n>[::key=value[,key=value...]]::INSTR", taken apart. On failure `error` says what is wrong; `is_ours` is false
/// for names that do not start with SIM and a number.
struct ParsedResource {
  Resource resource;
  std::string error;
  bool is_ours = false;
};
ParsedResource ParseResource(std::string_view name);

/// ASCII letters only, whatever the locale.
std::string Lower(std::string_view text);

/// Splits at each separator and trims nothing. The parts are views into `text`.
std::vector<std::string_view> Split(std::string_view text, std::string_view separator);

}  // namespace sim
