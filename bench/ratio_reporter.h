// The console reporter the benchmark programs share: it prints the usual
// table and keeps each benchmark's adjusted time per iteration, in
// nanoseconds, by name, so that the program can print its own ratio table
// after the runs. The name is the registered one plus "/ARGS" when the
// benchmark takes arguments ("copy/vx/4096", "profile/DSN0/kept-open");
// options such as UseRealTime do not change it. When the runs are repeated
// (--benchmark_repetitions) the median is kept, else the single run.
#ifndef VX_BENCH_RATIO_REPORTER_H_
#define VX_BENCH_RATIO_REPORTER_H_

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

class RunTimes : public benchmark::ConsoleReporter {
 public:
  enum Clock { kRealTime, kCpuTime };

  explicit RunTimes(Clock clock) : clock_(clock) {}

  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      const bool median = run.run_type == Run::RT_Aggregate && run.aggregate_name == "median";
      if (run.error_occurred || !(median || run.run_type == Run::RT_Iteration)) continue;
      std::string name = run.run_name.function_name;
      if (!run.run_name.args.empty()) name += "/" + run.run_name.args;
      if (!times_.count(name)) order_.push_back(name);
      times_[name] = clock_ == kCpuTime ? run.GetAdjustedCPUTime() : run.GetAdjustedRealTime();
    }
  }

  // The time of the named benchmark, 0 if it did not run.
  double at(const std::string& name) const {
    auto found = times_.find(name);
    return found == times_.end() ? 0 : found->second;
  }

  bool has(const std::string& name) const { return times_.count(name) != 0; }

  // The names that ran, in the order they were first reported.
  const std::vector<std::string>& names() const { return order_; }

 private:
  Clock clock_;
  std::map<std::string, double> times_;
  std::vector<std::string> order_;
};

// Runs the benchmarks the command line selects, reporting through a
// RunTimes of the given clock, then hands the times to `print` for the
// program's own table.
template <typename Print>
void runAndPrint(int* argc, char** argv, RunTimes::Clock clock, Print print) {
  benchmark::Initialize(argc, argv);
  RunTimes times(clock);
  benchmark::RunSpecifiedBenchmarks(&times);
  print(times);
  benchmark::Shutdown();
}

// For every pair of benchmarks named "op/vx/ARGS" and "op/PEER/ARGS",
// prints both times and vxlib's time divided by the peer's (below 1 means
// vxlib is faster).
inline void printPeerRatios(const RunTimes& times, const std::string& peer) {
  const std::string peerNs = peer + " ns", ratio = "vx/" + peer;
  printf("\n%-24s %12s %12s %8s\n", "operation size", "vx ns", peerNs.c_str(), ratio.c_str());
  for (const std::string& name : times.names()) {
    const size_t first = name.find('/'), second = name.find('/', first + 1);
    if (first == std::string::npos || second == std::string::npos) continue;
    if (name.compare(first + 1, second - first - 1, "vx") != 0) continue;
    const std::string op = name.substr(0, first), args = name.substr(second + 1);
    const std::string peerName = op + "/" + peer + "/" + args;
    if (!times.has(peerName)) continue;
    const double vx = times.at(name), other = times.at(peerName);
    printf("%-24s %12.1f %12.1f %8.2f\n", (op + " " + args).c_str(), vx, other, vx / other);
  }
}

#endif  // VX_BENCH_RATIO_REPORTER_H_
