#include <gtest/gtest.h>

#include <clocale>

#include "foundation/locale_support.h"
#include "foundation/vxdbcs.h"

namespace {

using StrFind = CLocaleTest;

TEST_F(StrFind, FindsFirstAndLastCharacter) {
  const char* s = "abcabc";
  EXPECT_EQ(s + 2, strFind(s, 'c'));
  EXPECT_EQ(s + 5, strFindReverse(s, 'c'));
  EXPECT_EQ(s + 2, strFindAnsi(s, 'c'));
  EXPECT_EQ(nullptr, strFind(s, 'x'));
  EXPECT_EQ(nullptr, strFindReverse(s, 'x'));
  EXPECT_EQ(nullptr, strFindAnsi(s, 'x'));
}

TEST_F(StrFind, FindWithOptionsSearchesFromTheEndDeliberately) {
  const char* s = "abcabc";
  EXPECT_EQ(s + 5, strFind(s, 'c', STRFIND_FIRST));
  EXPECT_EQ(s + 5, strFind(s, 'c', STRFIND_LAST));
  EXPECT_EQ(nullptr, strFind(s, 'x', STRFIND_FIRST));
}

TEST_F(StrFind, CharacterSearchSkipsTrailBytes) {
  const char* s = "\x81\x41" "A";
  EXPECT_EQ(s + 1, strFind(s, 'A'));  // C locale: 0x41 is a character
  ScopedTestLocale gbk(VX_GBK_LOCALE);
  if (!gbk.available()) GTEST_SKIP() << "GBK locale unavailable (no localedef or charmaps)";
  EXPECT_EQ(s + 2, strFind(s, 'A'));
  EXPECT_EQ(s + 2, strFindAnsi(s, 'A'));
  EXPECT_EQ(s + 2, strFindReverse(s, 'A'));
}

TEST_F(StrFind, SubstringSearchStepsByCharactersAndEmptyOrLongerPatternFindsNothing) {
  const char* s = "hello world";
  EXPECT_EQ(s + 6, strFind(s, "wor"));
  EXPECT_EQ(s + 6, strFind(s, 11, "wor", 3));
  EXPECT_EQ(nullptr, strFind(s, "word"));
  EXPECT_EQ(nullptr, strFind(s, 4, "lo", 2));  // the match would pass ns
  EXPECT_EQ(s + 3, strFind(s, 5, "lo", 2));
  const char* euro = "\xE2\x82\xAC";
  EXPECT_EQ(euro + 1, strFind(euro, "\x82\xAC"));
  EXPECT_EQ(nullptr, strFind(euro, "\x82\xAC", VX_CP_UTF8));
  EXPECT_EQ(nullptr, strFind("abc", ""));
  EXPECT_EQ(nullptr, strFind("abc", "abcd"));
  EXPECT_EQ(nullptr, strFind("abc", 3, "abc", 0));
}

TEST_F(StrFind, QuotedStretchesAreSkipped) {
  const char* s = "a'x'x";
  EXPECT_EQ(s + 4, strFind(s, 'x', '\'', '"', '`'));
  const char* t = "\"x'\"'x\"'x";
  EXPECT_EQ(t + 8, strFind(t, 'x', '\'', '"', '`'));
  EXPECT_EQ(nullptr, strFind("'x", 'x', '\'', '"', '`'));
  EXPECT_EQ(nullptr, strFind("`x`", 'x', '\'', '"', '`'));
}

TEST_F(StrFind, CaseInsensitiveSearchPointsIntoCallersText) {
  const char* s = "Hello World";
  EXPECT_EQ(s + 6, strFindCi(s, "wORLD"));
  EXPECT_EQ(s + 6, strFindCi(s, 11, "WORLD", 5));
  EXPECT_EQ(nullptr, strFindCi(s, "worlds"));
  EXPECT_EQ(nullptr, strFindCi(s, ""));
}

TEST_F(StrFind, TwoCasePatternMatchesEitherByteAndSkipsMultibyteCharactersWhole) {
  const char* s = "xaBy";
  EXPECT_EQ(s + 1, strFindCi(s, 4, "AB", "ab", 2));
  EXPECT_EQ(nullptr, strFindCi(s, 4, "AC", "ac", 2));
  EXPECT_EQ(nullptr, strFindCi(s, 4, "", "", 0));
  const char* t = "\xC3\x41";
  EXPECT_EQ(nullptr, strFindCi(t, 2, "A", "a", 1, VX_CP_UTF8));
  EXPECT_EQ(t + 1, strFindCi(t, 2, "A", "a", 1, VX_CP_BYTES));
}

TEST_F(StrFind, Utf8CharacterCutByTheLengthEndsTheSearch) {
  // The four-byte lead at offset 1 would step past the two counted bytes;
  // the bytes after them must never be searched.
  const char buffer[] = "a\xF0zzzz";
  EXPECT_EQ(nullptr, strFind(buffer, 2, "z", 1, VX_CP_UTF8));
  EXPECT_EQ(nullptr, strFindCi(buffer, 2, "Z", "z", 1, VX_CP_UTF8));
  EXPECT_EQ(nullptr, strFindCi(buffer, 2, "z", 1, VX_CP_UTF8));
}

TEST_F(StrFind, ContainsChecksEveryCharacterAgainstClassesAndExtras) {
  EXPECT_TRUE(strContains("abc123", 6, nullptr, STR_CLASS_LOWER | STR_CLASS_DIGIT));
  EXPECT_FALSE(strContains("abc123", 6, nullptr, STR_CLASS_LOWER));
  EXPECT_FALSE(strContains("abc", 3, nullptr, STR_CLASS_UPPER));
  EXPECT_TRUE(strContains("a-b_C", 5, "-_", STR_CLASS_LOWER | STR_CLASS_UPPER));
  EXPECT_TRUE(strContains("abc!", 3, nullptr, STR_CLASS_LOWER));  // only n bytes
  EXPECT_FALSE(strContains("\xC3\xA9-", 3, "\xC3\xA9", 0, VX_CP_UTF8));
  EXPECT_TRUE(strContains("\xC3\xA9", 2, "\xC3\xA9", 0, VX_CP_UTF8));
}

TEST_F(StrFind, DoesNotContainWantsNoCharacterInTheSet) {
  EXPECT_TRUE(strDoesNotContain("XYZ", 3, nullptr, STR_CLASS_LOWER | STR_CLASS_DIGIT));
  EXPECT_FALSE(strDoesNotContain("XyZ", 3, nullptr, STR_CLASS_LOWER));
  EXPECT_FALSE(strDoesNotContain("X!Z", 3, "!", 0));
  EXPECT_TRUE(strDoesNotContain("", 0, "!", STR_CLASS_DIGIT));
}

}  // namespace
