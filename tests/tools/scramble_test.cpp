#include <gtest/gtest.h>

#include <string>

#include "tools/tool_runner.h"

namespace {

TEST(VxtoolScramble, MethodOneComplementsEveryByte) {
  ToolResult r = runTool({"scramble", "--method", "1", "encrypt"}, std::string("\x00\x0A\xFF", 3));
  EXPECT_EQ(0, r.status);
  EXPECT_EQ(std::string("\xFF\xF5\x00", 3), r.out);
}

TEST(VxtoolScramble, MethodTwoKeepsLineFeeds) {
  ToolResult r = runTool({"scramble", "--method", "2", "encrypt"}, "a\n");
  EXPECT_EQ(0, r.status);
  EXPECT_EQ(std::string("\x9E\n", 2), r.out);
}

TEST(VxtoolScramble, MethodThreeRoundTripsWithKey) {
  const std::string plain = "SELECT name FROM staff\n";
  ToolResult enc = runTool({"scramble", "--method", "3", "--key", "s3cret", "encrypt"}, plain);
  ASSERT_EQ(0, enc.status);
  EXPECT_NE(plain, enc.out);
  EXPECT_EQ(plain.size(), enc.out.size());
  ToolResult dec = runTool({"scramble", "--key", "s3cret", "decrypt", "--method", "3"}, enc.out);
  EXPECT_EQ(0, dec.status);
  EXPECT_EQ(plain, dec.out);
}

TEST(VxtoolScramble, MethodThreeWithAndWithoutKeyDiffer) {
  ToolResult keyed = runTool({"scramble", "--method", "3", "--key", "k", "encrypt"}, "abcd");
  ToolResult plain = runTool({"scramble", "--method", "3", "encrypt"}, "abcd");
  EXPECT_EQ(0, keyed.status);
  EXPECT_EQ(0, plain.status);
  EXPECT_NE(keyed.out, plain.out);
}

TEST(VxtoolScramble, UnknownMethodCopiesDataUnchanged) {
  ToolResult r = runTool({"scramble", "--method", "9", "encrypt"}, "as is");
  EXPECT_EQ(0, r.status);
  EXPECT_EQ("as is", r.out);
}

TEST(VxtoolScramble, WrongUsageExitsTwo) {
  EXPECT_EQ(2, runTool({"scramble", "encrypt"}).status);
  EXPECT_EQ(2, runTool({"scramble", "--method", "1"}).status);
  EXPECT_EQ(2, runTool({"scramble", "--method", "x", "encrypt"}).status);
  EXPECT_EQ(2, runTool({"scramble", "--method", "70000", "encrypt"}).status);
  EXPECT_EQ(2, runTool({"scramble", "--method", "1", "encrypt", "decrypt"}).status);
  EXPECT_EQ(2, runTool({"scramble", "--method", "1", "--key"}).status);
}

}  // namespace
