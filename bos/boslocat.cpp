// Locating a file along the directories of a search set.
//
// The name itself is tried first. Then a colon-separated list is built
// from the search-set bits, always in this order whatever the order of
// the bits: 0x10 the working directory; 0x2 $HOME; 0x4 $VX, then $VXLIB;
// 0x8 $LD_LIBRARY_PATH, $LD_RUN_PATH, then "/usr/local/lib"; 0x1 $PATH.
// Unset variables are skipped; a value may hold several directories. For
// every non-empty element the candidate is the element, a "/" unless it
// ends with one, and the name; with 0x8 in the set the element's parent
// ("../" after it) is tried too, so a library kept in lib/ is found from
// an entry lib/bin. Only regular files count as found.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

#include "bos/bosenv.h"
#include "bos/bosfile_internal.h"
#include "foundation/vxautofr.h"
#include "foundation/vxtrace.h"

namespace {

const char kUsrLocalLib[] = "/usr/local/lib";

// appendPath that frees the list when it cannot grow; null stays null.
char* extend(char* list, const char* dir) {
  if (!list) return nullptr;
  char* grown = appendPath(list, dir);
  if (!grown) free(list);
  return grown;
}

// Appends the value of environment variable `variable`, when set.
char* appendVariable(char* list, const char* variable) {
  const char* value = bosGetEnv(variable);
  return value ? extend(list, value) : list;
}

// The colon-separated directory list of `searchSet`, malloc'd (null when
// memory ran out).
char* buildSearchList(uint16_t searchSet) {
  char* list = appendPath(nullptr, "");
  if (searchSet & BOS_SEARCH_CWD) {
    char cwd[BOS_MAX_PATH];
    if (getcwd(cwd, sizeof cwd)) list = extend(list, cwd);
  }
  if (searchSet & BOS_SEARCH_HOME) list = appendVariable(list, "HOME");
  if (searchSet & BOS_SEARCH_VX) {
    list = appendVariable(list, "VX");
    list = appendVariable(list, "VXLIB");
  }
  if (searchSet & BOS_SEARCH_LIBRARY) {
    list = appendVariable(list, "LD_LIBRARY_PATH");
    list = appendVariable(list, "LD_RUN_PATH");
    list = extend(list, kUsrLocalLib);
  }
  if (searchSet & BOS_SEARCH_PATH) list = appendVariable(list, "PATH");
  return list;
}

// Traces and tests one candidate; true, with it copied to `out`, when it
// exists.
bool tryCandidate(char* out, const char* directory, size_t directoryLength, const char* parent,
                  const char* name) {
  char candidate[BOS_MAX_PATH];
  const char* separator = directory[directoryLength - 1] == '/' ? "" : "/";
  size_t length = size_t(snprintf(candidate, sizeof candidate, "%.*s%s%s%s", int(directoryLength),
                                  directory, separator, parent, name));
  if (length >= sizeof candidate) return false;
  if (BOS_RUNTIME_DEBUG.debugItem(VX_DEBUG_LOCATE_FILE)) printf("LocateFile: %s\n", candidate);
  if (!(bosfattr(candidate) & 1)) return false;
  if (out) strcpy(out, candidate);
  return true;
}

}  // namespace

uint16_t bosLocateFile(char* out, const char* name, uint16_t searchSet) {
  if (out) out[0] = '\0';
  if (bosfattr(name) & 1) {
    if (strlen(name) >= BOS_MAX_PATH) return reportLongName(name);
    if (out) strcpy(out, name);
    return 0;
  }
  AFPU8 list;
  list = reinterpret_cast<uint8_t*>(buildSearchList(searchSet));
  const char* element = reinterpret_cast<const char*>(static_cast<uint8_t*>(list));
  if (!element) return 1;
  bool withParent = (searchSet & BOS_SEARCH_LIBRARY) != 0;
  while (*element) {
    const char* colon = strchr(element, ':');
    size_t length = size_t(colon - element);
    if (length > 0) {
      if (tryCandidate(out, element, length, "", name)) return 0;
      if (withParent && tryCandidate(out, element, length, "../", name)) return 0;
    }
    element = colon + 1;
  }
  return 1;
}
