/* Loaded with LD_PRELOAD into a child program: every write to a regular
   file fails as on a full disk (ENOSPC), while ftruncate still works, so a
   writer that went on after a failed write would leave a file of the right
   length full of holes. */
#define _GNU_SOURCE
#include <errno.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

ssize_t write(int fd, const void* data, size_t n) {
  struct stat info;
  if (fstat(fd, &info) == 0 && S_ISREG(info.st_mode)) {
    errno = ENOSPC;
    return -1;
  }
  return syscall(SYS_write, fd, data, n);
}
