// The message catalog: where every text of the library's messages comes
// from.
//
// The process has one catalog, opened on first need and shared by all
// message modules; a module name chooses the file only when it is the one
// that opens the catalog. The catalog of module M in language L is the
// gencat file
//     INSTALL/locale/L/LC_MESSAGES/M.mo
// where INSTALL is the installation directory (InstallDirLocation, set by
// bosSetInstallDir). While no installation directory is set, the directory
// named by the environment variable "VX_INSTALL_DIR" stands in for it (so
// the tests and vxtool, run from the build tree, name the build directory
// there), and without that the prefix the library was built to be
// installed under. Nothing else is searched.
//
// The language: when the process's message locale is "C" (a program that
// never called setlocale), the environment variable "LC_MESSAGES" if set
// and not "C", else "LANG" if set and not "C", else en_US; otherwise the
// locale's own name (en_US when empty). When the catalog of that language
// cannot be opened, the en_US one is tried.
//
// Modules: VX_MESSAGE_MODULE ("vxlib") carries every message the library
// reports; addError(number) and VxResourceString read it. The module
// "nvutl21", from which error mapping reads its message 30050, is the same
// catalog installed under a second name (all lookups go to the one open
// catalog anyway).
//
// Texts are in set 1 under the message number. A number the catalog lacks,
// or any number while no catalog is open, reads as the number in decimal.
//
// Thread-safety: any thread may call these. Opening holds one process-wide
// critical section, lookups another, so lookups from many threads are
// serialised. The catalog stays open until CloseStrings or library unload.
//
// Traces (bit 0x8 of VX_DEBUGGING): "OpenStrings: HINST=%s\n" (the module),
// "OpenStrings: Default LC_MESSAGES=%s\n" (the locale),
// "OpenStrings: Using LC_MESSAGES=%s\n" (the language chosen),
// "LoadStringFromOpenFile: idResource=%s\n" and
// "LoadStringFromOpenFile: Lookup returns: %s\n".
#ifndef VX_BOS_BOSLSTR_H_
#define VX_BOS_BOSLSTR_H_

#include <cstdint>

#include "foundation/vxexport.h"
#include "foundation/vxtypes.h"

// The library's default message module.
#define VX_MESSAGE_MODULE "vxlib"
// The module of the system-error format 30050 (same catalog).
#define VX_SYSTEM_MESSAGE_MODULE "nvutl21"

// Size of InstallDirLocation, its NUL included.
#define VX_INSTALL_DIR_SIZE 1025

// The installation directory, VX_INSTALL_DIR_SIZE bytes, empty until
// bosSetInstallDir (config/vxini.h) fills it. The catalog is looked for
// under it.
VX_EXPORT extern char InstallDirLocation[VX_INSTALL_DIR_SIZE];

// Counts one more user in *useCount and opens the catalog for `module`
// when it is not open yet (OpenStrings). `flags` is ignored. *handle (when
// handle is not null) receives the catalog descriptor, which is
// (void*)-1 while no catalog could be opened. Returns 0.
VX_EXPORT uint16_t bosLoadResourceDLL(const char* module, uint32_t flags, void** handle,
                                      int32_t* useCount);

// Counts one user less in *useCount (never below 0). The catalog stays
// open for the other users. `handle` is ignored. Returns 0.
VX_EXPORT uint16_t bosFreeResourceDLL(void* handle, int32_t* useCount);

// Opens the process's catalog for `module` (null counts as
// VX_MESSAGE_MODULE) when it is not open: chooses the language and tries
// its file, then the en_US one. Returns 0 when a catalog is open
// afterwards, 1 when none of the files could be opened.
VX_EXPORT uint16_t OpenStrings(const char* module);

// Closes the process's catalog; lookups then answer with decimal numbers
// until it is opened again. Runs by itself at library unload.
VX_EXPORT void CloseStrings();

// Copies the open catalog's text of `id` into `buffer` (cut to size - 1
// bytes; size 0 copies it whole) and returns its length. A number the
// catalog lacks, or no open catalog, gives the number in decimal. Takes no
// lock: a caller that may run while another thread closes the catalog
// uses LoadString.
VX_EXPORT VXSIZE_T LoadStringFromOpenFile(uint32_t id, char* buffer, VXSIZE_T size);

// LoadStringFromOpenFile under the lookup critical section. `module` does
// not choose a catalog: every lookup reads the one open catalog, and
// nothing is opened here (bosLoadResourceDLL opens it).
VX_EXPORT VXSIZE_T LoadString(const char* module, uint32_t id, char* buffer, VXSIZE_T size);

#endif  // VX_BOS_BOSLSTR_H_
