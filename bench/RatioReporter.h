// Console reporting with ratios: each benchmark program names pairs
// (measured, reference) and, after the usual table, prints measured/reference
// of their mean real (wall) times, taken from the same run, and beside it the
// same ratio of CPU times. Benchmarks measure the process's CPU time (every
// thread, the kernel's work included). A goal applies to the wall ratio or,
// when it says so, to the CPU ratio: on a shared machine the CPU ratio is the
// stable figure.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace n4bench {

// With an empty reference the line shows the measured wall time in seconds
// against a limit in seconds instead.
struct Ratio {
  std::string measured;
  std::string reference;
  std::string goal;  // e.g. "<= 2.5", printed beside the ratio
  double limit = 0;  // when non-zero, "met"/"missed" is printed
  bool lowerIsBetter = true;
  bool onCpu = false;  // the goal applies to the CPU ratio
};

class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const auto& run : runs) {
      if (run.run_type == Run::RT_Iteration && run.iterations > 0) {
        times_[run.benchmark_name()] = run.GetAdjustedRealTime();
        units_[run.benchmark_name()] = benchmark::GetTimeUnitMultiplier(run.time_unit);
        cpuTimes_[run.benchmark_name()] = run.GetAdjustedCPUTime();
      }
    }
    ConsoleReporter::ReportRuns(runs);
  }

  void PrintRatios(const std::vector<Ratio>& ratios) const {
    std::printf("\n%-58s %10s %10s  %s\n", "ratio (measured / reference, same run)", "wall", "cpu", "goal");
    for (const auto& r : ratios) {
      if (r.reference.empty()) {
        auto m = times_.find(r.measured);
        if (m == times_.end()) continue;
        const double seconds = m->second * UnitSeconds(r.measured);
        std::printf("%-58s %9.1fs %10s  %s%s\n", r.measured.c_str(), seconds, "", r.goal.c_str(),
                    r.limit > 0 ? (seconds <= r.limit ? "  met" : "  missed") : "");
        continue;
      }
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
        const double judged = r.onCpu ? cpu : value;
        bool met = r.lowerIsBetter ? judged <= r.limit : judged >= r.limit;
        verdict = met ? "  met" : "  missed";
      }
      std::printf("%-58s %10.2f %10.2f  %s%s\n", (r.measured + " / " + r.reference).c_str(), value, cpu,
                  r.goal.c_str(), verdict.c_str());
    }
  }

 private:
  std::map<std::string, double> times_;
  double UnitSeconds(const std::string& name) const {
    auto u = units_.find(name);
    return u == units_.end() ? 1 : 1 / u->second;
  }

  std::map<std::string, double> cpuTimes_;
  std::map<std::string, double> units_;  // the run's time unit per second
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
