// VxSortedArray and VxSortedArrayVXSIZE_T: ordered insertion, binary
// search, re-sorting and duplicate removal.
#include "containers/vxsorted.h"

#include "storage/sort.h"

// Binary search, shared in shape by both sorted arrays. compareAt(i) is the
// key's comparison with slot i (negative: the key sorts before it).
//  1. An empty array, or a key below slot 0: pos 0, not found.
//  2. Halve lo..hi; an equal slot ends the search with pos at it (any one
//     of several equal slots, not necessarily the first).
//  3. Otherwise pos is the last probe if the key sorted before it, else one
//     past it: the insertion point.
template <typename CompareAt>
static int binarySearch(VXSIZE_T count, const CompareAt& compareAt, VXSIZE_T& pos) {
  if (count == 0 || compareAt(0) < 0) {
    pos = 0;
    return 0;
  }
  VXSIZE_T lo = 0;
  VXSIZE_T hi = count - 1;
  VXSIZE_T mid = 0;
  int16_t c = 0;
  while (lo <= hi) {
    mid = lo + (hi - lo) / 2;
    c = compareAt(mid);
    if (c == 0) {
      pos = mid;
      return 1;
    }
    if (c < 0) {
      if (mid == 0) break;  // only an inconsistent compare gets here
      hi = mid - 1;
    } else {
      lo = mid + 1;
    }
  }
  pos = c < 0 ? mid : mid + 1;
  return 0;
}

unsigned VxSortedArray::add(VxObject* item) {
  if (count == 0 || (flags & (kSortStopped | kSortOnRequest))) return VxArray::add(item);
  VXSIZE_T pos;
  if (findIndexOf(item, pos)) pos = findIndexOfLastKey(item, pos) + 1;
  return addAtIndex(item, pos);
}

int VxSortedArray::findIndexOf(const VxObject* key, VXSIZE_T& pos) const {
  return binarySearch(
      count, [&](VXSIZE_T i) { return key->compare(elements[i].object); }, pos);
}

VXSIZE_T VxSortedArray::findIndexOfLastKey(const VxObject* key, VXSIZE_T start) const {
  VXSIZE_T last = start;
  while (last + 1 < count && key->compare(elements[last + 1].object) == 0) ++last;
  return last;
}

int VxSortedArray::seqFindIndexOf(const VxObject* key, VXSIZE_T& pos) const {
  for (VXSIZE_T i = 0; i < count; ++i) {
    if (elements[i].object->compare(key) == 0) {
      pos = i;
      return 1;
    }
  }
  return 0;
}

unsigned VxSortedArray::resort() {
  flags &= ~kSortStopped;
  if (count < 2) return 0;
  return realResort();
}

// Each slot is an 8-byte record whose single key is the object pointer it
// holds, so the sort orders two slots by the first object's compare()
// applied to the second, exchanging the slots in place.
unsigned VxSortedArray::realResort() {
  VxSort sort(sizeof(VxArraySlot));
  sort.addKey(VxSortKey::kObject, 0, sizeof(VxArraySlot));
  sort.setBuf(count, elements);
  return sort.sortBuf();
}

VXSIZE_T VxSortedArray::deleteDuplicates() {
  VXSIZE_T i = 1;
  while (i < count) {
    if (elements[i - 1].object->compare(elements[i].object) == 0)
      deleteAtIndex(i);
    else
      ++i;
  }
  return i;
}

VXSIZE_T VxSortedArray::removeDuplicates() {
  VXSIZE_T i = 1;
  while (i < count) {
    if (elements[i - 1].object->compare(elements[i].object) == 0)
      removeAtIndex(i);
    else
      ++i;
  }
  return i;
}

unsigned VxSortedArrayVXSIZE_T::add(VXSIZE_T value) {
  VXSIZE_T pos;
  if (findIndexOf(value, pos)) pos = findIndexOfLastKey(value, pos) + 1;
  return addAtIndex(value, pos);
}

int VxSortedArrayVXSIZE_T::findIndexOf(VXSIZE_T key, VXSIZE_T& pos) const {
  return binarySearch(
      count, [&](VXSIZE_T i) { return compare(key, elements[i].value); }, pos);
}

VXSIZE_T VxSortedArrayVXSIZE_T::findIndexOfLastKey(VXSIZE_T key, VXSIZE_T start) const {
  VXSIZE_T last = start;
  while (last + 1 < count && compare(key, elements[last + 1].value) == 0) ++last;
  return last;
}
