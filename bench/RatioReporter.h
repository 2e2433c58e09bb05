// Console reporting with ratios: each benchmark program names pairs
// (measured, reference) and, after the usual table, prints measured/reference
// of their mean real (wall) times, taken from the same run, and beside it the
// same ratio of CPU times. The goal applies to the wall ratio.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace n4bench {

struct Ratio {
  std::string measured;
  std::string reference;
  std::string goal;  // e.g. "<= 2.5", printed beside the ratio
  double limit = 0;  // when non-zero, "met"/"missed" is printed
  bool lowerIsBetter = true;
};

class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const auto& run : runs) {
      if (run.run_type == Run::RT_Iteration && run.iterations > 0) {
        times_[run.benchmark_name()] = run.GetAdjustedRealTime();
        cpuTimes_[run.benchmark_name()] = run.GetAdjustedCPUTime();
      }
    }
    ConsoleReporter::ReportRuns(runs);
  }

  void PrintRatios(const std::vector<Ratio>& ratios) const {
    std::printf("\n%-58s %10s %10s  %s\n", "ratio (measured / reference, same run)", "wall", "cpu", "goal");
    for (const auto& r : ratios) {
      auto m = times_.find(r.measured);
      auto ref = times_.find(r.reference);
      if (m == times_.end() || ref == times_.end() || ref->second <= 0) {
        std::printf("%-58s %10s %10s\n", (r.measured + " / " + r.reference).c_str(), "n/a", "n/a");
        continue;
      }
      double value = m->second / ref->second;
      double cpuReference = cpuTimes_.at(r.reference);
      double cpu = cpuReference > 0 ? cpuTimes_.at(r.measured) / cpuReference : 0;
      std::string verdict;
      if (r.limit > 0) {
        bool met = r.lowerIsBetter ? value <= r.limit : value >= r.limit;
        verdict = met ? "  met" : "  missed";
      }
      std::printf("%-58s %10.2f %10.2f  %s%s\n", (r.measured + " / " + r.reference).c_str(), value, cpu,
                  r.goal.c_str(), verdict.c_str());
    }
  }

 private:
  std::map<std::string, double> times_;
  std::map<std::string, double> cpuTimes_;
};

// Runs the registered benchmarks and prints the ratios.
inline int RunWithRatios(int argc, char** argv, const std::vector<Ratio>& ratios) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.PrintRatios(ratios);
  benchmark::Shutdown();
  return 0;
}

}  // namespace n4bench
