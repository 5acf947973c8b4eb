// File attributes, existence, removal, renaming and the writable-directory
// probe.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "bos/bosfile_internal.h"
#include "foundation/vxerror.h"
#include "foundation/vxmsgnum.h"
#include "foundation/vxtrace.h"

namespace {

enum FileAttribute : uint16_t {
  ATTR_WRITABLE = 1,
  ATTR_DIRECTORY = 2,
  ATTR_READ_ONLY = 5,  // bit 0 set: still a regular file
  ATTR_MISSING = 8,
  ATTR_STAT_FAILED = 16,
  ATTR_OTHER_KIND = 32
};

const char kProbeName[] = "$$$vx$$$.$vx";

}  // namespace

uint16_t bosFileDelete(const char* name) {
  if (unlink(name) == 0 || errno == ENOENT) return 0;
  addError(kErrCannotDelete) << name;
  return 1;
}

uint16_t bosFileDateSize(const char* name, uint32_t* time, VXSIZE_T* size) {
  struct stat info;
  if (stat(name, &info) != 0) return 1;
  *time = uint32_t(info.st_mtime);
  *size = VXSIZE_T(info.st_size);
  return 0;
}

uint16_t bosrname(const char* from, const char* to) {
  if (link(from, to) == 0 && unlink(from) == 0) return 0;
  addError(kErrCannotRename) << from << to;
  return 1;
}

// The write permission is judged from the mode bits alone, by the first
// class that applies: the owner's bit when the caller's real user owns the
// file, else the group's bit when the caller's real group owns it, else
// the others' bit. A missing component of the path counts as missing.
uint16_t bosfattr(const char* name) {
  if (!strcmp(name, "..")) return ATTR_DIRECTORY;
  struct stat info;
  if (stat(name, &info) != 0) {
    return (errno == ENOENT || errno == ENOTDIR) ? ATTR_MISSING : ATTR_STAT_FAILED;
  }
  if (S_ISDIR(info.st_mode)) return ATTR_DIRECTORY;
  if (!S_ISREG(info.st_mode)) return ATTR_OTHER_KIND;
  mode_t writeBit = S_IWOTH;
  if (info.st_uid == getuid()) {
    writeBit = S_IWUSR;
  } else if (info.st_gid == getgid()) {
    writeBit = S_IWGRP;
  }
  return (info.st_mode & writeBit) ? ATTR_WRITABLE : ATTR_READ_ONLY;
}

uint16_t bosexist(const char* name) {
  bool tracing = BOS_RUNTIME_DEBUG.debugItem(VX_DEBUG_EXISTS) != 0;
  if (tracing) printf("bosexist: Name=%s ", name);
  uint16_t exists = bosfattr(name) & 1;
  if (tracing) printf(" exists: %d\n", exists);
  return exists;
}

uint16_t bosftest(const char* path) {
  const char* slash = strrchr(path, '/');
  size_t directoryLength = slash ? size_t(slash - path) + 1 : 0;
  if (directoryLength + sizeof kProbeName > BOS_MAX_PATH) return 0;
  char probe[BOS_MAX_PATH];
  memcpy(probe, path, directoryLength);
  memcpy(probe + directoryLength, kProbeName, sizeof kProbeName);
  int fd = open(probe, O_WRONLY | O_CREAT | O_EXCL, 0666);
  if (fd < 0) return 0;
  close(fd);
  unlink(probe);
  return 1;
}
