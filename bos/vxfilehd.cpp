// VxFileHandle: one open file of the file layer, closed when destroyed.
#include <cstring>

#include "bos/bosfile_internal.h"

VxFileHandle::~VxFileHandle() { close(); }

uint16_t VxFileHandle::open(const char* name, uint32_t mode) {
  close();
  if (!joinPath(name_, name)) return reportLongName(name);
  int fd = 0;
  if (bosFileOpen(name_, mode, &fd) != 0) return 1;
  handle_ = fd;
  return 0;
}

uint16_t VxFileHandle::close() {
  int fd = handle_;
  handle_ = 0;
  return bosFileClose(fd);
}

uint16_t VxFileHandle::read(int64_t offset, void* buffer, VXSIZE_T length, int32_t* count) {
  return bosFileRead(handle_, offset, buffer, length, count);
}

uint16_t VxFileHandle::write(int64_t offset, const void* buffer, VXSIZE_T length) {
  return bosFileWrite(handle_, offset, buffer, length);
}

int32_t VxFileHandle::seek(int64_t offset, int whence) { return bosFileSeek(handle_, offset, whence); }

uint16_t VxFileHandle::setSize(VXSIZE_T length) { return bosFileSize(handle_, length); }
