// Internal to the file layer: helpers its units share. Not installed.
#ifndef VX_BOS_BOSFILE_INTERNAL_H_
#define VX_BOS_BOSFILE_INTERNAL_H_

#include <cstdint>

#include "bos/bosfile.h"

// Writes `first`, `second` and `third` one after another into the path
// buffer `out` (BOS_MAX_PATH bytes). False, with `out` untouched, when they
// do not fit. `out` may be one of the parts only if it is `first`.
bool joinPath(char* out, const char* first, const char* second = "", const char* third = "");

// Files error 1524 (name too long) with `name`; returns 1 for the caller's
// status.
uint16_t reportLongName(const char* name);

// Kinds of configuration file the redirection recognises.
enum ConfigFileKind { CONFIG_NONE, CONFIG_ODBC, CONFIG_ODBCINST, CONFIG_VXLIB, CONFIG_SYSTEM };

// The kind of configuration file `name` names (the whole name compared).
ConfigFileKind configFileKind(const char* name);

// Applies the environment override of `kind` to the home path `path` (a
// path buffer) and checks existence where the kind requires it, tracing
// "bosfopen: Replacing %s " and "with %s\n" around the override. 0, with
// the final path in `path`; 1 when the required file does not exist (the
// system error mapped when `mapErrors`) or the override does not fit.
uint16_t redirectConfigFile(ConfigFileKind kind, char* path, bool mapErrors);

#endif  // VX_BOS_BOSFILE_INTERNAL_H_
