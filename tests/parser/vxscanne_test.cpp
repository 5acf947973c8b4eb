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

std::vector<Tok> scan(const std::string& text, int mode = VxScanner::kNormal) {
  VxScanner s(text.data(), text.size());
  return scanAll(s, mode);
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

TEST(VxScannerOperators, PackedCodeSplitsIntoItsSymbols) {
  OperatorInfo ne{'<' * 256 + '>'};
  EXPECT_EQ(2, ne.getOpLen());
  EXPECT_EQ('<', ne.getFirstSymbol());
  EXPECT_EQ('>', ne.getSecondSymbol());
  OperatorInfo q{'?'};
  EXPECT_EQ(1, q.getOpLen());
  EXPECT_EQ('?', q.getFirstSymbol());
}

TEST(VxScannerOperators, NotEqualIsOnePackedOperator) {
  std::vector<Tok> toks = scan("a<>b");
  ASSERT_EQ(4u, toks.size());
  EXPECT_EQ((Tok{60 * 256 + 62, 1, "<>"}), toks[1]);
}

TEST(VxScannerOperators, LongestTwoCharacterFormWinsElseSingle) {
  std::vector<Tok> toks = scan("!< != ! >= *= ** || |");
  std::vector<int32_t> types;
  for (const Tok& t : toks) types.push_back(t.type);
  EXPECT_EQ((std::vector<int32_t>{'!' * 256 + '<', '!' * 256 + '=', '!', '>' * 256 + '=', '*' * 256 + '=',
                                  '*' * 256 + '*', '|' * 256 + '|', '|', VX_TOKEN_END}),
            types);
}

TEST(VxScannerOperators, CharacterOutsideTableIsSingleCharacterClass) {
  std::vector<Tok> toks = scan("^~");
  EXPECT_EQ((Tok{VX_TOKEN_CHAR, 0, "^"}), toks[0]);
  EXPECT_EQ((Tok{VX_TOKEN_CHAR, 1, "~"}), toks[1]);
}

TEST(VxScannerTokens, EndTokenIsEmptyAtTheLength) {
  std::vector<Tok> toks = scan("  ");
  ASSERT_EQ(1u, toks.size());
  EXPECT_EQ((Tok{VX_TOKEN_END, 2, ""}), toks[0]);
  // Asking again at the end keeps answering the end.
  VxScanner s("x");
  VxToken t;
  s.getToken(t);
  EXPECT_EQ(VX_TOKEN_END, s.getToken(t));
  EXPECT_EQ(VX_TOKEN_END, s.getToken(t));
}

TEST(VxScannerTokens, WordsNumbersAndOperatorsOfASelect) {
  std::vector<Tok> toks = scan("SELECT a1, b FROM t WHERE x>=10;");
  std::vector<Tok> expected = {
      {VX_TOKEN_WORD, 0, "SELECT"}, {VX_TOKEN_WORD, 7, "a1"},  {',', 9, ","},
      {VX_TOKEN_WORD, 11, "b"},     {VX_TOKEN_WORD, 13, "FROM"}, {VX_TOKEN_WORD, 18, "t"},
      {VX_TOKEN_WORD, 20, "WHERE"}, {VX_TOKEN_WORD, 26, "x"},  {'>' * 256 + '=', 27, ">="},
      {VX_TOKEN_NUMBER, 29, "10"},  {';', 31, ";"},            {VX_TOKEN_END, 32, ""}};
  EXPECT_EQ(expected, toks);
}

TEST(VxScannerTokens, DoubledQuoteStaysInsideTheLiteral) {
  std::vector<Tok> toks = scan("'it''s' x");
  EXPECT_EQ((Tok{VX_TOKEN_QUOTED, 0, "'it''s'"}), toks[0]);
  EXPECT_EQ((Tok{VX_TOKEN_WORD, 8, "x"}), toks[1]);
}

TEST(VxScannerTokens, UnterminatedLiteralRunsToTheEnd) {
  std::vector<Tok> toks = scan("x 'abc");
  EXPECT_EQ((Tok{VX_TOKEN_UNTERMINATED, 2, "'abc"}), toks[1]);
  EXPECT_EQ((Tok{VX_TOKEN_END, 6, ""}), toks[2]);
}

TEST(VxScannerTokens, EachDefaultQuoteOpensALiteral) {
  std::vector<Tok> toks = scan("\"a b\" `c d`");
  EXPECT_EQ((Tok{VX_TOKEN_QUOTED, 0, "\"a b\""}), toks[0]);
  EXPECT_EQ((Tok{VX_TOKEN_QUOTED, 6, "`c d`"}), toks[1]);
}

TEST(VxScannerTokens, QuoteThatIsNotConfiguredIsAnOperator) {
  VxScanner s("\"a\"");
  s.setQuotes('\'', 0, 0);
  std::vector<Tok> toks = scanAll(s);
  EXPECT_EQ('"', toks[0].type);
  EXPECT_EQ(VX_TOKEN_WORD, toks[1].type);
  s.setDefaultQuotes();
  s.setScanString("\"a\"");
  EXPECT_EQ(VX_TOKEN_QUOTED, scanAll(s)[0].type);
}

TEST(VxScannerTokens, DecimalOptionJoinsPointAndDigits) {
  VxScanner on("1.5 .25");
  on.setDecimalNumbers(true);
  std::vector<Tok> toks = scanAll(on);
  EXPECT_EQ((Tok{VX_TOKEN_NUMBER, 0, "1.5"}), toks[0]);
  EXPECT_EQ((Tok{VX_TOKEN_NUMBER, 4, ".25"}), toks[1]);

  std::vector<Tok> off = scan("1.5");
  ASSERT_EQ(4u, off.size());
  EXPECT_EQ((Tok{VX_TOKEN_NUMBER, 0, "1"}), off[0]);
  EXPECT_EQ((Tok{'.', 1, "."}), off[1]);
  EXPECT_EQ((Tok{VX_TOKEN_NUMBER, 2, "5"}), off[2]);
}

TEST(VxScannerTokens, SecondPointEndsADecimal) {
  VxScanner s("1.2.3");
  s.setDecimalNumbers(true);
  std::vector<Tok> toks = scanAll(s);
  EXPECT_EQ((Tok{VX_TOKEN_NUMBER, 0, "1.2"}), toks[0]);
  EXPECT_EQ((Tok{VX_TOKEN_NUMBER, 3, ".3"}), toks[1]);
}

TEST(VxScannerTokens, OuterJoinMarkIsOneToken) {
  std::vector<Tok> toks = scan("x(+)");
  ASSERT_EQ(3u, toks.size());
  EXPECT_EQ((Tok{VX_TOKEN_WORD, 0, "x"}), toks[0]);
  EXPECT_EQ((Tok{VX_TOKEN_OUTER_JOIN, 1, "(+)"}), toks[1]);
}

TEST(VxScannerTokens, ParenthesisMatchingNestsAndSkipsQuotedParentheses) {
  VxScanner s("f(a, (b), ')') z");
  s.setMatchParentheses(true);
  std::vector<Tok> toks = scanAll(s);
  EXPECT_EQ((Tok{VX_TOKEN_QUOTED, 1, "(a, (b), ')')"}), toks[1]);
  EXPECT_EQ((Tok{VX_TOKEN_WORD, 15, "z"}), toks[2]);
}

TEST(VxScannerTokens, UnbalancedGroupIsUnterminated) {
  VxScanner s("{a {b}");
  s.setMatchBraces(true);
  EXPECT_EQ((Tok{VX_TOKEN_UNTERMINATED, 0, "{a {b}"}), scanAll(s)[0]);
}

TEST(VxScannerTokens, ExtraMatchingPair) {
  VxScanner s("[a [b]] c");
  s.setMatchingPair('[', ']');
  std::vector<Tok> toks = scanAll(s);
  EXPECT_EQ((Tok{VX_TOKEN_QUOTED, 0, "[a [b]]"}), toks[0]);
  EXPECT_EQ((Tok{VX_TOKEN_WORD, 8, "c"}), toks[1]);
}

TEST(VxScannerTokens, CommentsOnlyWhenSwitchedOn) {
  VxScanner s("a -- note\nb /* x */ c /* open");
  s.setComments(true);
  std::vector<Tok> toks = scanAll(s);
  std::vector<Tok> expected = {{VX_TOKEN_WORD, 0, "a"},          {VX_TOKEN_COMMENT, 2, "-- note"},
                               {VX_TOKEN_WORD, 10, "b"},         {VX_TOKEN_COMMENT, 12, "/* x */"},
                               {VX_TOKEN_WORD, 20, "c"},         {VX_TOKEN_COMMENT, 22, "/* open"},
                               {VX_TOKEN_END, 29, ""}};
  EXPECT_EQ(expected, toks);

  std::vector<Tok> off = scan("a--b");
  EXPECT_EQ((Tok{'-' * 256 + '-', 1, "--"}), off[1]);
}

TEST(VxScannerModes, ListItemsRunToBlanksAndListPunctuation) {
  std::vector<Tok> toks = scan("a.b=c,(d|e) f", VxScanner::kListItems);
  std::vector<Tok> expected = {{VX_TOKEN_LIST_ITEM, 0, "a.b=c"}, {',', 5, ","},
                               {'(', 6, "("},                    {VX_TOKEN_LIST_ITEM, 7, "d"},
                               {'|', 8, "|"},                    {VX_TOKEN_LIST_ITEM, 9, "e"},
                               {')', 10, ")"},                   {VX_TOKEN_LIST_ITEM, 12, "f"},
                               {VX_TOKEN_END, 13, ""}};
  EXPECT_EQ(expected, toks);
}

TEST(VxScannerModes, ListItemStartingWithAControlCharacterStillAdvances) {
  std::string text("\x01\x02" "a", 3);
  std::vector<Tok> toks = scan(text, VxScanner::kListItems);
  ASSERT_EQ(3u, toks.size());
  EXPECT_EQ((Tok{VX_TOKEN_LIST_ITEM, 0, "\x01"}), toks[0]);
  EXPECT_EQ((Tok{VX_TOKEN_LIST_ITEM, 1, "\x02" "a"}), toks[1]);
}

TEST(VxScannerModes, NamesTakeHashAndDollar) {
  std::vector<Tok> toks = scan("#tmp$1 x-y 9", VxScanner::kNames);
  EXPECT_EQ((Tok{VX_TOKEN_NAME, 0, "#tmp$1"}), toks[0]);
  EXPECT_EQ((Tok{VX_TOKEN_NAME, 7, "x"}), toks[1]);
  EXPECT_EQ('-', toks[2].type);
  EXPECT_EQ((Tok{VX_TOKEN_NUMBER, 11, "9"}), toks[4]);
}

TEST(VxScannerModes, NamesContinueOverValidMiddleSet) {
  VxScanner s("a-b c");
  s.setValidMiddleChars("-");
  EXPECT_EQ((Tok{VX_TOKEN_NAME, 0, "a-b"}), scanAll(s, VxScanner::kNames)[0]);
}

TEST(VxScannerSets, ValidFirstAndMiddleCharactersExtendWords) {
  VxScanner s("@var_1 x");
  s.setValidFirstChars("@");
  s.setValidMiddleChars("_");
  EXPECT_EQ((Tok{VX_TOKEN_WORD, 0, "@var_1"}), scanAll(s)[0]);
}

TEST(VxScannerSets, ValidFirstCharacterIsNotSkippedAsWhiteSpace) {
  VxScanner s(" \tx");
  s.setValidFirstChars("\t");
  EXPECT_EQ((Tok{VX_TOKEN_WORD, 1, "\tx"}), scanAll(s)[0]);
}

TEST(VxScannerSets, ValidCharactersDelimitWords) {
  VxScanner s("a.b;c+d");
  s.setValidChars(";");
  std::vector<Tok> toks = scanAll(s);
  EXPECT_EQ((Tok{VX_TOKEN_WORD, 0, "a.b"}), toks[0]);
  EXPECT_EQ((Tok{';', 3, ";"}), toks[1]);
  EXPECT_EQ((Tok{VX_TOKEN_WORD, 4, "c+d"}), toks[2]);
  s.resetValidChars();
  s.setScanString("a.b");
  EXPECT_EQ(4u, scanAll(s).size());
}

TEST(VxScannerMultibyte, Utf8LettersMakeOneWord) {
  VxScanner s("caf\xC3\xA9 \xE2\x82\xAC", VX_CP_UTF8);
  std::vector<Tok> toks = scanAll(s);
  EXPECT_EQ((Tok{VX_TOKEN_WORD, 0, "caf\xC3\xA9"}), toks[0]);
  // The euro sign is no letter: one character of class 10, all three bytes.
  EXPECT_EQ((Tok{VX_TOKEN_CHAR, 6, "\xE2\x82\xAC"}), toks[1]);
}

TEST(VxScannerMultibyte, CutOffCharacterAtTheEndStaysInsideTheText) {
  VxScanner s("a\xE2\x82", 3, VX_CP_UTF8);
  std::vector<Tok> toks = scanAll(s);
  EXPECT_EQ((Tok{VX_TOKEN_WORD, 0, "a"}), toks[0]);
  EXPECT_EQ((Tok{VX_TOKEN_CHAR, 1, "\xE2\x82"}), toks[1]);
  EXPECT_EQ((Tok{VX_TOKEN_END, 3, ""}), toks[2]);
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

TEST(VxScannerStepping, ExplicitPieceIsClippedToTheText) {
  VxScanner s("abcdef");
  VxToken t;
  EXPECT_EQ(VX_TOKEN_WORD, s.getToken(t, 2, 100));
  EXPECT_EQ("cdef", std::string(t.asPascalStr(), t.getLength()));
  EXPECT_EQ(VX_TOKEN_END, s.getToken(t));
}

TEST(VxScannerTokenSize, IncTokenSizeExtendsTheView) {
  VxScanner s("ab.c");
  VxToken t;
  s.getToken(t);
  t.incTokenSize(2);
  EXPECT_EQ("ab.c", std::string(t.asPascalStr(), t.getLength()).substr(0, 4));
  EXPECT_EQ(4u, t.getLength());
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

TEST_F(VxScannerBounds, LocaleTextEndingInALeadByteIsNotReadPastItsEnd) {
  VxScanner s(atGuard("ab\xC3", 3), 3, VX_CP_LOCALE);
  std::vector<Tok> toks = scanAll(s);
  ASSERT_EQ(3u, toks.size());
  EXPECT_EQ((Tok{VX_TOKEN_WORD, 0, "ab"}), toks[0]);
  EXPECT_EQ((Tok{VX_TOKEN_CHAR, 2, "\xC3"}), toks[1]);
  EXPECT_EQ((Tok{VX_TOKEN_END, 3, ""}), toks[2]);
}

TEST_F(VxScannerBounds, LocaleCharacterCutOffByTheEndIsNoBlankAndNoLetter) {
  VxScanner s(atGuard("a \xE2\x80", 4), 4, VX_CP_LOCALE);
  std::vector<Tok> toks = scanAll(s);
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
