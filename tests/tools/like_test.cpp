#include <gtest/gtest.h>

#include <string>

#include "tools/tool_runner.h"

namespace {

TEST(VxtoolLike, MatchPrintsTrueAndExitsZero) {
  ToolResult r = runTool({"like", "abc", "a%"});
  EXPECT_EQ(0, r.status);
  EXPECT_EQ("true\n", r.out);
}

TEST(VxtoolLike, NoMatchPrintsFalseAndExitsOne) {
  ToolResult r = runTool({"like", "abc", "a_"});
  EXPECT_EQ(1, r.status);
  EXPECT_EQ("false\n", r.out);
}

TEST(VxtoolLike, DefaultsIgnoreCaseAndTrailingBlanks) {
  EXPECT_EQ(0, runTool({"like", "ABC  ", "abc"}).status);
  EXPECT_EQ(1, runTool({"like", "-c", "ABC", "abc"}).status);
  EXPECT_EQ(1, runTool({"like", "-b", "abc  ", "abc"}).status);
  EXPECT_EQ(0, runTool({"like", "-b", "-c", "abc  ", "abc%"}).status);
}

TEST(VxtoolLike, NoEscapeUnlessAsked) {
  EXPECT_EQ(1, runTool({"like", "a%c", "a\\%c"}).status);
  EXPECT_EQ(0, runTool({"like", "-e", "\\", "a%c", "a\\%c"}).status);
  EXPECT_EQ(1, runTool({"like", "-e", "\\", "abc", "a\\%c"}).status);
  EXPECT_EQ(0, runTool({"like", "-e", "!", "a_c", "a!_c"}).status);
}

TEST(VxtoolLike, DoubleDashEndsOptions) {
  ToolResult r = runTool({"like", "--", "-c", "-%"});
  EXPECT_EQ(0, r.status);
  EXPECT_EQ("true\n", r.out);
}

TEST(VxtoolLike, WrongUsageExitsTwoWithUsage) {
  for (const std::vector<std::string>& args :
       std::vector<std::vector<std::string>>{{"like"},
                                             {"like", "abc"},
                                             {"like", "a", "b", "c"},
                                             {"like", "-x", "a", "b"},
                                             {"like", "-e", "ab", "a", "b"},
                                             {"like", "-e"},
                                             {"like", "--batch", "a", "b"}}) {
    ToolResult r = runTool(args);
    EXPECT_EQ(2, r.status) << args.size();
    EXPECT_NE(std::string::npos, r.err.find("like [-c] [-b] [-e C] TEXT PATTERN"));
    EXPECT_TRUE(r.out.empty());
  }
}

TEST(VxtoolLike, BatchAnswersEachLineAndExitsZero) {
  ToolResult r = runTool({"like", "--batch"},
                         "abc\ta%\n"
                         "abc\ta_\n"
                         "ABC \tabc\n"
                         "\t%\n"
                         "no tab here\n"
                         "last\tl%t");
  EXPECT_EQ(0, r.status);
  EXPECT_EQ("true\nfalse\ntrue\ntrue\nfalse\ntrue\n", r.out);
}

TEST(VxtoolLike, BatchHonoursOptions) {
  ToolResult r = runTool({"like", "--batch", "-c", "-b", "-e", "\\"},
                         "ABC\tabc\nabc \tabc\na%\ta\\%\n");
  EXPECT_EQ(0, r.status);
  EXPECT_EQ("false\nfalse\ntrue\n", r.out);
}

TEST(VxtoolLike, BatchOfNothingPrintsNothing) {
  ToolResult r = runTool({"like", "--batch"}, "");
  EXPECT_EQ(0, r.status);
  EXPECT_EQ("", r.out);
}

}  // namespace
