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
  AFPU8 empty;
  empty = nullptr;  // a holder of null frees nothing
  EXPECT_EQ(nullptr, static_cast<uint8_t*>(empty));
}

}  // namespace
