// VxSharedFile: a paged file kept inside a temporary store (VxTmpFile).
//
// The file is a sequence of 4,096-byte pages, each one a range obtained
// from the store; page i of the file lies at pages[i] in the store. Writing
// past the last page appends new pages; reading never allocates. The page
// index of an offset is offset >> 12 and is held in 16 bits, so a file
// spans at most 65,536 pages (256 MB) and the store's own 128 MB span
// usually ends it first; an offset past either limit fails rather than
// wrapping.
//
// Ownership: the file uses the store it is given, which must outlive it,
// and owns the pages it took (truncate returns them). Thread-safety: each
// store operation holds the store's lock; the page array itself is not
// locked, so one thread uses a shared file at a time.
//
// Failure: read, write and truncate return 0 or 1; a failure leaves the
// store's record (2715 past the span, 1503, or a file error), or 2715 for
// an offset past 65,536 pages, or 1508 for a read past the last page.
#ifndef VX_STORAGE_VXSHRFIL_H_
#define VX_STORAGE_VXSHRFIL_H_

#include <cstdint>

#include "containers/vxarray.h"
#include "foundation/vxexport.h"
#include "foundation/vxobject.h"
#include "foundation/vxtypes.h"
#include "storage/vxtmpfil.h"

class VX_EXPORT VxSharedFile : public VxObject {
 public:
  static constexpr VXSIZE_T kPageSize = 4096;
  static constexpr VXSIZE_T kMaxPages = 65536;

  // An empty file in store.
  explicit VxSharedFile(VxTmpFile* store) : store(store) {}
  // truncate().
  ~VxSharedFile() override;

  VxSharedFile(const VxSharedFile&) = delete;
  VxSharedFile& operator=(const VxSharedFile&) = delete;

  // Copies length bytes from offset on out of the file. 0 or 1.
  unsigned read(VXSIZE_T offset, void* buffer, VXSIZE_T length);
  // Copies length bytes into the file at offset, adding pages as needed.
  // Pages added beyond the old end hold undefined bytes until written.
  unsigned write(VXSIZE_T offset, const void* buffer, VXSIZE_T length);
  // Gives every page back to the store and empties the file.
  unsigned truncate();

  // Pages the file holds.
  VXSIZE_T getPageCount() const { return pages.getCount(); }

 private:
  unsigned transfer(VXSIZE_T offset, char* buffer, VXSIZE_T length, bool writing);

  VxTmpFile* store;
  VxArrayVXSIZE_T pages;  // store address of each page
};

#endif  // VX_STORAGE_VXSHRFIL_H_
