// Model check of the redirection of the configuration files by
// bosFileOpen (modes 0x200 | 0x100: name processing only). Each 3 input
// bytes (four cases at most) are one case: a name from a small list with
// the case of each letter flipped by the input, whether the home file
// exists, whether an error list is installed, and for each of the two
// variables of the name's kind whether it is unset, names a missing file
// or names an existing one. The expected name or failure comes from the
// rules: "odbc.ini" and "odbcinst.ini" (leading dot optional, any case)
// take the first variable of their pair that is set, even over an existing
// home file, and the file chosen must exist (else 1509, filed only when an
// error list is installed); ".vxlib.ini" and ".system.defaults" (exact
// case) take the home file, the variable, unchecked, only when there is no
// home file; any other name is returned as given.
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "bos/bos.h"
#include "foundation/vxerror.h"

namespace {

void check(bool condition) {
  if (!condition) abort();
}

struct Kind { const char *name, *first, *second; bool environmentFirst; };
const Kind kKinds[] = {{"odbc.ini", "ODBCINI", "ODBC_INI", true}, {".odbc.ini", "ODBCINI", "ODBC_INI", true},
                       {"odbcinst.ini", "ODBCINST", "ODBCINSTINI", true}, {".odbcinst.ini", "ODBCINST", "ODBCINSTINI", true},
                       {".vxlib.ini", "VXLIB_INI", nullptr, false}, {".system.defaults", "VX_SYSTEM_INI", nullptr, false},
                       {"vxlib.ini", "VXLIB_INI", nullptr, false}, {"odbc.ini.bak", "ODBCINI", nullptr, true}};

char scratchFolder[] = "/tmp/vx_redirect_XXXXXX";

// Runs at exit, so that neither replays nor fuzzing leave folders behind.
void removeScratch() {
  std::error_code ignored;
  std::filesystem::remove_all(scratchFolder, ignored);
}

const std::string& scratch() {
  static const std::string dir = [] {
    check(mkdtemp(scratchFolder) != nullptr);
    atexit(removeScratch);
    return std::string(scratchFolder);
  }();
  return dir;
}

// Makes or removes the file path (only when that changes anything: the
// replay runs many cases).
void place(const std::string& path, bool exists) {
  if (exists == (access(path.c_str(), F_OK) == 0)) return;
  if (exists) std::ofstream(path) << "x"; else unlink(path.c_str());
}

void runCase(uint8_t a, uint8_t b, uint8_t c) {
  const Kind& kind = kKinds[a % 8];
  std::string name = kind.name, home = scratch() + "/home";
  for (size_t i = 0; i < name.size(); ++i) {
    if ((b >> (i % 8)) & (c >> 7)) name[i] = char(isupper(name[i]) ? tolower(name[i]) : toupper(name[i]));
  }
  bool homeExists = (a >> 3) & 1, listed = (a >> 4) & 1;
  int first = (c & 3) % 3, second = (c >> 2 & 3) % 3;
  const char* variables[] = {kind.first, kind.second};
  std::string files[] = {scratch() + "/first", scratch() + "/second"}, homeFile = home + "/" + name;
  place(homeFile, homeExists);
  for (int v = 0; v < 2; ++v) {
    int state = v ? second : first;
    place(files[v], state == 2);
    if (!variables[v]) continue;
    if (state) setenv(variables[v], files[v].c_str(), 1); else unsetenv(variables[v]);
  }
  bool config = kind.environmentFirst ? (!strcasecmp(name.c_str(), "odbc.ini") || !strcasecmp(name.c_str(), ".odbc.ini") ||
                                         !strcasecmp(name.c_str(), "odbcinst.ini") || !strcasecmp(name.c_str(), ".odbcinst.ini"))
                                      : (name == ".vxlib.ini" || name == ".system.defaults");
  std::string expected = config ? homeFile : name;
  int chosen = first ? 0 : kind.second && second ? 1 : -1, state = chosen ? second : first;
  if (config && kind.environmentFirst && chosen >= 0) expected = state == 2 ? files[chosen] : "";
  if (config && kind.environmentFirst && chosen < 0 && !homeExists) expected = "";
  if (config && !kind.environmentFirst && !homeExists && first) expected = files[0];
  VxErrorList list(nullptr, VxErrorList::kSupportMultipleErrors);
  if (listed) VxErrorKeeper::setErrorList(&list);
  char buffer[BOS_MAX_PATH];
  snprintf(buffer, sizeof buffer, "%s", name.c_str());
  int handle = -1;
  uint16_t status = bosFileOpen(buffer, BOS_OPEN_REDIRECT | BOS_OPEN_NO_OPEN, &handle);
  if (listed) VxErrorKeeper::giveUpErrorList();
  check(status == (expected.empty() ? 1 : 0) && handle == (status ? -1 : 0));
  check(expected.empty() ? list.getCount() == (listed ? 1u : 0u) && (!listed || list.getFirstNode()->getErrorNumber() == 1509)
                         : list.getCount() == 0 && expected == buffer);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  setenv("HOME", (scratch() + "/home").c_str(), 1);
  mkdir((scratch() + "/home").c_str(), 0755);
  for (size_t i = 0; i + 3 <= size && i < 3 * 4; i += 3) runCase(data[i], data[i + 1], data[i + 2]);
  return 0;
}
