// Copying, filling and comparing byte areas.
#include <cstring>

#include "foundation/but.h"

// Forward and backward byte copies
//
// BUTMEMCP is defined as a byte-by-byte copy from the lowest address up and
// BUTMMCPD as one from the highest address down. Callers rely on what those
// loops do when the areas overlap, so both keep that result exactly while
// doing the work with libc's block copy:
//
// - Areas that do not overlap, or that overlap in the direction the loop
//   copies safely (forward copy with dst below src, backward copy with dst
//   above src), give the same bytes as memmove.
// - A forward copy whose dst lies d bytes above src (d < n) reads bytes it
//   has already written: the result is the first d source bytes repeated
//   over the whole destination. That prefix is copied once (it does not
//   overlap the destination of its own copy) and then doubled in place,
//   each round copying bytes already written to the area just after them.
// - A backward copy whose dst lies d bytes below src is the mirror image:
//   the last d source bytes repeat down to the start of the destination.
//
// Each case therefore costs O(n) bytes moved in O(log(n/d)) block copies.

namespace {

inline void forwardCopy(uint8_t* d, const uint8_t* s, VXSIZE_T n) {
  if (n == 0 || d == s) return;
  if (d < s || d >= s + n) {
    memmove(d, s, n);
    return;
  }
  VXSIZE_T period = VXSIZE_T(d - s);
  memcpy(d, s, period);
  VXSIZE_T written = period;
  while (written < n) {
    VXSIZE_T chunk = written < n - written ? written : n - written;
    memcpy(d + written, d, chunk);
    written += chunk;
  }
}

inline void backwardCopy(uint8_t* d, const uint8_t* s, VXSIZE_T n) {
  if (n == 0 || d == s) return;
  if (d > s || s >= d + n) {
    memmove(d, s, n);
    return;
  }
  VXSIZE_T period = VXSIZE_T(s - d);
  memcpy(d + n - period, s + n - period, period);
  VXSIZE_T written = period;
  while (written < n) {
    VXSIZE_T chunk = written < n - written ? written : n - written;
    memcpy(d + n - written - chunk, d + n - chunk, chunk);
    written += chunk;
  }
}

}  // namespace

void BUTMEMCP(void* dst, const void* src, VXSIZE_T n) {
  forwardCopy(static_cast<uint8_t*>(dst), static_cast<const uint8_t*>(src), n);
}

void BUTMMCPD(void* dst, const void* src, VXSIZE_T n) {
  backwardCopy(static_cast<uint8_t*>(dst), static_cast<const uint8_t*>(src), n);
}

// memCopy, memCompare, memEqual and memZero are inline in the header. Their
// addresses are taken here so that the library still defines and exports
// them for callers that link by name without the header.
[[gnu::used]] void (*const kExportMemCopy)(void*, const void*, VXSIZE_T) = &memCopy;
[[gnu::used]] int16_t (*const kExportMemCompare)(const void*, const void*, VXSIZE_T) = &memCompare;
[[gnu::used]] bool (*const kExportMemEqual)(const void*, const void*, VXSIZE_T) = &memEqual;
[[gnu::used]] void (*const kExportMemZero)(void*, VXSIZE_T) = &memZero;

void memCopyHuge(void* dst, const void* src, VXSIZE_T n) { BUTMEMCP(dst, src, n); }

// Deliberate: a forward copy with no overlap guard, like memCopy.
void memMove(void* dst, const void* src, VXSIZE_T n) { memCopy(dst, src, n); }

void memCopyReverse(void* dst, const void* src, VXSIZE_T n) { BUTMMCPD(dst, src, n); }

void BUTU8FIL(void* dst, uint8_t byte, VXSIZE_T n) {
  if (n != 0) memset(dst, byte, n);
}

void memFill(void* dst, uint8_t byte, VXSIZE_T n) { BUTU8FIL(dst, byte, n); }

void memFillHuge(void* dst, uint8_t byte, VXSIZE_T n) { BUTU8FIL(dst, byte, n); }

// memcmp already compares bytes as unsigned values from the first; only
// its sign is kept, as 1, -1 or 0.
int BUTMMCMP(const void* a, const void* b, VXSIZE_T n) {
  if (n == 0) return 0;
  int c = memcmp(a, b, n);
  return c > 0 ? 1 : (c < 0 ? -1 : 0);
}

int memCompareHuge(const void* a, const void* b, VXSIZE_T n) { return BUTMMCMP(a, b, n); }
