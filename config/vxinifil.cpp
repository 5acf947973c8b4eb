// The INI file cache: loading, refreshing, lookups and rewrites of one
// configuration file, and the per-task list of caches.
#include "config/vxinifil.h"

#include <cassert>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

#include "bos/bos.h"
#include "bos/bosfile.h"
#include "bos/vxcritse.h"
#include "config/iniscan_internal.h"
#include "foundation/ram.h"
#include "foundation/vxerror.h"
#include "foundation/vxmsgnum.h"
#include "foundation/vxstr.h"
#include "foundation/vxtrace.h"
#include "values/convert.h"

namespace {

// Trace bits: loads; lookups of one value; key lists and writes.
const uint32_t kTraceLoad = 0x80;
const uint32_t kTraceValue = 0x20;
const uint32_t kTraceKeysAndWrites = 0x10;

// The first open mode: redirect, read-write, create if missing.
const uint32_t kInitialMode = BOS_OPEN_REDIRECT | BOS_OPEN_READ_WRITE | BOS_OPEN_CREATE_IF_MISSING;

// Pieces of a rewrite: the file layer reports writes of 65536 bytes or
// more as failures.
const VXSIZE_T kWritePiece = 32768;

bool tracing(uint32_t bit) { return BOS_RUNTIME_DEBUG.debugItem(bit) != 0; }

const char* orNull(const char* text) { return text ? text : "<NULL>"; }

// The trace of a rewrite (bit 0x10): every piece of it, from the request to
// the new image, is printed through traceRewrite, after this prefix and a
// space.
const char kPutPrefix[] = "PutProfileString:";

__attribute__((format(printf, 1, 2))) void traceRewrite(const char* format, ...) {
  if (!tracing(kTraceKeysAndWrites)) return;
  printf("%s ", kPutPrefix);
  va_list arguments;
  va_start(arguments, format);
  vprintf(format, arguments);
  va_end(arguments);
}

// Serialises every read and rewrite of a configuration file by the caches
// of this process. The byte-1 tokens are record locks, which belong to the
// whole process: a second descriptor of the same file opened and closed by
// another thread would change or drop them. Recursive, so a write may
// reload while holding it.
VxCriticalSection& fileIoLock() {
  static VxCriticalSection lock;
  return lock;
}

// What one call filed in the thread's error list: the number of the record
// it added (errno's meaning when there is no list, or when the list kept
// nothing new, as a full single-error list does), and taking that record
// back out. Records the caller had before are never touched.
class CallErrors {
 public:
  CallErrors() : list_(VxErrorKeeper::getErrorList()), before_(list_ ? list_->getCount() : 0) {}

  bool filed() const { return list_ && list_->getCount() > before_; }
  uint16_t number() const {
    if (filed()) return VxErrorKeeper::getLastErrorNumber();
    switch (errno) {
      case ENOENT: return kErrFileNotFound;
      case EACCES: return kErrAccessDenied;
      case EPERM: return kErrNotPermitted;
      case EAGAIN: return kErrResourceLocked;
      default: return 0;
    }
  }
  void clear() {
    if (filed()) VxErrorKeeper::clearLastError();
  }
  void markWarning() {
    if (filed()) VxErrorKeeper::setLastErrorType(VX_ERROR_TYPE_WARNING);
  }

 private:
  VxErrorList* list_;
  VXSIZE_T before_;
};

uint64_t nowMs() {
  struct timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return uint64_t(now.tv_sec) * 1000 + uint64_t(now.tv_nsec) / 1000000;
}

void pause(long nanoseconds) {
  struct timespec wait = {0, nanoseconds};
  nanosleep(&wait, nullptr);
}

// bosFileOpen of `name` into the path buffer `path`, retried while another
// writer holds the exclusive byte-1 token, for at most kIniLockWaitMs.
// 0 with the descriptor in *handle; 1 with the failure in the error list.
uint16_t openWaitingForToken(const char* name, char* path, uint32_t mode, int* handle) {
  uint64_t deadline = nowMs() + kIniLockWaitMs;
  for (long backoff = 200000;; backoff = backoff < 8000000 ? backoff * 2 : backoff) {
    strcpy(path, name);
    CallErrors attempt;
    if (bosFileOpen(path, mode, handle, "V+X?", "TEXT") == 0) return 0;
    if (attempt.number() != kErrResourceLocked || nowMs() >= deadline) return 1;
    attempt.clear();
    pause(backoff);
  }
}

// The installed-drivers file, whose absence counts as an empty file: its
// last path component is "odbcinst.ini" or ".odbcinst.ini", in any case.
bool isInstalledDriversFile(const char* name) {
  const char* slash = strrchr(name, '/');
  const char* base = slash ? slash + 1 : name;
  return strEqualCi(base, "odbcinst.ini") || strEqualCi(base, ".odbcinst.ini");
}

// Whether a failed read-write open of a file may be tried again read-only:
// the installed-drivers file after any failure; any other file, while the
// thread has an error list, only when the system refused write access
// (1519, 1508, 30040), and without a list after any failure.
bool mayRetryReadOnly(bool installedDrivers, bool haveList, bool readWrite, uint16_t error) {
  if (!readWrite) return false;
  if (installedDrivers || !haveList) return true;
  return error == kErrNotPermitted || error == kErrAccessDenied || error == kErrAccessDeniedByName;
}

// How the opening of a load ended.
enum class LoadOpening {
  kOpened,         // the descriptor is in *handle
  kAbsentIsEmpty,  // an installed-drivers file that does not exist
  kFailed          // the failure is in the error list, marked as a warning
};

// Opens `name` for a load (the redirected path left in `path`) with *mode,
// dropping write access, and with it creation, as mayRetryReadOnly allows.
// *mode keeps the mode that opened the file.
LoadOpening openFallingBack(const char* name, char* path, uint32_t* mode, int* handle) {
  bool installedDrivers = isInstalledDriversFile(name);
  bool haveList = VxErrorKeeper::getErrorList() != nullptr;
  for (;;) {
    CallErrors attempt;
    // No token: writers replace the file whole, so any image read is whole.
    strcpy(path, name);
    if (bosFileOpen(path, *mode, handle, "V+X?", "TEXT") == 0) return LoadOpening::kOpened;
    uint16_t error = attempt.number();
    bool readWrite = (*mode & BOS_OPEN_READ_WRITE) != 0;
    if (installedDrivers && !readWrite && error == kErrFileNotFound) {
      attempt.clear();
      return LoadOpening::kAbsentIsEmpty;
    }
    if (!mayRetryReadOnly(installedDrivers, haveList, readWrite, error)) {
      attempt.markWarning();
      return LoadOpening::kFailed;
    }
    attempt.clear();
    *mode &= ~uint32_t(installedDrivers || !haveList
                           ? BOS_OPEN_READ_WRITE | BOS_OPEN_CREATE_IF_MISSING
                           : BOS_OPEN_READ_WRITE);
  }
}

// Reads the whole open file into a fresh NUL-terminated block. 0 with the
// block and its length; 1 (error 1503 filed) when it cannot be allocated.
uint16_t readWholeFile(int handle, VXSIZE_T size, char** image, VXSIZE_T* length) {
  char* block = static_cast<char*>(malloc(size + 1));
  if (!block) {
    addError(kErrOutOfMemory);
    return 1;
  }
  VXSIZE_T done = 0;
  while (done < size) {
    int32_t count = 0;
    bosFileRead(handle, int64_t(done), block + done, size - done, &count);
    if (count <= 0) break;
    done += VXSIZE_T(count);
  }
  block[done] = '\0';
  *image = block;
  *length = done;
  return 0;
}

// The size of the open file, from its descriptor.
VXSIZE_T openFileSize(int handle) {
  int32_t end = bosFileSeek(handle, 0, SEEK_END);
  return end > 0 ? VXSIZE_T(end) : 0;
}

// Writes [data, data+length) at `offset` in pieces the file layer accepts.
uint16_t writeAt(int handle, VXSIZE_T offset, const char* data, VXSIZE_T length) {
  for (VXSIZE_T done = 0; done < length;) {
    VXSIZE_T piece = length - done < kWritePiece ? length - done : kWritePiece;
    if (bosFileWrite(handle, int64_t(offset + done), data + done, piece) != 0) return 1;
    done += piece;
  }
  return 0;
}

// "entry=value" and its line end, in a fresh block (null: out of memory).
char* makeEntryLine(const char* entry, const char* value, bool withLineEnd) {
  size_t entryLength = strlen(entry), valueLength = strlen(value);
  char* line = static_cast<char*>(malloc(entryLength + valueLength + 3));
  if (!line) return nullptr;
  memcpy(line, entry, entryLength);
  line[entryLength] = '=';
  memcpy(line + entryLength + 1, value, valueLength);
  size_t end = entryLength + 1 + valueLength;
  if (withLineEnd) line[end++] = '\n';
  line[end] = '\0';
  return line;
}

// "[section]" in a fresh block (null: out of memory).
char* makeHeader(const char* section) {
  size_t length = strlen(section);
  char* header = static_cast<char*>(malloc(length + 3));
  if (!header) return nullptr;
  header[0] = '[';
  memcpy(header + 1, section, length);
  header[length + 1] = ']';
  header[length + 2] = '\0';
  return header;
}

}  // namespace

// ---- VxIniFileCache ------------------------------------------------------

VxIniFileCache::VxIniFileCache(const char* name) {
  VxSemaphoreGuard guard(lock_);
  loadLocked(name);
}

VxIniFileCache::~VxIniFileCache() {
  freeImage();
  free(path_);
}

void VxIniFileCache::freeImage() {
  if (sectionIndex_) {
    iniFreeSectionIndex(sectionIndex_);
    delete sectionIndex_;
    sectionIndex_ = nullptr;
  }
  free(image_);
  image_ = nullptr;
  imageLength_ = 0;
}

// Lookups are answered the same without an index, so failing to build one
// is not an error.
void VxIniFileCache::indexImage() {
  sectionIndex_ = new (std::nothrow) IniSectionIndex;
  if (sectionIndex_ && iniBuildSectionIndex(image_, imageLength_, sectionIndex_) != 0) {
    delete sectionIndex_;
    sectionIndex_ = nullptr;
  }
}

uint16_t VxIniFileCache::bosVxIniOpen(const char* name) {
  VxSemaphoreGuard guard(lock_);
  return loadLocked(name);
}

// Loading. The file is opened with the cache's mode, starting read-write
// (0x206) and falling back to read-only when the system refuses write
// access: with an error list, only for errors 1519, 1508 and 30040; without
// one, for any failure. The installed-drivers file falls back after any
// first failure, and when it is then not found at all it loads as an empty
// image: an absent odbcinst.ini is an empty one. Every other failure fails
// the load, marked as a warning. The shared byte-1 token is held while the
// file is read, so that a rewrite by another process is never read half
// done; a token held elsewhere is waited for (openWaitingForToken).
uint16_t VxIniFileCache::loadLocked(const char* name) {
  char saved[BOS_MAX_PATH];
  if (strlen(name) >= sizeof saved) {
    addError(kErrNameTooLong) << name;
    return 1;
  }
  strcpy(saved, name);
  forgetFile();
  if (tracing(kTraceLoad)) printf("VxIniOpen: File:%s \n", saved);
  openMode_ = kInitialMode;
  char path[BOS_MAX_PATH];
  VxCriticalSectionGuard io(fileIoLock());
  switch (openFallingBack(saved, path, &openMode_, &fileHandle_)) {
    case LoadOpening::kOpened:
      return readOpenedFile(path);
    case LoadOpening::kAbsentIsEmpty:
      path_ = ramAllocStr(saved);
      fileHandle_ = 0;
      setOpen();
      return 0;
    case LoadOpening::kFailed:
      break;
  }
  fileHandle_ = 0;
  return 1;
}

// Drops the image and everything known about the file, before a load.
void VxIniFileCache::forgetFile() {
  freeImage();
  free(path_);
  path_ = nullptr;
  size_ = 0;
  time_ = 0;
  open_ = false;
}

// Reads the file just opened at `path` (the descriptor in fileHandle_)
// into the image, closes it and marks the cache open. 1, the failure
// marked as a warning, when the path cannot be kept or the image cannot
// be allocated.
uint16_t VxIniFileCache::readOpenedFile(const char* path) {
  CallErrors reading;
  path_ = ramAllocStr(path);
  uint16_t status = path_ ? 0 : 1;
  if (!path_) addError(kErrOutOfMemory);
  if (status == 0 && bosFileDateSize(path, &time_, &size_) != 0) size_ = openFileSize(fileHandle_);
  if (status == 0) status = readWholeFile(fileHandle_, size_, &image_, &imageLength_);
  bosFileClose(fileHandle_);
  fileHandle_ = 0;
  if (status != 0) {
    reading.markWarning();
    return 1;
  }
  indexImage();
  setOpen();
  if (tracing(kTraceLoad)) printf("VxIniOpen: File:%s FileSize %d\n", path_, int(size_));
  return 0;
}

uint16_t VxIniFileCache::proFileSync() {
  VxSemaphoreGuard guard(lock_);
  return syncLocked();
}

// Refresh: the time and size of the file at the saved path against those
// read; a difference reloads the image. A file that cannot be examined
// fails the refresh (callers then answer with their defaults).
uint16_t VxIniFileCache::syncLocked() {
  if (!path_) return 1;
  uint32_t time = 0;
  VXSIZE_T size = 0;
  if (bosFileDateSize(path_, &time, &size) != 0) return 1;
  if (time == time_ && size == size_) return 0;
  char saved[BOS_MAX_PATH];
  strcpy(saved, path_);
  return loadLocked(saved);
}

void VxIniFileCache::Close() {
  VxSemaphoreGuard guard(lock_);
  freeImage();
  free(path_);
  path_ = nullptr;
  setClose();
}

bool VxIniFileCache::isThisFile(const char* path) const {
  VxSemaphoreGuard guard(lock_);
  return path_ && path && strcmp(path_, path) == 0;
}

uint16_t VxIniFileCache::getSection(const char* name, VXSIZE_T* start, VXSIZE_T* end) const {
  if (!image_) return 1;
  if (sectionIndex_) {
    return iniFindSectionIndexed(image_, imageLength_, *sectionIndex_, name, strlen(name), start, end);
  }
  return iniFindSection(image_, imageLength_, name, strlen(name), start, end);
}

uint16_t VxIniFileCache::getEntry(const char* key, VXSIZE_T sectionEnd, VXSIZE_T* cursor,
                                  VXSIZE_T* valueStart, VXSIZE_T* valueEnd) const {
  if (!image_) return 1;
  VXSIZE_T lineEnd = 0;
  return iniFindEntry(image_, sectionEnd, key, strlen(key), cursor, valueStart, valueEnd, &lineEnd);
}

VXSIZE_T VxIniFileCache::copyDefault(const char* defaultValue, char* buffer, VXSIZE_T size) const {
  if (!buffer || size == 0) return 0;
  const char* text = defaultValue ? defaultValue : "";
  VXSIZE_T length = strlen(text);
  if (length >= size) length = size - 1;
  memcpy(buffer, text, length);
  buffer[length] = '\0';
  return length;
}

// Reading one value: the section, then the first matching key in it; the
// value is copied, cut to size-1 bytes. Anything missing gives the
// default.
VXSIZE_T VxIniFileCache::bosGetProfileString(const char* section, const char* entry,
                                             const char* defaultValue, char* buffer,
                                             VXSIZE_T size) {
  static const char kPrefix[] = "GetProfileString:";
  VxSemaphoreGuard guard(lock_);
  if (entry && tracing(kTraceValue)) {
    printf("GetProfileString: File:%s Section:[%s] Entry:", orNull(path_), orNull(section));
    printf("%s defaultStr:", entry);
    if (defaultValue) printf("%s\n", defaultValue); else printf("NULL\n");
  }
  if (!section || !buffer) return copyDefault(defaultValue, buffer, size);
  char* header = makeHeader(section);
  if (!header) return copyDefault(defaultValue, buffer, size);
  if (!entry) {
    VXSIZE_T copied = copyKeysLocked(kPrefix, header, buffer, size);
    free(header);
    return copied ? copied : copyDefault(defaultValue, buffer, size);
  }
  VXSIZE_T copied = 0;
  VXSIZE_T start = 0, end = 0, valueStart = 0, valueEnd = 0;
  bool found = false;
  if (syncLocked() == 0 && open_) {
    bool sectionFound = getSection(header, &start, &end) == 0;
    if (tracing(kTraceValue)) {
      printf(sectionFound ? "%s Section %s found.\n" : "%s Section %s not found.\n", kPrefix, header);
    }
    if (sectionFound) {
      found = getEntry(entry, end, &start, &valueStart, &valueEnd) == 0;
      if (tracing(kTraceValue)) {
        printf(found ? "%s Entry %s found.\n" : "%s Entry %s not found.\n", kPrefix, entry);
        if (found) printf("%s Value=%.*s\n", kPrefix, int(valueEnd - valueStart), image_ + valueStart);
      }
    }
  }
  free(header);
  if (found && size > 0) {
    copied = valueEnd - valueStart;
    if (copied >= size) copied = size - 1;
    memcpy(buffer, image_ + valueStart, copied);
    buffer[copied] = '\0';
  } else if (!found) {
    copied = copyDefault(defaultValue, buffer, size);
  }
  if (tracing(kTraceValue)) {
    printf("%s Return Len=%d returnBuf=%s\n", kPrefix, int(copied), size > 0 ? buffer : "");
  }
  return copied;
}

// Multi-entry output of the section whose header is `header`; 0 when it is
// missing or empty (the caller substitutes its default). Caller holds the
// lock.
VXSIZE_T VxIniFileCache::copyKeysLocked(const char* prefix, const char* header, char* buffer,
                                        VXSIZE_T size) {
  bool trace = tracing(kTraceKeysAndWrites);
  if (trace) printf("%s Fecthing all entries for %s\n", prefix, header);  // deliberate spelling
  if (size == 0 || syncLocked() != 0 || !open_) return 0;
  VXSIZE_T start = 0, end = 0;
  if (getSection(header, &start, &end) != 0 || iniSectionBody(image_, start, end) >= end) {
    if (trace) printf("%s No data found.\n", prefix);
    return 0;
  }
  VXSIZE_T written = iniCopyKeys(image_, start, end, buffer, size);
  if (trace) {
    printf("%s Multi-Entry Output Requested.\n", prefix);
    for (VXSIZE_T at = 0; at + 1 < written;) {
      VXSIZE_T length = strlen(buffer + at);
      printf("%s Entry %s Len=%d\n", prefix, buffer + at, int(length));
      at += length + 1;
    }
  }
  return written;
}

VXSIZE_T VxIniFileCache::bosGetProfileSection(const char* section, char* buffer, VXSIZE_T size) {
  if (!section || !buffer) return 0;
  char* header = makeHeader(section);
  if (!header) return 0;
  VxSemaphoreGuard guard(lock_);
  VXSIZE_T written = copyKeysLocked("GetProfileSection:", header, buffer, size);
  free(header);
  if (written == 0 && size > 0) buffer[0] = '\0';
  return written;
}

// The value, read into a 20-byte buffer, cut at its first non-digit and
// converted; the default whenever that leaves nothing or does not convert.
int32_t VxIniFileCache::bosGetProfileInt(const char* section, const char* entry,
                                         VXSSIZE_T defaultValue) {
  char text[20];
  bosGetProfileString(section, entry, "", text, sizeof text);
  VXSIZE_T digits = 0;
  while (text[digits] >= '0' && text[digits] <= '9') ++digits;
  text[digits] = '\0';
  int32_t value = 0;
  if (digits == 0) return int32_t(defaultValue);  // deliberate narrowing
  CallErrors conversion;
  if (convert(text, &value) != 0) {
    conversion.clear();  // the range error is not the caller's
    return int32_t(defaultValue);
  }
  return value;
}

uint16_t VxIniFileCache::bosPutProfileString(const char* section, const char* entry,
                                             const char* value) {
  VxSemaphoreGuard guard(lock_);
  if (!open_ || !section) return 1;
  // A null entry ends the line early, a null value prints as NULL.
  traceRewrite("File:%s Section:[%s] Entry:%s%s%s\n", orNull(path_), section,
               entry ? entry : "NULL\n", entry ? " newStr:" : "", value ? value : "NULL");
  uint16_t status;
  {
    VxCriticalSectionGuard io(fileIoLock());
    status = rewriteLocked(section, entry, value);
    if (status == 0) {
      // The rewrite may keep both time and size (same second, same
      // length): forget them so that the refresh reads the new file.
      size_ = VXSIZE_T(-1);
      status = syncLocked();
    }
  }
  if (status == 0) {
    traceRewrite("Updated FileCache: Len=%d\n", int(imageLength_));
    if (imageLength_ > 0) traceRewrite("Updated FileCache:\n|->%s\n", image_);
    else traceRewrite("FileCache is empty.\n");
  }
  return status;
}

// Rewriting. Writers of one file take turns: the file is reopened with the
// cache's mode and the exclusive byte-1 token (waiting a bounded time for
// another writer), and read again through that descriptor, so that the
// change applies to the file as it is now, not to an image that another
// process's write made stale. The change is one splice of the image
// (planSplice); the new image is then written to a fresh file beside the
// old one, which it replaces by a rename (replaceFile). Readers take no
// token: whenever they open the file they get the old image or the new
// one, whole, and never wait.
//
// The splice never changes what the rest of the file means. A line whose
// value was cut by a "[" (no line end before the section's end) keeps that
// "[" right after its replacement; when removing text would bring such a
// "[" to a line start, where it could become a section header, a ";" is put
// before it, which makes that line a comment (and the "[" still ends the
// section, as before).
// The new image: image[0, cutStart) + pieces + image[cutEnd, length).
struct IniSplice {
  VXSIZE_T cutStart = 0;
  VXSIZE_T cutEnd = 0;
  const char* pieces[4] = {"", "", "", ""};
  bool change = true;
};

namespace {

// Opens the file for a rewrite, holding its exclusive token. A writer that
// replaced the file while this one waited leaves the descriptor on the old,
// unlinked file: then the name is opened again, until descriptor and name
// agree. 1 with the failure in the error list.
uint16_t openForRewrite(const char* name, char* path, uint32_t mode, int* handle) {
  for (;;) {
    if (openWaitingForToken(name, path, mode | BOS_OPEN_EXCLUSIVE_LOCK, handle) != 0) return 1;
    struct stat held, named;
    bool current = fstat(*handle, &held) != 0 || stat(path, &named) != 0 ||
                   (held.st_dev == named.st_dev && held.st_ino == named.st_ino);
    if (current) return 0;
    bosFileClose(*handle);
  }
}

// Writes the spliced image at offset 0 of `handle` and cuts the file there.
uint16_t writeSplice(int handle, const char* image, VXSIZE_T length, const IniSplice& splice) {
  uint16_t status = writeAt(handle, 0, image, splice.cutStart);
  VXSIZE_T offset = splice.cutStart;
  for (const char* piece : splice.pieces) {
    if (status == 0) status = writeAt(handle, offset, piece, strlen(piece));
    offset += strlen(piece);
  }
  if (status == 0) status = writeAt(handle, offset, image + splice.cutEnd, length - splice.cutEnd);
  offset += length - splice.cutEnd;
  if (status == 0) status = bosFileSize(handle, offset);
  return status;
}

// Puts the spliced image in place of the file at `path`, whose descriptor
// `held` holds the exclusive token. The image goes to a new file beside
// the real file (symbolic links followed), with the old file's permission
// bits and, where allowed, its owner, and is renamed over it. When no file
// can be made beside it (a directory the user may not write), the file is
// rewritten in place instead: still one writer at a time, but a reader may
// then see it half-written.
uint16_t replaceFile(const char* path, int held, const char* image, VXSIZE_T length,
                     const IniSplice& splice) {
  char target[PATH_MAX];
  char fresh[PATH_MAX + 8];
  struct stat info;
  int handle = -1;
  if (realpath(path, target) && fstat(held, &info) == 0 &&
      snprintf(fresh, sizeof fresh, "%s.XXXXXX", target) < int(sizeof fresh)) {
    handle = mkstemp(fresh);
  }
  if (handle < 0) return writeSplice(held, image, length, splice);
  if (fchmod(handle, info.st_mode & 07777) != 0 ||
      (fchown(handle, info.st_uid, info.st_gid) != 0 && errno != EPERM)) {
    bosMapError(errno, fresh);
    close(handle);
    unlink(fresh);
    return 1;
  }
  uint16_t status = writeSplice(handle, image, length, splice);
  close(handle);
  // rename, not bosrname: the file layer's rename refuses an existing
  // target, and replacing it in one step is the point here.
  if (status == 0 && rename(fresh, target) != 0) {
    bosMapError(errno, target);
    status = 1;
  }
  if (status != 0) unlink(fresh);
  return status;
}

}  // namespace

// Decides the change for (section, entry, value) against the current
// image, tracing what it found and what it will do. `header` is
// "[section]"; `line` is "entry=value\n" (null when there is no value).
void VxIniFileCache::planSplice(const char* header, const char* entry, char* line,
                                IniSplice* splice) const {
  const VXSIZE_T length = imageLength_;
  VXSIZE_T start = 0, end = 0, lineStart = 0, valueStart = 0, valueEnd = 0, lineEnd = 0;
  bool sectionFound = iniFindSection(image_, length, header, strlen(header), &start, &end) == 0;
  traceRewrite(sectionFound ? "Section %s found.\n" : "Section %s not found.\n", header);
  bool entryFound = false;
  if (sectionFound && entry) {
    lineStart = start;
    entryFound = iniFindEntry(image_, end, entry, strlen(entry), &lineStart, &valueStart, &valueEnd,
                              &lineEnd) == 0;
    traceRewrite(entryFound ? "Entry %s found.\n" : "Entry %s not found.\n", entry);
  }
  const char** pieces = splice->pieces;
  bool midLineEnd = end < length && end > 0 && image_[end - 1] != '\n';
  if (entry && line && entryFound) {
    // The replaced line keeps its own ending: none when a "[" cut it.
    bool lineHasEnd = lineEnd > valueEnd;
    line[strlen(line) - 1] = lineHasEnd ? '\n' : '\0';
    splice->cutStart = lineStart;
    splice->cutEnd = lineEnd;
    pieces[0] = line;
    traceRewrite("Updating Entry Value with: %s\n", line);
  } else if (entry && line && sectionFound) {
    splice->cutStart = splice->cutEnd = end;
    pieces[0] = end > 0 && image_[end - 1] != '\n' ? "\n" : "";
    pieces[1] = line;
    pieces[2] = midLineEnd ? ";" : "";
    traceRewrite("Entry missing adding it.\n|->%s\n", line);
  } else if (entry && line) {
    splice->cutStart = splice->cutEnd = length;
    pieces[0] = length > 0 && image_[length - 1] != '\n' ? "\n" : "";
    pieces[1] = header;
    pieces[2] = "\n";
    pieces[3] = line;
    traceRewrite("Section missing adding it.\n|->%s\n", line);
  } else if (entry && entryFound) {
    splice->cutStart = lineStart;
    splice->cutEnd = lineEnd;
    pieces[0] = lineEnd == end && midLineEnd ? ";" : "";
    traceRewrite("Deleting Entry: %s\n", entry);
  } else if (!entry && sectionFound) {
    splice->cutStart = start;
    splice->cutEnd = end;
    pieces[0] = midLineEnd ? ";" : "";
    traceRewrite("Deleting section %s\n", header);
  } else {
    splice->change = false;  // removing what is not there
  }
}

uint16_t VxIniFileCache::rewriteLocked(const char* section, const char* entry, const char* value) {
  if (!(openMode_ & BOS_OPEN_READ_WRITE)) {
    addError(kErrAccessDenied) << path_;
    return 1;
  }
  char saved[BOS_MAX_PATH], path[BOS_MAX_PATH];
  strcpy(saved, path_);
  int handle = 0;
  // A failed open (1522, 1508 or 30040 for a file that may not be
  // written) stays in the error list; the file is untouched.
  if (openForRewrite(saved, path, openMode_, &handle) != 0) return 1;
  char* current = nullptr;
  VXSIZE_T length = 0;
  if (readWholeFile(handle, openFileSize(handle), &current, &length) != 0) {
    bosFileClose(handle);
    return 1;
  }
  freeImage();
  image_ = current;
  imageLength_ = length;

  char* header = makeHeader(section);
  char* line = entry && value ? makeEntryLine(entry, value, true) : nullptr;
  uint16_t status = 0;
  if (!header || (entry && value && !line)) {
    addError(kErrOutOfMemory);
    status = 1;
  } else {
    IniSplice splice;
    planSplice(header, entry, line, &splice);
    if (splice.change) status = replaceFile(path, handle, image_, length, splice);
  }
  free(header);
  free(line);
  bosFileClose(handle);
  return status;
}

// ---- VxIniFileCacheList --------------------------------------------------

VxIniFileCacheList::~VxIniFileCacheList() {
  for (VXSIZE_T i = 0; i < getCount(); ++i) delete static_cast<VxIniFileCache*>(at(i));
  reset();
}

VxIniFileCache* VxIniFileCacheList::open(const char* name, uint32_t) {
  char path[BOS_MAX_PATH];
  if (!name || strlen(name) >= sizeof path) return nullptr;
  strcpy(path, name);
  int handle = 0;
  CallErrors resolving;
  if (bosFileOpen(path, BOS_OPEN_REDIRECT | BOS_OPEN_NO_OPEN, &handle) != 0) {
    // A missing installed-drivers file is an empty one, not a failure.
    if (!isInstalledDriversFile(name) || resolving.number() != kErrFileNotFound) return nullptr;
    resolving.clear();
  }
  VxSemaphoreGuard guard(lock_);
  for (VXSIZE_T i = 0; i < getCount(); ++i) {
    VxIniFileCache* cache = static_cast<VxIniFileCache*>(at(i));
    if (cache->isThisFile(path)) {
      cache->incrementUseCount();
      return cache;
    }
  }
  VxIniFileCache* cache = new VxIniFileCache(name);
  if (!cache) {
    addError(kErrOutOfMemory);
    return nullptr;
  }
  if (!cache->isOpen() || add(cache) != 0) {
    delete cache;
    return nullptr;
  }
  return cache;
}

void VxIniFileCacheList::close(VxIniFileCache* cache) {
  VxSemaphoreGuard guard(lock_);
  assert(cache->getUseCount() > 0);  // a close matches an open
  cache->decrementUseCount();
}

void VxIniFileCacheList::remove(VxIniFileCache* cache) {
  VxSemaphoreGuard guard(lock_);
  for (VXSIZE_T i = 0; i < getCount(); ++i) {
    if (at(i) == cache) {
      removeAtIndex(i);
      return;
    }
  }
}
