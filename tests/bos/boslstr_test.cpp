#include "bos/boslstr_internal.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

TEST(MessageText, WithoutCatalogTextIsTheDecimalNumber) {
  char buffer[32];
  EXPECT_EQ(4u, vxLoadMessageText(1509, buffer, sizeof buffer));
  EXPECT_STREQ("1509", buffer);
  EXPECT_EQ(5u, vxLoadMessageText(30190, buffer, sizeof buffer));
  EXPECT_STREQ("30190", buffer);
  EXPECT_EQ(1u, vxLoadMessageText(0, buffer, sizeof buffer));
  EXPECT_STREQ("0", buffer);
}

TEST(MessageText, CutsToBufferSizeLessOneAndTerminates) {
  char buffer[4];
  memset(buffer, 'z', sizeof buffer);
  EXPECT_EQ(3u, vxLoadMessageText(30190, buffer, sizeof buffer));
  EXPECT_STREQ("301", buffer);
  EXPECT_EQ(0u, vxLoadMessageText(30190, buffer, 1));
  EXPECT_STREQ("", buffer);
}

TEST(MessageText, SizeZeroWritesNothingAndGivesFullLength) {
  char buffer[4] = {'q', 'q', 'q', 0};
  EXPECT_EQ(5u, vxLoadMessageText(30190, buffer, 0));
  EXPECT_STREQ("qqq", buffer);
}

}  // namespace
