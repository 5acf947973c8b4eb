// VxSort: sorts fixed-length records by up to 64 keys.
//
// Records are collected in up to 64 buffers of 64 KB that the sort
// allocates one at a time as records arrive (addRecord, or nextSlot to build
// a record in place), then read back in key order with getSorted. A caller
// can instead hand over an array of its own with setBuf and sort it in
// place with sortBuf.
//
// Keys are compared from the most significant (the first added) on; the
// first key that differs decides. A sort without keys calls all records
// equal. The sort is not stable.
//
// Capacity: the records must fit in the 64 buffers (4 MB); writing runs to
// a temporary file and merging them is not part of this class yet, so a
// record beyond that is refused (see nextSlot).
//
// Ownership: the sort owns the buffers it allocated, never a buffer given
// with setBuf. Thread-safety: none; one thread uses a sort at a time.
//
// Failure: status 1 (0 on success). addKey files error 2710 for a 65th key;
// nextSlot/addRecord report "out of memory" (1503) when no buffer can be
// had. Records already collected stay in place.
#ifndef VX_STORAGE_SORT_H_
#define VX_STORAGE_SORT_H_

#include <cstdint>

#include "foundation/vxexport.h"
#include "foundation/vxobject.h"
#include "foundation/vxtypes.h"

struct VxSortKey;

// Comparison of one key field given by the caller: context, the field in
// record a, the field in record b, and the key's descriptor. Returns a
// negative, zero or positive value.
typedef int16_t (*VxSortCompareFunction)(void* context, const void* a, const void* b,
                                         const VxSortKey* key);

// One key of a sort.
struct VxSortKey {
  // Kind bits. With none of the comparison bits the field is compared as
  // unsigned bytes. When several comparison bits are set, the object bit
  // wins over the string bit, which wins over the function bit.
  static constexpr uint16_t kDescending = 0x01;
  static constexpr uint16_t kInternational = 0x02;  // locale collation
  static constexpr uint16_t kFunction = 0x04;       // compareFunction
  static constexpr uint16_t kObject = 0x08;         // field is a VxObject*

  uint16_t kind;
  VXSIZE_T offset;  // byte offset of the field in the record
  uint16_t length;  // bytes of the field
  VxSortCompareFunction compareFunction;
  void* compareContext;
};

class VX_EXPORT VxSort : public VxObject {
 public:
  static constexpr int kMaxKeys = 64;
  static constexpr int kMaxBuffers = 64;
  static constexpr VXSIZE_T kBufferSize = 65536;

  // An empty sort of records of recordLength bytes.
  explicit VxSort(uint16_t recordLength);
  // Releases the buffers the sort allocated (not one given with setBuf).
  ~VxSort() override;

  VxSort(const VxSort&) = delete;
  VxSort& operator=(const VxSort&) = delete;

  // Changes the record length; only before records are added.
  void setRecordLength(uint16_t n);

  // Appends a key (most significant first). With 64 keys present it files
  // error 2710 and returns 1.
  unsigned addKey(uint16_t kind, VXSIZE_T offset, uint16_t length);
  // The same for a key compared by a caller's function (the function bit
  // is added to kind).
  unsigned addKey(uint16_t kind, VXSIZE_T offset, uint16_t length,
                  VxSortCompareFunction function, void* context);
  // Comparisons made by compare() begin at key n; earlier keys count as
  // equal.
  void setStartKey(VXSIZE_T n) { startKey = n; }

  // Reserves the next record slot and stores its address in *slot, so the
  // caller can build the record in place. Returns 1 (and *slot is left
  // alone) when no buffer can be had for it: the buffers cannot be
  // allocated, or all 64 are full, or the sort holds a caller's buffer.
  unsigned nextSlot(void** slot);
  // nextSlot, then copies recordLength bytes of record into the slot.
  unsigned addRecord(const void* record);

  // Makes the caller's array of count records the sort's only buffer, for
  // an in-place sort (sortBuf); records are not added afterwards.
  void setBuf(VXSIZE_T count, void* buffer);
  // Sorts the records in memory unless already sorted, marks the sort
  // sorted and rewinds reading. Returns 0.
  unsigned sortBuf();

  // Stores in *record the next record in key order, or null after the last
  // one. The first call sorts. Returns 0.
  unsigned getSorted(void** record);

  // Orders record a against b by the keys from the start key on.
  int16_t compare(const void* a, const void* b) const;
  // The same from key 0, whatever the start key.
  int16_t fullCompare(const void* a, const void* b) const;
  using VxObject::compare;

 private:
  // sortFlags bits.
  static constexpr uint8_t kOwnsBuffers = 0x01;
  static constexpr uint8_t kSorted = 0x04;
  static constexpr uint8_t kKeysAdded = 0x08;
  static constexpr uint8_t kCallerBuffer = 0x10;

  int16_t compareFrom(VXSIZE_T firstKey, const void* a, const void* b) const;
  char* recordAddress(VXSIZE_T n) const;
  void sortInMemory();
  void releaseBuffers();

  // Record layout.
  uint16_t recordLength;
  VXSIZE_T recordsPerBuffer;

  // Keys.
  VxSortKey keys[kMaxKeys];
  VXSIZE_T keyCount;
  VXSIZE_T startKey;

  // Record storage and progress.
  char* buffers[kMaxBuffers];
  uint16_t bufferCount;
  VXSIZE_T recordCount;
  VXSIZE_T inMemory;
  VXSIZE_T readPosition;
  uint8_t sortFlags;
};

#endif  // VX_STORAGE_SORT_H_
