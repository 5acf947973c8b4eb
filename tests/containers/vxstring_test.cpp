#include "containers/vxstring.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "containers/vxarray.h"
#include "strings_support.h"

namespace {

// ---------------------------------------------------------------------------
// VxSubString: views

using SubStringTest = StringTest;

TEST_F(SubStringTest, EmptyViewHasNoDataAndCopyingCopiesTheViewNotTheBytes) {
  VxSubString v;
  EXPECT_EQ(0u, v.getLength());
  EXPECT_EQ(nullptr, v.asPascalStr());
  EXPECT_EQ(VX_CP_LOCALE, v.getCodePage());
  EXPECT_EQ(0u, v.findChar('a', 0));
  EXPECT_FALSE(v.isCharInStr('a'));
  char bytes[] = "hello";
  VxSubString a(bytes, 4, VX_CP_UTF8);
  VxSubString b(a);
  EXPECT_EQ(bytes, b.asPascalStr());
  EXPECT_EQ(4u, b.getLength());
  EXPECT_EQ(4u, b.getInitialLength());
  EXPECT_EQ(VX_CP_UTF8, b.getCodePage());
  VxSubString c("xyz");
  EXPECT_EQ(3u, c.getLength());
  c = a;
  EXPECT_EQ(bytes, c.asPascalStr());
}

TEST_F(SubStringTest, FindCharGivesLengthWhenAbsentAndStepsOverWholeUtf8Characters) {
  VxSubString v("abcabc");
  EXPECT_EQ(1u, v.findChar('b', 0));
  EXPECT_EQ(4u, v.findChar('b', 2));
  EXPECT_EQ(6u, v.findChar('z', 0));
  EXPECT_EQ(6u, v.findChar('a', 6));
  EXPECT_EQ(6u, v.findChar('a', 99));
  // 0xA9 is the second byte of the character C3 A9, not a character.
  VxSubString u("\xC3\xA9\xA9", VX_CP_UTF8);
  EXPECT_EQ(2u, u.findChar('\xA9', 0));
}

TEST_F(SubStringTest, FindSubStringSearchesFromAnOffset) {
  VxSubString v("abcabc");
  EXPECT_EQ(0u, v.findSubString("abc", 0));
  EXPECT_EQ(3u, v.findSubString("abc", 1));
  EXPECT_EQ(6u, v.findSubString("abd", 0));
  EXPECT_EQ(6u, v.findSubString("bc", 5));  // from + text length passes the end
}

TEST_F(SubStringTest, CountCharStopsAtTheLengthOrANulByte) {
  const char bytes[] = {'a', 'b', 'a', '\0', 'a', 'a'};
  VxSubString v(bytes, sizeof bytes);
  EXPECT_EQ(2u, v.countChar('a'));
  VxSubString shorter(bytes, 1);
  EXPECT_EQ(1u, shorter.countChar('a'));
}

TEST_F(SubStringTest, EqualityNeedsEqualLengths) {
  VxSubString v("abc", 2);
  EXPECT_TRUE(v.isEqual("ab"));
  EXPECT_FALSE(v.isEqual("abc"));
  EXPECT_TRUE(v.isEqual("abz", 2));
  EXPECT_TRUE(v.isEqualCi("AB"));
  EXPECT_FALSE(v.isEqualCi("A"));
  VxSubString other("AB");
  EXPECT_FALSE(v.isEqual(other));
  EXPECT_TRUE(v.isEqualCi(other));
}

TEST_F(SubStringTest, CompareIsBytewiseWithTheShorterFirstButCaseInsensitiveAsAnObject) {
  VxSubString ab("ab"), abc("abc"), high("\x80"), low("\x7F");
  EXPECT_LT(ab.compare(abc), 0);
  EXPECT_GT(abc.compare(ab), 0);
  EXPECT_GT(high.compare(low), 0);  // bytes compare unsigned
  EXPECT_EQ(0, ab.compare(VxSubString("ab")));
  EXPECT_NE(0, ab.compare(VxSubString("AB")));
  // Through VxObject the comparison is case-insensitive, for containers.
  VxSubString lower("name"), upper("NAME"), later("NAMES");
  const VxObject* asObject = &upper;
  EXPECT_EQ(0, lower.compare(asObject));
  EXPECT_EQ(0, lower.compareCi(upper));
  EXPECT_LT(lower.compare(static_cast<const VxObject*>(&later)), 0);
}

TEST_F(SubStringTest, IndexInSetGivesCountWhenNoEntryMatches) {
  const char* const set[] = {"SELECT", "insert", "Update"};
  VxSubString v("update");
  EXPECT_EQ(3, v.indexInSet(set, 3));
  EXPECT_EQ(2, v.indexInSetCi(set, 3));
  EXPECT_EQ(1, VxSubString("insert").indexInSet(set, 3));
}

TEST_F(SubStringTest, HashDeliberatelyLooksAtFiveUpperCasedBytesOnly) {
  EXPECT_EQ(VxSubString("Customer").hash(), VxSubString("CUSTOMERS").hash());
  EXPECT_EQ(VxSubString("abcdef").hash(), VxSubString("ABCDEX").hash());
  EXPECT_EQ(unsigned('A' + 'B'), VxSubString("ab").hash());
  EXPECT_EQ(0u, VxSubString().hash());
}

TEST_F(SubStringTest, LastCharAndTrimmingShortenTheView) {
  VxSubString v("ab \t ");
  EXPECT_EQ(' ', v.getLastChar());
  v.rightBlankTrim();
  EXPECT_EQ("ab", text(v));
  v.removeLastChar();
  v.removeLastChar();
  v.removeLastChar();
  EXPECT_EQ(0u, v.getLength());
  EXPECT_EQ('\0', v.getLastChar());
}

TEST_F(SubStringTest, GetCopyQuotedDeliberatelyIgnoresTheQuoteArgument) {
  char out[32];
  VxSubString v("it's");
  char* end = v.getCopyQuoted(out, '"');
  EXPECT_STREQ("'it''s'", out);
  EXPECT_EQ(out + strlen(out) + 1, end);
  char back[32];
  VxSubString(out).getCopyUnquoted(back);  // doubled quotes reduce back
  EXPECT_STREQ("it's", back);
}

TEST_F(SubStringTest, CopyQuotedStrStopsAtTheClosingQuoteAndDropsASingleQuoteInside) {
  VxString s;
  ASSERT_EQ(0u, s.initialize("<"));
  EXPECT_EQ(0u, VxSubString("'it''s'").copyQuotedStr(s));
  EXPECT_EQ("<it's", text(s));
  EXPECT_EQ(0u, VxSubString("\"a\"\"\"").copyQuotedStr(s));
  EXPECT_EQ("<it'sa\"", text(s));
  VxString t;  // a single quote inside is dropped
  EXPECT_EQ(0u, VxSubString("'a'b'").copyQuotedStr(t));
  EXPECT_EQ("ab", text(t));
}

TEST_F(SubStringTest, CopyQuotedStrFailsWhenTheStringCannotGrow) {
  VxString s;
  ASSERT_EQ(0u, s.initialize("<"));
  ramFailAllocationAfter(1);
  EXPECT_EQ(1u, VxSubString("'abc'").copyQuotedStr(s));
  EXPECT_EQ("<", text(s));
}

TEST_F(SubStringTest, GetLinesSkipsEmptyLinesAndFailsOnALastLineWithoutLineFeed) {
  char bytes[] = "a\n\nb\n";
  VxSubString v(bytes, 5, VX_CP_UTF8);
  VxArray lines;
  lines.setDeleteContentsOnDestruct();
  ASSERT_EQ(0u, v.getLines(lines));
  ASSERT_EQ(2u, lines.getCount());
  auto* first = static_cast<VxString*>(lines.at(0));
  auto* second = static_cast<VxString*>(lines.at(1));
  EXPECT_EQ("a", text(*first));
  EXPECT_EQ("b", text(*second));
  EXPECT_EQ(VX_CP_UTF8, second->getCodePage());
  lines.deleteContents();
  char partial[] = "a\nb";  // no final line feed
  EXPECT_EQ(1u, VxSubString(partial, 3).getLines(lines));
  EXPECT_EQ(1u, lines.getCount());  // the complete line was kept
}

TEST_F(SubStringTest, GetLinesFailsWhenALineCannotBeAllocated) {
  char bytes[] = "a\n";
  VxSubString v(bytes, 2);
  VxArray lines;
  lines.setDeleteContentsOnDestruct();
  ramFailAllocationAfter(1);
  EXPECT_EQ(1u, v.getLines(lines));
  EXPECT_EQ(0u, lines.getCount());
}

TEST_F(SubStringTest, GetAsVXSIZE_TConvertsTheViewOnlyHoweverLong) {
  VXSIZE_T value = 7;
  EXPECT_EQ(0u, VxSubString("12345", 3).getAsVXSIZE_T(&value));
  EXPECT_EQ(123u, value);
  EXPECT_EQ(0u, VxSubString("18446744073709551615").getAsVXSIZE_T(&value));
  EXPECT_EQ(18446744073709551615u, value);
  EXPECT_EQ(1u, VxSubString("12x").getAsVXSIZE_T(&value));
  EXPECT_EQ(18446744073709551615u, value);
  EXPECT_EQ(2702, VxErrorKeeper::getLastErrorNumber());
  std::string padded(100, ' ');  // longer than the counted conversion takes
  padded += "42";
  EXPECT_EQ(0u, VxSubString(padded.data(), padded.size()).getAsVXSIZE_T(&value));
  EXPECT_EQ(42u, value);
}

// ---------------------------------------------------------------------------
// VxString: buffers and exact growth

using VxStringTest = StringTest;

TEST_F(VxStringTest, EmptyStringHasNoBufferUntilTheFirstByte) {
  VxString s;
  EXPECT_EQ(nullptr, s.asPascalStr());
  EXPECT_FALSE(s.isEnoughSpace(0));
  EXPECT_STREQ("", s.asCStr());
  ASSERT_EQ(0u, s.concat('x'));
  EXPECT_EQ(2u, s.getCapacity());
  EXPECT_STREQ("x", s.asCStr());
}

TEST_F(VxStringTest, GrowthIsDeliberatelyExactNotGeometric) {
  VxString s;
  for (int i = 1; i <= 5; ++i) {
    ASSERT_EQ(0u, s.concat("abc"));
    EXPECT_EQ(s.getLength() + 1, s.getCapacity());
  }
  EXPECT_EQ(15u, s.getLength());
}

TEST_F(VxStringTest, AssureSpaceReservesOnceForLaterAppends) {
  VxString s;
  ASSERT_EQ(0u, s.assureSpace(100));
  EXPECT_EQ(101u, s.getCapacity());
  char* buffer = s.asPascalStr();
  for (int i = 0; i < 100; ++i) ASSERT_EQ(0u, s.concat('a'));
  EXPECT_EQ(buffer, s.asPascalStr());
  EXPECT_EQ(101u, s.getCapacity());
  EXPECT_TRUE(s.isEnoughSpace(0));
  EXPECT_FALSE(s.isEnoughSpace(1));
}

TEST_F(VxStringTest, InitializeAllocatesExactlyOneMoreThanTheText) {
  VxString s(VX_CP_UTF8);
  ASSERT_EQ(0u, s.initialize("hello"));
  EXPECT_EQ(5u, s.getLength());
  EXPECT_EQ(5u, s.getInitialLength());
  EXPECT_EQ(6u, s.getCapacity());
  EXPECT_TRUE(s.ownsBuffer());
  EXPECT_EQ(VX_CP_UTF8, s.getCodePage());
  EXPECT_STREQ("hello", s.asPascalStr());

  VxString empty;
  ASSERT_EQ(0u, empty.initialize(VXSIZE_T(10), VX_CP_BYTES));
  EXPECT_EQ(0u, empty.getLength());
  EXPECT_EQ(11u, empty.getCapacity());
  EXPECT_EQ(VX_CP_BYTES, empty.getCodePage());

  VxString fromView;
  ASSERT_EQ(0u, fromView.initialize(VxSubString("abcdef", 3, VX_CP_UTF8)));
  EXPECT_EQ("abc", text(fromView));
  EXPECT_EQ(VX_CP_UTF8, fromView.getCodePage());
}

TEST_F(VxStringTest, UnInitializeFreesAndZeroesButClearKeepsTheBuffer) {
  VxString s;
  ASSERT_EQ(0u, s.initialize("abc"));
  s.unInitialize();
  EXPECT_EQ(nullptr, s.asPascalStr());
  EXPECT_EQ(0u, s.getLength());
  EXPECT_EQ(0u, s.getCapacity());
  ASSERT_EQ(0u, s.initialize("de"));
  EXPECT_STREQ("de", s.asCStr());

  s.unInitialize();
  ASSERT_EQ(0u, s.initialize("abcdef"));  // clear keeps the buffer
  char* buffer = s.asPascalStr();
  s.clear();
  EXPECT_EQ(0u, s.getLength());
  EXPECT_EQ(buffer, s.asPascalStr());
  EXPECT_EQ(7u, s.getCapacity());
  ASSERT_EQ(0u, s.clearAndSet(VxSubString("xy")));
  EXPECT_STREQ("xy", s.asCStr());
}

TEST_F(VxStringTest, BorrowedBufferTakesSixMoreBytesButNotSevenAndCannotResize) {
  char buffer[10] = "abc";
  VxString s;
  s.initializeWithBuffer(buffer, sizeof buffer, 3);
  EXPECT_FALSE(s.ownsBuffer());
  ASSERT_EQ(0u, s.concat("defghi"));
  EXPECT_EQ(buffer, s.asPascalStr());
  EXPECT_STREQ("abcdefghi", s.asCStr());

  s.clear();
  ASSERT_EQ(0u, s.concat("abc"));
  EXPECT_EQ(1u, s.concat("defghij"));
  EXPECT_EQ(2716, VxErrorKeeper::getLastErrorNumber());
  EXPECT_EQ("abc", text(s));

  char small[4] = "ab";
  VxString r;
  r.initializeWithBuffer(small, sizeof small, 2, VX_CP_UTF8);
  EXPECT_EQ(VX_CP_UTF8, r.getCodePage());
  EXPECT_EQ(1u, r.resize(2));
  EXPECT_EQ(2716, VxErrorKeeper::getLastErrorNumber());
  EXPECT_EQ(4u, r.getCapacity());
}

TEST_F(VxStringTest, ResizeAcceptsACapacityBelowTheLength) {
  VxString s;
  ASSERT_EQ(0u, s.initialize("abcdef"));
  EXPECT_EQ(0u, s.resize(3));
  EXPECT_EQ(3u, s.getCapacity());
  EXPECT_EQ(6u, s.getLength());
  s.clear();  // keep the NUL within the buffer
}

TEST_F(VxStringTest, TrimGivesBackTheSpareRoom) {
  VxString s;
  ASSERT_EQ(0u, s.initialize(VXSIZE_T(50)));
  ASSERT_EQ(0u, s.concat("abc"));
  ASSERT_EQ(0u, s.trim());
  EXPECT_EQ(4u, s.getCapacity());
  EXPECT_STREQ("abc", s.asCStr());
}

TEST_F(VxStringTest, AsCStrWritesTheNulAndReturnsTheOffset) {
  VxString s;
  ASSERT_EQ(0u, s.initialize("abcdef"));
  ASSERT_EQ(0u, s.changeBytes(4, 2, nullptr, 0));
  s.asPascalStr()[4] = 'X';  // a byte past the length
  EXPECT_STREQ("cd", s.asCStr(2));
}

TEST_F(VxStringTest, ConcatAppendsEveryFormEvenItsOwnBytes) {
  VxString s;
  ASSERT_EQ(0u, s.concat('a'));
  ASSERT_EQ(0u, s.concat("bc"));
  ASSERT_EQ(0u, s.concat("dexyz", 2));
  ASSERT_EQ(0u, s.concat(VxSubString("fg")));
  ASSERT_EQ(0u, s.concatSpace());
  ASSERT_EQ(0u, s.concat(static_cast<const char*>(nullptr)));
  EXPECT_STREQ("abcdefg ", s.asCStr());
  ASSERT_EQ(0u, s.concat(s.asPascalStr(), s.getLength()));  // its own bytes survive reallocation
  EXPECT_STREQ("abcdefg abcdefg ", s.asCStr());
}

TEST_F(VxStringTest, ConcatOfNumbersWritesDecimalText) {
  VxString s;
  ASSERT_EQ(0u, s.concat(uint64_t(7)));
  EXPECT_EQ(16u, s.getCapacity());  // 15 bytes are reserved for a number
  ASSERT_EQ(0u, s.concatSpace());
  ASSERT_EQ(0u, s.concat(int64_t(-42)));
  ASSERT_EQ(0u, s.concatSpace());
  ASSERT_EQ(0u, s.concat(uint64_t(18446744073709551615u)));
  ASSERT_EQ(0u, s.concatSpace());
  ASSERT_EQ(0u, s.concat(int64_t(INT64_MIN)));
  EXPECT_STREQ("7 -42 18446744073709551615 -9223372036854775808", s.asCStr());
}

// ---------------------------------------------------------------------------
// VxString: editing

TEST_F(VxStringTest, ChangeBytesReplacesGrowsAndDeletes) {
  VxString s;
  ASSERT_EQ(0u, s.initialize("abcd"));
  ASSERT_EQ(0u, s.changeBytes(1, 2, "XYZ", 3));
  EXPECT_STREQ("aXYZd", s.asPascalStr());
  EXPECT_EQ(6u, s.getCapacity());

  VxString t;
  ASSERT_EQ(0u, t.initialize("abcd"));
  ASSERT_EQ(0u, t.changeBytes(1, 2, nullptr, 5));
  EXPECT_STREQ("ad", t.asPascalStr());
  ASSERT_EQ(0u, t.changeBytes(1, 0, "mid", 0));  // length from the text
  EXPECT_STREQ("amidd", t.asPascalStr());
  ASSERT_EQ(0u, t.changeBytes(5, 0, "!", 1));
  EXPECT_STREQ("amidd!", t.asPascalStr());
  ASSERT_EQ(0u, t.changeBytes(0, 4, "Z", 1));
  EXPECT_STREQ("Zd!", t.asPascalStr());
}

TEST_F(VxStringTest, ChangeBytesDeliberatelyMovesOnlyTheTailModulo65536) {
  std::string original(65538, '\0');
  for (size_t i = 0; i < original.size(); ++i) original[i] = char('a' + i % 23);
  VxString s;
  ASSERT_EQ(0u, s.initialize(original.data(), original.size()));
  // Replacing byte 0 by two bytes leaves a tail of 65537 bytes: 1 moves.
  ASSERT_EQ(0u, s.changeBytes(0, 1, "XY", 2));
  ASSERT_EQ(65539u, s.getLength());
  EXPECT_EQ('X', s.asPascalStr()[0]);
  EXPECT_EQ('Y', s.asPascalStr()[1]);
  EXPECT_EQ(original[1], s.asPascalStr()[2]);
  EXPECT_EQ(original[3], s.asPascalStr()[3]);  // not moved: still the old byte
  EXPECT_EQ(original[65537], s.asPascalStr()[65537]);
}

TEST_F(VxStringTest, ChangeBytesDeliberatelyCopiesNewBytesModulo65536) {
  std::vector<char> buffer(70000, '.');
  std::string inserted(65537, 'Z');
  VxString s;
  s.initializeWithBuffer(buffer.data(), buffer.size(), 0);
  ASSERT_EQ(0u, s.changeBytes(0, 0, inserted.data(), inserted.size()));
  EXPECT_EQ(65537u, s.getLength());
  EXPECT_EQ('Z', buffer[0]);
  EXPECT_EQ('.', buffer[1]);
  EXPECT_EQ('\0', buffer[65537]);
}

TEST_F(VxStringTest, ChangeBytesMayTakeItsNewBytesFromItsOwnBuffer) {
  VxString s;
  ASSERT_EQ(0u, s.initialize("abc"));
  ASSERT_EQ(0u, s.changeBytes(0, 1, s.asPascalStr() + 1, 2));  // the tail moves under them
  EXPECT_STREQ("bcbc", s.asCStr());
  ASSERT_EQ(0u, s.changeBytes(4, 0, s.asPascalStr(), 4));  // the buffer grows under them
  EXPECT_STREQ("bcbcbcbc", s.asCStr());
}

TEST_F(VxStringTest, ReplaceSubStringMayTakeItsTextsFromItsOwnBuffer) {
  VxString s;
  ASSERT_EQ(0u, s.initialize("aXa"));
  ASSERT_EQ(0u, s.replaceSubString("X", 1, s.asPascalStr(), 3));
  EXPECT_STREQ("aaXaa", s.asCStr());
  ASSERT_EQ(0u, s.replaceSubString(s.asPascalStr(), 1, "b", 1));
  EXPECT_STREQ("bbXbb", s.asCStr());
  ASSERT_EQ(0u, s.replaceSubString(nullptr, 0, s.asPascalStr(), 2));  // nothing to find
  ASSERT_EQ(0u, s.replaceSubString(s.asPascalStr() + 2, 1, nullptr, 0));
  EXPECT_STREQ("bbbb", s.asCStr());
}

TEST_F(VxStringTest, ReplaceSubStringDeliberatelyContinuesAfterTheInsertedText) {
  VxString s;
  ASSERT_EQ(0u, s.initialize("aaaa"));
  ASSERT_EQ(0u, s.replaceSubString("aa", "a"));
  EXPECT_STREQ("aa", s.asCStr());

  ASSERT_EQ(0u, s.replaceSubString("a", "aa"));
  EXPECT_STREQ("aaaa", s.asCStr());
}

TEST_F(VxStringTest, ReplaceSubStringReservesAtOnceIgnoresEmptyTextsAndTakesStretches) {
  VxString s;
  ASSERT_EQ(0u, s.initialize("x-x-x"));
  ASSERT_EQ(0u, s.replaceSubString("x", 1, "long", 4));
  EXPECT_STREQ("long-long-long", s.asCStr());
  EXPECT_EQ(s.getLength() + 1, s.getCapacity());

  s.unInitialize();
  ASSERT_EQ(0u, s.initialize("abc"));
  EXPECT_EQ(0u, s.replaceSubString("", 0, "x", 1));
  EXPECT_STREQ("abc", s.asCStr());
  EXPECT_EQ(0u, s.replaceSubString("b", 1, "", 0));
  EXPECT_STREQ("ac", s.asCStr());

  s.unInitialize();
  ASSERT_EQ(0u, s.initialize("one two two"));
  VxSubString second(s.asPascalStr() + 8, 3);  // exactly that stretch
  ASSERT_EQ(0u, s.replaceSubString(second, "2", 1));
  EXPECT_STREQ("one two 2", s.asCStr());
}

TEST_F(VxStringTest, QuotingDoublesQuotesInsideAndRemoveQuotesLeavesShortTexts) {
  VxString s;
  ASSERT_EQ(0u, s.initialize("it's"));
  ASSERT_EQ(0u, s.addQuotes('\''));
  EXPECT_STREQ("'it''s'", s.asCStr());
  EXPECT_EQ(8u, s.getCapacity());
  EXPECT_EQ(4u, s.removeQuotes());
  EXPECT_STREQ("it's", s.asCStr());
  s.unInitialize();
  ASSERT_EQ(0u, s.initialize("'"));  // too short for quotes: left alone
  EXPECT_EQ(1u, s.removeQuotes());
  EXPECT_STREQ("'", s.asCStr());
  s.unInitialize();
  ASSERT_EQ(0u, s.initialize("x="));
  ASSERT_EQ(0u, s.addQuotedBytes(VxSubString("a\"b"), '"'));
  EXPECT_STREQ("x=\"a\"\"b\"", s.asCStr());
  EXPECT_EQ(s.getLength() + 1, s.getCapacity());
}

TEST_F(VxStringTest, ForceEolAddsLineFeedsButNeverRemovesAny) {
  VxString s;
  ASSERT_EQ(0u, s.initialize("a\n"));
  ASSERT_EQ(0u, s.forceEol(3));
  EXPECT_STREQ("a\n\n\n", s.asCStr());
  ASSERT_EQ(0u, s.forceEol(1));
  EXPECT_STREQ("a\n\n\n", s.asCStr());
}

TEST_F(VxStringTest, InsertLineBreaksBreaksAtTheLastBlankOutsideQuotes) {
  struct Case {
    const char* input;
    VXSIZE_T width;
    char q1, q2, q3;
    const char* expected;
  };
  const Case cases[] = {
      {"aaa bbb ccc", 5, 0, 0, 0, "aaa\nbbb\nccc"},
      {"'a b c d' e", 3, '\'', '"', '"', "'a b c d'\ne"},  // never inside quotes
      {"abcdefgh", 3, 0, 0, 0, "abcdefgh"},                 // nor without a blank
      {"a b", 3, 0, 0, 0, "a b"},
      {"ab\ncd ef", 5, 0, 0, 0, "ab\ncd ef"},  // the second line is only 5 long
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.input);
    VxString s;
    ASSERT_EQ(0u, s.initialize(c.input));
    ASSERT_EQ(0u, s.insertLineBreaks(c.width, c.q1, c.q2, c.q3));
    EXPECT_STREQ(c.expected, s.asCStr());
  }
}

TEST_F(VxStringTest, RemovingLineBreaksTabsAndLineFeedsFoldsRunsIntoOneBlank) {
  VxString s;
  ASSERT_EQ(0u, s.initialize("a\n\nb\n\n"));
  ASSERT_EQ(0u, s.removeLineBreaks('\'', 0, 0));
  EXPECT_STREQ("a b", s.asCStr());

  VxString quoted;
  ASSERT_EQ(0u, quoted.initialize("x\n'a\nb'\ny"));
  ASSERT_EQ(0u, quoted.removeLineBreaks('\'', 0, 0));
  EXPECT_STREQ("x 'a\nb' y", quoted.asCStr());

  VxString unquoted;
  ASSERT_EQ(0u, unquoted.initialize("'a\nb'"));
  ASSERT_EQ(0u, unquoted.removeLineBreaks(0, '\'', '\''));  // no quotes when q1 is 0
  EXPECT_STREQ("'a b'", unquoted.asCStr());
  // Tabs and line feeds follow the same rule.
  VxString tabs;
  ASSERT_EQ(0u, tabs.initialize("a\t\tb\"\t\"\t"));
  ASSERT_EQ(0u, tabs.removeTabs('"', 0, 0));
  EXPECT_STREQ("a b\"\t\"", tabs.asCStr());

  VxString lines;
  ASSERT_EQ(0u, lines.initialize("a\r\nb\rc\n"));
  ASSERT_EQ(0u, lines.removeLineFeeds(0, 0, 0));
  EXPECT_STREQ("a b c", lines.asCStr());
}

TEST_F(VxStringTest, EncryptAndDecryptRoundTrip) {
  VxString s;
  ASSERT_EQ(0u, s.initialize("secret text"));
  s.encrypt(1, nullptr);
  EXPECT_EQ(char(~'s'), s.asPascalStr()[0]);
  s.decrypt(1, nullptr);
  s.encrypt(3, "key");
  EXPECT_NE("secret text", text(s));
  s.decrypt(3, "key");
  EXPECT_EQ("secret text", text(s));
}

// ---------------------------------------------------------------------------
// Every growing operation, with the allocation that would grow it failing:
// status 1 and the string exactly as it was.

struct GrowingOperation {
  const char* name;
  std::function<unsigned(VxString&)> run;
};

TEST_F(VxStringTest, EveryGrowingOperationLeavesTheStringUnchangedWhenAllocationFails) {
  const std::vector<GrowingOperation> operations = {
      {"concat byte", [](VxString& s) { return s.concat('x'); }},
      {"concat text", [](VxString& s) { return s.concat("xyz"); }},
      {"concat bytes", [](VxString& s) { return s.concat("xyz", 2); }},
      {"concat view", [](VxString& s) { return s.concat(VxSubString("xy")); }},
      {"concatSpace", [](VxString& s) { return s.concatSpace(); }},
      {"concat unsigned", [](VxString& s) { return s.concat(uint64_t(12)); }},
      {"concat signed", [](VxString& s) { return s.concat(int64_t(-12)); }},
      {"assureSpace", [](VxString& s) { return s.assureSpace(10); }},
      {"resize", [](VxString& s) { return s.resize(100); }},
      {"changeBytes", [](VxString& s) { return s.changeBytes(1, 1, "XYZ", 3); }},
      {"replaceSubString", [](VxString& s) { return s.replaceSubString("b", "BB"); }},
      {"addQuotes", [](VxString& s) { return s.addQuotes('\''); }},
      {"addQuotedBytes", [](VxString& s) { return s.addQuotedBytes(VxSubString("q"), '"'); }},
      {"forceEol", [](VxString& s) { return s.forceEol(2); }},
      {"copyQuotedStr", [](VxString& s) { return VxSubString("'zz'").copyQuotedStr(s); }},
  };
  for (const GrowingOperation& op : operations) {
    VxString s;
    ASSERT_EQ(0u, s.initialize("ab'c"));
    char* buffer = s.asPascalStr();
    ramFailAllocationAfter(1);
    EXPECT_EQ(1u, op.run(s)) << op.name;
    ramFailAllocationAfter(0);
    EXPECT_EQ("ab'c", text(s)) << op.name;
    EXPECT_EQ(5u, s.getCapacity()) << op.name;
    EXPECT_EQ(buffer, s.asPascalStr()) << op.name;
  }
}

TEST_F(VxStringTest, InitializeAndAddQuotesFailWhenAllocationFails) {
  VxString s;
  ramFailAllocationAfter(1);
  EXPECT_EQ(1u, s.initialize("abc"));
  EXPECT_EQ(nullptr, s.asPascalStr());
  ramFailAllocationAfter(1);
  EXPECT_EQ(1u, s.initialize(VXSIZE_T(5)));
  EXPECT_EQ(0u, s.getCapacity());
  ASSERT_EQ(0u, s.initialize("ab"));
  ASSERT_EQ(0u, s.assureSpace(10));
  ramFailAllocationAfter(1);  // the growth is not needed; the copy fails
  EXPECT_EQ(1u, s.addQuotes('\''));
  EXPECT_EQ("ab", text(s));
}

}  // namespace
