#include "parser/vxscanne.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "containers/vxarray.h"
#include "guarded_text_support.h"

namespace {

struct Tok {
  int32_t type;
  VXSIZE_T offset;
  std::string text;
  bool operator==(const Tok& o) const { return type == o.type && offset == o.offset && text == o.text; }
};

std::ostream& operator<<(std::ostream& os, const Tok& t) {
  return os << "{" << t.type << ", " << t.offset << ", \"" << t.text << "\"}";
}

// Every token of the scanner's text up to and including the end token.
std::vector<Tok> scanAll(VxScanner& s, int mode = VxScanner::kNormal) {
  std::vector<Tok> out;
  VxToken t;
  for (;;) {
    int32_t type = s.getToken(t, mode);
    EXPECT_EQ(type, t.getTokenType());
    out.push_back({type, t.getBegOfToken(), std::string(t.asPascalStr(), t.getLength())});
    if (type == VX_TOKEN_END) break;
  }
  return out;
}

TEST(VxScannerOperators, TableHasFortyFourEntriesEndingInZero) {
  EXPECT_EQ(44, OperatorCount);
  EXPECT_EQ(0, Operators[43].code);
  EXPECT_EQ('?', Operators[0].code);
  EXPECT_EQ('`', Operators[42].code);
}

TEST(VxScannerOperators, EachTwoCharacterFormFollowsItsFirstCharacter) {
  for (int i = 0; i < OperatorCount - 1; ++i) {
    if (Operators[i].getOpLen() != 2) continue;
    int j = i - 1;
    while (Operators[j].getOpLen() == 2) --j;
    EXPECT_EQ(Operators[j].code, Operators[i].getFirstSymbol()) << "entry " << i;
  }
}

// One scan of a text by a scanner set up by the row. A row whose last
// expected token is the end token lists every token; any other row lists
// the first tokens only.
struct ScanCase {
  const char* promise;
  std::string text;
  std::vector<Tok> expected;
  int mode = VxScanner::kNormal;
  void (*setup)(VxScanner&) = nullptr;
  vxCPType cp = VX_CP_LOCALE;
};

TEST(VxScannerTokens, EveryConfigurationSplitsItsText) {
  const int32_t W = VX_TOKEN_WORD, N = VX_TOKEN_NUMBER, Q = VX_TOKEN_QUOTED, E = VX_TOKEN_END;
  const int32_t L = VX_TOKEN_LIST_ITEM, U = VX_TOKEN_UNTERMINATED, C = VX_TOKEN_CHAR;
  const ScanCase cases[] = {
      {"not-equal is one packed operator", "a<>b", {{W, 0, "a"}, {60 * 256 + 62, 1, "<>"}, {W, 3, "b"}, {E, 4, ""}}},
      {"longest two-character form wins, else the single one", "!< != ! >= *= ** || |",
       {{'!' * 256 + '<', 0, "!<"}, {'!' * 256 + '=', 3, "!="}, {'!', 6, "!"}, {'>' * 256 + '=', 8, ">="},
        {'*' * 256 + '=', 11, "*="}, {'*' * 256 + '*', 14, "**"}, {'|' * 256 + '|', 17, "||"}, {'|', 20, "|"},
        {E, 21, ""}}},
      {"character outside the table is class 10", "^~", {{C, 0, "^"}, {C, 1, "~"}}},
      {"end token is empty at the length", "  ", {{E, 2, ""}}},
      {"words, numbers and operators of a select",
       "SELECT a1, b FROM t WHERE x>=10;",
       {{W, 0, "SELECT"}, {W, 7, "a1"}, {',', 9, ","}, {W, 11, "b"}, {W, 13, "FROM"}, {W, 18, "t"},
        {W, 20, "WHERE"}, {W, 26, "x"}, {'>' * 256 + '=', 27, ">="}, {N, 29, "10"}, {';', 31, ";"},
        {E, 32, ""}}},
      {"doubled quote stays inside the literal", "'it''s' x", {{Q, 0, "'it''s'"}, {W, 8, "x"}}},
      {"unterminated literal runs to the end", "x 'abc", {{W, 0, "x"}, {U, 2, "'abc"}, {E, 6, ""}}},
      {"each default quote opens a literal", "\"a b\" `c d`", {{Q, 0, "\"a b\""}, {Q, 6, "`c d`"}}},
      {"quote that is not configured is an operator", "\"a\"", {{'"', 0, "\""}, {W, 1, "a"}},
       VxScanner::kNormal, [](VxScanner& s) { s.setQuotes('\'', 0, 0); }},
      {"default quotes come back", "x", {{Q, 0, "\"a\""}}, VxScanner::kNormal,
       [](VxScanner& s) {
         s.setQuotes('\'', 0, 0);
         s.setDefaultQuotes();
         s.setScanString("\"a\"");
       }},
      {"decimal option joins point and digits", "1.5 .25", {{N, 0, "1.5"}, {N, 4, ".25"}},
       VxScanner::kNormal, [](VxScanner& s) { s.setDecimalNumbers(true); }},
      {"without the decimal option a point is an operator", "1.5",
       {{N, 0, "1"}, {'.', 1, "."}, {N, 2, "5"}, {E, 3, ""}}},
      {"second point ends a decimal", "1.2.3", {{N, 0, "1.2"}, {N, 3, ".3"}}, VxScanner::kNormal,
       [](VxScanner& s) { s.setDecimalNumbers(true); }},
      {"outer join mark is one token", "x(+)", {{W, 0, "x"}, {VX_TOKEN_OUTER_JOIN, 1, "(+)"}, {E, 4, ""}}},
      {"parenthesis matching nests and skips quoted parentheses", "f(a, (b), ')') z",
       {{W, 0, "f"}, {Q, 1, "(a, (b), ')')"}, {W, 15, "z"}}, VxScanner::kNormal,
       [](VxScanner& s) { s.setMatchParentheses(true); }},
      {"unbalanced group is unterminated", "{a {b}", {{U, 0, "{a {b}"}}, VxScanner::kNormal,
       [](VxScanner& s) { s.setMatchBraces(true); }},
      {"extra matching pair", "[a [b]] c", {{Q, 0, "[a [b]]"}, {W, 8, "c"}}, VxScanner::kNormal,
       [](VxScanner& s) { s.setMatchingPair('[', ']'); }},
      {"comments when switched on", "a -- note\nb /* x */ c /* open",
       {{W, 0, "a"}, {VX_TOKEN_COMMENT, 2, "-- note"}, {W, 10, "b"}, {VX_TOKEN_COMMENT, 12, "/* x */"},
        {W, 20, "c"}, {VX_TOKEN_COMMENT, 22, "/* open"}, {E, 29, ""}},
       VxScanner::kNormal, [](VxScanner& s) { s.setComments(true); }},
      {"no comments when off", "a--b", {{W, 0, "a"}, {'-' * 256 + '-', 1, "--"}}},
      {"list items run to blanks and list punctuation", "a.b=c,(d|e) f",
       {{L, 0, "a.b=c"}, {',', 5, ","}, {'(', 6, "("}, {L, 7, "d"}, {'|', 8, "|"}, {L, 9, "e"},
        {')', 10, ")"}, {L, 12, "f"}, {E, 13, ""}},
       VxScanner::kListItems},
      {"list item starting with a control character still advances", std::string("\x01\x02" "a", 3),
       {{L, 0, "\x01"}, {L, 1, "\x02" "a"}, {E, 3, ""}}, VxScanner::kListItems},
      {"names take hash and dollar", "#tmp$1 x-y 9",
       {{VX_TOKEN_NAME, 0, "#tmp$1"}, {VX_TOKEN_NAME, 7, "x"}, {'-', 8, "-"}, {VX_TOKEN_NAME, 9, "y"},
        {N, 11, "9"}},
       VxScanner::kNames},
      {"names continue over the valid middle set", "a-b c", {{VX_TOKEN_NAME, 0, "a-b"}}, VxScanner::kNames,
       [](VxScanner& s) { s.setValidMiddleChars("-"); }},
      {"valid first and middle characters extend words", "@var_1 x", {{W, 0, "@var_1"}},
       VxScanner::kNormal,
       [](VxScanner& s) {
         s.setValidFirstChars("@");
         s.setValidMiddleChars("_");
       }},
      {"valid first character is not skipped as white space", " \tx", {{W, 1, "\tx"}},
       VxScanner::kNormal, [](VxScanner& s) { s.setValidFirstChars("\t"); }},
      {"valid characters delimit words", "a.b;c+d", {{W, 0, "a.b"}, {';', 3, ";"}, {W, 4, "c+d"}},
       VxScanner::kNormal, [](VxScanner& s) { s.setValidChars(";"); }},
      {"reset valid characters", "a.b", {{W, 0, "a"}, {'.', 1, "."}, {W, 2, "b"}, {E, 3, ""}},
       VxScanner::kNormal,
       [](VxScanner& s) {
         s.setValidChars(";");
         s.resetValidChars();
       }},
      // The euro sign is no letter: one character of class 10, all three bytes.
      {"utf-8 letters make one word", "caf\xC3\xA9 \xE2\x82\xAC", {{W, 0, "caf\xC3\xA9"}, {C, 6, "\xE2\x82\xAC"}},
       VxScanner::kNormal, nullptr, VX_CP_UTF8},
      {"cut-off character at the end stays inside the text", "a\xE2\x82",
       {{W, 0, "a"}, {C, 1, "\xE2\x82"}, {E, 3, ""}}, VxScanner::kNormal, nullptr, VX_CP_UTF8},
  };
  for (const ScanCase& c : cases) {
    SCOPED_TRACE(c.promise);
    VxScanner s(c.text.data(), c.text.size(), c.cp);
    if (c.setup != nullptr) c.setup(s);
    std::vector<Tok> toks = scanAll(s, c.mode);
    if (c.expected.back().type != VX_TOKEN_END && toks.size() > c.expected.size()) toks.resize(c.expected.size());
    EXPECT_EQ(c.expected, toks);
  }
}

TEST(VxScannerStepping, UnGetTokenRereadsTheToken) {
  VxScanner s("a b");
  VxToken t;
  s.getToken(t);
  s.getToken(t);
  s.unGetToken(t);
  VxToken again;
  EXPECT_EQ(VX_TOKEN_WORD, s.getToken(again));
  EXPECT_EQ(2u, again.getBegOfToken());
}

TEST(VxScannerStepping, SymbolsStepByCharacters) {
  VxScanner s("a\xC3\xA9z", VX_CP_UTF8);
  EXPECT_EQ('a', s.lookAhead(0));
  EXPECT_EQ(0xC3, s.lookAhead(1));
  EXPECT_EQ('z', s.lookAhead(2));
  EXPECT_EQ(0, s.lookAhead(3));
  EXPECT_EQ('a', s.getSymbol());
  EXPECT_EQ(0xC3, s.getSymbol());
  EXPECT_EQ(3u, s.getPosition());
  s.unGetSymbol();
  EXPECT_EQ(1u, s.getPosition());
  s.getSymbol();
  EXPECT_EQ('z', s.getSymbol());
  EXPECT_EQ(0, s.getSymbol());
  EXPECT_EQ(4u, s.getPosition());
}

TEST(VxScannerStepping, ExplicitPieceIsClippedToTheTextAndTheEndRepeats) {
  VxScanner s("abcdef");
  VxToken t;
  EXPECT_EQ(VX_TOKEN_WORD, s.getToken(t, 2, 100));
  EXPECT_EQ("cdef", std::string(t.asPascalStr(), t.getLength()));
  EXPECT_EQ(VX_TOKEN_END, s.getToken(t));
  EXPECT_EQ(VX_TOKEN_END, s.getToken(t));  // asking again at the end keeps answering the end
}

TEST(VxScannerTokenSize, IncTokenSizeExtendsTheView) {
  VxScanner s("ab.c");
  VxToken t;
  s.getToken(t);
  t.incTokenSize(2);
  EXPECT_EQ("ab.c", std::string(t.asPascalStr(), t.getLength()));
}

TEST(VxScannerDelimited, PiecesAreTrimmedAndQuotesProtectSeparators) {
  VxScanner s(" a b ; 'x;y' ;;z");
  VxToken t;
  std::vector<std::string> pieces;
  while (s.getDelimitedToken(t, ';') != VX_TOKEN_END) pieces.push_back(std::string(t.asPascalStr(), t.getLength()));
  EXPECT_EQ((std::vector<std::string>{"a b", "'x;y'", "", "z"}), pieces);
}

TEST(VxScannerDelimited, ParseListMakesViewsAndCopies) {
  VxScanner s("one, two ,three");
  VxArray views;
  views.setDeleteContentsOnDestruct();
  ASSERT_EQ(0u, s.parseList(views, ','));
  ASSERT_EQ(3u, views.getCount());
  EXPECT_TRUE(static_cast<VxSubString*>(views.at(1))->isEqual("two"));

  std::string text = "a|b";
  VxScanner c(text.data(), text.size());
  VxArray copies;
  copies.setDeleteContentsOnDestruct();
  ASSERT_EQ(0u, c.parseListVxString(copies, '|'));
  ASSERT_EQ(2u, copies.getCount());
  text[2] = 'X';  // the copies do not follow the source
  EXPECT_TRUE(static_cast<VxString*>(copies.at(1))->isEqual("b"));
}

TEST(VxScannerEditing, ChangeTokenRewritesTheScannedString) {
  VxString sql;
  ASSERT_EQ(0u, sql.initialize("SELECT a FROM t"));
  VxScanner s(sql);
  VxToken t;
  s.getToken(t);
  s.getToken(t);  // a
  ASSERT_EQ(0u, s.changeToken(t, "alpha, beta", 11));
  EXPECT_TRUE(sql.isEqual("SELECT alpha, beta FROM t"));
  EXPECT_TRUE(t.isEqual("alpha, beta"));
  s.getToken(t);
  EXPECT_TRUE(t.isEqual("FROM"));
  EXPECT_EQ(19u, t.getBegOfToken());
}

TEST(VxScannerEditing, InsertTokenGoesBeforeTheToken) {
  VxString sql;
  ASSERT_EQ(0u, sql.initialize("SELECT a"));
  VxScanner s(sql);
  VxToken t;
  s.getToken(t);
  s.getToken(t);  // a
  s.unGetToken(t);
  ASSERT_EQ(0u, s.insertToken(t, "DISTINCT ", 9));
  EXPECT_TRUE(sql.isEqual("SELECT DISTINCT a"));
  EXPECT_TRUE(t.isEqual("DISTINCT "));
  s.getToken(t);  // the cursor stayed in front of "a"
  EXPECT_TRUE(t.isEqual("a"));
  EXPECT_EQ(16u, t.getBegOfToken());
  EXPECT_EQ(VX_TOKEN_END, s.getToken(t));
}

TEST(VxScannerEditing, TextThatIsNotAVxStringCannotBeEdited) {
  VxScanner s("SELECT a");
  VxToken t;
  s.getToken(t);
  EXPECT_EQ(1u, s.changeToken(t, "X", 1));
  EXPECT_EQ(1u, s.insertToken(t, "X", 1));
}

TEST(VxScannerCompare, EqualityAndSets) {
  VxScanner s("Select");
  VxToken t;
  s.getToken(t);
  EXPECT_TRUE(VxScanner::isEqual(t, "Select"));
  EXPECT_FALSE(VxScanner::isEqual(t, "SELECT"));
  EXPECT_TRUE(VxScanner::isEqualCi(t, "SELECT"));
  const char* list[] = {"INSERT", "SELECT", "Select"};
  EXPECT_EQ(2, VxScanner::isInSet(t, list, 3));
  EXPECT_EQ(1, VxScanner::isInSetCi(t, list, 3));
  EXPECT_EQ(2, VxScanner::isInSet(t, list, 2));
  EXPECT_TRUE(VxScanner::isTokenWithinCi(t, "INSERT  SELECT UPDATE"));
  EXPECT_FALSE(VxScanner::isTokenWithin(t, "INSERT SELECT UPDATE"));
  EXPECT_FALSE(VxScanner::isTokenWithinCi(t, "SELECTED"));
}

// Texts handed to the scanner need not end with a NUL.
using VxScannerBounds = GuardedTextTest;

// A text ending in a lead byte, and a character cut off by the end (no
// blank and no letter), are not read past their end.
TEST_F(VxScannerBounds, LocaleTextEndingMidCharacterIsNotReadPastItsEnd) {
  VxScanner lead(atGuard("ab\xC3", 3), 3, VX_CP_LOCALE);
  EXPECT_EQ((std::vector<Tok>{{VX_TOKEN_WORD, 0, "ab"}, {VX_TOKEN_CHAR, 2, "\xC3"}, {VX_TOKEN_END, 3, ""}}),
            scanAll(lead));
  VxScanner cut(atGuard("a \xE2\x80", 4), 4, VX_CP_LOCALE);
  std::vector<Tok> toks = scanAll(cut);
  ASSERT_EQ(4u, toks.size());
  EXPECT_EQ((Tok{VX_TOKEN_WORD, 0, "a"}), toks[0]);
  EXPECT_EQ(2u, toks[1].offset);
  EXPECT_EQ(3u, toks[2].offset);
  EXPECT_EQ((Tok{VX_TOKEN_END, 4, ""}), toks[3]);
}

TEST_F(VxScannerBounds, UnGetSymbolAtTheEndOfLocaleTextStaysInsideIt) {
  VxScanner s(atGuard("ab", 2), 2, VX_CP_LOCALE);
  EXPECT_EQ('a', s.getSymbol());
  EXPECT_EQ('b', s.getSymbol());
  s.unGetSymbol();
  EXPECT_EQ(1u, s.getPosition());
  EXPECT_EQ('b', s.getSymbol());
}

}  // namespace
