#include <gtest/gtest.h>

#include "tools/tool_runner.h"

namespace {

TEST(VxtoolScan, PrintsClassOffsetAndTextEndingWithTheEndToken) {
  ToolResult r = runTool({"scan", "a<>'b''c'"});
  EXPECT_EQ(0, r.status);
  EXPECT_EQ("2\t0\ta\n15422\t1\t<>\n3\t3\t'b''c'\n1\t9\t\n", r.out);
}

TEST(VxtoolScan, OptionsReachTheScanner) {
  EXPECT_EQ("5\t0\t1.5\n1\t3\t\n", runTool({"scan", "--decimal", "1.5"}).out);
  EXPECT_EQ("11\t0\t-- x\n1\t4\t\n", runTool({"scan", "--comments", "--", "-- x"}).out);
  EXPECT_EQ("3\t0\t(a(b))\n1\t6\t\n", runTool({"scan", "--parens", "(a(b))"}).out);
  EXPECT_EQ("3\t0\t{x}\n1\t3\t\n", runTool({"scan", "--braces", "{x}"}).out);
  EXPECT_EQ("6\t0\ta.b\n1\t3\t\n", runTool({"scan", "--mode", "1", "a.b"}).out);
}

}  // namespace
