#include <gtest/gtest.h>

#include <string>

#include "tools/tool_runner.h"

namespace {

TEST(VxtoolHex, EncodeWritesUpperCaseDigitsAndNewline) {
  ToolResult r = runTool({"hex", "encode"}, std::string("\xAB\x01z", 3));
  EXPECT_EQ(0, r.status);
  EXPECT_EQ("AB017A\n", r.out);
  EXPECT_TRUE(r.err.empty());
}

TEST(VxtoolHex, EncodeOfEmptyInputIsEmptyLine) {
  ToolResult r = runTool({"hex", "encode"}, "");
  EXPECT_EQ(0, r.status);
  EXPECT_EQ("\n", r.out);
}

TEST(VxtoolHex, DecodeAcceptsEitherCaseAndIgnoresOneTrailingNewline) {
  ToolResult r = runTool({"hex", "decode"}, "48656c6C6F\n");
  EXPECT_EQ(0, r.status);
  EXPECT_EQ("Hello", r.out);
}

TEST(VxtoolHex, DecodeSecondTrailingNewlineIsABadDigit) {
  ToolResult r = runTool({"hex", "decode"}, "41\n\n");
  EXPECT_EQ(1, r.status);
  EXPECT_NE(std::string::npos, r.err.find("2708"));
}

TEST(VxtoolHex, DecodeOddCountPutsLastDigitInHighNibbleOfExtraByte) {
  ToolResult r = runTool({"hex", "decode"}, "ABC");
  EXPECT_EQ(0, r.status);
  EXPECT_EQ(std::string("\xAB\xC0", 2), r.out);
}

TEST(VxtoolHex, DecodeBadDigitNamesError2708AndExitsOne) {
  ToolResult r = runTool({"hex", "decode"}, "G0");
  EXPECT_EQ(1, r.status);
  EXPECT_NE(std::string::npos, r.err.find("error 2708"));
  EXPECT_TRUE(r.out.empty());
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

TEST(VxtoolHex, WrongUsageExitsTwo) {
  EXPECT_EQ(2, runTool({"hex"}).status);
  EXPECT_EQ(2, runTool({"hex", "reverse"}).status);
  ToolResult r = runTool({"hex", "encode", "extra"});
  EXPECT_EQ(2, r.status);
  EXPECT_NE(std::string::npos, r.err.find("usage:"));
}

}  // namespace
