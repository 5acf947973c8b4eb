// Loading shared libraries and finding their symbols.
#include <dlfcn.h>

#include <cstdio>
#include <cstring>

#include "bos/bosenv.h"
#include "bos/bosfile.h"
#include "foundation/vxerror.h"
#include "foundation/vxmsgnum.h"
#include "foundation/vxstr.h"
#include "foundation/vxtrace.h"

namespace {

// The platform's decoration of a library name: "lib" before the file part
// (after the last "/") unless it already starts with "lib". False when the
// result would not fit a path buffer.
bool bosdllname(char* name) {
  char* file = strrchr(name, '/');
  file = file ? file + 1 : name;
  if (strncmp(file, "lib", 3) == 0) return true;
  size_t length = strlen(name);
  if (length + 3 >= BOS_MAX_PATH) return false;
  memmove(file + 3, file, strlen(file) + 1);
  memcpy(file, "lib", 3);
  return true;
}

bool tracing() { return BOS_RUNTIME_DEBUG.debugItem(VX_DEBUG_LOAD_LIBRARY) != 0; }

}  // namespace

// The name is made into a file name (trimmed, decorated when asked, ".so"
// appended unless present anywhere), then located along the library search
// set. A name that cannot be located is an expected outcome (optional
// components), so it only traces; a file the loader refuses is an error.
void* bosLoadLibrary(const char* name, uint16_t addSuffix) {
  if (!name) return nullptr;
  char file[BOS_MAX_PATH];
  if (strlen(name) >= sizeof file) return nullptr;
  strcpy(file, name);
  strRightTrim(file);
  if (addSuffix && !bosdllname(file)) return nullptr;
  if (!strstr(file, ".so")) {
    if (strlen(file) + 3 >= sizeof file) return nullptr;
    strcat(file, ".so");
  }
  if (tracing()) printf("LoadLibrary: Searching for %s.\n", file);
  char path[BOS_MAX_PATH];
  if (bosLocateFile(path, file, BOS_SEARCH_VX | BOS_SEARCH_LIBRARY) != 0) {
    if (tracing()) printf("Unable to open Shared Library: %s\n", file);
    return nullptr;
  }
  if (tracing()) printf("LoadLibrary: Found library %s.\n", path);
  // The loader searches the system's directories for a name without a
  // "/", so a file found in the working directory is named as "./file".
  if (!strchr(path, '/')) {
    if (strlen(path) + 2 >= sizeof path) return nullptr;
    memmove(path + 2, path, strlen(path) + 1);
    memcpy(path, "./", 2);
  }
  void* handle = dlopen(path, RTLD_NOW);
  if (!handle) {
    const char* loaderText = dlerror();
    if (!loaderText) loaderText = "";
    addError(kErrCannotLoadLibrary) << path << loaderText;
    if (tracing()) {
      printf("Unable to open Shared Library:%s\n", path);
      printf("Loader Error: %s\n", loaderText);
    }
  }
  return handle;
}

void* vxGetProcAddr(void* handle, const char* symbol) { return dlsym(handle, symbol); }
