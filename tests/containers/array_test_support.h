// Helpers shared by the array tests: an element that counts its own
// destruction and orders by a key, and a view into VxArray's storage state.
#ifndef VX_TESTS_CONTAINERS_ARRAY_TEST_SUPPORT_H_
#define VX_TESTS_CONTAINERS_ARRAY_TEST_SUPPORT_H_

#include <cstdint>

#include "containers/vxarray.h"
#include "foundation/vxobject.h"

namespace vxtest {

// Ordered by key; id tells equal keys apart; bumps *destroyed when deleted.
class Counted : public VxObject {
 public:
  Counted(int key, int* destroyed, int id = 0) : key(key), id(id), destroyed(destroyed) {}
  ~Counted() override { ++*destroyed; }
  int16_t compare(const VxObject* other) const override {
    int k = static_cast<const Counted*>(other)->key;
    return key < k ? -1 : (key > k ? 1 : 0);
  }
  int key;
  int id;

 private:
  int* destroyed;
};

// A VxArray whose storage fields the tests can read and set.
class ArrayProbe : public VxArray {
 public:
  VxArraySlot* storage() const { return elements; }
  uint16_t growStep() const { return growBy; }
  uint8_t flagBits() const { return flags; }
  bool ownsStorage() const { return (flags & kOwnsStorage) != 0; }
  void setDeleteAllSlots() { flags |= kDeleteAllSlots; }
  // Places a caller's vector of n slots in an empty array, not owned.
  void borrow(VxArraySlot* slots, VXSIZE_T n) {
    elements = slots;
    capacity = n;
  }
};

}  // namespace vxtest

#endif  // VX_TESTS_CONTAINERS_ARRAY_TEST_SUPPORT_H_
