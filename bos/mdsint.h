// Internal to the library: the slot numbering of per-task and per-thread
// data and the process-wide locks. Not installed.
//
// Static locks. Every one is a VxCriticalSection (recursive) constructed
// when the library is loaded, before any other static object of the
// library (they carry the first constructor priority, init_priority 101,
// so the static objects of other units may take them in their own
// constructors and destructors), and destroyed at unload after all of them.
//
// Lock order: MDS_PERTHREAD_LOCK is innermost and taken by the per-thread
// functions only. DBLIB_LOCK and LIST_LOCK are each held only around their
// own short updates and never while another of these locks is held.
// VM_LOCK guards creation and reference counting of the task's block pool.
#ifndef VX_BOS_MDSINT_H_
#define VX_BOS_MDSINT_H_

#include "bos/mds.h"
#include "bos/vxcritse.h"
#include "bos/vxsemaph.h"

// Slots of the per-task array MDS_PER_TASK_GLOBALS.
enum PerTaskData {
  MDS_TASK_DBLIB_INITS = 1,   // count of driver-library initialisations
  MDS_TASK_BLOCK_POOL = 4,    // the task's virtual-memory block pool
  MDS_TASK_INI_CACHES = 12,   // the task's list of INI file caches
  MDS_TASK_THREAD_LIST = 13   // head of the VxThreadInfo list
};

// Slots of each VxThreadInfo entry.
enum PerThreadData {
  MDS_THREAD_ERROR_LIST = 0,  // the thread's current VxErrorList
  MDS_THREAD_SLOT_1 = 1,
  MDS_THREAD_SLOT_2 = 2,
  // Slots 3 to 5 survive the reuse of an entry by another thread.
  MDS_THREAD_SLOT_3 = 3,
  MDS_THREAD_SLOT_4 = 4,
  MDS_THREAD_SLOT_5 = 5
};

// Guards the thread list (innermost lock).
extern VxCriticalSection MDS_PERTHREAD_LOCK;
// Guards the count of driver-library initialisations (per-task slot 1).
extern VxCriticalSection DBLIB_LOCK;
// Guards the process's list of held byte-range locks.
extern VxCriticalSection LIST_LOCK;
// Guards creation and reference counting of the block pool.
extern VxCriticalSection VM_LOCK;

// Held by atomicTaskExchange for the duration of its read and store.
extern VxSemaphore VX_TASK_EXCHANGE_LOCK;
// Held by atomicThreadExchange for the duration of its read and store.
extern VxCriticalSection VX_THREAD_EXCHANGE_LOCK;

// Frees every VxThreadInfo entry and empties the thread list. Only for the
// moment no thread uses per-thread data any more: library unload (where it
// runs by itself) or between tests. The calling thread's own cached entry
// is forgotten; other threads must not use per-thread data again before
// they register anew.
void mdsReleaseThreadList();

#endif  // VX_BOS_MDSINT_H_
