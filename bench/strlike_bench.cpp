// strLike against SQLite's sqlite3_strlike on the same ASCII texts and
// patterns: case-insensitive, escape \, trailing blanks significant (the
// settings under which both define the same matches). Each workload is a
// fixed set of text/pattern pairs; one iteration matches all of them.
// After the usual table it prints, per workload, vxlib's time divided by
// SQLite's (below 1 means vxlib is faster).
#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "foundation/vxdbcs.h"
#include "ratio_reporter.h"

namespace {

struct Pair {
  std::string text;
  std::string pattern;
};

std::string randomWord(std::mt19937& rng, size_t n) {
  static const char kLetters[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789 ._-";
  std::uniform_int_distribution<int> pick(0, sizeof kLetters - 2);
  std::string s;
  for (size_t k = 0; k < n; ++k) s += kLetters[pick(rng)];
  return s;
}

// The workloads: what drivers meet in catalog and data filters.
std::map<std::string, std::vector<Pair>> makeWorkloads() {
  std::mt19937 rng(42);
  std::map<std::string, std::vector<Pair>> w;
  for (int i = 0; i < 1000; ++i) {
    std::string name = randomWord(rng, 8 + i % 24);
    // Table-name filters: a prefix, half of them matching.
    w["prefix"].push_back({name, (i % 2 ? name.substr(0, 4) : std::string("zq")) + "%"});
    // File-name style suffix.
    w["suffix"].push_back({name + (i % 3 ? ".csv" : ".txt"), "%.CSV"});
    // Fixed-shape codes with _ wildcards.
    std::string code = "ORD-" + std::to_string(1000 + i) + "-" + randomWord(rng, 2);
    w["underscore"].push_back({code, "ord-____-__"});
    // A word searched in a 1 KiB text: present near the end half the time.
    std::string page = randomWord(rng, 1000);
    if (i % 2) page.replace(900, 6, "Needle");
    w["contains-1k"].push_back({page, "%needle%"});
    // Several % in a row of 256 bytes, with backtracking.
    w["multi-percent"].push_back({randomWord(rng, 256), "%a%b%c%1%"});
    // Short random pairs from a small alphabet, wildcards and escapes.
    static const char kMix[] = "abAB%_\\c";
    std::uniform_int_distribution<int> pick(0, sizeof kMix - 2);
    std::string t, p;
    for (int k = 0; k < 10; ++k) t += "abAB c"[k % 6];
    for (int k = 0; k < 6; ++k) p += kMix[pick(rng)];
    w["short-mixed"].push_back({t, p});
  }
  return w;
}

const std::map<std::string, std::vector<Pair>>& workloads() {
  static const std::map<std::string, std::vector<Pair>> instance = makeWorkloads();
  return instance;
}

int likeVx(const std::vector<Pair>& pairs) {
  int matches = 0;
  for (const Pair& p : pairs) {
    matches += strLike(p.text.data(), p.text.size(), p.pattern.data(), p.pattern.size(), '%', '_',
                       '\\', 0, 1, VX_CP_LOCALE);
  }
  return matches;
}

int likeSqlite(const std::vector<Pair>& pairs) {
  int matches = 0;
  for (const Pair& p : pairs) matches += sqlite3_strlike(p.pattern.c_str(), p.text.c_str(), '\\') == 0;
  return matches;
}

void runSide(benchmark::State& state, const std::string& workload, bool vx) {
  const std::vector<Pair>& pairs = workloads().at(workload);
  int matches = 0;
  for (auto _ : state) {
    matches = vx ? likeVx(pairs) : likeSqlite(pairs);
    benchmark::DoNotOptimize(matches);
  }
  state.counters["matches"] = matches;
  state.SetItemsProcessed(int64_t(state.iterations()) * int64_t(pairs.size()));
}

// Per workload, the time per pair of each side and vxlib's divided by
// SQLite's.
void printRatios(const RunTimes& times) {
  printf("\n%-16s %14s %14s %10s\n", "workload", "vx ns/pair", "sqlite ns/pair", "vx/sqlite");
  for (const auto& entry : workloads()) {
    const std::string vxName = "like/" + entry.first + "/vx", sqliteName = "like/" + entry.first + "/sqlite";
    if (!times.has(vxName) || !times.has(sqliteName)) continue;
    double n = double(entry.second.size());
    double vx = times.at(vxName) / n, sq = times.at(sqliteName) / n;
    printf("%-16s %14.1f %14.1f %10.2f\n", entry.first.c_str(), vx, sq, vx / sq);
  }
}

}  // namespace

int main(int argc, char** argv) {
  setlocale(LC_ALL, "C");
  for (const auto& entry : workloads()) {
    // The two must agree on every workload, or the comparison is void.
    if (likeVx(entry.second) != likeSqlite(entry.second)) {
      fprintf(stderr, "strLike and sqlite3_strlike disagree on %s\n", entry.first.c_str());
      return 1;
    }
    const std::string name = entry.first;
    benchmark::RegisterBenchmark(("like/" + name + "/vx").c_str(),
                                 [name](benchmark::State& s) { runSide(s, name, true); });
    benchmark::RegisterBenchmark(("like/" + name + "/sqlite").c_str(),
                                 [name](benchmark::State& s) { runSide(s, name, false); });
  }
  runAndPrint(&argc, argv, RunTimes::kCpuTime, printRatios);
  return 0;
}
