// Helpers shared by the units of the file layer.
#include <cstring>

#include "bos/bosfile_internal.h"
#include "foundation/vxerror.h"
#include "foundation/vxmsgnum.h"

bool joinPath(char* out, const char* first, const char* second, const char* third) {
  size_t a = strlen(first), b = strlen(second), c = strlen(third);
  if (a + b + c >= BOS_MAX_PATH) return false;
  // `second` and `third` never overlap `out`; `first` may be `out` itself.
  memmove(out, first, a);
  memcpy(out + a, second, b);
  memcpy(out + a + b, third, c);
  out[a + b + c] = '\0';
  return true;
}

uint16_t reportLongName(const char* name) {
  addError(kErrNameTooLong) << name;
  return 1;
}
