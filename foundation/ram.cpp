// The library's allocation path with its failure hook, and the heap string
// routines built on it.
#include "foundation/ram.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

#include "foundation/ram_internal.h"

namespace {

// Allocations left until the one that fails; 0 when no failure is pending.
std::atomic<uint64_t> allocationsUntilFailure{0};

// Counts one allocation against a pending failure. The common case (no
// failure pending) costs one relaxed load; the countdown itself is a
// compare-exchange so that concurrent allocations each take one step and
// exactly one of them sees the count reach zero.
inline bool thisAllocationFails() {
  uint64_t left = allocationsUntilFailure.load(std::memory_order_relaxed);
  if (__builtin_expect(left == 0, 1)) return false;
  while (left != 0) {
    if (allocationsUntilFailure.compare_exchange_weak(left, left - 1, std::memory_order_relaxed))
      return left == 1;
  }
  return false;
}

}  // namespace

void ramFailAllocationAfter(uint64_t n) {
  allocationsUntilFailure.store(n, std::memory_order_relaxed);
}

void* ramAlloc(size_t size) { return thisAllocationFails() ? nullptr : malloc(size); }

void* ramAllocZeroed(size_t size) { return thisAllocationFails() ? nullptr : calloc(1, size); }

void* ramRealloc(void* p, size_t size) {
  return thisAllocationFails() ? nullptr : realloc(p, size);
}

char* ramAllocStr(const char* s, VXSIZE_T n) {
  char* copy = static_cast<char*>(ramAlloc(n + 1));
  if (copy == nullptr) return nullptr;
  memcpy(copy, s, n);
  copy[n] = '\0';
  return copy;
}

char* ramAllocStr(const char* s) { return ramAllocStr(s, strlen(s)); }

// A size of 0 is taken as 1: realloc(p, 0) would free the block and return
// null, which the caller would read as a failure with *p still valid.
bool ramResize(void** p, VXSIZE_T n) {
  void* resized = ramRealloc(*p, n == 0 ? 1 : n);
  if (resized == nullptr) return true;
  *p = resized;
  return false;
}
