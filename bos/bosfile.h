// Files, paths and configuration-file redirection: the library's file layer
// over the POSIX file interface.
//
// File names are NUL-terminated byte strings in caller buffers. Every
// working buffer holds BOS_MAX_PATH bytes, the NUL included; a buffer that
// a function writes a path into (marked "path buffer" below) must hold
// BOS_MAX_PATH bytes. A path that would not fit makes the call fail.
//
// Status: 0 for success, 1 for failure, unless said otherwise. Failures go
// to the calling thread's current error list (foundation/vxerror.h), mostly
// through bosMapError (bos/bos.h); without a current list they are dropped.
//
// Tracing (foundation/vxtrace.h): with the debug bit on, these lines are
// printed on standard output:
//   0x1   bosFileOpen  "bosfopen - File:%s\n", "bosfopen: Temp File %s ",
//                      "bosfopen: Replacing %s ", "with %s\n"
//   0x2   bosLocateFile "LocateFile: %s\n" for every candidate tried
//   0x100 bosexist     "bosexist: Name=%s " then " exists: %d\n"
//   0x200 bosFindFiles "bosFindFiles: Search for %s\n",
//                      "bosFindFiles: returns fileName=%s\n"
//   0x400 bospath      "BOSPATH: dir:%s name:%s default_ext:%s\n",
//                      "bospath: after bosfpath path:%s\n"
//
// Thread-safety: every function may be called from any thread. The working
// directory and the environment are process-wide: bosstcwd changes what the
// relative names of every thread mean. Byte-1 lock tokens are POSIX record
// locks, which belong to the process: they separate processes, not the
// threads of one process, and closing any descriptor of a file drops every
// lock the process holds on it.
#ifndef VX_BOS_BOSFILE_H_
#define VX_BOS_BOSFILE_H_

#include <cstdint>

#include "foundation/vxexport.h"
#include "foundation/vxobject.h"
#include "foundation/vxtypes.h"

// Size of every path buffer, the terminating NUL included.
#define BOS_MAX_PATH 1024

// Mode bits of bosFileOpen.
enum BosOpenMode : uint32_t {
  BOS_OPEN_CREATE = 0x1,             // read-write, create if missing
  BOS_OPEN_READ_WRITE = 0x2,         // read-write (else read only)
  BOS_OPEN_CREATE_IF_MISSING = 0x4,  // create a missing file (with 0x2's mode)
  BOS_OPEN_HOME_RELATIVE = 0x8,      // the name is relative to $HOME
  BOS_OPEN_SEARCH_PATH = 0x10,       // on failure, locate along $PATH, retry once
  BOS_OPEN_EXCLUSIVE = 0x20,         // with 0x1: fail if the file exists
  BOS_OPEN_TEMPORARY = 0x40,         // fresh temporary name; implies 0x1
  BOS_OPEN_NO_OPEN = 0x100,          // name processing only: handle 0
  BOS_OPEN_REDIRECT = 0x200,         // redirect the configuration files
  BOS_OPEN_NO_SHARED_LOCK = 0x400,   // with 0x800: skip the shared lock
  BOS_OPEN_SHARED_LOCK = 0x800,      // shared lock token after opening
  BOS_OPEN_EXCLUSIVE_LOCK = 0x1000   // with 0x2: exclusive lock token
};

// Search-set bits of bosLocateFile, tried in the order listed.
enum BosSearchSet : uint16_t {
  BOS_SEARCH_CWD = 0x10,      // the working directory
  BOS_SEARCH_HOME = 0x2,      // $HOME
  BOS_SEARCH_VX = 0x4,        // $VX, then $VXLIB
  BOS_SEARCH_LIBRARY = 0x8,   // $LD_LIBRARY_PATH, $LD_RUN_PATH, /usr/local/lib,
                              // and for every element its parent directory
  BOS_SEARCH_PATH = 0x1       // $PATH
};

// ---- Opening and redirection ----

// Opens `name` with the BosOpenMode bits of `mode` and stores the
// descriptor in *handle. `name` is a path buffer when mode has 0x40 (it
// receives the temporary name) or 0x200 (it receives the full path of a
// recognised configuration file).
//
// Configuration files under 0x200 (the whole name is compared):
//   "odbc.ini" / ".odbc.ini", any case: $HOME/name, but "ODBCINI", else
//      "ODBC_INI", wins outright when set; the file must exist.
//   "odbcinst.ini" / ".odbcinst.ini", any case: the same with "ODBCINST",
//      else "ODBCINSTINI"; the file must exist.
//   ".vxlib.ini" (exact case): $HOME/.vxlib.ini, or "VXLIB_INI" when that
//      file does not exist (not checked itself).
//   ".system.defaults" (exact case): the same with "VX_SYSTEM_INI".
// Without $HOME the name is used as given.
//
// Locks: 0x1 takes a shared token (read lock on byte 1) and ignores its
// failure; 0x1000 with 0x2 takes an exclusive token (write lock on byte 1)
// and fails with the file closed when it is held elsewhere; 0x800 without
// 0x400 takes a shared token and fails likewise.
//
// Fails (1, handle untouched) through bosMapError with the path; mapped
// only when the thread has a current error list. Descriptor 0 counts as a
// failure (error 1507). `creator` and `fileType` are accepted for callers
// written for other platforms and ignored.
VX_EXPORT uint16_t bosFileOpen(char* name, uint32_t mode, int* handle,
                               const char* creator = nullptr, const char* fileType = nullptr);

// Closes `handle`; handles below 1 are ignored (0). 1 when close fails.
VX_EXPORT uint16_t bosFileClose(int handle);

// Reads up to `length` bytes at `offset` (-1: at the current position) and
// stores the count read, narrowed to 32 bits (-1 on a read error), in
// *count. Always returns 0.
VX_EXPORT uint16_t bosFileRead(int handle, int64_t offset, void* buffer, VXSIZE_T length,
                               int32_t* count);

// Writes `length` bytes at `offset` (-1: at the current position). Success
// only when the low 16 bits of the count written equal `length`, so writes
// of 65536 bytes or more report failure (deliberate: callers write in
// smaller pieces). On failure files 1506 when nothing was written, else
// 30041.
VX_EXPORT uint16_t bosFileWrite(int handle, int64_t offset, const void* buffer, VXSIZE_T length);

// lseek; the new position narrowed to 32 bits (-1 on failure).
VX_EXPORT int32_t bosFileSeek(int handle, int64_t offset, int whence);

// Truncates or extends the file to `length` bytes.
VX_EXPORT uint16_t bosFileSize(int handle, VXSIZE_T length);

// Removes the file; a missing file counts as success. Else error 1502.
VX_EXPORT uint16_t bosFileDelete(const char* name);

// The modification time (seconds, narrowed to 32 bits) and the size of the
// file. 1 when stat fails; no error is filed.
VX_EXPORT uint16_t bosFileDateSize(const char* name, uint32_t* time, VXSIZE_T* size);

// Renames by linking the new name and unlinking the old one. Error 30042
// with both names on failure.
VX_EXPORT uint16_t bosrname(const char* from, const char* to);

// ---- Attributes ----

// Attribute code: 2 directory (and the name ".."); 1 regular file the
// caller may write, 5 regular file it may not (owner, group or others'
// write bit, by the caller's real user and group); 32 any other kind;
// 8 missing; 16 any other stat failure.
VX_EXPORT uint16_t bosfattr(const char* name);

// 1 when `name` is a regular file (bit 0 of bosfattr), else 0.
VX_EXPORT uint16_t bosexist(const char* name);

// 1 when a probe file can be created exclusively (and is then removed) in
// the directory part of `path` (up to its last "/"; none: the working
// directory), else 0.
VX_EXPORT uint16_t bosftest(const char* path);

// ---- Paths ----

// Path buffer `buffer` receives the working directory, with a "/" added
// when `slash` is non-zero and it is missing. Empty and 1 on failure.
VX_EXPORT uint16_t bosgtcwd(char* buffer, uint16_t slash);

// Changes the working directory; error 1504 with the path on failure.
VX_EXPORT uint16_t bosstcwd(const char* path);

// Path buffer `path`: a path not beginning with "/" gets the working
// directory and "/" in front.
VX_EXPORT uint16_t bosfpath(char* path);

// Path buffer `name` gets $HOME (unset: $VX; unset too: the working
// directory) and "/" in front.
VX_EXPORT uint16_t boshpath(char* name);

// Path buffer `path`: strips the longest leading part (ending at a "/")
// that it shares with the working directory followed by "/".
VX_EXPORT uint16_t bosmpath(char* path);

// Builds an absolute path in path buffer `out` from `name`: trailing white
// space and a single trailing dot (not "..") dropped; `dir` and "/" in
// front when the name has no directory part and dir is non-empty; a dot
// and `defaultExt` appended when the file part has no dot and defaultExt
// is non-empty; then bosfpath. Null arguments count as empty.
VX_EXPORT uint16_t bospath(char* out, const char* dir, const char* name, const char* defaultExt);

// Splits the file part of `path` (after its last "/") at its first dot:
// `base` (at least 129 bytes) receives the part before it, cut to 128
// bytes; `ext` (at least 4 bytes) at most 3 bytes after it. The file part
// is cut off `path` (it keeps its directory and "/"). When the base was
// longer than 128 bytes and `report` is non-zero, error 1524 is filed with
// the file part and 1 returned.
VX_EXPORT uint16_t bosParseName(char* path, char* base, char* ext, uint16_t report);

// Returns a new malloc'd list: `list` (null: empty) followed by `dir` and
// ":", and frees `list`. Null on allocation failure (error 1503), `list`
// then left as it was and still the caller's.
VX_EXPORT char* appendPath(char* list, const char* dir);

// ---- Locating ----

// Finds `name`: as given, then in each directory of the BosSearchSet bits
// of `searchSet` (see there). Stores the path found in path buffer `out`
// (may be null) and returns 0, or returns 1 with `out` empty. Only regular
// files count as found.
VX_EXPORT uint16_t bosLocateFile(char* out, const char* name, uint16_t searchSet);

// ---- Enumerating ----

class VxBosFileFindDesc;

// File search in the manner of "ls PATTERN" after the shell expanded it,
// without any shell. A non-null `pattern` starts a new search in `desc`:
// its last component may hold the wildcards * ? [...] (fnmatch; a leading
// dot must be matched explicitly) and its directory part is used as
// given; the names found are the pattern's directory part followed by each
// matching entry, sorted. A pattern without wildcards that names a
// directory lists that directory's entries (without dot files) by their
// bare names; one that names anything else finds itself. Then, and for
// every call with a null pattern, the next name goes into path buffer
// `fileName` and 0 is returned; 1 when there is none (or on allocation
// failure, error 1503).
VX_EXPORT uint16_t bosFindFiles(const char* pattern, VxBosFileFindDesc* desc, char* fileName);

// The state of one file search of bosFindFiles: the names found, in order,
// and the position of the next one. Owns its names. Used by one thread at
// a time.
class VX_EXPORT VxBosFileFindDesc : public VxObject {
 public:
  VxBosFileFindDesc() = default;
  ~VxBosFileFindDesc() override;
  VxBosFileFindDesc(const VxBosFileFindDesc&) = delete;
  VxBosFileFindDesc& operator=(const VxBosFileFindDesc&) = delete;

  // Forgets the names of the last search.
  void reset();
  // Number of names the last search found.
  VXSIZE_T getCount() const { return count_; }

 private:
  friend uint16_t bosFindFiles(const char* pattern, VxBosFileFindDesc* desc, char* fileName);

  char* names_ = nullptr;  // NUL-separated names, malloc'd
  VXSIZE_T count_ = 0;
  VXSIZE_T next_ = 0;      // index of the next name to hand out
  char* cursor_ = nullptr; // start of that name in names_
};

// The names of the subdirectories of `directory` ("." and ".." excluded),
// sorted, as one malloc'd block: each name NUL-terminated, an empty name
// after the last. The caller frees it. Null when the directory cannot be
// read (mapped through bosMapError) or on allocation failure (1503).
VX_EXPORT char* bosGetDirectoryNames(const char* directory);

// The mount points of the mounted file systems, in mount-table order, in
// the same form as bosGetDirectoryNames. Null on failure.
VX_EXPORT char* bosGetFileSystems();

// The block size and the number of blocks available to the caller on the
// file system holding `path` (statvfs).
VX_EXPORT uint16_t bosgetbl(const char* path, VXSIZE_T* blockSize, VXSIZE_T* freeBlocks);

// An open file of the file layer: holds the descriptor of one bosFileOpen
// and closes it when destroyed. Used by one thread at a time.
class VX_EXPORT VxFileHandle : public VxObject {
 public:
  VxFileHandle() = default;
  // Closes the file when open.
  ~VxFileHandle() override;
  VxFileHandle(const VxFileHandle&) = delete;
  VxFileHandle& operator=(const VxFileHandle&) = delete;

  // Closes any open file, then opens `name` as bosFileOpen does and keeps
  // the name as bosFileOpen leaves it (the temporary or redirected path).
  // 1 when the name does not fit a path buffer (error 1524).
  uint16_t open(const char* name, uint32_t mode);
  // Closes the file (0 when none is open).
  uint16_t close();
  bool isOpen() const { return handle_ > 0; }
  // The descriptor, 0 when none is open.
  int getHandle() const { return handle_; }
  // The path last opened ("" before the first open).
  const char* getName() const { return name_; }

  // bosFileRead, bosFileWrite, bosFileSeek and bosFileSize on the file.
  uint16_t read(int64_t offset, void* buffer, VXSIZE_T length, int32_t* count);
  uint16_t write(int64_t offset, const void* buffer, VXSIZE_T length);
  int32_t seek(int64_t offset, int whence);
  uint16_t setSize(VXSIZE_T length);

 private:
  int handle_ = 0;
  char name_[BOS_MAX_PATH] = {};
};

#endif  // VX_BOS_BOSFILE_H_
