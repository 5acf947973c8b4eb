#include <gtest/gtest.h>

#include <string>
#include <vector>

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

// Wrong usage of any command: exit status 2, usage on standard error and
// nothing on standard output.
TEST(Vxtool, WrongUsageExitsTwoWithUsageOnStandardError) {
  const std::vector<std::vector<std::string>> cases = {
      {}, {"no-such-command"},
      {"hex"}, {"hex", "reverse"}, {"hex", "encode", "extra"},
      {"number"}, {"number", "parse", "u128", "1"}, {"number", "parse", "u8"},
      {"number", "format", "12x"}, {"number", "format", "-w", "x", "1"},
      {"number", "format", "-l", "1"}, {"number", "format", "99999999999999999999"},
      {"connstr"}, {"connstr", "--set", "a=b", "DSN=x"}, {"connstr", "--sep", "ab", "x=1"},
      {"scramble", "encrypt"}, {"scramble", "--method", "1"},
      {"scramble", "--method", "x", "encrypt"}, {"scramble", "--method", "70000", "encrypt"},
      {"scramble", "--method", "1", "encrypt", "decrypt"}, {"scramble", "--method", "1", "--key"},
      {"scan"}, {"scan", "--mode", "3", "x"}, {"scan", "--bogus", "x"}, {"scan", "a", "b"},
      {"message"}, {"message", "65536"}, {"message", "-1"}, {"message", "12a"}, {"message", ""},
  };
  for (const std::vector<std::string>& args : cases) {
    std::string line;
    for (const std::string& arg : args) line += arg + " ";
    SCOPED_TRACE(line);
    ToolResult r = runTool(args);
    EXPECT_EQ(2, r.status);
    EXPECT_NE(std::string::npos, r.err.find("usage:"));
    EXPECT_TRUE(r.out.empty());
  }
}

}  // namespace
