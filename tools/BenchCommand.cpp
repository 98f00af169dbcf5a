#include "tools/BenchCommand.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tools/Report.h"
#include "tools/TalkCommands.h"
#include "tools/ToolError.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr unsigned kMostTimes = 10'000'000;
constexpr std::chrono::milliseconds kProgressStep{200};

/// Round trips in microseconds, sorted.
struct Times {
  std::vector<double> sorted;
  double total = 0.0;

  /// The time that `part` of all were not longer than.
  double At(double part) const {
    return sorted[std::min(sorted.size() - 1, static_cast<std::size_t>(part * static_cast<double>(sorted.size())))];
  }
  double Rate() const { return static_cast<double>(sorted.size()) / total * 1e6; }
};

/// Says one message again and again, from writing it to the end of its answer.
Times Measure(Conversation& conversation, Interruption& interruption, const std::string& message, unsigned count) {
  Times times;
  Clock::time_point shown = Clock::now();
  // Asking for an interruption is a call of the system: once in so many is enough.
  constexpr unsigned kLookEvery = 64;
  for (unsigned i = 0; i < count && (i % kLookEvery != 0 || !interruption.Happened()); ++i) {
    const Clock::time_point start = Clock::now();
    if (!conversation.Ask(message)) {
      if (interruption.Happened()) break;
      throw ToolError("\"" + message + "\": no answer in time", kMessageFailed);
    }
    const Clock::time_point end = Clock::now();
    times.sorted.push_back(std::chrono::duration<double, std::micro>(end - start).count());
    times.total += times.sorted.back();
    if (end - shown < kProgressStep) continue;
    shown = end;
    ShowProgress(std::to_string(100 * static_cast<unsigned long>(i) / count) + " % of \"" + message + "\"");
  }
  ShowProgress("");
  std::sort(times.sorted.begin(), times.sorted.end());
  return times;
}

void ShowTimes(const std::string& message, const Times& times, ReportForm form) {
  if (times.sorted.empty()) return;
  constexpr double kMost = 0.99;
  const char* pattern = ": %zu times: median %.1f us, 99 %% %.1f us, longest %.1f us, %.0f a second\n";
  std::string head = message;
  if (form == ReportForm::kJson) {
    head = "{\"message\":" + JsonText(message);
    pattern = ",\"count\":%zu,\"median_us\":%.1f,\"p99_us\":%.1f,\"longest_us\":%.1f,\"per_second\":%.0f}\n";
  } else if (form == ReportForm::kCsv) {
    head = CsvField(message);
    pattern = ",%zu,%.1f,%.1f,%.1f,%.0f\n";
  }
  char figures[160];
  std::snprintf(figures, sizeof figures, pattern, times.sorted.size(), times.At(0.5), times.At(kMost),
                times.sorted.back(), times.Rate());
  Print(head + figures);
}

}  // namespace

void AddBenchCommand(CLI::App& app) {
  CLI::App& bench = *app.add_subcommand("bench", "Measures how long messages take, from writing to the whole answer");
  const auto talk =
      AddTalkOptions(bench, "MESSAGE", "SCPI messages, measured one after the other; :FREQ? unless given");
  const auto count = std::make_shared<unsigned>(1000);
  bench.add_option("-n,--count", *count, "How often each is sent")
      ->check(CLI::Range(1U, kMostTimes))
      ->capture_default_str();
  bench.callback([talk, count] {
    talk->TakeResource();
    if (talk->words.empty()) talk->words = {":FREQ?"};
    const ReportForm form = std::exchange(talk->options.form, ReportForm::kNone);
    End(Talk(talk->options, [&](Conversation& conversation, Interruption& interruption) {
      if (form == ReportForm::kCsv) Print("message,count,median_us,p99_us,longest_us,per_second\n");
      for (const std::string& message : talk->words) {
        if (interruption.Happened()) return;
        // Once with a look at the error queue: a message that fails is not worth measuring.
        if (!conversation.Say(message)) return;
        ShowTimes(message, Measure(conversation, interruption, message, *count), form);
      }
    }));
  });
}
