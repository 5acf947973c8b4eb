// strLike against SQLite's sqlite3_strlike on the same ASCII texts and
// patterns: case-insensitive, escape \, trailing blanks significant (the
// settings under which both define the same matches). Each workload is a
// fixed set of text/pattern pairs; one iteration matches all of them.
// The same strLike is also called through libvx.so, found with dlsym as a
// driver that loads the library would call it, to show what the dynamic
// call costs over the static library's. After the usual table it prints,
// per workload, vxlib's time divided by SQLite's (below 1 means vxlib is
// faster) and the shared library's time divided by the static one's.
#include <benchmark/benchmark.h>
#include <dlfcn.h>
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

// The counted strLike as libvx.so exports it (its mangled C++ name).
using StrLike = bool (*)(const char*, VXSIZE_T, const char*, VXSIZE_T, char, char, char, int16_t, int16_t,
                         vxCPType);
StrLike sharedStrLike = nullptr;

int likeShared(const std::vector<Pair>& pairs) {
  int matches = 0;
  for (const Pair& p : pairs) {
    matches += sharedStrLike(p.text.data(), p.text.size(), p.pattern.data(), p.pattern.size(), '%', '_',
                             '\\', 0, 1, VX_CP_LOCALE);
  }
  return matches;
}

int likeSqlite(const std::vector<Pair>& pairs) {
  int matches = 0;
  for (const Pair& p : pairs) matches += sqlite3_strlike(p.pattern.c_str(), p.text.c_str(), '\\') == 0;
  return matches;
}

void runSide(benchmark::State& state, const std::string& workload, int (*like)(const std::vector<Pair>&)) {
  const std::vector<Pair>& pairs = workloads().at(workload);
  int matches = 0;
  for (auto _ : state) {
    matches = like(pairs);
    benchmark::DoNotOptimize(matches);
  }
  state.counters["matches"] = matches;
  state.SetItemsProcessed(int64_t(state.iterations()) * int64_t(pairs.size()));
}

// Per workload, the time per pair of each side and vxlib's divided by
// SQLite's.
void printRatios(const RunTimes& times) {
  printf("\n%-16s %14s %14s %10s %14s %12s\n", "workload", "vx ns/pair", "sqlite ns/pair", "vx/sqlite",
         "libvx.so ns", "so/static");
  for (const auto& entry : workloads()) {
    const std::string prefix = "like/" + entry.first;
    const std::string vxName = prefix + "/vx", sqliteName = prefix + "/sqlite", soName = prefix + "/vx-so";
    if (!times.has(vxName) || !times.has(sqliteName) || !times.has(soName)) continue;
    double n = double(entry.second.size());
    double vx = times.at(vxName) / n, sq = times.at(sqliteName) / n, so = times.at(soName) / n;
    printf("%-16s %14.1f %14.1f %10.2f %14.1f %12.2f\n", entry.first.c_str(), vx, sq, vx / sq, so, so / vx);
  }
}

}  // namespace

int main(int argc, char** argv) {
  setlocale(LC_ALL, "C");
  void* library = dlopen(VX_SHARED_LIBRARY, RTLD_NOW | RTLD_LOCAL);
  if (library != nullptr) {
    sharedStrLike = reinterpret_cast<StrLike>(dlsym(library, "_Z7strLikePKcmS0_mcccss8vxCPType"));
  }
  if (sharedStrLike == nullptr) {
    fprintf(stderr, "cannot find strLike in %s: %s\n", VX_SHARED_LIBRARY, dlerror());
    return 1;
  }
  for (const auto& entry : workloads()) {
    // All sides must agree on every workload, or the comparison is void.
    int expected = likeSqlite(entry.second);
    if (likeVx(entry.second) != expected || likeShared(entry.second) != expected) {
      fprintf(stderr, "strLike and sqlite3_strlike disagree on %s\n", entry.first.c_str());
      return 1;
    }
    const std::string name = entry.first;
    benchmark::RegisterBenchmark(("like/" + name + "/vx").c_str(),
                                 [name](benchmark::State& s) { runSide(s, name, likeVx); });
    benchmark::RegisterBenchmark(("like/" + name + "/vx-so").c_str(),
                                 [name](benchmark::State& s) { runSide(s, name, likeShared); });
    benchmark::RegisterBenchmark(("like/" + name + "/sqlite").c_str(),
                                 [name](benchmark::State& s) { runSide(s, name, likeSqlite); });
  }
  runAndPrint(&argc, argv, RunTimes::kCpuTime, printRatios);
  return 0;
}
