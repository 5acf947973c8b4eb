// Process-level services: the environment, process and thread identity,
// host and user names, the current command name, sleeping and yielding,
// and loading shared libraries and their symbols.
//
// Thread-safety: every function may be called from any thread; none keeps
// state of its own. bosGetEnv is as safe as getenv (callers must not change
// the environment while other threads read it).
//
// Failure: statuses are 0 for success and 1 for failure; only
// bosLoadLibrary files an error record (1523, when the loader refuses a
// file it found).
#ifndef VX_BOS_BOSENV_H_
#define VX_BOS_BOSENV_H_

#include <cstdint>

#include "foundation/vxexport.h"
#include "foundation/vxtypes.h"

// The value of environment variable `name`, null when it is unset.
VX_EXPORT char* bosGetEnv(const char* name);

// The process id.
VX_EXPORT int32_t bosGetProcessID();

// The calling thread's id (its pthread_t), the key of per-thread data.
VX_EXPORT uint64_t bosGetThreadID();

// Yields the processor once through thr_yield; `n` is ignored.
VX_EXPORT void bosYieldThread(int32_t n);

// Sleeps for `milliseconds` (a 16-bit count; 0 returns at once).
VX_EXPORT void bossleep(uint16_t milliseconds);

// Copies the host name into `buffer`. When the name and its NUL fit in
// `size` bytes it is copied whole; otherwise `size` bytes of it are copied
// and a NUL is stored after them, so the buffer must hold size + 1 bytes
// (deliberate). A null buffer or a size of 0 does nothing and returns 0.
// Returns 1 when the system cannot tell the name.
VX_EXPORT uint16_t bosGetMachineName(char* buffer, VXSIZE_T size);

// Copies the login name of the real user into `buffer`, as
// bosGetMachineName copies the host name. Returns 1 when the user has no
// entry in the user database.
VX_EXPORT uint16_t bosGetHostUser(char* buffer, VXSIZE_T size);

// Reads the name of the running command ("/bin/ps -p PID -ocomm=") into
// `buffer`: one line of at most size - 1 bytes, whose last character (the
// line feed) is removed. `handle` is ignored. Returns the status of the ps
// run (pclose), or 0 when it could not be started (the buffer untouched).
VX_EXPORT int bosGetCommand(void* handle, char* buffer, int size);

// Loads a shared library and returns its handle, or null.
//  - `name` is copied and its trailing white space cut; when `addSuffix` is
//    non-zero the platform's decoration is applied first ("lib" put before
//    the file part unless it starts with "lib"); ".so" is appended unless
//    the name contains ".so" somewhere (libx.so.1 is used as it is).
//  - The file is looked for with bosLocateFile, search set $VX and $VXLIB,
//    then $LD_LIBRARY_PATH, $LD_RUN_PATH and /usr/local/lib. Not found:
//    null without an error record.
//  - Found: dlopen with all symbols bound at once. When the loader refuses
//    it, error 1523 is filed with the path and the loader's text.
// Traces (bit 0x4): "LoadLibrary: Searching for %s.\n",
// "LoadLibrary: Found library %s.\n", "Unable to open Shared Library: %s\n"
// when not found, "Unable to open Shared Library:%s\n" and
// "Loader Error: %s\n" when the loader refuses it.
VX_EXPORT void* bosLoadLibrary(const char* name, uint16_t addSuffix);

// The address of `symbol` in the library `handle` (dlsym), or null.
VX_EXPORT void* vxGetProcAddr(void* handle, const char* symbol);

#endif  // VX_BOS_BOSENV_H_
