// A console reporter that also prints, after the usual table, the ratio of
// vxlib's time to its peer's for every pair of benchmarks named
// "op/vx/ARGS" and "op/PEER/ARGS" (below 1 means vxlib is faster).
#ifndef VX_BENCH_RATIO_REPORTER_H_
#define VX_BENCH_RATIO_REPORTER_H_

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

class RatioReporter : public benchmark::ConsoleReporter {
 public:
  explicit RatioReporter(const char* peer) : peer_(peer) {}

  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration) continue;
      std::string name = run.benchmark_name();  // e.g. copy/vx/4096
      size_t first = name.find('/'), second = name.find('/', first + 1);
      if (first == std::string::npos || second == std::string::npos) continue;
      std::string key = name.substr(0, first) + " " + name.substr(second + 1);
      std::string side = name.substr(first + 1, second - first - 1);
      times_[key][side] = run.GetAdjustedRealTime();
      if (std::find(order_.begin(), order_.end(), key) == order_.end()) order_.push_back(key);
    }
  }

  void printRatios() const {
    std::string peerNs = peer_ + " ns", ratio = "vx/" + peer_;
    printf("\n%-24s %12s %12s %8s\n", "operation size", "vx ns", peerNs.c_str(), ratio.c_str());
    for (const std::string& key : order_) {
      const auto& sides = times_.at(key);
      if (!sides.count("vx") || !sides.count(peer_)) continue;
      double vx = sides.at("vx"), peer = sides.at(peer_);
      printf("%-24s %12.1f %12.1f %8.2f\n", key.c_str(), vx, peer, vx / peer);
    }
  }

 private:
  std::string peer_;
  std::map<std::string, std::map<std::string, double>> times_;
  std::vector<std::string> order_;
};

#endif  // VX_BENCH_RATIO_REPORTER_H_
