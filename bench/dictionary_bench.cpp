// Dictionary lookups against std::unordered_map.
//
// For 10, 100 and 1000 keys it measures one successful lookup in
// VxDictionary, VxSeqDictionary and std::unordered_map, with three key
// sets:
//   int     unsigned 64-bit keys (spread, as handle numbers would be);
//   str     strings of 6 to 12 random letters (keys that differ early);
//   prefix  strings that share their first five letters ("SQL_ATTR_..."
//           style), which VxSubString::hash sends to the same start slot.
// After the usual table it prints, per key set and size, the time of each
// vxlib container divided by unordered_map's (below 1 means vxlib is
// faster; CPU time, which a loaded machine disturbs least), and the cost
// of the shared prefix: the prefix time over the
// str time for the same container and size.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#include "containers/vxdictio.h"
#include "containers/vxseqdic.h"
#include "containers/vxstring.h"
#include "ratio_reporter.h"

namespace {

enum KeyKind { kInt, kStr, kPrefix };
const char* const kKindNames[] = {"int", "str", "prefix"};
const int kSizes[] = {10, 100, 1000};

// One key set of n keys, and the three containers filled with it. Lookups
// use separate copies of the keys so that no container can answer by
// pointer identity.
struct Fixture {
  std::vector<VXSIZE_T> ints;
  std::vector<std::string> texts;       // owned by the containers' views
  std::vector<std::string> probeTexts;  // what lookups search with
  std::vector<std::unique_ptr<VxSubString>> keys;
  std::vector<std::unique_ptr<VxSubString>> probes;
  VxDictionary dict;
  VxSeqDictionary seq;
  std::unordered_map<VXSIZE_T, VXSIZE_T> intMap;
  std::unordered_map<std::string, VxObject*> strMap;
  VxObject datum;

  Fixture(KeyKind kind, int n) {
    std::mt19937_64 rng(12345 + n * 3 + kind);
    dict.initialize(static_cast<uint16_t>(n));
    if (kind == kInt) {
      for (int i = 0; i < n; ++i) {
        VXSIZE_T k = rng() >> 16;
        ints.push_back(k);
        dict.addAssoc(k, k + 1);
        seq.addAssoc(k, k + 1);
        intMap[k] = k + 1;
      }
      return;
    }
    std::uniform_int_distribution<int> letter('A', 'Z');
    std::uniform_int_distribution<int> length(6, 12);
    for (int i = 0; i < n; ++i) {
      std::string s = kind == kPrefix ? "SQL_A" : "";
      const int len = length(rng);
      while (static_cast<int>(s.size()) < len + (kind == kPrefix ? 5 : 0)) s += static_cast<char>(letter(rng));
      s += std::to_string(i);  // unique
      texts.push_back(s);
    }
    probeTexts = texts;
    for (int i = 0; i < n; ++i) {
      keys.emplace_back(new VxSubString(texts[i].data(), texts[i].size()));
      probes.emplace_back(new VxSubString(probeTexts[i].data(), probeTexts[i].size()));
      dict.addAssoc(keys.back().get(), &datum);
      seq.addAssoc(keys.back().get(), &datum);
      strMap[texts[i]] = &datum;
    }
  }
};

Fixture& fixture(KeyKind kind, int n) {
  static std::map<std::pair<int, int>, std::unique_ptr<Fixture>> all;
  auto& slot = all[{kind, n}];
  if (!slot) slot.reset(new Fixture(kind, n));
  return *slot;
}

// Each iteration looks up the next key of the set (all are present).
template <typename Lookup>
void run(benchmark::State& state, KeyKind kind, Lookup lookup) {
  const int n = static_cast<int>(state.range(0));
  Fixture& f = fixture(kind, n);
  int i = 0;
  for (auto _ : state) {
    auto result = lookup(f, i);
    benchmark::DoNotOptimize(result);
    if (++i == n) i = 0;
  }
  state.SetItemsProcessed(state.iterations());
}

void registerAll() {
  for (int n : kSizes) {
    benchmark::RegisterBenchmark("int/dict", [](benchmark::State& s) {
      run(s, kInt, [](Fixture& f, int i) { return f.dict.getIntForKey(f.ints[i]); });
    })->Arg(n);
    benchmark::RegisterBenchmark("int/seqdict", [](benchmark::State& s) {
      run(s, kInt, [](Fixture& f, int i) { return f.seq.getIntForKey(f.ints[i]); });
    })->Arg(n);
    benchmark::RegisterBenchmark("int/umap", [](benchmark::State& s) {
      run(s, kInt, [](Fixture& f, int i) { return f.intMap.find(f.ints[i])->second; });
    })->Arg(n);
    for (KeyKind kind : {kStr, kPrefix}) {
      const std::string name = kKindNames[kind];
      benchmark::RegisterBenchmark((name + "/dict").c_str(), [kind](benchmark::State& s) {
        run(s, kind, [](Fixture& f, int i) { return f.dict.getPtrForKey(f.probes[i].get()); });
      })->Arg(n);
      benchmark::RegisterBenchmark((name + "/seqdict").c_str(), [kind](benchmark::State& s) {
        run(s, kind, [](Fixture& f, int i) { return f.seq.getPtrForKey(f.probes[i].get()); });
      })->Arg(n);
      benchmark::RegisterBenchmark((name + "/umap").c_str(), [kind](benchmark::State& s) {
        run(s, kind, [](Fixture& f, int i) { return f.strMap.find(f.probeTexts[i])->second; });
      })->Arg(n);
    }
  }
}

// Per key set and size, each vxlib container's time per lookup divided by
// unordered_map's, then the cost of the shared prefix.
void printRatios(const RunTimes& times) {
  auto at = [&times](const char* kind, const char* container, int n) {
    return times.at(std::string(kind) + "/" + container + "/" + std::to_string(n));
  };
  printf("\n%-8s %6s %10s %10s %10s %10s %10s\n", "keys", "n", "dict ns", "seq ns", "umap ns", "dict/umap",
         "seq/umap");
  for (const char* kind : kKindNames) {
    for (int n : kSizes) {
      const double d = at(kind, "dict", n), s = at(kind, "seqdict", n), u = at(kind, "umap", n);
      if (u == 0) continue;
      printf("%-8s %6d %10.1f %10.1f %10.1f %10.2f %10.2f\n", kind, n, d, s, u, d / u, s / u);
    }
  }
  printf("\nshared five-letter prefix: prefix time / str time\n%6s %10s %10s %10s\n", "n", "dict", "seqdict",
         "umap");
  for (int n : kSizes) {
    const double ds = at("str", "dict", n), ss = at("str", "seqdict", n), us = at("str", "umap", n);
    if (ds == 0 || ss == 0 || us == 0) continue;
    printf("%6d %10.2f %10.2f %10.2f\n", n, at("prefix", "dict", n) / ds, at("prefix", "seqdict", n) / ss,
           at("prefix", "umap", n) / us);
  }
}

}  // namespace

int main(int argc, char** argv) {
  registerAll();
  runAndPrint(&argc, argv, RunTimes::kCpuTime, printRatios);
  return 0;
}
