// The library's internal allocation path, with a test hook that makes a
// chosen allocation fail so that out-of-memory handling can be tested.
//
// Not exported. Every allocation whose failure the library reports (the
// ram functions, VxObject's operator new, the string and array buffers)
// goes through these instead of calling malloc directly.
#ifndef VX_FOUNDATION_RAM_INTERNAL_H_
#define VX_FOUNDATION_RAM_INTERNAL_H_

#include <cstddef>
#include <cstdint>

// Makes the n-th allocation from now (counted across all threads) return
// null, once; 1 means the very next one. 0 disarms a pending failure.
void ramFailAllocationAfter(uint64_t n);

// malloc(size), or null when the hook says this allocation fails.
void* ramAlloc(size_t size);
// calloc(1, size), or null when the hook says this allocation fails.
void* ramAllocZeroed(size_t size);
// realloc(p, size), or null (p untouched) when the hook says this
// allocation fails.
void* ramRealloc(void* p, size_t size);

#endif  // VX_FOUNDATION_RAM_INTERNAL_H_
