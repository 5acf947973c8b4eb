#include <gtest/gtest.h>

#include <string>

#include "tools/tool_runner.h"

namespace {

bool startsWith(const std::string& text, const std::string& prefix) { return text.rfind(prefix, 0) == 0; }

TEST(VxtoolNumber, ParsePrintsTheValueOfEveryType) {
  struct Case {
    const char* type;
    const char* text;
    const char* printed;
  } cases[] = {{"u64", "18446744073709551615", "18446744073709551615\n"},
               {"i64", "-9223372036854775808", "-9223372036854775808\n"},
               {"u32", " +4294967295 ", "4294967295\n"},
               {"i32", "-2147483647", "-2147483647\n"},
               {"u16", "65535", "65535\n"},
               {"i16", "-32768", "-32768\n"},
               {"u8", "255", "255\n"},
               {"i8", "-128", "-128\n"}};
  for (const Case& c : cases) {
    ToolResult r = runTool({"number", "parse", c.type, c.text});
    EXPECT_EQ(0, r.status) << c.type;
    EXPECT_EQ(c.printed, r.out) << c.type;
    EXPECT_TRUE(r.err.empty()) << r.err;
  }
}

TEST(VxtoolNumber, ParseOutOfRangePrintsError2701AndExitsOne) {
  ToolResult r = runTool({"number", "parse", "u64", "18446744073709551616"});
  EXPECT_EQ(1, r.status);
  EXPECT_TRUE(r.out.empty());
  EXPECT_TRUE(startsWith(r.err, "error 2701: ")) << r.err;
}

TEST(VxtoolNumber, ParseBadCharacterPrintsError2702AndExitsOne) {
  ToolResult r = runTool({"number", "parse", "i16", "42x"});
  EXPECT_EQ(1, r.status);
  EXPECT_TRUE(startsWith(r.err, "error 2702: ")) << r.err;
}

TEST(VxtoolNumber, DeliberateOddCasesShowThrough) {
  EXPECT_EQ("0\n", runTool({"number", "parse", "u64", ""}).out);
  EXPECT_EQ("5\n", runTool({"number", "parse", "i32", "--5"}).out);
  ToolResult r = runTool({"number", "parse", "i32", "-2147483648"});
  EXPECT_EQ(1, r.status);
  EXPECT_TRUE(startsWith(r.err, "error 2701: ")) << r.err;
}

TEST(VxtoolNumber, FormatPlainPrintsTextAndCount) {
  ToolResult r = runTool({"number", "format", "-42"});
  EXPECT_EQ(0, r.status);
  EXPECT_EQ("[-42] 3\n", r.out);
  EXPECT_EQ("[18446744073709551615] 20\n", runTool({"number", "format", "18446744073709551615"}).out);
}

TEST(VxtoolNumber, FormatFieldPrintsTheWholeField) {
  EXPECT_EQ("[  123] 3\n", runTool({"number", "format", "-w", "5", "123"}).out);
  EXPECT_EQ("[123  ] 3\n", runTool({"number", "format", "-w", "5", "-l", "123"}).out);
  EXPECT_EQ("[** ] 0\n", runTool({"number", "format", "-w", "3", "1234"}).out);
  EXPECT_EQ("[    ] 0\n", runTool({"number", "format", "-w", "4", "0"}).out);
  EXPECT_EQ("[  -12] 2\n", runTool({"number", "format", "-w", "5", "-12"}).out);
}

}  // namespace
