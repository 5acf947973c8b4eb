#include <gtest/gtest.h>

#include "tools/tool_runner.h"

namespace {

TEST(VxtoolConnstr, PrintsAttributesInOrder) {
  ToolResult r = runTool({"connstr", "ODBC;DSN=sales; UID = scott;Data Source=x;;"});
  EXPECT_EQ(0, r.status);
  EXPECT_EQ("DSN=sales\nUID=scott\nData Source=x\n", r.out);
  EXPECT_TRUE(r.err.empty());
}

TEST(VxtoolConnstr, ParseErrorIsPrintedAndExitsOne) {
  ToolResult r = runTool({"connstr", "DSN=a;DSN=b"});
  EXPECT_EQ(1, r.status);
  EXPECT_EQ(0u, r.err.rfind("error 2704: ", 0)) << r.err;
  ToolResult named = runTool({"connstr", "--source", "odbc.ini", "=x"});
  EXPECT_EQ(1, named.status);
  EXPECT_EQ(0u, named.err.rfind("error 2705: ", 0)) << named.err;
}

TEST(VxtoolConnstr, OptionsReachTheParser) {
  EXPECT_EQ("DSN=a\n", runTool({"connstr", "--allow-dup", "DSN=a;DSN=b"}).out);
  EXPECT_EQ("a=1\nb=2\n", runTool({"connstr", "--sep", ",", "a=1,b=2"}).out);
}

TEST(VxtoolConnstr, RebuildAppliesEditsInOrder) {
  ToolResult r = runTool({"connstr", "--rebuild", "--set", "PWD=x;y", "--remove", "UID", "--set", "uid=new",
                          "DSN=a;UID=u"});
  EXPECT_EQ(0, r.status);
  EXPECT_EQ("DSN=a;PWD='x;y';uid=new\n", r.out);
}

}  // namespace
