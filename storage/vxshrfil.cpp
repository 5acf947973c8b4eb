// VxSharedFile: the page walk of reads and writes.
#include "storage/vxshrfil.h"

#include "foundation/vxerror.h"
#include "foundation/vxmsgnum.h"

VxSharedFile::~VxSharedFile() { truncate(); }

// Each piece runs from the position in its page to the page's end, or to
// the end of the request. Writing adds a page from the store for every
// index at or past the page count; reading fails there.
unsigned VxSharedFile::transfer(VXSIZE_T offset, char* buffer, VXSIZE_T length, bool writing) {
  while (length > 0) {
    VXSIZE_T page = offset >> 12, position = offset & 0xFFF;
    if (page >= kMaxPages) {
      addError(kErrTempFileFull);
      return 1;
    }
    while (page >= pages.getCount()) {
      if (!writing) {
        addError(kErrAccessDenied) << "";
        return 1;
      }
      VXSIZE_T address;
      if (store->tmpFindSpace(kPageSize, &address) != 0) return 1;
      if (pages.add(address) != 0) {
        store->tmpFreeSpace(address, kPageSize);
        return 1;
      }
    }
    VXSIZE_T piece = kPageSize - position < length ? kPageSize - position : length;
    VXSIZE_T at = pages.at(page) + position;
    if ((writing ? store->tmpWrite(at, buffer, piece) : store->tmpRead(at, buffer, piece)) != 0) return 1;
    offset += piece;
    buffer += piece;
    length -= piece;
  }
  return 0;
}

unsigned VxSharedFile::read(VXSIZE_T offset, void* buffer, VXSIZE_T length) {
  return transfer(offset, static_cast<char*>(buffer), length, false);
}

unsigned VxSharedFile::write(VXSIZE_T offset, const void* buffer, VXSIZE_T length) {
  return transfer(offset, static_cast<char*>(const_cast<void*>(buffer)), length, true);
}

unsigned VxSharedFile::truncate() {
  for (VXSIZE_T i = pages.getCount(); i > 0; --i) store->tmpFreeSpace(pages.at(i - 1), kPageSize);
  pages.reset();
  return 0;
}
