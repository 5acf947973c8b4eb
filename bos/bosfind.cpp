// Enumerating files, directories and mounted file systems.
//
// A file search lists what "ls PATTERN" lists after the shell expanded the
// pattern, but without running any shell or program: the pattern is never
// interpreted by anything but fnmatch, so no character in it can run a
// command. Wildcards are honoured in the last component only; matching
// directories are returned as names, not listed.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fnmatch.h>
#include <mntent.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include "bos/bos.h"
#include "bos/bosfile_internal.h"
#include "foundation/ram_internal.h"
#include "foundation/vxerror.h"
#include "foundation/vxmsgnum.h"
#include "foundation/vxtrace.h"

namespace {

// Names gathered one by one, then handed out as one block of
// NUL-terminated names. A failed allocation is remembered (error 1503
// filed once) and makes the result null.
class NameCollector {
 public:
  NameCollector() = default;
  ~NameCollector() {
    for (size_t i = 0; i < count_; ++i) free(items_[i]);
    free(items_);
  }
  NameCollector(const NameCollector&) = delete;
  NameCollector& operator=(const NameCollector&) = delete;

  void add(const char* prefix, const char* name) {
    if (failed_) return;
    if (count_ == capacity_ && !grow()) return;
    size_t a = strlen(prefix), b = strlen(name);
    char* item = static_cast<char*>(ramAlloc(a + b + 1));
    if (!item) return fail();
    memcpy(item, prefix, a);
    memcpy(item + a, name, b + 1);
    items_[count_++] = item;
  }

  void sort() {
    if (count_ > 1) qsort(items_, count_, sizeof *items_, compareNames);
  }

  size_t count() const { return count_; }
  bool failed() const { return failed_; }

  // The names, each NUL-terminated, and an empty name after the last:
  // malloc'd, owned by the caller. Null after a failure.
  char* pack() {
    if (failed_) return nullptr;
    size_t total = 1;
    for (size_t i = 0; i < count_; ++i) total += strlen(items_[i]) + 1;
    char* block = static_cast<char*>(ramAlloc(total));
    if (!block) {
      fail();
      return nullptr;
    }
    char* p = block;
    for (size_t i = 0; i < count_; ++i) {
      size_t length = strlen(items_[i]) + 1;
      memcpy(p, items_[i], length);
      p += length;
    }
    *p = '\0';
    return block;
  }

 private:
  static int compareNames(const void* a, const void* b) {
    return strcoll(*static_cast<char* const*>(a), *static_cast<char* const*>(b));
  }

  bool grow() {
    size_t capacity = capacity_ ? capacity_ * 2 : 16;
    void* grown = ramRealloc(items_, capacity * sizeof *items_);
    if (!grown) {
      fail();
      return false;
    }
    items_ = static_cast<char**>(grown);
    capacity_ = capacity;
    return true;
  }

  void fail() {
    if (!failed_) addError(kErrOutOfMemory);
    failed_ = true;
  }

  char** items_ = nullptr;
  size_t count_ = 0;
  size_t capacity_ = 0;
  bool failed_ = false;
};

enum EntryFilter { ALL_VISIBLE, DIRECTORIES_ONLY };

bool isDotOrDotDot(const char* name) {
  return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

bool isDirectoryEntry(const char* directory, const char* name) {
  char path[BOS_MAX_PATH];
  if (!joinPath(path, directory, "/", name)) return false;
  struct stat info;
  return stat(path, &info) == 0 && S_ISDIR(info.st_mode);
}

// Adds the entries of `directory`: those not starting with a dot, or its
// subdirectories other than "." and "..". False when it cannot be read.
bool collectEntries(const char* directory, EntryFilter filter, NameCollector& names) {
  DIR* dir = opendir(directory);
  if (!dir) return false;
  while (struct dirent* entry = readdir(dir)) {
    const char* name = entry->d_name;
    if (filter == ALL_VISIBLE ? name[0] == '.' : isDotOrDotDot(name)) continue;
    if (filter == DIRECTORIES_ONLY && !isDirectoryEntry(directory, name)) continue;
    names.add("", name);
  }
  closedir(dir);
  return true;
}

// Adds the entries of the pattern's directory that match its last
// component, each with the directory part in front.
void collectMatches(const char* pattern, NameCollector& names) {
  const char* slash = strrchr(pattern, '/');
  const char* last = slash ? slash + 1 : pattern;
  char directoryPart[BOS_MAX_PATH];
  size_t directoryLength = size_t(last - pattern);
  if (directoryLength >= sizeof directoryPart) return;
  memcpy(directoryPart, pattern, directoryLength);
  directoryPart[directoryLength] = '\0';
  DIR* dir = opendir(directoryLength ? directoryPart : ".");
  if (!dir) return;
  while (struct dirent* entry = readdir(dir)) {
    if (isDotOrDotDot(entry->d_name)) continue;
    if (fnmatch(last, entry->d_name, FNM_PERIOD) == 0) names.add(directoryPart, entry->d_name);
  }
  closedir(dir);
}

bool hasWildcard(const char* text) { return strpbrk(text, "*?[") != nullptr; }

}  // namespace

VxBosFileFindDesc::~VxBosFileFindDesc() { reset(); }

void VxBosFileFindDesc::reset() {
  free(names_);
  names_ = nullptr;
  cursor_ = nullptr;
  count_ = 0;
  next_ = 0;
}

uint16_t bosFindFiles(const char* pattern, VxBosFileFindDesc* desc, char* fileName) {
  bool tracing = BOS_RUNTIME_DEBUG.debugItem(VX_DEBUG_FIND_FILES) != 0;
  if (pattern) {
    if (tracing) printf("bosFindFiles: Search for %s\n", pattern);
    desc->reset();
    NameCollector names;
    const char* slash = strrchr(pattern, '/');
    struct stat info;
    if (hasWildcard(slash ? slash + 1 : pattern)) {
      collectMatches(pattern, names);
    } else if (stat(pattern, &info) == 0 && S_ISDIR(info.st_mode)) {
      collectEntries(pattern, ALL_VISIBLE, names);
    } else if (lstat(pattern, &info) == 0) {
      names.add("", pattern);
    }
    names.sort();
    desc->names_ = names.pack();
    if (!desc->names_) return 1;
    desc->count_ = names.count();
    desc->cursor_ = desc->names_;
  }
  fileName[0] = '\0';
  if (desc->next_ >= desc->count_) return 1;
  if (!joinPath(fileName, desc->cursor_)) return reportLongName(desc->cursor_);
  desc->cursor_ += strlen(desc->cursor_) + 1;
  ++desc->next_;
  if (tracing) printf("bosFindFiles: returns fileName=%s\n", fileName);
  return 0;
}

char* bosGetDirectoryNames(const char* directory) {
  NameCollector names;
  if (!collectEntries(directory, DIRECTORIES_ONLY, names)) {
    bosMapError(errno, directory);
    return nullptr;
  }
  names.sort();
  return names.pack();
}

char* bosGetFileSystems() {
  FILE* table = setmntent("/proc/self/mounts", "r");
  if (!table) table = setmntent("/etc/mtab", "r");
  if (!table) {
    bosMapError(errno, "/etc/mtab");
    return nullptr;
  }
  NameCollector names;
  struct mntent entry;
  char buffer[4096];
  while (getmntent_r(table, &entry, buffer, sizeof buffer)) names.add("", entry.mnt_dir);
  endmntent(table);
  return names.pack();
}

uint16_t bosgetbl(const char* path, VXSIZE_T* blockSize, VXSIZE_T* freeBlocks) {
  struct statvfs info;
  if (statvfs(path, &info) != 0) {
    bosMapError(errno, path);
    return 1;
  }
  *blockSize = VXSIZE_T(info.f_frsize);
  *freeBlocks = VXSIZE_T(info.f_bavail);
  return 0;
}
