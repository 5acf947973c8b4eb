// The profile interface over the task's INI caches, the fresh-cache
// Windows-named forms, and the installation directory.
#include "config/vxini.h"

#include <cctype>
#include <cstring>

#include "bos/mdsint.h"
#include "bos/vxcritse.h"
#include "foundation/vxerror.h"
#include "foundation/vxmsgnum.h"

namespace {


// Guards the creation of the task's list (and every read of its slot, so
// that a thread never sees the slot half set up).
VxCriticalSection& taskListLock() {
  static VxCriticalSection lock;
  return lock;
}

// Serialises bosSetInstallDir.
VxCriticalSection& installDirLock() {
  static VxCriticalSection lock;
  return lock;
}

VxIniFileCacheList* taskList() {
  VxCriticalSectionGuard guard(taskListLock());
  VxIniFileCacheList* list = bosGetPTaskIniList();
  if (!list) {
    list = new VxIniFileCacheList;
    if (list) bosPutPTaskIniList(list);
    else addError(kErrOutOfMemory);
  }
  return list;
}

// The operation of each form on an open cache, and what it answers when
// the file cannot be opened.
VXSIZE_T readString(VxIniFileCache* cache, const char* section, const char* entry,
                    const char* defaultValue, char* buffer, VXSIZE_T size) {
  if (!cache) return vxstrlcpy(buffer, defaultValue ? defaultValue : "", size);
  return cache->bosGetProfileString(section, entry, defaultValue, buffer, size);
}

int32_t readInt(VxIniFileCache* cache, const char* section, const char* entry,
                VXSSIZE_T defaultValue) {
  if (!cache) return int32_t(defaultValue);  // deliberate narrowing
  return cache->bosGetProfileInt(section, entry, defaultValue);
}

int32_t writeString(VxIniFileCache* cache, const char* section, const char* entry,
                    const char* value) {
  return cache && cache->bosPutProfileString(section, entry, value) == 0 ? 1 : 0;
}

// Closes a cache of the task's list after a private-form call.
void closeAfterCall(VxIniFileCache* cache) {
  if (cache) vxPrivateProfileTerm(cache);
}

}  // namespace

VxIniFileCacheList* bosGetPTaskIniList() {
  return static_cast<VxIniFileCacheList*>(mdsGetPerTaskData(MDS_TASK_INI_CACHES));
}

void bosPutPTaskIniList(VxIniFileCacheList* list) { mdsSetPerTaskData(MDS_TASK_INI_CACHES, list); }

VxIniFileCache* vxProfileInit(const char* file) {
  VxIniFileCacheList* list = taskList();
  return list ? list->open(file) : nullptr;
}

VxIniFileCache* vxPrivateProfileInit(const char* file) { return vxProfileInit(file); }

void vxPrivateProfileTerm(VxIniFileCache* cache) {
  VxIniFileCacheList* list = taskList();
  if (list && cache) list->close(cache);
}

VXSIZE_T vxGetPrivateProfileString(const char* section, const char* entry,
                                   const char* defaultValue, char* buffer, VXSIZE_T size,
                                   const char* file) {
  VxIniFileCache* cache = vxPrivateProfileInit(file);
  VXSIZE_T length = readString(cache, section, entry, defaultValue, buffer, size);
  closeAfterCall(cache);
  return length;
}

VXSIZE_T vxGetPrivateProfileString(const char* section, const char* entry,
                                   const char* defaultValue, char* buffer, VXSIZE_T size,
                                   VxIniFileCache* cache) {
  return readString(cache, section, entry, defaultValue, buffer, size);
}

int32_t vxGetPrivateProfileInt(const char* section, const char* entry, VXSSIZE_T defaultValue,
                               const char* file) {
  VxIniFileCache* cache = vxPrivateProfileInit(file);
  int32_t value = readInt(cache, section, entry, defaultValue);
  closeAfterCall(cache);
  return value;
}

VXSIZE_T vxGetPrivateProfileSection(const char* section, char* buffer, VXSIZE_T size,
                                    const char* file) {
  VxIniFileCache* cache = vxPrivateProfileInit(file);
  return cache ? cache->bosGetProfileSection(section, buffer, size) : 0;  // left open
}

int32_t vxWritePrivateProfileString(const char* section, const char* entry, const char* value,
                                    const char* file) {
  VxIniFileCache* cache = vxPrivateProfileInit(file);
  int32_t written = writeString(cache, section, entry, value);
  closeAfterCall(cache);
  return written;
}

VXSIZE_T vxGetProfileString(const char* section, const char* entry, const char* defaultValue,
                            char* buffer, VXSIZE_T size, const char* file) {
  return readString(vxProfileInit(file), section, entry, defaultValue, buffer, size);
}

int32_t vxGetProfileInt(const char* section, const char* entry, VXSSIZE_T defaultValue,
                        const char* file) {
  return readInt(vxProfileInit(file), section, entry, defaultValue);
}

int32_t vxWriteProfileString(const char* section, const char* entry, const char* value,
                             const char* file) {
  return writeString(vxProfileInit(file), section, entry, value);
}

int32_t vxGetWININIInt(const char* section, const char* entry, VXSSIZE_T defaultValue) {
  return vxGetProfileInt(section, entry, defaultValue, ".system.defaults");
}

int32_t vxWriteWININIString(const char* section, const char* entry, const char* value) {
  return vxWriteProfileString(section, entry, value, ".system.defaults");
}

uint32_t GetPrivateProfileString(const char* section, const char* entry, const char* defaultValue,
                                 char* buffer, uint32_t size, const char* file) {
  VxIniFileCache* cache = new VxIniFileCache(file);
  VXSIZE_T length = readString(cache, section, entry, defaultValue, buffer, size);
  delete cache;
  return uint32_t(length);
}

uint32_t GetPrivateProfileInt(const char* section, const char* entry, int32_t defaultValue,
                              const char* file) {
  VxIniFileCache* cache = new VxIniFileCache(file);
  int32_t value = readInt(cache, section, entry, defaultValue);
  delete cache;
  return uint32_t(value);
}

int32_t WritePrivateProfileString(const char* section, const char* entry, const char* value,
                                  const char* file) {
  VxIniFileCache* cache = new VxIniFileCache(file);
  int32_t written = writeString(cache, section, entry, value);
  delete cache;
  return written;
}

VXSIZE_T vxstrlcpy(char* dst, const char* src, VXSIZE_T size) {
  VXSIZE_T length = strlen(src);
  if (length < size) {
    memcpy(dst, src, length + 1);
    return length;
  }
  if (size == 0) return 0;
  memcpy(dst, src, size - 1);
  dst[size - 1] = '\0';
  return size - 1;
}

uint16_t bosSetInstallDir(const char* dir) {
  VxCriticalSectionGuard guard(installDirLock());
  if (dir) {
    vxstrlcpy(InstallDirLocation, dir, VX_INSTALL_DIR_SIZE);
  } else {
    vxGetProfileString("ODBC", "InstallDir", "", InstallDirLocation, VX_INSTALL_DIR_SIZE,
                       ".odbc.ini");
    if (InstallDirLocation[0] == '\0') {
      vxGetPrivateProfileString("ODBC", "InstallDir", "", InstallDirLocation, VX_INSTALL_DIR_SIZE,
                                ".odbcinst.ini");
    }
  }
  size_t length = strlen(InstallDirLocation);
  while (length > 1 && isspace(static_cast<unsigned char>(InstallDirLocation[length - 1]))) {
    InstallDirLocation[--length] = '\0';
  }
  if (length > 0 && InstallDirLocation[length - 1] == '/') InstallDirLocation[length - 1] = '\0';
  return 0;
}
