// Redirection of the well-known configuration files to the files that the
// environment names.
//
// The two ODBC files and the library's own two files follow opposite
// precedences, deliberately:
//  - "odbc.ini" / "odbcinst.ini" (with or without the leading dot, in any
//    case): an environment variable, when set, beats the home directory
//    outright (the first of the pair that is set wins, even when the file
//    it names is missing), and the file finally chosen must exist and not
//    be a directory;
//  - ".vxlib.ini" / ".system.defaults" (exact case): the home directory
//    beats the environment; the variable is used only when the home file
//    does not exist, and what it names is not checked.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <strings.h>
#include <sys/stat.h>

#include "bos/bos.h"
#include "bos/bosenv.h"
#include "bos/bosfile_internal.h"
#include "foundation/vxtrace.h"

namespace {

struct ConfigFile {
  ConfigFileKind kind;
  const char* firstVariable;
  const char* secondVariable;  // null when the kind has one variable
  bool environmentFirst;       // the variable beats the home file
};

const ConfigFile kConfigFiles[] = {
    {CONFIG_ODBC, "ODBCINI", "ODBC_INI", true},
    {CONFIG_ODBCINST, "ODBCINST", "ODBCINSTINI", true},
    {CONFIG_VXLIB, "VXLIB_INI", nullptr, false},
    {CONFIG_SYSTEM, "VX_SYSTEM_INI", nullptr, false},
};

}  // namespace

ConfigFileKind configFileKind(const char* name) {
  if (!strcasecmp(name, "odbc.ini") || !strcasecmp(name, ".odbc.ini")) return CONFIG_ODBC;
  if (!strcasecmp(name, "odbcinst.ini") || !strcasecmp(name, ".odbcinst.ini")) {
    return CONFIG_ODBCINST;
  }
  if (!strcmp(name, ".vxlib.ini")) return CONFIG_VXLIB;
  if (!strcmp(name, ".system.defaults")) return CONFIG_SYSTEM;
  return CONFIG_NONE;
}

uint16_t redirectConfigFile(ConfigFileKind kind, char* path, bool mapErrors) {
  for (const ConfigFile& file : kConfigFiles) {
    if (file.kind != kind) continue;
    bool tracing = BOS_RUNTIME_DEBUG.debugItem(VX_DEBUG_FILE_OPEN) != 0;
    if (tracing) printf("bosfopen: Replacing %s ", path);
    const char* value = bosGetEnv(file.firstVariable);
    if (!value && file.secondVariable) value = bosGetEnv(file.secondVariable);
    bool useValue = value && (file.environmentFirst || !bosexist(path));
    if (useValue && !joinPath(path, value)) {
      if (tracing) printf("with %s\n", path);
      return reportLongName(value);
    }
    if (tracing) printf("with %s\n", path);
    if (!file.environmentFirst) return 0;
    // A directory is no configuration file: it fails like a missing one.
    struct stat info;
    bool found = stat(path, &info) == 0;
    if (!found || S_ISDIR(info.st_mode)) {
      if (mapErrors) bosMapError(found ? ENOENT : errno, path);
      return 1;
    }
    return 0;
  }
  return 0;
}
