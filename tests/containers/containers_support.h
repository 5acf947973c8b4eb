// Helpers shared by the container tests: an element that counts its own
// destruction (so ownership rules can be observed), a view into VxArray's
// storage, a hash set of test items, and a fixture that gives each test an
// error list and disarms the allocation-failure hook afterwards.
#ifndef VX_TESTS_CONTAINERS_CONTAINERS_SUPPORT_H_
#define VX_TESTS_CONTAINERS_CONTAINERS_SUPPORT_H_

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "containers/vxarray.h"
#include "containers/vxlist.h"
#include "containers/vxset.h"
#include "containers/vxstring.h"
#include "foundation/ram_internal.h"
#include "foundation/vxerror.h"

namespace vxtest {

// Ordered by key; id tells equal keys apart; bumps *deaths when destroyed.
// A VxNode, so that lists can hold it as well as arrays and dictionaries.
struct Counted : VxNode {
  Counted(int key, int* deaths, int id = 0) : key(key), id(id), deaths(deaths) {}
  ~Counted() override { if (deaths != nullptr) ++*deaths; }
  int16_t compare(const VxObject* o) const override { return int16_t((key > static_cast<const Counted*>(o)->key) - (key < static_cast<const Counted*>(o)->key)); }
  int key, id;
  int* deaths;
};

// A heap string key that counts its destruction.
struct CountedString : VxString {
  CountedString(const char* text, int* deaths) : deaths(deaths) { initialize(text); }
  ~CountedString() override { ++*deaths; }
  int* deaths;
};

// A VxArray whose storage the tests can see, and lend a vector to.
struct ArrayProbe : VxArray {
  VxArraySlot* storage() const { return elements; }
  bool ownsStorage() const { return (flags & kOwnsStorage) != 0; }
  void setDeleteAllSlots() { flags |= kDeleteAllSlots; }
  void borrow(VxArraySlot* slots, VXSIZE_T n) { elements = slots, capacity = n; }
};

// Items whose hash the test chooses, equal when their ids are.
struct Item { VXSIZE_T hash; int id; };
struct ItemSet : VxSet {
  VXSIZE_T doHash(void* item) override { return static_cast<Item*>(item)->hash; }
  int areEqual(void* stored, void* item) override { return static_cast<Item*>(stored)->id == static_cast<Item*>(item)->id; }
  // The item stored for one equal to `item`, or null.
  void* find(Item* item) { return at(findIndexOf(item)); }
};

class ContainerTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(0u, VxErrorKeeper::setErrorList(&errors_)); }
  void TearDown() override { ramFailAllocationAfter(0), VxErrorKeeper::giveUpErrorList(); }
  static std::string text(const VxSubString& s) {
    return s.getLength() == 0 ? std::string() : std::string(s.asPascalStr(), s.getLength());
  }
  int deaths = 0;
  VxErrorList errors_{nullptr, VxErrorList::kSupportMultipleErrors};
};

}  // namespace vxtest

#endif  // VX_TESTS_CONTAINERS_CONTAINERS_SUPPORT_H_
