#include "tools/SweepPlan.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "tools/Plot.h"
#include "tools/ToolError.h"

namespace {

std::string Number(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.12g", value);
  return text;
}

std::string Joined(const std::vector<double>& values) {
  std::string text;
  for (const double value : values) text += (text.empty() ? "" : ",") + Number(value);
  return text;
}

double Decibels(const scpi_zlt::Network& network, std::size_t point) {
  return 20 * std::log10(std::abs(network.At(point, 2, 1)));
}

/// `hertz` lies within the file.
double DecibelsAt(const scpi_zlt::Network& network, double hertz) {
  const auto& frequencies = network.frequency_hz;
  const auto above = std::lower_bound(frequencies.begin(), frequencies.end(), hertz);
  const auto upper = static_cast<std::size_t>(above - frequencies.begin());
  if (*above == hertz) return Decibels(network, upper);
  const double share = (hertz - frequencies[upper - 1]) / (*above - frequencies[upper - 1]);
  return Decibels(network, upper - 1) * (1 - share) + Decibels(network, upper) * share;
}

}  // namespace

std::vector<double> Frequencies(const SweepPlan& plan) {
  std::vector<double> frequencies;
  for (int i = 0; i < plan.points; ++i) {
    const double share = plan.points > 1 ? i / (plan.points - 1.0) : 0;
    frequencies.push_back(std::round(plan.start_hz + share * (plan.stop_hz - plan.start_hz)));
  }
  return frequencies;
}

std::vector<double> LevelsThrough(const SweepPlan& plan, const scpi_zlt::Network& network, const std::string& file) {
  if (network.ports != 2 || network.parameter != 'S') {
    throw ToolError(file + ": not a two-port with S-parameters", kFileFailed);
  }
  const std::vector<double> frequencies = Frequencies(plan);
  const auto [lowest, highest] = std::minmax_element(frequencies.begin(), frequencies.end());
  if (*lowest < network.frequency_hz.front() || *highest > network.frequency_hz.back()) {
    throw ToolError(file + ": covers " + FrequencyText(network.frequency_hz.front()) + " to " +
                        FrequencyText(network.frequency_hz.back()) + ", not the whole sweep",
                    kFileFailed);
  }
  std::vector<double> levels;
  for (const double hertz : frequencies) {
    constexpr double kHundredths = 100;
    levels.push_back(std::round((plan.level_dbm - DecibelsAt(network, hertz)) * kHundredths) / kHundredths);
  }
  return levels;
}

void CheckLevels(const SweepPlan& plan, const std::vector<double>& levels, const LevelLimits& limits) {
  const auto outside = [&limits](double level) { return !(level >= limits.lowest_dbm && level <= limits.highest_dbm); };
  const auto first = std::find_if(levels.begin(), levels.end(), outside);
  if (first == levels.end()) return;
  const double hertz = Frequencies(plan)[static_cast<std::size_t>(first - levels.begin())];
  const std::string range = Number(limits.lowest_dbm) + " to " + Number(limits.highest_dbm) + " dBm";
  const std::string what = levels.size() == 1
                               ? "--level " + Number(*first) + " is outside of " + range
                               : std::to_string(std::count_if(levels.begin(), levels.end(), outside)) + " of " +
                                     std::to_string(levels.size()) + " points need a level outside of " + range +
                                     ", the first " + Number(*first) + " dBm at " + FrequencyText(hertz);
  throw ToolError(what + "; choose another --level. Nothing was sent", kMessageFailed);
}

std::vector<std::string> SetUpMessages(const SweepPlan& plan, const std::vector<double>& levels) {
  // What a shared instrument may have been left with: a run, a source that breaks off after a second, other spacing.
  std::vector<std::string> messages = {":INIT:CONT OFF", ":FREQ:MODE FIX", ":POW:MODE FIX", ":TRIG:SOUR BUS",
                                       ":SWE:DWEL " + Number(plan.dwell_s)};
  if (levels.empty()) {
    for (const std::string& message : {std::string(":SWE:SPAC LIN"), ":FREQ:STAR " + Number(plan.start_hz),
                                       ":FREQ:STOP " + Number(plan.stop_hz), ":SWE:POIN " + std::to_string(plan.points),
                                       ":POW " + Number(plan.level_dbm), std::string(":FREQ:MODE SWE")}) {
      messages.push_back(message);
    }
  } else {
    messages.push_back(":LIST:FREQ " + Joined(Frequencies(plan)));
    messages.push_back(":LIST:POW " + Joined(levels));
    messages.push_back(":FREQ:MODE LIST");
    messages.push_back(":POW:MODE LIST");
  }
  messages.push_back(":OUTP ON");
  // Some firmware leaves whole dBm in the model, which switching the output on sends: the level once more, exactly.
  if (levels.empty() && plan.level_dbm != std::floor(plan.level_dbm))
    messages.push_back(":POW " + Number(plan.level_dbm));
  return messages;
}
