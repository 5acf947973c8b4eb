// Semaphores used as locks: VxPosixSemaphore, VxSemaphore, the lazily
// created semaphore slots, and the per-process semaphore registry
// VxSemaphoreInfo.
//
// A VxSemaphore is a binary POSIX semaphore (initial count 1): SemaphoreEnter
// takes it, SemaphoreExit gives it back. Unlike VxCriticalSection it is not
// recursive: a thread that enters twice blocks itself, and any thread may
// exit it.
//
// Lazy semaphore slot: a pointer-sized variable, usually a static
// `VxSemaphore* lock = 0;`, that holds one of
//   0  never created,
//   1  being created,
//   2  created once and destroyed since,
//   or the address of a live VxSemaphore.
// vxSemaphoreEnter creates the semaphore on first use and locks it;
// vxSemaphoreExit unlocks it. The creation step is not guarded against
// other threads: create a slot's semaphore (one enter/exit) before threads
// compete for it.
//
// Failure: the primitives return 1 on failure and 0 on success; they post no
// error records.
#ifndef VX_BOS_VXSEMAPH_H_
#define VX_BOS_VXSEMAPH_H_

#include <semaphore.h>

#include <cstdint>

#include "foundation/vxexport.h"
#include "foundation/vxobject.h"

// One unnamed, process-private POSIX semaphore with initial count 1.
class VX_EXPORT VxPosixSemaphore : public VxObject {
 public:
  VxPosixSemaphore() = default;
  VxPosixSemaphore(const VxPosixSemaphore&) = delete;
  VxPosixSemaphore& operator=(const VxPosixSemaphore&) = delete;

  // sem_init (not shared, value 1). 1 on failure, 0 on success.
  uint16_t init();
  // sem_destroy. 1 on failure, 0 on success.
  uint16_t destroy();
  // sem_wait, retried when a signal interrupts it. 1 on failure, 0 on success.
  uint16_t wait();
  // sem_post. 1 on failure, 0 on success.
  uint16_t post();

 private:
  sem_t semaphore;
};

// A binary semaphore that may remember the lazy slot it was created through.
class VX_EXPORT VxSemaphore : public VxObject {
 public:
  // A free-standing semaphore; it remembers no slot.
  VxSemaphore();
  // Created by vxSemaphoreEnter through `slot`, whose value before creation
  // was `previous` (0 or 2). The slot is remembered only when `previous` is
  // 2, so that the destructor can mark it destroyed again.
  VxSemaphore(VxSemaphore** slot, uintptr_t previous);
  // Destroys the POSIX semaphore; writes 2 into the remembered slot, if any.
  ~VxSemaphore() override;

  VxSemaphore(const VxSemaphore&) = delete;
  VxSemaphore& operator=(const VxSemaphore&) = delete;

  // Wait (lock). 1 on failure, 0 on success.
  uint16_t SemaphoreEnter() { return semaphore.wait(); }
  uint16_t SemaphoreGet() { return semaphore.wait(); }
  // Post (unlock). 1 on failure, 0 on success.
  uint16_t SemaphoreExit() { return semaphore.post(); }
  uint16_t SemaphoreFree() { return semaphore.post(); }
  // Initialise / destroy the POSIX semaphore. The constructor already
  // initialises it and the destructor destroys it.
  uint16_t bosSemaphoreAlloc() { return semaphore.init(); }
  uint16_t bosSemaphoreFree() { return semaphore.destroy(); }

  // The slot this semaphore writes 2 into when destroyed, or null.
  VxSemaphore** getOwnerSlot() const { return ownerSlot; }

 private:
  VxPosixSemaphore semaphore;
  VxSemaphore** ownerSlot;
};

// Holds a VxSemaphore for the lifetime of the guard: the constructor takes
// it (SemaphoreEnter), the destructor gives it back (SemaphoreExit), so
// every return path releases it once. Like the callers that paired the two
// calls by hand, it does not look at their results. The semaphore is not
// recursive: a thread must not build a second guard on a semaphore it
// already holds. Not copyable; the semaphore must outlive the guard.
class VxSemaphoreGuard {
 public:
  explicit VxSemaphoreGuard(VxSemaphore& semaphore) : semaphore_(semaphore) {
    semaphore_.SemaphoreEnter();
  }
  ~VxSemaphoreGuard() { semaphore_.SemaphoreExit(); }

  VxSemaphoreGuard(const VxSemaphoreGuard&) = delete;
  VxSemaphoreGuard& operator=(const VxSemaphoreGuard&) = delete;

 private:
  VxSemaphore& semaphore_;
};

// Lazy slot values other than the address of a live semaphore.
#define VX_SEMAPHORE_SLOT_NEVER_CREATED 0
#define VX_SEMAPHORE_SLOT_CREATING 1
#define VX_SEMAPHORE_SLOT_DESTROYED 2

// Creates the slot's semaphore when the slot holds 0 or 2, then locks it;
// returns at once without locking while the slot holds 1 (the semaphore is
// being created by this very path). Creation failure leaves the slot at its
// old value and locks nothing.
VX_EXPORT void vxSemaphoreEnter(VxSemaphore** slot);
// Unlocks the slot's semaphore; nothing when the slot holds 0, 1 or 2.
VX_EXPORT void vxSemaphoreExit(VxSemaphore** slot);

// An array of object pointers addressed by 16-bit index. It owns its
// elements only through deleteAtIndex and deleteContents. Indexes are not
// range-checked. Not thread-safe.
class VX_EXPORT SemArray : public VxObject {
 public:
  SemArray() = default;
  ~SemArray() override;
  SemArray(const SemArray&) = delete;
  SemArray& operator=(const SemArray&) = delete;

  // Appends; 1 when the array cannot grow, 0 on success.
  uint16_t add(VxObject* element);
  // Inserts before position `index` (index == count appends); 1 when the
  // array cannot grow, 0 on success.
  uint16_t addAtIndex(VxObject* element, uint16_t index);
  VxObject* at(uint16_t index) const { return elements[index]; }
  uint16_t getCount() const { return count; }
  // Takes the element out and returns it (the caller owns it).
  VxObject* removeAtIndex(uint16_t index);
  // Takes the element out and deletes it.
  void deleteAtIndex(uint16_t index);
  // Deletes every element and empties the array.
  void deleteContents();
  // Kept for callers; they do nothing.
  void GetSemaphore() {}
  void FreeSemaphore() {}

 private:
  uint16_t grow();
  VxObject** elements = nullptr;
  uint16_t count = 0;
  uint16_t capacity = 0;
};

// The process's registry of System V semaphore sets and of the VxSemaphore
// objects it owns. Destroying it removes every recorded set (semctl
// IPC_RMID) and then deletes the owned semaphores from the last to the
// first. Not thread-safe: callers serialise access.
class VX_EXPORT VxSemaphoreInfo : public VxObject {
 public:
  // Most sets the table records.
  static constexpr uint16_t kMaxSets = 32;

  VxSemaphoreInfo() = default;
  ~VxSemaphoreInfo() override;
  VxSemaphoreInfo(const VxSemaphoreInfo&) = delete;
  VxSemaphoreInfo& operator=(const VxSemaphoreInfo&) = delete;

  // Records a System V set created by the caller, holding `held` semaphores
  // of which `used` are in use; the registry removes it when destroyed.
  // 1 when the table is full, 0 on success.
  uint16_t addSet(int id, uint16_t held, uint16_t used);
  // 1 if some set uses fewer semaphores than it holds, else 0.
  uint16_t availableSemaphore() const;
  // The index of the last set: the number of sets - 1 (so -1 when empty).
  int16_t allocateSemaphore() const { return int16_t(numberOfSets - 1); }
  // Drops `semaphore` from the owned semaphores if present (without
  // deleting it).
  void remove(VxSemaphore* semaphore);
  uint16_t getNumberOfSets() const { return numberOfSets; }
  // The owned semaphores; add to it to hand a semaphore to the registry.
  SemArray& semaphores() { return owned; }

 private:
  struct SemaphoreSet {
    int id;
    uint16_t held;
    uint16_t used;
  };
  SemaphoreSet sets[kMaxSets] = {};
  uint16_t numberOfSets = 0;
  SemArray owned;
};

// The process's one registry, built at library load, destroyed at unload.
VX_EXPORT extern VxSemaphoreInfo BOS_VXSEMAPHORE_INFO;

#endif  // VX_BOS_VXSEMAPH_H_
