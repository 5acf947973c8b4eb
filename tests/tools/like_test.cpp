#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tools/tool_runner.h"

namespace {

// Each row: the arguments after "like" and whether they match (exit 0 and
// "true") or not (exit 1 and "false").
TEST(VxtoolLike, AnswersTrueOrFalseByExitStatusAndOutput) {
  struct Case {
    std::vector<std::string> args;
    bool match;
  } cases[] = {
      {{"abc", "a%"}, true},
      {{"abc", "a_"}, false},
      {{"ABC  ", "abc"}, true},  // defaults ignore case and trailing blanks
      {{"-c", "ABC", "abc"}, false},
      {{"-b", "abc  ", "abc"}, false},
      {{"-b", "-c", "abc  ", "abc%"}, true},
      {{"a%c", "a\\%c"}, false},  // no escape unless asked
      {{"-e", "\\", "a%c", "a\\%c"}, true},
      {{"-e", "\\", "abc", "a\\%c"}, false},
      {{"-e", "!", "a_c", "a!_c"}, true},
      {{"--", "-c", "-%"}, true},  // double dash ends options
  };
  for (const Case& c : cases) {
    std::vector<std::string> args = {"like"};
    args.insert(args.end(), c.args.begin(), c.args.end());
    ToolResult r = runTool(args);
    SCOPED_TRACE(c.args[c.args.size() - 2] + " LIKE " + c.args.back());
    EXPECT_EQ(c.match ? 0 : 1, r.status);
    EXPECT_EQ(c.match ? "true\n" : "false\n", r.out);
  }
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
