// XPstTempData: a piece of a document in a buffer and temporary stores.
#include "xml/XPstTempData.h"

#include <cassert>
#include <cstdlib>
#include <cstring>

#include "bos/bosfile.h"
#include "foundation/ram_internal.h"
#include "foundation/vxerror.h"
#include "storage/vxtmpfil.h"

namespace {

// Below the file layer's 65536-byte write limit.
constexpr VXSIZE_T kBufferSize = 32 * VxTmpFile::kPageSize;
// The store's cache: its largest power of two.
constexpr uint16_t kStoreCache = 32768;
// Non-zero: the store takes no lock (one writer uses it).
constexpr unsigned kNoLock = 1;
// Where the first spill lands in a new store: its space starts at 1.
constexpr VXSIZE_T kFirstAddress = 1;

}  // namespace

XPstTempData::~XPstTempData() {
  for (uint32_t i = 0; i < storeCount_; ++i) delete stores_[i];
  free(stores_);
  free(buffer_);
}

// Spills into one store are contiguous from kFirstAddress on: space is
// taken from the end of the store with tmpFindSpace, which (unlike
// getContiguousSpace) never moves a range up to a page boundary, and
// nothing is ever freed in the store.
uint16_t XPstTempData::spill() {
  VxTmpFile* store = storeCount_ == 0 ? nullptr : stores_[storeCount_ - 1];
  if (store == nullptr || store->getSpaceEnd() + kBufferSize > VxTmpFile::kMaxSpan) {
    auto** grown = static_cast<VxTmpFile**>(ramRealloc(stores_, (storeCount_ + 1) * sizeof(store)));
    if (grown == nullptr || (store = new VxTmpFile(kStoreCache, kNoLock)) == nullptr) {
      if (grown != nullptr) stores_ = grown;
      addError(kErrOutOfMemory);
      return 1;
    }
    stores_ = grown;
    stores_[storeCount_++] = store;
    lastStoreBytes_ = 0;
  }
  VXSIZE_T address = 0;
  if (store->tmpFindSpace(kBufferSize, &address) != 0) return 1;
  assert(address == kFirstAddress + lastStoreBytes_);
  if (store->tmpWrite(address, buffer_, kBufferSize) != 0) return 1;
  lastStoreBytes_ += kBufferSize;
  storedBytes_ += kBufferSize;
  buffered_ = 0;
  return 0;
}

uint16_t XPstTempData::append(const char* data, VXSIZE_T n) {
  if (buffer_ == nullptr && n > 0) {
    buffer_ = static_cast<char*>(ramAlloc(kBufferSize));
    if (buffer_ == nullptr) {
      addError(kErrOutOfMemory);
      return 1;
    }
  }
  while (n > 0) {
    VXSIZE_T room = kBufferSize - buffered_;
    VXSIZE_T piece = n < room ? n : room;
    memcpy(buffer_ + buffered_, data, piece);
    buffered_ += piece;
    data += piece;
    n -= piece;
    if (buffered_ == kBufferSize && spill() != 0) return 1;
  }
  return 0;
}

uint16_t XPstTempData::append(const char* text) { return append(text, strlen(text)); }

uint16_t XPstTempData::appendBlanks(VXSIZE_T count) {
  static const char kBlanks[] = "                                ";
  while (count > 0) {
    VXSIZE_T n = count < sizeof kBlanks - 1 ? count : sizeof kBlanks - 1;
    if (append(kBlanks, n) != 0) return 1;
    count -= n;
  }
  return 0;
}

// The bytes of each store are read back a page at a time through its
// cache.
uint16_t XPstTempData::writeTo(int handle) {
  for (uint32_t i = 0; i < storeCount_; ++i) {
    VxTmpFile* store = stores_[i];
    VXSIZE_T length = i + 1 == storeCount_ ? lastStoreBytes_ : store->getSpaceEnd() - kFirstAddress;
    for (VXSIZE_T done = 0; done < length;) {
      void* page = nullptr;
      uint16_t left = 0;
      if (store->tmpPointer(kFirstAddress + done, &page, &left, 0) != 0) return 1;
      VXSIZE_T n = length - done < left ? length - done : left;
      if (bosFileWrite(handle, -1, page, n) != 0) return 1;
      done += n;
    }
  }
  return buffered_ == 0 ? 0 : bosFileWrite(handle, -1, buffer_, buffered_);
}
