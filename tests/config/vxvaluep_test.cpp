// VxValueParser: the parse rules, their errors, fetching and editing.
// The rebuild round trip is judged by the value-parser fuzz target.
#include "config/vxvaluep.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "foundation/ram_internal.h"
#include "foundation/vxerror.h"

namespace {

using namespace std::string_literals;
typedef std::vector<std::pair<std::string, std::string>> Pairs;

class VxValueParserTest : public ::testing::Test {
 protected:
  VxValueParserTest() { VxErrorKeeper::setErrorList(&errors); }
  ~VxValueParserTest() override { VxErrorKeeper::giveUpErrorList(); }

  static std::string str(const VxSubString* s) { return s ? std::string(s->asPascalStr(), s->getLength()) : "<absent>"; }
  static Pairs attributes(VxValueParser& parser) {
    Pairs out;
    for (uint16_t i = 0; i < parser.getAttributeCount(); ++i)
      out.emplace_back(str(parser.getAttributeKey(i)), str(parser.getAttributeValueAt(i)));
    return out;
  }
  static std::vector<std::string> unused(VxValueParser& parser) {
    std::vector<std::string> keys;
    while (const VxSubString* k = parser.getUnusedAttribute()) keys.push_back(str(k));
    return keys;
  }
  VxErrorList errors{nullptr, 1};
};

// Each row: an input, the attributes parsed from it (up to an error), the
// error and its text (none: 0), the separator, whether repeats are allowed
// and the name of the source.
TEST_F(VxValueParserTest, ParsesAttributesInOrderDroppingWhatTheRulesDrop) {
  struct { std::string input; Pairs expected; int error = 0; std::string text = ""; char separator = ';';
           int allowDuplicates = 0; const char* source = nullptr; } rows[] = {
      {"DSN=sales; UID = scott ;PWD=tiger", {{"DSN", "sales"}, {"UID", "scott"}, {"PWD", "tiger"}}},
      {"Data Source=x;Initial  Catalog=y", {{"Data Source", "x"}, {"Initial  Catalog", "y"}}},
      {";DSN=a;;UID=u;", {{"DSN", "a"}, {"UID", "u"}}},
      {"driver=b;dsn=a;UID=u", {{"driver", "b"}, {"UID", "u"}}},
      {"UID=u;DSN=a;DRIVER=b", {{"UID", "u"}, {"DSN", "a"}, {"DRIVER", "b"}}},  // only the first decides
      {"ODBC;DSN=a;Driver=b", {{"DSN", "a"}}},  // ODBC is no first attribute
      {"Driver=one;DRIVER=two", {{"Driver", "one"}}},  // Driver may repeat; the first value stays
      {"PWD==x;UID=<u>", {{"PWD", "=x"}, {"UID", "<u>"}}},
      {"PWD='a;b';UID=u", {{"PWD", "'a;b'"}, {"UID", "u"}}},
      {"DSN='abc;UID=u", {{"DSN", "'abc;UID=u"}}},  // an unclosed quote runs to the end
      {"DSN=a\0b;UID=u"s, {{"DSN", "a\0b"s}, {"UID", "u"}}},
      // ODBC braces: the value lies between them, "}}" is one "}"; a "{"
      // without its match, or with text after it, is an ordinary byte.
      {"PWD={a;b}}c} ;DRIVER={My Driver};X={'}", {{"PWD", "a;b}c"}, {"DRIVER", "My Driver"}, {"X", "'"}}},
      {"A={x}y;B={z", {{"A", "{x}y"}, {"B", "{z"}}},
      // Deliberate: after a first DSN any six-letter keyword starting with D.
      {"DSN=a;Domain=x;dbname=y;Data=z;UID=u", {{"DSN", "a"}, {"Data", "z"}, {"UID", "u"}}},
      {"DRIVER=d;Domain=x", {{"DRIVER", "d"}, {"Domain", "x"}}},
      {"a=1,b=2", {{"a", "1"}, {"b", "2"}}, 0, "", ','},
      {"DSN=a;dsn=b", {{"DSN", "a"}}, 0, "", ';', 1},
      {"DSN=a;dsn=b", {{"DSN", "a"}}, 2704, "Syntax error in the connection string at position 9. The keyword is repeated: ="},
      {"DSN=a;=b", {{"DSN", "a"}}, 2705, "Syntax error at position 6 of odbc.ini.", ';', 0, "odbc.ini"},
      {"DSN a", {}, 2704, "Syntax error in the connection string at position 5."},
      {"ODBC=x", {}, 2704, "Syntax error in the connection string at position 4."},
  };
  for (const auto& row : rows) {
    errors.clearErrors();
    VxSubString in(row.input.data(), row.input.size());
    VxValueParser parser(in, row.separator, row.source, row.allowDuplicates);
    EXPECT_EQ(row.error ? 1u : 0u, parser.initialize()) << row.input;
    EXPECT_EQ(row.expected, attributes(parser)) << row.input;
    ASSERT_EQ(row.error ? 1u : 0u, errors.getCount()) << row.input;
    EXPECT_EQ(row.error, row.error ? errors.getNodeAtPos(0)->getErrorNumber() : 0) << row.input;
    EXPECT_EQ(row.text, row.error ? errors.getNodeAtPos(0)->getErrorText() : "") << row.input;
  }
}

// Out of memory at any allocation of a parse: status 1 with one 1503 filed.
TEST_F(VxValueParserTest, ParseWithoutMemoryFailsWithOneReport) {
  VxSubString in("DSN=a;UID=u", 11);
  uint64_t failing = 1;
  for (;; ++failing) {
    errors.clearErrors();
    VxValueParser parser(in, ';', nullptr, 0);
    ramFailAllocationAfter(failing);
    unsigned status = parser.initialize();
    ramFailAllocationAfter(0);
    if (status == 0) break;
    ASSERT_EQ(1503, errors.getCount() == 1 ? errors.getNodeAtPos(0)->getErrorNumber() : 0) << failing;
  }
  EXPECT_GT(failing, 4u);
}

// Fetches mark attributes used; of two synonyms whichever is there is
// fetched, and both together are an error. Setting an attribute replaces
// it in place under its own name (or a synonym's), else appends it, quoted
// when it holds a quote or the separator; removing one keeps the used
// flags of the others.
TEST_F(VxValueParserTest, FetchesMarkAttributesUsedAndEditsKeepTheMarks) {
  VxSubString in("DSN=a;UID=u;PWD=p;HOST=h;USER=b");
  VxValueParser p(in, ';', nullptr, 0);
  ASSERT_EQ(0u, p.initialize());
  EXPECT_EQ("u", str(p.getAttributeValue("uid")));
  EXPECT_EQ("<absent>", str(p.getAttributeValue("NOPE")));
  EXPECT_EQ(4, p.getUnusedCount());
  EXPECT_EQ((std::vector<std::string>{"DSN", "PWD", "HOST", "USER"}), unused(p));
  p.resetUnused();
  EXPECT_EQ(5, p.getUnusedCount());
  const VxSubString *second = &in, *first = &in, *neither = &in, *both = &in;
  EXPECT_EQ(0u, p.getAttributeValue("PASSWORD", "PWD", &second) + p.getAttributeValue("HOST", "SERVER", &first) +
                    p.getAttributeValue("X", "Y", &neither));
  EXPECT_EQ("p h <absent>", str(second) + " " + str(first) + " " + str(neither));
  EXPECT_EQ((std::vector<std::string>{"DSN", "UID", "USER"}), unused(p));
  EXPECT_EQ(1u, p.getAttributeValue("UID", "USER", &both));
  EXPECT_EQ(nullptr, both);
  ASSERT_EQ(1u, errors.getCount());
  EXPECT_EQ("Syntax error in the connection string at position 31. Both synonyms of an attribute were given: UID, USER"s,
            errors.getNodeAtPos(0)->getErrorText());

  EXPECT_EQ(0u, p.addAttribute("dsn", "scott") + p.addAttribute("X", "x;y") + p.addAttribute("LOGIN", "o'brien", "UID") +
                    p.addAttribute("Q", "say \"hi\""));
  p.removeAttribute("pwd");
  p.removeAttribute("missing");
  VxString out;
  EXPECT_EQ(0u, p.buildString(out));
  EXPECT_EQ("DSN=scott;UID='o''brien';HOST=h;USER=b;X='x;y';Q='say \"hi\"'", std::string(out.asPascalStr(), out.getLength()));
  EXPECT_EQ(5, p.getUnusedCount());  // all but HOST
  // A value read from braces is written back in braces, "}" doubled.
  VxSubString braced("PWD={a;b}}c};UID={u}");
  VxValueParser q(braced, ';', nullptr, 0);
  EXPECT_EQ(0u, q.initialize() + q.buildString(out));
  EXPECT_EQ("PWD={a;b}}c};UID={u}", std::string(out.asPascalStr(), out.getLength()));
}

}  // namespace
