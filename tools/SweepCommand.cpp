// No command says that a sweep is over. But "*STB?" needs the link, which a running sweep holds, and waits 400 ms for
// its turn; so an answer that comes sooner means the end.
#include "tools/SweepCommand.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>

#include "tools/Plot.h"
#include "tools/SweepPlan.h"
#include "tools/TalkCommands.h"
#include "tools/ToolError.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kQuick{300};
/// How often the progress is shown.
constexpr milliseconds kStep{200};
/// On top of the time by plan: what starting takes.
constexpr milliseconds kStart{100};
/// A sweep that takes this much longer than planned does not end any more.
constexpr milliseconds kGrace{60000};

struct SweepArguments {
  std::shared_ptr<TalkArguments> talk;
  SweepPlan plan;
  std::string through;
  bool leave_on = false;
};

std::string Seconds(milliseconds time) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f s", std::chrono::duration<double>(time).count());
  return text;
}

milliseconds Since(steady_clock::time_point start) {
  return std::chrono::duration_cast<milliseconds>(steady_clock::now() - start);
}

LevelLimits AskLimits(Conversation& conversation) {
  const auto ask = [&](const char* query) { return conversation.Demand(query, "nothing was sent"); };
  const bool in_watts = ask(":UNIT:POW?") == "W";
  const auto level = [&](const char* query) {
    const double value = std::strtod(ask(query).c_str(), nullptr);
    return in_watts ? 10 * std::log10(value * 1000) : value;
  };
  return {level(":POW? MIN"), level(":POW? MAX")};
}

/// True once the sweep has ended, false when the person interrupted.
bool WaitForEnd(Conversation& conversation, Interruption& interruption, milliseconds plan) {
  const auto start = steady_clock::now();
  for (milliseconds now{0}; now < plan; now = Since(start)) {
    if (now > std::chrono::seconds(1)) {
      ShowProgress(std::to_string(100 * now.count() / plan.count()) + " %, " + Seconds(plan - now) + " left");
    }
    if (interruption.HappensWithin(std::min(kStep, plan - now))) return false;
  }
  while (Since(start) < plan + kGrace) {
    const auto asked = steady_clock::now();
    const std::optional<std::string> status = conversation.Ask("*STB?");
    if (interruption.Happened()) return false;
    if (!status || status->empty()) throw ToolError("the link was lost during the sweep", kNoInstrument);
    if (Since(asked) < kQuick) return true;
    ShowProgress("sweeping for " + Seconds(Since(start)) + ", " + Seconds(plan) + " by plan");
  }
  throw ToolError("the sweep is not over " + Seconds(kGrace) + " after its time; is the trigger source BUS?",
                  kMessageFailed);
}

/// Sets up and runs. The time that it took; nothing if a message failed or the person interrupted.
std::optional<milliseconds> RunSweep(const SweepPlan& plan, const std::vector<double>& levels,
                                     Conversation& conversation, Interruption& interruption) {
  for (const std::string& message : SetUpMessages(plan, levels)) {
    if (!conversation.Say(message)) break;
  }
  const auto start = steady_clock::now();
  if (conversation.Failed() || interruption.Happened() || !conversation.Say(":INIT")) return std::nullopt;
  const milliseconds time = milliseconds(std::llround(plan.points * plan.dwell_s * 1000)) + kStart;
  if (!WaitForEnd(conversation, interruption, time)) return std::nullopt;
  return Since(start);
}

void Sweep(const SweepPlan& plan, const std::vector<double>& levels, bool leave_on, Conversation& conversation,
           Interruption& interruption) {
  CheckLevels(plan, levels.empty() ? std::vector<double>(1, plan.level_dbm) : levels, AskLimits(conversation));
  // Also after a mistake or Ctrl-C: nothing goes on by itself, and the output is off.
  const auto end = [&conversation] {
    ShowProgress("");
    conversation.Conclude({":ABOR", ":OUTP OFF"});
  };
  std::optional<milliseconds> time;
  try {
    time = RunSweep(plan, levels, conversation, interruption);
  } catch (const ToolError&) {
    end();
    throw;
  }
  if (!time || !leave_on) end();
  ShowProgress("");
  if (!time) return;
  Print(std::to_string(plan.points) + " points from " + FrequencyText(plan.start_hz) + " to " +
        FrequencyText(plan.stop_hz) + " in " + Seconds(*time) + "\n");
}

CLI::AsNumberWithUnit Frequency() {
  return CLI::AsNumberWithUnit(std::map<std::string, double>{{"hz", 1}, {"khz", 1e3}, {"mhz", 1e6}, {"ghz", 1e9}},
                               CLI::AsNumberWithUnit::CASE_INSENSITIVE, "FREQUENCY");
}

CLI::AsNumberWithUnit Time() {
  return CLI::AsNumberWithUnit(std::map<std::string, double>{{"s", 1}, {"ms", 1e-3}, {"us", 1e-6}},
                               CLI::AsNumberWithUnit::CASE_INSENSITIVE, "TIME");
}

}  // namespace

void AddSweepCommand(CLI::App& app) {
  CLI::App& sweep = *app.add_subcommand("sweep", "Runs one frequency sweep and waits until it is over");
  const auto arguments = std::make_shared<SweepArguments>();
  arguments->talk = AddTalkOptions(sweep, "", "");
  SweepPlan& plan = arguments->plan;
  sweep.add_option("--start", plan.start_hz, "First frequency, as 1GHz; Hz without a unit")
      ->required()
      ->transform(Frequency());
  sweep.add_option("--stop", plan.stop_hz, "Last frequency")->required()->transform(Frequency());
  sweep.add_option("--points", plan.points, "Number of points, 2 to 100001")->required()->check(CLI::Range(2, 100001));
  sweep.add_option("--dwell", plan.dwell_s, "Time at each point, as 10ms; s without a unit; 4.29 s at most")
      ->required()
      ->transform(Time());
  sweep.add_option("--level", plan.level_dbm, "Level in dBm; 0 unless given");
  sweep.add_option("--through", arguments->through,
                   "Touchstone file of a cable or an amplifier: the level holds at its far end");
  sweep.add_flag("--leave-on", arguments->leave_on, "The output stays on after the sweep");
  sweep.callback([arguments] {
    const SweepPlan& wanted = arguments->plan;
    if (wanted.start_hz >= wanted.stop_hz) throw CLI::ValidationError("--stop", "must be above --start");
    if (!(wanted.dwell_s >= 0 && wanted.dwell_s <= 4.29)) throw CLI::ValidationError("--dwell", "must be 0 to 4.29 s");
    if (!std::isfinite(wanted.level_dbm)) throw CLI::ValidationError("--level", "must be a number of dBm");
    arguments->talk->TakeResource();
    if (!arguments->talk->words.empty()) throw CLI::ExtrasError(arguments->talk->words);
    // Opening switches the output off: what is wrong with the file is said before.
    const std::string& file = arguments->through;
    const std::vector<double> levels =
        file.empty() ? std::vector<double>() : LevelsThrough(wanted, scpi_zlt::ReadTouchstone(file), file);
    End(Talk(arguments->talk->options, [&](Conversation& conversation, Interruption& interruption) {
      Sweep(wanted, levels, arguments->leave_on, conversation, interruption);
    }));
  });
}
