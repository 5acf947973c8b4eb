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
// Capacity: records are held in at most 64 buffers (4 MB). When they are
// full (or no further buffer can be allocated) the records in memory are
// sorted and written to a temporary file as one run, and collecting starts
// over in the same buffers; reading then merges all runs in one pass. The
// temporary file is created through the file layer ("VX_TMPDIR", else the
// system's temporary directory) and deleted by the destructor.
//
// Ownership: the sort owns the buffers it allocated, never a buffer given
// with setBuf. Thread-safety: none; one thread uses a sort at a time.
//
// Failure: status 1 (0 on success). addKey files error 2710 for a 65th key;
// nextSlot/addRecord report "out of memory" (1503) when fewer than two
// buffers can be had; a run that cannot be written files the file layer's
// record and 2711, a merge that cannot read its file 2712. Records already
// collected stay in place.
#ifndef VX_STORAGE_SORT_H_
#define VX_STORAGE_SORT_H_

#include <cstdint>

#include "foundation/vxexport.h"
#include "foundation/vxobject.h"
#include "foundation/vxtypes.h"

struct MergeInfo;
struct MergeSource;
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

  // Limits the sort to n buffers (2 to 64; 64 by default), so that runs
  // are written after n * 64 KB of records. Only before records are added.
  void setMaxBuffers(uint16_t n);

  // Reserves the next record slot and stores its address in *slot, so the
  // caller can build the record in place. When the buffers are full the
  // records in memory are first written as a run. Returns 1 (and *slot is
  // left alone) when fewer than two buffers can be had, when a run cannot
  // be written, or when the sort holds a caller's buffer.
  unsigned nextSlot(void** slot);
  // nextSlot, then copies recordLength bytes of record into the slot.
  unsigned addRecord(const void* record);

  // Makes the caller's array of count records the sort's only buffer, for
  // an in-place sort (sortBuf); records are not added afterwards.
  void setBuf(VXSIZE_T count, void* buffer);
  // Sorts the records in memory unless already sorted, marks the sort
  // sorted and rewinds reading. A sort that wrote runs writes the records
  // in memory as its last run and prepares the merge. 0 or 1.
  unsigned sortBuf();

  // Stores in *record the next record in key order, or null after the last
  // one. The first call sorts. The record stays valid until the next read.
  // 0, or 1 (record null) when the merge cannot read its file.
  unsigned getSorted(void** record);
  // getSorted, and *result tells whether the record starts a new group: 0
  // when it equals the record handed out before it (by the keys from the
  // start key on), 1 when it differs or is the first.
  unsigned getSortedWithCompare(void** record, VXSIZE_T* result);
  // Reading from the first record again (the merge restarts); then
  // getNextRecord is getSorted.
  unsigned getFirstRecord(void** record);
  unsigned getNextRecord(void** record) { return getSorted(record); }
  // The first record whose keys (from the start key on) equal those of
  // `key`, a record image holding the key fields at their offsets, or
  // null when none does; reading continues after it (or, when none was
  // found, at the first record greater than key). A sort in memory finds
  // it by binary search, a merged one by reading forward from the start.
  unsigned getFirstRecordWithKey(const void* key, void** record);

  // Re-sorting after the keys or the start key changed.
  // reSort sorts the records in memory again by the present keys and
  // rewinds; a sort that wrote runs refuses it (1, error 2713).
  unsigned reSort();
  // reSortWithMerge does the same for any sort: a sort that wrote runs
  // reads each run back into its buffers, sorts it and writes it back in
  // place, then merges the runs again from the start. 0 or 1.
  unsigned reSortWithMerge();
  // Ranges (in memory only, like reSort):
  // within records already sorted, a range is the records that
  // compare equal on their first leadingKeys keys (compareLeadingKeys).
  // startResortRange rewinds the range walk to the first record;
  // resortRange(leadingKeys, startKey) takes the next range, sorts it by
  // the keys from startKey on (keys added after the first sort may refine
  // the order within ranges) and makes it the range that
  // getFirstRecordInRange / getNextRecordInRange read (null after its
  // end). It returns 1 when no range is left. endResortRange rewinds
  // ordinary reading.
  unsigned startResortRange();
  unsigned resortRange(VXSIZE_T leadingKeys, unsigned int startKey);
  unsigned getFirstRecordInRange(void** record);
  unsigned getNextRecordInRange(void** record);
  void endResortRange();
  // Orders a against b by their first n keys only.
  int16_t compareLeadingKeys(const void* a, const void* b, VXSIZE_T n) const;

  // Records added, runs written to the temporary file, and bytes written
  // to it.
  VXSIZE_T getRecordCount() const { return recordCount; }
  VXSIZE_T getRunCount() const { return runCount; }
  VXSIZE_T getBytesSpilled() const { return bytesSpilled; }

  // Orders record a against b by the keys from the start key on.
  int16_t compare(const void* a, const void* b) const;
  // The same from key 0, whatever the start key.
  int16_t fullCompare(const void* a, const void* b) const;
  using VxObject::compare;

 private:
  // sortFlags bits.
  static constexpr uint8_t kOwnsBuffers = 0x01;
  static constexpr uint8_t kSpilled = 0x02;
  static constexpr uint8_t kSorted = 0x04;
  static constexpr uint8_t kKeysAdded = 0x08;
  static constexpr uint8_t kCallerBuffer = 0x10;

  char* recordAddress(VXSIZE_T n) const;
  void sortInMemory();
  void sortSlots(VXSIZE_T first, VXSIZE_T count, VXSIZE_T fromKey);
  void releaseBuffers();
  unsigned writeRun();
  unsigned transferRecords(VXSIZE_T first, VXSIZE_T count, bool toFile);
  unsigned prepareMerge();
  unsigned buildMerge();
  MergeSource mergeSource() const;
  unsigned inMemoryOnly();
  unsigned ensureScratch();

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
  uint16_t maxBuffers;

  // Runs and their merge.
  VXSIZE_T runCount;
  VXSIZE_T bytesSpilled;
  int runFile;          // 0 until the first run
  char* runFileName;    // BOS_MAX_PATH bytes once the file exists
  MergeInfo* merge;     // in buffer 0, or its own block when too large
  bool mergeOwnBlock;
  char* scratch;        // three records for the merge, then the previous one
  uint32_t* mergeOrder; // the runs in the order of their current records

  // The range being re-sorted: records rangeFirst .. rangeEnd - 1.
  VXSIZE_T rangeFirst;
  VXSIZE_T rangeEnd;
  VXSIZE_T rangePosition;
};

#endif  // VX_STORAGE_SORT_H_
