// VxScanner against SQLite's sqlite3_complete, which runs SQLite's own
// tokenizer over the whole text, on the same few megabytes of SQL.
#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <time.h>

#include <cstdio>

#include "parser/vxscanne.h"
#include "sql_corpus.h"

namespace {

const std::string& corpus() {
  static const std::string text = makeSqlCorpus(4 << 20);
  return text;
}

size_t scanAll(const std::string& text) {
  VxScanner scanner(text.data(), text.size());
  scanner.setComments(true);
  scanner.setDecimalNumbers(true);
  VxToken token;
  size_t tokens = 0;
  while (scanner.getToken(token) != VX_TOKEN_END) ++tokens;
  return tokens;
}

void BM_VxScanner(benchmark::State& state) {
  const std::string& text = corpus();
  size_t tokens = 0;
  for (auto _ : state) {
    tokens = scanAll(text);
    benchmark::DoNotOptimize(tokens);
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()));
  state.counters["tokens/s"] =
      benchmark::Counter(double(tokens) * double(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_VxScanner)->Unit(benchmark::kMillisecond);

void BM_Sqlite3Complete(benchmark::State& state) {
  const std::string& text = corpus();
  for (auto _ : state) benchmark::DoNotOptimize(sqlite3_complete(text.c_str()));
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()));
}
BENCHMARK(BM_Sqlite3Complete)->Unit(benchmark::kMillisecond);

double cpuSeconds() {
  timespec t;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
  return double(t.tv_sec) + double(t.tv_nsec) * 1e-9;
}

// CPU time of one pass of f over the corpus, best of several rounds (CPU
// time, so that other work on the machine does not count).
template <typename F>
double bestSeconds(F f) {
  double best = 1e9;
  for (int i = 0; i < 9; ++i) {
    double start = cpuSeconds();
    f();
    double s = cpuSeconds() - start;
    if (s < best) best = s;
  }
  return best;
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  const std::string& text = corpus();
  size_t tokens = scanAll(text);
  volatile int sink = 0;
  double vx = bestSeconds([&] { sink = sink + int(scanAll(text)); });
  double lite = bestSeconds([&] { sink = sink + sqlite3_complete(text.c_str()); });
  printf("corpus: %.1f MB, %zu tokens\n", double(text.size()) / 1e6, tokens);
  printf("VxScanner: %.0f MB/s, %.1f M tokens/s; sqlite3_complete: %.0f MB/s\n", double(text.size()) / vx / 1e6,
         double(tokens) / vx / 1e6, double(text.size()) / lite / 1e6);
  printf("ratio (sqlite3_complete time / VxScanner time): %.2f\n", lite / vx);
  benchmark::Shutdown();
  return 0;
}
