// The run-time debug switch, read from the environment at load.
#include "foundation/vxtrace.h"

#include <cstdio>

#include "bos/bosenv.h"
#include "bos/mds.h"

// Built ahead of the library's other load-time objects (locks, caches,
// the load-time profile reader), so that their constructors can trace.
VxRunTimeDebug BOS_RUNTIME_DEBUG __attribute__((init_priority(110)));

// "%lx" reads an optional 0x and hexadecimal digits after leading blanks
// and stops at the first other character; when no digit parses the mask
// stays 0.
VxRunTimeDebug::VxRunTimeDebug() : debugMask_(0) {
  if (!mdsIsTaskInit()) mdsPerTaskInit();
  const char* value = bosGetEnv("VX_DEBUGGING");
  if (value == nullptr) return;
  unsigned long mask = 0;
  if (sscanf(value, "%lx", &mask) == 1) debugMask_ = mask;
}

VxRunTimeDebug::~VxRunTimeDebug() = default;
