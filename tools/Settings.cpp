#include "tools/Settings.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <utility>

namespace {

/// A setting that is written as it is read. Its start value is a text, or the answer to a query that begins with a
/// colon.
struct Setting {
  const char* header;
  const char* start;
};

// ":POW:CONT" comes first because it programs the triggers anew, ":SWE:SPAC" before the range because a new spacing
// goes out with the next change of the range.
constexpr Setting kFirst[] = {
    {":POW:CONT", "INTernal"},
    {":ROSC:EXT:FREQ", "10000000"},
    {":ROSC:SOUR", "INTernal"},
    {":PHAS", "0"},
    {":TRIG:SLOP", "POSitive"},
    {":TRIG:AUX:INT", "SWEep"},
    {":TRIG:AUX:OPOL", "POSitive"},
    {":TRIG:AUX:DUR", "1e-06"},
    {":TRIG:AUX:PULS:PER", "1e-07"},
    {":TRIG:AUX:PULS:WIDT", "5e-08"},
    {":TRIG:AUX", "OFF"},
    {":POW:ATT:MODE", "DISTortion"},
    {":SWE:DWEL", "0"},
    {":SWE:SPAC", "LINear"},
    {":FREQ:STAR", ":FREQ? MIN"},
    {":FREQ:STOP", ":FREQ? MAX"},
};

constexpr Setting kPulses[] = {{":PULM:SOUR", "INTernal"}, {":PULM:SOUR:INT", "FRUN"}, {":PULM:POL", "NORMal"}};

// The source comes before the list mode, which it would undo. The output comes late, when all is set, and sweeping last
// of all: a setting that is sent during a run takes 1.5 s.
constexpr Setting kLast[] = {
    {":POW:MODE", "FIXed"}, {":FREQ:MODE", "FIXed"}, {":TRIG:SOUR", "BUS"}, {":LIST:MODE", "AUTO"},
    {":UNIT:POW", "DBM"},   {":OUTP", "OFF"},        {":INIT:CONT", "off"},
};

class Writer {
 public:
  Writer(const AskFunction& ask, bool all) : m_ask(ask), m_all(all) {}

  std::string Ask(const std::string& header) const { return m_ask(header + "?"); }
  double Number(const std::string& query) const { return std::strtod(m_ask(query).c_str(), nullptr); }
  bool All() const { return m_all; }

  void Add(const std::string& message) { m_messages.push_back(message); }

  void AddSettings(std::span<const Setting> settings) {
    for (const Setting& setting : settings) {
      const std::string value = Ask(setting.header);
      const std::string start = *setting.start == ':' ? m_ask(setting.start) : setting.start;
      if (m_all || value != start) Add(std::string(setting.header) + " " + value);
    }
  }

  std::vector<std::string> Messages() && { return std::move(m_messages); }

 private:
  const AskFunction& m_ask;
  bool m_all;
  std::vector<std::string> m_messages;
};

std::string Text(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.12g", value);
  return text;
}

/// Points and step follow from each other, so one of them is written: the points if the step divides the range into
/// them.
void AddPoints(Writer& writer) {
  const double step = writer.Number(":SWE:STEP?");
  const double points = writer.Number(":SWE:POIN?");
  if (step == 0 && points == 501 && !writer.All()) return;
  const double span = writer.Number(":FREQ:STOP?") - writer.Number(":FREQ:STAR?");
  const bool divides = !std::isnormal(step) || std::fabs(step * (points - 1) - span) <= 1e-9 * std::fabs(span) + points;
  writer.Add(divides ? ":SWE:POIN " + Text(points) : ":SWE:STEP " + Text(step));
}

/// Levels are written in dBm whatever they are read in.
void AddLevels(Writer& writer) {
  const bool in_watts = writer.Ask(":UNIT:POW") == "W";
  const auto level = [&](const std::string& query) {
    const double value = writer.Number(query);
    return in_watts ? std::round(10 * std::log10(value * 1000) * 1e6) / 1e6 : value;
  };
  const double lowest = level(":POW? MIN");
  const double highest = level(":POW? MAX");
  const struct {
    const char* header;
    double start;
  } levels[] = {{":POW:STAR", -20}, {":POW:STOP", 10}, {":POW", lowest}};
  for (const auto& [header, start] : levels) {
    const double value = level(header + std::string("?"));
    if (value < lowest || value > highest) {
      writer.Add("# " + std::string(header) + " reads " + Text(value) + ", which cannot be set");
    } else if (writer.All() || value != start) {
      writer.Add(std::string(header) + " " + Text(value));
    }
  }
}

/// In front of the range: in fixed mode a frequency computes the step anew.
void AddFrequency(Writer& writer) {
  const double start = std::floor((writer.Number(":FREQ? MIN") + writer.Number(":FREQ? MAX")) / 2);
  if (const double value = writer.Number(":FREQ?"); writer.All() || value != start) {
    writer.Add(":FREQ " + Text(value));
  }
}

/// Times below half a second go out as 0 and are read as such. 0 cannot be written: the shortest time is, and becomes 0
/// when the modulation is switched on.
void AddPulses(Writer& writer) {
  writer.AddSettings(kPulses);
  const std::string state = writer.Ask(":PULM:STAT");
  bool to_be_sent = false;
  for (const Setting& time : {Setting{":PULM:INT:PER", "0"}, Setting{":PULM:INT:PWID", "1"}}) {
    const std::string value = writer.Ask(time.header);
    if (value == time.start && (!writer.All() || value == "0")) continue;
    writer.Add(std::string(time.header) + (value == "0" ? " 40NS" : " " + value));
    to_be_sent = to_be_sent || value == "0";
  }
  if (state != "off" || to_be_sent || writer.All()) writer.Add(":PULM:STAT " + (to_be_sent ? "ON" : state));
  if (state == "off" && to_be_sent) writer.Add(":PULM:STAT OFF");
}

void NameWhatCannotBeAsked(Writer& writer) {
  for (const char* const list : {":LIST:FREQ", ":LIST:POW"}) {
    const std::string points = writer.Ask(std::string(list) + ":POIN");
    if (points != "1") writer.Add("# " + std::string(list) + " with " + points + " points cannot be asked for");
  }
}

}  // namespace

std::vector<std::string> SettingsAsMessages(const AskFunction& ask, bool all) {
  Writer writer(ask, all);
  AddFrequency(writer);
  writer.AddSettings(kFirst);
  AddPoints(writer);
  AddLevels(writer);
  AddPulses(writer);
  NameWhatCannotBeAsked(writer);
  writer.AddSettings(kLast);
  return std::move(writer).Messages();
}
