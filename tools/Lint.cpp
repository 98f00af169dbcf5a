#include "tools/Lint.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <map>
#include <span>
#include <string_view>

#include "client/MessageScanner.h"
#include "tools/CommandReference.h"

namespace {

/// A message of one command.
struct Unit {
  std::string header;     ///< without the question mark
  std::string parameter;  ///< in capitals
  bool query = false;
  const CommandEntry* command = nullptr;  ///< null for an unknown header
};

Unit Parse(const std::string& text) {
  Unit unit;
  const std::size_t start = std::min(text.find_first_not_of(' '), text.size());
  const std::size_t end = std::min(text.find(' ', start), text.size());
  unit.header = text.substr(start, end - start);
  unit.query = unit.header.ends_with('?');
  if (unit.query) unit.header.pop_back();
  unit.parameter = text.substr(std::min(text.find_first_not_of(' ', end), text.size()));
  while (!unit.parameter.empty() && std::isspace(static_cast<unsigned char>(unit.parameter.back())) != 0) {
    unit.parameter.pop_back();
  }
  for (char& c : unit.parameter) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  unit.command = FindCommand(unit.header);
  return unit;
}

std::vector<Unit> Units(const std::string& message) {
  std::vector<Unit> units;
  for (std::size_t at = 0; at <= message.size();) {
    const std::size_t end = std::min(message.find(';', at), message.size());
    units.push_back(Parse(message.substr(at, end - at)));
    at = end + 1;
  }
  return units;
}

bool Is(const Unit& unit, const char* header) {
  return unit.command != nullptr && unit.command == FindCommand(header);
}

bool IsWord(const std::string& parameter) {
  return !parameter.empty() && std::isalpha(static_cast<unsigned char>(parameter.front())) != 0;
}

/// A number with a unit in the base unit; nothing for anything else.
std::optional<double> Number(const std::string& parameter) {
  static const std::map<std::string, double> units = {{"", 1},      {"HZ", 1},  {"KHZ", 1e3}, {"MHZ", 1e6},
                                                      {"GHZ", 1e9}, {"S", 1},   {"MS", 1e-3}, {"US", 1e-6},
                                                      {"NS", 1e-9}, {"DBM", 1}, {"DB", 1}};
  char* end = nullptr;
  const double value = std::strtod(parameter.c_str(), &end);
  if (end == parameter.c_str() || IsWord(parameter)) return std::nullopt;
  const std::string_view rest(end);
  const auto unit = units.find(std::string(rest.substr(std::min(rest.find_first_not_of(' '), rest.size()))));
  if (unit == units.end()) return std::nullopt;
  return value * unit->second;
}

enum class Form { kSet, kQuery };

/// One surprise that shows in the text of a command, or in that of those before it.
struct Row {
  const char* header;
  Form form;
  bool (*applies)(const std::string& parameter, const ScriptState& state);
  const char* text;
  const char* anchor;  ///< of its paragraph in docs/surprises.md
};

bool Always(const std::string&, const ScriptState&) {
  return true;
}
bool IsOne(const std::string& parameter, const ScriptState&) {
  return parameter == "1";
}
bool IsLimitWord(const std::string& parameter, const ScriptState&) {
  return parameter.starts_with("MIN") || parameter.starts_with("MAX") || parameter.starts_with("DEF");
}
bool IsImmediate(const std::string& parameter, const ScriptState&) {
  return parameter.starts_with("IMM");
}
bool IsLogarithmic(const std::string& parameter, const ScriptState&) {
  return parameter.starts_with("LOG");
}
bool IsWatts(const std::string& parameter, const ScriptState&) {
  return parameter == "W";
}
bool IsTrain(const std::string& parameter, const ScriptState&) {
  return parameter.starts_with("PTR");
}
bool IsBelowASecond(const std::string& parameter, const ScriptState&) {
  return Number(parameter).value_or(1) < 0.5;
}
bool SwitchesOnUnsent(const std::string& parameter, const ScriptState& state) {
  return (parameter == "ON" || parameter == "1") && !state.frequency_sent;
}
bool SweepsFrequencyWithoutStep(const std::string& parameter, const ScriptState& state) {
  return parameter.starts_with("SWE") && !state.frequency_step;
}
bool SweepsPowerWithoutStep(const std::string& parameter, const ScriptState& state) {
  return parameter.starts_with("SWE") && !state.power_step;
}
bool SweepsDown(const std::string& parameter, const ScriptState& state) {
  return parameter.starts_with("SWE") && state.start && state.stop && *state.start > *state.stop;
}
bool ListsDiffer(const std::string& parameter, const ScriptState& state) {
  return parameter == "LIST" && state.frequencies != state.powers && state.frequencies > 1 && state.powers > 1;
}
bool StepsWithoutTrigger(const std::string& parameter, const ScriptState& state) {
  return parameter.starts_with("MAN") && !state.external_trigger;
}
bool InWatts(const std::string&, const ScriptState& state) {
  return state.in_watts;
}

constexpr const char* kNoLimit = "answers what is set: there is no limit to ask for";
constexpr const char* kLevelWord = "MIN, MAX and DEF set 0 dBm; ask for the limit and write the number";
constexpr const char* kWholeSeconds = "pulse times go out in whole seconds, this one as 0";

constexpr Row kRows[] = {
    {":INIT:CONT", Form::kSet, IsOne, "1 means off here; say ON", "one-means-off"},
    {":PULM:STAT", Form::kSet, IsOne, "1 means off here; say ON", "one-means-off"},
    {"*RST", Form::kSet, Always, "resets no setting, and ends a sweep", "rst-resets-nothing"},
    {"*OPC", Form::kQuery, Always, "answers at once, whatever runs", "opc-answers-at-once"},
    {":POW:ATT", Form::kQuery, Always, "leaves an entry 1 in the error queue", "attenuation-leaves-an-error"},
    {":POW", Form::kSet, IsLimitWord, kLevelWord, "min-sets-0-dbm"},
    {":POW:STAR", Form::kSet, IsLimitWord, kLevelWord, "min-sets-0-dbm"},
    {":POW:STOP", Form::kSet, IsLimitWord, kLevelWord, "min-sets-0-dbm"},
    {":POW:CENT", Form::kSet, IsLimitWord, kLevelWord, "min-sets-0-dbm"},
    {":POW:SPAN", Form::kSet, IsLimitWord, "MIN, MAX and DEF set 0 dB; write the number", "min-sets-0-dbm"},
    {":UNIT:POW", Form::kSet, IsWatts, "watts are for answers only; settings stay dBm", "watts-are-for-answers"},
    {":SWE:SPAC", Form::kSet, IsLogarithmic,
     "goes out with the next change of the range, overwrites the frequency list, and "
     "makes the last step larger",
     "spacing-goes-out-later"},
    {":TRIG:SOUR", Form::kSet, IsImmediate, "a sweep that takes longer than a second is broken off; BUS has no limit",
     "immediate-source-cuts-short"},
    {":LIST:MODE", Form::kSet, StepsWithoutTrigger, "steps by triggers only if :TRIG:SOUR EXT was written before",
     "source-before-list-mode"},
    {":TRIG", Form::kSet, Always, "starts no sweep; :INIT does", "trig-starts-nothing"},
    {":ABOR", Form::kSet, Always, "leaves :INIT:CONT on, so the next sweep setting starts again",
     "abort-leaves-continuous-on"},
    {":LIST:DWEL", Form::kQuery, Always, "answers whole seconds; :SWE:DWEL? is exact", "list-dwell-in-whole-seconds"},
    {":PULM:INT:PWID", Form::kSet, IsBelowASecond, kWholeSeconds, "numbers-that-wrap"},
    {":PULM:INT:PER", Form::kSet, IsBelowASecond, kWholeSeconds, "numbers-that-wrap"},
    {":OUTP", Form::kSet, SwitchesOnUnsent, "no frequency was sent since opening; write :FREQ first",
     "opening-programs"},
    {":FREQ:MODE", Form::kSet, SweepsFrequencyWithoutStep,
     "no step is set, so one point goes out; write start, stop or points first", "no-step-after-opening"},
    {":POW:MODE", Form::kSet, SweepsPowerWithoutStep,
     "no step is set, so a step of 0 goes out; write start, stop or points first", "no-step-after-opening"},
    {":FREQ:MODE", Form::kSet, SweepsDown,
     "a falling sweep is right on its first send only; before the next one write :FREQ:MODE FIX, start and stop again",
     "falling-sweep"},
    {":POW:MODE", Form::kSet, ListsDiffer, "refused, because the lists differ in length, but reads as LIST",
     "lists-that-differ"},
    {":POW:SPAN", Form::kQuery, InWatts, "of no use in watts; write :UNIT:POW DBM first", "power-span-in-watts"},
    {":SWE:DWEL", Form::kQuery, IsLimitWord, kNoLimit, "limits"},
    {":LIST:DWEL", Form::kQuery, IsLimitWord, kNoLimit, "limits"},
    {":SWE:STEP", Form::kQuery, IsLimitWord, kNoLimit, "limits"},
    {":TRIG:AUX:DUR", Form::kQuery, IsLimitWord, kNoLimit, "limits"},
    {":TRIG:AUX:PULS:PER", Form::kQuery, IsLimitWord, kNoLimit, "limits"},
    {":TRIG:AUX:PULS:WIDT", Form::kQuery, IsLimitWord, kNoLimit, "limits"},
    {":ROSC:EXT:FREQ", Form::kQuery, IsLimitWord, kNoLimit, "limits"},
    {":PHAS", Form::kQuery, IsLimitWord, kNoLimit, "limits"},
    {":PULM:SOUR:INT", Form::kSet, IsTrain, "a pulse train can be stored, not started", "train-cannot-start"},
};

std::string Linked(const std::string& text, const char* anchor) {
  return text + " (docs/surprises.md#" + anchor + ")";
}

bool IsAnyOf(const Unit& unit, std::span<const char* const> headers) {
  return !unit.query &&
         std::any_of(headers.begin(), headers.end(), [&](const char* header) { return Is(unit, header); });
}

bool IsRange(const Unit& unit) {
  static constexpr const char* kRange[] = {":FREQ:STAR", ":FREQ:STOP", ":FREQ:CENT",
                                           ":FREQ:SPAN", ":SWE:POIN",  ":SWE:STEP"};
  return IsAnyOf(unit, kRange);
}

bool IsPowerRange(const Unit& unit) {
  static constexpr const char* kRange[] = {":POW:STAR", ":POW:STOP", ":POW:CENT", ":POW:SPAN", ":SWE:POIN"};
  return IsAnyOf(unit, kRange);
}

void Follow(const Unit& unit, ScriptState& state) {
  if (unit.query) return;
  const auto points = [&unit] {
    return static_cast<std::size_t>(std::count(unit.parameter.begin(), unit.parameter.end(), ',')) + 1;
  };
  const bool frequency = Is(unit, ":FREQ");
  const bool mode = Is(unit, ":FREQ:MODE");
  if (mode) state.sweeps = unit.parameter.starts_with("SWE");
  state.frequency_sent |= frequency || (mode && (state.sweeps || unit.parameter == "LIST"));
  state.frequency_step |= frequency || IsRange(unit);
  state.power_step |= IsPowerRange(unit);
  if (Is(unit, ":FREQ:STAR")) state.start = Number(unit.parameter);
  if (Is(unit, ":FREQ:STOP")) state.stop = Number(unit.parameter);
  if (Is(unit, ":FREQ:CENT") || Is(unit, ":FREQ:SPAN")) state.start = state.stop = std::nullopt;
  if (Is(unit, ":TRIG:SOUR")) state.external_trigger = unit.parameter.starts_with("EXT");
  if (Is(unit, ":UNIT:POW")) state.in_watts = unit.parameter == "W";
  if (Is(unit, ":LIST:FREQ")) state.frequencies = points();
  if (Is(unit, ":LIST:POW")) state.powers = points();
}

}  // namespace

std::vector<std::string> Surprises::Of(const std::string& message) {
  std::vector<std::string> found;
  const std::vector<Unit> units = Units(message);
  for (const Unit& unit : units) {
    for (const Row& row : kRows) {
      if (Is(unit, row.header) && unit.query == (row.form == Form::kQuery) && row.applies(unit.parameter, m_state)) {
        found.push_back(Linked(row.text, row.anchor));
      }
    }
    if (IsRange(unit)) {
      found.push_back(Linked(
          m_state.sweeps ? "in sweep mode older firmware refuses this without a word; write :FREQ:MODE SWE after it"
                         : "is only stored until :FREQ:MODE SWE",
          "range-then-mode"));
    }
    Follow(unit, m_state);
  }
  if (message.size() > 1 && message[1] == ' ') {
    found.push_back(Linked("a lone character in front is cut off, and the rest is carried out", "lone-character"));
  }
  if (units.size() < 2) return found;
  if (!units.front().query) {
    found.push_back(Linked("a setting before another command can leave an empty line; write it on a line of its own",
                           "setting-before-a-command"));
  }
  if (scpi_zlt::IsQuery(message) && !units.back().query) {
    found.push_back(Linked("a query before a setting has no line end; put it last", "query-before-a-setting"));
  }
  return found;
}

bool IsPulseSetting(const std::string& message) {
  const Unit unit = Units(message).front();
  return !unit.query && (Is(unit, ":PULM:INT:PWID") || Is(unit, ":PULM:INT:PER"));
}

bool SendsPulseSettings(const std::string& message) {
  const Unit unit = Units(message).front();
  return !unit.query && Is(unit, ":PULM:STAT");
}

std::optional<std::string> ReadBackDifference(const std::string& message, const QueryFunction& ask) {
  const std::vector<Unit> units = Units(message);
  const Unit& unit = units.front();
  const bool has_query = unit.command != nullptr && std::string_view(unit.command->forms) == "set, query";
  if (units.size() > 1 || unit.query || !has_query || unit.parameter.empty()) return std::nullopt;
  if (unit.parameter.find(',') != std::string::npos || unit.header.starts_with('*')) return std::nullopt;
  // Levels and the span are written in dBm and dB, and may be read in watts.
  const bool level = std::string_view(unit.command->parameter).find("DB") != std::string_view::npos;
  if (level && !Is(unit, ":UNIT:POW") && ask(":UNIT:POW?") == "W") return std::nullopt;

  // This one's own query answers whole seconds.
  const std::optional<std::string> answer = ask(Is(unit, ":LIST:DWEL") ? ":SWE:DWEL?" : unit.header + "?");
  std::string wanted = unit.parameter;
  if (IsLimitWord(wanted, {}) && *unit.command->words == 'M') wanted = ask(unit.header + "? " + wanted).value_or("");
  if (!answer || wanted.empty()) return std::nullopt;
  const std::optional<double> asked = Number(wanted);
  const std::string& got = *answer;
  bool same = false;
  if (wanted == "0" || wanted == "1") {
    const Unit read = Parse("X " + got);
    same = read.parameter == (wanted == "1" ? "ON" : "OFF") || got == wanted;
  } else if (asked) {
    const double value = std::strtod(got.c_str(), nullptr);
    // The phase is of single precision on the link.
    const double tolerance = Is(unit, ":PHAS") ? 1e-7 : 1e-9;
    same = std::fabs(value - *asked) <= tolerance * std::max(std::fabs(value), std::fabs(*asked));
  } else {
    // The answer is spelled as in the reference: capitals are the short form.
    const Unit read = Parse("X " + got);
    same = read.parameter.starts_with(wanted) || (wanted == "CW" && read.parameter == "FIXED");
  }
  if (same) return std::nullopt;
  return "reads back as " + got + ", not " + wanted;
}
