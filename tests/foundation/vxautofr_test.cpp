#include <gtest/gtest.h>

#include <cstdlib>

#include "foundation/vxautofr.h"

namespace {

TEST(AutoFree, HolderStartsNullAndHandsBackWhatItHolds) {
  AFPU8 holder;
  EXPECT_EQ(nullptr, static_cast<uint8_t*>(holder));
  uint8_t* p = static_cast<uint8_t*>(malloc(4));
  ASSERT_NE(nullptr, p);
  EXPECT_EQ(p, holder = p);
  EXPECT_EQ(p, static_cast<uint8_t*>(holder));
  p[0] = 1;  // freed by the holder; ASan reports a leak if it is not
}

TEST(AutoFree, HolderOfNullFreesNothing) {
  AFPU8 holder;
  holder = nullptr;
  EXPECT_EQ(nullptr, static_cast<uint8_t*>(holder));
}

TEST(AutoFree, GlobalWorldMarkerConstructsAndDestructs) {
  AFGlobalWorld marker;
  EXPECT_EQ(0, marker.compare(&marker));
}

}  // namespace
