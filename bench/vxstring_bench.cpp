// VxString::concat of one byte in a loop against std::string::push_back.
//
// VxString grows exactly (length + needed + 1), so appending byte by byte
// reallocates on every call; std::string grows geometrically. The third
// case reserves the total with assureSpace first, which is what callers
// building long texts should do. Each VxString case reports its time per
// append and the ratio to the std::string case measured in the same run
// (counter "vs_std_string").
#include <benchmark/benchmark.h>

#include <chrono>
#include <string>

#include "containers/vxstring.h"

namespace {

constexpr int kAppends = 100000;

double stdStringSeconds() {
  static double seconds = [] {
    double best = 1e9;
    for (int round = 0; round < 5; ++round) {
      auto start = std::chrono::steady_clock::now();
      std::string s;
      for (int i = 0; i < kAppends; ++i) s.push_back(char('a' + i % 26));
      benchmark::DoNotOptimize(s.data());
      std::chrono::duration<double> d = std::chrono::steady_clock::now() - start;
      if (d.count() < best) best = d.count();
    }
    return best;
  }();
  return seconds;
}

void report(benchmark::State& state, double seconds, int rounds) {
  state.counters["ns_per_append"] = seconds / rounds / kAppends * 1e9;
  state.counters["vs_std_string"] = (seconds / rounds) / stdStringSeconds();
}

void BM_StdStringPushBack(benchmark::State& state) {
  for (auto _ : state) {
    std::string s;
    for (int i = 0; i < kAppends; ++i) s.push_back(char('a' + i % 26));
    benchmark::DoNotOptimize(s.data());
  }
  state.counters["ns_per_append"] =
      benchmark::Counter(double(kAppends) * state.iterations(),
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

// Times each round of kAppends one-byte concats into a fresh VxString;
// with `reserve` the whole length is asked for first.
void concatBytes(benchmark::State& state, bool reserve) {
  double seconds = 0;
  int rounds = 0;
  for (auto _ : state) {
    auto start = std::chrono::steady_clock::now();
    VxString s;
    if (reserve) s.assureSpace(kAppends);
    for (int i = 0; i < kAppends; ++i) s.concat(char('a' + i % 26));
    benchmark::DoNotOptimize(s.asPascalStr());
    std::chrono::duration<double> d = std::chrono::steady_clock::now() - start;
    seconds += d.count();
    ++rounds;
  }
  report(state, seconds, rounds);
}

void BM_VxStringConcatByte(benchmark::State& state) { concatBytes(state, false); }

void BM_VxStringConcatByteAfterAssureSpace(benchmark::State& state) { concatBytes(state, true); }

BENCHMARK(BM_StdStringPushBack)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_VxStringConcatByte)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_VxStringConcatByteAfterAssureSpace)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
