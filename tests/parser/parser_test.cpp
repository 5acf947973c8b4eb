#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "containers/vxarray.h"
#include "foundation/ram_internal.h"
#include "parser/buttoken.h"
#include "parser/butxpand.h"
#include "parser/vxscanne.h"

namespace {

// ---- Token utilities ---------------------------------------------------

// Requests on one buffer, in order; a fresh step frees it first. Before
// each request the cursor is put `at` bytes (of x's) from the start; they
// must be kept where they are, or the buffer left alone on failure.
TEST(Butxpand, GrowsByTheNeedRoundedDownPlus512WithinSixteenBits) {
  const struct { bool fresh; uint16_t at, needed; uint64_t failAlloc; unsigned status; uint16_t capacity; } steps[] = {
      {true, 0, 10, 1, 1, 0},             // no memory: still no buffer
      {true, 0, 65100, 0, 1, 0},          // 65024 + 512 would pass 16 bits
      {true, 0, 700, 0, 0, 1024},         // 700 rounded down to 512, plus 512
      {true, 0, 10, 0, 0, 512},
      {false, 500, 12, 0, 0, 512},        // exactly 12 bytes left: enough
      {false, 500, 13, 0, 0, 1024},       // 0 + the old 512 + 512
      {false, 500, 1100, 0, 0, 2560},     // 1024 + 1024 + 512
      {false, 2560, 1, 1, 1, 2560},       // no memory: the buffer stays
      {false, 2560, 62464, 0, 1, 2560},   // 62464 + 2560 + 512 passes 16 bits
      {false, 2560, 61952, 0, 0, 65024},  // the most that fits
  };
  char *start = nullptr, *cursor = nullptr;
  uint16_t capacity = 0;
  for (const auto& s : steps) {
    SCOPED_TRACE(testing::Message() << "at " << s.at << ", needing " << s.needed);
    if (s.fresh) free(start), start = cursor = nullptr, capacity = 0;
    if (start != nullptr) cursor = static_cast<char*>(memset(start, 'x', s.at)) + s.at;
    char* before = start;
    ramFailAllocationAfter(s.failAlloc);
    EXPECT_EQ(s.status, butxpand(&start, &cursor, &capacity, s.needed));
    ramFailAllocationAfter(0);
    EXPECT_EQ(s.capacity, capacity);
    EXPECT_TRUE(s.status == 0 || start == before);
    EXPECT_EQ(start + s.at, cursor);
    EXPECT_TRUE(s.at == 0 || start[s.at - 1] == 'x');
  }
  free(start);
}

// Every token buttoken finds, in order; the cursor must end at the end.
std::vector<std::string> words(const char* text, VXSIZE_T length, uint16_t options, vxCPType cp = VX_CP_UTF8) {
  std::vector<std::string> out;
  VXSIZE_T cursor = 0;
  for (VXSIZE_T n; (n = buttoken(text, &cursor, options, length, cp)) != 0; cursor += n)
    out.emplace_back(text + cursor, n);
  EXPECT_EQ(length, cursor);
  return out;
}

TEST(Buttoken, OptionsDecideWhereTokensEnd) {
  using Words = std::vector<std::string>;
  const struct { std::string text; uint16_t options; Words expected; } cases[] = {
      // Plain tokens are runs of non-blanks.
      {"  a,b\tc=d\n'e f'  ", 0, {"a,b", "c=d", "'e", "f'"}},
      // Quotes keep literals whole.
      {"x 'it''s here'\"q\" y", BUT_TOKEN_QUOTES, {"x", "'it''s here'", "\"q\"", "y"}},
      {"'open end", BUT_TOKEN_QUOTES, {"'open end"}},
      // Punctuation splits words from other characters.
      {"f_1(caf\xC3\xA9, 2)", BUT_TOKEN_PUNCTUATION, {"f_1", "(", "caf\xC3\xA9", ",", "2", ")"}},
  };
  for (const auto& c : cases) EXPECT_EQ(c.expected, words(c.text.data(), c.text.size(), c.options)) << c.text;
}

// ---- VxScanner ------------------------------------------------------------

// A token as (class or operator code, offset, bytes).
using Tok = std::tuple<int32_t, VXSIZE_T, std::string>;
const int32_t W = VX_TOKEN_WORD, N = VX_TOKEN_NUMBER, Q = VX_TOKEN_QUOTED, E = VX_TOKEN_END;
const int32_t L = VX_TOKEN_LIST_ITEM, U = VX_TOKEN_UNTERMINATED, C = VX_TOKEN_CHAR, M = VX_TOKEN_NAME;

// Every token of the scanner's text up to and including the end token.
std::vector<Tok> scanAll(VxScanner& s, int mode = VxScanner::kNormal) {
  std::vector<Tok> out;
  VxToken t;
  for (int32_t type = 0; type != E;) {
    type = s.getToken(t, mode);
    EXPECT_EQ(type, t.getTokenType());
    out.emplace_back(type, t.getBegOfToken(), std::string(t.asPascalStr(), t.getLength()));
  }
  return out;
}

std::string text(const VxToken& t) { return std::string(t.asPascalStr(), t.getLength()); }

// The table in its documented order (each character before its
// two-character forms, 0 last), and each entry, with quotes switched off,
// scanning as its own code whether or not a letter follows.
TEST(VxScannerOperators, EveryTableEntryScansAsItsOwnCode) {
  std::string table;
  for (const OperatorInfo& op : Operators) {
    std::string symbol(1, char(op.getFirstSymbol()));
    if (op.getOpLen() == 2) symbol += char(op.getSecondSymbol());
    table += (op.code == 0 ? "0" : symbol) + " ";
    if (op.code == 0) continue;
    for (std::string scanned : {symbol, symbol + "x"}) {
      VxScanner s(scanned.data(), scanned.size());
      s.setQuotes(0, 0, 0);
      std::vector<Tok> expected = {Tok{op.code, 0, symbol}};
      if (scanned.size() > symbol.size()) expected.emplace_back(W, symbol.size(), "x");
      expected.emplace_back(E, scanned.size(), "");
      EXPECT_EQ(expected, scanAll(s));
    }
  }
  EXPECT_EQ("? , ( ) . = == =* =< => + ++ & && | || - -- / // * ** *= > >= < <= <> ! != !< !> ; : { } $ # % @ \" ' ` 0 ",
            table);
}

// One scan of a text by a scanner set up by the row. A row whose last
// expected token is the end token lists every token; any other row lists
// the first tokens only.
struct ScanCase {
  const char* promise; std::string text; std::vector<Tok> expected;
  int mode = VxScanner::kNormal; void (*setup)(VxScanner&) = nullptr; vxCPType cp = VX_CP_LOCALE;
};

TEST(VxScannerTokens, EveryConfigurationSplitsItsText) {
  const int kNormal = VxScanner::kNormal;
  const ScanCase cases[] = {
      {"character outside the table is class 10", "^~", {{C, 0, "^"}, {C, 1, "~"}}},
      {"end token is empty at the length", "  ", {{E, 2, ""}}},
      {"words, numbers and operators of a select", "SELECT a1, b FROM t WHERE x>=10;",
       {{W, 0, "SELECT"}, {W, 7, "a1"}, {',', 9, ","}, {W, 11, "b"}, {W, 13, "FROM"}, {W, 18, "t"},
        {W, 20, "WHERE"}, {W, 26, "x"}, {'>' * 256 + '=', 27, ">="}, {N, 29, "10"}, {';', 31, ";"}, {E, 32, ""}}},
      {"doubled quote stays inside the literal", "'it''s' x", {{Q, 0, "'it''s'"}, {W, 8, "x"}}},
      {"unterminated literal runs to the end", "x 'abc", {{W, 0, "x"}, {U, 2, "'abc"}, {E, 6, ""}}},
      {"each default quote opens a literal", "\"a b\" `c d`", {{Q, 0, "\"a b\""}, {Q, 6, "`c d`"}}},
      {"quote that is not configured is an operator", "\"a\"", {{'"', 0, "\""}, {W, 1, "a"}}, kNormal,
       [](VxScanner& s) { s.setQuotes('\'', 0, 0); }},
      {"default quotes come back", "x", {{Q, 0, "\"a\""}}, kNormal,
       [](VxScanner& s) { s.setQuotes('\'', 0, 0), s.setDefaultQuotes(), s.setScanString("\"a\""); }},
      {"decimal option joins point and digits", "1.5 .25", {{N, 0, "1.5"}, {N, 4, ".25"}}, kNormal,
       [](VxScanner& s) { s.setDecimalNumbers(true); }},
      {"without that option a point is an operator", "1.5", {{N, 0, "1"}, {'.', 1, "."}, {N, 2, "5"}, {E, 3, ""}}},
      {"second point ends a decimal", "1.2.3", {{N, 0, "1.2"}, {N, 3, ".3"}}, kNormal,
       [](VxScanner& s) { s.setDecimalNumbers(true); }},
      {"outer join mark is one token", "x(+)", {{W, 0, "x"}, {VX_TOKEN_OUTER_JOIN, 1, "(+)"}, {E, 4, ""}}},
      {"parenthesis matching nests and skips quoted parentheses", "f(a, (b), ')') z",
       {{W, 0, "f"}, {Q, 1, "(a, (b), ')')"}, {W, 15, "z"}}, kNormal,
       [](VxScanner& s) { s.setMatchParentheses(true); }},
      {"unbalanced group is unterminated", "{a {b}", {{U, 0, "{a {b}"}}, kNormal,
       [](VxScanner& s) { s.setMatchBraces(true); }},
      {"extra matching pair", "[a [b]] c", {{Q, 0, "[a [b]]"}, {W, 8, "c"}}, kNormal,
       [](VxScanner& s) { s.setMatchingPair('[', ']'); }},
      {"comments when switched on", "a -- note\nb /* x */ c /* open",
       {{W, 0, "a"}, {VX_TOKEN_COMMENT, 2, "-- note"}, {W, 10, "b"}, {VX_TOKEN_COMMENT, 12, "/* x */"}, {W, 20, "c"},
        {VX_TOKEN_COMMENT, 22, "/* open"}, {E, 29, ""}},
       kNormal, [](VxScanner& s) { s.setComments(true); }},
      {"a brace opens no group unless matching is on", "{a}", {{'{', 0, "{"}, {W, 1, "a"}, {'}', 2, "}"}, {E, 3, ""}}},
      {"brace matching leaves other characters alone", "a{b}", {{M, 0, "a"}, {Q, 1, "{b}"}, {E, 4, ""}}, VxScanner::kNames,
       [](VxScanner& s) { s.setMatchBraces(true); }},
      {"a lone slash or star or dash starts no comment", "a/b -c*d",
       {{W, 0, "a"}, {'/', 1, "/"}, {W, 2, "b"}, {'-', 4, "-"}, {W, 5, "c"}, {'*', 6, "*"}, {W, 7, "d"}, {E, 8, ""}},
       kNormal, [](VxScanner& s) { s.setComments(true); }},
      {"list items run to blanks and list punctuation", "a.b=c,(d|e) f",
       {{L, 0, "a.b=c"}, {',', 5, ","}, {'(', 6, "("}, {L, 7, "d"}, {'|', 8, "|"}, {L, 9, "e"}, {')', 10, ")"},
        {L, 12, "f"}, {E, 13, ""}},
       VxScanner::kListItems},
      {"list item starting with a control character still advances", std::string("\x01\x02" "a", 3),
       {{L, 0, "\x01"}, {L, 1, "\x02" "a"}, {E, 3, ""}}, VxScanner::kListItems},
      {"names take hash and dollar", "#tmp$1 x-y 9",
       {{M, 0, "#tmp$1"}, {M, 7, "x"}, {'-', 8, "-"}, {M, 9, "y"}, {N, 11, "9"}}, VxScanner::kNames},
      {"names continue over the valid middle set", "a-b c", {{M, 0, "a-b"}}, VxScanner::kNames,
       [](VxScanner& s) { s.setValidMiddleChars("-"); }},
      {"valid first and middle characters extend words", "@var_1 x", {{W, 0, "@var_1"}}, kNormal,
       [](VxScanner& s) { s.setValidFirstChars("@"), s.setValidMiddleChars("_"); }},
      {"valid first character is not skipped as white space", " \tx", {{W, 1, "\tx"}}, kNormal,
       [](VxScanner& s) { s.setValidFirstChars("\t"); }},
      {"valid characters delimit words", "a.b;c+d", {{W, 0, "a.b"}, {';', 3, ";"}, {W, 4, "c+d"}}, kNormal,
       [](VxScanner& s) { s.setValidChars(";"); }},
      {"reset valid characters", "a.b", {{W, 0, "a"}, {'.', 1, "."}, {W, 2, "b"}, {E, 3, ""}}, kNormal,
       [](VxScanner& s) { s.setValidChars(";"), s.resetValidChars(); }},
      // The euro sign is no letter: one character of class 10, all three bytes.
      {"utf-8 letters make one word", "caf\xC3\xA9 \xE2\x82\xAC", {{W, 0, "caf\xC3\xA9"}, {C, 6, "\xE2\x82\xAC"}},
       kNormal, nullptr, VX_CP_UTF8},
      {"cut-off character at the end stays in the text", "a\xE2\x82", {{W, 0, "a"}, {C, 1, "\xE2\x82"}, {E, 3, ""}},
       kNormal, nullptr, VX_CP_UTF8},
  };
  for (const ScanCase& c : cases) {
    SCOPED_TRACE(c.promise);
    VxScanner s(c.text.data(), c.text.size(), c.cp);
    if (c.setup != nullptr) c.setup(s);
    std::vector<Tok> toks = scanAll(s, c.mode);
    if (std::get<0>(c.expected.back()) != E && toks.size() > c.expected.size()) toks.resize(c.expected.size());
    EXPECT_EQ(c.expected, toks);
  }
}

// The byte after the text is a quote or a digit here: no look ahead may see it.
TEST(VxScannerTokens, NothingPastTheLengthIsRead) {
  const char text[] = "'a'' .5";
  VxScanner quoted(text, 3), point(text + 5, 1);
  point.setDecimalNumbers(true);
  EXPECT_EQ((std::vector<Tok>{{Q, 0, "'a'"}, {E, 3, ""}}), scanAll(quoted, VxScanner::kNormal));
  EXPECT_EQ((std::vector<Tok>{{'.', 0, "."}, {E, 1, ""}}), scanAll(point, VxScanner::kNames));
}

// A word, a number, a quoted literal ending in a doubled quote and an
// unterminated one, of every length from 1 to 40 after 0 to 17 blanks,
// before more text or at the end of an exactly sized buffer: runs are read
// sixteen bytes at a time where sixteen are left, and each token must end
// where the rules say (and, under ASan, nothing past the text be read).
TEST(VxScannerTokens, RunsOfEveryLengthEndWhereTheRulesSayAtEveryAlignment) {
  const std::string word = "aZ9aZ9aZ9aZ9aZ9aZ9aZ9aZ9aZ9aZ9aZ9aZ9aZ9aZ9", digits = "1234567890123456789012345678901234567890";
  for (int kind = 0; kind < 4; ++kind) {
    for (size_t n = 1, blanks = 0; n <= 40; blanks = (blanks + 1) % 18, n += blanks == 0) {
      std::string run = kind == 0 ? word.substr(0, n) : kind == 1 ? digits.substr(0, n) : "'" + std::string(n - 1, 'b');
      run += kind == 2 ? "'''" : kind == 3 ? "''c" : "";
      for (std::string tail : {kind == 1 ? ".25-x" : "-x", ""}) {
        std::string whole = std::string(blanks, ' ') + run + tail;
        std::string head = kind == 3 ? run + tail : run + (kind == 1 && !tail.empty() ? ".25" : "");
        VXSIZE_T at = blanks + head.size();
        std::vector<Tok> expected{{kind == 0 ? W : kind == 1 ? N : kind == 2 ? Q : U, blanks, head}};
        if (at < whole.size()) expected.insert(expected.end(), {Tok{'-', at, "-"}, Tok{W, at + 1, "x"}});
        expected.emplace_back(E, whole.size(), "");
        std::unique_ptr<char[]> exact(new char[whole.size()]);
        VxScanner s(static_cast<char*>(memcpy(exact.get(), whole.data(), whole.size())), whole.size());
        s.setDecimalNumbers(true);
        ASSERT_EQ(expected, scanAll(s)) << whole;
      }
    }
  }
}

// Push-back of a token, an explicit piece clipped to the text, a widened
// token, and character steps over a multibyte character.
TEST(VxScannerStepping, TokensAndSymbols) {
  VxScanner s("a b.cdef");
  VxToken t, again;
  s.getToken(t);
  s.getToken(t);  // b
  s.unGetToken(t);
  EXPECT_EQ(W, s.getToken(again));
  EXPECT_EQ(2u, again.getBegOfToken());
  again.incTokenSize(2);
  EXPECT_EQ("b.c", text(again));
  EXPECT_EQ(W, s.getToken(t, 4, 100));
  EXPECT_EQ("cdef", text(t));
  EXPECT_EQ(E, s.getToken(t));
  EXPECT_EQ(E, s.getToken(t));  // asking again at the end keeps answering the end

  // Each step noted as symbol@position after it; -1 marks unGetSymbol.
  VxScanner u("a\xC3\xA9z", VX_CP_UTF8);
  std::string ahead, steps;
  for (VXSIZE_T d = 0; d < 4; ++d) ahead += std::to_string(u.lookAhead(d)) + " ";
  EXPECT_EQ("97 195 122 0 ", ahead);
  auto step = [&](int symbol) { steps += std::to_string(symbol) + "@" + std::to_string(u.getPosition()) + " "; };
  step(u.getSymbol()), step(u.getSymbol()), u.unGetSymbol(), step(-1);
  step(u.getSymbol()), step(u.getSymbol()), step(u.getSymbol());
  EXPECT_EQ("97@1 195@3 -1@1 195@3 122@4 0@4 ", steps);
}

TEST(VxScannerDelimited, PiecesAreTrimmedQuotesProtectSeparatorsAndListsViewOrCopy) {
  VxScanner s(" a b ; 'x;y' ;;z");
  VxToken t;
  std::vector<std::string> pieces;
  while (s.getDelimitedToken(t, ';') != E) pieces.push_back(text(t));
  EXPECT_EQ((std::vector<std::string>{"a b", "'x;y'", "", "z"}), pieces);

  std::string list = "one, two ,three";
  VxScanner views(list.data(), list.size()), copies(list.data(), list.size());
  VxArray viewed, copied;
  for (VxArray* array : {&viewed, &copied}) array->setDeleteContentsOnDestruct();
  ASSERT_EQ(0u, views.parseList(viewed, ','));
  ASSERT_EQ(0u, copies.parseListVxString(copied, ','));
  ASSERT_EQ(3u, viewed.getCount());
  ASSERT_EQ(3u, copied.getCount());
  list[5] = 'T';  // views follow the source, copies do not
  EXPECT_TRUE(static_cast<VxSubString*>(viewed.at(1))->isEqual("Two"));
  EXPECT_TRUE(static_cast<VxString*>(copied.at(1))->isEqual("two"));
}

// changeToken replaces the token, insertToken goes before it; the cursor
// keeps its place in the text. Only a scanned VxString can be edited.
TEST(VxScannerEditing, ChangeAndInsertRewriteTheScannedString) {
  VxString sql;
  ASSERT_EQ(0u, sql.initialize("SELECT a FROM t"));
  VxScanner s(sql);
  VxToken t;
  s.getToken(t);
  s.getToken(t);  // a
  ASSERT_EQ(0u, s.changeToken(t, "alpha, beta", 11));
  EXPECT_TRUE(sql.isEqual("SELECT alpha, beta FROM t"));
  EXPECT_EQ("alpha, beta", text(t));
  s.getToken(t);  // FROM
  s.unGetToken(t);
  ASSERT_EQ(0u, s.insertToken(t, "X ", 2));
  EXPECT_TRUE(sql.isEqual("SELECT alpha, beta X FROM t"));
  EXPECT_EQ("X ", text(t));
  EXPECT_EQ((std::vector<Tok>{{W, 21, "FROM"}, {W, 26, "t"}, {E, 27, ""}}), scanAll(s));

  VxScanner plain("SELECT a");
  plain.getToken(t);
  EXPECT_EQ(1u, plain.changeToken(t, "X", 1));
  EXPECT_EQ(1u, plain.insertToken(t, "X", 1));
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

// ---- Texts without a NUL ---------------------------------------------------

// Texts handed to the scanner and to buttoken need not end with a NUL.
// The bounds tests run in a UTF-8 process locale (whose multibyte tests
// read beyond a byte that can begin a longer character) on copies of the
// text that end flush against an inaccessible page, so that any read past
// their end (in the library or in the C runtime) faults. They skip when the
// machine has no UTF-8 locale.
class GuardedTextTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (setlocale(LC_ALL, "C.UTF-8") == nullptr && setlocale(LC_ALL, "C.utf8") == nullptr)
      GTEST_SKIP() << "no UTF-8 locale";
    page_ = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    pages_ = static_cast<char*>(mmap(nullptr, 2 * page_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    ASSERT_NE(MAP_FAILED, static_cast<void*>(pages_));
    ASSERT_EQ(0, mprotect(pages_ + page_, page_, PROT_NONE));
  }
  void TearDown() override {
    if (pages_ != nullptr) munmap(pages_, 2 * page_);
    setlocale(LC_ALL, "C");
  }

  // A copy of the n bytes of text that ends where the guard page begins.
  const char* atGuard(const char* text, size_t n) {
    char* copy = pages_ + page_ - n;
    memcpy(copy, text, n);
    return copy;
  }

  size_t page_ = 0;
  char* pages_ = nullptr;
};

using ButtokenBounds = GuardedTextTest;
TEST_F(ButtokenBounds, LocaleTextEndingInALeadByteIsNotReadPastItsEnd) {
  std::vector<std::string> expected = {"ab", "\xC3"};
  EXPECT_EQ(expected, words(atGuard("ab \xC3", 4), 4, BUT_TOKEN_PUNCTUATION, VX_CP_LOCALE));
}

// A text ending in a lead byte, or in a character cut off by the end (no
// blank and no letter), is not read past its end, nor when stepping back.
using VxScannerBounds = GuardedTextTest;
TEST_F(VxScannerBounds, LocaleTextEndingMidCharacterIsNotReadPastItsEnd) {
  VxScanner lead(atGuard("ab\xC3", 3), 3, VX_CP_LOCALE);
  EXPECT_EQ((std::vector<Tok>{{W, 0, "ab"}, {C, 2, "\xC3"}, {E, 3, ""}}), scanAll(lead));
  VxScanner cut(atGuard("a \xE2\x80", 4), 4, VX_CP_LOCALE);
  EXPECT_EQ((std::vector<Tok>{{W, 0, "a"}, {C, 2, "\xE2"}, {C, 3, "\x80"}, {E, 4, ""}}), scanAll(cut));
  VxScanner back(atGuard("ab", 2), 2, VX_CP_LOCALE);
  back.getSymbol();
  back.getSymbol();
  back.unGetSymbol();
  EXPECT_EQ(1u, back.getPosition());
  EXPECT_EQ('b', back.getSymbol());
}

}  // namespace
