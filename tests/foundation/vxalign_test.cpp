#include <gtest/gtest.h>

#include <cstdint>

#include "foundation/but.h"

namespace {

TEST(Align, DeliberateMaskIsComplementOfBoundaryItself) {
  uint64_t one = 1, nine = 9, eight = 8, twelve = 12;
  EXPECT_EQ(0u, alignOnByteBoundary(one, 8));
  EXPECT_EQ(0u, one);
  EXPECT_EQ(16u, alignOnByteBoundary(nine, 8));
  EXPECT_EQ(16u, nine);
  // 8 + 7 = 15 and ~8 clears bit 3: 7.
  EXPECT_EQ(7u, alignOnByteBoundary(eight, 8));
  // 12 + 3 = 15 and ~4 clears bit 2: 11.
  EXPECT_EQ(11u, alignOnByteBoundary(twelve, 4));
}

TEST(Align, SixteenBitFormWrapsAtSixteenBits) {
  uint16_t v = 0xFFFF;
  // 0xFFFF + 7 wraps to 6; 6 & ~8 is 6.
  EXPECT_EQ(6u, alignOnByteBoundary(v, 8));
  EXPECT_EQ(6u, v);
  uint16_t nine = 9;
  EXPECT_EQ(16u, alignOnByteBoundary(nine, 8));
}

TEST(Align, PointerFormUsesSameMask) {
  char* p = reinterpret_cast<char*>(uintptr_t(0x1009));
  EXPECT_EQ(reinterpret_cast<char*>(uintptr_t(0x1010)), alignOnByteBoundary(p, 8));
  EXPECT_EQ(reinterpret_cast<char*>(uintptr_t(0x1010)), p);
  void* q = reinterpret_cast<void*>(uintptr_t(0x1001));
  EXPECT_EQ(reinterpret_cast<void*>(uintptr_t(0x1000)), alignOnByteBoundary(q, 8));
  EXPECT_EQ(reinterpret_cast<void*>(uintptr_t(0x1000)), q);
}

TEST(Align, VerifyByteBoundaryIsDeliberatelyFalseForEveryValue) {
  EXPECT_FALSE(verifyByteBoundary(8));
  for (uint32_t b = 0; b <= 0xFFFF; ++b) ASSERT_FALSE(verifyByteBoundary(uint16_t(b))) << b;
}

}  // namespace
