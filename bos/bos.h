// Operating-system services of the library: error mapping and byte-range
// locks here; files, paths and configuration-file redirection in
// bos/bosfile.h, the environment, processes and shared libraries in
// bos/bosenv.h, and the message catalog in bos/boslstr.h, all included
// here. Functions return 0 on success and 1 on failure and file the
// failure in the calling thread's current error list (foundation/vxerror.h).
#ifndef VX_BOS_BOS_H_
#define VX_BOS_BOS_H_

#include <cstdint>

#include "bos/bosenv.h"
#include "bos/bosfile.h"
#include "bos/boslstr.h"
#include "foundation/vxexport.h"
#include "foundation/vxtypes.h"

// Files the library error for the system error `code` (a value of errno),
// with `name` (the file or object concerned; null counts as empty) as its
// parameter where the error takes one:
//   EPERM 1519 (name), ENOENT 1509 (name), EIO 30041 (name), EBADF 1507,
//   EAGAIN 1512, ENOMEM 1503, EACCES 1508 (name), EEXIST 1520 (name),
//   EMFILE 30045, ENOSPC 1506 (name), EROFS 30049 (name),
//   EDEADLK 1521 (name), ENOLCK 1514.
// Any other code files 30041 without parameter and appends the system's
// text for the current errno: alone when the name is empty, else both the
// text and the name through the library's message 30050 when the message
// catalog has it (the system's text alone otherwise).
// Returns the library error number filed.
VX_EXPORT uint16_t bosMapError(int code, const char* name);

// Places (unlock 0: a write lock) or removes (unlock non-zero) an advisory
// lock on `length` bytes of the open file `fd` from `offset` (length 0:
// to the end of the file, however it grows), never waiting. 0 on success,
// 1 on failure.
//
// System locks belong to the whole process, so the library also keeps the
// process's own list of the ranges its threads hold (thread, file, offset,
// length, count):
//  - a thread that locks a range it already holds with the same offset and
//    length counts one more hold; it takes as many unlocks to release it;
//  - a request, lock or unlock, that overlaps a range held by another
//    thread of the process is refused with error 1512: a thread never takes
//    over, extends or releases a range another thread holds;
//  - an unlock of a range the thread does not hold in the list goes to the
//    system unchanged.
// A thread's own overlapping ranges share one system lock: unlocking one
// of them releases the overlap for the system too.
// Another process holding an overlapping lock also gives error 1512; other
// system failures are filed through bosMapError.
//
// Thread-safety: any thread may call it; the list is guarded by LIST_LOCK.
// After fork the child starts with an empty list, since system locks are
// not inherited.
VX_EXPORT uint16_t bosRegionLock(int fd, uint16_t unlock, VXSIZE_T offset, VXSIZE_T length);

#endif  // VX_BOS_BOS_H_
