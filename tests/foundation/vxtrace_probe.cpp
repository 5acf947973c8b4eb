// Prints the debug mask that the shared library read at load, then sets
// "VX_DEBUGGING" and prints the mask again (it must not change). Run by the
// tracing tests with the variable set in its environment.
#include <cstdio>
#include <cstdlib>

#include "foundation/vxtrace.h"

int main() {
  printf("mask=%lx low32=%x file=%x exists=%x locate=%x\n",
         static_cast<unsigned long>(BOS_RUNTIME_DEBUG.getDebugMask()),
         BOS_RUNTIME_DEBUG.debugItem(0xFFFFFFFFu), BOS_RUNTIME_DEBUG.debugItem(VX_DEBUG_FILE_OPEN),
         BOS_RUNTIME_DEBUG.debugItem(VX_DEBUG_EXISTS),
         BOS_RUNTIME_DEBUG.debugItem(VX_DEBUG_LOCATE_FILE));
  setenv("VX_DEBUGGING", "ffff", 1);
  printf("after=%lx\n", static_cast<unsigned long>(BOS_RUNTIME_DEBUG.getDebugMask()));
  return 0;
}
