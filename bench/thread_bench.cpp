// Locks and per-thread data against their standard-library peers:
//   VxCriticalSection enter/leave        vs  std::recursive_mutex lock/unlock
//   mdsGetPerThreadData with 1, 8 and 64 registered threads
//                                        vs  a plain thread_local read, inline
//                                            and behind a function call
// The calling thread registers last, so a lookup that walked the thread
// list would grow with the thread count. After the runs the program prints
// each ratio (vxlib CPU time / peer CPU time; CPU time because the
// machine may be shared and wall time then counts other processes).
#include <benchmark/benchmark.h>

#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "bos/mds.h"
#include "bos/vxcritse.h"
#include "ratio_reporter.h"

namespace {

void BM_VxCriticalSection(benchmark::State& state) {
  VxCriticalSection section;
  for (auto _ : state) {
    section.enter();
    section.leave();
  }
}
BENCHMARK(BM_VxCriticalSection);

void BM_StdRecursiveMutex(benchmark::State& state) {
  std::recursive_mutex mutex;
  for (auto _ : state) {
    mutex.lock();
    mutex.unlock();
  }
}
BENCHMARK(BM_StdRecursiveMutex);

// Keeps `count` other threads registered (live entries ahead of the
// caller's in the list) until destroyed.
class RegisteredThreads {
 public:
  explicit RegisteredThreads(int count) {
    for (int i = 0; i < count; ++i) {
      threads.emplace_back([this] {
        mdsPerThreadInit();
        std::unique_lock<std::mutex> hold(lock);
        ++registered;
        changed.notify_all();
        changed.wait(hold, [this] { return done; });
        hold.unlock();
        mdsPerThreadTerm();
      });
    }
    std::unique_lock<std::mutex> hold(lock);
    changed.wait(hold, [this, count] { return registered == count; });
  }
  ~RegisteredThreads() {
    {
      std::lock_guard<std::mutex> hold(lock);
      done = true;
    }
    changed.notify_all();
    for (std::thread& t : threads) t.join();
  }

 private:
  std::vector<std::thread> threads;
  std::mutex lock;
  std::condition_variable changed;
  int registered = 0;
  bool done = false;
};

void BM_MdsGetPerThreadData(benchmark::State& state) {
  RegisteredThreads others(int(state.range(0)) - 1);
  mdsPerThreadInit();
  int value = 0;
  mdsSetPerThreadData(0, &value);
  for (auto _ : state) {
    void* slot = mdsGetPerThreadData(0);
    benchmark::DoNotOptimize(slot);
  }
  mdsPerThreadTerm();
}
BENCHMARK(BM_MdsGetPerThreadData)->Arg(1)->Arg(8)->Arg(64);

thread_local void* plainSlots[6];

void BM_ThreadLocalRead(benchmark::State& state) {
  int value = 0;
  plainSlots[0] = &value;
  for (auto _ : state) {
    void** slots = plainSlots;
    benchmark::DoNotOptimize(slots);  // keep the thread-local address lookup in the loop
    void* slot = slots[0];
    benchmark::DoNotOptimize(slot);
  }
}
BENCHMARK(BM_ThreadLocalRead);

// The same read behind a function call, as a library accessor for a
// thread_local of its own would be.
__attribute__((noinline)) void* threadLocalSlot(uint16_t index) { return plainSlots[index]; }

void BM_ThreadLocalAccessor(benchmark::State& state) {
  int value = 0;
  plainSlots[0] = &value;
  for (auto _ : state) {
    void* slot = threadLocalSlot(0);
    benchmark::DoNotOptimize(slot);
  }
}
BENCHMARK(BM_ThreadLocalAccessor);

void printRatio(const RunTimes& times, const std::string& ours, const std::string& peer) {
  if (!times.has(ours) || !times.has(peer) || times.at(peer) <= 0) return;
  printf("ratio %-34s / %-22s = %.2f\n", ours.c_str(), peer.c_str(), times.at(ours) / times.at(peer));
}

}  // namespace

int main(int argc, char** argv) {
  runAndPrint(&argc, argv, RunTimes::kCpuTime, [](const RunTimes& times) {
    printRatio(times, "BM_VxCriticalSection", "BM_StdRecursiveMutex");
    for (const char* threads : {"1", "8", "64"}) {
      printRatio(times, std::string("BM_MdsGetPerThreadData/") + threads, "BM_ThreadLocalRead");
      printRatio(times, std::string("BM_MdsGetPerThreadData/") + threads, "BM_ThreadLocalAccessor");
    }
  });
  return 0;
}
