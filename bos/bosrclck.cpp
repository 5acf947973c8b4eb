// Byte-range locks over fcntl, with the process's own list of held ranges.
#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>

#include "bos/bos.h"
#include "bos/mdsint.h"
#include "foundation/vxerror.h"
#include "foundation/vxmsgnum.h"

namespace {

// One range a thread of this process holds.
struct HeldRange : VxObject {
  HeldRange* next = nullptr;
  uint64_t threadId = 0;
  dev_t device = 0;
  ino_t inode = 0;
  VXSIZE_T offset = 0;
  VXSIZE_T length = 0;  // 0: to the end of the file
  uint32_t count = 0;
};

// The list, guarded by LIST_LOCK, and the process it belongs to: a child
// made by fork inherits the memory but none of the system locks.
HeldRange* heldRanges = nullptr;
pid_t heldRangesOwner = 0;

void releaseHeldRanges() {
  while (heldRanges) {
    HeldRange* next = heldRanges->next;
    delete heldRanges;
    heldRanges = next;
  }
}

// Frees the list when the library is unloaded (or the process ends).
struct HeldRangesReleaser {
  ~HeldRangesReleaser() { releaseHeldRanges(); }
};
HeldRangesReleaser heldRangesReleaser __attribute__((init_priority(101)));

// One past the last byte of a range; length 0 reaches the end of any file.
VXSIZE_T rangeEnd(VXSIZE_T offset, VXSIZE_T length) {
  if (length == 0 || offset + length < offset) return UINT64_MAX;
  return offset + length;
}

bool overlaps(const HeldRange* held, VXSIZE_T offset, VXSIZE_T length) {
  return held->offset < rangeEnd(offset, length) && offset < rangeEnd(held->offset, held->length);
}

int setSystemLock(int fd, short type, VXSIZE_T offset, VXSIZE_T length) {
  struct flock request = {};
  request.l_type = type;
  request.l_whence = SEEK_SET;
  request.l_start = off_t(offset);
  request.l_len = off_t(length);
  return fcntl(fd, F_SETLK, &request);
}

// Outcome of the list work done under LIST_LOCK; errors are filed after
// the lock is left.
enum class Outcome { kDone, kHeldByOtherThread, kSystemFailure };

// Applies the request to the list and to the system, holding LIST_LOCK
// for the whole of it.
Outcome applyRequest(int fd, const struct stat& file, bool unlock, VXSIZE_T offset, VXSIZE_T length,
                     int* systemError) {
  VxCriticalSectionGuard guard(LIST_LOCK);
  if (heldRangesOwner != getpid()) {
    releaseHeldRanges();
    heldRangesOwner = getpid();
  }
  uint64_t self = uint64_t(pthread_self());
  HeldRange** same = nullptr;
  for (HeldRange** link = &heldRanges; *link; link = &(*link)->next) {
    HeldRange* held = *link;
    if (held->device != file.st_dev || held->inode != file.st_ino) continue;
    if (held->threadId != self) {
      if (overlaps(held, offset, length)) return Outcome::kHeldByOtherThread;
    } else if (held->offset == offset && held->length == length) {
      same = link;
    }
  }

  if (unlock) {
    if (same && --(*same)->count > 0) return Outcome::kDone;
    if (setSystemLock(fd, F_UNLCK, offset, length) != 0) {
      *systemError = errno;
      if (same) ++(*same)->count;
      return Outcome::kSystemFailure;
    }
    if (same) {
      HeldRange* released = *same;
      *same = released->next;
      delete released;
    }
    return Outcome::kDone;
  }

  if (same) {
    ++(*same)->count;
    return Outcome::kDone;
  }
  HeldRange* held = new HeldRange;
  if (!held) {
    *systemError = ENOMEM;
    return Outcome::kSystemFailure;
  }
  if (setSystemLock(fd, F_WRLCK, offset, length) != 0) {
    *systemError = errno;
    delete held;
    return Outcome::kSystemFailure;
  }
  held->threadId = self;
  held->device = file.st_dev;
  held->inode = file.st_ino;
  held->offset = offset;
  held->length = length;
  held->count = 1;
  held->next = heldRanges;
  heldRanges = held;
  return Outcome::kDone;
}

// A lock refused by the system because another process holds the range
// reports kErrResourceLocked: EAGAIN maps to it, and EACCES, which maps to
// kErrAccessDenied, is reported as kErrResourceLocked instead.
void fileSystemFailure(int systemError) {
  errno = systemError;
  if (systemError == EACCES || systemError == EAGAIN) {
    addError(kErrResourceLocked);
  } else {
    bosMapError(systemError, "");
  }
}

}  // namespace

uint16_t bosRegionLock(int fd, uint16_t unlock, VXSIZE_T offset, VXSIZE_T length) {
  struct stat file;
  if (fstat(fd, &file) != 0) {
    fileSystemFailure(errno);
    return 1;
  }
  int systemError = 0;
  Outcome outcome = applyRequest(fd, file, unlock != 0, offset, length, &systemError);
  if (outcome == Outcome::kHeldByOtherThread) {
    addError(kErrResourceLocked);
    return 1;
  }
  if (outcome == Outcome::kSystemFailure) {
    fileSystemFailure(systemError);
    return 1;
  }
  return 0;
}
