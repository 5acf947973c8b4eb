// VxTmpFile: a byte-addressed scratch store with a small page cache that
// spills to a temporary disk file; TmpSpace: one free extent of a store.
//
// Callers obtain address ranges (getContiguousSpace, tmpFindSpace), then
// read and write them by copying (tmpRead, tmpWrite and their aliases) or
// in place through a pointer into the cache (tmpPointer). Address 0 is
// never handed out: the space starts at 1.
//
// Pages and cache: a page is 2048 bytes. The cache holds cacheSize bytes
// (a power of two, at least 4096) organised as cacheSize / 4096 sets of two
// page frames; page p belongs to set p mod (number of sets). A miss evicts
// the frame used less recently in the set, writing it to the disk file
// only when it was modified. The disk file is created on the first such
// write, through the file layer (in "VX_TMPDIR" when set, else the
// system's temporary directory), and is deleted when the store is
// truncated to 0 or destroyed. Page numbers are 16 bits wide, so a store
// spans at most 65,536 pages (128 MB): a request past that fails.
//
// Allocation: getContiguousSpace hands out ranges from the end that never
// cross a page boundary when they fit in a page; tmpFindSpace takes the
// first free extent that fits. Freed ranges under 256 bytes are lost for
// good, and so is the tail of an extent when less than 256 bytes would be
// left of it (both deliberate: tiny extents are not worth tracking).
//
// Thread-safety: every public operation holds the store's recursive
// critical section (built with the constructor's lock option; non-zero
// disables it), so one store may be shared by threads. A pointer from
// tmpPointer stays valid only until the next operation that may evict its
// frame.
//
// Failure: status 1 (0 on success), or address 0 from getContiguousSpace,
// with an error record: 1503 when the cache cannot be allocated, 2715 when
// a request passes the 128 MB span, 2714 when the disk file cannot be
// created, 1510 when a page cannot be read back, and the file layer's own
// records when a page cannot be written.
#ifndef VX_STORAGE_VXTMPFIL_H_
#define VX_STORAGE_VXTMPFIL_H_

#include <cstdint>

#include "bos/vxcritse.h"
#include "containers/vxsorted.h"
#include "foundation/vxexport.h"
#include "foundation/vxobject.h"
#include "foundation/vxtypes.h"

class VxString;

// One free extent of a store, ordered by address. Internal to the store:
// not exported.
class TmpSpace : public VxObject {
 public:
  TmpSpace(VXSIZE_T address, VXSIZE_T size) : address(address), size(size) {}
  // -1, 0 or 1 by address.
  int16_t compare(const VxObject* other) const override;

  VXSIZE_T address;
  VXSIZE_T size;
};

class VX_EXPORT VxTmpFile : public VxObject {
 public:
  static constexpr VXSIZE_T kPageSize = 2048;
  static constexpr VXSIZE_T kSetSize = 2 * kPageSize;
  // The largest address span a store can hold: 65,536 pages.
  static constexpr VXSIZE_T kMaxSpan = 65536 * kPageSize;
  // Freed ranges and leftovers below this size are not kept.
  static constexpr VXSIZE_T kSmallestExtent = 256;
  // A tmpFindSpace request of this size takes everything from the end on.
  static constexpr VXSIZE_T kAllTheRest = ~VXSIZE_T(0);

  // An empty store with a cache of cacheSize bytes (a power of two of at
  // least 4096). No memory and no file are taken yet.
  VxTmpFile(uint16_t cacheSize, unsigned int lockOption);
  // tmpTruncate(0).
  ~VxTmpFile() override;

  VxTmpFile(const VxTmpFile&) = delete;
  VxTmpFile& operator=(const VxTmpFile&) = delete;

  // n bytes from the end of the space, starting at a multiple of 4 and
  // moved up to the next page when fewer than n bytes remain in the page.
  // Returns the address, or 0 (error 2715) past the 128 MB span.
  VXSIZE_T getContiguousSpace(VXSIZE_T n);
  // n bytes from the first free extent that holds them, else from the end.
  // Stores the address in *address; 0, or 1 (error 2715) past the span.
  unsigned tmpFindSpace(VXSIZE_T n, VXSIZE_T* address);
  // Gives a range back (see the class comment for what is kept).
  void tmpFreeSpace(VXSIZE_T address, VXSIZE_T n);
  // Merges free extents that touch, and folds a last extent that reaches
  // the end of the space back into the end.
  void coalesceFreeSpace();

  // Makes the page of address resident; *pointer addresses it in the
  // cache and *bytesLeft counts the bytes to the end of its page. A
  // non-zero dirty marks the page modified. 0 or 1.
  unsigned tmpPointer(VXSIZE_T address, void** pointer, uint16_t* bytesLeft, uint16_t dirty);

  // Copy n bytes out of or into the store, page by page. 0 or 1.
  unsigned tmpRead(VXSIZE_T address, void* buffer, VXSIZE_T n);
  unsigned tmpWrite(VXSIZE_T address, const void* buffer, VXSIZE_T n);
  unsigned read(VXSIZE_T address, void* buffer, VXSIZE_T n) { return tmpRead(address, buffer, n); }
  unsigned write(VXSIZE_T address, const void* buffer, VXSIZE_T n) {
    return tmpWrite(address, buffer, n);
  }
  unsigned readHuge(VXSIZE_T address, void* buffer, VXSIZE_T n) { return tmpRead(address, buffer, n); }
  unsigned writeHuge(VXSIZE_T address, const void* buffer, VXSIZE_T n) {
    return tmpWrite(address, buffer, n);
  }
  // Replaces the text of *string with n bytes read from address.
  unsigned read(VXSIZE_T address, VxString* string, VXSIZE_T n);

  // Releases the contents. With 0: every extent, the cache memory and the
  // disk file (closed and deleted); the space restarts at 1. With a
  // non-zero end: the space is cut back to end (never below 1) and the
  // free extents at or past it are dropped; cache and file stay.
  void tmpTruncate(VXSIZE_T end);
  // Closes the disk file; it is reopened by name on the next access.
  void tmpLoseFocus();

  // The first unallocated address.
  VXSIZE_T getSpaceEnd();
  // The path of the disk file, or null while none was created.
  const char* getFileName();
  // Pages written to the disk file and read back from it since
  // construction, for callers that measure the cache.
  VXSIZE_T getPagesWritten();
  VXSIZE_T getPagesRead();

 private:
  // One set of two frames: the page each frame holds and the flag bits.
  struct CacheSet {
    uint16_t page[2];
    uint8_t flags;
  };
  static constexpr uint8_t kFrame0Modified = 0x01;
  static constexpr uint8_t kFrame1Modified = 0x02;
  static constexpr uint8_t kFrame1Recent = 0x04;

  unsigned pointerLocked(VXSIZE_T address, char** pointer, uint16_t dirty);
  unsigned allocateCache();
  unsigned loadPage(char* frame, uint16_t page);
  unsigned writePage(const char* frame, uint16_t page);
  unsigned openDiskFile();
  unsigned copy(VXSIZE_T address, char* buffer, VXSIZE_T n, bool toStore);
  unsigned fail(uint16_t number);
  void addFreeExtent(VXSIZE_T address, VXSIZE_T n);
  void mergeAround(VXSIZE_T index);
  void foldTailIntoEnd();
  void releaseFile();

  // Configuration and space.
  uint16_t cacheSize;
  uint16_t highestPage;  // highest page written to the disk file
  VXSIZE_T spaceEnd;

  // Disk file.
  int fileHandle;   // 0 while closed
  char* fileName;   // BOS_MAX_PATH bytes once the file was created
  VXSIZE_T filePages;

  // Cache.
  CacheSet* pageTable;
  char* cacheMemory;

  // Free extents, ordered by address.
  VxSortedArray freeList;

  VxCriticalSection lock;

  // Counters of page transfers.
  VXSIZE_T pagesWritten;
  VXSIZE_T pagesRead;
};

#endif  // VX_STORAGE_VXTMPFIL_H_
