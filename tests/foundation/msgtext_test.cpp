#include "foundation/msgtext_internal.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

namespace {

// The text of `number` as the message source spells it.
std::string sourceText(int number) {
  std::ifstream in(VX_TEST_SOURCE_DIR "/foundation/messages.msg");
  std::string line, prefix = std::to_string(number) + " ";
  while (std::getline(in, line))
    if (line.compare(0, prefix.size(), prefix) == 0) return line.substr(prefix.size());
  return "";
}

TEST(MessageText, TextComesFromTheCatalogBuiltFromTheSource) {
  char buffer[1024];
  std::string expected = sourceText(1509);
  ASSERT_FALSE(expected.empty());
  EXPECT_EQ(expected.size(), loadMessageText(1509, buffer, sizeof buffer));
  EXPECT_EQ(expected, buffer);
  EXPECT_EQ(sourceText(30190), (loadMessageText(30190, buffer, 0), std::string(buffer)));
}

TEST(MessageText, NumberWithoutTextIsTheDecimalNumber) {
  char buffer[16];
  EXPECT_EQ(5u, loadMessageText(65535, buffer, 0));
  EXPECT_STREQ("65535", buffer);
}

TEST(MessageText, TextIsCutToSizeMinusOne) {
  char buffer[3];
  EXPECT_EQ(2u, loadMessageText(30190, buffer, sizeof buffer));
  EXPECT_EQ(sourceText(30190).substr(0, 2), buffer);
}

}  // namespace
