// Byte primitives against libc: memCopy vs memcpy, memCompare vs memcmp,
// memEqual vs memcmp() == 0, memZero vs memset(0), at 16 B, 256 B, 4 KiB
// and 1 MiB. After the usual table it prints, per operation and size, the
// ratio of vxlib's time to libc's (below 1 means vxlib is faster).
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "foundation/but.h"
#include "ratio_reporter.h"

namespace {

constexpr size_t kMaxSize = 1 << 20;

// Two distinct, 64-byte aligned buffers with equal contents, so that the
// comparisons scan the whole length.
struct Buffers {
  uint8_t* a;
  uint8_t* b;
  Buffers() {
    a = static_cast<uint8_t*>(aligned_alloc(64, kMaxSize));
    b = static_cast<uint8_t*>(aligned_alloc(64, kMaxSize));
    for (size_t k = 0; k < kMaxSize; ++k) a[k] = b[k] = uint8_t(k * 31 + 7);
  }
};

Buffers& buffers() {
  static Buffers instance;
  return instance;
}

// Runs `op(buffers, n)` once per iteration, n being the benchmark's size,
// and counts n bytes per iteration.
template <typename Op>
void overBuffers(benchmark::State& state, Op op) {
  size_t n = size_t(state.range(0));
  Buffers& buf = buffers();
  for (auto _ : state) op(buf, n);
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(n));
}

void copyVx(benchmark::State& state) {
  overBuffers(state, [](Buffers& buf, size_t n) {
    memCopy(buf.a, buf.b, n);
    benchmark::ClobberMemory();
  });
}

void copyLibc(benchmark::State& state) {
  overBuffers(state, [](Buffers& buf, size_t n) {
    memcpy(buf.a, buf.b, n);
    benchmark::ClobberMemory();
  });
}

void compareVx(benchmark::State& state) {
  overBuffers(state, [](Buffers& buf, size_t n) {
    int16_t c = memCompare(buf.a, buf.b, n);
    benchmark::DoNotOptimize(c);
  });
}

void compareLibc(benchmark::State& state) {
  overBuffers(state, [](Buffers& buf, size_t n) {
    int c = memcmp(buf.a, buf.b, n);
    benchmark::DoNotOptimize(c);
  });
}

void equalVx(benchmark::State& state) {
  overBuffers(state, [](Buffers& buf, size_t n) {
    bool e = memEqual(buf.a, buf.b, n);
    benchmark::DoNotOptimize(e);
  });
}

void equalLibc(benchmark::State& state) {
  overBuffers(state, [](Buffers& buf, size_t n) {
    bool e = memcmp(buf.a, buf.b, n) == 0;
    benchmark::DoNotOptimize(e);
  });
}

void zeroVx(benchmark::State& state) {
  overBuffers(state, [](Buffers& buf, size_t n) {
    memZero(buf.a, n);
    benchmark::ClobberMemory();
  });
}

void zeroLibc(benchmark::State& state) {
  overBuffers(state, [](Buffers& buf, size_t n) {
    memset(buf.a, 0, n);
    benchmark::ClobberMemory();
  });
}

const std::vector<int64_t> kSizes = {16, 256, 4096, 1 << 20};

// Registers "op/vx/size" and "op/libc/size" for every size.
void registerPair(const char* op, void (*vx)(benchmark::State&),
                  void (*libc)(benchmark::State&)) {
  for (int64_t n : kSizes) {
    benchmark::RegisterBenchmark((std::string(op) + "/vx").c_str(), vx)->Arg(n);
    benchmark::RegisterBenchmark((std::string(op) + "/libc").c_str(), libc)->Arg(n);
  }
}

}  // namespace

int main(int argc, char** argv) {
  registerPair("copy", copyVx, copyLibc);
  registerPair("compare", compareVx, compareLibc);
  registerPair("equal", equalVx, equalLibc);
  registerPair("zero", zeroVx, zeroLibc);
  runAndPrint(&argc, argv, RunTimes::kCpuTime,
              [](const RunTimes& times) { printPeerRatios(times, "libc"); });
  return 0;
}
