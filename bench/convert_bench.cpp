// Number conversion: vxlib's convert against the C and C++ libraries.
//
// Text to number: convert(text, &u64 / &i64) against strtoull / strtoll
// and std::from_chars. Number to text: convert(buffer, value) against
// std::to_chars. Each case runs over 4096 numbers, either of every length
// (1 to 20 digits, evenly) or short (1 to 5 digits, typical of lengths,
// ports and counts). After the runs a table gives, for each case, vxlib's
// CPU time divided by each peer's (below 1: vxlib is faster), from the
// median when the runs are repeated (--benchmark_repetitions).
#include <benchmark/benchmark.h>

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "ratio_reporter.h"
#include "values/convert.h"

namespace {

const size_t kCount = 4096;

// kCount values; `maxDigits` bounds their decimal length, lengths evenly
// spread from 1 up to it. Negative values when `withSign` (half of them).
std::vector<uint64_t> makeValues(int maxDigits, bool withSign) {
  std::mt19937_64 random(42);
  std::vector<uint64_t> values;
  for (size_t i = 0; i < kCount; ++i) {
    int digits = 1 + int(i % size_t(maxDigits));
    uint64_t value = random() % 9 + 1;
    for (int d = 1; d < digits; ++d) value = value * 10 + random() % 10;
    if (withSign) {
      value &= INT64_MAX;  // 20-digit values do not fit: keep them positive
      if (random() & 1) value = uint64_t(-int64_t(value));
    }
    values.push_back(value);
  }
  return values;
}

std::vector<std::string> makeTexts(const std::vector<uint64_t>& values, bool withSign) {
  std::vector<std::string> texts;
  for (uint64_t v : values) texts.push_back(withSign ? std::to_string(int64_t(v)) : std::to_string(v));
  return texts;
}

struct Data {
  std::vector<uint64_t> values;
  std::vector<std::string> texts;
};

const Data& data(bool shortNumbers, bool withSign) {
  static std::map<std::pair<bool, bool>, Data> cache;
  Data& d = cache[{shortNumbers, withSign}];
  if (d.values.empty()) {
    d.values = makeValues(shortNumbers ? 5 : withSign ? 19 : 20, withSign);
    d.texts = makeTexts(d.values, withSign);
  }
  return d;
}

// Runs `parse` on every text of the data set, once per iteration.
template <typename Parse>
void parseAll(benchmark::State& state, const Data& d, Parse parse) {
  uint64_t sum = 0;
  for (auto _ : state) {
    for (const std::string& t : d.texts) sum += parse(t);
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(int64_t(state.iterations() * d.texts.size()));
}

template <typename Format>
void formatAll(benchmark::State& state, const Data& d, Format format) {
  char buffer[32];
  uint64_t sum = 0;
  for (auto _ : state) {
    for (uint64_t v : d.values) sum += format(buffer, v);
    benchmark::DoNotOptimize(sum);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(int64_t(state.iterations() * d.values.size()));
}

void registerCases(const char* length, bool shortNumbers) {
  std::string u = std::string("parse_u64_") + length;
  std::string s = std::string("parse_i64_") + length;
  const Data& du = data(shortNumbers, false);
  const Data& ds = data(shortNumbers, true);

  benchmark::RegisterBenchmark((u + "/vx").c_str(), [&du](benchmark::State& st) {
    parseAll(st, du, [](const std::string& t) {
      VXSIZE_T v = 0;
      convert(t.c_str(), &v);
      return v;
    });
  });
  benchmark::RegisterBenchmark((u + "/strtoull").c_str(), [&du](benchmark::State& st) {
    parseAll(st, du, [](const std::string& t) { return uint64_t(strtoull(t.c_str(), nullptr, 10)); });
  });
  benchmark::RegisterBenchmark((u + "/from_chars").c_str(), [&du](benchmark::State& st) {
    parseAll(st, du, [](const std::string& t) {
      uint64_t v = 0;
      std::from_chars(t.data(), t.data() + t.size(), v);
      return v;
    });
  });

  benchmark::RegisterBenchmark((s + "/vx").c_str(), [&ds](benchmark::State& st) {
    parseAll(st, ds, [](const std::string& t) {
      VXSSIZE_T v = 0;
      convert(t.c_str(), &v);
      return uint64_t(v);
    });
  });
  benchmark::RegisterBenchmark((s + "/strtoll").c_str(), [&ds](benchmark::State& st) {
    parseAll(st, ds, [](const std::string& t) { return uint64_t(strtoll(t.c_str(), nullptr, 10)); });
  });
  benchmark::RegisterBenchmark((s + "/from_chars").c_str(), [&ds](benchmark::State& st) {
    parseAll(st, ds, [](const std::string& t) {
      int64_t v = 0;
      std::from_chars(t.data(), t.data() + t.size(), v);
      return uint64_t(v);
    });
  });

  std::string fu = std::string("format_u64_") + length;
  std::string fs = std::string("format_i64_") + length;
  benchmark::RegisterBenchmark((fu + "/vx").c_str(), [&du](benchmark::State& st) {
    formatAll(st, du, [](char* b, uint64_t v) { return size_t(convert(b, VXSIZE_T(v))); });
  });
  benchmark::RegisterBenchmark((fu + "/to_chars").c_str(), [&du](benchmark::State& st) {
    formatAll(st, du, [](char* b, uint64_t v) {
      char* end = std::to_chars(b, b + 32, v).ptr;
      *end = '\0';  // convert writes a NUL too
      return size_t(end - b);
    });
  });
  benchmark::RegisterBenchmark((fs + "/vx").c_str(), [&ds](benchmark::State& st) {
    formatAll(st, ds, [](char* b, uint64_t v) { return size_t(convert(b, VXSSIZE_T(v))); });
  });
  benchmark::RegisterBenchmark((fs + "/to_chars").c_str(), [&ds](benchmark::State& st) {
    formatAll(st, ds, [](char* b, uint64_t v) {
      char* end = std::to_chars(b, b + 32, int64_t(v)).ptr;
      *end = '\0';
      return size_t(end - b);
    });
  });
}

// True when vxlib and the C++ library read every text of every data set
// as the same value and write every value as the same text.
bool sidesAgree() {
  for (bool shortNumbers : {false, true}) {
    for (bool withSign : {false, true}) {
      const Data& d = data(shortNumbers, withSign);
      for (size_t i = 0; i < d.texts.size(); ++i) {
        const std::string& t = d.texts[i];
        char vxText[32], stdText[32];
        if (withSign) {
          VXSSIZE_T vx = 0;
          int64_t peer = 0;
          if (convert(t.c_str(), &vx) != 0) return false;
          std::from_chars(t.data(), t.data() + t.size(), peer);
          if (vx != peer) return false;
          convert(vxText, VXSSIZE_T(d.values[i]));
          *std::to_chars(stdText, stdText + 31, int64_t(d.values[i])).ptr = '\0';
        } else {
          VXSIZE_T vx = 0;
          uint64_t peer = 0;
          if (convert(t.c_str(), &vx) != 0) return false;
          std::from_chars(t.data(), t.data() + t.size(), peer);
          if (vx != peer) return false;
          convert(vxText, VXSIZE_T(d.values[i]));
          *std::to_chars(stdText, stdText + 31, d.values[i]).ptr = '\0';
        }
        if (strcmp(vxText, stdText) != 0) return false;
      }
    }
  }
  return true;
}

// For every case, the time of ".../vx" divided by the time of each peer of
// the same case, cases and peers in name order.
void printRatios(const RunTimes& times) {
  std::map<std::string, std::map<std::string, double>> cases;
  for (const std::string& name : times.names()) {
    size_t slash = name.find('/');
    if (slash != std::string::npos) cases[name.substr(0, slash)][name.substr(slash + 1)] = times.at(name);
  }
  printf("\n%-22s %-12s %s\n", "case", "peer", "vx CPU time / peer CPU time");
  for (const auto& entry : cases) {
    auto vx = entry.second.find("vx");
    if (vx == entry.second.end()) continue;
    for (const auto& peer : entry.second) {
      if (peer.first == "vx") continue;
      printf("%-22s %-12s %.2f\n", entry.first.c_str(), peer.first.c_str(), vx->second / peer.second);
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (!sidesAgree()) {
    fprintf(stderr, "convert and from_chars/to_chars disagree on the inputs\n");
    return 1;
  }
  registerCases("all_lengths", false);
  registerCases("short", true);
  runAndPrint(&argc, argv, RunTimes::kCpuTime, printRatios);
  return 0;
}
