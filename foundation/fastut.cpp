// Copies, zeroing and comparison that pick their unit width from the
// alignment of the pointers, and the short-string length.
#include <cstring>

#include "foundation/but.h"

namespace {

// Unit loads and stores go through memcpy of a fixed size, which compiles
// to one move and keeps the accesses free of aliasing and alignment faults.
template <typename Unit>
inline void copyUnit(uint8_t* d, const uint8_t* s) {
  Unit u;
  memcpy(&u, s, sizeof u);
  memcpy(d, &u, sizeof u);
}

template <typename Unit>
inline void zeroUnit(uint8_t* p) {
  Unit zero = 0;
  memcpy(p, &zero, sizeof zero);
}

template <typename Unit>
inline void copyUnits(uint8_t* d, const uint8_t* s, VXSIZE_T units) {
  for (VXSIZE_T k = 0; k < units; ++k) copyUnit<Unit>(d + k * sizeof(Unit), s + k * sizeof(Unit));
}

// Copies bytes [from, to) from the highest offset down.
inline void copyBytesDown(uint8_t* d, const uint8_t* s, VXSIZE_T from, VXSIZE_T to) {
  while (to > from) {
    --to;
    d[to] = s[to];
  }
}

inline uintptr_t addressBits(const void* a, const void* b) {
  return reinterpret_cast<uintptr_t>(a) | reinterpret_cast<uintptr_t>(b);
}

}  // namespace

// 8-byte words while at least 8 bytes remain, then the n mod 8 rest: byte
// by byte when it is odd, 2-byte units when it has bit 1 set, one 4-byte
// unit when it is exactly 4.
void memCopyAligned(void* dst, const void* src, VXSIZE_T n) {
  uint8_t* d = static_cast<uint8_t*>(dst);
  const uint8_t* s = static_cast<const uint8_t*>(src);
  VXSIZE_T words = n / 8;
  copyUnits<uint64_t>(d, s, words);
  d += words * 8;
  s += words * 8;
  VXSIZE_T rest = n % 8;
  if (rest & 1) {
    for (VXSIZE_T k = 0; k < rest; ++k) d[k] = s[k];
  } else if (rest & 2) {
    copyUnits<uint16_t>(d, s, rest / 2);
  } else if (rest == 4) {
    copyUnit<uint32_t>(d, s);
  }
}

// The widest unit both pointers allow: bytes if either is odd; 2-byte units
// if either is not 4-aligned (one trailing byte first when n is odd); 4-byte
// units if either is not 8-aligned (the n mod 4 trailing bytes first); else
// 8-byte units (the n mod 8 trailing bytes first). Byte and tail steps run
// from the highest offset down.
void fastMemCopy(void* dst, const void* src, VXSIZE_T n) {
  uint8_t* d = static_cast<uint8_t*>(dst);
  const uint8_t* s = static_cast<const uint8_t*>(src);
  uintptr_t bits = addressBits(d, s);
  if (bits & 1) {
    copyBytesDown(d, s, 0, n);
  } else if (bits & 3) {
    copyBytesDown(d, s, n & ~VXSIZE_T(1), n);
    copyUnits<uint16_t>(d, s, n / 2);
  } else if (bits & 7) {
    copyBytesDown(d, s, n & ~VXSIZE_T(3), n);
    copyUnits<uint32_t>(d, s, n / 4);
  } else {
    copyBytesDown(d, s, n & ~VXSIZE_T(7), n);
    copyUnits<uint64_t>(d, s, n / 8);
  }
}

// n counts four-byte units: n/2 eight-byte stores plus one 4-byte store
// for an odd n when p is 8-aligned, else n 4-byte stores.
void memZero4Byte(void* p, VXSIZE_T n) {
  uint8_t* q = static_cast<uint8_t*>(p);
  if ((reinterpret_cast<uintptr_t>(q) & 7) == 0) {
    for (VXSIZE_T k = 0; k < n / 2; ++k) zeroUnit<uint64_t>(q + 8 * k);
    if (n & 1) zeroUnit<uint32_t>(q + 8 * (n / 2));
  } else {
    for (VXSIZE_T k = 0; k < n; ++k) zeroUnit<uint32_t>(q + 4 * k);
  }
}

VXSIZE_T BUTSTLEN(const char* s) { return strlen(s); }
