// Opening files with a bit set of modes.
//
// bosFileOpen works in this order:
//  1. trace the name;
//  2. 0x40: a fresh temporary name ("vx" prefix, in "VX_TMPDIR" when set,
//     else in the system's temporary directory) replaces the caller's
//     name, and 0x1 is added;
//  3. 0x200: a recognised configuration file adds 0x8;
//  4. 0x8: the working path is $HOME "/" name (the name alone without
//     $HOME); a recognised configuration file is then redirected and its
//     final path copied back into the caller's buffer;
//  5. 0x1: open read-write, creating (exclusively with 0x20), take the
//     shared token without looking at the result, done;
//  6. 0x100 stops here with handle 0; else open read-only or read-write
//     (0x2), creating a missing file with 0x4, and take the tokens that
//     0x1000 / 0x800 ask for;
//  7. when that open fails and 0x10 is set, locate the name along $PATH
//     and retry step 6 once with the path found.
// Every open uses permission bits 0666 before the process's umask.
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include "bos/bos.h"
#include "bos/bosenv.h"
#include "bos/bosfile_internal.h"
#include "foundation/vxerror.h"
#include "foundation/vxtrace.h"

namespace {

const mode_t kFilePermissions = 0666;

// Byte 1 carries the lock tokens, so that locks of whole records that
// start at offset 0 stay independent of them.
bool lockTokenByte(int fd, short type) {
  struct flock lock;
  memset(&lock, 0, sizeof lock);
  lock.l_type = type;
  lock.l_whence = SEEK_SET;
  lock.l_start = 1;
  lock.l_len = 1;
  return fcntl(fd, F_SETLK, &lock) == 0;
}

bool takeSharedToken(int fd) { return lockTokenByte(fd, F_RDLCK); }
bool takeExclusiveToken(int fd) { return lockTokenByte(fd, F_WRLCK); }

bool haveErrorList() { return VxErrorKeeper::getErrorList() != nullptr; }

uint16_t failWithErrno(int code, const char* name) {
  errno = code;  // the mapping describes errno itself for unmapped codes
  if (haveErrorList()) bosMapError(code, name);
  return 1;
}

// Writes into the path buffer `name` a name in `directory` that names
// nothing yet: "vx" and six letters or digits, as tempnam makes it. False
// when the directory is too long or a hundred tries all hit existing names.
bool nameInDirectory(char* name, const char* directory) {
  static std::atomic<uint64_t> sequence{0};
  static const char kLetters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
  size_t length = strlen(directory);
  while (length > 1 && directory[length - 1] == '/') --length;
  struct timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  uint64_t seed = (uint64_t(getpid()) << 32) ^ uint64_t(now.tv_nsec) ^ uint64_t(now.tv_sec);
  for (int attempt = 0; attempt < 100; ++attempt) {
    // splitmix64 of the seed and a process-wide sequence number
    uint64_t v = seed + (sequence.fetch_add(1) + 1) * 0x9E3779B97F4A7C15ULL;
    v = (v ^ (v >> 30)) * 0xBF58476D1CE4E5B9ULL;
    v = (v ^ (v >> 27)) * 0x94D049BB133111EBULL;
    v ^= v >> 31;
    char file[10] = "/vx";
    for (int i = 0; i < 6; ++i, v /= 62) file[3 + i] = kLetters[v % 62];
    int written = snprintf(name, BOS_MAX_PATH, "%.*s%s", int(length), directory, file);
    if (written < 0 || written >= BOS_MAX_PATH) return false;
    struct stat info;
    if (lstat(name, &info) != 0 && errno == ENOENT) return true;
  }
  return false;
}

// Writes a fresh temporary name into the path buffer `name`: in
// "VX_TMPDIR" when that names a directory, else from tempnam (the system's
// temporary directory). tempnam itself would prefer $TMPDIR to the
// directory it is given, so the name in "VX_TMPDIR" is made here. The file
// is created by the caller's open right after, exclusively with 0x20.
uint16_t makeTemporaryName(char* name) {
  const char* directory = bosGetEnv("VX_TMPDIR");
  struct stat info;
  bool made = directory && stat(directory, &info) == 0 && S_ISDIR(info.st_mode) &&
              nameInDirectory(name, directory);
  if (!made) {
    char* fresh = tempnam(nullptr, "vx");
    // Deliberate: without tempnam the name is "/tmp" and "vx" run together.
    bool fits = fresh ? joinPath(name, fresh) : joinPath(name, "/tmp", "vx");
    free(fresh);
    if (!fits) return reportLongName("");
  }
  if (BOS_RUNTIME_DEBUG.debugItem(VX_DEBUG_FILE_OPEN)) printf("bosfopen: Temp File %s ", name);
  return 0;
}

// Step 6 for `path`: 0 with the descriptor in *handle, else 1 with errno
// telling why (nothing filed yet).
uint16_t openExisting(const char* path, uint32_t mode, int* handle) {
  int flags = (mode & BOS_OPEN_READ_WRITE) ? O_RDWR : O_RDONLY;
  struct stat info;
  if ((mode & BOS_OPEN_CREATE_IF_MISSING) && stat(path, &info) != 0) flags |= O_CREAT;
  int fd = open(path, flags, kFilePermissions);
  if (fd == 0) {
    // Deliberate: descriptor 0 counts as failure. It is left open, so the
    // next open gets a descriptor above it.
    errno = EBADF;
    return 1;
  }
  if (fd < 0) return 1;
  if ((mode & BOS_OPEN_EXCLUSIVE_LOCK) && (mode & BOS_OPEN_READ_WRITE)) {
    if (takeExclusiveToken(fd)) {
      *handle = fd;
      return 0;
    }
  } else if (!(mode & BOS_OPEN_SHARED_LOCK) || (mode & BOS_OPEN_NO_SHARED_LOCK) ||
             takeSharedToken(fd)) {
    *handle = fd;
    return 0;
  }
  int lockError = errno;
  close(fd);
  errno = lockError;
  return 1;
}

}  // namespace

uint16_t bosFileOpen(char* name, uint32_t mode, int* handle, const char* creator,
                     const char* fileType) {
  if (BOS_RUNTIME_DEBUG.debugItem(VX_DEBUG_FILE_OPEN)) printf("bosfopen - File:%s\n", name);
  if (mode & BOS_OPEN_TEMPORARY) {
    if (makeTemporaryName(name) != 0) return 1;
    mode |= BOS_OPEN_CREATE;
  }
  ConfigFileKind kind = CONFIG_NONE;
  if (mode & BOS_OPEN_REDIRECT) {
    kind = configFileKind(name);
    if (kind != CONFIG_NONE) mode |= BOS_OPEN_HOME_RELATIVE;
  }

  char path[BOS_MAX_PATH];
  const char* home = (mode & BOS_OPEN_HOME_RELATIVE) ? bosGetEnv("HOME") : nullptr;
  bool fits = home ? joinPath(path, home, "/", name) : joinPath(path, name);
  if (!fits) return reportLongName(name);
  if (kind != CONFIG_NONE) {
    if (redirectConfigFile(kind, path, haveErrorList()) != 0) return 1;
    strcpy(name, path);
  }

  if (mode & BOS_OPEN_CREATE) {
    int flags = O_RDWR | O_CREAT | ((mode & BOS_OPEN_EXCLUSIVE) ? O_EXCL : 0);
    int fd = open(path, flags, kFilePermissions);
    if (fd < 0) return failWithErrno(errno, path);
    takeSharedToken(fd);  // deliberate: its failure does not matter
    *handle = fd;
    return 0;
  }
  if (mode & BOS_OPEN_NO_OPEN) {
    *handle = 0;
    return 0;
  }
  if (openExisting(path, mode, handle) == 0) return 0;
  int openError = errno;
  if (!(mode & BOS_OPEN_SEARCH_PATH)) return failWithErrno(openError, path);
  char found[BOS_MAX_PATH];
  if (bosLocateFile(found, name, BOS_SEARCH_PATH) != 0) {
    return failWithErrno(openError, name);
  }
  if (openExisting(found, mode & ~uint32_t(BOS_OPEN_SEARCH_PATH), handle) == 0) return 0;
  return failWithErrno(errno, found);
}
