#include "foundation/vxdbcs.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstring>

#include "foundation/locale_support.h"

namespace {

using VxDbcs = CLocaleTest;

TEST_F(VxDbcs, Utf8CharSizeFollowsFirstByte) {
  EXPECT_EQ(2u, vxCharSize("\xC3\xA9", VX_CP_UTF8));
  EXPECT_EQ(3u, vxCharSize("\xE2\x82\xAC", VX_CP_UTF8));
  EXPECT_EQ(4u, vxCharSize("\xF0\x9F\x98\x80", VX_CP_UTF8));
  EXPECT_EQ(1u, vxCharSize("\x80", VX_CP_UTF8));
  EXPECT_EQ(1u, vxCharSize("a", VX_CP_UTF8));
  EXPECT_EQ(3u, vxCharSize("a\xE2\x82\xAC", VXSIZE_T{1}, VX_CP_UTF8));
}

TEST_F(VxDbcs, CharNextStepsOverWholeCharacterAndNoByteLeadsInTheCLocale) {
  const char* s = "a\xE2\x82\xAC" "b";
  EXPECT_EQ(s + 1, vxCharNext(s, VX_CP_UTF8));
  EXPECT_EQ(s + 4, vxCharNext(s + 1, VX_CP_UTF8));
  EXPECT_EQ(4u, vxCharNext(s, VXSIZE_T{1}, VX_CP_UTF8));
  // In the C locale no byte is a lead byte, so kind 1 steps one byte.
  EXPECT_EQ(s + 2, vxCharNext(s + 1));
  EXPECT_FALSE(vxIsLeadByte("\xD6\xD0"));
  EXPECT_EQ(1u, vxCharSize("\xD6\xD0"));
}

TEST_F(VxDbcs, LeadByteNeedsAValidTwoByteCharacter) {
  ScopedTestLocale gbk(VX_GBK_LOCALE);
  if (!gbk.available()) GTEST_SKIP() << "GBK locale unavailable (no localedef or charmaps)";
  EXPECT_TRUE(vxIsLeadByte("\xD6\xD0"));
  EXPECT_FALSE(vxIsLeadByte("a"));
  EXPECT_FALSE(vxIsLeadByte("\xD6"));  // followed by the NUL: no character
  EXPECT_TRUE(vxIsLeadByte("x\xD6\xD0", VXSIZE_T{1}));
  EXPECT_EQ(2u, vxCharSize("\xD6\xD0"));
  EXPECT_EQ(2u, vxCharSize("\xD6\xD0", VX_CP_BYTES));
  EXPECT_EQ(1u, vxCharSize("\xD6\xD0", VXSIZE_T{1}));
}

TEST_F(VxDbcs, CharPrevTestsTheByteAtPDeliberately) {
  ScopedTestLocale gbk(VX_GBK_LOCALE);
  if (!gbk.available()) GTEST_SKIP() << "GBK locale unavailable (no localedef or charmaps)";
  const char* s = "xyz\xD6\xD0";
  // The byte at p (index 3) is a lead byte, so the answer is p-2 although
  // the character before p is the single byte z.
  EXPECT_EQ(s + 1, vxCharPrev(s, s + 3));
  EXPECT_EQ(1u, vxCharPrev(s, VXSIZE_T{3}));
  // After a two-byte character the byte at p is not a lead byte: p-1,
  // which is the trail byte.
  const char* t = "\xD6\xD0" "a";
  EXPECT_EQ(t + 1, vxCharPrev(t, t + 2));
  // A lead byte at p one byte after start never goes before start.
  const char* u = "a\xD6\xD0";
  EXPECT_EQ(u, vxCharPrev(u, u + 1));
}

TEST_F(VxDbcs, CharPrevAtStartIsStartAndUtf8LooksAtMostThreeBytesBack) {
  const char* s = "abc";
  EXPECT_EQ(s, vxCharPrev(s, s));
  EXPECT_EQ(s, vxCharPrev(s, s, VX_CP_UTF8));
  EXPECT_EQ(s + 1, vxCharPrev(s, s + 2));
  const char* e = "a\xC3\xA9";  // a, e-acute
  EXPECT_EQ(e + 1, vxCharPrev(e, e + 3, VX_CP_UTF8));
  const char* euro = "\xE2\x82\xAC";
  EXPECT_EQ(euro, vxCharPrev(euro, euro + 3, VX_CP_UTF8));
  const char* ab = "ab";
  EXPECT_EQ(ab + 1, vxCharPrev(ab, ab + 2, VX_CP_UTF8));
  EXPECT_EQ(1u, vxCharPrev(e, VXSIZE_T{3}, VX_CP_UTF8));
}

TEST_F(VxDbcs, CharPrevUtf8DoesNotStepOverFourByteCharacterDeliberately) {
  const char* s = "\xF0\x9F\x98\x80";
  EXPECT_EQ(s + 3, vxCharPrev(s, s + 4, VX_CP_UTF8));
}

TEST_F(VxDbcs, CharLastFindsStartOfLastCharacterNeverPastTheTerminator) {
  const char* s = "a\xE2\x82\xAC";
  EXPECT_EQ(s + 1, vxCharLast(s, VX_CP_UTF8));
  EXPECT_EQ(s + 3, vxCharLast(s));
  const char* empty = "";
  EXPECT_EQ(empty, vxCharLast(empty, VX_CP_UTF8));
  EXPECT_EQ(1u, vxCharLast("a\xE2\x82\xAC" "b", VXSIZE_T{4}, VX_CP_UTF8));
  EXPECT_EQ(4u, vxCharLast("a\xE2\x82\xAC" "b", VXSIZE_T{5}, VX_CP_UTF8));
  EXPECT_EQ(0u, vxCharLast("abc", VXSIZE_T{0}, VX_CP_UTF8));
  const char* cut = "a\xE2";  // a three-byte character cut by the NUL
  EXPECT_EQ(cut + 1, vxCharLast(cut, VX_CP_UTF8));
  EXPECT_EQ(2u, vxCharLen(cut, VX_CP_UTF8));
}

TEST_F(VxDbcs, CharEqualComparesFourByteUtf8OnThreeBytesDeliberately) {
  EXPECT_TRUE(vxCharEqual("\xF0\x9F\x98\x80", "\xF0\x9F\x98\x81", VX_CP_UTF8));
  EXPECT_FALSE(vxCharEqual("\xF0\x9F\x98\x80", "\xF0\x9F\x99\x80", VX_CP_UTF8));
  EXPECT_TRUE(vxCharEqual("\xE2\x82\xAC", "\xE2\x82\xAC", VX_CP_UTF8));
  EXPECT_FALSE(vxCharEqual("\xE2\x82\xAC", "\xE2\x82\xAD", VX_CP_UTF8));
  EXPECT_FALSE(vxCharEqual("\xC3\xA9", "\xE2\x82\xAC", VX_CP_UTF8));
  EXPECT_TRUE(vxCharEqual("xa", VXSIZE_T{1}, "a", VXSIZE_T{0}, VX_CP_UTF8));
}

TEST_F(VxDbcs, CharLenCountsCharactersOrUcs2Units) {
  EXPECT_EQ(3u, vxCharLen("a\xE2\x82\xAC" "b", VX_CP_UTF8));
  EXPECT_EQ(5u, vxCharLen("a\xE2\x82\xAC" "b"));
  const char ucs2[] = {'a', 0, 'b', 0, 0, 0};
  EXPECT_EQ(2u, vxCharLen(ucs2, VX_CP_UCS2));
  EXPECT_EQ(2u, vxCharLen(ucs2, VXSIZE_T{5}, VX_CP_UCS2));
  EXPECT_EQ(2u, vxCharLen("a\xE2\x82\xAC" "b", VXSIZE_T{4}, VX_CP_UTF8));
}

TEST_F(VxDbcs, Utf8CharLenStopsAtCharacterPassingTheEnd) {
  EXPECT_EQ(1u, vxUTF8CharLen("a\xE2\x82\xAC", 3));
  EXPECT_EQ(2u, vxUTF8CharLen("a\xE2\x82\xAC", 4));
  // 0x80 counts as the start of a two-byte character here.
  EXPECT_EQ(2u, vxUTF8CharLen("\x80" "ab", 3));
  EXPECT_EQ(0u, vxUTF8CharLen("\xF0\x9F\x98", 3));
  EXPECT_EQ(2u, vxUTF8CharLen("a\xC3\xA9", static_cast<VXSIZE_T>(-3)));
}

TEST_F(VxDbcs, SecondByteIsFoundByWalkingFromStart) {
  ScopedTestLocale gbk(VX_GBK_LOCALE);
  if (!gbk.available()) GTEST_SKIP() << "GBK locale unavailable (no localedef or charmaps)";
  const char* s = "a\xD6\xD0" "b";
  EXPECT_FALSE(vxIs2ndByte(s, s + 1));
  EXPECT_TRUE(vxIs2ndByte(s, s + 2));
  EXPECT_FALSE(vxIs2ndByte(s, s + 3));
  EXPECT_TRUE(vxIs2ndByte(s, VXSIZE_T{2}));
  // 0x81 0x41 is one character whose trail byte looks like A.
  const char* t = "\x81\x41" "A";
  EXPECT_FALSE(vxStrSBCSChar(t, t + 1, 'A'));
  EXPECT_TRUE(vxStrSBCSChar(t, t + 2, 'A'));
  EXPECT_TRUE(vxStrSBCSChar(t, VXSIZE_T{2}, 'A'));
}

TEST_F(VxDbcs, SingleByteCharacterTestOutsideTwoByteLocale) {
  const char* t = "\x81\x41" "A";
  EXPECT_TRUE(vxStrSBCSChar(t, t + 1, 'A'));
  EXPECT_FALSE(vxStrSBCSChar(t, t, 'A'));
}

TEST_F(VxDbcs, ClassificationUsesWideCharacterTests) {
  EXPECT_TRUE(vxIsWhiteSpace(" "));
  EXPECT_TRUE(vxIsWhiteSpace("\t"));
  EXPECT_FALSE(vxIsWhiteSpace("a"));
  EXPECT_TRUE(vxIsWhiteSpace("a b", VXSIZE_T{1}));
  EXPECT_TRUE(vxIsAlpha("a"));
  EXPECT_FALSE(vxIsAlpha("1"));
  EXPECT_TRUE(vxIsAlpha("1a", VXSIZE_T{1}));
  EXPECT_TRUE(vxIsAlphaNumeric("1"));
  EXPECT_FALSE(vxIsAlphaNumeric("-"));
  EXPECT_FALSE(vxIsAlphaNumeric("1-", VXSIZE_T{1}));
  EXPECT_FALSE(vxIsAlpha("\xC3\xA9"));  // not a character in the C locale
}

TEST_F(VxDbcs, ClassificationDecodesLocaleCharacters) {
  ScopedTestLocale utf8(VX_UTF8_LOCALE);
  if (!utf8.available()) GTEST_SKIP() << "C.UTF-8 locale unavailable";
  EXPECT_TRUE(vxIsAlpha("\xC3\xA9"));
  EXPECT_TRUE(vxIsAlphaNumeric("\xC3\xA9"));
  EXPECT_TRUE(vxIsWhiteSpace("\xE3\x80\x80"));  // ideographic space
  EXPECT_FALSE(vxIsWhiteSpace("\xC3\xA9"));
}

TEST_F(VxDbcs, SkipBlanksStopsAtFirstNonWhiteCharacter) {
  const char* s = "  \tab";
  EXPECT_EQ(s + 3, vxSkipBlanks(s));
  EXPECT_EQ(nullptr, vxSkipBlanks(nullptr));
  const char* blanks = "   ";
  EXPECT_EQ(blanks + 3, vxSkipBlanks(blanks));
  EXPECT_EQ(3u, vxSkipBlanks("x  y", VXSIZE_T{1}));
}

TEST_F(VxDbcs, AtoiIsTheRuntimeAtoi) {
  EXPECT_EQ(42, vxAtoi("42x"));
  EXPECT_EQ(-7, vxAtoi("a-7", VXSIZE_T{1}));
  EXPECT_EQ(0, vxAtoi("x"));
}

}  // namespace
