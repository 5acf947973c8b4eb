// The profile interface: Windows-style profile calls over the INI caches
// (config/vxinifil.h), and the library's installation directory.
//
// A file is named as a driver names it ("odbc.ini", ".odbc.ini",
// "odbcinst.ini", ".vxlib.ini", ".system.defaults") or by a path; the
// redirection of the file layer (bos/bosfile.h) picks the file on disk.
// Section, entry, default, buffer and size mean what they mean for
// VxIniFileCache: a null entry asks for the section's keys (each
// NUL-terminated, then one more NUL); a null value in a write removes the
// entry, a null entry removes the whole section.
//
// Each task keeps one VxIniFileCacheList (per-task slot 12), created on
// first use. Deliberate asymmetry: the private forms (vxGetPrivateProfile*,
// vxWritePrivateProfileString) close their cache after each call, while the
// plain forms (vxGetProfile*, vxWriteProfileString, vxProfileInit) leave it
// open, so its image stays in memory for the task's lifetime and later
// calls skip the file but for a time-and-size check. The exported
// GetPrivateProfileString, GetPrivateProfileInt and
// WritePrivateProfileString build a fresh cache per call: every call reads
// the file anew and they share nothing.
//
// Failure: nothing here files errors of its own; lookups answer with the
// default when the file cannot be opened; writes return 0 when they fail
// (the file layer's or the cache's error is in the list).
//
// Thread-safety: every function may be called from any thread.
#ifndef VX_CONFIG_VXINI_H_
#define VX_CONFIG_VXINI_H_

#include <cstdint>

#include "bos/boslstr.h"
#include "config/vxinifil.h"
#include "foundation/vxexport.h"
#include "foundation/vxtypes.h"

// The task's cache list (per-task slot 12; null before first use), and
// storing another in its place.
VX_EXPORT VxIniFileCacheList* bosGetPTaskIniList();
VX_EXPORT void bosPutPTaskIniList(VxIniFileCacheList* list);

// The cache of `file` in the task's list (the list created when needed),
// one use more; null when the file cannot be resolved or loaded. It stays
// open until vxPrivateProfileTerm.
VX_EXPORT VxIniFileCache* vxProfileInit(const char* file);
VX_EXPORT VxIniFileCache* vxPrivateProfileInit(const char* file);
// One use less of a cache from vxPrivateProfileInit / vxProfileInit.
VX_EXPORT void vxPrivateProfileTerm(VxIniFileCache* cache);

// Private forms: open the cache, do the one operation, close it.
// Lookups give the default (cut to size-1 bytes, as vxstrlcpy) when the
// file cannot be opened and return the bytes copied.
VX_EXPORT VXSIZE_T vxGetPrivateProfileString(const char* section, const char* entry,
                                             const char* defaultValue, char* buffer,
                                             VXSIZE_T size, const char* file);
// The same on a cache from vxPrivateProfileInit (left open).
VX_EXPORT VXSIZE_T vxGetPrivateProfileString(const char* section, const char* entry,
                                             const char* defaultValue, char* buffer,
                                             VXSIZE_T size, VxIniFileCache* cache);
VX_EXPORT int32_t vxGetPrivateProfileInt(const char* section, const char* entry,
                                         VXSSIZE_T defaultValue, const char* file);
// The keys of the section; 0 when the file cannot be opened. Leaves the
// cache open.
VX_EXPORT VXSIZE_T vxGetPrivateProfileSection(const char* section, char* buffer, VXSIZE_T size,
                                              const char* file);
// 1 when the change was written, 0 when not (the file cannot be opened
// or rewritten; the reason is in the error list).
VX_EXPORT int32_t vxWritePrivateProfileString(const char* section, const char* entry,
                                              const char* value, const char* file);

// Plain forms: as the private ones, leaving the cache open in the list.
VX_EXPORT VXSIZE_T vxGetProfileString(const char* section, const char* entry,
                                      const char* defaultValue, char* buffer, VXSIZE_T size,
                                      const char* file);
VX_EXPORT int32_t vxGetProfileInt(const char* section, const char* entry, VXSSIZE_T defaultValue,
                                  const char* file);
VX_EXPORT int32_t vxWriteProfileString(const char* section, const char* entry, const char* value,
                                       const char* file);

// vxGetProfileInt and vxWriteProfileString on ".system.defaults".
VX_EXPORT int32_t vxGetWININIInt(const char* section, const char* entry, VXSSIZE_T defaultValue);
VX_EXPORT int32_t vxWriteWININIString(const char* section, const char* entry, const char* value);

// Exported under the Windows names, with 32-bit sizes and results: each
// call builds a fresh cache outside any list, performs its operation and
// deletes the cache.
VX_EXPORT uint32_t GetPrivateProfileString(const char* section, const char* entry,
                                           const char* defaultValue, char* buffer, uint32_t size,
                                           const char* file);
VX_EXPORT uint32_t GetPrivateProfileInt(const char* section, const char* entry,
                                        int32_t defaultValue, const char* file);
VX_EXPORT int32_t WritePrivateProfileString(const char* section, const char* entry,
                                            const char* value, const char* file);

// Copies src with its NUL when it fits in size bytes, else size-1 bytes
// and a NUL. Returns the length of src, or size-1 when it was cut (0, with
// nothing written, when size is 0).
VX_EXPORT VXSIZE_T vxstrlcpy(char* dst, const char* src, VXSIZE_T size);

// Fills InstallDirLocation (declared with the message catalog in
// bos/boslstr.h, which reads it): with dir (cut to fit), or without one from
// entry "InstallDir" of section "ODBC" of ".odbc.ini" (plain form), else
// of ".odbcinst.ini" (private form). Trailing white space is removed (never
// the first byte), then one trailing "/". Serialised by a process-wide
// critical section. Returns 0.
VX_EXPORT uint16_t bosSetInstallDir(const char* dir = nullptr);

#endif  // VX_CONFIG_VXINI_H_
