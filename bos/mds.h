// Per-task (per-process) and per-thread data slots.
//
// Per-task data is one process-wide array of pointer-sized slots. Its
// numbering is internal (bos/mdsint.h, enum PerTaskData); drivers that keep
// their own per-task values use indexes the library does not.
//
// Per-thread data: each thread that registers with mdsPerThreadInit owns a
// VxThreadInfo entry holding six pointer-sized slots (enum PerThreadData).
// Registrations nest: every mdsPerThreadInit needs one mdsPerThreadTerm, and
// the entry is live while its use count is above 0. A released entry stays
// in the process's thread list and is handed to the next thread that
// registers; it keeps the values of its slots 3 to 5 (deliberate: the next
// owner sees them). Entries are freed only when the library is unloaded.
//
// Thread-safety: every function may be called from any thread. The
// per-thread functions act on the calling thread's own entry. A thread
// reaches its own entry in constant time after its first lookup; the
// thread list itself is walked only under MDS_PERTHREAD_LOCK, which is the
// innermost lock of the library.
#ifndef VX_BOS_MDS_H_
#define VX_BOS_MDS_H_

#include <atomic>
#include <cstdint>

#include "foundation/vxexport.h"
#include "foundation/vxobject.h"

// Number of slots of the per-task array and of each thread entry.
#define MDS_PER_TASK_SLOTS 16
#define MDS_PER_THREAD_SLOTS 6

// One registered (or released, reusable) thread. The list link, the thread
// id and the use count change only under MDS_PERTHREAD_LOCK; the owning
// thread reads and writes its own slots without a lock. threadId and
// useCount are atomic so that other threads may read them (through
// getThreadInfo) while they change.
class VX_EXPORT VxThreadInfo : public VxObject {
 public:
  VxThreadInfo() = default;
  VxThreadInfo(const VxThreadInfo&) = delete;
  VxThreadInfo& operator=(const VxThreadInfo&) = delete;

  VxThreadInfo* next = nullptr;
  std::atomic<uint64_t> threadId{0};
  void* data[MDS_PER_THREAD_SLOTS] = {};
  std::atomic<uint32_t> useCount{0};  // 0: free for reuse
};

// The process-wide slot array, MDS_PER_TASK_SLOTS entries.
VX_EXPORT extern void* MDS_PER_TASK_GLOBALS[MDS_PER_TASK_SLOTS];

// Per-task data needs no set-up: both return 1.
VX_EXPORT uint16_t mdsPerTaskInit();
VX_EXPORT uint16_t mdsIsTaskInit();
// Does nothing.
VX_EXPORT void mdsPerTaskTerm();
// Slot `index` of the per-task array (index below MDS_PER_TASK_SLOTS; not
// checked). The slots are plain words: callers serialise their updates.
VX_EXPORT void* mdsGetPerTaskData(uint16_t index);
VX_EXPORT void mdsSetPerTaskData(uint16_t index, void* value);
VX_EXPORT void** mdsGetPerTaskDataAddress(uint16_t index);

// Registers the calling thread, or counts one more use of its live entry.
// Returns 1 when the thread has an entry, 0 when none could be allocated.
VX_EXPORT uint16_t mdsPerThreadInit();
// Counts one use less (never below 0); at 0 the entry is free for reuse.
// Nothing when the thread is not registered.
VX_EXPORT void mdsPerThreadTerm();
// Slot `index` (below MDS_PER_THREAD_SLOTS) of the calling thread's entry,
// or null when the thread is not registered.
VX_EXPORT void* mdsGetPerThreadData(uint16_t index);
// Stores into slot `index` of the calling thread's entry. The thread must be
// registered: for an unregistered thread nothing is stored and 1 is
// returned; 0 on success.
VX_EXPORT uint16_t mdsSetPerThreadData(uint16_t index, void* value);
// Address of slot `index` of the calling thread's entry; null when the
// thread is not registered.
VX_EXPORT void** mdsGetPerThreadDataAddress(uint16_t index);

// The live entry of the thread `threadId` (as bosGetThreadID gives it), or
// null. Walks the list under MDS_PERTHREAD_LOCK.
VX_EXPORT VxThreadInfo* getThreadInfo(uint64_t threadId);
// The calling thread's live entry, or null.
VX_EXPORT VxThreadInfo* getThreadInfo();

// The library never starts threads of its own: always fails, returning 1,
// and starts nothing. `threadId`, when given, is left untouched.
VX_EXPORT uint16_t bosCreateThread(void* (*start)(void*), void* argument, uint64_t* threadId);
// Does nothing (the platform schedules threads itself).
VX_EXPORT void thr_yield();

#endif  // VX_BOS_MDS_H_
