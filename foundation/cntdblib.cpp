// The count of driver-library initialisations.
#include "foundation/cntdblib.h"

#include <cstdint>

#include "bos/mdsint.h"

// The count is kept as an integer in the pointer-sized per-task slot. It
// is not clamped: a decrement below zero goes negative, as callers that
// pair their calls never see.
int16_t countDBLibInits(int32_t increment) {
  VxCriticalSectionGuard guard(DBLIB_LOCK);
  intptr_t count = reinterpret_cast<intptr_t>(mdsGetPerTaskData(MDS_TASK_DBLIB_INITS));
  count += increment != 0 ? 1 : -1;
  mdsSetPerTaskData(MDS_TASK_DBLIB_INITS, reinterpret_cast<void*>(count));
  // Deliberate: the new value is returned narrowed to 16 bits.
  return static_cast<int16_t>(count);
}
