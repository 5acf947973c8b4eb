#include "foundation/msgtext_internal.h"

#include <gtest/gtest.h>

namespace {

TEST(MessageText, WithoutCatalogTheTextIsTheDecimalNumber) {
  char buffer[16];
  EXPECT_EQ(4u, loadMessageText(1509, buffer, sizeof buffer));
  EXPECT_STREQ("1509", buffer);
  EXPECT_EQ(5u, loadMessageText(65535, buffer, 0));
  EXPECT_STREQ("65535", buffer);
}

TEST(MessageText, TextIsCutToSizeMinusOne) {
  char buffer[3];
  EXPECT_EQ(2u, loadMessageText(30190, buffer, sizeof buffer));
  EXPECT_STREQ("30", buffer);
}

}  // namespace
