// The count of driver-library initialisations kept for the whole process.
//
// Thread-safety: the count lives in per-task slot 1 and is updated under
// the process-wide DBLIB_LOCK, so any thread may call countDBLibInits.
#ifndef VX_FOUNDATION_CNTDBLIB_H_
#define VX_FOUNDATION_CNTDBLIB_H_

#include <cstdint>

#include "foundation/vxexport.h"

// A non-zero increment adds one to the count, zero subtracts one. Returns
// the new count narrowed to 16 bits. Never fails.
VX_EXPORT int16_t countDBLibInits(int32_t increment);

#endif  // VX_FOUNDATION_CNTDBLIB_H_
