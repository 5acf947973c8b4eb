// VxSortedArray: a VxArray of VxObject pointers kept in the order of the
// elements' own compare(); VxSortedArrayVXSIZE_T: the same for unsigned
// word values.
//
// Equal keys are inserted after every element they equal, so elements with
// equal keys stay in arrival order. VxSortedArray can suspend ordering:
// stopSort() until the next resort(), sortOnRequest() for good (the owner
// calls resort() after each batch); while suspended, add() appends.
//
// Ownership, thread-safety and failure reporting are those of VxArray:
// growth failures return 1 with the array unchanged; resort() returns the
// status of the in-memory sort.
#ifndef VX_CONTAINERS_VXSORTED_H_
#define VX_CONTAINERS_VXSORTED_H_

#include <cstdint>

#include "containers/vxarray.h"
#include "foundation/vxexport.h"
#include "foundation/vxtypes.h"

class VX_EXPORT VxSortedArray : public VxArray {
 public:
  // As VxArray; ordering is on.
  VxSortedArray() = default;

  // Appends while the array is empty or ordering is suspended; otherwise
  // inserts after the last element equal to item, or at item's place when
  // there is none. Returns 1, array unchanged, if growth fails.
  unsigned add(VxObject* item);

  // Binary search with key->compare(element). Returns 1 with pos at an
  // equal element (any one of several equal), else 0 with pos at the
  // insertion point. Meaningful only while the array is ordered.
  int findIndexOf(const VxObject* key, VXSIZE_T& pos) const;
  // Starting at start (an index holding an element equal to key), the last
  // index of the run of elements that key->compare() calls equal.
  VXSIZE_T findIndexOfLastKey(const VxObject* key, VXSIZE_T start) const;
  // Linear scan from index 0: 1 with pos at the first element whose
  // compare(key) is 0, else 0 with pos untouched. Works while unordered.
  int seqFindIndexOf(const VxObject* key, VXSIZE_T& pos) const;

  // add() appends until the next resort().
  void stopSort() { flags |= kSortStopped; }
  // add() appends for good; the owner calls resort() after each batch.
  void sortOnRequest() { flags |= kSortOnRequest; }
  // Clears stopSort and orders the elements (realResort when there are at
  // least 2). Returns 0, or 1 if the sort fails.
  unsigned resort();
  // Orders the slot vector in place with the in-memory record sort, each
  // slot a record whose one key is the object it points to. Not stable.
  unsigned realResort();

  // Removes and destroys every element equal to its predecessor; returns
  // the final scan index (the new count when the array was not empty).
  VXSIZE_T deleteDuplicates();
  // The same, but the duplicates are only dropped from the array.
  VXSIZE_T removeDuplicates();
};

class VX_EXPORT VxSortedArrayVXSIZE_T : public VxArrayVXSIZE_T {
 public:
  VxSortedArrayVXSIZE_T() = default;

  // Always inserts in order (after equal values); there is no suspended
  // mode here, unlike VxSortedArray (deliberate). Returns 1, array
  // unchanged, if growth fails.
  unsigned add(VXSIZE_T value);
  // As VxSortedArray::findIndexOf, over the values.
  int findIndexOf(VXSIZE_T key, VXSIZE_T& pos) const;
  // As VxSortedArray::findIndexOfLastKey, over the values.
  VXSIZE_T findIndexOfLastKey(VXSIZE_T key, VXSIZE_T start) const;

  // -1, 0 or 1 as a is below, equal to or above b (unsigned).
  int16_t compare(VXSIZE_T a, VXSIZE_T b) const { return a < b ? -1 : (a > b ? 1 : 0); }
  using VxObject::compare;
};

#endif  // VX_CONTAINERS_VXSORTED_H_
