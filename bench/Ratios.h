// Google Benchmark, and after the run the promised ratios, each against a bound measured in the same run. Times are
// medians of repetitions.
#pragma once

#include <benchmark/benchmark.h>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace bench {

struct Ratio {
  std::string measured;            ///< name of a benchmark
  std::vector<std::string> bound;  ///< names of benchmarks whose times are added up
  double goal;                     ///< the ratio is meant to be at most this
};

/// Which time is compared. Processor time is the steadier one, and right where nothing waits.
enum class Clock { kWall, kProcessor };

/// Keeps the median of each benchmark while the usual table is printed.
class MedianReporter : public benchmark::ConsoleReporter {
 public:
  explicit MedianReporter(Clock clock) : m_clock(clock) {}

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.aggregate_name != "median") continue;
      m_medians[run.run_name.function_name] =
          m_clock == Clock::kWall ? run.GetAdjustedRealTime() : run.GetAdjustedCPUTime();
    }
    ConsoleReporter::ReportRuns(runs);
  }

  /// Prints the ratios, without those whose benchmarks were filtered out.
  void PrintRatios(const std::vector<Ratio>& ratios) const {
    std::printf("\n%-44s %12s %12s %8s %8s\n", "ratio", "measured", "bound", "ratio", "goal");
    for (const Ratio& ratio : ratios) {
      double bound = 0.0;
      bool complete = m_medians.contains(ratio.measured);
      for (const std::string& name : ratio.bound) {
        complete = complete && m_medians.contains(name);
        if (complete) bound += m_medians.at(name);
      }
      if (!complete) continue;
      const double measured = m_medians.at(ratio.measured);
      std::printf("%-44s %9.0f ns %9.0f ns %8.2f %8.2f\n", ratio.measured.c_str(), measured, bound, measured / bound,
                  ratio.goal);
    }
  }

 private:
  Clock m_clock;
  std::map<std::string, double> m_medians;
};

/// The body of a bench program's main. Repetitions of different benchmarks take turns: the scheduler places a pair of
/// threads well or badly for seconds on end, and a bound must be measured under the same conditions.
inline int Main(int argc, char** argv, const std::vector<Ratio>& ratios, Clock clock = Clock::kWall) {
  std::vector<char*> arguments(argv, argv + argc);
  char interleaving[] = "--benchmark_enable_random_interleaving=true";
  arguments.insert(arguments.begin() + 1, interleaving);
  argc = static_cast<int>(arguments.size());
  arguments.push_back(nullptr);
  argv = arguments.data();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  MedianReporter reporter(clock);
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.PrintRatios(ratios);
  return 0;
}

}  // namespace bench
