// The working directory and path building: absolute, home-relative and
// working-directory-relative paths, default extensions, splitting a name,
// and colon-separated directory lists.
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

#include "bos/bos.h"
#include "bos/bosenv.h"
#include "bos/bosfile_internal.h"
#include "foundation/vxerror.h"
#include "foundation/vxmsgnum.h"
#include "foundation/vxtrace.h"

namespace {

const size_t kMaxBaseName = 128;
const size_t kMaxExtension = 3;

const char* orEmpty(const char* text) { return text ? text : ""; }

// printf shows a null text as "(null)"; said explicitly, not left to the C
// library.
const char* forTrace(const char* text) { return text ? text : "(null)"; }

// Reports that the working directory could not be read while building a
// path from `name`; returns 1.
uint16_t reportNoWorkingDirectory(const char* name) {
  bosMapError(errno, name);
  return 1;
}

// Drops trailing white space, then a single trailing dot unless the name
// ends in "..".
void trimName(char* name) {
  size_t length = strlen(name);
  while (length > 0 && isspace(static_cast<unsigned char>(name[length - 1]))) --length;
  if (length > 0 && name[length - 1] == '.' && !(length > 1 && name[length - 2] == '.')) --length;
  name[length] = '\0';
}

}  // namespace

uint16_t bosgtcwd(char* buffer, uint16_t slash) {
  if (!getcwd(buffer, BOS_MAX_PATH)) {
    buffer[0] = '\0';
    return 1;
  }
  size_t length = strlen(buffer);
  if (!slash || (length > 0 && buffer[length - 1] == '/')) return 0;
  if (length + 1 >= BOS_MAX_PATH) {
    buffer[0] = '\0';
    return 1;
  }
  buffer[length] = '/';
  buffer[length + 1] = '\0';
  return 0;
}

uint16_t bosstcwd(const char* path) {
  if (chdir(path) == 0) return 0;
  addError(kErrCannotChangeDirectory) << path;
  return 1;
}

uint16_t bosfpath(char* path) {
  if (path[0] == '/') return 0;
  char cwd[BOS_MAX_PATH];
  if (!getcwd(cwd, sizeof cwd)) return reportNoWorkingDirectory(path);
  char joined[BOS_MAX_PATH];
  if (!joinPath(joined, cwd, "/", path)) return reportLongName(path);
  strcpy(path, joined);
  return 0;
}

uint16_t boshpath(char* name) {
  char cwd[BOS_MAX_PATH];
  const char* prefix = bosGetEnv("HOME");
  if (!prefix) prefix = bosGetEnv("VX");
  if (!prefix) {
    if (!getcwd(cwd, sizeof cwd)) return reportNoWorkingDirectory(name);
    prefix = cwd;
  }
  char joined[BOS_MAX_PATH];
  if (!joinPath(joined, prefix, "/", name)) return reportLongName(name);
  strcpy(name, joined);
  return 0;
}

// The working directory with a "/" after it is compared with the path byte
// by byte; the path loses everything up to the last "/" within the bytes
// they share. A path equal to the working directory keeps its last
// component; a path elsewhere loses only the leading directories it
// shares (so "/a/b/c" seen from "/a/x" becomes "b/c").
uint16_t bosmpath(char* path) {
  char cwd[BOS_MAX_PATH];
  if (bosgtcwd(cwd, 1) != 0) return reportNoWorkingDirectory(path);
  size_t cut = 0;
  for (size_t i = 0; cwd[i] && cwd[i] == path[i]; ++i) {
    if (cwd[i] == '/') cut = i + 1;
  }
  memmove(path, path + cut, strlen(path + cut) + 1);
  return 0;
}

uint16_t bospath(char* out, const char* dir, const char* name, const char* defaultExt) {
  bool tracing = BOS_RUNTIME_DEBUG.debugItem(VX_DEBUG_PATH) != 0;
  if (tracing) {
    printf("BOSPATH: dir:%s name:%s default_ext:%s\n", forTrace(dir), forTrace(name),
           forTrace(defaultExt));
  }
  name = orEmpty(name);
  dir = orEmpty(dir);
  defaultExt = orEmpty(defaultExt);
  char work[BOS_MAX_PATH];
  if (!joinPath(work, name)) return reportLongName(name);
  trimName(work);
  if (!strchr(work, '/') && *dir) {
    size_t dirLength = strlen(dir);
    const char* separator = dir[dirLength - 1] == '/' ? "" : "/";
    char joined[BOS_MAX_PATH];
    if (!joinPath(joined, dir, separator, work)) return reportLongName(name);
    strcpy(work, joined);
  }
  const char* slash = strrchr(work, '/');
  const char* filePart = slash ? slash + 1 : work;
  if (!strchr(filePart, '.') && *defaultExt && !joinPath(work, work, ".", defaultExt)) {
    return reportLongName(name);
  }
  if (bosfpath(work) != 0) return 1;
  strcpy(out, work);
  if (tracing) printf("bospath: after bosfpath path:%s\n", out);
  return 0;
}

uint16_t bosParseName(char* path, char* base, char* ext, uint16_t report) {
  char* slash = strrchr(path, '/');
  char* filePart = slash ? slash + 1 : path;
  char* dot = strchr(filePart, '.');
  size_t baseLength = dot ? size_t(dot - filePart) : strlen(filePart);
  uint16_t status = 0;
  if (baseLength > kMaxBaseName) {
    if (report) {
      addError(kErrNameTooLong) << filePart;
      status = 1;
    }
    baseLength = kMaxBaseName;
  }
  memcpy(base, filePart, baseLength);
  base[baseLength] = '\0';
  size_t extLength = dot ? strnlen(dot + 1, kMaxExtension) : 0;
  if (extLength) memcpy(ext, dot + 1, extLength);
  ext[extLength] = '\0';
  *filePart = '\0';
  return status;
}

// The list always ends with ":", so that the next directory can simply be
// appended and a reader splits at every colon.
char* appendPath(char* list, const char* dir) {
  size_t listLength = list ? strlen(list) : 0;
  size_t dirLength = dir ? strlen(dir) : 0;
  char* grown = static_cast<char*>(malloc(listLength + dirLength + 2));
  if (!grown) {
    addError(kErrOutOfMemory);
    return nullptr;
  }
  if (listLength) memcpy(grown, list, listLength);
  if (dirLength) memcpy(grown + listLength, dir, dirLength);
  grown[listLength + dirLength] = ':';
  grown[listLength + dirLength + 1] = '\0';
  free(list);
  return grown;
}
