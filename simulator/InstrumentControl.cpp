// What tests and people at the bench do to an instrument in use: triggers, states, faults, questions.
#include <algorithm>
#include <array>
#include <charconv>

#include "simulator/Instrument.h"
#include "simulator/PacketText.h"

namespace sim {
namespace {

constexpr std::chrono::seconds kLongestAwait{10};

bool ReadCount(std::string_view text, std::uint64_t& count) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
  return error == std::errc() && end == text.data() + text.size();
}

}  // namespace

bool Instrument::IsHeld() const {
  return std::any_of(m_links.begin(), m_links.end(),
                     [](const Link* link) { return link->m_run && link->m_run->triggers_left > 0; });
}

std::string Instrument::Control(std::string_view word) {
  const std::size_t equals = word.find('=');
  const std::string key = Lower(word.substr(0, equals));
  const std::string_view value = equals == std::string_view::npos ? std::string_view() : word.substr(equals + 1);
  if (key == "await") return Await(value);
  std::string error;
  {
    const Lock lock(m_lock);
    if (LogIsOn()) LogLine(m_number, "-- " + std::string(word));
    std::uint64_t count = 1;
    if (key == "trigger") {
      if (!value.empty() && (!ReadCount(value, count) || count == 0)) return "trigger wants a number above 0";
      // A pulse has both edges.
      Trigger(count, true);
      Trigger(count, false);
    } else if (key == "mark") {
      m_record.clear();
      m_settings.record = true;
    } else {
      const bool input = m_settings.input;
      error = ApplyKey(key, value, When::kAnyTime, m_settings);
      m_model.States() = m_settings.conditions;
      if (error.empty()) CountFromNow(key);
      if (m_settings.input != input) Trigger(1, m_settings.input);
    }
  }
  m_changed.notify_all();
  return error;
}

/// A fault that is set on an instrument in use counts packets from now on. Lifting "lost" or "drop" mends the link.
void Instrument::CountFromNow(std::string_view key) {
  struct Row {
    std::string_view key;
    Fault Faults::*fault;
  };
  constexpr std::array<Row, 7> kRows{{{"silent", &Faults::silent},
                                      {"lost", &Faults::lost},
                                      {"drop", &Faults::drop},
                                      {"cut", &Faults::cut},
                                      {"babble", &Faults::babble},
                                      {"pieces", &Faults::pieces},
                                      {"status", &Faults::status}}};
  for (const Row& row : kRows) {
    if (row.key == key) (m_settings.faults.*row.fault).after += m_packets;
  }
  if (!m_settings.faults.lost.on && !m_settings.faults.drop.on) m_lost = false;
  if (m_settings.faults.lost.Hits(m_packets)) m_lost = true;
}

/// "held": until a run waits for a trigger. "run": until one is under way or held. "packets:N", "passes:N": until N
/// have been counted.
std::string Instrument::Await(std::string_view what) {
  std::uint64_t wanted = 0;
  const std::size_t colon = what.find(':');
  const std::string_view kind = what.substr(0, colon);
  const bool counts = kind == "packets" || kind == "passes";
  if (counts ? colon == std::string_view::npos || !ReadCount(what.substr(colon + 1), wanted)
             : what != "held" && what != "run")
    return "await wants held, run, packets:N or passes:N";
  Lock lock(m_lock);
  const bool came = m_changed.wait_for(lock, kLongestAwait, [&] {
    if (kind == "packets") return m_packets >= wanted;
    if (kind == "passes") return m_passes >= wanted;
    if (kind == "held") return IsHeld();
    return std::any_of(m_links.begin(), m_links.end(), [](const Link* link) { return link->m_run.has_value(); });
  });
  return came ? std::string() : "await=" + std::string(what) + ": not within 10 s";
}

std::string Instrument::StateText() const {
  const Conditions& states = m_model.States();
  const auto digit = [](bool state) { return state ? "1" : "0"; };
  return std::string("button=") + digit(states.button) + " pll=" + digit(states.pll) +
         " ref=" + digit(states.reference) + " level=" + digit(states.level) + " input=" + digit(m_settings.input);
}

/// "none" while no packet has set the parameter.
std::string Instrument::StatusOfSet(std::string_view name, bool& known) const {
  const int parameter = ParameterNumber(name);
  known = parameter >= 0;
  const auto found = m_set_status.find(parameter);
  return found == m_set_status.end() ? "none" : std::to_string(found->second);
}

std::string Instrument::Query(std::string_view what, bool& known) {
  const Lock lock(m_lock);
  known = true;
  if (what == "packets") return std::to_string(m_packets);
  if (what == "passes") return std::to_string(m_passes);
  if (what == "held") return IsHeld() ? "1" : "0";
  if (what == "state") return StateText();
  if (what == "links") return std::to_string(m_links.size());
  if (what == "requests") {
    std::string text;
    for (const std::string& line : m_record) text += line + "\n";
    return text;
  }
  if (what.starts_with("status ")) return StatusOfSet(what.substr(7), known);
  const int parameter = ParameterNumber(what);
  known = parameter >= 0;
  return known ? NumbersText(m_model.Values(static_cast<std::uint16_t>(parameter))) : std::string();
}

}  // namespace sim
