// Heap routines for NUL-terminated strings and resizable blocks.
//
// Both report heap exhaustion through their result and post nothing: the
// caller decides which error to file. Thread-safety: as safe as malloc.
#ifndef VX_FOUNDATION_RAM_H_
#define VX_FOUNDATION_RAM_H_

#include "foundation/vxexport.h"
#include "foundation/vxtypes.h"

// A malloc'ed copy of the first n bytes of s followed by a NUL (n + 1 bytes
// in all); null when the heap is exhausted. Free it with free().
VX_EXPORT char* ramAllocStr(const char* s, VXSIZE_T n);
// The same with n taken from s's length.
VX_EXPORT char* ramAllocStr(const char* s);

// Reallocates *p to n bytes with realloc. On success stores the new pointer
// and returns false (0); on failure leaves *p alone and returns true (1).
// A size of 0 keeps a 1-byte block.
VX_EXPORT bool ramResize(void** p, VXSIZE_T n);
// The same for a pointer of any type.
template <typename T>
inline bool ramResize(T** p, VXSIZE_T n) {
  void* block = *p;
  if (ramResize(&block, n)) return true;
  *p = static_cast<T*>(block);
  return false;
}

#endif  // VX_FOUNDATION_RAM_H_
