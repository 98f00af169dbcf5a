// The grammar of resource names: one row per key.
#include "simulator/Settings.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace sim {
namespace {

std::string Quote(std::string_view text) {
  return "\"" + std::string(text) + "\"";
}

bool ReadNumber(std::string_view text, double& value) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  return error == std::errc() && end == text.data() + text.size() && std::isfinite(value);
}

template <class Integer>
bool ReadInt(std::string_view text, Integer& value, int base = 10) {
  if (base == 10 && text.starts_with("0x")) return ReadInt(text.substr(2), value, 16);
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
  return error == std::errc() && end == text.data() + text.size() && !text.empty();
}

// Each setter returns what it would accept ("0 or 1") when it refuses a value, else an empty text.
using Wanted = std::string;

Wanted Number(std::string_view text, double low, double high, double& value) {
  double read = 0;
  if (!ReadNumber(text, read) || read < low || read > high) {
    std::array<char, 64> wanted{};
    std::snprintf(wanted.data(), wanted.size(), "a number from %.10g to %.10g", low, high);
    return wanted.data();
  }
  value = read;
  return {};
}

Wanted Switch(std::string_view text, bool& value) {
  if (text != "0" && text != "1") return "0 or 1";
  value = text == "1";
  return {};
}

Wanted Milliseconds(std::string_view text, std::chrono::nanoseconds& value) {
  double milliseconds = 0;
  Wanted wanted = Number(text, 0, 600000, milliseconds);
  if (wanted.empty()) value = std::chrono::nanoseconds(static_cast<std::int64_t>(milliseconds * 1e6));
  return wanted;
}

template <class Value>
struct Choice {
  std::string_view word;
  Value value;
};

template <class Value, std::size_t kSize>
Wanted Pick(std::string_view text, const std::array<Choice<Value>, kSize>& choices, Value& value) {
  Wanted wanted = "one of";
  for (const Choice<Value>& choice : choices) {
    if (choice.word == text) {
      value = choice.value;
      return {};
    }
    wanted += " " + std::string(choice.word);
  }
  return wanted;
}

constexpr std::array<Choice<std::int16_t>, 3> kRefusalWords{
    {{"ignored", SK_PARAMETER_IGNORED}, {"unknown", SK_UNKNOWN_PARAMETER}, {"incorrect", SK_PARAMETER_INCORRECT}}};

Wanted Firmware(std::string_view text, Settings& settings) {
  if (const Profile* profile = FindProfile(text)) {
    settings.profile = *profile;
    return {};
  }
  Wanted wanted = "one of";
  for (const Profile& profile : Profiles()) wanted += " " + std::string(profile.name);
  return wanted;
}

Wanted PointLimits(std::string_view text, Limits& limits) {
  const std::size_t dash = text.find('-');
  double low = 0;
  double high = 0;
  if (dash == std::string_view::npos || !ReadNumber(text.substr(0, dash), low) ||
      !ReadNumber(text.substr(dash + 1), high) || low < 1 || high < low || high > 1e9)
    return "two numbers as in 2-10001, the lower first";
  limits.points_low = std::floor(low);
  limits.points_high = std::floor(high);
  return {};
}

/// "off", or [value@]after[xtimes].
Wanted ReadFault(std::string_view text, bool with_value, std::int64_t low, std::int64_t high, Fault& fault) {
  Wanted wanted = with_value ? "off or VALUE@PACKETS or VALUE@PACKETSxTIMES, as in 10@5x1"
                             : "off or PACKETS or PACKETSxTIMES, as in 5x1";
  Fault read;
  if (text == "off") {
    fault = read;
    return {};
  }
  if (with_value) {
    const std::size_t at = text.find('@');
    if (!ReadInt(text.substr(0, at), read.value) || read.value < low || read.value > high) return wanted;
    text = at == std::string_view::npos ? "0" : text.substr(at + 1);
  }
  const std::size_t times = text.find('x');
  if (!ReadInt(text.substr(0, times), read.after)) return wanted;
  if (times != std::string_view::npos && (!ReadInt(text.substr(times + 1), read.times) || read.times == 0))
    return wanted;
  read.on = true;
  fault = read;
  return {};
}

Wanted StatusFault(std::string_view text, Fault& fault) {
  Wanted wanted = ReadFault(text, true, INT16_MIN, UINT16_MAX, fault);
  fault.value = static_cast<std::int16_t>(fault.value & 0xFFFF);
  return wanted;
}

Wanted Heal(std::string_view, Settings& settings) {
  settings.faults = {};
  settings.clear = ClearResult::kWorks;
  return {};
}

struct Key {
  std::string_view name;
  When when;
  Wanted (*apply)(std::string_view, Settings&);
};

// clang-format off
constexpr auto kFirst = When::kFirstOpen;
constexpr auto kAny = When::kAnyTime;
constexpr std::array<Choice<FrequencyForm>, 3> kForms{
    {{"narrow", FrequencyForm::kNarrow}, {"wide", FrequencyForm::kWide}, {"extended", FrequencyForm::kExtended}}};
constexpr std::array<Choice<RefusalBody>, 3> kBodies{
    {{"none", RefusalBody::kNone}, {"echo", RefusalBody::kEcho}, {"limits", RefusalBody::kLimits}}};
constexpr std::array<Choice<ClearResult>, 3> kClears{
    {{"ok", ClearResult::kWorks}, {"nimpl", ClearResult::kNotImplemented}, {"fail", ClearResult::kFails}}};
constexpr std::array<Choice<bool>, 2> kWidths{{{"64", false}, {"32", true}}};
constexpr std::array<Choice<bool>, 2> kSyncs{{{"5", false}, {"10", true}}};
constexpr std::array<Choice<int>, 6> kGenerations{{{"0", 0}, {"1", 1}, {"2", 2}, {"3", 3}, {"4", 4}, {"5", 5}}};
using Text = std::string_view;

constexpr std::array kKeys{
    // Firmware.
    Key{"fw",       kFirst, [](Text text, Settings& s) { return Firmware(text, s); }},
    Key{"freq",     kFirst, [](Text text, Settings& s) { return Pick(text, kForms, s.profile.frequency); }},
    Key{"rf",       kFirst, [](Text text, Settings& s) { return Pick(text, kGenerations, s.profile.rf_generation); }},
    Key{"sync",     kFirst, [](Text text, Settings& s) { return Pick(text, kSyncs, s.profile.two_sync_channels); }},
    Key{"pol",      kFirst, [](Text text, Settings& s) { return Switch(text, s.profile.polarity_field); }},
    Key{"lists",    kFirst, [](Text text, Settings& s) { return Switch(text, s.profile.lists); }},
    Key{"body",     kFirst, [](Text text, Settings& s) { return Pick(text, kBodies, s.profile.refusal_body); }},
    Key{"refuse",   kFirst, [](Text text, Settings& s) {
          Wanted wanted = Pick(text, kRefusalWords, s.profile.refusals.four_fields);
          if (wanted.empty()) s.profile.refusals.ten_values = s.profile.refusals.four_fields;
          return wanted;
        }},
    Key{"refuse6",  kFirst, [](Text text, Settings& s) { return Pick(text, kRefusalWords, s.profile.refusals.six_bytes); }},
    Key{"refuse10", kFirst, [](Text text, Settings& s) { return Pick(text, kRefusalWords, s.profile.refusals.ten_values); }},
    Key{"refuserf", kFirst, [](Text text, Settings& s) { return Pick(text, kRefusalWords, s.profile.refusals.output_format); }},
    Key{"refuse8",  kFirst, [](Text text, Settings& s) { return Pick(text, kRefusalWords, s.profile.refusals.output_values); }},
    // Limits.
    Key{"fmin",     kFirst, [](Text text, Settings& s) { return Number(text, 0, 1e14, s.profile.limits.frequency_low); }},
    Key{"fmax",     kFirst, [](Text text, Settings& s) { return Number(text, 0, 1e14, s.profile.limits.frequency_high); }},
    Key{"fres",     kFirst, [](Text text, Settings& s) { return Number(text, 1, 1e9, s.profile.limits.frequency_step); }},
    Key{"pmin",     kFirst, [](Text text, Settings& s) { return Number(text, -300, 100, s.profile.limits.power_low); }},
    Key{"pmax",     kFirst, [](Text text, Settings& s) { return Number(text, -300, 100, s.profile.limits.power_high); }},
    Key{"pres",     kFirst, [](Text text, Settings& s) { return Number(text, 0.0001, 10, s.profile.limits.power_step); }},
    Key{"points",   kFirst, [](Text text, Settings& s) { return PointLimits(text, s.profile.limits); }},
    Key{"list",     kFirst, [](Text text, Settings& s) { return Number(text, 1, 1e6, s.profile.limits.list_points); }},
    Key{"rmin",     kFirst, [](Text text, Settings& s) { return Number(text, 0, 4294967295.0, s.profile.limits.reference_low); }},
    Key{"rmax",     kFirst, [](Text text, Settings& s) { return Number(text, 0, 4294967295.0, s.profile.limits.reference_high); }},
    // Identity.
    Key{"model",    kFirst, [](Text text, Settings& s) { s.model = text; return Wanted(); }},
    Key{"serial",   kFirst, [](Text text, Settings& s) { s.serial = text; return Wanted(); }},
    Key{"files",    kFirst, [](Text text, Settings& s) { return Switch(text, s.files); }},
    // States.
    Key{"button",   kAny,   [](Text text, Settings& s) { return Switch(text, s.conditions.button); }},
    Key{"pll",      kAny,   [](Text text, Settings& s) { return Switch(text, s.conditions.pll); }},
    Key{"ref",      kAny,   [](Text text, Settings& s) { return Switch(text, s.conditions.reference); }},
    Key{"level",    kAny,   [](Text text, Settings& s) { return Switch(text, s.conditions.level); }},
    Key{"input",    kAny,   [](Text text, Settings& s) { return Switch(text, s.input); }},
    // Time.
    Key{"latency",  kAny,   [](Text text, Settings& s) { return Milliseconds(text, s.latency); }},
    Key{"pass",     kAny,   [](Text text, Settings& s) { return Milliseconds(text, s.shortest_pass); }},
    Key{"gap",      kAny,   [](Text text, Settings& s) { return Milliseconds(text, s.gap); }},
    // Faults.
    Key{"silent",   kAny,   [](Text text, Settings& s) { return ReadFault(text, false, 0, 0, s.faults.silent); }},
    Key{"lost",     kAny,   [](Text text, Settings& s) { return ReadFault(text, false, 0, 0, s.faults.lost); }},
    Key{"drop",     kAny,   [](Text text, Settings& s) { return ReadFault(text, false, 0, 0, s.faults.drop); }},
    Key{"babble",   kAny,   [](Text text, Settings& s) { return ReadFault(text, false, 0, 0, s.faults.babble); }},
    Key{"cut",      kAny,   [](Text text, Settings& s) { return ReadFault(text, true, 0, 65551, s.faults.cut); }},
    Key{"pieces",   kAny,   [](Text text, Settings& s) { return ReadFault(text, true, 1, 65551, s.faults.pieces); }},
    Key{"status",   kAny,   [](Text text, Settings& s) { return StatusFault(text, s.faults.status); }},
    Key{"clear",    kAny,   [](Text text, Settings& s) { return Pick(text, kClears, s.clear); }},
    Key{"heal",     kAny,   [](Text text, Settings& s) { return Heal(text, s); }},
    // The rest.
    Key{"width",    kFirst, [](Text text, Settings& s) { return Pick(text, kWidths, s.narrow); }},
    Key{"record",   kAny,   [](Text text, Settings& s) { return Switch(text, s.record); }},
};
// clang-format on

std::string CheckLimits(const Limits& limits) {
  if (limits.frequency_low > limits.frequency_high) return "fmin is above fmax";
  if (limits.power_low > limits.power_high) return "pmin is above pmax";
  if (limits.reference_low > limits.reference_high) return "rmin is above rmax";
  return {};
}

std::string ReadKeys(std::string_view keys, Settings& settings) {
  for (const std::string_view part : Split(keys, ",")) {
    const std::size_t equals = part.find('=');
    if (equals == std::string_view::npos) return Quote(part) + " is not of the form key=value";
    std::string error = ApplyKey(part.substr(0, equals), part.substr(equals + 1), When::kFirstOpen, settings);
    if (!error.empty()) return error;
  }
  return CheckLimits(settings.profile.limits);
}

}  // namespace

Settings DefaultSettings() {
  Settings settings;
  settings.profile = Profiles().front();
  return settings;
}

std::string ApplyKey(std::string_view key, std::string_view value, When when, Settings& settings) {
  const std::string lower = Lower(key);
  for (const Key& row : kKeys) {
    if (row.name != lower) continue;
    if (when == When::kAnyTime && row.when == When::kFirstOpen)
      return "key " + Quote(key) + " can only be given in the resource name, at the first open";
    const bool as_written = row.name == "model" || row.name == "serial";
    Wanted wanted = row.apply(as_written ? std::string(value) : Lower(value), settings);
    return wanted.empty() ? std::string() : "key " + Quote(key) + " wants " + wanted + ", not " + Quote(value);
  }
  std::string error = "unknown key " + Quote(key) + "; the keys are";
  for (const Key& row : kKeys) {
    if (when == When::kFirstOpen || row.when == When::kAnyTime) error += " " + std::string(row.name);
  }
  return error;
}

ParsedResource ParseResource(std::string_view name) {
  ParsedResource parsed;
  parsed.resource.settings = DefaultSettings();
  const std::vector<std::string_view> parts = Split(name, "::");
  const std::string head = Lower(parts.front());
  if (!head.starts_with("sim") || !ReadInt(std::string_view(head).substr(3), parsed.resource.number) ||
      parsed.resource.number < 0) {
    parsed.error = "the simulator's names are SIM<n>::INSTR and SIM<n>::key=value[,key=value...]::INSTR";
    return parsed;
  }
  parsed.is_ours = true;
  if (parts.size() < 2 || Lower(parts.back()) != "instr") {
    parsed.error = "the name has to end in ::INSTR";
  } else if (parts.size() > 3) {
    parsed.error = "the keys have to be in one group, with commas between them";
  } else if (parts.size() == 3) {
    parsed.resource.keys = parts[1];
    parsed.error = ReadKeys(parts[1], parsed.resource.settings);
  }
  return parsed;
}

std::string Lower(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
  return lower;
}

std::vector<std::string_view> Split(std::string_view text, std::string_view separator) {
  std::vector<std::string_view> parts;
  for (;;) {
    const std::size_t at = text.find(separator);
    parts.push_back(text.substr(0, at));
    if (at == std::string_view::npos) return parts;
    text.remove_prefix(at + separator.size());
  }
}

}  // namespace sim
