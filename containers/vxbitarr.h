// VxBitArray: a fixed-size set of bits.
//
// initialize(n) allocates room for bits 0..n (n/8 + 1 bytes) and clears
// them; bit i lives in byte i/8 at position i mod 8, least significant bit
// first. There is no way to clear a single bit and no range check.
//
// Owns its byte vector. Thread-safety: none. Failure: initialize returns 1
// when the allocation fails (the array then has no vector).
#ifndef VX_CONTAINERS_VXBITARR_H_
#define VX_CONTAINERS_VXBITARR_H_

#include <cstdint>
#include <cstring>

#include "foundation/vxexport.h"
#include "foundation/vxobject.h"
#include "foundation/vxtypes.h"

class VX_EXPORT VxBitArray : public VxObject {
 public:
  // No storage until initialize().
  VxBitArray() : bits(nullptr), bitCount(0) {}
  ~VxBitArray() override { VxObject::operator delete[](bits); }

  VxBitArray(const VxBitArray&) = delete;
  VxBitArray& operator=(const VxBitArray&) = delete;

  // Releases any old vector, allocates n/8 + 1 bytes, records n and clears
  // every bit. Returns 1 if the allocation fails.
  unsigned initialize(VXSIZE_T n) {
    VxObject::operator delete[](bits);
    bits = static_cast<uint8_t*>(VxObject::operator new[](n / 8 + 1));
    if (bits == nullptr) return 1;
    bitCount = n;
    resetAll();
    return 0;
  }

  void set(VXSIZE_T i) { bits[i / 8] |= static_cast<uint8_t>(1u << (i % 8)); }
  int isSet(VXSIZE_T i) const { return (bits[i / 8] >> (i % 8)) & 1; }
  // Clears bitCount/8 + 1 bytes; does nothing while there is no vector
  // (before initialize, or after a failed one).
  void resetAll() {
    if (bits != nullptr) memset(bits, 0, bitCount / 8 + 1);
  }

 private:
  uint8_t* bits;      // null until initialize()
  VXSIZE_T bitCount;  // the size given to initialize()
};

#endif  // VX_CONTAINERS_VXBITARR_H_
