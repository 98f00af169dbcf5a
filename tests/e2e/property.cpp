// What a query says is what the instrument holds. Generated commands, valid and invalid, go to every firmware form;
// after each one the answers of all queries are compared with the state that the simulated generator decoded from the
// packets by its own code.
//
// A setting is compared as long as the last packet that carried it was answered 0 or 1 and nothing changed it since.
// It is pending while it is only stored, was refused, or another packet has overwritten its field. Besides the wire's
// rounding these differences are allowed, each because callers rely on it:
//   - RF-out generations 3 and 5: the level that comes back is cut to whole dBm
//   - falling frequency sweeps: their negative step comes back unsigned
//   - a corrected range: a range setting takes its stop from start, count and step of the reply
//   - a range that a mode change or a trigger sends has its own count, and the stored number of points stays
//   - pulse trains: the modulation flag is stored before the train is refused
//   - the trigger source "bus" has the code of "immediate"
//
//   property [COMMANDS_PER_FORM [SEED]]     0 commands: go on for ever
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "scpi_zlt/scpi_zlt.h"

#include "simulator/control.h"

namespace {

using Values = std::vector<double>;

/// One SET packet as the simulator decoded it.
struct Packet {
  std::string parameter;
  std::size_t values = 0;
  bool was_rising = true;  ///< the sweep, in front of the step
  bool corrected = false;  ///< the instrument answered that it took something else
};

class Instrument {
 public:
  Instrument(int number, const std::string& keys) : m_name("SIM" + std::to_string(number)) {
    const std::string resource = m_name + "::" + keys + ",record=1::INSTR::ZLT";
    if (skOpen(0, resource.c_str(), 0, 20000, &m_session) != VI_SUCCESS) {
      std::fprintf(stderr, "%s does not open\n", resource.c_str());
      std::exit(1);
    }
    skSetAttribute(m_session, VI_ATTR_TMO_VALUE, 20000);
  }
  ~Instrument() { skClose(m_session); }
  Instrument(const Instrument&) = delete;
  Instrument& operator=(const Instrument&) = delete;

  void Write(std::string text) const {
    text += '\n';
    unsigned long count = 0;
    skWrite(m_session, reinterpret_cast<unsigned char*>(text.data()), text.size(), &count);
  }
  std::string Ask(const std::string& query) const {
    Write(query);
    std::array<unsigned char, 4096> answer{};
    unsigned long count = 0;
    if (skRead(m_session, answer.data(), answer.size(), &count) != VI_SUCCESS_TERM_CHAR) return "(no answer)";
    return {answer.begin(), answer.begin() + static_cast<long>(count) - 1};
  }
  void Mark() const { simControl((m_name + " mark").c_str()); }
  std::string Look(const std::string& what) const {
    std::string text(1 << 16, '\0');
    const int length = simQuery((m_name + " " + what).c_str(), text.data(), static_cast<int>(text.size()));
    text.resize(static_cast<std::size_t>(std::max(length, 0)));
    return text;
  }
  Values State(const std::string& parameter) const {
    std::istringstream text(Look(parameter));
    Values values;
    for (double value = 0; text >> value;) values.push_back(value);
    return values;
  }
  /// The SET packets since the mark.
  std::vector<Packet> Packets() const {
    std::vector<Packet> packets;
    std::istringstream lines(Look("requests"));
    for (std::string line; std::getline(lines, line);) {
      std::istringstream words(line);
      std::string command;
      Packet packet;
      words >> command >> packet.parameter;
      if (command != "SET") continue;
      packet.values = 1;
      for (const char c : line) packet.values += c == ',';
      packets.push_back(packet);
    }
    return packets;
  }

 private:
  std::string m_name;
  unsigned long m_session = 0;
};

/// The answers of all queries after a step, by query.
using Answers = std::map<std::string, std::string>;

bool IsNear(const std::string& answer, double expected, double tolerance) {
  const double value = std::strtod(answer.c_str(), nullptr);
  return std::abs(value - expected) <= tolerance + 1e-11 * std::abs(expected);
}

/// A setting: its query, the packets that carry it, and whether an answer fits what the instrument holds.
struct Setting {
  const char* query;
  std::vector<const char*> parameters;
  bool (*carried)(const Packet& packet, const Answers& answers);
  bool (*fits)(const std::string& answer, const Packet& packet, const Values& state, const Answers& answers);
};

bool Is(const Answers& answers, const char* query, const char* answer) {
  return answers.at(query) == answer;
}
double Number(const Answers& answers, const char* query) {
  return std::strtod(answers.at(query).c_str(), nullptr);
}
bool IsRising(const Answers& answers) {
  return Number(answers, ":FREQ:STAR?") <= Number(answers, ":FREQ:STOP?");
}
bool IsSecondForm(const Packet& packet) {
  return packet.parameter == "P_RF_OUT2";
}

bool CarriesAlways(const Packet&, const Answers&) {
  return true;
}
bool CarriesCw(const Packet& packet, const Answers& answers) {
  return packet.values == 1 && Is(answers, ":FREQ:MODE?", "FIXed");
}
bool CarriesRange(const Packet& packet, const Answers& answers) {
  return packet.values == 4 && packet.was_rising && IsRising(answers);
}
bool CarriesCwPower(const Packet& packet, const Answers&) {
  return packet.values == (IsSecondForm(packet) ? 5u : 2u);
}
bool CarriesPowerSweep(const Packet& packet, const Answers&) {
  return packet.values == (IsSecondForm(packet) ? 8u : 4u);
}
bool CarriesStrategy(const Packet& packet, const Answers&) {
  return IsSecondForm(packet);
}
bool CarriesModulation(const Packet&, const Answers& answers) {
  return !Is(answers, ":PULM:SOUR:INT?", "PTRain");
}
bool CarriesPolarity(const Packet& packet, const Answers&) {
  return packet.values == 7;
}
bool CarriesPulse(const Packet& packet, const Answers& answers) {
  return CarriesModulation(packet, answers) && Is(answers, ":PULM:STAT?", "on") &&
         Is(answers, ":PULM:SOUR?", "INTernal") && Is(answers, ":PULM:SOUR:INT?", "FRUN");
}

template <std::size_t kIndex>
bool FitsInteger(const std::string& answer, const Packet&, const Values& state, const Answers&) {
  return IsNear(answer, state.at(kIndex), 0.5);
}
template <std::size_t kIndex>
bool FitsSwitch(const std::string& answer, const Packet&, const Values& state, const Answers&) {
  const bool on =
      answer == "ON" || answer == "on" || answer == "EXTernal" || answer == "NEGative" || answer == "INVerted";
  return on == (state.at(kIndex) != 0.0);
}

bool FitsLevel(const std::string& answer, const Packet& packet, const Values& state, const Answers&) {
  const double held = state.at(IsSecondForm(packet) ? 4 : 1);
  return IsNear(answer, held, 1e-4) || (IsSecondForm(packet) && IsNear(answer, std::trunc(held), 1e-9));
}
bool FitsPowerStart(const std::string& answer, const Packet& packet, const Values& state, const Answers&) {
  return IsNear(answer, state.at(IsSecondForm(packet) ? 4 : 1), 1e-4);
}
bool FitsPowerStop(const std::string& answer, const Packet& packet, const Values& state, const Answers&) {
  return !IsSecondForm(packet) || IsNear(answer, state.at(7), 1e-4);
}
bool FitsStrategy(const std::string& answer, const Packet&, const Values& state, const Answers&) {
  static const char* const kNames[] = {"DISTortion", "VSWR", "OPTimal", "SAVing"};
  const int index = static_cast<int>(state.at(1)) - 2;
  return answer == kNames[index >= 0 && index <= 3 ? index : 0];
}
bool FitsStop(const std::string& answer, const Packet& packet, const Values& state, const Answers&) {
  const double derived = state.at(0) + (state.at(1) - 1.0) * state.at(2);
  return IsNear(answer, state.at(3), 1.0) || (packet.corrected && IsNear(answer, derived, 1.0));
}
bool FitsDwell(const std::string& answer, const Packet&, const Values& state, const Answers&) {
  return IsNear(answer, state.at(1) * 1e-9, 1e-15);
}
bool FitsSource(const std::string& answer, const Packet&, const Values& state, const Answers&) {
  const int code = static_cast<int>(state.at(0));
  if (code == 0) return answer == "IMMediate" || answer == "BUS";
  return answer == (code == 4 ? "BUS" : "EXTernal");
}
bool FitsDuration(const std::string& answer, const Packet&, const Values& state, const Answers&) {
  return IsNear(answer, state.at(2) * 1e-6, 1e-12);
}
bool FitsSyncWidth(const std::string& answer, const Packet&, const Values& state, const Answers&) {
  return IsNear(answer, state.at(0) * 1e-9, 1e-15);
}
bool FitsSyncPeriod(const std::string& answer, const Packet&, const Values& state, const Answers&) {
  return IsNear(answer, (state.at(0) + state.at(1)) * 1e-9, 1e-15);
}
bool FitsPhase(const std::string& answer, const Packet&, const Values& state, const Answers&) {
  return IsNear(answer, state.at(0), 1e-9);
}
bool FitsModulationState(const std::string& answer, const Packet&, const Values& state, const Answers&) {
  return (answer == "on") == (state.at(0) == 2.0);
}
bool FitsModulationSource(const std::string& answer, const Packet&, const Values& state, const Answers&) {
  return answer == (state.at(1) == 2.0 ? "EXTernal" : "INTernal");
}
bool FitsPulsePeriod(const std::string& answer, const Packet&, const Values& state, const Answers&) {
  return IsNear(answer, state.at(3) + state.at(4), 1e-9);
}

const Setting kSettings[] = {
    {":FREQ?", {"P_FREQUENCY"}, CarriesCw, FitsInteger<0>},
    {":FREQ:STAR?", {"P_FREQUENCY"}, CarriesRange, FitsInteger<0>},
    {":FREQ:STOP?", {"P_FREQUENCY"}, CarriesRange, FitsStop},
    {":SWE:STEP?", {"P_FREQUENCY"}, CarriesRange, FitsInteger<2>},
    {":POW?", {"P_RF_OUT", "P_RF_OUT2"}, CarriesCwPower, FitsLevel},
    {":POW:STAR?", {"P_RF_OUT", "P_RF_OUT2"}, CarriesPowerSweep, FitsPowerStart},
    {":POW:STOP?", {"P_RF_OUT", "P_RF_OUT2"}, CarriesPowerSweep, FitsPowerStop},
    {":OUTP?", {"P_RF_OUT", "P_RF_OUT2"}, CarriesAlways, FitsSwitch<0>},
    {":POW:ATT:MODE?", {"P_RF_OUT", "P_RF_OUT2"}, CarriesStrategy, FitsStrategy},
    {":SWE:DWEL?", {"P_INTERVAL"}, CarriesAlways, FitsDwell},
    {":TRIG:SOUR?", {"P_SYNC_IN"}, CarriesAlways, FitsSource},
    {":TRIG:SLOP?", {"P_SYNC_IN"}, CarriesAlways, FitsSwitch<1>},
    {":TRIG:AUX:DUR?", {"P_SYNC_OUT"}, CarriesAlways, FitsDuration},
    {":TRIG:AUX:OPOL?", {"P_SYNC_OUT"}, CarriesAlways, FitsSwitch<1>},
    {":TRIG:AUX:PULS:WIDT?", {"P_GEN_SYNC"}, CarriesAlways, FitsSyncWidth},
    {":TRIG:AUX:PULS:PER?", {"P_GEN_SYNC"}, CarriesAlways, FitsSyncPeriod},
    {":ROSC:SOUR?", {"P_EXT_REF_GEN"}, CarriesAlways, FitsSwitch<0>},
    {":ROSC:EXT:FREQ?", {"P_EXT_REF_GEN"}, CarriesAlways, FitsInteger<1>},
    {":PHAS?", {"P_PHASE"}, CarriesAlways, FitsPhase},
    {":PULM:STAT?", {"P_MODULATION"}, CarriesModulation, FitsModulationState},
    {":PULM:SOUR?", {"P_MODULATION"}, CarriesModulation, FitsModulationSource},
    {":PULM:POL?", {"P_MODULATION"}, CarriesPolarity, FitsSwitch<2>},
    {":PULM:INT:PWID?", {"P_MODULATION"}, CarriesPulse, FitsInteger<3>},
    {":PULM:INT:PER?", {"P_MODULATION"}, CarriesPulse, FitsPulsePeriod},
};

/// Queried too, because settings depend on them.
const char* const kFurtherQueries[] = {":FREQ:MODE?", ":PULM:SOUR:INT?"};

using Random = std::mt19937;

template <std::size_t kCount>
std::string Pick(Random& random, const char* const (&from)[kCount]) {
  return from[random() % kCount];
}

std::string SomeNumber(Random& random, double low, double high) {
  char text[32];
  const double place = static_cast<double>(random()) / 4294967296.0;
  std::snprintf(text, sizeof text, random() % 4 == 0 ? "%.3f" : "%.0f", low + place * (high - low));
  return text;
}

/// The text between bars.
std::vector<std::string> Words(const std::string& text) {
  std::istringstream all(text);
  std::vector<std::string> words;
  for (std::string word; std::getline(all, word, '|');) words.push_back(word);
  return words;
}

std::string Command(Random& random) {
  static const char* const kFrequencies[] = {":FREQ", ":FREQ:STAR", ":FREQ:STOP", ":FREQ:CENT", ":FREQ:SPAN"};
  static const char* const kPowers[] = {":POW", ":POW:STAR", ":POW:STOP", ":POW:CENT", ":POW:SPAN"};
  static const char* const kTimes[] = {":SWE:DWEL",           ":LIST:DWEL",    ":TRIG:AUX:DUR", ":TRIG:AUX:PULS:PER",
                                       ":TRIG:AUX:PULS:WIDT", ":PULM:INT:PER", ":PULM:INT:PWID"};
  static const char* const kUnits[] = {"", "S", "MS", "US", "NS"};
  static const char* const kWords[] = {" MIN", " MAX", " DEF"};
  static const char* const kOdd[] = {" NAN", " INF",  " -INF",     " 1E400", " 1E-400",  " -1",
                                     " 0",   " 1E30", " #15hello", " X",     " 1PARSEC", ""};
  static const std::vector<std::string> kSwitches = Words(
      ":FREQ:MODE CW|:FREQ:MODE SWE|:FREQ:MODE LIST|:POW:MODE FIX|:POW:MODE SWE|:POW:MODE LIST|:SWE:SPAC LIN|"
      ":SWE:SPAC LOG|:OUTP ON|:OUTP OFF|:TRIG:SOUR IMM|:TRIG:SOUR EXT|:TRIG:SOUR BUS|:TRIG:SLOP NEG|:TRIG:SLOP POS|"
      ":TRIG:AUX ON|:TRIG:AUX OFF|:TRIG:AUX:INT PULS|:TRIG:AUX:INT POIN|:TRIG:AUX:INT SWE|:TRIG:AUX:OPOL NEG|"
      ":TRIG:AUX:OPOL POS|:LIST:MODE MAN|:LIST:MODE AUTO|:ROSC:SOUR EXT|:ROSC:SOUR INT|:POW:CONT EXT|:POW:CONT INT|"
      ":POW:ATT:MODE OPT|:POW:ATT:MODE DIST|:PULM:STAT ON|:PULM:STAT OFF|:PULM:SOUR EXT|:PULM:SOUR INT|"
      ":PULM:SOUR:INT SQU|:PULM:SOUR:INT PTR|:PULM:SOUR:INT FRUN|:PULM:POL INV|:PULM:POL NORM|:TRIG|*RST|*CLS|"
      ":ABOR|:INIT:CONT OFF|:LIST:FREQ 1GHZ,2GHZ,3GHZ|:LIST:FREQ 1GHZ|:LIST:POW -10,-20,-30|:LIST:POW 0|:LIST:FREQ|"
      ":PULM:INT:TRA:ONT 1,2");
  const auto kind = random() % 12;
  std::string header;
  std::string value;
  if (kind < 3) {
    header = Pick(random, kFrequencies);
    value = " " + SomeNumber(random, -1e9, 2.2e10);
  } else if (kind < 5) {
    header = Pick(random, kPowers);
    value = " " + SomeNumber(random, -110, 40);
  } else if (kind < 7) {
    header = Pick(random, kTimes);
    value = " " + SomeNumber(random, 0, random() % 2 == 0 ? 5 : 500) + Pick(random, kUnits);
  } else if (kind == 7) {
    header = random() % 2 == 0 ? ":SWE:POIN" : ":SWE:STEP";
    value = " " + SomeNumber(random, 0, random() % 2 == 0 ? 20 : 200000);
  } else if (kind == 8) {
    header = random() % 2 == 0 ? ":PHAS" : ":ROSC:EXT:FREQ";
    value = " " + SomeNumber(random, -400, 4e7);
  } else {
    return kSwitches[random() % kSwitches.size()];
  }
  if (random() % 8 == 0) value = Pick(random, kWords);
  if (random() % 12 == 0) value = Pick(random, kOdd);
  return header + value;
}

/// One firmware form under generated commands. Returns what went wrong first, empty if nothing did.
class Walk {
 public:
  Walk(int number, const char* form, unsigned seed)
      : m_form(form), m_seed(seed), m_random(seed), m_instrument(number, "fw=" + std::string(form)) {
    m_answers = AskAll();
  }

  std::string Step() {
    const std::string command = Command(m_random);
    m_history.push_back(command);
    m_instrument.Mark();
    m_instrument.Write(command);
    const Answers before = m_answers;
    m_answers = AskAll();
    const std::vector<Packet> packets = m_instrument.Packets();
    for (const Setting& setting : kSettings) {
      Update(setting, packets, before);
      const std::optional<Packet>& known = m_known[setting.query];
      if (!known) continue;
      const Values state = m_instrument.State(known->parameter);
      const std::string& answer = m_answers.at(setting.query);
      ++m_compared;
      if (!setting.fits(answer, *known, state, m_answers)) return Describe(setting, answer, known->parameter);
    }
    return "";
  }

  long Compared() const { return m_compared; }

 private:
  Answers AskAll() const {
    Answers answers;
    for (const Setting& setting : kSettings) answers[setting.query] = m_instrument.Ask(setting.query);
    for (const char* query : kFurtherQueries) answers[query] = m_instrument.Ask(query);
    return answers;
  }

  /// Decides whether a setting can be compared with the instrument's state after this step.
  void Update(const Setting& setting, const std::vector<Packet>& packets, const Answers& before) {
    std::optional<Packet>& known = m_known[setting.query];
    if (before.at(setting.query) != m_answers.at(setting.query)) known.reset();
    for (Packet packet : packets) {
      packet.was_rising = IsRising(before);
      for (const char* parameter : setting.parameters) {
        if (packet.parameter != parameter) continue;
        const std::string status = m_instrument.Look("status " + packet.parameter);
        known.reset();
        packet.corrected = status == "1";
        if (setting.carried(packet, m_answers) && (status == "0" || status == "1")) known = packet;
      }
      // The lists carry the output state too, in a packet of their own.
      if (packet.parameter == "P_RF_OUT_LIST2" && setting.parameters.front() == std::string("P_RF_OUT")) known.reset();
    }
  }

  std::string Describe(const Setting& setting, const std::string& answer, const std::string& parameter) const {
    std::string text = "form " + m_form + ", seed " + std::to_string(m_seed) + ", step " +
                       std::to_string(m_history.size()) + ": " + setting.query + " answers " + answer + ", but " +
                       parameter + " is " + m_instrument.Look(parameter) + "\n  packets of the last step:\n" +
                       m_instrument.Look("requests") + "\n  last commands:";
    const std::size_t first = m_history.size() > 12 ? m_history.size() - 12 : 0;
    for (std::size_t i = first; i < m_history.size(); ++i) text += "\n    " + m_history[i];
    return text;
  }

  std::string m_form;
  unsigned m_seed;
  Random m_random;
  Instrument m_instrument;
  Answers m_answers;
  std::map<std::string, std::optional<Packet>> m_known;
  std::vector<std::string> m_history;
  long m_compared = 0;
};

}  // namespace

int main(int argc, char** argv) {
  const char* const forms[] = {"g5", "g4", "g3", "g2", "g1", "g0"};
  const long commands = argc > 1 ? std::atol(argv[1]) : 1700;
  const unsigned seed = argc > 2 ? static_cast<unsigned>(std::atol(argv[2])) : 1;
  std::array<std::string, std::size(forms)> failures;
  std::array<long, std::size(forms)> compared{};
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < std::size(forms); ++i) {
    threads.emplace_back([&, i] {
      // A session is short, so that a failure is near its beginning; without an end the seeds go on.
      constexpr long kLength = 200;
      for (long done = 0; failures[i].empty() && (commands == 0 || done < commands); done += kLength) {
        Walk walk(static_cast<int>(100 + i * 100000 + static_cast<std::size_t>(done / kLength)), forms[i],
                  seed + static_cast<unsigned>(done / kLength));
        for (long step = 0; step < kLength && failures[i].empty(); ++step) failures[i] = walk.Step();
        compared[i] += walk.Compared();
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  int failed = 0;
  long all = 0;
  for (std::size_t i = 0; i < std::size(forms); ++i) {
    all += compared[i];
    if (failures[i].empty()) continue;
    ++failed;
    std::fprintf(stderr, "%s\n", failures[i].c_str());
  }
  std::printf("%ld comparisons on %zu firmware forms, %d failed\n", all, std::size(forms), failed);
  return failed == 0 ? 0 : 1;
}
