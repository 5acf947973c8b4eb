#include <gtest/gtest.h>

#include <clocale>
#include <cstring>
#include <string>

#include "foundation/locale_support.h"
#include "foundation/vxdbcs.h"

namespace {

class StrCopy : public ::testing::Test {
 protected:
  void SetUp() override {
    setlocale(LC_ALL, "C");
    memset(buf, '#', sizeof buf);
  }
  void TearDown() override { setlocale(LC_ALL, "C"); }
  char buf[64];
};

TEST_F(StrCopy, CopyAndCatReturnTheFinalNulForChaining) {
  char* end = strCopy(buf, "ab");
  EXPECT_EQ(buf + 2, end);
  end = strCat(buf, "cd");
  EXPECT_EQ(buf + 4, end);
  EXPECT_STREQ("abcd", buf);
  EXPECT_EQ(4u, strLen(buf));
}

TEST_F(StrCopy, CountedCopyTakesExactlyNBytes) {
  char* end = strCopy(buf, "abcdef", VXSIZE_T{3});
  EXPECT_EQ(buf + 3, end);
  EXPECT_STREQ("abc", buf);
}

TEST_F(StrCopy, SizedCopyTruncatesAndAlwaysTerminates) {
  EXPECT_EQ(buf, strCopy(buf, VXSIZE_T{4}, "abcdef"));
  EXPECT_STREQ("abc", buf);
  memset(buf, '#', sizeof buf);
  strCopy(buf, VXSIZE_T{8}, "ab");
  EXPECT_STREQ("ab", buf);
  EXPECT_EQ('#', buf[3]);  // stops after the source's NUL
  EXPECT_EQ('\0', buf[7]);
}

TEST_F(StrCopy, QuotedCopyDoublesTheQuoteAndDropsCharacterCutByTheLength) {
  char* past = strCopyQuoted(buf, "it's", VX_CP_LOCALE, '\'');
  EXPECT_STREQ("'it''s'", buf);
  EXPECT_EQ(buf + 8, past);
  strCopyQuoted(buf, "it's", VXSIZE_T{2}, VX_CP_LOCALE, '\'');
  EXPECT_STREQ("'it'", buf);
  strCopyQuoted(buf, "", VX_CP_LOCALE, '"');
  EXPECT_STREQ("\"\"", buf);
  strCopyQuoted(buf, "a\xE2\x82\xAC", VXSIZE_T{3}, VX_CP_UTF8, '"');
  EXPECT_STREQ("\"a\"", buf);
}

TEST_F(StrCopy, QuotedCatAppends) {
  strCopy(buf, "x=");
  char* past = strCatQuoted(buf, "a\"b", VX_CP_LOCALE, '"');
  EXPECT_STREQ("x=\"a\"\"b\"", buf);
  EXPECT_EQ(buf + strlen(buf) + 1, past);
  strCatQuoted(buf, "zz", VXSIZE_T{1}, VX_CP_LOCALE, '"');
  EXPECT_STREQ("x=\"a\"\"b\"\"z\"", buf);
}

TEST_F(StrCopy, QuotedCopyLeavesTrailByteEqualToQuote) {
  ScopedTestLocale gbk(VX_GBK_LOCALE);
  if (!gbk.available()) GTEST_SKIP() << "GBK locale unavailable (no localedef or charmaps)";
  // 0x81 0x40 is one character whose trail byte is the quote @.
  strCopyQuoted(buf, "\x81\x40", VX_CP_LOCALE, '@');
  EXPECT_STREQ("@\x81\x40@", buf);
}

TEST_F(StrCopy, UnquotedCopyReducesDoubledQuotes) {
  char* end = strCopyUnquoted(buf, "'a''b'", 6);
  EXPECT_STREQ("a'b", buf);
  EXPECT_EQ(buf + 3, end);
  strCopyUnquoted(buf, "\"x\"", 3);
  EXPECT_STREQ("x", buf);
}

TEST_F(StrCopy, UnquotedCopyDoesNotLookAtTheClosingQuote) {
  strCopyUnquoted(buf, "'ab!", 4);
  EXPECT_STREQ("ab", buf);
  EXPECT_EQ(buf, strCopyUnquoted(buf, "'", 1));
  EXPECT_STREQ("", buf);
}

TEST_F(StrCopy, UnquotedCopyKeepsLeadAndTrailTogether) {
  const char src[] = "@\x81\x40\x40x@";
  strCopyUnquoted(buf, src, 6);
  EXPECT_STREQ("\x81@x", buf);  // C locale: the two @ are a doubled quote
  ScopedTestLocale gbk(VX_GBK_LOCALE);
  if (!gbk.available()) GTEST_SKIP() << "GBK locale unavailable (no localedef or charmaps)";
  strCopyUnquoted(buf, src, 6);
  EXPECT_STREQ("\x81\x40@x", buf);
}

TEST_F(StrCopy, RemoveQuotesStripsAndUndoublesOnlyWithQuotesAtBothEnds) {
  char s[] = "'a''b'";
  EXPECT_EQ(3u, strRemoveQuotes(s, 6, '\''));
  EXPECT_EQ("a'b", std::string(s, 3));
  char empty[] = "''";
  EXPECT_EQ(0u, strRemoveQuotes(empty, 2, '\''));
  char one[] = "'";
  EXPECT_EQ(1u, strRemoveQuotes(one, 1, '\''));
  char open[] = "ab'";
  EXPECT_EQ(3u, strRemoveQuotes(open, 3, '\''));
  char close[] = "'ab";
  EXPECT_EQ(3u, strRemoveQuotes(close, 3, '\''));
  EXPECT_STREQ("'ab", close);
}

TEST_F(StrCopy, RemoveQuotesLeavesUndoubledInnerQuote) {
  char s[] = "'a'b'";
  EXPECT_EQ(5u, strRemoveQuotes(s, 5, '\''));
  EXPECT_STREQ("'a'b'", s);
  char three[] = "'''";  // the inner quote is the second-last byte
  EXPECT_EQ(3u, strRemoveQuotes(three, 3, '\''));
  EXPECT_STREQ("'''", three);
}

TEST_F(StrCopy, RemoveQuotesWantsTheLastCharacterToBeTheQuote) {
  // In UTF-8 the quote is the trail of C3 27, so no closing quote.
  char utf8[] = "'ab\xC3'";
  EXPECT_EQ(5u, strRemoveQuotes(utf8, 5, '\'', VX_CP_UTF8));
  EXPECT_EQ(3u, strRemoveQuotes(utf8, 5, '\'', VX_CP_LOCALE));
  EXPECT_EQ("ab\xC3", std::string(utf8, 3));
}

TEST_F(StrCopy, RemoveQuotesTerminatedFormWritesNul) {
  char s[] = "\"x\"\"y\"";
  EXPECT_EQ(s, strRemoveQuotes(s, '"'));
  EXPECT_STREQ("x\"y", s);
  char kept[] = "\"x\"y\"";
  strRemoveQuotes(kept, '"');
  EXPECT_STREQ("\"x\"y\"", kept);
}

}  // namespace
