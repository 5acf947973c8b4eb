// Per-task data: one process-wide array of pointer-sized slots.
//
// The array is zero-initialised storage with no constructor, so it is
// usable from any static constructor of the library, whatever its order.
#include "bos/mdsint.h"

void* MDS_PER_TASK_GLOBALS[MDS_PER_TASK_SLOTS];

uint16_t mdsPerTaskInit() { return 1; }

uint16_t mdsIsTaskInit() { return 1; }

void mdsPerTaskTerm() {}

void* mdsGetPerTaskData(uint16_t index) { return MDS_PER_TASK_GLOBALS[index]; }

void mdsSetPerTaskData(uint16_t index, void* value) { MDS_PER_TASK_GLOBALS[index] = value; }

void** mdsGetPerTaskDataAddress(uint16_t index) { return &MDS_PER_TASK_GLOBALS[index]; }
