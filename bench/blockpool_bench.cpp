// The block pool against plain pread: 4 KB reads at random offsets of a
// 64 MB file, through bvmFileRead or straight from the file. "hot": the
// reads stay in 96 blocks (768 KB), which the pool of 128 blocks holds;
// "cold": they spread over all 8192 blocks, so nearly every read misses
// and loads a block (the file itself stays in the page cache either way).
// After the table it prints vxlib's CPU time divided by pread's (below 1
// means the pool is faster); CPU time includes the system calls' time.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "ratio_reporter.h"
#include "storage/vxvm.h"

namespace {

constexpr size_t kFileBlocks = 8192;
constexpr size_t kRead = 4096;
constexpr uint16_t kPoolChunks = 16;  // 128 blocks

int file = -1;

std::vector<uint64_t> offsets(size_t blocks) {
  std::mt19937_64 rng(7);
  std::vector<uint64_t> out(4096);
  for (uint64_t& o : out) o = rng() % (blocks * BVM_BLOCK_SIZE - kRead);
  return out;
}

void readSide(benchmark::State& state, size_t blocks, bool pool) {
  const std::vector<uint64_t> at = offsets(blocks);
  std::vector<char> buffer(kRead);
  bvmPool* vm = bvmInit(kPoolChunks);
  size_t i = 0;
  for (auto _ : state) {
    uint64_t offset = at[i++ % at.size()];
    if (pool) {
      VXSIZE_T got = 0;
      if (bvmFileRead(vm, file, offset, buffer.data(), kRead, &got, 0) != 0 || got != kRead) abort();
    } else if (pread(file, buffer.data(), kRead, off_t(offset)) != ssize_t(kRead)) {
      abort();
    }
    benchmark::DoNotOptimize(buffer.data());
  }
  bvmFlush(vm, file);
  bvmTerm(vm);
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(kRead));
}

}  // namespace

int main(int argc, char** argv) {
  char name[] = "/tmp/blockpool_bench_XXXXXX";
  file = mkstemp(name);
  unlink(name);
  std::vector<char> block(BVM_BLOCK_SIZE);
  std::mt19937 rng(1);
  for (size_t b = 0; b < kFileBlocks; ++b) {
    for (char& c : block) c = char(rng());
    if (write(file, block.data(), block.size()) != ssize_t(block.size())) return 1;
  }
  for (const auto& set : {std::make_pair("hot", size_t(96)), std::make_pair("cold", kFileBlocks)}) {
    size_t blocks = set.second;
    benchmark::RegisterBenchmark((std::string("read/vx/") + set.first).c_str(),
                                 [blocks](benchmark::State& s) { readSide(s, blocks, true); });
    benchmark::RegisterBenchmark((std::string("read/pread/") + set.first).c_str(),
                                 [blocks](benchmark::State& s) { readSide(s, blocks, false); });
  }
  runAndPrint(&argc, argv, RunTimes::kCpuTime,
              [](const RunTimes& times) { printPeerRatios(times, "pread"); });
  close(file);
  return 0;
}
