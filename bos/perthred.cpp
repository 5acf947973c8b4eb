// Per-thread data: the list of VxThreadInfo entries and each thread's
// constant-time access to its own entry.
//
// The list (head in per-task slot 13) is walked and changed only under
// MDS_PERTHREAD_LOCK. Each thread also keeps, in a thread-local word, the
// entry it registered or last found for itself, and clears that word when
// its use count drops to 0. The word is therefore set only while the entry
// is live and owned by this thread; as only the owner releases an entry and
// another thread may claim it only after the release, no other thread can
// take over an entry this word points to, and the lookup needs neither the
// lock nor a second look at the entry. A thread without the word set (never
// registered here, or released) looks the list up by its thread id, which
// also finds an entry left live by an exited thread whose id the system
// gave to this one.
#include <pthread.h>

#include <cassert>

#include "bos/mdsint.h"

namespace {

// The calling thread's id and the entry it last found for itself. The
// initial-exec model makes the read one %fs-relative load even in the
// shared library (the general model calls the TLS resolver on every
// lookup); the 16 bytes come from the static TLS reserve that the dynamic
// loader keeps for libraries loaded later, and it is given back at unload.
struct OwnEntryCache {
  VxThreadInfo* entry;
  uint64_t threadId;  // 0 until first needed
};
thread_local OwnEntryCache ownCache __attribute__((tls_model("initial-exec"))) = {nullptr, 0};

uint64_t callingThreadId() {
  if (ownCache.threadId == 0) ownCache.threadId = uint64_t(pthread_self());
  return ownCache.threadId;
}

VxThreadInfo* listHead() { return static_cast<VxThreadInfo*>(MDS_PER_TASK_GLOBALS[MDS_TASK_THREAD_LIST]); }

// Lock held.
VxThreadInfo* findLiveEntry(uint64_t threadId) {
  for (VxThreadInfo* e = listHead(); e; e = e->next) {
    if (e->useCount.load(std::memory_order_relaxed) != 0 &&
        e->threadId.load(std::memory_order_relaxed) == threadId) {
      return e;
    }
  }
  return nullptr;
}

// Lock held. Deliberate: only the first three slots are cleared; slots 3 to
// 5 keep what the previous owner left in them.
void claimEntry(VxThreadInfo* e, uint64_t threadId) {
  e->threadId.store(threadId, std::memory_order_relaxed);
  e->data[0] = e->data[1] = e->data[2] = nullptr;
  e->useCount.store(1, std::memory_order_relaxed);
}

// Lock held. A fresh entry for the thread, or null when memory is short.
VxThreadInfo* newEntry(uint64_t threadId) {
  VxThreadInfo* e = new VxThreadInfo;
  if (e) claimEntry(e, threadId);
  return e;
}

// findLiveEntry under the lock.
VxThreadInfo* findLiveEntryLocked(uint64_t threadId) {
  VxCriticalSectionGuard guard(MDS_PERTHREAD_LOCK);
  return findLiveEntry(threadId);
}

// The list lookup behind ownLiveEntry, kept out of line so that the
// cached path stays small.
__attribute__((noinline)) VxThreadInfo* findOwnEntryInList(uint64_t self) {
  VxThreadInfo* e = findLiveEntryLocked(self);
  if (e) ownCache.entry = e;
  return e;
}

// The calling thread's live entry, or null.
inline VxThreadInfo* ownLiveEntry() {
  VxThreadInfo* e = ownCache.entry;
  return e ? e : findOwnEntryInList(callingThreadId());
}

// Frees the list when the library is unloaded (or the process ends).
struct ThreadListReleaser {
  ~ThreadListReleaser() { mdsReleaseThreadList(); }
};
ThreadListReleaser threadListReleaser __attribute__((init_priority(101)));

// Registration. Under the lock:
//  1. a live entry of the calling thread counts one more use;
//  2. an empty list gets a new entry as its head;
//  3. a free head is claimed;
//  4. otherwise the walk claims the first free entry that has a successor.
//     Deliberate: the last entry is never tested for reuse; when no earlier
//     entry was free a new entry is appended behind it.
// Returns the calling thread's entry, or null when memory is short.
VxThreadInfo* registerEntry(uint64_t self) {
  VxCriticalSectionGuard guard(MDS_PERTHREAD_LOCK);
  VxThreadInfo* e = findLiveEntry(self);
  if (e) {
    e->useCount.store(e->useCount.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
  } else if (!listHead()) {
    e = newEntry(self);
    MDS_PER_TASK_GLOBALS[MDS_TASK_THREAD_LIST] = e;
  } else if (listHead()->useCount.load(std::memory_order_relaxed) == 0) {
    e = listHead();
    claimEntry(e, self);
  } else {
    VxThreadInfo* last = listHead();
    for (; last->next; last = last->next) {
      VxThreadInfo* candidate = last->next;
      if (candidate->next && candidate->useCount.load(std::memory_order_relaxed) == 0) {
        e = candidate;
        claimEntry(e, self);
        break;
      }
    }
    if (!e) {
      e = newEntry(self);
      last->next = e;
    }
  }
  return e;
}

// Takes one use off the calling thread's live entry under the lock and
// returns the uses left.
uint32_t dropUse(VxThreadInfo* e) {
  VxCriticalSectionGuard guard(MDS_PERTHREAD_LOCK);
  uint32_t uses = e->useCount.load(std::memory_order_relaxed);
  // Only a live entry (use count above 0) is ever found for release: the
  // cached word is cleared when the count reaches 0, and the list lookup
  // skips entries at 0.
  assert(uses > 0);
  --uses;
  e->useCount.store(uses, std::memory_order_relaxed);
  return uses;
}

}  // namespace

uint16_t mdsPerThreadInit() {
  VxThreadInfo* e = registerEntry(callingThreadId());
  if (!e) return 0;
  ownCache.entry = e;
  return 1;
}

void mdsPerThreadTerm() {
  VxThreadInfo* e = ownLiveEntry();
  if (!e) return;
  uint32_t uses = dropUse(e);
  if (uses == 0) ownCache.entry = nullptr;
}

void* mdsGetPerThreadData(uint16_t index) {
  VxThreadInfo* e = ownLiveEntry();
  return e ? e->data[index] : nullptr;
}

uint16_t mdsSetPerThreadData(uint16_t index, void* value) {
  VxThreadInfo* e = ownLiveEntry();
  if (!e) return 1;
  e->data[index] = value;
  return 0;
}

void** mdsGetPerThreadDataAddress(uint16_t index) {
  VxThreadInfo* e = ownLiveEntry();
  return e ? &e->data[index] : nullptr;
}

VxThreadInfo* getThreadInfo(uint64_t threadId) { return findLiveEntryLocked(threadId); }

VxThreadInfo* getThreadInfo() { return getThreadInfo(callingThreadId()); }

void mdsReleaseThreadList() {
  VxThreadInfo* e = listHead();
  MDS_PER_TASK_GLOBALS[MDS_TASK_THREAD_LIST] = nullptr;
  while (e) {
    VxThreadInfo* next = e->next;
    delete e;
    e = next;
  }
  ownCache.entry = nullptr;
}

uint16_t bosCreateThread(void* (*)(void*), void*, uint64_t*) { return 1; }

void thr_yield() {}
