#include <gtest/gtest.h>

#include "tools/tool_runner.h"

namespace {

TEST(Vxtool, VersionPrintsNameAndVersion) {
  ToolResult r = runTool({"--version"});
  EXPECT_EQ(0, r.status);
  EXPECT_EQ(0u, r.out.rfind("vxtool ", 0));
}

TEST(Vxtool, HelpListsHelpCommand) {
  ToolResult r = runTool({"help"});
  EXPECT_EQ(0, r.status);
  EXPECT_NE(std::string::npos, r.out.find("vxtool help [COMMAND]"));
}

TEST(Vxtool, UnknownCommandIsUsageErrorWithExitTwo) {
  ToolResult r = runTool({"no-such-command"});
  EXPECT_EQ(2, r.status);
  EXPECT_NE(std::string::npos, r.err.find("usage:"));
  EXPECT_TRUE(r.out.empty());
}

TEST(Vxtool, NoArgumentsIsUsageError) {
  ToolResult r = runTool({});
  EXPECT_EQ(2, r.status);
}

}  // namespace
