// Benchmarks of the temporary storage, each against the peer a driver
// author would otherwise pick:
//  - tree: VxTree (8-byte keys, 8-byte data, nodes in a temporary store
//    with its 32 KB cache) against std::map, inserting N random keys and
//    then looking each one up. With 1,000 keys the nodes nearly fit the
//    cache; with 1,000,000 they take about 40 MB, so pages are written
//    back and read again (counted as pages_written and pages_read).
//  - pages: VxTmpFile random access to 2 KB pages (one write in four)
//    against pread/pwrite of the same pages on a plain file, with a hot
//    working set (8 pages, within the cache) and a cold one (4,096 pages,
//    8 MB). Reports MB/s and the cache's hit ratio.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <random>
#include <vector>

#include "containers/vxtree.h"
#include "ratio_reporter.h"
#include "storage/vxtmpfil.h"

namespace {

std::vector<uint64_t> randomKeys(size_t n) {
  std::mt19937_64 rng(2026);
  std::vector<uint64_t> keys(n);
  for (uint64_t& k : keys) k = rng();
  return keys;
}

// Big-endian, so the tree's byte order is numeric order.
void putKey(uint64_t k, unsigned char* out) {
  for (int i = 7; i >= 0; --i, k >>= 8) out[i] = static_cast<unsigned char>(k);
}

void treeVx(benchmark::State& state) {
  const std::vector<uint64_t> keys = randomKeys(state.range(0));
  VXSIZE_T read = 0, written = 0;
  for (auto _ : state) {
    VxTree tree(8, 8, nullptr, 0, 0);
    unsigned char key[8];
    unsigned int found;
    for (uint64_t k : keys) {
      putKey(k, key);
      tree.add(key, &k, &found);
    }
    uint64_t data, sum = 0;
    for (uint64_t k : keys) {
      putKey(k, key);
      tree.getData(key, &data, &found, nullptr);
      sum += data;
    }
    benchmark::DoNotOptimize(sum);
    read = tree.getNodeStore().getPagesRead();
    written = tree.getNodeStore().getPagesWritten();
  }
  state.counters["pages_read"] = double(read);
  state.counters["pages_written"] = double(written);
}

void treeMap(benchmark::State& state) {
  const std::vector<uint64_t> keys = randomKeys(state.range(0));
  for (auto _ : state) {
    std::map<uint64_t, uint64_t> tree;
    for (uint64_t k : keys) tree.emplace(k, k);
    uint64_t sum = 0;
    for (uint64_t k : keys) sum += tree.find(k)->second;
    benchmark::DoNotOptimize(sum);
  }
}

const int kAccesses = 200000;

// The page numbers one run visits: uniformly random within the set.
std::vector<uint32_t> pagesToVisit(int64_t workingSet) {
  std::mt19937 rng(74);
  std::vector<uint32_t> pages(kAccesses);
  for (uint32_t& p : pages) p = uint32_t(rng() % workingSet);
  return pages;
}

void pagesVx(benchmark::State& state) {
  const std::vector<uint32_t> pages = pagesToVisit(state.range(0));
  char buffer[2048];
  memset(buffer, 'p', sizeof buffer);
  double hits = 0;
  for (auto _ : state) {
    VxTmpFile store(32768, 1);  // lock disabled: one thread
    for (int64_t p = 0; p < state.range(0); ++p) store.tmpWrite(1 + p * 2048, buffer, 1);  // touch
    VXSIZE_T before = store.getPagesRead();
    for (size_t i = 0; i < pages.size(); ++i) {
      void* at;
      uint16_t left;
      store.tmpPointer(VXSIZE_T(pages[i]) * 2048, &at, &left, i % 4 == 0);
      if (i % 4 == 0) {
        memcpy(at, buffer, 2048);
      } else {
        memcpy(buffer, at, 2048);
      }
    }
    hits = 1.0 - double(store.getPagesRead() - before) / double(pages.size());
  }
  state.counters["hit_ratio"] = hits;
  state.SetBytesProcessed(int64_t(state.iterations()) * kAccesses * 2048);
}

void pagesPread(benchmark::State& state) {
  const std::vector<uint32_t> pages = pagesToVisit(state.range(0));
  char buffer[2048];
  memset(buffer, 'p', sizeof buffer);
  char name[] = "/tmp/vxpagebench.XXXXXX";
  int fd = mkstemp(name);
  unlink(name);
  for (int64_t p = 0; p < state.range(0); ++p) pwrite(fd, buffer, sizeof buffer, p * 2048);
  for (auto _ : state) {
    for (size_t i = 0; i < pages.size(); ++i) {
      off_t at = off_t(pages[i]) * 2048;
      if (i % 4 == 0) {
        benchmark::DoNotOptimize(pwrite(fd, buffer, sizeof buffer, at));
      } else {
        benchmark::DoNotOptimize(pread(fd, buffer, sizeof buffer, at));
      }
    }
  }
  close(fd);
  state.SetBytesProcessed(int64_t(state.iterations()) * kAccesses * 2048);
}

}  // namespace

BENCHMARK(treeVx)->Name("tree/vx")->Arg(1000)->Arg(1000000)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(treeMap)->Name("tree/map")->Arg(1000)->Arg(1000000)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(pagesVx)->Name("pages/vx")->Arg(8)->Arg(4096)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(pagesPread)->Name("pages/pread")->Arg(8)->Arg(4096)->Unit(benchmark::kMillisecond)->UseRealTime();

int main(int argc, char** argv) {
  runAndPrint(&argc, argv, RunTimes::kRealTime, [](const RunTimes& times) {
    printPeerRatios(times, "map");
    printPeerRatios(times, "pread");
  });
  return 0;
}
