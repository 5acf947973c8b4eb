// The arrays', sorted arrays' and list's deliberate quirks and failure
// reports; their ordinary behaviour is checked against std:: models in
// container_model_test.cpp.
#include "containers/vxarray.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <tuple>
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
  for (Counted* c : {&x, &y, &x}) a.push(c);
  EXPECT_EQ(std::make_tuple(VXSIZE_T{3}, VXSIZE_T{2}, &x), std::make_tuple(a.getCount(), a.getSizeOfArray(), borrowed[2].object));
  a.reset();
  EXPECT_EQ(0u, a.getCount());
  a.setNextIndex(2);
  EXPECT_EQ(&y, a.at(1));
  ASSERT_EQ(0u, a.add(&y));  // full: copy growth takes over the borrowed vector
  EXPECT_NE(borrowed, a.storage());
  EXPECT_EQ(std::make_tuple(true, VXSIZE_T{18}, &y), std::make_tuple(a.ownsStorage(), a.getSizeOfArray(), a.at(2)));
}

TEST_F(ArrayTest, ElementsAreDestroyedOnlyWhenAsked) {
  Counted x(1, &deaths);
  {
    ArrayProbe a;  // the destructor leaves x alone
    for (Counted* c : {new Counted(1, &deaths), new Counted(2, &deaths), static_cast<Counted*>(nullptr)}) a.add(c);
    a.setNextIndex(1);  // the second element lies beyond the count now
    a.setDeleteAllSlots();
    a.deleteContents();
    EXPECT_EQ(2, deaths);
    a.add(&x);
  }
  {
    VxArray a;
    a.setDeleteContentsOnDestruct();
    a.add(new Counted(1, &deaths));
  }
  EXPECT_EQ(3, deaths);
  VxArrayPVoid blocks;  // plain blocks are released, checked by the leak sanitizer
  for (void* block : {malloc(8), static_cast<void*>(nullptr), malloc(4)}) ASSERT_EQ(0u, blocks.add(block));
  blocks.deleteAtIndex(0);
  EXPECT_EQ(nullptr, blocks[0]);
  blocks.deleteContents();
  EXPECT_EQ(nullptr, blocks.at(1));
  blocks.setDeleteContentsOnDestruct();
  blocks.add(malloc(32));
}

// Sizing: each row acts on an array holding one element in 16 slots (or
// none when `empty`) and gives the capacity and count it leaves, and
// whether the element is still there; every other slot is empty.
TEST_F(ArrayTest, SizingCallsSetCapacityAndCountAsDocumented) {
  using Run = std::function<unsigned(ArrayProbe&)>;
  const std::vector<std::tuple<const char*, bool, Run, VXSIZE_T, VXSIZE_T, bool>> rows = {
      {"setInitialSize", true, [](ArrayProbe& a) { return a.setInitialSize(5); }, 5, 0, false},
      {"setInitialSize(0) still allocates", true, [](ArrayProbe& a) { return a.setInitialSize(0) ? 1u : !a.storage(); }, 0, 0, false},
      {"copy growth", false, [](ArrayProbe& a) { return a.increaseSize(4, 1, 0); }, 20, 1, true},
      {"a zero increment doubles", false, [](ArrayProbe& a) { return a.increaseSize(0, 1, 0); }, 32, 1, true},
      {"fresh growth discards the elements", false, [](ArrayProbe& a) { return a.increaseSize(16, 0, 0); }, 32, 1, false},
      {"resize to the capacity doubles it", false, [](ArrayProbe& a) { return a.resize(16, 1); }, 32, 1, true},
      {"resize", false, [](ArrayProbe& a) { return a.resize(40, 1); }, 40, 1, true},
      {"shrink sets capacity and count", false, [](ArrayProbe& a) { return a.shrink(3); }, 3, 3, true},
      {"shrink(0) releases", false, [](ArrayProbe& a) { return a.shrink(0) ? 1u : !!a.storage(); }, 0, 0, false},
  };
  Counted x(1, &deaths);
  for (const auto& [what, empty, run, capacity, count, kept] : rows) {
    SCOPED_TRACE(what);
    ArrayProbe a;
    if (!empty) a.add(&x);
    ASSERT_EQ(0u, run(a));
    EXPECT_EQ(std::make_tuple(capacity, count), std::make_tuple(a.getSizeOfArray(), a.getCount()));
    for (VXSIZE_T i = 0; i < a.getSizeOfArray(); ++i) EXPECT_EQ(i == 0 && kept ? &x : nullptr, a[i]) << i;
    ASSERT_EQ(0u, a.add(&x));  // and growth goes on from there
    EXPECT_EQ(capacity == count ? capacity + 16 : capacity, a.getSizeOfArray());
  }
  VxArraySlot borrowed[8] = {};
  ArrayProbe b;
  b.borrow(borrowed, 8);
  ASSERT_EQ(0u, b.shrink(4));  // a borrowed vector stays in place
  EXPECT_EQ(std::make_tuple(borrowed, VXSIZE_T{4}), std::make_tuple(b.storage(), b.getSizeOfArray()));
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
    const auto before = std::make_tuple(a.storage(), VXSIZE_T{16}, VXSIZE_T{16}, &y);
    ramFailAllocationAfter(rows[r].first ? 1 : 0);
    EXPECT_EQ(1u, rows[r].second(a)) << r;
    EXPECT_EQ(before, std::make_tuple(a.storage(), a.getSizeOfArray(), a.getCount(), a.at(0))) << r;
  }
  ArrayProbe empty, sized, fresh;
  fresh.add(&x);
  for (int kind = 0; kind < 3; ++kind) {
    ramFailAllocationAfter(1);
    EXPECT_EQ(1u, kind == 0 ? empty.add(&x) : kind == 1 ? sized.setInitialSize(8) : fresh.increaseSize(16, 0, 0));
  }
  // Fresh growth deliberately loses the old vector before it allocates.
  for (ArrayProbe* a : {&empty, &sized, &fresh}) EXPECT_EQ(std::make_tuple(nullptr, VXSIZE_T{0}), std::make_tuple(a->storage(), a->getSizeOfArray()));
  VxArrayU32 u;
  VxSortedArray s;
  VxSortedArrayVXSIZE_T w;
  for (uint32_t k = 0; k < 16; ++k) u.add(k), s.add(&x), w.add(k);
  for (int kind = 0; kind < 3; ++kind) {
    ramFailAllocationAfter(1);
    EXPECT_EQ(1u, kind == 0 ? u.add(99) : kind == 1 ? s.add(&y) : w.add(5)) << kind;
  }
  EXPECT_EQ(std::make_tuple(VXSIZE_T{16}, VXSIZE_T{16}, VXSIZE_T{16}, VXSIZE_T{6}), std::make_tuple(u.getCount(), s.getCount(), w.getCount(), w.at(6)));
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
