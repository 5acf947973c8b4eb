#include "containers/vxarray.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "containers/array_test_support.h"
#include "foundation/ram_internal.h"

namespace {

using vxtest::ArrayProbe;
using vxtest::Counted;

class VxArrayTest : public ::testing::Test {
 protected:
  void TearDown() override { ramFailAllocationAfter(0); }
  int destroyed = 0;
};

TEST_F(VxArrayTest, StartsWithoutStorageAndGrowsLinearlyBySixteenSlots) {
  ArrayProbe a;
  EXPECT_EQ(0u, a.getCount());
  EXPECT_EQ(0u, a.getSizeOfArray());
  EXPECT_EQ(nullptr, a.storage());
  EXPECT_EQ(16, a.growStep());
  EXPECT_EQ(0, a.flagBits());
  Counted x(1, &destroyed);
  ASSERT_EQ(0u, a.add(&x));
  EXPECT_EQ(1u, a.getCount());
  EXPECT_EQ(16u, a.getSizeOfArray());
  EXPECT_EQ(&x, a.at(0));
  for (int i = 1; i < 16; ++i) ASSERT_EQ(0u, a.add(&x));
  EXPECT_EQ(16u, a.getSizeOfArray());
  ASSERT_EQ(0u, a.add(&x));  // the 17th
  EXPECT_EQ(32u, a.getSizeOfArray());
  for (int i = 0; i < 16; ++i) ASSERT_EQ(0u, a.add(&x));
  EXPECT_EQ(48u, a.getSizeOfArray());
  EXPECT_EQ(33u, a.getCount());
}

TEST_F(VxArrayTest, AddAtIndexShiftsLaterSlotsUp) {
  VxArray a;
  Counted x(1, &destroyed), y(2, &destroyed), z(3, &destroyed);
  a.add(&x);
  a.add(&z);
  ASSERT_EQ(0u, a.addAtIndex(&y, 1));
  ASSERT_EQ(3u, a.getCount());
  EXPECT_EQ(&x, a.at(0));
  EXPECT_EQ(&y, a.at(1));
  EXPECT_EQ(&z, a.at(2));
}

TEST_F(VxArrayTest, PushNeverGrowsDeliberately) {
  // A vector of four slots of which the array is told only two exist:
  // push writes the third slot anyway and leaves the capacity alone.
  VxArraySlot borrowed[4] = {};
  ArrayProbe a;
  a.borrow(borrowed, 2);
  Counted x(1, &destroyed);
  a.push(&x);
  a.push(&x);
  a.push(&x);
  EXPECT_EQ(3u, a.getCount());
  EXPECT_EQ(2u, a.getSizeOfArray());
  EXPECT_EQ(&x, borrowed[2].object);
  EXPECT_EQ(borrowed, a.storage());
}

TEST_F(VxArrayTest, RemoveAtIndexKeepsTheElementAliveAndDeleteAtIndexDestroysIt) {
  VxArray a;
  Counted* x = new Counted(1, &destroyed);
  Counted y(2, &destroyed);
  a.add(x);
  a.add(&y);
  a.removeAtIndex(0);
  EXPECT_EQ(1u, a.getCount());
  EXPECT_EQ(&y, a.at(0));
  EXPECT_EQ(0, destroyed);
  a.addAtIndex(x, 0);
  a.deleteAtIndex(0);
  EXPECT_EQ(1, destroyed);
  EXPECT_EQ(1u, a.getCount());
  EXPECT_EQ(&y, a.at(0));
}

TEST_F(VxArrayTest, DeleteContentsDestroysUsedSlotsAndKeepsStorage) {
  VxArray a;
  a.add(new Counted(1, &destroyed));
  a.add(nullptr);
  a.add(new Counted(2, &destroyed));
  a.deleteContents();
  EXPECT_EQ(2, destroyed);
  EXPECT_EQ(0u, a.getCount());
  EXPECT_EQ(16u, a.getSizeOfArray());
  EXPECT_EQ(nullptr, a[0]);
  EXPECT_EQ(nullptr, a[2]);
}

TEST_F(VxArrayTest, DeleteAllSlotsFlagWalksTheWholeCapacity) {
  ArrayProbe a;
  a.add(new Counted(1, &destroyed));
  a.add(new Counted(2, &destroyed));
  a.setNextIndex(1);  // the second element lies beyond count now
  a.setDeleteAllSlots();
  a.deleteContents();
  EXPECT_EQ(2, destroyed);
}

TEST_F(VxArrayTest, ResetAndSetNextIndexTouchNoSlot) {
  VxArray a;
  Counted x(1, &destroyed), y(2, &destroyed);
  a.add(&x);
  a.add(&y);
  a.reset();
  EXPECT_EQ(0u, a.getCount());
  a.setNextIndex(2);
  EXPECT_EQ(2u, a.getCount());
  EXPECT_EQ(&y, a.at(1));
  EXPECT_EQ(0, destroyed);
}

TEST_F(VxArrayTest, DestructorDestroysElementsOnlyWhenAskedTo) {
  Counted x(1, &destroyed);
  {
    VxArray a;
    a.add(&x);
  }
  EXPECT_EQ(0, destroyed);
  {
    VxArray a;
    a.setDeleteContentsOnDestruct();
    a.add(new Counted(1, &destroyed));
    a.add(new Counted(2, &destroyed));
  }
  EXPECT_EQ(2, destroyed);
}

TEST_F(VxArrayTest, DoesExistComparesIdentityAndAllIndexFormsReachTheSameSlot) {
  VxArray a;
  Counted x(7, &destroyed), twin(7, &destroyed), y(2, &destroyed);
  a.add(&x);
  EXPECT_EQ(1, a.doesExist(&x));
  EXPECT_EQ(0, a.doesExist(&twin));
  a.add(&x);
  a[VXSIZE_T{1}] = &y;
  EXPECT_EQ(&y, a[1]);
  EXPECT_EQ(&y, a[uint16_t{1}]);
}

TEST_F(VxArrayTest, SetInitialSizeAllocatesZeroedSlots) {
  VxArray a;
  ASSERT_EQ(0u, a.setInitialSize(5));
  EXPECT_EQ(5u, a.getSizeOfArray());
  EXPECT_EQ(0u, a.getCount());
  for (int i = 0; i < 5; ++i) EXPECT_EQ(nullptr, a[i]);

  ArrayProbe z;  // size zero still allocates, and grows on add
  ASSERT_EQ(0u, z.setInitialSize(0));
  EXPECT_NE(nullptr, z.storage());
  Counted x(1, &destroyed);
  ASSERT_EQ(0u, z.add(&x));
  EXPECT_EQ(16u, z.getSizeOfArray());
}

TEST_F(VxArrayTest, CopyGrowthKeepsElementsAndFreshGrowthDiscardsThem) {
  VxArray a;
  Counted x(1, &destroyed);
  a.add(&x);
  ASSERT_EQ(0u, a.increaseSize(4, 1, 0));
  EXPECT_EQ(20u, a.getSizeOfArray());
  EXPECT_EQ(1u, a.getCount());
  EXPECT_EQ(&x, a.at(0));
  for (int i = 16; i < 20; ++i) EXPECT_EQ(nullptr, a[i]);

  VxArray f;  // fresh growth discards the elements but keeps the count
  f.add(&x);
  ASSERT_EQ(0u, f.increaseSize(16, 0, 0));
  EXPECT_EQ(32u, f.getSizeOfArray());
  EXPECT_EQ(1u, f.getCount());
  for (int i = 0; i < 32; ++i) EXPECT_EQ(nullptr, f[i]);
}

TEST_F(VxArrayTest, CopyGrowthTakesOverABorrowedVector) {
  VxArraySlot borrowed[2] = {};
  Counted x(1, &destroyed);
  ArrayProbe a;
  a.borrow(borrowed, 2);
  a.push(&x);
  a.push(&x);
  ASSERT_EQ(0u, a.add(&x));  // full: copies out of the borrowed vector
  EXPECT_NE(borrowed, a.storage());
  EXPECT_TRUE(a.ownsStorage());
  EXPECT_EQ(18u, a.getSizeOfArray());
  EXPECT_EQ(&x, a.at(2));
  EXPECT_EQ(&x, borrowed[1].object);  // the borrowed vector is left as it was
}

TEST_F(VxArrayTest, ZeroIncrementAndResizeToTheCurrentCapacityDoubleIt) {
  VxArray z;
  z.setInitialSize(10);
  ASSERT_EQ(0u, z.increaseSize(0, 1, 0));
  EXPECT_EQ(20u, z.getSizeOfArray());
  VxArray a;
  a.setInitialSize(16);
  ASSERT_EQ(0u, a.resize(16, 1));
  EXPECT_EQ(32u, a.getSizeOfArray());
  ASSERT_EQ(0u, a.resize(40, 1));
  EXPECT_EQ(40u, a.getSizeOfArray());
}

TEST_F(VxArrayTest, ShrinkSetsCapacityAndCountKeepsLeadingSlotsAndReleasesAtZero) {
  VxArray a;
  Counted x(1, &destroyed), y(2, &destroyed);
  for (int i = 0; i < 20; ++i) a.add(i == 1 ? &y : &x);
  ASSERT_EQ(0u, a.shrink(3));
  EXPECT_EQ(3u, a.getSizeOfArray());
  EXPECT_EQ(3u, a.getCount());
  EXPECT_EQ(&y, a.at(1));

  ArrayProbe z;  // shrinking to zero releases the vector
  z.add(&x);
  ASSERT_EQ(0u, z.shrink(0));
  EXPECT_EQ(nullptr, z.storage());
  EXPECT_EQ(0u, z.getSizeOfArray());
  EXPECT_EQ(0u, z.getCount());
  ASSERT_EQ(0u, z.add(&x));
  EXPECT_EQ(16u, z.getSizeOfArray());
}

TEST_F(VxArrayTest, ShrinkLeavesABorrowedVectorInPlace) {
  VxArraySlot borrowed[8] = {};
  ArrayProbe a;
  a.borrow(borrowed, 8);
  ASSERT_EQ(0u, a.shrink(4));
  EXPECT_EQ(borrowed, a.storage());
  EXPECT_EQ(4u, a.getSizeOfArray());
  EXPECT_FALSE(a.ownsStorage());
}

TEST_F(VxArrayTest, FailedFirstAddOrSetInitialSizeLeavesTheArrayEmpty) {
  ArrayProbe a;
  Counted x(1, &destroyed);
  ramFailAllocationAfter(1);
  EXPECT_EQ(1u, a.add(&x));
  EXPECT_EQ(0u, a.getCount());
  EXPECT_EQ(0u, a.getSizeOfArray());
  EXPECT_EQ(nullptr, a.storage());
  EXPECT_EQ(0u, a.add(&x));  // the failure was injected once

  ArrayProbe b;
  ramFailAllocationAfter(1);
  EXPECT_EQ(1u, b.setInitialSize(8));
  EXPECT_EQ(nullptr, b.storage());
  EXPECT_EQ(0u, b.getSizeOfArray());
}

TEST_F(VxArrayTest, FailedGrowthOfAFullArrayKeepsEverySlot) {
  VxArray a;
  Counted x(1, &destroyed), y(2, &destroyed);
  for (int i = 0; i < 16; ++i) a.add(i == 0 ? &y : &x);
  ramFailAllocationAfter(1);
  ASSERT_EQ(1u, a.addAtIndex(&x, 0));
  EXPECT_EQ(16u, a.getCount());
  EXPECT_EQ(16u, a.getSizeOfArray());
  EXPECT_EQ(&y, a.at(0));
  EXPECT_EQ(&x, a.at(15));
}

TEST_F(VxArrayTest, FailedCopyGrowthResizeAndShrinkLeaveTheArrayUnchanged) {
  ArrayProbe a;
  Counted x(1, &destroyed);
  a.add(&x);
  VxArraySlot* before = a.storage();
  ramFailAllocationAfter(1);
  EXPECT_EQ(1u, a.increaseSize(8, 1, 0));
  ramFailAllocationAfter(1);
  EXPECT_EQ(1u, a.resize(64, 1));
  ramFailAllocationAfter(1);
  EXPECT_EQ(1u, a.shrink(100));  // a "shrink" that grows needs the heap
  EXPECT_EQ(before, a.storage());
  EXPECT_EQ(16u, a.getSizeOfArray());
  EXPECT_EQ(1u, a.getCount());
  EXPECT_EQ(&x, a.at(0));
}

TEST_F(VxArrayTest, FailedFreshGrowthLosesTheOldContentsDeliberately) {
  ArrayProbe a;
  Counted x(1, &destroyed);
  a.add(&x);
  ramFailAllocationAfter(1);
  EXPECT_EQ(1u, a.increaseSize(16, 0, 0));
  EXPECT_EQ(nullptr, a.storage());
  EXPECT_EQ(0u, a.getSizeOfArray());
  EXPECT_EQ(0, destroyed);
}

TEST_F(VxArrayTest, GrowthTooLargeToAddressFailsInsteadOfWrapping) {
  // 2^61 slots are 2^64 bytes, a size that wraps to 0: refused as an
  // allocation failure, the array unchanged.
  ArrayProbe a;
  Counted x(1, &destroyed);
  a.add(&x);
  VxArraySlot* before = a.storage();
  EXPECT_EQ(1u, a.increaseSize(VXSIZE_T{1} << 61, 1, 0));
  EXPECT_EQ(1u, a.shrink(VXSIZE_T{1} << 61));
  EXPECT_EQ(before, a.storage());
  EXPECT_EQ(16u, a.getSizeOfArray());
  EXPECT_EQ(1u, a.getCount());
  EXPECT_EQ(&x, a.at(0));
}

// --- VxArrayPVoid -----------------------------------------------------------

TEST_F(VxArrayTest, PVoidHoldsPlainBlocksAndReleasesThemAlsoOnDestruct) {
  VxArrayPVoid a;
  void* block = malloc(8);
  ASSERT_EQ(0u, a.add(block));
  EXPECT_EQ(block, a.at(0));
  EXPECT_EQ(block, a[0]);
  EXPECT_EQ(block, a[uint16_t{0}]);
  a.deleteAtIndex(0);  // releases the block; the leak checker sees the rest
  EXPECT_EQ(0u, a.getCount());
  a.add(malloc(4));
  a.add(nullptr);
  a.add(malloc(16));
  a.deleteContents();
  EXPECT_EQ(0u, a.getCount());
  EXPECT_EQ(nullptr, a[0]);
  EXPECT_EQ(nullptr, a[2]);
  a.setDeleteContentsOnDestruct();
  a.add(malloc(32));
  a.add(malloc(32));
  // Leaving the scope must release both (checked by the leak sanitizer).
}

// --- value arrays -----------------------------------------------------------

TEST_F(VxArrayTest, WordValuesAreStoredInTheSlotsAndWorkAsAStack) {
  VxArrayVXSIZE_T a;
  ASSERT_EQ(0u, a.add(~VXSIZE_T{0}));
  ASSERT_EQ(0u, a.add(5));
  ASSERT_EQ(0u, a.addAtIndex(3, 1));
  EXPECT_EQ(~VXSIZE_T{0}, a.at(0));
  EXPECT_EQ(3u, a[1]);
  EXPECT_EQ(5u, a[uint16_t{2}]);
  EXPECT_EQ(3u, a.getCount());

  VxArrayVXSIZE_T s;  // as a stack
  ASSERT_EQ(0u, s.setInitialSize(32));
  s.push(10);
  s.push(20);
  EXPECT_EQ(20u, s.top());
  s.top() = 21;
  EXPECT_EQ(21u, s.pop());
  EXPECT_EQ(1u, s.getCount());
  EXPECT_EQ(10u, s.pop());
  EXPECT_EQ(0u, s.getCount());
}

TEST_F(VxArrayTest, SignedAndNarrowValueArraysKeepTheirValues) {
  VxArrayVXSSIZE_T s;
  VxArrayS32 i;
  VxArrayU32 u;
  for (int k = 0; k < 40; ++k) {
    ASSERT_EQ(0u, s.add(-k - 1));
    ASSERT_EQ(0u, i.add(INT32_MIN + k));
    ASSERT_EQ(0u, u.add(UINT32_MAX - k));
  }
  EXPECT_EQ(-40, s.at(39));
  EXPECT_EQ(INT32_MIN, i[0]);
  EXPECT_EQ(INT32_MIN + 39, i.at(39));
  EXPECT_EQ(UINT32_MAX, u[0]);
  i[1] = -7;
  EXPECT_EQ(-7, i.at(1));
  EXPECT_EQ(48u, u.getSizeOfArray());
}

TEST_F(VxArrayTest, FailedValueAddLeavesTheArrayUnchanged) {
  VxArrayU32 u;
  for (uint32_t k = 0; k < 16; ++k) u.add(k);
  ramFailAllocationAfter(1);
  EXPECT_EQ(1u, u.add(99));
  EXPECT_EQ(16u, u.getCount());
  EXPECT_EQ(15u, u.at(15));
}

}  // namespace
