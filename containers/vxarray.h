// VxArray: the library's growable vector of one-word slots.
//
// A slot holds either a VxObject pointer (VxArray itself), an untyped heap
// block (VxArrayPVoid) or an integer value stored directly in the word
// (VxArrayVXSIZE_T, VxArrayVXSSIZE_T, VxArrayS32, VxArrayU32).
//
// Ownership: the array owns its slot vector when it allocated it. It does
// not own the elements unless setDeleteContentsOnDestruct() was called; the
// value arrays never destroy anything.
//
// Growth is linear: a full array grows by growBy slots (16 by default), so
// a growing array has 16, 32, 48, ... slots. Growth never changes count.
//
// Thread-safety: none; an array is used by one thread at a time.
//
// Failure: growing operations return 1 when an allocation fails and 0 on
// success. In copy mode (and so in add/addAtIndex) a failed growth leaves
// the array exactly as it was. Indexes are never checked against count or
// capacity: callers keep them in range.
#ifndef VX_CONTAINERS_VXARRAY_H_
#define VX_CONTAINERS_VXARRAY_H_

#include <cstdint>

#include "foundation/vxexport.h"
#include "foundation/vxobject.h"
#include "foundation/vxtypes.h"

// One machine word of an array's storage, seen as whichever content the
// array's type keeps there. The 32-bit members alias the low half of the
// word (the library runs on little-endian x86-64 only).
union VxArraySlot {
  VxObject* object;
  void* pointer;
  VXSIZE_T value;
  VXSSIZE_T signedValue;
  int32_t s32;
  uint32_t u32;
};

class VX_EXPORT VxArray : public VxObject {
 public:
  // Empty: no storage, capacity 0, count 0, growBy 16, no flags.
  VxArray();
  // Destroys the elements when setDeleteContentsOnDestruct() was called,
  // then releases an owned slot vector.
  ~VxArray() override;

  VxArray(const VxArray&) = delete;
  VxArray& operator=(const VxArray&) = delete;

  // Allocates n zeroed slots and makes them the array's owned storage. Meant
  // for a fresh array: a previous vector is not released. count and growBy
  // are untouched. Returns 1 if the allocation fails.
  unsigned setInitialSize(uint16_t n);

  // Appends item (addAtIndex at count). Returns 1 if growth fails.
  unsigned add(const VxObject* item);
  // Grows by growBy slots when full (copy mode), moves slots index..count-1
  // one place up and stores item at index. Returns 1, array unchanged, if
  // growth fails.
  unsigned addAtIndex(const VxObject* item, VXSIZE_T index);
  // Stores item at count and increments count WITHOUT a capacity check:
  // only for arrays whose room was reserved beforehand (deliberate: it is
  // the fast path of stacks).
  void push(const VxObject* item);

  // Moves slots index+1..count-1 one place down; the element is not
  // destroyed.
  void removeAtIndex(VXSIZE_T index);
  // Destroys a non-null element at index, then removes its slot.
  void deleteAtIndex(VXSIZE_T index);
  // Destroys every non-null element in 0..count-1 (0..capacity-1 when the
  // all-slots flag is set), nulls the slots and sets count to 0. Storage
  // and capacity stay.
  void deleteContents();
  // count = 0; nothing is destroyed or released.
  void reset() { count = 0; }
  // count = n without touching any slot.
  void setNextIndex(VXSIZE_T n) { count = n; }

  // Grows the storage to capacity + increment slots, or to twice the
  // capacity when increment is 0. copy != 0 keeps the elements (returns 1
  // with the array unchanged if allocation fails); copy == 0 discards them
  // and releases the old vector before allocating the new one (so a
  // failure leaves no storage at all: deliberate). The third argument is
  // ignored. count never changes.
  unsigned increaseSize(VXSIZE_T increment, int copy, int flag);
  // increaseSize(newCapacity - capacity, copy, 0) in unsigned arithmetic:
  // asking for the current capacity doubles it. Meant for growing.
  unsigned resize(VXSIZE_T newCapacity, int copy);
  // Sets capacity and count to n. n == 0 releases an owned vector; any
  // other n reallocates an owned vector to n slots (status of the
  // reallocation) and leaves a borrowed one as it is.
  unsigned shrink(VXSIZE_T n);

  // 1 if some slot in 0..count-1 holds exactly this pointer, else 0.
  int doesExist(const VxObject* item) const;

  VxObject* at(VXSIZE_T index) const { return elements[index].object; }
  VxObject*& operator[](VXSIZE_T index) { return elements[index].object; }
  VxObject*& operator[](int index) { return elements[index].object; }
  VxObject*& operator[](uint16_t index) { return elements[index].object; }

  VXSIZE_T getCount() const { return count; }
  VXSIZE_T getSizeOfArray() const { return capacity; }

  // From now on the destructor destroys the elements.
  void setDeleteContentsOnDestruct() { flags |= kDeleteContentsOnDestruct; }

 protected:
  // Flag bits.
  static constexpr uint8_t kDeleteContentsOnDestruct = 0x01;
  static constexpr uint8_t kDeleteAllSlots = 0x02;
  static constexpr uint8_t kOwnsStorage = 0x04;
  static constexpr uint8_t kSortStopped = 0x08;
  static constexpr uint8_t kSortOnRequest = 0x10;

  // Stores a raw word at index after making room (the shared body of every
  // add form). Returns 1, array unchanged, if growth fails.
  unsigned insertSlot(VxArraySlot slot, VXSIZE_T index);
  // Releases the slot vector if the array owns it (storage pointer kept).
  void releaseStorage();

  // Storage state.
  VxArraySlot* elements;  // null until the first growth
  VXSIZE_T capacity;      // slots allocated
  VXSIZE_T count;         // slots in use; where the next add or push writes
  uint16_t growBy;        // slots added when a full array grows
  uint8_t flags;
};

// Slots hold blocks obtained with plain allocation; destroying the contents
// releases the blocks without running any destructor.
class VX_EXPORT VxArrayPVoid : public VxArray {
 public:
  VxArrayPVoid() = default;
  // Releases the blocks when setDeleteContentsOnDestruct() was called.
  ~VxArrayPVoid() override;

  unsigned add(void* block) {
    VxArraySlot slot;
    slot.pointer = block;
    return insertSlot(slot, count);
  }
  void* at(VXSIZE_T index) const { return elements[index].pointer; }
  void*& operator[](VXSIZE_T index) { return elements[index].pointer; }
  void*& operator[](int index) { return elements[index].pointer; }
  void*& operator[](uint16_t index) { return elements[index].pointer; }

  // Releases every non-null block in the range deleteContents covers,
  // nulls the slots and sets count to 0.
  void deleteContents();
  // Releases the block at index and removes its slot.
  void deleteAtIndex(VXSIZE_T index);
};

// The value arrays: each slot holds a number directly. They offer the same
// interface for their element type T; none of them ever destroys contents.
// pop() and top() assume a non-empty array.
#define VX_DECLARE_VALUE_ARRAY(Name, T, member)                                              \
  class VX_EXPORT Name : public VxArray {                                                  \
   public:                                                                                 \
    Name() = default;                                                                      \
    unsigned add(T value) { return addAtIndex(value, count); }                             \
    unsigned addAtIndex(T value, VXSIZE_T index) {                                         \
      VxArraySlot slot;                                                                    \
      slot.value = 0;                                                                      \
      slot.member = value;                                                                 \
      return insertSlot(slot, index);                                                      \
    }                                                                                      \
    /* no capacity check, as VxArray::push */                                              \
    void push(T value) {                                                                   \
      elements[count].value = 0;                                                           \
      elements[count++].member = value;                                                    \
    }                                                                                      \
    T& pop() { return elements[--count].member; }                                          \
    T& top() { return elements[count - 1].member; }                                        \
    T at(VXSIZE_T index) const { return elements[index].member; }                          \
    T& operator[](VXSIZE_T index) { return elements[index].member; }                       \
    T& operator[](int index) { return elements[index].member; }                            \
    T& operator[](uint16_t index) { return elements[index].member; }                       \
  }

VX_DECLARE_VALUE_ARRAY(VxArrayVXSIZE_T, VXSIZE_T, value);
VX_DECLARE_VALUE_ARRAY(VxArrayVXSSIZE_T, VXSSIZE_T, signedValue);
VX_DECLARE_VALUE_ARRAY(VxArrayS32, int32_t, s32);
VX_DECLARE_VALUE_ARRAY(VxArrayU32, uint32_t, u32);

#undef VX_DECLARE_VALUE_ARRAY

#endif  // VX_CONTAINERS_VXARRAY_H_
