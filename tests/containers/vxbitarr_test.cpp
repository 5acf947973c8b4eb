#include "containers/vxbitarr.h"

#include <gtest/gtest.h>

#include "foundation/ram_internal.h"

namespace {

TEST(VxBitArray, InitializeClearsEveryBitAndSetTurnsOnExactlyOne) {
  VxBitArray b;
  ASSERT_EQ(0u, b.initialize(20));
  for (VXSIZE_T i = 0; i <= 20; ++i) EXPECT_EQ(0, b.isSet(i)) << i;
  b.set(9);
  for (VXSIZE_T i = 0; i <= 20; ++i) EXPECT_EQ(i == 9 ? 1 : 0, b.isSet(i)) << i;
}

TEST(VxBitArray, SizeNRoomIncludesBitN) {
  // n/8 + 1 bytes: initialize(8) gives two bytes, so bit 8 exists.
  VxBitArray b;
  ASSERT_EQ(0u, b.initialize(8));
  b.set(8);
  b.set(15);
  EXPECT_EQ(1, b.isSet(8));
  EXPECT_EQ(1, b.isSet(15));
  EXPECT_EQ(0, b.isSet(7));
  ASSERT_EQ(0u, b.initialize(0));  // zero still gives one byte
  b.set(7);
  EXPECT_EQ(1, b.isSet(7));
}

TEST(VxBitArray, ResetAllAndReinitializeClearTheOldBits) {
  VxBitArray b;
  b.resetAll();  // before initialize: does nothing
  ASSERT_EQ(0u, b.initialize(100));
  EXPECT_EQ(0, b.isSet(3));
  b.set(0);
  b.set(63);
  b.set(100);
  b.resetAll();
  EXPECT_EQ(0, b.isSet(0));
  EXPECT_EQ(0, b.isSet(63));
  EXPECT_EQ(0, b.isSet(100));
  b.set(3);
  ASSERT_EQ(0u, b.initialize(200));
  EXPECT_EQ(0, b.isSet(3));
  b.set(199);
  EXPECT_EQ(1, b.isSet(199));
}

TEST(VxBitArray, FailedInitializeReportsOne) {
  VxBitArray b;
  ASSERT_EQ(0u, b.initialize(8));
  ramFailAllocationAfter(1);
  EXPECT_EQ(1u, b.initialize(64));
  b.resetAll();  // the old vector is gone: there is nothing to clear
  ramFailAllocationAfter(0);
  EXPECT_EQ(0u, b.initialize(64));
  EXPECT_EQ(0, b.isSet(64));
}

}  // namespace
