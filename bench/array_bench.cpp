// Sorted arrays and the in-memory record sort against the standard library.
//
//  - add: VxSortedArray (object elements ordered by their virtual compare)
//    and VxSortedArrayVXSIZE_T against std::vector + std::upper_bound +
//    insert (insertion after equal keys, as the sorted arrays do). Each
//    iteration inserts one random key into an array of N elements, searches
//    it again and removes it, so the size stays N.
//  - find: findIndexOf against std::lower_bound on N elements, random keys.
//  - sort: VxSort over 1 000 000 16-byte records with one byte key, sorted
//    in place through setBuf/sortBuf, against std::sort with the equivalent
//    comparator on the same input.
// The arrays are reserved with resize() before they are filled: growth is
// linear (16 slots at a time), so filling a million-element array one add
// at a time would copy it some 60 000 times.
// After the usual table it prints vxlib's time divided by std's.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include "containers/vxsorted.h"
#include "ratio_reporter.h"
#include "storage/sort.h"

namespace {

class Key : public VxObject {
 public:
  explicit Key(uint64_t k) : key(k) {}
  int16_t compare(const VxObject* other) const override {
    uint64_t o = static_cast<const Key*>(other)->key;
    return key < o ? -1 : (key > o ? 1 : 0);
  }
  uint64_t key;
};

// The std peer orders the same VxObject pointers by the same virtual
// compare, so both sides pay for the element's comparison in the same way
// (held as VxObject*, the call cannot be resolved at compile time).
bool keyLess(const VxObject* a, const VxObject* b) { return a->compare(b) < 0; }

std::vector<uint64_t> randomKeys(size_t n, unsigned seed) {
  std::mt19937_64 rng(seed);
  std::vector<uint64_t> keys(n);
  for (uint64_t& k : keys) k = rng();
  return keys;
}

// N keys in ascending order (every second value, so that half the probes
// of the find benchmarks miss).
std::vector<VxObject*> sortedKeyObjects(size_t n) {
  std::vector<VxObject*> keys;
  for (size_t i = 0; i < n; ++i) keys.push_back(new Key(2 * i));
  return keys;
}

void addObjectVx(benchmark::State& state) {
  size_t n = size_t(state.range(0));
  std::vector<VxObject*> keys = sortedKeyObjects(n);
  VxSortedArray a;
  a.setDeleteContentsOnDestruct();
  a.resize(n + 16, 1);
  for (VxObject* k : keys) a.add(k);
  std::vector<uint64_t> probes = randomKeys(4096, 1);
  Key probe(0);
  size_t p = 0;
  for (auto _ : state) {
    probe.key = probes[p++ & 4095] % (2 * n);
    a.add(&probe);
    VXSIZE_T pos;
    a.findIndexOf(&probe, pos);
    pos = a.findIndexOfLastKey(&probe, pos);
    a.removeAtIndex(pos);
  }
}

void addObjectStd(benchmark::State& state) {
  size_t n = size_t(state.range(0));
  std::vector<VxObject*> v = sortedKeyObjects(n);
  std::vector<uint64_t> probes = randomKeys(4096, 1);
  Key probeKey(0);
  VxObject* probe = &probeKey;
  size_t p = 0;
  for (auto _ : state) {
    probeKey.key = probes[p++ & 4095] % (2 * n);
    v.insert(std::upper_bound(v.begin(), v.end(), probe, keyLess), probe);
    v.erase(std::upper_bound(v.begin(), v.end(), probe, keyLess) - 1);
  }
  for (VxObject* k : v) delete k;
}

void addValueVx(benchmark::State& state) {
  size_t n = size_t(state.range(0));
  VxSortedArrayVXSIZE_T a;
  a.resize(n + 16, 1);
  for (size_t i = 0; i < n; ++i) a.add(2 * i);
  std::vector<uint64_t> probes = randomKeys(4096, 2);
  size_t p = 0;
  for (auto _ : state) {
    uint64_t key = probes[p++ & 4095] % (2 * n);
    a.add(key);
    VXSIZE_T pos;
    a.findIndexOf(key, pos);
    a.removeAtIndex(a.findIndexOfLastKey(key, pos));
  }
}

void addValueStd(benchmark::State& state) {
  size_t n = size_t(state.range(0));
  std::vector<uint64_t> v;
  for (size_t i = 0; i < n; ++i) v.push_back(2 * i);
  std::vector<uint64_t> probes = randomKeys(4096, 2);
  size_t p = 0;
  for (auto _ : state) {
    uint64_t key = probes[p++ & 4095] % (2 * n);
    v.insert(std::upper_bound(v.begin(), v.end(), key), key);
    v.erase(std::upper_bound(v.begin(), v.end(), key) - 1);
  }
}

void findObjectVx(benchmark::State& state) {
  size_t n = size_t(state.range(0));
  VxSortedArray a;
  a.setDeleteContentsOnDestruct();
  a.resize(n + 16, 1);
  for (VxObject* k : sortedKeyObjects(n)) a.add(k);
  std::vector<uint64_t> probes = randomKeys(4096, 3);
  Key probe(0);
  size_t p = 0;
  for (auto _ : state) {
    probe.key = probes[p++ & 4095] % (2 * n);
    VXSIZE_T pos;
    benchmark::DoNotOptimize(a.findIndexOf(&probe, pos));
    benchmark::DoNotOptimize(pos);
  }
}

void findObjectStd(benchmark::State& state) {
  size_t n = size_t(state.range(0));
  std::vector<VxObject*> v = sortedKeyObjects(n);
  std::vector<uint64_t> probes = randomKeys(4096, 3);
  Key probeKey(0);
  VxObject* probe = &probeKey;
  size_t p = 0;
  for (auto _ : state) {
    probeKey.key = probes[p++ & 4095] % (2 * n);
    auto at = std::lower_bound(v.begin(), v.end(), probe, keyLess);
    bool found = at != v.end() && (*at)->compare(probe) == 0;
    benchmark::DoNotOptimize(found);
    benchmark::DoNotOptimize(at);
  }
  for (VxObject* k : v) delete k;
}

void findValueVx(benchmark::State& state) {
  size_t n = size_t(state.range(0));
  VxSortedArrayVXSIZE_T a;
  a.resize(n + 16, 1);
  for (size_t i = 0; i < n; ++i) a.add(2 * i);
  std::vector<uint64_t> probes = randomKeys(4096, 4);
  size_t p = 0;
  for (auto _ : state) {
    VXSIZE_T pos;
    benchmark::DoNotOptimize(a.findIndexOf(probes[p++ & 4095] % (2 * n), pos));
    benchmark::DoNotOptimize(pos);
  }
}

void findValueStd(benchmark::State& state) {
  size_t n = size_t(state.range(0));
  std::vector<uint64_t> v;
  for (size_t i = 0; i < n; ++i) v.push_back(2 * i);
  std::vector<uint64_t> probes = randomKeys(4096, 4);
  size_t p = 0;
  for (auto _ : state) {
    uint64_t key = probes[p++ & 4095] % (2 * n);
    auto at = std::lower_bound(v.begin(), v.end(), key);
    bool found = at != v.end() && *at == key;
    benchmark::DoNotOptimize(found);
    benchmark::DoNotOptimize(at);
  }
}

// --- record sort ------------------------------------------------------------

struct Record {
  uint8_t key;
  uint8_t rest[15];
};
static_assert(sizeof(Record) == 16, "16-byte records");

const std::vector<Record>& unsortedRecords() {
  static std::vector<Record> records = [] {
    std::vector<Record> r(1000000);
    std::mt19937 rng(5);
    for (Record& x : r) {
      x.key = uint8_t(rng());
      for (uint8_t& b : x.rest) b = uint8_t(rng());
    }
    return r;
  }();
  return records;
}

void sortVx(benchmark::State& state) {
  std::vector<Record> work;
  for (auto _ : state) {
    state.PauseTiming();
    work = unsortedRecords();
    state.ResumeTiming();
    VxSort sort(sizeof(Record));
    sort.addKey(0, offsetof(Record, key), 1);
    sort.setBuf(work.size(), work.data());
    sort.sortBuf();
    benchmark::ClobberMemory();
  }
}

void sortStd(benchmark::State& state) {
  std::vector<Record> work;
  for (auto _ : state) {
    state.PauseTiming();
    work = unsortedRecords();
    state.ResumeTiming();
    std::sort(work.begin(), work.end(),
              [](const Record& a, const Record& b) { return a.key < b.key; });
    benchmark::ClobberMemory();
  }
}

void registerPair(const char* op, void (*vx)(benchmark::State&),
                  void (*peer)(benchmark::State&), const std::vector<int64_t>& sizes) {
  for (int64_t n : sizes) {
    benchmark::RegisterBenchmark((std::string(op) + "/vx").c_str(), vx)->Arg(n);
    benchmark::RegisterBenchmark((std::string(op) + "/std").c_str(), peer)->Arg(n);
  }
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<int64_t> sizes = {100, 10000, 1000000};
  registerPair("add_object", addObjectVx, addObjectStd, sizes);
  registerPair("add_value", addValueVx, addValueStd, sizes);
  registerPair("find_object", findObjectVx, findObjectStd, sizes);
  registerPair("find_value", findValueVx, findValueStd, sizes);
  for (const char* side : {"vx", "std"}) {
    benchmark::RegisterBenchmark((std::string("sort_16B_1key/") + side).c_str(),
                                 side[0] == 'v' ? sortVx : sortStd)
        ->Arg(1000000);
  }
  runAndPrint(&argc, argv, RunTimes::kRealTime,
              [](const RunTimes& times) { printPeerRatios(times, "std"); });
  return 0;
}
