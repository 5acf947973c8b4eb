// The INI file cache: one configuration file read whole into memory, and
// the per-task list that shares one cache per file.
//
// A VxIniFileCache owns a copy of its file (the image, NUL-terminated) and
// the full path the name resolved to. Lookups scan the image (the format
// rules are in config/iniscan.cpp); before each one the cache compares the
// file's modification time and size with those it read and reloads the
// image when either changed. A write rewrites the file and reloads it.
//
// Between processes, a write holds the file's exclusive byte-1 lock token
// (bos/bosfile.h) from the moment it reads the file it will change until
// the new image has replaced the file, waiting a bounded time for another
// writer (kIniLockWaitMs); so two processes writing one file never lose
// each other's changes. The new image is written beside the file and
// renamed over it, so a load, which takes no token and never waits, reads
// either the old image or the new one whole. (Where no file can be made
// beside it, the file is rewritten in place.) Within a process all file
// reading and writing of the caches is serialised as well.
//
// Thread-safety: each cache's semaphore guards its image for a lookup, a
// write and a reload, so any thread may use a cache; the list's semaphore
// guards open. Caches of different files do not block each other's
// lookups.
//
// Failure: loading reports through the file layer's errors (the failing
// load marks the last one as a warning); lookups never fail, they answer
// with the default. Tracing (foundation/vxtrace.h): bit 0x80 the loads,
// 0x20 the lookups of one value, 0x10 the multi-entry output and writes.
#ifndef VX_CONFIG_VXINIFIL_H_
#define VX_CONFIG_VXINIFIL_H_

#include <cstdint>

#include "bos/vxsemaph.h"
#include "containers/vxarray.h"
#include "foundation/vxexport.h"
#include "foundation/vxobject.h"
#include "foundation/vxtypes.h"

struct IniSectionIndex;
struct IniSplice;

// Longest wait, in milliseconds, for another writer's lock token on a
// configuration file before a write gives up (error 1512).
constexpr uint32_t kIniLockWaitMs = 10000;

class VX_EXPORT VxIniFileCache : public VxObject {
 public:
  // Creates the lock, sets the use count to 1 and loads the file `name`
  // (a configuration-file name or a path, resolved by the redirection).
  // A failed load leaves the cache closed (isOpen false).
  explicit VxIniFileCache(const char* name);
  ~VxIniFileCache() override;
  VxIniFileCache(const VxIniFileCache&) = delete;
  VxIniFileCache& operator=(const VxIniFileCache&) = delete;

  // Reads `name` into the image: 0 on success (also for an absent
  // installed-drivers file, which loads empty), 1 on failure with the last
  // error marked as a warning. Called by the constructor.
  uint16_t bosVxIniOpen(const char* name);

  // Reloads the image when the file's time or size changed. 0 when the
  // image is current, 1 when the file cannot be examined or reloaded.
  uint16_t proFileSync();

  // One value (entry non-null): copies it into buffer, cut to size-1 bytes,
  // and returns the bytes copied; a missing section or entry, a null
  // section or buffer, a closed cache or a failed refresh copies the
  // default (empty when null) instead. With a null entry: the section's
  // key list, as bosGetProfileSection.
  VXSIZE_T bosGetProfileString(const char* section, const char* entry, const char* defaultValue,
                               char* buffer, VXSIZE_T size);
  // The leading decimal digits of the value as a number; the default
  // (narrowed to 32 bits) when the entry is missing, has no leading digit
  // or is out of range. "12abc" gives 12, "-3" the default.
  int32_t bosGetProfileInt(const char* section, const char* entry, VXSSIZE_T defaultValue);
  // The section's keys, each NUL-terminated, then one more NUL; returns the
  // bytes written, the final NUL counted. A missing or empty section gives
  // an empty text and 0.
  VXSIZE_T bosGetProfileSection(const char* section, char* buffer, VXSIZE_T size);
  // Sets entry to value in section, adding the entry (and the section) when
  // missing; a null value removes the entry; a null entry removes the
  // section. 0 on success; 1 when the cache is not open, the file cannot
  // be rewritten (the file is left untouched and the open failure is in
  // the error list: 1508 when it may not be written) or another writer
  // held the file past kIniLockWaitMs (1512).
  uint16_t bosPutProfileString(const char* section, const char* entry, const char* value);

  // The scanners over the current image (see config/iniscan_internal.h):
  // 0 when found, 1 when not. getEntry starts at *cursor, a section start.
  // The caller holds the cache current (no write or reload in between).
  uint16_t getSection(const char* name, VXSIZE_T* start, VXSIZE_T* end) const;
  uint16_t getEntry(const char* key, VXSIZE_T sectionEnd, VXSIZE_T* cursor, VXSIZE_T* valueStart,
                    VXSIZE_T* valueEnd) const;

  // Use counting and state.
  void incrementUseCount() { ++useCount_; }
  void decrementUseCount() { --useCount_; }
  int32_t getUseCount() const { return useCount_; }
  // Marks the cache closed and frees the image; later lookups answer with
  // defaults.
  void Close();
  void setOpen() { open_ = true; }
  void setClose() { open_ = false; }
  bool isOpen() const { return open_; }
  // Whether the cache holds the file at `path` (exact comparison).
  bool isThisFile(const char* path) const;
  // The resolved path (null before a successful load).
  const char* getPath() const { return path_; }
  // The open mode the file is (re)opened with: 0x206 at first, less when
  // the file turned out read-only.
  uint32_t getOpenMode() const { return openMode_; }

 private:
  uint16_t loadLocked(const char* name);
  void forgetFile();
  uint16_t readOpenedFile(const char* path);
  uint16_t syncLocked();
  void freeImage();
  void indexImage();
  VXSIZE_T copyDefault(const char* defaultValue, char* buffer, VXSIZE_T size) const;
  VXSIZE_T copyKeysLocked(const char* prefix, const char* section, char* buffer, VXSIZE_T size);
  uint16_t rewriteLocked(const char* section, const char* entry, const char* value);
  void planSplice(const char* header, const char* entry, char* line, IniSplice* splice) const;

  // File state
  int32_t fileHandle_ = 0;
  VXSIZE_T size_ = 0;
  uint32_t openMode_ = 0;
  char* path_ = nullptr;
  uint32_t time_ = 0;
  int32_t useCount_ = 1;
  // The image: size_ bytes plus a NUL (null while closed or empty), and
  // the index of its section headers (null when none could be built:
  // lookups then pass over the image).
  char* image_ = nullptr;
  VXSIZE_T imageLength_ = 0;
  IniSectionIndex* sectionIndex_ = nullptr;
  mutable VxSemaphore lock_;
  bool open_ = false;
};

// The per-task list of open caches (per-task data slot 12).
class VX_EXPORT VxIniFileCacheList : public VxArray {
 public:
  VxIniFileCacheList() = default;
  // Deletes every cache.
  ~VxIniFileCacheList() override;
  VxIniFileCacheList(const VxIniFileCacheList&) = delete;
  VxIniFileCacheList& operator=(const VxIniFileCacheList&) = delete;

  // The cache of file `name` (resolved by the redirection without opening
  // it): an existing cache of the same path gets one more use, else a new
  // one is loaded and added. Null when the name cannot be resolved, the
  // new cache cannot be allocated or its load fails. `flags` is unused.
  VxIniFileCache* open(const char* name, uint32_t flags = 0);
  // One use less; the cache stays in the list (and in memory).
  void close(VxIniFileCache* cache);
  // Takes the cache out of the list (the caller then owns it).
  void remove(VxIniFileCache* cache);

 private:
  VxSemaphore lock_;
};

#endif  // VX_CONFIG_VXINIFIL_H_
