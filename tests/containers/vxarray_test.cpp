// The arrays', sorted arrays' and list's deliberate quirks and failure
// reports; their ordinary behaviour is checked against std:: models in
// container_model_test.cpp.
#include "containers/vxarray.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <vector>

#include "containers/vxsorted.h"
#include "containers_support.h"

namespace {

using vxtest::ArrayProbe;
using vxtest::Counted;
using ArrayTest = vxtest::ContainerTest;

TEST_F(ArrayTest, PushNeverGrowsDeliberatelyAndResetTouchesNoSlot) {
  // A vector of four slots of which the array is told only two exist.
  VxArraySlot borrowed[4] = {};
  Counted x(1, &deaths), y(2, &deaths);
  ArrayProbe a;
  a.borrow(borrowed, 2);
  a.push(&x);
  a.push(&y);
  a.push(&x);
  EXPECT_EQ(3u, a.getCount());
  EXPECT_EQ(2u, a.getSizeOfArray());
  EXPECT_EQ(&x, borrowed[2].object);
  a.reset();
  EXPECT_EQ(0u, a.getCount());
  a.setNextIndex(2);
  EXPECT_EQ(&y, a.at(1));
  ASSERT_EQ(0u, a.add(&y));  // full: copy growth takes over the borrowed vector
  EXPECT_NE(borrowed, a.storage());
  EXPECT_TRUE(a.ownsStorage());
  EXPECT_EQ(18u, a.getSizeOfArray());
  EXPECT_EQ(&y, a.at(2));
  EXPECT_EQ(0, deaths);
}

TEST_F(ArrayTest, ElementsAreDestroyedOnlyWhenAsked) {
  {
    ArrayProbe a;
    a.add(new Counted(1, &deaths));
    a.add(new Counted(2, &deaths));
    a.add(nullptr);
    a.setNextIndex(1);  // the second element lies beyond the count now
    a.setDeleteAllSlots();
    a.deleteContents();
    EXPECT_EQ(2, deaths);
    Counted x(1, &deaths);
    a.add(&x);
  }
  EXPECT_EQ(3, deaths);  // x itself, at the end of its scope
  {
    VxArray a;
    a.setDeleteContentsOnDestruct();
    a.add(new Counted(1, &deaths));
  }
  EXPECT_EQ(4, deaths);
  VxArrayPVoid blocks;  // plain blocks are released, checked by the leak sanitizer
  ASSERT_EQ(0u, blocks.add(malloc(8)));
  blocks.add(nullptr);
  blocks.deleteAtIndex(0);
  EXPECT_EQ(nullptr, blocks[0]);
  blocks.add(malloc(4));
  blocks.deleteContents();
  EXPECT_EQ(nullptr, blocks.at(1));
  blocks.setDeleteContentsOnDestruct();
  blocks.add(malloc(32));
}

// Sizing: each row acts on an array holding one element in 16 slots (or
// none when `empty`) and gives the capacity and count it leaves.
TEST_F(ArrayTest, SizingCallsSetCapacityAndCountAsDocumented) {
  struct Row {
    const char* what;
    bool empty;
    std::function<unsigned(ArrayProbe&)> run;
    VXSIZE_T capacity, count;
    bool keepsElement;
  };
  const Row rows[] = {
      {"setInitialSize zeroes its slots", true, [](ArrayProbe& a) { return a.setInitialSize(5); }, 5, 0, false},
      {"setInitialSize(0) still allocates", true, [](ArrayProbe& a) { return a.setInitialSize(0) + (a.storage() == nullptr); }, 0, 0, false},
      {"copy growth", false, [](ArrayProbe& a) { return a.increaseSize(4, 1, 0); }, 20, 1, true},
      {"a zero increment doubles", false, [](ArrayProbe& a) { return a.increaseSize(0, 1, 0); }, 32, 1, true},
      {"fresh growth discards the elements", false, [](ArrayProbe& a) { return a.increaseSize(16, 0, 0); }, 32, 1, false},
      {"resize to the capacity doubles it", false, [](ArrayProbe& a) { return a.resize(16, 1); }, 32, 1, true},
      {"resize", false, [](ArrayProbe& a) { return a.resize(40, 1); }, 40, 1, true},
      {"shrink sets capacity and count", false, [](ArrayProbe& a) { return a.shrink(3); }, 3, 3, true},
      {"shrink(0) releases", false, [](ArrayProbe& a) { return a.shrink(0) + (a.storage() != nullptr); }, 0, 0, false},
  };
  Counted x(1, &deaths);
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    ArrayProbe a;
    if (!row.empty) a.add(&x);
    ASSERT_EQ(0u, row.run(a));
    EXPECT_EQ(row.capacity, a.getSizeOfArray());
    EXPECT_EQ(row.count, a.getCount());
    for (VXSIZE_T i = 0; i < a.getSizeOfArray(); ++i) EXPECT_EQ(i == 0 && row.keepsElement ? &x : nullptr, a[i]) << i;
    ASSERT_EQ(0u, a.add(&x));  // and growth goes on from there
    EXPECT_EQ(row.capacity == a.getCount() - 1 ? row.capacity + 16 : row.capacity, a.getSizeOfArray());
  }
  VxArraySlot borrowed[8] = {};
  ArrayProbe b;
  b.borrow(borrowed, 8);
  ASSERT_EQ(0u, b.shrink(4));  // a borrowed vector stays in place
  EXPECT_EQ(borrowed, b.storage());
  EXPECT_EQ(4u, b.getSizeOfArray());
}

// Every growth of a full array fails with status 1 and leaves the array as
// it was: when the allocation fails, or when the size cannot be addressed
// (2^61 slots are 2^64 bytes, a size that would wrap to 0).
TEST_F(ArrayTest, FailedGrowthLeavesTheArrayAsItWas) {
  Counted x(1, &deaths), y(2, &deaths);
  const std::vector<std::pair<bool, std::function<unsigned(ArrayProbe&)>>> rows = {
      {true, [&](ArrayProbe& a) { return a.add(&x); }},
      {true, [&](ArrayProbe& a) { return a.addAtIndex(&x, 0); }},
      {true, [](ArrayProbe& a) { return a.increaseSize(8, 1, 0); }},
      {true, [](ArrayProbe& a) { return a.resize(64, 1); }},
      {true, [](ArrayProbe& a) { return a.shrink(100); }},  // a "shrink" that grows
      {false, [](ArrayProbe& a) { return a.increaseSize(VXSIZE_T{1} << 61, 1, 0); }},
      {false, [](ArrayProbe& a) { return a.shrink(VXSIZE_T{1} << 61); }},
  };
  for (size_t r = 0; r < rows.size(); ++r) {
    ArrayProbe a;
    for (int i = 0; i < 16; ++i) a.add(i == 0 ? &y : &x);
    VxArraySlot* before = a.storage();
    ramFailAllocationAfter(rows[r].first ? 1 : 0);
    EXPECT_EQ(1u, rows[r].second(a)) << r;
    EXPECT_EQ(before, a.storage()) << r;
    EXPECT_EQ(16u, a.getSizeOfArray()) << r;
    EXPECT_EQ(16u, a.getCount()) << r;
    EXPECT_EQ(&y, a.at(0)) << r;
  }
  ArrayProbe empty, sized, fresh;
  ramFailAllocationAfter(1);
  EXPECT_EQ(1u, empty.add(&x));
  EXPECT_EQ(0u, empty.getSizeOfArray() + empty.getCount());
  ramFailAllocationAfter(1);
  EXPECT_EQ(1u, sized.setInitialSize(8));
  EXPECT_EQ(nullptr, sized.storage());
  fresh.add(&x);
  ramFailAllocationAfter(1);
  EXPECT_EQ(1u, fresh.increaseSize(16, 0, 0));  // deliberately loses the old vector first
  EXPECT_EQ(nullptr, fresh.storage());
  EXPECT_EQ(0u, fresh.getSizeOfArray());
  VxArrayU32 u;
  VxSortedArray s;
  VxSortedArrayVXSIZE_T w;
  for (uint32_t k = 0; k < 16; ++k) u.add(k), s.add(&x), w.add(k);
  for (int kind = 0; kind < 3; ++kind) {
    ramFailAllocationAfter(1);
    EXPECT_EQ(1u, kind == 0 ? u.add(99) : kind == 1 ? s.add(&y) : w.add(5)) << kind;
  }
  EXPECT_EQ(16u, u.getCount() + s.getCount() + w.getCount() - 32);
  EXPECT_EQ(6u, w.at(6));
}

TEST_F(ArrayTest, RemovingDuplicatesKeepsThemAliveAndReturnsOneWhenEmpty) {
  VxSortedArray a;
  // On an empty array the result is the final scan index, which starts at 1.
  EXPECT_EQ(1u, a.deleteDuplicates());
  EXPECT_EQ(1u, a.removeDuplicates());
  Counted one(1, &deaths), again(1, &deaths), two(2, &deaths);
  for (Counted* c : {&one, &again, &again, &two}) a.add(c);
  EXPECT_EQ(2u, a.removeDuplicates());
  EXPECT_EQ(&one, a.at(0));
  EXPECT_EQ(&two, a.at(1));
  EXPECT_EQ(0, deaths);
}

TEST_F(ArrayTest, ListPositionsWrapAt65536AndTheListOwnsNoNode) {
  std::vector<Counted> nodes;
  nodes.reserve(65537);
  for (int i = 0; i < 65537; ++i) nodes.emplace_back(i, nullptr);
  {
    VxList list;
    for (Counted& node : nodes) list.append(&node);
    EXPECT_EQ(&nodes[65535], list.getNodeAtPos(65535));
    EXPECT_EQ(&nodes[0], list.getNodeAtPos(65536));  // a deliberate 16-bit step counter
    EXPECT_EQ(&nodes[3], list.getNodeAtPos(65539));
  }
  EXPECT_EQ(&nodes[1], nodes[0].next);  // the destructor leaves the ring alone
  Counted copy(0, nullptr);
  copy.next = nullptr;
  copy = nodes[0];
  EXPECT_EQ(nullptr, copy.next);  // a copy is not linked
}

}  // namespace
