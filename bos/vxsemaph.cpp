// VxSemaphore, the lazy semaphore slots, SemArray and the process's
// semaphore registry.
#include "bos/vxsemaph.h"

#include <sys/ipc.h>
#include <sys/sem.h>

#include <cstdlib>
#include <cstring>

#include "bos/mdsint.h"

// Built at load before the library's other static objects, destroyed after
// them (see bos/mdsint.h).
VxSemaphoreInfo BOS_VXSEMAPHORE_INFO __attribute__((init_priority(101)));
VxSemaphore VX_TASK_EXCHANGE_LOCK __attribute__((init_priority(101)));

VxSemaphore::VxSemaphore() : ownerSlot(nullptr) { bosSemaphoreAlloc(); }

// Deliberate: the slot is remembered only when it held 2 before, so a
// semaphore created from a never-used slot leaves its address behind when
// destroyed.
VxSemaphore::VxSemaphore(VxSemaphore** slot, uintptr_t previous)
    : ownerSlot(previous == VX_SEMAPHORE_SLOT_DESTROYED ? slot : nullptr) {
  bosSemaphoreAlloc();
}

VxSemaphore::~VxSemaphore() {
  bosSemaphoreFree();
  if (ownerSlot) *ownerSlot = reinterpret_cast<VxSemaphore*>(uintptr_t(VX_SEMAPHORE_SLOT_DESTROYED));
}

// Lazy creation. The slot is set to 1 while the semaphore is built, so
// that a re-entry from the creation path itself (the slot reads 1) returns
// without locking. The steps are not atomic: two threads meeting an empty
// slot at once would each create a semaphore, which is why callers create
// their slots' semaphores before threads compete for them.
void vxSemaphoreEnter(VxSemaphore** slot) {
  uintptr_t value = reinterpret_cast<uintptr_t>(*slot);
  if (value == VX_SEMAPHORE_SLOT_CREATING) return;
  if (value == VX_SEMAPHORE_SLOT_NEVER_CREATED || value == VX_SEMAPHORE_SLOT_DESTROYED) {
    *slot = reinterpret_cast<VxSemaphore*>(uintptr_t(VX_SEMAPHORE_SLOT_CREATING));
    VxSemaphore* created = new VxSemaphore(slot, value);
    if (!created) {
      *slot = reinterpret_cast<VxSemaphore*>(value);
      return;
    }
    *slot = created;
  }
  // Deliberately not released here: this is half of a lock/unlock pair
  // that hands the semaphore to the caller, who gives it back through
  // vxSemaphoreExit, so no scope guard applies.
  (*slot)->SemaphoreEnter();
}

void vxSemaphoreExit(VxSemaphore** slot) {
  uintptr_t value = reinterpret_cast<uintptr_t>(*slot);
  if (value <= VX_SEMAPHORE_SLOT_DESTROYED) return;
  (*slot)->SemaphoreExit();
}

SemArray::~SemArray() { free(elements); }

// Grows the buffer by half again (at least 8 slots, at most the 16-bit
// limit). 1 when the array is full or memory is short.
uint16_t SemArray::grow() {
  if (capacity == UINT16_MAX) return 1;
  uint32_t wanted = capacity < 8 ? 8 : uint32_t(capacity) + capacity / 2;
  if (wanted > UINT16_MAX) wanted = UINT16_MAX;
  void* bigger = realloc(elements, wanted * sizeof(VxObject*));
  if (!bigger) return 1;
  elements = static_cast<VxObject**>(bigger);
  capacity = uint16_t(wanted);
  return 0;
}

uint16_t SemArray::add(VxObject* element) { return addAtIndex(element, count); }

uint16_t SemArray::addAtIndex(VxObject* element, uint16_t index) {
  if (count == capacity && grow() != 0) return 1;
  memmove(elements + index + 1, elements + index, (count - index) * sizeof(VxObject*));
  elements[index] = element;
  ++count;
  return 0;
}

VxObject* SemArray::removeAtIndex(uint16_t index) {
  VxObject* element = elements[index];
  memmove(elements + index, elements + index + 1, (count - index - 1) * sizeof(VxObject*));
  --count;
  return element;
}

void SemArray::deleteAtIndex(uint16_t index) { delete removeAtIndex(index); }

void SemArray::deleteContents() {
  for (uint16_t i = 0; i < count; ++i) delete elements[i];
  count = 0;
}

VxSemaphoreInfo::~VxSemaphoreInfo() {
  for (uint16_t i = 0; i < numberOfSets; ++i) semctl(sets[i].id, 0, IPC_RMID);
  for (uint16_t i = owned.getCount(); i > 0; --i) owned.deleteAtIndex(uint16_t(i - 1));
}

uint16_t VxSemaphoreInfo::addSet(int id, uint16_t held, uint16_t used) {
  if (numberOfSets == kMaxSets) return 1;
  sets[numberOfSets++] = SemaphoreSet{id, held, used};
  return 0;
}

uint16_t VxSemaphoreInfo::availableSemaphore() const {
  for (uint16_t i = 0; i < numberOfSets; ++i) {
    if (sets[i].used < sets[i].held) return 1;
  }
  return 0;
}

void VxSemaphoreInfo::remove(VxSemaphore* semaphore) {
  for (uint16_t i = 0; i < owned.getCount(); ++i) {
    if (owned.at(i) == semaphore) {
      owned.removeAtIndex(i);
      return;
    }
  }
}
