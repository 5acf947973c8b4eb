#include "config/vxvaluep.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "foundation/msgtext_internal.h"
#include "foundation/vxerror.h"

namespace {

// Installs a multiple-error list for the test's thread.
class VxValueParserTest : public ::testing::Test {
 protected:
  VxValueParserTest() : errors(nullptr, 1) { VxErrorKeeper::setErrorList(&errors); }
  ~VxValueParserTest() override { VxErrorKeeper::giveUpErrorList(); }

  // Parses text and returns the attributes in order as key/value pairs.
  std::vector<std::pair<std::string, std::string>> attributes(VxValueParser& parser) {
    std::vector<std::pair<std::string, std::string>> out;
    for (uint16_t i = 0; i < parser.getAttributeCount(); ++i) {
      const VxSubString* k = parser.getAttributeKey(i);
      const VxSubString* v = parser.getAttributeValueAt(i);
      out.emplace_back(std::string(k->asPascalStr(), k->getLength()), std::string(v->asPascalStr(), v->getLength()));
    }
    return out;
  }

  std::string rebuilt(VxValueParser& parser) {
    VxString out;
    EXPECT_EQ(0u, parser.buildString(out));
    return std::string(out.asPascalStr(), out.getLength());
  }

  std::string valueOf(VxValueParser& parser, const char* key) {
    const VxSubString* v = parser.getAttributeValue(key);
    return v ? std::string(v->asPascalStr(), v->getLength()) : std::string("<absent>");
  }

  VxErrorList errors;
};

typedef std::vector<std::pair<std::string, std::string>> Pairs;

// Each row: an input, its separator, and the attributes parsed from it.
TEST_F(VxValueParserTest, ParsesAttributesInOrderDroppingWhatTheRulesDrop) {
  struct Case {
    const char* name;
    const char* input;
    char separator;
    Pairs expected;
  } cases[] = {
      {"keywords and values", "DSN=sales; UID = scott ;PWD=tiger", ';',
       {{"DSN", "sales"}, {"UID", "scott"}, {"PWD", "tiger"}}},
      {"keyword may hold blanks", "Data Source=x;Initial  Catalog=y", ';',
       {{"Data Source", "x"}, {"Initial  Catalog", "y"}}},
      {"bare ODBC skipped", "ODBC;DSN=x", ';', {{"DSN", "x"}}},
      {"empty pieces", ";DSN=a;;UID=u;", ';', {{"DSN", "a"}, {"UID", "u"}}},
      {"DSN first drops DRIVER", "DSN=a;DRIVER=b", ';', {{"DSN", "a"}}},
      {"DRIVER first drops DSN", "driver=b;dsn=a;UID=u", ';', {{"driver", "b"}, {"UID", "u"}}},
      {"only the first attribute decides", "UID=u;DSN=a;DRIVER=b", ';',
       {{"UID", "u"}, {"DSN", "a"}, {"DRIVER", "b"}}},
      {"ODBC does not count as first", "ODBC;DSN=a;Driver=b", ';', {{"DSN", "a"}}},
      {"DRIVER may repeat, first value stays", "Driver=one;DRIVER=two", ';', {{"Driver", "one"}}},
      {"operator starting with equals", "PWD==x;UID=<u>", ';', {{"PWD", "=x"}, {"UID", "<u>"}}},
      {"quoted value keeps separator", "PWD='a;b';UID=u", ';', {{"PWD", "'a;b'"}, {"UID", "u"}}},
      {"other separator", "a=1,b=2", ',', {{"a", "1"}, {"b", "2"}}},
      {"unclosed quote runs to the end", "DSN='abc;UID=u", ';', {{"DSN", "'abc;UID=u"}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    VxSubString in(c.input);
    VxValueParser p(in, c.separator, nullptr, 0);
    ASSERT_EQ(0u, p.initialize());
    EXPECT_EQ(c.expected, attributes(p));
    EXPECT_EQ(0u, errors.getCount());
  }
}

TEST_F(VxValueParserTest, AfterAFirstDsnAnySixLetterKeywordStartingWithDIsDeliberatelyDropped) {
  VxSubString in("DSN=a;Domain=x;dbname=y;Data=z;UID=u");
  VxValueParser p(in, ';', nullptr, 0);
  ASSERT_EQ(0u, p.initialize());
  EXPECT_EQ((Pairs{{"DSN", "a"}, {"Data", "z"}, {"UID", "u"}}), attributes(p));

  VxSubString driverFirst("DRIVER=d;Domain=x");
  VxValueParser q(driverFirst, ';', nullptr, 0);
  ASSERT_EQ(0u, q.initialize());
  EXPECT_EQ((Pairs{{"DRIVER", "d"}, {"Domain", "x"}}), attributes(q));
}

TEST_F(VxValueParserTest, RepeatedKeywordFailsWith2706AppendedUnlessAllowed) {
  VxSubString in("DSN=a;dsn=b");
  VxValueParser p(in, ';', nullptr, 0);
  EXPECT_EQ(1u, p.initialize());
  ASSERT_EQ(1u, errors.getCount());
  VxError* e = errors.getNodeAtPos(0);
  EXPECT_EQ(2704, e->getErrorNumber());
  std::string text = e->getErrorText();
  char repeated[512];
  loadMessageText(2706, repeated, sizeof repeated);
  EXPECT_NE(std::string::npos, text.find(std::string(" ") + repeated + " =")) << text;
  EXPECT_NE(std::string::npos, text.find("=")) << "the current token is appended: " << text;
  // The attributes parsed before the error stay.
  EXPECT_EQ((Pairs{{"DSN", "a"}}), attributes(p));

  VxValueParser allowed(in, ';', nullptr, 1);
  ASSERT_EQ(0u, allowed.initialize());
  EXPECT_EQ((Pairs{{"DSN", "a"}}), attributes(allowed));
}

TEST_F(VxValueParserTest, SyntaxErrorNamesPositionAndSource) {
  VxSubString in("DSN=a;=b");
  VxValueParser p(in, ';', "odbc.ini", 0);
  EXPECT_EQ(1u, p.initialize());
  ASSERT_EQ(1u, errors.getCount());
  EXPECT_EQ(2705, errors.getNodeAtPos(0)->getErrorNumber());

  errors.clearErrors();
  VxSubString missingEquals("DSN a");
  VxValueParser q(missingEquals, ';', nullptr, 0);
  EXPECT_EQ(1u, q.initialize());
  ASSERT_EQ(1u, errors.getCount());
  EXPECT_EQ(2704, errors.getNodeAtPos(0)->getErrorNumber());
}

TEST_F(VxValueParserTest, FetchingMarksUsedAndUnusedAreListedInOrder) {
  VxSubString in("DSN=a;UID=u;PWD=p;HOST=h");
  VxValueParser p(in, ';', nullptr, 0);
  ASSERT_EQ(0u, p.initialize());
  EXPECT_EQ(4, p.getUnusedCount());
  EXPECT_EQ("u", valueOf(p, "uid"));
  EXPECT_TRUE(p.isAttributeValue("DSN"));  // does not mark
  EXPECT_EQ(3, p.getUnusedCount());
  std::vector<std::string> unused;
  while (const VxSubString* k = p.getUnusedAttribute()) unused.emplace_back(k->asPascalStr(), k->getLength());
  EXPECT_EQ((std::vector<std::string>{"DSN", "PWD", "HOST"}), unused);
  p.resetUnused();
  EXPECT_EQ(4, p.getUnusedCount());
  EXPECT_EQ("<absent>", valueOf(p, "NOPE"));
}

TEST_F(VxValueParserTest, SynonymsGivenTogetherAreAnError) {
  VxSubString in("UID=a;USER=b;PWD=p");
  VxValueParser p(in, ';', nullptr, 0);
  ASSERT_EQ(0u, p.initialize());
  const VxSubString* value = nullptr;
  EXPECT_EQ(1u, p.getAttributeValue("UID", "USER", &value));
  EXPECT_EQ(nullptr, value);
  ASSERT_EQ(1u, errors.getCount());
  std::string text = errors.getNodeAtPos(0)->getErrorText();
  char both[512];
  loadMessageText(2707, both, sizeof both);
  EXPECT_NE(std::string::npos, text.find(" " + std::string(both) + " UID, USER")) << text;

  EXPECT_EQ(0u, p.getAttributeValue("PASSWORD", "PWD", &value));
  ASSERT_NE(nullptr, value);
  EXPECT_TRUE(value->isEqual("p"));
  EXPECT_EQ(0u, p.getAttributeValue("X", "Y", &value));
  EXPECT_EQ(nullptr, value);
}

TEST_F(VxValueParserTest, AddReplacesInPlaceOrAppendsWithQuotes) {
  VxSubString in("DSN=a;UID=u");
  VxValueParser p(in, ';', nullptr, 0);
  ASSERT_EQ(0u, p.initialize());
  ASSERT_EQ(0u, p.addAttribute("uid", "scott"));
  ASSERT_EQ(0u, p.addAttribute("PWD", "x;y"));
  ASSERT_EQ(0u, p.addAttribute("USER", "o'brien", "UID"));
  EXPECT_EQ("DSN=a;UID='o''brien';PWD='x;y'", rebuilt(p));
  EXPECT_EQ(3, p.getUnusedCount());
  EXPECT_EQ("'x;y'", valueOf(p, "PWD"));
}

TEST_F(VxValueParserTest, RemoveKeepsTheOthersAndTheirUsedFlags) {
  VxSubString in("A=1;B=2;C=3");
  VxValueParser p(in, ';', nullptr, 0);
  ASSERT_EQ(0u, p.initialize());
  valueOf(p, "C");
  p.removeAttribute("b");
  p.removeAttribute("missing");
  EXPECT_EQ("A=1;C=3", rebuilt(p));
  EXPECT_EQ(1, p.getUnusedCount());
  const VxSubString* k = p.getUnusedAttribute();
  ASSERT_NE(nullptr, k);
  EXPECT_TRUE(k->isEqual("A"));
}

TEST_F(VxValueParserTest, RoundTripThroughBuildString) {
  VxSubString in("DRIVER={SQL Server};SERVER=h,1433;Data Source=db");
  VxValueParser p(in, ';', nullptr, 0);
  ASSERT_EQ(0u, p.initialize());
  std::string once = rebuilt(p);
  VxSubString again(once.c_str());
  VxValueParser q(again, ';', nullptr, 0);
  ASSERT_EQ(0u, q.initialize());
  EXPECT_EQ(attributes(p), attributes(q));
}

TEST_F(VxValueParserTest, HugeAndBrokenInputsFailCleanly) {
  std::string big;
  for (int i = 0; big.size() < 70000; ++i) big += "K" + std::to_string(i) + "=v" + std::to_string(i) + ";";
  VxSubString in(big.c_str());
  VxValueParser p(in, ';', nullptr, 0);
  ASSERT_EQ(0u, p.initialize());
  EXPECT_GT(p.getAttributeCount(), 5000);

  std::string withNul("DSN=a\0b;UID=u", 13);
  VxSubString nul(withNul.data(), withNul.size());
  VxValueParser r(nul, ';', nullptr, 0);
  EXPECT_EQ(0u, r.initialize());
  EXPECT_EQ(2, r.getAttributeCount());
}

}  // namespace
