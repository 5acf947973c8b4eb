// vxtool message: catalog texts with parameters filled in order.
#include <gtest/gtest.h>

#include <string>

#include "foundation/msgtext_internal.h"
#include "tools/tool_runner.h"

namespace {

std::string catalogText(uint16_t number) {
  char buffer[1024];
  loadMessageText(number, buffer, sizeof buffer);
  return buffer;
}

std::string replaced(std::string text, const std::string& marker, const std::string& value) {
  size_t at = text.find(marker);
  if (at != std::string::npos) text.replace(at, marker.size(), value);
  return text;
}

TEST(VxtoolMessage, PrintsTheCatalogTextOfTheNumber) {
  ToolResult r = runTool({"message", "1503"});
  EXPECT_EQ(0, r.status);
  EXPECT_EQ(catalogText(1503) + "\n", r.out);
  EXPECT_NE("1503\n", r.out);
  EXPECT_TRUE(r.err.empty());
}

TEST(VxtoolMessage, FillsTextParametersInOrder) {
  std::string expected = replaced(replaced(catalogText(1523), "%s1", "/x/liba.so"), "%s2", "bad ELF");
  ToolResult r = runTool({"message", "1523", "/x/liba.so", "bad ELF"});
  EXPECT_EQ(0, r.status);
  EXPECT_EQ(expected + "\n", r.out);
}

TEST(VxtoolMessage, IntegerParameterFillsANumberMarker) {
  std::string templ = catalogText(2705);
  ASSERT_NE(std::string::npos, templ.find("%d1")) << templ;
  std::string expected = replaced(replaced(templ, "%d1", "17"), "%s2", "DSN=x");
  ToolResult r = runTool({"message", "2705", "17", "DSN=x"});
  EXPECT_EQ(0, r.status);
  EXPECT_EQ(expected + "\n", r.out);
}

TEST(VxtoolMessage, DigitsGoInAsTextWhereTheMarkerIsText) {
  std::string expected = replaced(catalogText(2701), "%s1", "99999");
  ToolResult r = runTool({"message", "2701", "99999"});
  EXPECT_EQ(0, r.status);
  EXPECT_EQ(expected + "\n", r.out);
}

TEST(VxtoolMessage, NumberWithoutTextPrintsTheNumber) {
  ToolResult r = runTool({"message", "65000", "ignored"});
  EXPECT_EQ(0, r.status);
  EXPECT_EQ("65000\n", r.out);
}

TEST(VxtoolErrors, ErrorLinesCarryTheEnglishText) {
  ToolResult r = runTool({"hex", "decode"}, "zz");
  EXPECT_EQ(1, r.status);
  EXPECT_EQ("error 2708: " + catalogText(2708) + "\n", r.err);
  EXPECT_NE("2708", catalogText(2708));
}

}  // namespace
