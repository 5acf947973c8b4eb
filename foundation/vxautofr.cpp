// The scope holders' out-of-line members.
#include "foundation/vxautofr.h"

#include <cstdlib>

AFPU8::~AFPU8() {
  if (p_ != nullptr) free(p_);
}

// Nothing needs bracketing around runtime-library calls on this platform.
AFGlobalWorld::AFGlobalWorld() {}

AFGlobalWorld::~AFGlobalWorld() {}
