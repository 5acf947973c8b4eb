// VxArray and VxArrayPVoid: storage management, insertion and removal.
#include "containers/vxarray.h"

#include <cstdint>
#include <cstdlib>

#include "foundation/ram.h"

namespace {

// The most slots whose byte count fits a size_t; more cannot be allocated
// (their size would wrap around to a small block).
const VXSIZE_T kMaxSlots = SIZE_MAX / sizeof(VxArraySlot);

// A slot vector of n slots from the library heap: zero-filled when zeroed
// is true. At least one byte is requested so that n == 0 still yields a
// block. Null when the heap is exhausted or n exceeds kMaxSlots.
VxArraySlot* allocateSlots(VXSIZE_T n, bool zeroed) {
  if (n > kMaxSlots) return nullptr;
  return static_cast<VxArraySlot*>(
      operator new(n * sizeof(VxArraySlot), RamInitType(zeroed ? 0 : 1)));
}

}  // namespace

VxArray::VxArray() : elements(nullptr), capacity(0), count(0), growBy(16), flags(0) {}

VxArray::~VxArray() {
  if (flags & kDeleteContentsOnDestruct) deleteContents();
  releaseStorage();
}

void VxArray::releaseStorage() {
  if (elements != nullptr && (flags & kOwnsStorage)) free(elements);
}

unsigned VxArray::setInitialSize(uint16_t n) {
  VxArraySlot* fresh = allocateSlots(n, true);
  if (fresh == nullptr) return 1;
  elements = fresh;
  capacity = n;
  flags |= kOwnsStorage;
  return 0;
}

unsigned VxArray::add(const VxObject* item) { return addAtIndex(item, count); }

unsigned VxArray::addAtIndex(const VxObject* item, VXSIZE_T index) {
  VxArraySlot slot;
  slot.object = const_cast<VxObject*>(item);
  return insertSlot(slot, index);
}

unsigned VxArray::insertSlot(VxArraySlot slot, VXSIZE_T index) {
  if (count == capacity && increaseSize(growBy, 1, 0) != 0) return 1;
  for (VXSIZE_T i = count; i > index; --i) elements[i] = elements[i - 1];
  elements[index] = slot;
  ++count;
  return 0;
}

void VxArray::push(const VxObject* item) { elements[count++].object = const_cast<VxObject*>(item); }

void VxArray::removeAtIndex(VXSIZE_T index) {
  for (VXSIZE_T i = index + 1; i < count; ++i) elements[i - 1] = elements[i];
  --count;
}

void VxArray::deleteAtIndex(VXSIZE_T index) {
  delete elements[index].object;
  removeAtIndex(index);
}

void VxArray::deleteContents() {
  VXSIZE_T end = (flags & kDeleteAllSlots) ? capacity : count;
  for (VXSIZE_T i = 0; i < end; ++i) {
    delete elements[i].object;
    elements[i].object = nullptr;
  }
  count = 0;
}

// Growth. The new capacity is capacity + increment, or twice the capacity
// when increment is 0; with the default growBy a growing array therefore
// has 16, 32, 48, ... slots (linear, not geometric).
//
// Copy mode allocates first and gives up with the array untouched when that
// fails; it copies the old capacity slots, zeroes the new ones, and either
// releases an owned vector or takes ownership from a borrowed one.
//
// Fresh mode releases the old (owned) vector before allocating, so on
// failure the old contents are already gone and the array has no storage
// (deliberate: fresh growth is asked for by callers that discard the
// contents anyway). The new vector is zeroed entirely.
unsigned VxArray::increaseSize(VXSIZE_T increment, int copy, int flag) {
  VXSIZE_T newCapacity = increment != 0 ? capacity + increment : capacity * 2;
  VxArraySlot* fresh;
  if (copy != 0) {
    fresh = allocateSlots(newCapacity, false);
    if (fresh == nullptr) return 1;
    for (VXSIZE_T i = 0; i < capacity; ++i) fresh[i] = elements[i];
    for (VXSIZE_T i = capacity; i < newCapacity; ++i) fresh[i].value = 0;
    releaseStorage();
  } else {
    releaseStorage();
    elements = nullptr;
    capacity = 0;
    fresh = allocateSlots(newCapacity, true);
    if (fresh == nullptr) return 1;
  }
  flags |= kOwnsStorage;
  elements = fresh;
  capacity = newCapacity;
  return 0;
}

unsigned VxArray::resize(VXSIZE_T newCapacity, int copy) {
  return increaseSize(newCapacity - capacity, copy, 0);
}

// A borrowed vector is never reallocated: the array cannot resize memory
// it did not allocate, so it only narrows its view of it. A failed
// reallocation leaves the array as it was.
unsigned VxArray::shrink(VXSIZE_T n) {
  if (n == 0) {
    releaseStorage();
    elements = nullptr;
  } else if ((flags & kOwnsStorage) &&
             (n > kMaxSlots || ramResize(&elements, n * sizeof(VxArraySlot)))) {
    return 1;
  }
  capacity = n;
  count = n;
  return 0;
}

int VxArray::doesExist(const VxObject* item) const {
  for (VXSIZE_T i = 0; i < count; ++i) {
    if (elements[i].object == item) return 1;
  }
  return 0;
}

VxArrayPVoid::~VxArrayPVoid() {
  if (flags & kDeleteContentsOnDestruct) deleteContents();
}

void VxArrayPVoid::deleteContents() {
  VXSIZE_T end = (flags & kDeleteAllSlots) ? capacity : count;
  for (VXSIZE_T i = 0; i < end; ++i) {
    free(elements[i].pointer);
    elements[i].pointer = nullptr;
  }
  count = 0;
}

void VxArrayPVoid::deleteAtIndex(VXSIZE_T index) {
  free(elements[index].pointer);
  removeAtIndex(index);
}
