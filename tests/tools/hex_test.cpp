#include <gtest/gtest.h>

#include <string>

#include "tools/tool_runner.h"

namespace {

// Each row: a direction, the input, and the exit status, output and a
// piece of standard error expected (empty error output when none is given).
TEST(VxtoolHex, EncodesAndDecodesOrNamesError2708) {
  struct Case {
    const char* direction;
    std::string input;
    int status;
    std::string out;
    const char* err;
  } cases[] = {
      {"encode", std::string("\xAB\x01z", 3), 0, "AB017A\n", nullptr},  // upper-case digits, newline
      {"encode", "", 0, "\n", nullptr},
      {"decode", "48656c6C6F\n", 0, "Hello", nullptr},  // either case, one trailing newline ignored
      {"decode", "41\n\n", 1, "", "error 2708"},         // a second newline is a bad digit
      {"decode", "ABC", 0, std::string("\xAB\xC0", 2), nullptr},  // odd count: high nibble of an extra byte
      {"decode", "G0", 1, "", "error 2708"},
  };
  for (const Case& c : cases) {
    ToolResult r = runTool({"hex", c.direction}, c.input);
    SCOPED_TRACE(std::string(c.direction) + " " + c.input);
    EXPECT_EQ(c.status, r.status);
    if (c.status == 0) {
      EXPECT_EQ(c.out, r.out);
    }
    if (c.err) {
      EXPECT_NE(std::string::npos, r.err.find(c.err));
    } else {
      EXPECT_TRUE(r.err.empty()) << r.err;
    }
  }
  EXPECT_TRUE(runTool({"hex", "decode"}, "G0").out.empty());
}

TEST(VxtoolHex, RoundTripRestoresEveryByteValue) {
  std::string all;
  for (int k = 0; k < 256; ++k) all.push_back(char(k));
  ToolResult encoded = runTool({"hex", "encode"}, all);
  ASSERT_EQ(0, encoded.status);
  ToolResult decoded = runTool({"hex", "decode"}, encoded.out);
  EXPECT_EQ(0, decoded.status);
  EXPECT_EQ(all, decoded.out);
}

}  // namespace
