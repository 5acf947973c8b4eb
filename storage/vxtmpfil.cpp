// VxTmpFile: page cache, disk write-back and allocation of a scratch store.
#include "storage/vxtmpfil.h"

#include <cassert>
#include <cstdlib>
#include <cstring>

#include "bos/bosfile.h"
#include "containers/vxstring.h"
#include "foundation/ram_internal.h"
#include "foundation/vxerror.h"
#include "foundation/vxmsgnum.h"

int16_t TmpSpace::compare(const VxObject* other) const {
  VXSIZE_T o = static_cast<const TmpSpace*>(other)->address;
  return address < o ? -1 : (address > o ? 1 : 0);
}

VxTmpFile::VxTmpFile(uint16_t cacheSize, unsigned int lockOption)
    : cacheSize(cacheSize),
      highestPage(0),
      spaceEnd(1),
      fileHandle(0),
      fileName(nullptr),
      filePages(0),
      pageTable(nullptr),
      cacheMemory(nullptr),
      lock(int32_t(lockOption)),
      pagesWritten(0),
      pagesRead(0) {
  // Sets are found by masking the page number, which needs a power of two.
  assert(cacheSize >= kSetSize && (cacheSize & (cacheSize - 1)) == 0);
}

VxTmpFile::~VxTmpFile() { tmpTruncate(0); }

unsigned VxTmpFile::fail(uint16_t number) {
  addError(number);
  return 1;
}

// ---- Allocation ----

VXSIZE_T VxTmpFile::getContiguousSpace(VXSIZE_T n) {
  VxCriticalSectionGuard guard(lock);
  VXSIZE_T a = (spaceEnd + 3) & ~VXSIZE_T(3);
  VXSIZE_T leftInPage = kPageSize - a % kPageSize;
  if (leftInPage < n) a += leftInPage;
  if (a > kMaxSpan || n > kMaxSpan - a) {
    fail(kErrTempFileFull);
    return 0;
  }
  spaceEnd = a + n;
  return a;
}

// First fit: the free extents are scanned in address order and the first
// one of at least n bytes gives its start. The extent shrinks from the
// front, or goes altogether when less than 256 bytes would be left (those
// bytes are given away with it). Without a fitting extent the space comes
// from the end; a request for all the rest moves the end to the largest
// address.
unsigned VxTmpFile::tmpFindSpace(VXSIZE_T n, VXSIZE_T* address) {
  VxCriticalSectionGuard guard(lock);
  if (n == kAllTheRest) {
    *address = spaceEnd;
    spaceEnd = kAllTheRest;
    return 0;
  }
  for (VXSIZE_T i = 0; i < freeList.getCount(); ++i) {
    TmpSpace* extent = static_cast<TmpSpace*>(freeList.at(i));
    if (extent->size < n) continue;
    *address = extent->address;
    if (extent->size - n < kSmallestExtent) {
      freeList.deleteAtIndex(i);
    } else {
      extent->address += n;
      extent->size -= n;
    }
    return 0;
  }
  if (spaceEnd > kMaxSpan || n > kMaxSpan - spaceEnd) return fail(kErrTempFileFull);
  *address = spaceEnd;
  spaceEnd += n;
  return 0;
}

// A range that reaches the end gives the space back to the end. Any other
// range below 256 bytes is dropped (deliberate: it is never reused).
// Larger ranges join the free list and merge with neighbours they touch.
void VxTmpFile::tmpFreeSpace(VXSIZE_T address, VXSIZE_T n) {
  VxCriticalSectionGuard guard(lock);
  if (n == kAllTheRest || address + n == spaceEnd) {
    spaceEnd = address;
    foldTailIntoEnd();
    return;
  }
  if (n < kSmallestExtent) return;
  addFreeExtent(address, n);
}

void VxTmpFile::addFreeExtent(VXSIZE_T address, VXSIZE_T n) {
  TmpSpace* extent = new TmpSpace(address, n);
  if (extent == nullptr) {
    // The range is lost rather than the caller failing: losing space is
    // harmless, and the out-of-memory record would only confuse.
    VxErrorKeeper::clearLastError();
    return;
  }
  VXSIZE_T pos = 0;
  freeList.findIndexOf(extent, pos);
  if (freeList.addAtIndex(extent, pos) != 0) {
    delete extent;
    VxErrorKeeper::clearLastError();
    return;
  }
  mergeAround(pos);
}

// Merges the extent at index with the next and then the previous one when
// they touch.
void VxTmpFile::mergeAround(VXSIZE_T index) {
  TmpSpace* here = static_cast<TmpSpace*>(freeList.at(index));
  if (index + 1 < freeList.getCount()) {
    TmpSpace* next = static_cast<TmpSpace*>(freeList.at(index + 1));
    if (here->address + here->size >= next->address) {
      VXSIZE_T end = next->address + next->size;
      if (end > here->address + here->size) here->size = end - here->address;
      freeList.deleteAtIndex(index + 1);
    }
  }
  if (index > 0) {
    TmpSpace* previous = static_cast<TmpSpace*>(freeList.at(index - 1));
    if (previous->address + previous->size >= here->address) {
      VXSIZE_T end = here->address + here->size;
      if (end > previous->address + previous->size) previous->size = end - previous->address;
      freeList.deleteAtIndex(index);
    }
  }
}

void VxTmpFile::foldTailIntoEnd() {
  while (freeList.getCount() > 0) {
    TmpSpace* last = static_cast<TmpSpace*>(freeList.at(freeList.getCount() - 1));
    if (last->address + last->size < spaceEnd) return;
    spaceEnd = last->address;
    freeList.deleteAtIndex(freeList.getCount() - 1);
  }
}

void VxTmpFile::coalesceFreeSpace() {
  VxCriticalSectionGuard guard(lock);
  VXSIZE_T i = 0;
  while (i + 1 < freeList.getCount()) {
    TmpSpace* here = static_cast<TmpSpace*>(freeList.at(i));
    TmpSpace* next = static_cast<TmpSpace*>(freeList.at(i + 1));
    if (here->address + here->size >= next->address) {
      mergeAround(i);
    } else {
      ++i;
    }
  }
  foldTailIntoEnd();
}

// ---- The cache ----

unsigned VxTmpFile::allocateCache() {
  VXSIZE_T sets = cacheSize / kSetSize;
  cacheMemory = static_cast<char*>(ramAllocZeroed(cacheSize));
  pageTable = static_cast<CacheSet*>(ramAllocZeroed(sets * sizeof(CacheSet)));
  if (cacheMemory != nullptr && pageTable != nullptr) return 0;
  free(cacheMemory);
  free(pageTable);
  cacheMemory = nullptr;
  pageTable = nullptr;
  return fail(kErrOutOfMemory);
}

// Page lookup. The set of page p is p mod (number of sets). A hit in
// either frame makes that frame the recent one (bit 2 says frame 1 was used
// last) and, with dirty, marks it modified. A miss replaces the frame used
// less recently, writing it out first only when it was modified, and reads
// page p into it. A fresh set table is all zeros, so both frames of set 0
// claim page 0 until the first miss there: harmless, since page 0 has no
// contents on disk before it was written from frame 0.
unsigned VxTmpFile::pointerLocked(VXSIZE_T address, char** pointer, uint16_t dirty) {
  if (address >= kMaxSpan) return fail(kErrTempFileFull);
  if (cacheMemory == nullptr && allocateCache() != 0) return 1;
  uint16_t page = uint16_t(address / kPageSize);
  VXSIZE_T setIndex = page & (cacheSize / kSetSize - 1);
  CacheSet& set = pageTable[setIndex];
  char* frames = cacheMemory + setIndex * kSetSize;
  int frame;
  if (set.page[0] == page) {
    frame = 0;
  } else if (set.page[1] == page) {
    frame = 1;
  } else {
    frame = (set.flags & kFrame1Recent) ? 0 : 1;
    uint8_t modified = frame == 0 ? kFrame0Modified : kFrame1Modified;
    char* victim = frames + frame * kPageSize;
    if ((set.flags & modified) && writePage(victim, set.page[frame]) != 0) return 1;
    set.flags &= uint8_t(~modified);
    if (loadPage(victim, page) != 0) return 1;
    set.page[frame] = page;
  }
  if (frame == 0) {
    set.flags &= uint8_t(~kFrame1Recent);
    if (dirty) set.flags |= kFrame0Modified;
  } else {
    set.flags |= kFrame1Recent;
    if (dirty) set.flags |= kFrame1Modified;
  }
  *pointer = frames + frame * kPageSize + address % kPageSize;
  return 0;
}

unsigned VxTmpFile::tmpPointer(VXSIZE_T address, void** pointer, uint16_t* bytesLeft,
                               uint16_t dirty) {
  VxCriticalSectionGuard guard(lock);
  char* at;
  if (pointerLocked(address, &at, dirty) != 0) return 1;
  *pointer = at;
  *bytesLeft = uint16_t(kPageSize - address % kPageSize);
  return 0;
}

// ---- The disk file ----

// Creates the file on the first write-back; after tmpLoseFocus reopens it
// by the name it got.
unsigned VxTmpFile::openDiskFile() {
  if (fileHandle > 0) return 0;
  if (fileName == nullptr) {
    fileName = static_cast<char*>(ramAllocZeroed(BOS_MAX_PATH + 1));
    if (fileName == nullptr) return fail(kErrOutOfMemory);
    if (bosFileOpen(fileName, BOS_OPEN_TEMPORARY | BOS_OPEN_READ_WRITE, &fileHandle) != 0) {
      addError(kErrTempFileNotCreated) << fileName;
      free(fileName);
      fileName = nullptr;
      fileHandle = 0;
      return 1;
    }
    return 0;
  }
  if (bosFileOpen(fileName, BOS_OPEN_READ_WRITE, &fileHandle) != 0) {
    fileHandle = 0;
    return 1;
  }
  return 0;
}

unsigned VxTmpFile::writePage(const char* frame, uint16_t page) {
  if (openDiskFile() != 0) return 1;
  if (bosFileWrite(fileHandle, int64_t(page) * int64_t(kPageSize), frame, kPageSize) != 0) return 1;
  if (filePages == 0 || page > highestPage) highestPage = page;
  filePages = VXSIZE_T(highestPage) + 1;
  ++pagesWritten;
  return 0;
}

// A page above the highest one written has never been on disk: the frame
// keeps what it held, since new space has no defined contents.
unsigned VxTmpFile::loadPage(char* frame, uint16_t page) {
  if (filePages == 0 || page > highestPage) return 0;
  if (openDiskFile() != 0) return 1;
  int32_t count = 0;
  bosFileRead(fileHandle, int64_t(page) * int64_t(kPageSize), frame, kPageSize, &count);
  if (count < 0) {
    addError(kErrFileNotRead) << fileName;
    return 1;
  }
  // Pages below the highest one that were never written read as zeros.
  if (VXSIZE_T(count) < kPageSize) memset(frame + count, 0, kPageSize - VXSIZE_T(count));
  ++pagesRead;
  return 0;
}

void VxTmpFile::releaseFile() {
  if (fileHandle > 0) bosFileClose(fileHandle);
  fileHandle = 0;
  if (fileName != nullptr) bosFileDelete(fileName);
  free(fileName);
  fileName = nullptr;
  filePages = 0;
  highestPage = 0;
}

void VxTmpFile::tmpLoseFocus() {
  VxCriticalSectionGuard guard(lock);
  if (fileHandle > 0) bosFileClose(fileHandle);
  fileHandle = 0;
}

void VxTmpFile::tmpTruncate(VXSIZE_T end) {
  VxCriticalSectionGuard guard(lock);
  if (end == 0) {
    freeList.deleteContents();
    releaseFile();
    free(cacheMemory);
    free(pageTable);
    cacheMemory = nullptr;
    pageTable = nullptr;
    spaceEnd = 1;
    return;
  }
  while (freeList.getCount() > 0) {
    TmpSpace* last = static_cast<TmpSpace*>(freeList.at(freeList.getCount() - 1));
    if (last->address < end) {
      if (last->address + last->size > end) last->size = end - last->address;
      break;
    }
    freeList.deleteAtIndex(freeList.getCount() - 1);
  }
  if (end < spaceEnd) spaceEnd = end;
}

// ---- Copying ----

unsigned VxTmpFile::copy(VXSIZE_T address, char* buffer, VXSIZE_T n, bool toStore) {
  while (n > 0) {
    char* at;
    if (pointerLocked(address, &at, toStore ? 1 : 0) != 0) return 1;
    VXSIZE_T piece = kPageSize - address % kPageSize;
    if (piece > n) piece = n;
    if (toStore) {
      memcpy(at, buffer, piece);
    } else {
      memcpy(buffer, at, piece);
    }
    address += piece;
    buffer += piece;
    n -= piece;
  }
  return 0;
}

unsigned VxTmpFile::tmpRead(VXSIZE_T address, void* buffer, VXSIZE_T n) {
  VxCriticalSectionGuard guard(lock);
  return copy(address, static_cast<char*>(buffer), n, false);
}

unsigned VxTmpFile::tmpWrite(VXSIZE_T address, const void* buffer, VXSIZE_T n) {
  VxCriticalSectionGuard guard(lock);
  return copy(address, static_cast<char*>(const_cast<void*>(buffer)), n, true);
}

unsigned VxTmpFile::read(VXSIZE_T address, VxString* string, VXSIZE_T n) {
  VxCriticalSectionGuard guard(lock);
  string->clear();
  if (string->assureSpace(n) != 0) return 1;
  while (n > 0) {
    char* at;
    if (pointerLocked(address, &at, 0) != 0) return 1;
    VXSIZE_T piece = kPageSize - address % kPageSize;
    if (piece > n) piece = n;
    string->concat(at, piece);
    address += piece;
    n -= piece;
  }
  return 0;
}

// ---- Observers ----

VXSIZE_T VxTmpFile::getSpaceEnd() {
  VxCriticalSectionGuard guard(lock);
  return spaceEnd;
}

const char* VxTmpFile::getFileName() {
  VxCriticalSectionGuard guard(lock);
  return fileName;
}

VXSIZE_T VxTmpFile::getPagesWritten() {
  VxCriticalSectionGuard guard(lock);
  return pagesWritten;
}

VXSIZE_T VxTmpFile::getPagesRead() {
  VxCriticalSectionGuard guard(lock);
  return pagesRead;
}
